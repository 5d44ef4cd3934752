#include "results/VelResultsSchema.h"

#include "vel/types/VelTypeForm.h"

const char* VelResultsSchema::Text() {
    return R"(<qarn>
  <form name="VelResults">
    <datarecord name="Mesh" level="1">
      <string name="name"/>
      <int name="dimension" default="3"/>
      <int name="nodeCount"/>
    </datarecord>
    <datarecord name="ElementBlock" level="1">
      <string name="name"/>
      <string name="cellType"/>
      <int name="elementCount"/>
      <int name="nodesPerElement"/>
    </datarecord>
    <datarecord name="Set" level="1">
      <string name="name"/>
      <string name="location"/>
      <int name="size"/>
    </datarecord>
    <datarecord name="Field" level="1">
      <string name="name"/>
      <string name="location"/>
      <string name="units"/>
      <int name="componentCount"/>
    </datarecord>
    <datarecord name="Component" level="1">
      <string name="name"/>
    </datarecord>
    <datarecord name="Steps" level="1">
      <string name="quantity" default="time"/>
      <string name="units"/>
    </datarecord>
    <association name="Meshes" level="1">
      <focus roleName="database"/>
      <data roleName="meshes" maxOccurs="unbounded"><target ref="Mesh"/></data>
    </association>
    <association name="ElementBlocks" level="1">
      <focus roleName="database"/>
      <data roleName="elementBlocks" ordered="true" maxOccurs="unbounded"><target ref="ElementBlock"/></data>
    </association>
    <association name="NodeSets" level="1">
      <focus roleName="database"/>
      <data roleName="sets" keyType="string" maxOccurs="unbounded"><target ref="Set"/></data>
    </association>
    <association name="ElementSets" level="1">
      <focus roleName="database"/>
      <data roleName="sets" keyType="string" maxOccurs="unbounded"><target ref="Set"/></data>
    </association>
    <association name="Fields" level="1">
      <focus roleName="database"/>
      <data roleName="fields" keyType="string" maxOccurs="unbounded"><target ref="Field"/></data>
    </association>
    <association name="StepSeries" level="1">
      <focus roleName="database"/>
      <data roleName="steps" maxOccurs="unbounded"><target ref="Steps"/></data>
    </association>
    <association name="Components" level="1">
      <data roleName="field" maxOccurs="unbounded"><target ref="Field"/></data>
      <data roleName="fieldComponents" ordered="true" maxOccurs="unbounded"><target ref="Component"/></data>
    </association>
    <association name="BlockOf" level="1">
      <data roleName="entity" maxOccurs="unbounded"><target ref="Set"/><target ref="Field"/></data>
      <data roleName="inBlock" maxOccurs="unbounded"><target ref="ElementBlock"/></data>
    </association>
    <association name="Collections" level="1">
      <data roleName="record" maxOccurs="unbounded">
        <target ref="Mesh"/><target ref="ElementBlock"/><target ref="Field"/><target ref="Steps"/>
      </data>
      <collection roleName="storage" keyType="string" maxOccurs="unbounded"/>
    </association>
    <association name="Distributions" level="1">
      <data roleName="record" maxOccurs="unbounded">
        <target ref="Mesh"/><target ref="ElementBlock"/><target ref="Field"/><target ref="Steps"/>
      </data>
      <distribution roleName="storage" keyType="string" maxOccurs="unbounded"/>
    </association>
    <association name="SetMembers" level="1">
      <data roleName="set" maxOccurs="unbounded"><target ref="Set"/></data>
      <cset roleName="setMembers" maxOccurs="unbounded"/>
    </association>
  </form>
</qarn>)";
}

VelResultsSchema::VelResultsSchema() : manager(VelTypeFormManager::New()) {
    manager.Get().ParseQARN(Text());
    form = manager.Get().GetForm(e_FormName);
    snapshot = manager.Get().GetSchemaSnapshot(form, e_Level);
    mesh = form.GetTypeID("Mesh");
    block = form.GetTypeID("ElementBlock");
    set = form.GetTypeID("Set");
    field = form.GetTypeID("Field");
    component = form.GetTypeID("Component");
    steps = form.GetTypeID("Steps");
    meshes = form.GetTypeID("Meshes");
    blocks = form.GetTypeID("ElementBlocks");
    nodeSets = form.GetTypeID("NodeSets");
    elementSets = form.GetTypeID("ElementSets");
    fields = form.GetTypeID("Fields");
    stepSeries = form.GetTypeID("StepSeries");
    components = form.GetTypeID("Components");
    blockOf = form.GetTypeID("BlockOf");
    collections = form.GetTypeID("Collections");
    distributions = form.GetTypeID("Distributions");
    setMembers = form.GetTypeID("SetMembers");
}

std::shared_ptr<const VelResultsSchema> VelResultsSchema::Shared() {
    thread_local const std::shared_ptr<const VelResultsSchema> schema =
        std::make_shared<const VelResultsSchema>();
    return schema;
}
