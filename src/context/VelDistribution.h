#ifndef VEL_CONTEXT_VELDISTRIBUTION_H
#define VEL_CONTEXT_VELDISTRIBUTION_H

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "vel/context/VelDistributionID.h"
#include "vel/context/VelGrid.h"
#include "vel/context/VelOCompartment.h"
#include "vel/context/VelRangeType.h"
#include "vel/core/VelArray.h"
#include "vel/core/VelAutoBtree.h"
#include "vel/core/VelAutoPtr.h"
#include "vel/core/VelBtree.h"
#include "vel/hdf/hdf_Group.h"
#include "vel/platform/mem_Memory.h"

class VelContext;

// What the drawer layer keeps with a drawer it has opened (its description and datasets).  The
// distribution owns it and drops it together with the drawer's group.
class VelDrawerAttachment : public mem_AllocationOperators {
public:
    virtual ~VelDrawerAttachment() = default;
};

// One distribution of a context, owned by the context's distribution map: a grid of the
// context's collections, the range type of its values, and the catalogue of its drawers.
//
// File layout: a group under the root named by the minor (eight upper-case hex digits),
// "type" [1, minor], and on it three attributes of native ints, one dimension each:
//
//   "Grid"                      one collection minor word (color included) per dimension, in
//                               the grid's order; at most 7.  The context is the distribution's.
//   "RangeType"                 [type key, refers-to-collection flag 0 or 1, collection minor
//                               word (-1 for a number range)]
//   "Distribution attributes"   [next drawer number]
//
// Drawers are groups inside the distribution's group, each named by its drawer number and
// carrying "type" [3, number]; what a drawer holds is the drawer layer's.  Numbers start at 1
// and are never reused: a standard drawer takes the next number and raises it by 1, a sparse
// drawer raises it by 2 because its index dataset is named by its number plus one.  The next
// number is written as soon as it is raised, so it reaches the file in the same commit as the
// drawer.  A drawer group named by a number at or beyond the stored one was made after the state
// the file records: loading passes it over by its name, without opening it, and a writable open
// removes it so that its number can be handed out again.
//
// "Drawer catalogue", a dataset of native ints beside the drawers, keeps where each drawer lies
// in the grid, one row of 2 + 3n ints per drawer in number order: the number, the kind (1
// standard, 2 sparse) and, for each of the drawer's dimensions, the grid position of its
// collection and the first and last member its CSet holds (0 and -1 for an empty CSet).  Rows
// are appended at write-back, in the commit that stores the next drawer number, so the rows
// name exactly the drawers below it.  With it an open finds the drawers without listing the
// group, and a search for the drawers that hold a view opens only those whose rows meet the
// view.  A distribution stored without it (made before it was kept) is catalogued from its
// members' names, and its drawers are searched by opening them.  A read-only open reads the
// newest e_PlaceBlockRows rows and the rest, newest first, only as far back as a search or a
// drawer asks for, so that reading a late step costs the same however many steps came before.
// Rows are checked as they are read, against the row after them (the newest against the stored
// next number, the oldest against the first number): the same links the whole catalogue makes,
// and a row found wrong is refused exactly as a whole read refuses it.
//
// The catalogue lists every drawer; a drawer's group stays open from the first time the drawer
// layer asks for it until CloseDrawer, so that reopening a distribution with many drawers holds
// no HDF5 identifiers for drawers nobody uses.  A flush lets go of all but the most recently
// used drawers: a writer that makes a drawer per step and checkpoints after each does not keep
// every step's datasets open (HDF5 visits every open dataset at every flush).
//
// Every method that touches the file turns an hdf_Exception into its message on standard output
// and the assertion "0", except Open, whose caller (the context's load) does the same.
class VelDistribution : public mem_AllocationOperators {
public:
    static constexpr const char* e_Grid = "Grid";
    static constexpr const char* e_RangeType = "RangeType";
    static constexpr const char* e_Attributes = "Distribution attributes";
    static constexpr const char* e_Catalogue = "Drawer catalogue";
    // The ints "Drawer catalogue" grows by.
    static constexpr int e_CatalogueChunk = 4096;
    // The rows a read-only open reads of "Drawer catalogue"; later reads add at least half the
    // rows read before.
    static constexpr int e_PlaceBlockRows = 256;
    static constexpr int e_FirstDrawerNumber = 1;

