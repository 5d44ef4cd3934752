// Values in the standard serialization: a view of the grid moved to and from the drawers that
// hold it.
//
// Which drawers a transfer uses.  With lookInOnlyOneDrawer (SetDrawer) only the indicated
// drawer is used, and every value of the view must lie in it.  Otherwise the drawers of the
// distribution are searched, newest first, and the rules are:
//
//   reading   a value held by several drawers comes from the newest (highest number): a drawer
//             made later over the same block holds the later values, and the search stops at
//             the first drawer that holds the whole view.  A value no drawer holds fails the
//             read when requireReadCoverage is set, which normalised arguments always are; a
//             request that leaves it unset reads such a value as zero of the range type (0,
//             0.0, false), never as what the buffer held.
//   writing   a value is written to every drawer that holds it when oldDomainOverwrite is set
//             (the default), so that the drawers never disagree; without it the values the
//             drawers hold are kept and those of the buffer dropped.  Values no drawer holds
//             (new domain) follow the write-new-domain policy: make (the default) stores them
//             in new drawers, as few as there are blocks of the grid needed to hold exactly
//             them, so that no old value is shadowed; ignore drops them; error fails the write
//             before anything is written.
//
// Every drawer searched must be a standard one in the view's dimension order, and the search
// needs at least one drawer: the first drawer of a distribution is made with SetMakeNewDrawer.
#include <algorithm>
#include <cstring>
#include <string>

#include "context/VelCollective.h"
#include "context/VelIDAccess.h"
#include "transfer/VelDrawerGuard.h"
#include "transfer/VelDrawerOps.h"
#include "transfer/VelDrawerView.h"
#include "vel/context/VelCSet.h"
#include "vel/context/VelCollectionRef.h"
#include "vel/core/VelAssert.h"
#include "vel/platform/aio_Stream.h"

