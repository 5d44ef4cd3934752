#include "vel/hdf/hdf_PropList.h"

#include <algorithm>
#include <climits>

#include "hdf/hdf_Here.h"

namespace {

const char kHdfUnit[] = "hdf_PropList";

H5D_layout_t LayoutToH5(hdf_PropListDatasetCreation::Layout layout) {
    switch (layout) {
        case hdf_PropListDatasetCreation::LayoutCompact:
            return H5D_COMPACT;
        case hdf_PropListDatasetCreation::LayoutContiguous:
            return H5D_CONTIGUOUS;
        case hdf_PropListDatasetCreation::LayoutChunked:
            return H5D_CHUNKED;
    }
    throw nex_AssertException(HDF_HERE, "Illegal hdf_PropListDatasetCreation::Layout value.");
}

hdf_PropListDatasetCreation::Layout LayoutFromH5(H5D_layout_t layout) {
    switch (layout) {
        case H5D_COMPACT:
            return hdf_PropListDatasetCreation::LayoutCompact;
        case H5D_CONTIGUOUS:
            return hdf_PropListDatasetCreation::LayoutContiguous;
        case H5D_CHUNKED:
            return hdf_PropListDatasetCreation::LayoutChunked;
        default:
            break;
    }
    throw nex_AssertException(HDF_HERE, "Illegal H5D_layout_t value.");
}

// Our 2 and 3 are HDF5's 3 and 2.
H5D_alloc_time_t AllocTimeToH5(hdf_PropListDatasetCreation::AllocTime allocTime) {
    switch (allocTime) {
        case hdf_PropListDatasetCreation::AllocTimeDefault:
            return H5D_ALLOC_TIME_DEFAULT;
        case hdf_PropListDatasetCreation::AllocTimeEarly:
            return H5D_ALLOC_TIME_EARLY;
        case hdf_PropListDatasetCreation::AllocTimeIncremental:
            return H5D_ALLOC_TIME_INCR;
        case hdf_PropListDatasetCreation::AllocTimeLate:
            return H5D_ALLOC_TIME_LATE;
    }
    throw nex_AssertException(HDF_HERE, "Illegal hdf_PropListDatasetCreation::AllocTime value.");
}

hdf_PropListDatasetCreation::AllocTime AllocTimeFromH5(H5D_alloc_time_t allocTime) {
    switch (allocTime) {
        case H5D_ALLOC_TIME_DEFAULT:
            return hdf_PropListDatasetCreation::AllocTimeDefault;
        case H5D_ALLOC_TIME_EARLY:
            return hdf_PropListDatasetCreation::AllocTimeEarly;
        case H5D_ALLOC_TIME_INCR:
            return hdf_PropListDatasetCreation::AllocTimeIncremental;
        case H5D_ALLOC_TIME_LATE:
            return hdf_PropListDatasetCreation::AllocTimeLate;
        default:
            break;
    }
    throw nex_AssertException(HDF_HERE, "Illegal H5D_alloc_time_t value.");
}

H5D_fill_time_t FillTimeToH5(hdf_PropListDatasetCreation::FillTime fillTime) {
    switch (fillTime) {
        case hdf_PropListDatasetCreation::FillTimeAlloc:
            return H5D_FILL_TIME_ALLOC;
        case hdf_PropListDatasetCreation::FillTimeNever:
            return H5D_FILL_TIME_NEVER;
        case hdf_PropListDatasetCreation::FillTimeIfSet:
            return H5D_FILL_TIME_IFSET;
    }
    throw nex_AssertException(HDF_HERE, "Illegal hdf_PropListDatasetCreation::FillTime value.");
}

hdf_PropListDatasetCreation::FillTime FillTimeFromH5(H5D_fill_time_t fillTime) {
    switch (fillTime) {
        case H5D_FILL_TIME_ALLOC:
            return hdf_PropListDatasetCreation::FillTimeAlloc;
        case H5D_FILL_TIME_NEVER:
            return hdf_PropListDatasetCreation::FillTimeNever;
        case H5D_FILL_TIME_IFSET:
            return hdf_PropListDatasetCreation::FillTimeIfSet;
        default:
            break;
    }
    throw nex_AssertException(HDF_HERE, "Illegal H5D_fill_time_t value.");
}

}  // namespace

hid_t hdf_PropList::CreateList(hid_t listClass) {
    const hid_t id = H5Pcreate(listClass);
    if (id < 0) throw hdf_Exception(HDF_HERE, true);
    return id;
}

// ---- dataset creation ---------------------------------------------------------------------

hdf_PropListDatasetCreation::hdf_PropListDatasetCreation()
    : hdf_PropList((H5open(), CreateList(H5P_DATASET_CREATE))) {}

