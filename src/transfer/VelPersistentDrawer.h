#ifndef VEL_TRANSFER_VELPERSISTENTDRAWER_H
#define VEL_TRANSFER_VELPERSISTENTDRAWER_H

#include <string>
#include <vector>

#include "context/VelDistribution.h"
#include "transfer/VelDrawerRuns.h"
#include "vel/context/VelCSetID.h"
#include "vel/context/VelRangeType.h"
#include "vel/hdf/hdf_Attribute.h"
#include "vel/hdf/hdf_Dataset.h"
#include "vel/hdf/hdf_Dataspace.h"
#include "vel/hdf/hdf_Datatype.h"
#include "vel/hdf/hdf_Group.h"
#include "vel/transfer/VelDrawerDescription.h"

// A drawer in the file.  Drawer d of a distribution is a group inside the distribution's group,
// named by d's number (eight upper-case hex digits), holding:
//
//   "type"                attribute, 2 native ints: [3, number]
//   "Drawer attributes"   attribute, 3n + 2 native ints for n dimensions: [number of nonzeros
//                         (0 unless sparse), 1 if sparse-symmetric else 0], then per dimension
//                         [collection minor word, CSet index word, CSet size]
//   standard              one dataset named like the group, n-dimensional, extents the CSet
//                         sizes in the drawer's dimension order, values row-major in the order
//                         of the CSets' ascending members; contiguous, or chunked when the
//                         caller gave chunk sizes, the drawer was made from one value (its fill
//                         value is then that value and no chunk is written) or it is compressed
//                         (its filter pipeline then says how, see VelDrawerFilters.h)
//   sparse (r rows = members of dimension 0, z nonzeros, compressed rows)
//                         values dataset named like the group: for sparse-symmetric the r
//                         diagonal values, then the z nonzeros; index dataset of native ints
//                         named by number + 1: the z column indices, then r + 1 row starts;
//                         both contiguous, or chunked in 256 KiB and filtered alike when the
//                         drawer is compressed
//
// "Drawer attributes" is created with the datasets but its values are written last, after the
// values: a drawer whose creation failed describes no CSet and is refused when it is opened,
// rather than read as if it were complete.  The file changes only when it is committed, between
// calls (see VelContext), so a kill never leaves a drawer half made.
//
// Values are stored in the element type of the distribution's range: native int for Int,
// CMember, CSet and OCSet, native double, native float, and one unsigned byte for Bool.

// The stored element type of values of `key`.
hdf_Datatype VelStoredTypeOf(VelTypeKey key);

// A drawer's description with what the drawer layer derives from it: the members of each
// dimension as runs, and the values the file holds for it.
class VelPersistentDrawerDesc : public VelDrawerDescription {
public:
    static constexpr const char* e_Attributes = "Drawer attributes";

    VelPersistentDrawerDesc() = default;
    // A new drawer's description; `compartment` holds ascending CSets.
    VelPersistentDrawerDesc(const VelDrawerID& id, VelSerializationKey serialization,
                            const VelArray<VelCSetID>& compartment, const VelArray<int>& sizes,
                            int numNonzeros, VelTypeKey rangeKey);

    // The members each dimension holds, in the drawer's dimension order.
    const VelMemberBox& Members() const { return m_members; }
    int NumDimensions() const { return m_sizes.Size(); }
    // The 3n + 2 ints of "Drawer attributes".
    std::vector<int> StoredAttributes() const;
    void SetChunkSizes(const VelArray<int>& chunks) { m_chunkSizes = chunks; }
    void SetCompression(const VelCompression& compression) { m_compression = compression; }

    // The description stored for `drawer` in `group`, checked against `distribution` and the
    // context's collections; a description that cannot be sound stops the process with the
    // reason.  Members are left to FindMembers.
    static VelPersistentDrawerDesc Read(const VelDistribution& distribution,
                                        const VelDrawerID& drawer, const hdf_Group& group);
    // Resolves the CSets of the compartment into runs.
    void FindMembers();

private:
    void ComputeBufferLayout(VelTypeKey rangeKey);

