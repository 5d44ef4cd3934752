#ifndef VEL_RESULTS_VELRESULTSSCHEMA_H
#define VEL_RESULTS_VELRESULTSSCHEMA_H

// The records that name what a results file holds, in the library's schema language: a mesh,
// its element blocks, node and element sets, fields with their components, and the steps.
// Each record is tied by associations to the collections, CSets and distributions that hold
// its data, under keys that say what each one is ("nodes", "coordinates", "values", ...).
//
// Form "VelResults", level 1.  The view's focus stands for the results file; from it:
//   Meshes        focus -> Mesh
//   ElementBlocks focus -> ElementBlock, ordered (the order the blocks were added in)
//   NodeSets      focus -> Set, keyed by the set's name
//   ElementSets   focus -> Set, keyed by the set's name
//   Fields        focus -> Field, keyed by the field's name
//   StepSeries    focus -> Steps
// and from the records:
//   Components    Field -> Component, ordered
//   BlockOf       Set or Field -> ElementBlock (element sets and element fields)
//   Collections   Mesh, ElementBlock, Field or Steps -> collection, keyed: "nodes",
//                 "coordinates" (x, y, z), "elements", "corners", "components", "steps"
//   Distributions Mesh, ElementBlock, Field or Steps -> distribution, keyed: "coordinates",
//                 "connectivity", "values", "times"
//   SetMembers    Set -> CSet
// An association's members are kept in the byte order of their role names; the roles are named
// so that the record an association starts from is its member 0.
#include <memory>

#include "vel/types/VelTypeFormManager.h"
#include "vel/types/VelTypeSchemaSnapshot.h"

// The parsed schema: its form, its snapshot at level 1 and the type of every record and
// association.
struct VelResultsSchema {
    static constexpr const char* e_FormName = "VelResults";
    static constexpr int e_Level = 1;
    static const char* Text();

    // Member positions: a record's members are kept in the byte order of their names.
    enum MeshMember { kMeshDimension, kMeshName, kMeshNodeCount, kMeshMembers };
    enum BlockMember {
        kBlockCellType,
        kBlockElementCount,
        kBlockName,
        kBlockNodesPerElement,
        kBlockMembers
    };
    enum SetMember { kSetLocation, kSetName, kSetSize, kSetMembers };
    enum FieldMember {
        kFieldComponentCount,
        kFieldLocation,
        kFieldName,
        kFieldUnits,
        kFieldMembers
    };
    enum ComponentMember { kComponentName, kComponentMembers };
    enum StepsMember { kStepsQuantity, kStepsUnits, kStepsMembers };

    // The schema parsed once per thread and shared by every results file that thread opens.
    // Per thread because the handles' observer counts are not atomic: a file copies them, and
    // copies made on two threads must not meet on one count.  A file keeps its own reference, so
    // the schema outlives the thread if the file does.
    static std::shared_ptr<const VelResultsSchema> Shared();

    VelResultsSchema();

    VelTypeFormManagerHolder manager;
    VelTypeForm form;
    VelTypeSchemaSnapshot snapshot;
    VelTypeID mesh, block, set, field, component, steps;
    VelTypeID meshes, blocks, nodeSets, elementSets, fields, stepSeries, components, blockOf,
        collections, distributions, setMembers;
};

#endif
