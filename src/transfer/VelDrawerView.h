#ifndef VEL_TRANSFER_VELDRAWERVIEW_H
#define VEL_TRANSFER_VELDRAWERVIEW_H

#include <vector>

#include "context/VelDistribution.h"
#include "transfer/VelDrawerIO.h"
#include "transfer/VelDrawerRuns.h"
#include "transfer/VelPersistentDrawer.h"
#include "vel/context/VelCollectionID.h"

// A transfer's view as the drawer layer sees it: per dimension, in the view's order, the
// collection and the members selected.  The caller's buffer holds the view's values row-major,
// each dimension in the ascending order of its members.
struct VelDrawerView {
    std::vector<VelCollectionID> collections;
    VelMemberBox members;
    std::vector<int> sizes;

    int NumDimensions() const { return static_cast<int>(sizes.size()); }
    int64_t Count() const;

    // The view of `request`.  A permutation CSet is refused: a drawer keeps each dimension in
    // ascending member order and a hyperslab cannot reorder, so its order could not be honoured
    // without a copy.  An ordinal range must lie inside its collection.
    static VelDrawerView Of(const VelDrawerRequest& request);
};

// The distribution a request is about.
VelDistribution& VelDistributionOf(const VelDrawerRequest& request);

// The compartment of a new drawer over the request's view: one CSet per dimension of the
// distribution (assertions otherwise).
VelArray<VelCSetID> VelNewDrawerCompartment(const VelDrawerRequest& request,
                                            const VelDistribution& distribution);

// The compression of a new drawer the request makes: its own, else its context's default.
VelCompression VelNewDrawerCompression(const VelDrawerRequest& request);

// Whether the drawer's dimensions name the view's collections in the view's order.
bool VelSameDimensionOrder(const VelDrawerView& view, const VelPersistentDrawerDesc& desc);

// The view mapped onto a drawer of the same dimension order, dimension by dimension.
std::vector<VelDimMapping> VelMapView(const VelDrawerView& view, const VelMemberBox& drawer);
// Whether the drawer holds part of the view, and all of it.
bool VelMeetsView(const std::vector<VelDimMapping>& mapping);
bool VelHoldsView(const std::vector<VelDimMapping>& mapping, const VelDrawerView& view);

// Moves the values `mapping` selects between the caller's buffer, laid out over the view, and
// the drawer's dataset: one HDF5 read or write per combination of pieces, each a hyperslab on
// both sides, straight from or into `buffer`, in the drawer's stored element type.
void VelMoveValues(VelPersistentDrawer& drawer, const std::vector<VelDimMapping>& mapping,
                   const VelDrawerView& view, void* buffer, bool write);

// The same for the ranks of a parallel context, each with its own view: the pieces are joined
// into one selection on each side (both in row-major order, which the mapping keeps, as it
// never reorders members), and moved in one HDF5 call with `transfer`, HDF5's collective
// transfer list.  Every rank makes the call, a rank whose view misses the drawer with an empty
// selection.
void VelMoveValuesCollective(VelPersistentDrawer& drawer, const std::vector<VelDimMapping>& mapping,
                             const VelDrawerView& view, void* buffer, bool write,
                             const hdf_PropListTransfer& transfer);

#endif
