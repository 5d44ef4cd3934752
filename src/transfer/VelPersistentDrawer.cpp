#include "transfer/VelPersistentDrawer.h"

#include <climits>
#include <string>

#include "context/VelCSetAccess.h"
#include "context/VelIDAccess.h"
#include "context/VelStoredInts.h"
#include "hdf/hdf_Journal.h"
#include "hdf/hdf_TypeMatch.h"
#include "transfer/VelDrawerFilters.h"
#include "transfer/VelDrawerGuard.h"
#include "vel/context/VelCSet.h"
#include "vel/context/VelCollectionRef.h"
#include "vel/core/VelIdAsString.h"
#include "vel/hdf/hdf_DimArray.h"
#include "vel/hdf/hdf_DimSpace.h"

namespace {

constexpr const char* kKind = "drawer";
// The most bytes one transfer buffer holds: sizes are 32-bit, padding included.
constexpr int64_t kMaxBufferBytes = INT_MAX - 24;
constexpr int kDefaultChunkBytes = 256 * 1024;

std::string Text(int64_t n) {
    return std::to_string(n);
}

hdf_Dataspace SpaceOf(int rank, const int64_t* extents) {
    return hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(rank, extents), hdf_DimSpace());
}

hdf_Dataspace LineOf(int64_t length) {
    return SpaceOf(1, &length);
}

// Whether a stored type holds values of `key` as VelStoredTypeOf writes them (byte order is
// HDF5's to convert).
bool HoldsKey(const hdf_Datatype& type, VelTypeKey key) {
    return hdf_MatchesType(type, VelStoredTypeOf(key));
}

// A one-dimensional dataset's length, or -1.
int64_t LengthOf(const hdf_Dataspace& space) {
    return VelStoredInts::Length(space);
}

// The chunk shape of a chunked dataset, or an empty array.
VelArray<int> ChunksOf(const hdf_PropListDatasetCreation& creation) {
    if (creation.GetLayout() != hdf_PropListDatasetCreation::LayoutChunked) return VelArray<int>();
    const hdf_DimArray chunk = creation.GetChunk();
    VelArray<int> chunks(chunk.Rank());
    for (int d = 0; d < chunk.Rank(); ++d) chunks[d] = chunk[d];
    return chunks;
}

VelArray<int> ExtentsOf(const hdf_Dataspace& space) {
    const hdf_DimSpace dims = space.GetDims();
    VelArray<int> sizes(dims.Rank());
    for (int d = 0; d < dims.Rank(); ++d) sizes[d] = static_cast<int>(dims[d]);
    return sizes;
}

bool HasDataset(const hdf_Group& group, const cow_String& name) {
    return group.GetObjinfoExists(name.c_str()) &&
           group.GetObjinfoType(name.c_str()) == hdf_Group::ObjectTypeDataset;
}

// The dataset `name` of a drawer's group, empty when the group has none; the name is looked up
// once when it opens, and a dataset that exists but does not open raises HDF5's failure.
hdf_Dataset OpenDatasetIfAny(const hdf_Group& group, const cow_String& name) {
    hdf_Exception failure;
    const hdf_Dataset dataset = group.DatasetTryOpen(name.c_str(), failure);
    if (dataset.IsEmpty() && HasDataset(group, name)) failure.Propagate();
    return dataset;
}

}  // namespace

hdf_Datatype VelStoredTypeOf(VelTypeKey key) {
    switch (key) {
        case VelTypeKeyDouble:
            return hdf_Datatype::NATIVE_DOUBLE();
        case VelTypeKeyFloat:
            return hdf_Datatype::NATIVE_FLOAT();
        case VelTypeKeyBool:
            return hdf_Datatype::NATIVE_UCHAR();
        case VelTypeKeyInt:
        case VelTypeKeyCMember:
        case VelTypeKeyCSet:
        case VelTypeKeyOCSet:
            return hdf_Datatype::NATIVE_INT();
    }
    VelASSERT(!"Illegal VelTypeKey");
    return hdf_Datatype();
}

// ---- the description ----------------------------------------------------------------------

