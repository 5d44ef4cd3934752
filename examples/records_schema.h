#ifndef VEL_EXAMPLES_RECORDS_SCHEMA_H
#define VEL_EXAMPLES_RECORDS_SCHEMA_H

// The schema the record examples share: load cases and materials of an analysis, and the
// result distributions of each load case.  A writer and its readers parse the same text, so
// that a reader can check the stored types against it.
//
// Members of a data record are addressed by position, and positions follow the members' names
// in byte order; the enumerations below spell them out.
#include <vel/vel.h>

inline const char* AnalysisSchema() {
    return R"(<qarn>
  <form name="Analysis">
    <datarecord name="LoadCase" level="1">
      <string name="name"/>
      <int name="number"/>
      <double name="factor" default="1"/>
      <symconst name="kind" default="STATIC">
        <enumeration value="STATIC"/><enumeration value="MODAL"/><enumeration value="TRANSIENT"/>
      </symconst>
    </datarecord>
    <datarecord name="Material" level="1">
      <string name="name"/>
      <double name="youngsModulus"/>
      <double name="poisson"/>
      <float name="density"/>
      <bool name="isotropic" default="true"/>
      <octet name="colour"/>
      <short name="layer"/>
      <int64 name="catalogNumber"/>
    </datarecord>
    <association name="AnalysisCases" level="1">
      <focus roleName="analysis"/>
      <data roleName="loadCases" ordered="true" maxOccurs="unbounded"><target ref="LoadCase"/></data>
    </association>
    <association name="Materials" level="1">
      <focus roleName="analysis"/>
      <data roleName="materials" keyType="string" maxOccurs="unbounded">
        <target ref="Material"/>
      </data>
    </association>
    <association name="CaseResults" level="1">
      <data roleName="loadCase" maxOccurs="unbounded"><target ref="LoadCase"/></data>
      <distribution roleName="results" maxOccurs="unbounded"/>
    </association>
  </form>
</qarn>)";
}

enum LoadCaseMember { kCaseFactor, kCaseKind, kCaseName, kCaseNumber };
enum MaterialMember {
    kMatCatalogNumber,
    kMatColour,
    kMatDensity,
    kMatIsotropic,
    kMatLayer,
    kMatName,
    kMatPoisson,
    kMatYoungsModulus
};
// The numbers of the symbolic constant follow its values in byte order.
enum LoadCaseKind { kModal = 0, kStatic = 1, kTransient = 2 };

// The analysis form's three associations, opened for update in transaction `t` of `view`.
struct AnalysisAssociations {
    VelAssociationUpdate cases;
    VelAssociationUpdate materials;
    VelAssociationUpdate results;
};
inline AnalysisAssociations UpdateAnalysisAssociations(VelTransactionExtend& t,
                                                       const VelViewUpdateForm& view,
                                                       const VelTypeForm& form) {
    return {t.UpdateAssociation(view.AssociationID(form.GetTypeID("AnalysisCases"))),
            t.UpdateAssociation(view.AssociationID(form.GetTypeID("Materials"))),
            t.UpdateAssociation(view.AssociationID(form.GetTypeID("CaseResults")))};
}

// The numeric members of a load case record.
struct LoadCaseFields {
    int number = 0;
    int kind = 0;
    double factor = 0.0;
};
inline LoadCaseFields ReadLoadCaseFields(const VelDataRecord& loadCase) {
    LoadCaseFields fields;
    loadCase.GetInt(kCaseNumber, fields.number);
    loadCase.GetSymb(kCaseKind, fields.kind);
    loadCase.GetDouble(kCaseFactor, fields.factor);
    return fields;
}

#endif