    // How many drawer numbers a new drawer uses up.
    enum DrawerKind { e_StandardDrawer = 1, e_SparseDrawer = 2 };

    // Makes the distribution's group under the context's root.  The grid's collections and the
    // range's collection must be the context's, and the context writable (validations).
    static VelAutoPtr<VelDistribution> Create(VelContext& context, const VelDistributionID& id,
                                              const VelGrid& grid, const VelRangeType& rangeType);
    // Loads a stored distribution from its group; everything read is checked before use, and
    // collections named by the file must be loaded in `context` already.
    static VelAutoPtr<VelDistribution> Open(const VelContext& context, const hdf_Group& group,
                                            const VelDistributionID& id);
    VelDistribution(const VelDistribution&) = delete;
    VelDistribution& operator=(const VelDistribution&) = delete;

    const VelDistributionID& ID() const { return m_id; }
    const VelGrid& Grid() const { return m_grid; }
    const VelRangeType& RangeType() const { return m_rangeType; }
    int NumDimensions() const { return m_grid.Size(); }
    int NextDrawerNumber() const { return m_nextDrawer; }
    const hdf_Group& Group() const { return m_group; }
    bool IsReadOnly() const { return m_readOnly; }

    // Where a drawer lies in the grid, a row of the catalogue: its number, its kind and, for each
    // of its dimensions, the grid position of the dimension's collection and the first and last
    // member held (0 and -1 when none).
    // A copy of the row: reading older rows moves the ones already read.
    class DrawerPlace {
    public:
        DrawerPlace(const int* row, int rank) : m_rank(rank) {
            std::copy(row, row + 2 + 3 * rank, m_row);
        }
        int Number() const { return m_row[0]; }
        int Kind() const { return m_row[1]; }
        int NumDimensions() const { return m_rank; }
        int Position(int d) const { return m_row[2 + 3 * d]; }
        int First(int d) const { return m_row[3 + 3 * d]; }
        int Last(int d) const { return m_row[4 + 3 * d]; }

    private:
        int m_row[2 + 3 * VelMAX_DIMENSIONS];
        int m_rank;
    };
    // Whether the file keeps the drawers' places; then there is one per drawer, in number order.
    bool KnowsPlaces() const { return m_knowsPlaces; }
    int NumPlaces() const { return static_cast<int>(m_placeInts.size() / PlaceWidth()); }
    // Row `i`, read and checked with the rows after it if it was not read yet.
    DrawerPlace Place(int i) const;
    // Refuses a drawer, when it is first opened, whose place (as CreateDrawer takes it) differs
    // from the stored one.
    void CheckPlace(int number, int kind, const std::vector<int>& place) const;

    // The drawers in number order.
    VelArray<VelDrawerID> Drawers() const;
    int NumDrawers() const { return static_cast<int>(m_numbers.size()); }
    bool HasDrawer(const VelDrawerID& drawer) const;

    // A new drawer: its number, its group and the group's "type", and its place in the
    // catalogue (`place` as DrawerPlace::dims).  The distribution must be writable
    // (validation).
    VelDrawerID CreateDrawer(DrawerKind kind, const std::vector<int>& place);
    // The group of one of this distribution's drawers (validation), opened if it is not open.
    hdf_Group DrawerGroup(const VelDrawerID& drawer);
    // Lets go of the drawer's group and attachment; the drawer stays in the catalogue.
    void CloseDrawer(const VelDrawerID& drawer);
    // The drawer layer's attachment to one of this distribution's drawers, null until it is set.
    // Asking for it counts as a use of the drawer.
    VelDrawerAttachment* DrawerAttachment(const VelDrawerID& drawer);
    void SetDrawerAttachment(const VelDrawerID& drawer, VelAutoPtr<VelDrawerAttachment> attachment);

    // Rewrites "Distribution attributes" when the file is writable and the number is not the
    // stored one, and appends the catalogue's new rows.
    void Flush();
    // Closes the drawers not among the most recently used.  Runs between calls, never inside a
    // transfer, so that no drawer it closes is in use.  A checkpoint calls it once the file's
    // buffers are written: HDF5 1.10 lists every dirty entry of its cache at each close.
    void CloseUnusedDrawers();
    // The same once more than e_OpenDrawersBound drawers are open, the file's buffers written
    // first: the drawer layer calls it before every transfer, so that a writer that never
    // checkpoints holds a bounded number of drawers open.
    void BoundOpenDrawers();