VelPersistentDrawerDesc::VelPersistentDrawerDesc(const VelDrawerID& id,
                                                 VelSerializationKey serialization,
                                                 const VelArray<VelCSetID>& compartment,
                                                 const VelArray<int>& sizes, int numNonzeros,
                                                 VelTypeKey rangeKey) {
    m_created = true;
    m_id = id;
    m_serialization = serialization;
    m_compartment = compartment;
    m_sizes = sizes;
    m_numNonzeros = numNonzeros;
    m_symmetric = serialization == VelSparseSymSerialization;
    ComputeBufferLayout(rangeKey);
}

void VelPersistentDrawerDesc::ComputeBufferLayout(VelTypeKey rangeKey) {
    m_bufferSizes.Init();
    m_dataKeys.Init();
    if (m_serialization == VelStandardSerialization) return;
    const int elementSize = VelElementSizeOf(rangeKey);
    const int rows = m_sizes[0];
    const int intSize = VelElementSizeOf(VelTypeKeyInt);
    m_bufferSizes[VelbufMain] = m_numNonzeros * elementSize;
    m_dataKeys[VelbufMain] = rangeKey;
    m_bufferSizes[VelbufIndicesNZ] = m_numNonzeros * intSize;
    m_dataKeys[VelbufIndicesNZ] = VelTypeKeyInt;
    m_bufferSizes[VelbufSparseMap] = (rows + 1) * intSize;
    m_dataKeys[VelbufSparseMap] = VelTypeKeyInt;
    if (m_symmetric) {
        m_bufferSizes[VelbufDiagonal] = rows * elementSize;
        m_dataKeys[VelbufDiagonal] = rangeKey;
    }
}

std::vector<int> VelPersistentDrawerDesc::StoredAttributes() const {
    std::vector<int> ints = {m_numNonzeros, m_symmetric ? 1 : 0};
    for (int d = 0; d < m_sizes.Size(); ++d) {
        const VelCSetID& cset = m_compartment[d];
        ints.push_back(cset.CollectionID().Minor().Value());
        ints.push_back(cset.Minor().Value());
        ints.push_back(m_sizes[d]);
    }
    return ints;
}