void hdf_PropListDatasetCreation::SetChunk(const hdf_DimArray& chunk) {
    const hdf_DimSpace extents = chunk.DimSpace();
    Succeeded(H5Pset_chunk(ID(), extents.Rank(), extents.dimensions()), HDF_HERE);
}

hdf_DimArray hdf_PropListDatasetCreation::GetChunk() const {
    hsize_t extents[hdf_DimSpace::MaxRank] = {};
    const int rank = H5Pget_chunk(ID(), hdf_DimSpace::MaxRank, extents);
    if (!Succeeded(rank, HDF_HERE)) return hdf_DimArray();
    // HDF5 fills at most 7 extents but reports the true rank, up to 32 in a foreign file.
    if (rank > hdf_DimSpace::MaxRank) {
        Fail(hdf_Exception(HDF_HERE, hdf_ErrorCode::MajorPlist, hdf_ErrorCode::MinorBadRange,
                           "Chunk has more than 7 dimensions."));
        return hdf_DimArray();
    }
    const hdf_DimSpace d(rank, extents);
    HDF_REQUIRE(!d.IsHuge(), "!d.IsHuge()");
    return hdf_DimArray(d);
}

void hdf_PropListDatasetCreation::SetLayout(Layout layout) {
    const H5D_layout_t h5Layout = LayoutToH5(layout);
    Succeeded(H5Pset_layout(ID(), h5Layout), HDF_HERE);
}

hdf_PropListDatasetCreation::Layout hdf_PropListDatasetCreation::GetLayout() const {
    const H5D_layout_t layout = H5Pget_layout(ID());
    if (!Succeeded(layout, HDF_HERE)) return LayoutContiguous;
    return LayoutFromH5(layout);
}

void hdf_PropListDatasetCreation::SetAllocTime(AllocTime allocTime) {
    const H5D_alloc_time_t h5AllocTime = AllocTimeToH5(allocTime);
    Succeeded(H5Pset_alloc_time(ID(), h5AllocTime), HDF_HERE);
}

hdf_PropListDatasetCreation::AllocTime hdf_PropListDatasetCreation::GetAllocTime() const {
    H5D_alloc_time_t allocTime = H5D_ALLOC_TIME_DEFAULT;
    if (!Succeeded(H5Pget_alloc_time(ID(), &allocTime), HDF_HERE)) return AllocTimeDefault;
    return AllocTimeFromH5(allocTime);
}

void hdf_PropListDatasetCreation::SetFillTime(FillTime fillTime) {
    const H5D_fill_time_t h5FillTime = FillTimeToH5(fillTime);
    Succeeded(H5Pset_fill_time(ID(), h5FillTime), HDF_HERE);
}

hdf_PropListDatasetCreation::FillTime hdf_PropListDatasetCreation::GetFillTime() const {
    H5D_fill_time_t fillTime = H5D_FILL_TIME_IFSET;
    if (!Succeeded(H5Pget_fill_time(ID(), &fillTime), HDF_HERE)) return FillTimeIfSet;
    return FillTimeFromH5(fillTime);
}

void hdf_PropListDatasetCreation::SetFillValue(const hdf_Datatype& type, const void* value) {
    Succeeded(H5Pset_fill_value(ID(), type.ID(), value), HDF_HERE);
}

void hdf_PropListDatasetCreation::GetFillValue(const hdf_Datatype& type, void* value) const {
    Succeeded(H5Pget_fill_value(ID(), type.ID(), value), HDF_HERE);
}

void hdf_PropListDatasetCreation::AddFilter(H5Z_filter_t filter, const unsigned* values,
                                            int count) {
    HDF_REQUIRE(count >= 0, "count >= 0");
    Succeeded(H5Pset_filter(ID(), filter, H5Z_FLAG_MANDATORY, static_cast<size_t>(count), values),
              HDF_HERE);
}

int hdf_PropListDatasetCreation::FilterCount() const {
    const int count = H5Pget_nfilters(ID());
    return Succeeded(count, HDF_HERE) ? count : 0;
}

H5Z_filter_t hdf_PropListDatasetCreation::FilterID(int index) const {
    unsigned flags = 0;
    size_t values = 0;
    unsigned config = 0;
    const H5Z_filter_t id = H5Pget_filter2(ID(), static_cast<unsigned>(index), &flags, &values,
                                           nullptr, 0, nullptr, &config);
    return Succeeded(id, HDF_HERE) ? id : H5Z_FILTER_ERROR;
}

