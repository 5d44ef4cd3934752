#ifndef VEL_CONTEXT_VELCONTEXTLAYOUT_H
#define VEL_CONTEXT_VELCONTEXTLAYOUT_H

#include "vel/hdf/hdf_Dataset.h"
#include "vel/hdf/hdf_Group.h"
#include "vel/platform/cow_String.h"

// The root layout of a database file.  Every object of a context hangs directly under the root
// group:
//
//   "Context attributes"   dataset, native int, one dimension of 2:
//                          [next collection serial, number of objects + 2 * VelNUM_CONTEXT_TYPES]
//   one group per object   collections, distributions and DSets, each with a "type" attribute
//                          (native int, one dimension of 2: [kind, minor])
//   "stringTable"          the record store's string table, "type" [4, 0]
//   "record"               the record store's records, "type" [5, 0]
//
// The objects counted in "Context attributes" are the collections, distributions and DSets;
// drawers live under their distribution and the record store groups are not counted.
constexpr int VelNUM_CONTEXT_TYPES = 4;

// The first element of a "type" attribute.
enum VelObjectKind {
    VelObjectKindCollection = 0,
    VelObjectKindDistribution = 1,
    VelObjectKindDSet = 2,
    VelObjectKindDrawer = 3,
    VelObjectKindStringTable = 4,
    VelObjectKindRecord = 5
};

struct VelContextLayout {
    static constexpr const char* e_ContextAttributes = "Context attributes";
    static constexpr const char* e_Type = "type";
    static constexpr const char* e_StringTable = "stringTable";
    static constexpr const char* e_Record = "record";

    // Creates the "type" attribute [kind, minor] on `group`.
    static void WriteType(const hdf_Group& group, int kind, int minor);
    // Reads a "type" attribute; one that is not one dimension of 2 elements stops the process
    // (a damaged file).
    static void ReadType(const hdf_Group& group, int& kind, int& minor);
    // The same for a group that may carry no "type" at all: false then.
    static bool ReadTypeIfAny(const hdf_Group& group, int& kind, int& minor);

    // The number a group name made by VelIdAsString stands for: false for any other name.
    static bool NumberOfName(const cow_String& name, int& number);

    // Creates "Context attributes" under `root` holding `values`.
    static void CreateContextAttributes(const hdf_Group& root, const int values[2]);
    static void WriteContextAttributes(const hdf_Group& root, const int values[2]);
    // Reads "Context attributes"; one that is not one dimension of 2 elements stops the process.
    static void ReadContextAttributes(const hdf_Group& root, int values[2]);
};

#endif
