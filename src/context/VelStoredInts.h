#ifndef VEL_CONTEXT_VELSTOREDINTS_H
#define VEL_CONTEXT_VELSTOREDINTS_H

#include <cstdint>
#include <string>

#include "context/VelStorageGuard.h"
#include "vel/core/VelAssert.h"
#include "vel/hdf/hdf_Dataset.h"
#include "vel/hdf/hdf_Exception.h"
#include "vel/hdf/hdf_Group.h"

// One-dimensional arrays of native ints, as attributes or datasets: the form of every small
// record that distributions and DSets keep in the file.  Readers ask for the stored length
// first, so that it is checked before anything is read into memory sized by the reader.
struct VelStoredInts {
    static void CreateAttribute(const hdf_Group& group, const char* name, const int* values,
                                int count);
    // Rewrites an attribute of exactly `count` elements (assertion).
    static void WriteAttribute(const hdf_Group& group, const char* name, const int* values,
                               int count);
    static hdf_Dataset CreateDataset(const hdf_Group& group, const char* name, const int* values,
                                     int count);

    // The number of elements of a one-dimensional space; -1 for a space of any other rank.
    static int64_t Length(const hdf_Dataspace& space);
    // Whether a stored type holds ints as the layout writes them (any byte order).
    static bool HoldsInts(const hdf_Datatype& type);
};

// Stops the process for an object of the file that cannot be what it claims to be: the
// assertion report "stored <kind> <path> refused: <reason>".  Nothing of the object has been
// read into memory sized by the damaged value when this is called.
[[noreturn]] void VelRefuseStored(const char* kind, const hdf_Group& group,
                                  const std::string& reason);

#endif