VelPersistentDrawerDesc VelPersistentDrawerDesc::Read(const VelDistribution& distribution,
                                                      const VelDrawerID& drawer,
                                                      const hdf_Group& group) {
    const int n = distribution.NumDimensions();
    hdf_Group probe(group);
    probe.SetNoThrow(true);
    const hdf_Attribute attribute = probe.AttributeOpen(e_Attributes);
    if (attribute.IsEmpty()) VelRefuseStored(kKind, group, "it has no \"Drawer attributes\"");
    const int64_t length = LengthOf(attribute.GetSpace());
    if (length != 3 * n + 2)
        VelRefuseStored(kKind, group,
                        "\"Drawer attributes\" holds " + Text(length) + " ints, a drawer of " +
                            Text(n) + " dimensions has " + Text(3 * n + 2));
    if (!VelStoredInts::HoldsInts(attribute.GetType()))
        VelRefuseStored(kKind, group, "\"Drawer attributes\" does not hold ints");
    std::vector<int> ints(static_cast<size_t>(length));
    attribute.Read(hdf_Datatype::NATIVE_INT(), ints.data());

    const int numNonzeros = ints[0];
    if (numNonzeros < 0)
        VelRefuseStored(kKind, group,
                        "the number of nonzeros " + Text(numNonzeros) + " is negative");
    if (ints[1] != 0 && ints[1] != 1)
        VelRefuseStored(kKind, group, "the symmetric flag is " + Text(ints[1]) + ", not 0 or 1");

    const VelGrid& grid = distribution.Grid();
    VelArray<VelCSetID> compartment(n);
    VelArray<int> sizes(n);
    std::vector<bool> used(static_cast<size_t>(n), false);
    for (int d = 0; d < n; ++d) {
        const int word = ints[2 + 3 * d];
        const int index = ints[3 + 3 * d];
        const int size = ints[4 + 3 * d];
        const std::string dim = "dimension " + Text(d);
        int g = 0;
        while (g < n && grid[g].Minor().Value() != word) ++g;
        if (g == n)
            VelRefuseStored(kKind, group,
                            dim + " names collection word " + Text(word) +
                                ", which is not in the distribution's grid");
        if (used[static_cast<size_t>(g)])
            VelRefuseStored(kKind, group, dim + " names a collection named before");
        used[static_cast<size_t>(g)] = true;
        // A drawer's CSets are ascending: the index word has bit 31 set.
        const VelCSetID cset = VelIDAccess::MakeCSetID(grid[g], index);
        if (!cset.IsAscending() || cset.IsNull() ||
            cset.Index() >= VelCollectionRef(grid[g]).NumCSets())
            VelRefuseStored(kKind, group,
                            dim + " names CSet word " + Text(index) +
                                ", which is no ascending CSet of its collection");
        if (VelCSet(cset).Size() != size)
            VelRefuseStored(kKind, group,
                            dim + " gives size " + Text(size) + " to a CSet of " +
                                Text(VelCSet(cset).Size()) + " members");
        compartment[d] = cset;
        sizes[d] = size;
    }

    VelSerializationKey serialization = VelStandardSerialization;
    if (ints[1] == 1) {
        serialization = VelSparseSymSerialization;
    } else if (HasDataset(group, VelIdAsString(drawer.Minor().Value() + 1))) {
        serialization = VelSparseSerialization;
    }
    const VelTypeKey key = distribution.RangeType().TypeKey();
    if (serialization == VelStandardSerialization) {
        if (numNonzeros != 0)
            VelRefuseStored(kKind, group,
                            "a standard drawer gives " + Text(numNonzeros) + " nonzeros");
    } else {
        if (n < 1) VelRefuseStored(kKind, group, "a sparse drawer needs a dimension of rows");
        const int64_t rows = sizes[0];
        const int64_t elementSize = VelElementSizeOf(key);
        if (numNonzeros * elementSize > kMaxBufferBytes || rows * elementSize > kMaxBufferBytes ||
            (rows + 1) * 4 > kMaxBufferBytes)
            VelRefuseStored(kKind, group, "a sparse drawer too large for one transfer");
    }
    return VelPersistentDrawerDesc(drawer, serialization, compartment, sizes, numNonzeros, key);
}

namespace {

template <class Compartment>
VelMemberBox MembersOf(const Compartment& compartment) {
    VelMemberBox members(static_cast<size_t>(compartment.Size()));
    for (int d = 0; d < compartment.Size(); ++d) {
        for (const VelIndexSet::Run& run : VelCSetAccess::Runs(VelCSet(compartment[d])))
            members[static_cast<size_t>(d)].push_back({run.first, run.length});
    }
    return members;
}

// Where a drawer over `compartment` (one CSet per dimension, in the drawer's order) lies in the
// grid, as the distribution's catalogue keeps it.
template <class Compartment>
std::vector<int> PlaceOf(const VelDistribution& distribution, const Compartment& compartment,
                         const VelMemberBox& members) {
    std::vector<int> place;
    for (int d = 0; d < compartment.Size(); ++d) {
        const VelMemberRuns& runs = members[static_cast<size_t>(d)];
        place.push_back(distribution.Grid().Position(compartment[d].CollectionID()));
        VelAppendRunBounds(runs, place);
    }
    return place;
}

VelDistribution::DrawerKind KindOf(VelSerializationKey serialization) {
    return serialization == VelStandardSerialization ? VelDistribution::e_StandardDrawer
                                                     : VelDistribution::e_SparseDrawer;
}

}  // namespace

void VelPersistentDrawerDesc::FindMembers() {
    m_members = MembersOf(m_compartment);
}

// ---- the drawer ---------------------------------------------------------------------------