namespace {

constexpr const char* kReadFailed = "!\"Read dense failed\"";
constexpr const char* kWriteFailed = "!\"Write dense failed\"";

// A drawer of the search, with the part of the view it holds.
struct Holder {
    VelPersistentDrawer* drawer;
    std::vector<VelDimMapping> mapping;
};

void RequireStandard(const VelPersistentDrawer& drawer) {
    if (drawer.Desc().Serialization() != VelStandardSerialization)
        VelVALIDATE(!"A standard transfer cannot use a sparse drawer");
}

void RequireOrder(bool reordered, bool write) {
    // The condition is the report: its text must stay on one line.
    // clang-format off
    if (write) {
        VelASSERT(!reordered && "Writing by dimension order differing from that of the drawer is not yet implemented");
    } else {
        VelASSERT(!reordered && "Reading by dimension order differing from that of the drawer is not yet implemented");
    }
    // clang-format on
}

void RequireOrder(const VelDrawerView& view, const VelPersistentDrawer& drawer, bool write) {
    RequireOrder(!VelSameDimensionOrder(view, drawer.Desc()), write);
}

// The view's place in the grid: for each of its dimensions the grid position of the collection
// and the first and last member selected.  False when a collection is not the grid's as given.
bool PlaceOfView(const VelDistribution& distribution, const VelDrawerView& view,
                 std::vector<int>& place) {
    for (int d = 0; d < view.NumDimensions(); ++d) {
        const size_t k = static_cast<size_t>(d);
        const int position = distribution.Grid().Position(view.collections[k]);
        if (position < 0) return false;
        const VelMemberRuns& runs = view.members[k];
        place.push_back(position);
        VelAppendRunBounds(runs, place);
    }
    return true;
}

// Whether a drawer at `place` may hold values of a view at `view` (same dimension order): the
// member bounds overlap in every dimension.
bool MayMeet(const VelDistribution::DrawerPlace& place, const std::vector<int>& view) {
    for (int d = 0; d < place.NumDimensions(); ++d) {
        const size_t k = 3 * static_cast<size_t>(d);
        if (place.First(d) > view[k + 2] || view[k + 1] > place.Last(d)) return false;
    }
    return true;
}

// The indicated drawer, whose bounds must hold the whole view.
Holder OnlyDrawer(VelDistribution& distribution, const VelDrawerRequest& request,
                  const VelDrawerView& view, bool write) {
    const VelDrawerID& indicated = request.args.IndicatedDrawer();
    VelPersistentDrawer* drawer = nullptr;
    if (!indicated.IsNull() && distribution.HasDrawer(indicated))
        drawer = &VelPersistentDrawer::Get(distribution, indicated);
    VelASSERT(drawer);
    RequireStandard(*drawer);
    RequireOrder(view, *drawer, write);
    Holder only{drawer, VelMapView(view, drawer->Desc().Members())};
    if (!VelHoldsView(only.mapping, view))
        VelASSERT(!"Selection is outside the bounds of the drawer");
    return only;
}

// The drawers that hold part of the view, in number order: for a write every one of them; for
// a read only those from the newest drawer that holds the whole view on, as older drawers are
// not read (so a read costs the same however many older drawers the distribution keeps).
// When the distribution keeps its drawers' places, a drawer is opened only if its place meets
// the view's; the kind and dimension order every searched drawer must have are checked from the
// places of the others, so the search refuses exactly what it refused when it opened them all.
std::vector<Holder> SearchDrawers(VelDistribution& distribution, const VelDrawerView& view,
                                  bool write) {
    const int numDrw = distribution.NumDrawers();
    VelASSERT(numDrw > 0);
    std::vector<Holder> holders;
    // Adds the drawer as a holder if it holds part of the view; true when the search is over.
    const auto consider = [&](const VelDrawerID& id) {
        VelPersistentDrawer& drawer = VelPersistentDrawer::Get(distribution, id);
        RequireStandard(drawer);
        RequireOrder(view, drawer, write);
        Holder holder{&drawer, VelMapView(view, drawer.Desc().Members())};
        if (!VelMeetsView(holder.mapping)) return false;
        const bool whole = !write && VelHoldsView(holder.mapping, view);
        holders.push_back(std::move(holder));
        return whole;
    };
    std::vector<int> viewPlace;
    if (distribution.KnowsPlaces() && PlaceOfView(distribution, view, viewPlace)) {
        for (int i = distribution.NumPlaces() - 1; i >= 0; --i) {
            const VelDistribution::DrawerPlace place = distribution.Place(i);
            if (place.Kind() != VelDistribution::e_StandardDrawer)
                VelVALIDATE(!"A standard transfer cannot use a sparse drawer");
            bool reordered = place.NumDimensions() != view.NumDimensions();
            for (int d = 0; !reordered && d < view.NumDimensions(); ++d)
                reordered = place.Position(d) != viewPlace[3 * static_cast<size_t>(d)];
            RequireOrder(reordered, write);
            if (!MayMeet(place, viewPlace)) continue;
            if (consider(VelIDAccess::MakeDrawerID(distribution.ID(), place.Number()))) break;
        }
    } else {
        const VelArray<VelDrawerID> drawers = distribution.Drawers();
        for (int i = drawers.Size() - 1; i >= 0; --i)
            if (consider(drawers[i])) break;
    }
    std::reverse(holders.begin(), holders.end());
    return holders;
}

// The blocks of the view no holder holds.
std::vector<VelMemberBox> Uncovered(const VelDrawerView& view, const std::vector<Holder>& holders) {
    std::vector<VelMemberBox> taken;
    for (const Holder& holder : holders) taken.push_back(holder.drawer->Desc().Members());
    return VelSubtractBoxes(view.members, taken);
}

int64_t CountOf(const std::vector<VelMemberBox>& boxes) {
    int64_t n = 0;
    for (const VelMemberBox& box : boxes) n += VelCountMembers(box);
    return n;
}

void* MainBuffer(const VelDrawerRequest& request) {
    return request.drawer.InnerBuffers()[VelbufMain];
}

// One CSet per dimension for a block of new domain: the view's own CSet or the collection's
// full set when the block spans it, else a new CSet of the block's members.
VelArray<VelCSetID> CompartmentOf(const VelDrawerRequest& request, const VelDrawerView& view,
                                  const VelMemberBox& box) {
    VelArray<VelCSetID> compartment(view.NumDimensions());
    for (int d = 0; d < view.NumDimensions(); ++d) {
        const size_t k = static_cast<size_t>(d);
        const VelDimSelection& selection = request.view.DimSelection(d);
        const VelCollectionRef collection(view.collections[k]);
        if (selection.IsCSet() && VelSameRuns(box[k], view.members[k])) {
            compartment[d] = selection.CSetID();
        } else if (VelSameRuns(box[k], {{0, collection.Space()}})) {
            compartment[d] = collection.BiggestCSetID();
        } else {
            const std::vector<int> members = VelListMembers(box[k]);
            compartment[d] =
                collection.CreateCSet(members.data(), static_cast<int>(members.size()));
        }
    }
    return compartment;
}

VelArray<int> SizesOf(const VelMemberBox& box) {
    VelArray<int> sizes(static_cast<int>(box.size()));
    for (size_t d = 0; d < box.size(); ++d)
        sizes[static_cast<int>(d)] = static_cast<int>(VelCountMembers(box[d]));
    return sizes;
}

// New drawers for the new domain, each filled from the buffer.
void MakeDrawers(VelDistribution& distribution, const VelDrawerRequest& request,
                 const VelDrawerView& view, const std::vector<VelMemberBox>& boxes) {
    for (const VelMemberBox& box : boxes) {
        VelPersistentDrawer::NewDrawer made;
        made.compartment = CompartmentOf(request, view, box);
        made.sizes = SizesOf(box);
        made.compression = VelNewDrawerCompression(request);
        VelPersistentDrawer& drawer = VelPersistentDrawer::Create(distribution, made);
        VelGuardDrawer(kWriteFailed, [&] {
            VelMoveValues(drawer, VelMapView(view, drawer.Desc().Members()), view,
                          MainBuffer(request), true);
        });
        drawer.Complete();
    }
}

// The caller's chunk sizes for a new drawer, one per dimension, or none.
VelArray<int> RequestedChunks(const VelDrawerRequest& request, int numDim) {
    if (!request.args.ChunkSizesGiven()) return VelArray<int>();
    const VelArray<int>& chunkSizes = request.args.ChunkSizes();
    // Normalisation refuses any other count.
    VelASSERT(chunkSizes.Size() == numDim);
    return chunkSizes;
}

// The ranks of the distribution's context; null for a serial context.
VelCollective* RanksOf(const VelDistribution& distribution) {
    return VelCollectiveOf(distribution.ID().ContextID().Value());
}

// Moves the values of every holder, oldest first.  The ranks of a parallel context first agree
// on the drawers (each rank's view is its own, the drawers must be the same), then move each
// drawer's values in one collective call.
void MoveHolders(const VelDistribution& distribution, const std::vector<Holder>& holders,
                 const VelDrawerView& view, void* buffer, bool write, const char* failed) {
    VelCollective* const ranks = RanksOf(distribution);
    if (!ranks) {
        VelGuardDrawer(failed, [&] {
            for (const Holder& holder : holders)
                VelMoveValues(*holder.drawer, holder.mapping, view, buffer, write);
        });
        return;
    }
    std::vector<int64_t> drawers{distribution.ID().Minor().Value(), write};
    for (const Holder& holder : holders)
        drawers.push_back(holder.drawer->Desc().ID().Minor().Value());
    ranks->Agree(write ? "VelTransfer::ExecWrite" : "VelTransfer::ExecRead", drawers);
    VelGuardDrawer(failed, [&] {
        for (const Holder& holder : holders)
            VelMoveValuesCollective(*holder.drawer, holder.mapping, view, buffer, write,
                                    ranks->CollectiveTransfer());
    });
}

// The compartment of a drawer the ranks of a parallel context make together.  Their views
// select the same CSets, except in at most one dimension, where each rank may give an ordinal
// range of its own: the ranges, in rank order, must follow one another without a gap or an
// overlap, and the drawer holds their union, as the collection's full CSet when they cover it
// (the drawer one process would make for the whole of it).
VelArray<VelCSetID> JointCompartment(const VelDrawerRequest& request,
                                     const VelDistribution& distribution, VelCollective& ranks) {
    const VelArray<VelDimSelection>& selection = request.view.DimSelections();
    VelVALIDATE(selection.Size() == distribution.NumDimensions());
    VelArray<VelCSetID> compartment(selection.Size());
    int ranged = -1;
    for (int d = 0; d < selection.Size(); ++d) {
        if (selection[d].IsCSet()) {
            compartment[d] = selection[d].CSetID();
            continue;
        }
        // The condition is the report: its text must stay on one line.
        // clang-format off
        VelVALIDATE(ranged < 0 && "A drawer made by the ranks of a parallel context has at most one dimension of ordinal ranges");
        // clang-format on
        ranged = d;
    }
    ranks.Agree("VelTransfer::ExecWrite (new drawer)",
                {distribution.ID().Minor().Value(), ranged,
                 ranged < 0 ? -1 : selection[ranged].CollectionID().Minor().Value()});
    if (ranged < 0) return compartment;
    const VelDimSelection& range = selection[ranged];
    const std::vector<int64_t> bounds =
        ranks.GatherPairs("VelTransfer::ExecWrite (new drawer)", range.First(), range.Last());
    // clang-format off
    for (size_t r = 1; r < bounds.size() / 2; ++r)
        VelVALIDATE(bounds[2 * r] == bounds[2 * r - 1] + 1 && "The ranks' ordinal ranges of a new drawer must follow one another in rank order, without a gap or an overlap");
    // clang-format on
    const int first = static_cast<int>(bounds.front());
    const int last = static_cast<int>(bounds.back());
    const VelCollectionRef collection(range.CollectionID());
    compartment[ranged] = first == 0 && last == collection.Space() - 1
                              ? collection.BiggestCSetID()
                              : collection.CreateCSetStrided(first, 1, last - first + 1, 1);
    return compartment;
}

// The sizes of a new drawer over `compartment`.
VelArray<int> SizesOf(const VelArray<VelCSetID>& compartment) {
    VelArray<int> sizes(compartment.Size());
    for (int d = 0; d < compartment.Size(); ++d) sizes[d] = VelCSet(compartment[d]).Size();
    return sizes;
}

}  // namespace

