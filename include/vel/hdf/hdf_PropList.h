#ifndef VEL_HDF_HDF_PROPLIST_H
#define VEL_HDF_HDF_PROPLIST_H

#include <hdf5.h>

#include <vector>

#include "vel/VelExport.h"
#include "vel/hdf/hdf_Datatype.h"
#include "vel/hdf/hdf_DimArray.h"
#include "vel/hdf/hdf_Object.h"
#include "vel/platform/cow_String.h"

// An HDF5 property list.  Each kind's default constructor creates a fresh list of its class;
// the constructor from an identifier wraps one HDF5 handed out (a dataset's creation list, a
// file's access list).  This layer never tunes a list on its own.
class VEL_API hdf_PropList : public hdf_Object {
public:
    hdf_PropList() = default;
    explicit hdf_PropList(hid_t id) : hdf_Object(id) {}

protected:
    // H5Pcreate of `listClass`; a failure throws.
    static hid_t CreateList(hid_t listClass);
};

// Dataset creation: layout, chunk shape, allocation and fill.
class VEL_API hdf_PropListDatasetCreation : public hdf_PropList {
public:
    enum Layout { LayoutCompact = 0, LayoutContiguous = 1, LayoutChunked = 2 };
    // The order differs from HDF5's, where late comes before incremental.
    enum AllocTime {
        AllocTimeDefault = 0,
        AllocTimeEarly = 1,
        AllocTimeIncremental = 2,
        AllocTimeLate = 3
    };
    enum FillTime { FillTimeAlloc = 0, FillTimeNever = 1, FillTimeIfSet = 2 };

    hdf_PropListDatasetCreation();
    explicit hdf_PropListDatasetCreation(hid_t id) : hdf_PropList(id) {}

    void SetChunk(const hdf_DimArray& chunk);
    hdf_DimArray GetChunk() const;
    // Illegal values raise "Illegal hdf_PropListDatasetCreation::Layout value." (and the like)
    // before HDF5 is called; values HDF5 reports that have no enumerator raise
    // "Illegal H5D_layout_t value." (and the like).
    void SetLayout(Layout layout);
    Layout GetLayout() const;
    void SetAllocTime(AllocTime allocTime);
    AllocTime GetAllocTime() const;
    void SetFillTime(FillTime fillTime);
    FillTime GetFillTime() const;
    void SetFillValue(const hdf_Datatype& type, const void* value);
    void GetFillValue(const hdf_Datatype& type, void* value) const;

    // The filter pipeline, applied in the order the filters were added.  Every filter is
    // mandatory: a chunk it cannot encode fails the write instead of being stored raw.
    void AddFilter(H5Z_filter_t filter, const unsigned* values, int count);
    int FilterCount() const;
    // Filter `index` of the pipeline (0 is applied first) and the name the file stores with it
    // (empty when it stores none).
    H5Z_filter_t FilterID(int index) const;
    cow_String FilterName(int index) const;
    // The first `count` client values filter `index` was given (fewer when it has fewer).
    std::vector<unsigned> FilterValues(int index, int count) const;
    // Whether this process's HDF5 can encode and decode `filter`, loading its plugin from the
    // plugin path when it is not built in.
    static bool FilterAvailable(H5Z_filter_t filter);
};

// Dataset access: the chunk cache of one open dataset.
class hdf_PropListDatasetAccess : public hdf_PropList {
public:
    hdf_PropListDatasetAccess();

    // `slots` hash slots, `bytes` of decoded chunks, preemption weight `w0` (1 evicts chunks
    // read or written whole first).
    void SetChunkCache(size_t slots, size_t bytes, double w0);
};

// Dataset transfer: conversion buffers and the memory manager of variable-length data.
class VEL_API hdf_PropListTransfer : public hdf_PropList {
public:
    hdf_PropListTransfer();
    explicit hdf_PropListTransfer(hid_t id) : hdf_PropList(id) {}

    void SetBuffer(int size, void* typeConversion, void* background);
    void SetVlenMemManager(H5MM_allocate_t allocate, void* allocateInfo, H5MM_free_t release,
                           void* freeInfo);
};

// File access: the metadata and raw-data chunk caches.
class VEL_API hdf_PropListFileAccess : public hdf_PropList {
public:
    hdf_PropListFileAccess();
    explicit hdf_PropListFileAccess(hid_t id) : hdf_PropList(id) {}

    void SetCache(int mdcNelmts, int rdccNelmts, unsigned rdccNbytes, double rdccW0);
    // Values that do not fit the narrower types raise the assertion exception.
    void GetCache(int& mdcNelmts, int& rdccNelmts, unsigned& rdccNbytes, double& rdccW0) const;
};

// File creation: the user block reserved at the start of the file.
class VEL_API hdf_PropListFileCreate : public hdf_PropList {
public:
    hdf_PropListFileCreate();
    explicit hdf_PropListFileCreate(hid_t id) : hdf_PropList(id) {}

    // HDF5 accepts 0 or a power of two of at least 512.
    void SetUserBlockSize(hsize_t size);
    hsize_t UserBlockSize() const;
};

#endif