VelPersistentDrawer& VelPersistentDrawer::Get(VelDistribution& distribution,
                                              const VelDrawerID& drawer) {
    if (VelDrawerAttachment* attached = distribution.DrawerAttachment(drawer))
        return static_cast<VelPersistentDrawer&>(*attached);
    const hdf_Group group = distribution.DrawerGroup(drawer);
    VelAutoPtr<VelPersistentDrawer> opened(new VelPersistentDrawer(
        group, VelGuardStorage(
                   [&] { return VelPersistentDrawerDesc::Read(distribution, drawer, group); })));
    opened->m_desc.FindMembers();
    const VelPersistentDrawerDesc& desc = opened->m_desc;
    distribution.CheckPlace(drawer.Minor().Value(), KindOf(desc.Serialization()),
                            PlaceOf(distribution, desc.Compartment(), desc.Members()));
    VelGuardStorage([&] {
        CheckDatasets(distribution, *opened);
        opened->m_storedType = VelStoredTypeOf(distribution.RangeType().TypeKey());
    });
    VelPersistentDrawer& result = *opened;
    distribution.SetDrawerAttachment(drawer, VelAutoPtr<VelDrawerAttachment>(opened.Release()));
    return result;
}

void VelPersistentDrawer::CheckDatasets(const VelDistribution& distribution,
                                        VelPersistentDrawer& drawer) {
    const VelPersistentDrawerDesc& desc = drawer.m_desc;
    const hdf_Group& group = drawer.m_group;
    const int number = desc.ID().Minor().Value();
    const VelTypeKey key = distribution.RangeType().TypeKey();
    const cow_String name = VelIdAsString(number);
    const std::string quoted = std::string("dataset \"") + name.c_str() + "\"";
    drawer.m_values = OpenDatasetIfAny(group, name);
    if (drawer.m_values.IsEmpty()) VelRefuseStored(kKind, group, "it has no " + quoted);
    if (!hdf_HasStoredLayout(drawer.m_values))
        VelRefuseStored(kKind, group, quoted + " stores no values");
    if (!HoldsKey(drawer.m_values.GetType(), key))
        VelRefuseStored(kKind, group,
                        quoted + " does not hold " + VelstringNameOf(key) + " values");
    drawer.m_valuesSpace = drawer.m_values.GetSpace();
    const hdf_DimSpace dims = drawer.m_valuesSpace.GetDims();

    if (desc.Serialization() == VelStandardSerialization) {
        bool same = dims.Rank() == desc.NumDimensions();
        for (int d = 0; same && d < dims.Rank(); ++d)
            same = dims[d] == static_cast<hsize_t>(desc.Sizes()[d]);
        if (!same)
            VelRefuseStored(kKind, group,
                            quoted + " does not have the extents \"Drawer attributes\" gives");
        const hdf_PropListDatasetCreation creation = drawer.m_values.GetCreatePlist();
        drawer.m_desc.SetChunkSizes(ChunksOf(creation));
        const VelCompression compression = drawer.StoredCompression(creation, quoted);
        drawer.m_desc.SetCompression(compression);
        if (!compression.IsNone())
            drawer.OpenCached(name.c_str(), drawer.m_values, VelElementSizeOf(key));
        return;
    }

    const int64_t rows = desc.Sizes()[0];
    const int64_t nonzeros = desc.NumNonzeros();
    const int64_t values = nonzeros + (desc.IsSymmetric() ? rows : 0);
    if (LengthOf(drawer.m_valuesSpace) != values)
        VelRefuseStored(kKind, group,
                        quoted + " is not one dimension of " + Text(values) + " values");
    const cow_String indexName = VelIdAsString(number + 1);
    const std::string indexQuoted = std::string("index dataset \"") + indexName.c_str() + "\"";
    drawer.m_index = OpenDatasetIfAny(group, indexName);
    if (drawer.m_index.IsEmpty()) VelRefuseStored(kKind, group, "it has no " + indexQuoted);
    if (!hdf_HasStoredLayout(drawer.m_index))
        VelRefuseStored(kKind, group, indexQuoted + " stores no values");
    if (!HoldsKey(drawer.m_index.GetType(), VelTypeKeyInt))
        VelRefuseStored(kKind, group, indexQuoted + " does not hold ints");
    drawer.m_indexSpace = drawer.m_index.GetSpace();
    if (LengthOf(drawer.m_indexSpace) != rows + nonzeros + 1)
        VelRefuseStored(
            kKind, group,
            indexQuoted + " is not one dimension of " + Text(rows + nonzeros + 1) + " ints");
    const VelCompression compression =
        drawer.StoredCompression(drawer.m_index.GetCreatePlist(), indexQuoted);
    // An empty values dataset has no chunk to compress.
    if (values > 0 &&
        drawer.StoredCompression(drawer.m_values.GetCreatePlist(), quoted) != compression)
        VelRefuseStored(kKind, group, quoted + " and its index are not compressed alike");
    drawer.m_desc.SetCompression(compression);
    if (compression.IsNone()) return;
    if (values > 0) drawer.OpenCached(name.c_str(), drawer.m_values, VelElementSizeOf(key));
    drawer.OpenCached(indexName.c_str(), drawer.m_index, VelElementSizeOf(VelTypeKeyInt));
}