    // How many drawers a flush keeps open, and how many may be open between flushes.
    static constexpr size_t e_OpenDrawersKept = 8;
    static constexpr size_t e_OpenDrawersBound = 64;

private:
    // Leaves the ints a vector grows by uninitialised: rows of "Drawer catalogue" are read into
    // room made for all of them, and zeroing it would cost as much as the rows an open never
    // reads.
    template <class T>
    struct UninitialisedAllocator : std::allocator<T> {
        template <class U>
        struct rebind {
            using other = UninitialisedAllocator<U>;
        };
        template <class U>
        void construct(U* at) noexcept {
            ::new (static_cast<void*>(at)) U;
        }
        template <class U, class... Args>
        void construct(U* at, Args&&... args) {
            ::new (static_cast<void*>(at)) U(std::forward<Args>(args)...);
        }
    };
    using CatalogueInts = std::vector<int, UninitialisedAllocator<int>>;

    VelDistribution(const VelDistributionID& id, const hdf_Group& group, const VelGrid& grid,
                    const VelRangeType& rangeType, bool readOnly);

    static VelGrid ReadGrid(const VelContext& context, const hdf_Group& group);
    static VelRangeType ReadRangeType(const VelContext& context, const hdf_Group& group);
    static int ReadNextDrawer(const hdf_Group& group);
    void LoadDrawers();
    void LoadPlaces(const hdf_Dataset& catalogue);
    CatalogueInts CheckedNumbers(int rows) const;
    void ReadNewestPlaces(int64_t rows);
    void ReadPlacesFrom(int row) const;
    void ReadPlacesBelow(int number) const;
    bool ChainsToReadRows(int first, int end) const;
    CatalogueInts::const_iterator FirstReadNumber() const {
        return m_numbers.begin() + m_firstPlace;
    }
    [[noreturn]] void RefuseFirstUnsoundRow() const;
    void RefuseDimensions(int r, const DrawerPlace& place) const;
    [[noreturn]] void RefuseRow(int r, const std::string& what) const;
    void RemoveUncommittedDrawers();
    [[noreturn]] void RefuseMissing(int number) const;
    hdf_Group OpenDrawerGroup(int number) const;
    void CheckCatalogue() const;
    void WritePlaces();
    size_t PlaceWidth() const { return 2 + 3 * static_cast<size_t>(NumDimensions()); }
    void WriteNextDrawer();
    void RequireDrawer(const VelDrawerID& drawer) const;
    std::vector<VelDrawerID>::iterator FindRecent(const VelDrawerID& drawer);
    void NoteUse(const VelDrawerID& drawer);

    VelDistributionID m_id;
    hdf_Group m_group;
    VelGrid m_grid;
    VelRangeType m_rangeType;
    int m_nextDrawer = e_FirstDrawerNumber;
    int m_storedNextDrawer = e_FirstDrawerNumber;
    bool m_readOnly;
    // The most recently used drawers, newest first, at most e_OpenDrawersKept.
    std::vector<VelDrawerID> m_recent;
    // Every drawer's number, ascending (those of rows read, see m_firstPlace), and the groups of
    // the drawers that are open.
    mutable CatalogueInts m_numbers;
    std::map<int, hdf_Group> m_groups;
    // The places of the drawers when the file keeps them, how many rows the file holds, and
    // "Drawer catalogue" while it is open.  A read-only distribution reads the rows from the
    // newest on, as far back as they are asked for: m_placeInts and m_numbers have room for
    // every row and hold those from m_firstPlace on.  A writable one reads them all when it is
    // opened.
    bool m_knowsPlaces = false;
    mutable CatalogueInts m_placeInts;
    mutable int m_firstPlace = 0;
    size_t m_storedPlaceInts = 0;
    hdf_Dataset m_catalogue;
    // Declared after the groups, so that attachments go first.
    VelAutoBtree<VelDrawerID, VelAutoPtr<VelDrawerAttachment>> m_attachments;
};

#endif
