#include "transfer/VelDrawerView.h"

#include "context/VelCSetAccess.h"
#include "context/VelDistributionAccess.h"
#include "vel/context/VelCSet.h"
#include "vel/context/VelCollectionRef.h"
#include "vel/context/VelContextRef.h"
#include "vel/core/VelAssert.h"
#include "vel/hdf/hdf_DimArray.h"
#include "vel/hdf/hdf_DimSpace.h"

int64_t VelDrawerView::Count() const {
    return VelCountMembers(members);
}

VelDrawerView VelDrawerView::Of(const VelDrawerRequest& request) {
    const int n = request.view.Size();
    VelDrawerView view;
    view.collections.resize(static_cast<size_t>(n));
    view.members.resize(static_cast<size_t>(n));
    view.sizes.resize(static_cast<size_t>(n));
    for (int d = 0; d < n; ++d) {
        const size_t k = static_cast<size_t>(d);
        const VelDimSelection& selection = request.view.DimSelection(d);
        if (selection.IsCSet()) {
            const VelCSet cset(selection.CSetID());
            if (!cset.IsAscending()) VelASSERT(!"Selection by cset is not yet supported");
            for (const VelIndexSet::Run& run : VelCSetAccess::Runs(cset))
                view.members[k].push_back({run.first, run.length});
        } else if (selection.IsOrdinalRange()) {
            const int first = selection.First();
            const int last = selection.Last();
            if (last >= VelCollectionRef(selection.CollectionID()).Space())
                VelVALIDATE(!"The ordinal range runs past the end of its collection");
            view.members[k].push_back({first, last - first + 1});
        } else {
            VelASSERT(!"Bad selection");
        }
        view.collections[k] = selection.CollectionID();
        view.sizes[k] = static_cast<int>(VelCountMembers(view.members[k]));
        // The transfer sized its buffers by the same selections.
        VelASSERT(view.sizes[k] == request.drawer.Sizes()[d]);
    }
    return view;
}

VelDistribution& VelDistributionOf(const VelDrawerRequest& request) {
    return VelDistributionAccess::Get(request.distribution.ID());
}

VelArray<VelCSetID> VelNewDrawerCompartment(const VelDrawerRequest& request,
                                            const VelDistribution& target) {
    const VelDistribution* const distribution = &target;
    const VelArray<VelDimSelection>& selection = request.view.DimSelections();
    const int numDim = selection.Size();
    VelASSERT(numDim == distribution->NumDimensions());
    VelVALIDATE(numDim > 0 && "A drawer needs at least one dimension");
    VelArray<VelCSetID> compartment(numDim);
    for (int dim = 0; dim < numDim; ++dim) {
        VelASSERT(selection[dim].IsCSet() && "Drawers must be defined as arrays of CSetIDs");
        compartment[dim] = selection[dim].CSetID();
    }
    return compartment;
}

bool VelSameDimensionOrder(const VelDrawerView& view, const VelPersistentDrawerDesc& desc) {
    if (desc.NumDimensions() != view.NumDimensions()) return false;
    for (int d = 0; d < view.NumDimensions(); ++d) {
        if (desc.Compartment()[d].CollectionID().Compare(
                view.collections[static_cast<size_t>(d)]) != 0)
            return false;
    }
    return true;
}

std::vector<VelDimMapping> VelMapView(const VelDrawerView& view, const VelMemberBox& drawer) {
    std::vector<VelDimMapping> mapping(view.members.size());
    for (size_t d = 0; d < mapping.size(); ++d)
        mapping[d] = VelMapDimension(view.members[d], drawer[d]);
    return mapping;
}

bool VelMeetsView(const std::vector<VelDimMapping>& mapping) {
    for (const VelDimMapping& dim : mapping)
        if (dim.positions == 0) return false;
    return true;
}

bool VelHoldsView(const std::vector<VelDimMapping>& mapping, const VelDrawerView& view) {
    for (size_t d = 0; d < mapping.size(); ++d)
        if (mapping[d].positions != view.sizes[d]) return false;
    return true;
}