void VelReadDense(const VelDrawerRequest& request) {
    VelDistribution& distribution = VelDistributionOf(request);
    const VelDrawerView view = VelDrawerView::Of(request);
    void* const buffer = MainBuffer(request);

    if (request.args.LookInOnlyOneDrawer().IsTrue()) {
        MoveHolders(distribution, {OnlyDrawer(distribution, request, view, false)}, view, buffer,
                    false, kReadFailed);
        return;
    }

    const std::vector<Holder> holders = SearchDrawers(distribution, view, false);
    // The search ends at a drawer holding the whole view when there is one, which leaves
    // nothing uncovered.
    const bool covered = !holders.empty() && VelHoldsView(holders.front().mapping, view);
    const std::vector<VelMemberBox> uncovered =
        covered ? std::vector<VelMemberBox>() : Uncovered(view, holders);
    if (!uncovered.empty()) {
        if (request.args.RequireReadCoverage().IsTrue()) {
            aio_cerr << "\ndpa Transfer error: " << CountOf(uncovered) << " of the " << view.Count()
                     << " values the view selects are in no drawer, and the read requires "
                        "coverage\n";
            VelVALIDATE(
                !"Every value a read selects must be in a drawer when coverage is required");
        }
        std::memset(buffer, 0, static_cast<size_t>(request.drawer.BufferSizes()[VelbufMain]));
    }
    // Oldest first, so that newer drawers overwrite what older ones hold of the same values.
    MoveHolders(distribution, holders, view, buffer, false, kReadFailed);
}