VelCompression VelPersistentDrawer::StoredCompression(const hdf_PropListDatasetCreation& creation,
                                                      const std::string& quoted) const {
    std::string refusal;
    const VelCompression compression = VelStoredCompression(creation, refusal);
    if (!refusal.empty()) Refuse(quoted + ": " + refusal);
    return compression;
}

// A compressed dataset opened again with a chunk cache fitted to its chunks.  HDF5 fixes the
// cache when a dataset is first opened and shares it with every later handle, so the handle
// opened to check the dataset goes first.
void VelPersistentDrawer::OpenCached(const char* name, hdf_Dataset& dataset,
                                     int elementSize) const {
    const VelArray<int> chunks = ChunksOf(dataset.GetCreatePlist());
    if (chunks.Size() == 0)
        Refuse(std::string("dataset \"") + name + "\" is filtered but not chunked");
    const VelArray<int> sizes = ExtentsOf(dataset.GetSpace());
    dataset = hdf_Dataset();
    dataset = m_group.DatasetOpen(name, VelChunkCache(sizes, chunks, elementSize));
}

VelPersistentDrawer& VelPersistentDrawer::Create(VelDistribution& distribution,
                                                 const NewDrawer& request) {
    const VelDrawerID id = distribution.CreateDrawer(
        KindOf(request.serialization),
        PlaceOf(distribution, request.compartment, MembersOf(request.compartment)));
    const VelTypeKey key = distribution.RangeType().TypeKey();
    VelAutoPtr<VelPersistentDrawer> made(new VelPersistentDrawer(
        distribution.DrawerGroup(id),
        VelPersistentDrawerDesc(id, request.serialization, request.compartment, request.sizes,
                                request.numNonzeros, key)));
    made->m_desc.FindMembers();
    VelGuardDrawer("!\"Create drawer failed\"", [&] {
        made->m_storedType = VelStoredTypeOf(key);
        made->CreateDatasets(request, key);
        const int64_t count = 3 * int64_t(request.sizes.Size()) + 2;
        made->m_attributes = made->m_group.AttributeCreate(
            VelPersistentDrawerDesc::e_Attributes, hdf_Datatype::NATIVE_INT(), LineOf(count));
    });
    VelPersistentDrawer& result = *made;
    distribution.SetDrawerAttachment(id, VelAutoPtr<VelDrawerAttachment>(made.Release()));
    return result;
}