cow_String hdf_PropListDatasetCreation::FilterName(int index) const {
    unsigned flags = 0;
    size_t values = 0;
    unsigned config = 0;
    char name[256] = {};
    const H5Z_filter_t id = H5Pget_filter2(ID(), static_cast<unsigned>(index), &flags, &values,
                                           nullptr, sizeof name, name, &config);
    if (!Succeeded(id, HDF_HERE)) return cow_String();
    name[sizeof name - 1] = 0;
    return cow_String(name);
}

std::vector<unsigned> hdf_PropListDatasetCreation::FilterValues(int index, int count) const {
    HDF_REQUIRE(count >= 0, "count >= 0");
    unsigned flags = 0;
    size_t stored = static_cast<size_t>(count);
    std::vector<unsigned> values(stored);
    unsigned config = 0;
    const H5Z_filter_t id = H5Pget_filter2(ID(), static_cast<unsigned>(index), &flags, &stored,
                                           values.data(), 0, nullptr, &config);
    if (!Succeeded(id, HDF_HERE)) return std::vector<unsigned>();
    values.resize(std::min(stored, values.size()));
    return values;
}

// HDF5 reports a filter it cannot load as unavailable (0) and pushes no error for it.
bool hdf_PropListDatasetCreation::FilterAvailable(H5Z_filter_t filter) {
    H5open();
    return H5Zfilter_avail(filter) > 0;
}

// ---- dataset access -----------------------------------------------------------------------

hdf_PropListDatasetAccess::hdf_PropListDatasetAccess()
    : hdf_PropList((H5open(), CreateList(H5P_DATASET_ACCESS))) {}

void hdf_PropListDatasetAccess::SetChunkCache(size_t slots, size_t bytes, double w0) {
    Succeeded(H5Pset_chunk_cache(ID(), slots, bytes, w0), HDF_HERE);
}

// ---- transfer -----------------------------------------------------------------------------

hdf_PropListTransfer::hdf_PropListTransfer() : hdf_PropList(CreateList(H5P_DATASET_XFER)) {}

void hdf_PropListTransfer::SetBuffer(int size, void* typeConversion, void* background) {
    HDF_REQUIRE(size >= 0, "size >= 0");
    Succeeded(H5Pset_buffer(ID(), static_cast<size_t>(size), typeConversion, background), HDF_HERE);
}

void hdf_PropListTransfer::SetVlenMemManager(H5MM_allocate_t allocate, void* allocateInfo,
                                             H5MM_free_t release, void* freeInfo) {
    Succeeded(H5Pset_vlen_mem_manager(ID(), allocate, allocateInfo, release, freeInfo), HDF_HERE);
}

// ---- file access --------------------------------------------------------------------------

hdf_PropListFileAccess::hdf_PropListFileAccess() : hdf_PropList(CreateList(H5P_FILE_ACCESS)) {}

void hdf_PropListFileAccess::SetCache(int mdcNelmts, int rdccNelmts, unsigned rdccNbytes,
                                      double rdccW0) {
    HDF_REQUIRE(rdccNelmts >= 0, "rdccNelmts >= 0");
    Succeeded(H5Pset_cache(ID(), mdcNelmts, static_cast<size_t>(rdccNelmts), rdccNbytes, rdccW0),
              HDF_HERE);
}

void hdf_PropListFileAccess::GetCache(int& mdcNelmts, int& rdccNelmts, unsigned& rdccNbytes,
                                      double& rdccW0) const {
    int mdc = 0;
    size_t slots = 0;
    size_t bytes = 0;
    double w0 = 0;
    if (!Succeeded(H5Pget_cache(ID(), &mdc, &slots, &bytes, &w0), HDF_HERE)) return;
    HDF_REQUIRE(slots <= static_cast<size_t>(INT_MAX), "rdccNelmts <= INT_MAX");
    HDF_REQUIRE(bytes <= static_cast<size_t>(UINT_MAX), "rdccNbytes <= UINT_MAX");
    mdcNelmts = mdc;
    rdccNelmts = static_cast<int>(slots);
    rdccNbytes = static_cast<unsigned>(bytes);
    rdccW0 = w0;
}

// ---- file creation ------------------------------------------------------------------------

hdf_PropListFileCreate::hdf_PropListFileCreate() : hdf_PropList(CreateList(H5P_FILE_CREATE)) {}

void hdf_PropListFileCreate::SetUserBlockSize(hsize_t size) {
    Succeeded(H5Pset_userblock(ID(), size), HDF_HERE);
}

// HDF5 reports success as exactly 0.
hsize_t hdf_PropListFileCreate::UserBlockSize() const {
    hsize_t size = 0;
    if (H5Pget_userblock(ID(), &size) != 0) Fail(HDF_HERE);
    return size;
}