void VelWriteDense(const VelDrawerRequest& request) {
    VelDistribution& distribution = VelDistributionOf(request);
    VelVALIDATE(!distribution.IsReadOnly());
    const VelDrawerView view = VelDrawerView::Of(request);
    void* const buffer = MainBuffer(request);
    const bool overwrite = request.args.OldDomainOverwrite().Value();

    if (request.args.LookInOnlyOneDrawer().IsTrue()) {
        const Holder only = OnlyDrawer(distribution, request, view, true);
        if (!overwrite) return;
        MoveHolders(distribution, {only}, view, buffer, true, kWriteFailed);
        return;
    }

    const std::vector<Holder> holders = SearchDrawers(distribution, view, true);
    const std::vector<VelMemberBox> uncovered = Uncovered(view, holders);
    if (!uncovered.empty() && request.args.WriteNewDomainError().Value()) {
        aio_cerr << "\ndpa Transfer error: " << CountOf(uncovered) << " of the " << view.Count()
                 << " values the view selects are in no drawer, and the write-new-domain "
                    "policy is error\n";
        VelVALIDATE(!"Writing values outside every drawer is refused by SetWriteNewDomainError");
    }
    if (overwrite) MoveHolders(distribution, holders, view, buffer, true, kWriteFailed);
    if (!uncovered.empty() && request.args.WriteNewDomainMake().Value())
        MakeDrawers(distribution, request, view, uncovered);
}