void VelPersistentDrawer::CreateDatasets(const NewDrawer& request, VelTypeKey rangeKey) {
    const hdf_Datatype& type = m_storedType;
    const int number = m_desc.ID().Minor().Value();
    const cow_String name = VelIdAsString(number);
    const VelArray<int>& sizes = request.sizes;
    const int n = sizes.Size();

    if (request.serialization == VelStandardSerialization) {
        int64_t extents[hdf_DimSpace::MaxRank];
        bool empty = false;
        for (int d = 0; d < n; ++d) {
            extents[d] = sizes[d];
            empty = empty || sizes[d] == 0;
        }
        VelArray<int> chunks;
        // A dataset with an empty extent has nothing to chunk, and HDF5 would refuse any chunk.
        const bool compressed = !empty && !request.compression.IsNone();
        const int elementSize = VelElementSizeOf(rangeKey);
        if (!empty && request.chunkSizes.Size() > 0) {
            chunks = request.chunkSizes;
            for (int d = 0; d < n; ++d)
                if (chunks[d] > sizes[d]) chunks[d] = sizes[d];
        } else if (!empty && (request.chunkByDefault || compressed)) {
            chunks = DefaultChunkSizes(sizes, elementSize);
        }
        const hdf_Dataspace space = SpaceOf(n, extents);
        if (chunks.Size() == 0 && !request.fill) {
            m_values = m_group.DatasetCreate(name.c_str(), type, space);
        } else {
            hdf_PropListDatasetCreation creation;
            if (chunks.Size() > 0) creation.SetChunk(hdf_DimArray(n, &chunks[0]));
            if (request.fill) creation.SetFillValue(type, request.fill);
            if (compressed) {
                VelApplyCompression(creation, request.compression);
                m_values = m_group.DatasetCreate(name.c_str(), type, space, creation,
                                                 VelChunkCache(sizes, chunks, elementSize));
                m_desc.SetCompression(request.compression);
            } else {
                m_values = m_group.DatasetCreate(name.c_str(), type, space, creation);
            }
        }
        m_desc.SetChunkSizes(chunks);
        m_valuesSpace = m_values.GetSpace();
        return;
    }

    const int64_t rows = sizes[0];
    const int64_t nonzeros = request.numNonzeros;
    const int64_t values = nonzeros + (m_desc.IsSymmetric() ? rows : 0);
    m_values = CreateLine(name.c_str(), type, values, request.compression);
    m_valuesSpace = m_values.GetSpace();
    m_index = CreateLine(VelIdAsString(number + 1).c_str(), hdf_Datatype::NATIVE_INT(),
                         rows + nonzeros + 1, request.compression);
    m_indexSpace = m_index.GetSpace();
    m_desc.SetCompression(request.compression);
}

// A one-dimensional dataset of a sparse drawer: contiguous, or in compressed chunks of up to
// 256 KiB when it has values to compress.
hdf_Dataset VelPersistentDrawer::CreateLine(const char* name, const hdf_Datatype& type,
                                            int64_t length,
                                            const VelCompression& compression) const {
    if (compression.IsNone() || length == 0)
        return m_group.DatasetCreate(name, type, LineOf(length));
    VelArray<int> sizes(1);
    sizes[0] = static_cast<int>(length);
    const int elementSize = static_cast<int>(type.GetSize());
    const VelArray<int> chunks = DefaultChunkSizes(sizes, elementSize);
    hdf_PropListDatasetCreation creation;
    creation.SetChunk(hdf_DimArray(1, &chunks[0]));
    VelApplyCompression(creation, compression);
    return m_group.DatasetCreate(name, type, LineOf(length), creation,
                                 VelChunkCache(sizes, chunks, elementSize));
}

void VelPersistentDrawer::Complete() {
    VelGuardDrawer("!\"Create drawer failed\"", [&] {
        const std::vector<int> ints = m_desc.StoredAttributes();
        m_attributes.Write(hdf_Datatype::NATIVE_INT(), ints.data());
        m_attributes = hdf_Attribute();
    });
}

void VelPersistentDrawer::PrepareWrite() const {
    if (!m_desc.Compression().IsNone()) hdf_Journal::KeepRawWrites(m_values.ID());
}

hdf_Dataspace& VelPersistentDrawer::MemorySpace(const std::vector<int>& sizes) {
    if (m_memorySpace.IsEmpty() || sizes != m_memorySizes) {
        m_memorySpace = SpaceOf(static_cast<int>(sizes.size()),
                                std::vector<int64_t>(sizes.begin(), sizes.end()).data());
        m_memorySizes = sizes;
    }
    return m_memorySpace;
}

void VelPersistentDrawer::Refuse(const std::string& reason) const {
    VelRefuseStored(kKind, m_group, reason);
}

VelArray<int> VelPersistentDrawer::DefaultChunkSizes(const VelArray<int>& sizes, int elementSize) {
    const int64_t budget = kDefaultChunkBytes / elementSize;
    VelArray<int> chunks(sizes.Size());
    int64_t product = 1;
    for (int d = sizes.Size() - 1; d >= 0; --d) {
        const int64_t fit = std::max<int64_t>(1, budget / product);
        chunks[d] = static_cast<int>(std::min<int64_t>(sizes[d], fit));
        product *= std::max(chunks[d], 1);
    }
    return chunks;
}