namespace {

// Walks every combination of one piece per dimension, last dimension fastest.
class PieceOdometer {
public:
    explicit PieceOdometer(const std::vector<VelDimMapping>& mapping)
        : m_mapping(mapping), m_at(mapping.size(), 0) {}
    const VelPositionPiece& operator[](size_t d) const { return m_mapping[d].pieces[m_at[d]]; }
    bool Next() {
        for (size_t d = m_at.size(); d-- > 0;) {
            if (++m_at[d] < m_mapping[d].pieces.size()) return true;
            m_at[d] = 0;
        }
        return false;
    }

private:
    const std::vector<VelDimMapping>& m_mapping;
    std::vector<size_t> m_at;
};

// One piece per dimension, as HDF5's hyperslab arguments.
struct Slab {
    hsize_t viewStart[hdf_DimSpace::MaxRank];
    hsize_t viewStride[hdf_DimSpace::MaxRank];
    hsize_t drawerStart[hdf_DimSpace::MaxRank];
    hsize_t drawerStride[hdf_DimSpace::MaxRank];
    int32_t count[hdf_DimSpace::MaxRank];
    int32_t block[hdf_DimSpace::MaxRank];

    Slab(const PieceOdometer& pieces, int n) {
        for (int d = 0; d < n; ++d) {
            const VelPositionPiece& p = pieces[static_cast<size_t>(d)];
            viewStart[d] = static_cast<hsize_t>(p.view);
            viewStride[d] = static_cast<hsize_t>(p.viewStride);
            drawerStart[d] = static_cast<hsize_t>(p.drawer);
            drawerStride[d] = static_cast<hsize_t>(p.drawerStride);
            count[d] = p.count;
            block[d] = p.block;
        }
    }
    void Select(hdf_Dataspace& memory, hdf_Dataspace& file, hdf_Dataspace::Seloper op,
                int n) const {
        const hdf_DimArray counts(n, count);
        const hdf_DimArray blocks(n, block);
        file.SelectHyperslab(op, hdf_DimSpace(n, drawerStart), hdf_DimSpace(n, drawerStride),
                             counts, blocks);
        memory.SelectHyperslab(op, hdf_DimSpace(n, viewStart), hdf_DimSpace(n, viewStride), counts,
                               blocks);
    }
};

void Transfer(const hdf_Dataset& dataset, const hdf_Datatype& type, const hdf_Dataspace& memory,
              const hdf_Dataspace& file, void* buffer, bool write) {
    if (write) {
        dataset.Write(type, memory, file, buffer);
    } else {
        dataset.Read(type, memory, file, buffer);
    }
}

}  // namespace

VelCompression VelNewDrawerCompression(const VelDrawerRequest& request) {
    if (request.args.CompressionGiven()) return request.args.Compression();
    return VelContextRef(request.distribution.ID().ContextID()).DefaultCompression();
}

void VelMoveValues(VelPersistentDrawer& drawer, const std::vector<VelDimMapping>& mapping,
                   const VelDrawerView& view, void* buffer, bool write) {
    if (!VelMeetsView(mapping)) return;
    if (write) drawer.PrepareWrite();
    const int n = view.NumDimensions();
    hdf_Dataspace& memory = drawer.MemorySpace(view.sizes);
    hdf_Dataspace& file = drawer.ValuesSpace();
    const hdf_Datatype& type = drawer.StoredType();

    PieceOdometer pieces(mapping);
    do {
        // The memory space is shared with earlier transfers: its selection is always set.
        Slab(pieces, n).Select(memory, file, hdf_Dataspace::SeloperSet, n);
        Transfer(drawer.Values(), type, memory, file, buffer, write);
    } while (pieces.Next());
}

void VelMoveValuesCollective(VelPersistentDrawer& drawer, const std::vector<VelDimMapping>& mapping,
                             const VelDrawerView& view, void* buffer, bool write,
                             const hdf_PropListTransfer& transfer) {
    const int n = view.NumDimensions();
    hdf_Dataspace& memory = drawer.MemorySpace(view.sizes);
    hdf_Dataspace& file = drawer.ValuesSpace();
    if (VelMeetsView(mapping)) {
        PieceOdometer pieces(mapping);
        hdf_Dataspace::Seloper op = hdf_Dataspace::SeloperSet;
        do {
            Slab(pieces, n).Select(memory, file, op, n);
            op = hdf_Dataspace::SeloperOr;
        } while (pieces.Next());
    } else {
        memory.SelectNone();
        file.SelectNone();
    }
    if (write) {
        drawer.Values().Write(drawer.StoredType(), memory, file, transfer, buffer);
    } else {
        drawer.Values().Read(drawer.StoredType(), memory, file, transfer, buffer);
    }
}