void VelCreateDenseDrawer(const VelDrawerRequest& request) {
    VelDistribution& distribution = VelDistributionOf(request);
    VelCollective* const ranks = RanksOf(distribution);
    VelPersistentDrawer::NewDrawer made;
    const VelDrawerView view = VelDrawerView::Of(request);
    if (ranks) {
        made.compartment = JointCompartment(request, distribution, *ranks);
        made.sizes = SizesOf(made.compartment);
    } else {
        made.compartment = VelNewDrawerCompartment(request, distribution);
        made.sizes = SizesOf(view.members);
    }
    made.chunkSizes = RequestedChunks(request, view.NumDimensions());
    made.compression = VelNewDrawerCompression(request);
    VelPersistentDrawer& drawer = VelPersistentDrawer::Create(distribution, made);
    MoveHolders(distribution, {Holder{&drawer, VelMapView(view, drawer.Desc().Members())}}, view,
                MainBuffer(request), true, kWriteFailed);
    drawer.Complete();
}

void VelInitializeDrawer(const VelDrawerRequest& request, const VelRangeValue& value) {
    VelDistribution* const distribution = &VelDistributionOf(request);
    const VelTypeKey typekey = value.TypeKey();
    VelASSERT(distribution->RangeType().TypeKey() == typekey);
    VelPersistentDrawer::NewDrawer made;
    made.compartment = VelNewDrawerCompartment(request, *distribution);
    const VelDrawerView view = VelDrawerView::Of(request);
    made.sizes = SizesOf(view.members);
    made.chunkSizes = RequestedChunks(request, view.NumDimensions());
    made.chunkByDefault = true;
    made.compression = VelNewDrawerCompression(request);
    // The value is one element of the range type exactly as the dataset stores it, so it is the
    // dataset's fill value as it stands: HDF5 gives it for every value until one is written,
    // and no chunk need be written now.
    made.fill = value.Element();
    VelPersistentDrawer::Create(*distribution, made).Complete();
}