    VelMemberBox m_members;
};

// A drawer the drawer layer has opened or made: its description and open datasets.  It is kept
// in the distribution's catalogue until the drawer is closed.
class VelPersistentDrawer : public VelDrawerAttachment {
public:
    // The drawer, opened and checked on first use.
    static VelPersistentDrawer& Get(VelDistribution& distribution, const VelDrawerID& drawer);

    // What a new drawer is made of.  Dense drawers are chunked with `chunkSizes` when it is not
    // empty (sizes above an extent are cut to it), or with a shape of their own when
    // `chunkByDefault`; `fill`, when not null, is one element of the range type that every
    // value starts as.
    struct NewDrawer {
        VelSerializationKey serialization = VelStandardSerialization;
        VelArray<VelCSetID> compartment;
        VelArray<int> sizes;
        VelArray<int> chunkSizes;
        bool chunkByDefault = false;
        const void* fill = nullptr;
        int numNonzeros = 0;
        VelCompression compression;
    };
    // Makes the drawer's group, "type", datasets and "Drawer attributes" (its values not yet
    // written); Complete() finishes the creation once the values are in.
    static VelPersistentDrawer& Create(VelDistribution& distribution, const NewDrawer& request);
    void Complete();

    const VelPersistentDrawerDesc& Desc() const { return m_desc; }
    // The values dataset, and the index dataset of a sparse drawer.
    const hdf_Dataset& Values() const { return m_values; }
    const hdf_Dataset& Index() const { return m_index; }
    // The datasets' file spaces, whose selections each transfer sets anew.
    hdf_Dataspace& ValuesSpace() { return m_valuesSpace; }
    hdf_Dataspace& IndexSpace() { return m_indexSpace; }
    // The element type the values are stored and moved in.
    const hdf_Datatype& StoredType() const { return m_storedType; }
    // Called before values are written to the drawer: chunks of a compressed drawer rewritten
    // in place are then held back until the next commit, so that a kill never tears one.
    void PrepareWrite() const;
    // A memory space of extents `sizes`, kept from one transfer to the next while the extents
    // stay the same (a view stepped through equal ranges); its selection is the caller's to set.
    hdf_Dataspace& MemorySpace(const std::vector<int>& sizes);

    // Stops the process: the drawer's stored content cannot be what the drawer claims.
    [[noreturn]] void Refuse(const std::string& reason) const;

    // The chunk shape of a drawer made from one value when the caller gave none: whole rows of
    // the last dimensions, as many as fit in 256 KiB.
    static VelArray<int> DefaultChunkSizes(const VelArray<int>& sizes, int elementSize);

private:
    VelPersistentDrawer(const hdf_Group& group, const VelPersistentDrawerDesc& desc)
        : m_group(group), m_desc(desc) {}
    static void CheckDatasets(const VelDistribution& distribution, VelPersistentDrawer& drawer);
    VelCompression StoredCompression(const hdf_PropListDatasetCreation& creation,
                                     const std::string& quoted) const;
    void OpenCached(const char* name, hdf_Dataset& dataset, int elementSize) const;
    void CreateDatasets(const NewDrawer& request, VelTypeKey rangeKey);
    hdf_Dataset CreateLine(const char* name, const hdf_Datatype& type, int64_t length,
                           const VelCompression& compression) const;

    hdf_Group m_group;
    VelPersistentDrawerDesc m_desc;
    hdf_Dataset m_values;
    hdf_Dataset m_index;
    hdf_Dataspace m_valuesSpace;
    hdf_Dataspace m_indexSpace;
    hdf_Datatype m_storedType;
    hdf_Dataspace m_memorySpace;
    std::vector<int> m_memorySizes;
    // Held from creation until Complete writes it.
    hdf_Attribute m_attributes;
};

#endif
