#ifndef VEL_HDF_HDF_TYPEMATCH_H
#define VEL_HDF_HDF_TYPEMATCH_H

#include "vel/hdf/hdf_Dataset.h"
#include "vel/hdf/hdf_Datatype.h"

// Whether a datatype read from a file has the shape of the one the layout defines, so that
// HDF5 can convert between them without surprises: the same class and size for numbers (byte
// order is HDF5's to convert), and for compounds the same members in the same order, each of a
// matching type and lying inside the stored compound.  A damaged file can describe a type that
// HDF5's conversion code does not survive; loaders check every stored type before they read.
// Throws hdf_Exception when HDF5 cannot describe the stored type.
bool hdf_MatchesType(const hdf_Datatype& stored, const hdf_Datatype& expected);

// Whether a dataset keeps its values where the library puts them (contiguous or chunked).  A
// damaged layout message can turn a dataset compact with no values stored, which HDF5 1.10
// reads through a null pointer.
bool hdf_HasStoredLayout(const hdf_Dataset& dataset);

#endif
