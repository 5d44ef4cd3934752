#include "context/VelDistribution.h"

#include <algorithm>
#include <climits>
#include <string>

#include "context/VelCollectionLayout.h"
#include "context/VelCollective.h"
#include "context/VelContext.h"
#include "context/VelContextLayout.h"
#include "context/VelIDAccess.h"
#include "context/VelStorageGuard.h"
#include "context/VelStoredInts.h"
#include "hdf/hdf_TypeMatch.h"
#include "vel/context/VelOCompartment.h"
#include "vel/core/VelAssert.h"
#include "vel/core/VelIdAsString.h"

namespace {

constexpr const char* kKind = "distribution";

// The stored form of a collection: its minor word.  The context is the distribution's own.
int StoredWord(const VelCollectionID& collection) {
    return collection.Minor().Value();
}

// A collection of the grid or the range must be one of the context's own: the file keeps only
// its minor word, so a collection of another context would come back as a different one.
void ValidateCollection(const VelContext& context, const VelCollectionID& collection) {
    VelVALIDATE(context.HasCollection(collection) &&
                "a distribution's collections must belong to its context");
}

// Whether a catalogue row's dimensions (position, first, last each) place each of the grid's
// `rank` positions once, with bounds a CSet could have (0 and -1 when it holds none).
bool IsSoundPlace(const int* dims, int rank) {
    unsigned seen = 0;
    for (int d = 0; d < rank; ++d, dims += 3) {
        const int position = dims[0], first = dims[1], last = dims[2];
        if (position < 0 || position >= rank || ((seen >> position) & 1u)) return false;
        if (!((first == 0 && last == -1) || (first >= 0 && last >= first))) return false;
        seen |= 1u << position;
    }
    return true;
}

}  // namespace

VelDistribution::VelDistribution(const VelDistributionID& id, const hdf_Group& group,
                                 const VelGrid& grid, const VelRangeType& rangeType, bool readOnly)
    : m_id(id), m_group(group), m_grid(grid), m_rangeType(rangeType), m_readOnly(readOnly) {}

// ---- creation -----------------------------------------------------------------------------

VelAutoPtr<VelDistribution> VelDistribution::Create(VelContext& context,
                                                    const VelDistributionID& id,
                                                    const VelGrid& grid,
                                                    const VelRangeType& rangeType) {
    VelVALIDATE(!context.IsReadOnly());
    VelVALIDATE(grid.Size() <= VelMAX_DIMENSIONS);
    for (int d = 0; d < grid.Size(); ++d) ValidateCollection(context, grid[d]);
    VelVALIDATE(VelRangeType::IsKnownKey(rangeType.TypeKey()));
    if (rangeType.RefersToCollection()) ValidateCollection(context, rangeType.CollectionID());

    return VelGuardStorage([&] {
        const hdf_Group group =
            context.File().GroupCreateIndexed(VelIdAsString(id.Minor().Value()).c_str());
        VelContextLayout::WriteType(group, VelObjectKindDistribution, id.Minor().Value());

        int words[VelMAX_DIMENSIONS];
        for (int d = 0; d < grid.Size(); ++d) words[d] = StoredWord(grid[d]);
        VelStoredInts::CreateAttribute(group, e_Grid, words, grid.Size());

        const int range[3] = {rangeType.TypeKey(), rangeType.RefersToCollection() ? 1 : 0,
                              StoredWord(rangeType.CollectionID())};
        VelStoredInts::CreateAttribute(group, e_RangeType, range, 3);

        VelAutoPtr<VelDistribution> distribution(
            new VelDistribution(id, group, grid, rangeType, false));
        const int next = distribution->m_nextDrawer;
        VelStoredInts::CreateAttribute(group, e_Attributes, &next, 1);
        distribution->m_catalogue =
            VelCollectionLayout::CreateGrowingInts(group, e_Catalogue, e_CatalogueChunk);
        distribution->m_knowsPlaces = true;
        return distribution;
    });
}

// ---- loading ------------------------------------------------------------------------------

VelAutoPtr<VelDistribution> VelDistribution::Open(const VelContext& context, const hdf_Group& group,
                                                  const VelDistributionID& id) {
    const VelGrid grid = ReadGrid(context, group);
    const VelRangeType rangeType = ReadRangeType(context, group);
    VelAutoPtr<VelDistribution> distribution(
        new VelDistribution(id, group, grid, rangeType, context.IsReadOnly()));
    distribution->m_nextDrawer = distribution->m_storedNextDrawer = ReadNextDrawer(group);
    // One lookup of the name in a group of many drawers; a catalogue that exists but does not
    // open raises HDF5's failure.
    hdf_Exception failure;
    const hdf_Dataset catalogue = group.DatasetTryOpen(e_Catalogue, failure);
    if (catalogue.IsEmpty() && group.GetObjinfoExists(e_Catalogue)) failure.Propagate();
    if (catalogue.IsEmpty()) {
        distribution->LoadDrawers();
    } else {
        distribution->LoadPlaces(catalogue);
    }
    return distribution;
}

VelGrid VelDistribution::ReadGrid(const VelContext& context, const hdf_Group& group) {
    const hdf_Attribute attribute = group.AttributeOpen(e_Grid);
    const int64_t length = VelStoredInts::Length(attribute.GetSpace());
    if (length < 0) VelRefuseStored(kKind, group, "\"Grid\" is not one-dimensional");
    if (length > VelMAX_DIMENSIONS)
        VelRefuseStored(kKind, group,
                        "\"Grid\" holds " + std::to_string(length) + " collections, at most " +
                            std::to_string(VelMAX_DIMENSIONS) + " are allowed");
    if (!VelStoredInts::HoldsInts(attribute.GetType()))
        VelRefuseStored(kKind, group, "\"Grid\" does not hold ints");
    int words[VelMAX_DIMENSIONS];
    attribute.Read(hdf_Datatype::NATIVE_INT(), words);

    const int n = static_cast<int>(length);
    VelArray<VelCollectionID> collections(n);
    for (int d = 0; d < n; ++d) {
        collections[d] = VelIDAccess::MakeCollectionID(context.ID(), words[d]);
        if (!context.HasCollection(collections[d]))
            VelRefuseStored(kKind, group,
                            "\"Grid\" names collection word " + std::to_string(words[d]) +
                                ", which the context does not have");
        for (int e = 0; e < d; ++e)
            if (words[e] == words[d])
                VelRefuseStored(
                    kKind, group,
                    "\"Grid\" names collection word " + std::to_string(words[d]) + " twice");
    }
    return VelGrid(collections);
}

VelRangeType VelDistribution::ReadRangeType(const VelContext& context, const hdf_Group& group) {
    const hdf_Attribute attribute = group.AttributeOpen(e_RangeType);
    if (VelStoredInts::Length(attribute.GetSpace()) != 3)
        VelRefuseStored(kKind, group, "\"RangeType\" is not one dimension of 3 ints");
    if (!VelStoredInts::HoldsInts(attribute.GetType()))
        VelRefuseStored(kKind, group, "\"RangeType\" does not hold ints");
    int range[3];
    attribute.Read(hdf_Datatype::NATIVE_INT(), range);

    if (!VelRangeType::IsKnownKey(range[0]))
        VelRefuseStored(kKind, group,
                        "\"RangeType\" has the unknown type key " + std::to_string(range[0]));
    const VelTypeKey key = static_cast<VelTypeKey>(range[0]);
    const bool refers = VelRangeType::KeyRefersToCollection(key);
    if (range[1] != (refers ? 1 : 0))
        VelRefuseStored(kKind, group,
                        std::string("\"RangeType\" flag ") + std::to_string(range[1]) +
                            " does not agree with type key " + VelstringNameOf(key));
    VelCollectionID collection;
    if (refers) {
        collection = VelIDAccess::MakeCollectionID(context.ID(), range[2]);
        if (!context.HasCollection(collection))
            VelRefuseStored(kKind, group,
                            "\"RangeType\" names collection word " + std::to_string(range[2]) +
                                ", which the context does not have");
    } else if (range[2] != -1) {
        VelRefuseStored(kKind, group, "\"RangeType\" of a number range names a collection");
    }
    return VelRangeType(key, refers, collection);
}

int VelDistribution::ReadNextDrawer(const hdf_Group& group) {
    const hdf_Attribute attribute = group.AttributeOpen(e_Attributes);
    if (VelStoredInts::Length(attribute.GetSpace()) != 1)
        VelRefuseStored(kKind, group, "\"Distribution attributes\" is not one dimension of 1 int");
    if (!VelStoredInts::HoldsInts(attribute.GetType()))
        VelRefuseStored(kKind, group, "\"Distribution attributes\" does not hold ints");
    int next = 0;
    attribute.Read(hdf_Datatype::NATIVE_INT(), &next);
    if (next < e_FirstDrawerNumber)
        VelRefuseStored(kKind, group,
                        "the next drawer number " + std::to_string(next) + " is below " +
                            std::to_string(e_FirstDrawerNumber));
    return next;
}

// The catalogue is read from the members' names alone: a numbered member below the stored
// counter is a drawer, the rest is nobody's drawer and is left alone.  A drawer's group is
// checked (a group, with a "type" of kind drawer naming its number) when it is first opened,
// so that finding the drawers costs one pass over the names however many there are.  The
// groups are not kept open (see the class comment).
void VelDistribution::LoadDrawers() {
    std::vector<cow_String> uncommitted;
    for (const cow_String& name : m_group.MemberNames()) {
        int number = -1;
        if (!VelContextLayout::NumberOfName(name, number)) continue;
        if (number < 0 || number >= m_nextDrawer) {
            uncommitted.push_back(name);
            continue;
        }
        if (number < e_FirstDrawerNumber)
            VelRefuseStored(kKind, m_group,
                            std::string("member \"") + name.c_str() + "\" is drawer " +
                                std::to_string(number) + ", outside the numbers handed out (" +
                                std::to_string(e_FirstDrawerNumber) + " to " +
                                std::to_string(m_nextDrawer - 1) + ")");
        m_numbers.push_back(number);
    }
    std::sort(m_numbers.begin(), m_numbers.end());
    CheckCatalogue();
    if (!m_readOnly)
        for (const cow_String& name : uncommitted) m_group.Unlink(name.c_str());
}

// The catalogue's rows are checked against each other and the stored next number before any is
// trusted: ascending numbers from the first, each taking the numbers its kind uses up, ending
// at the next number, and places that could be a drawer's.  Whether a place is the drawer's own
// is checked when the drawer is first opened (CheckPlace).
void VelDistribution::LoadPlaces(const hdf_Dataset& catalogue) {
    m_catalogue = catalogue;
    if (!hdf_HasStoredLayout(m_catalogue))
        VelRefuseStored(kKind, m_group, "\"Drawer catalogue\" stores no values");
    if (!VelStoredInts::HoldsInts(m_catalogue.GetType()))
        VelRefuseStored(kKind, m_group, "\"Drawer catalogue\" does not hold ints");
    const int64_t length = VelStoredInts::Length(m_catalogue.GetSpace());
    const int64_t width = static_cast<int64_t>(PlaceWidth());
    if (length < 0 || length % width != 0)
        VelRefuseStored(kKind, m_group,
                        "\"Drawer catalogue\" is not one dimension of rows of " +
                            std::to_string(width) + " ints");
    // No more rows than numbers handed out, and no more ints than the file stores for it: the
    // length is checked before it sizes the read.
    const int64_t rows = length / width;
    if (rows > int64_t(m_nextDrawer) - e_FirstDrawerNumber)
        VelRefuseStored(kKind, m_group,
                        "\"Drawer catalogue\" holds " + std::to_string(rows) +
                            " drawers, more than the numbers handed out");
    if (m_catalogue.GetStorageSize() < static_cast<hsize_t>(length) * sizeof(int))
        VelRefuseStored(
            kKind, m_group,
            "\"Drawer catalogue\" stores fewer than its " + std::to_string(length) + " ints");
    m_knowsPlaces = true;
    if (m_readOnly) {
        ReadNewestPlaces(rows);
        return;
    }
    m_placeInts.resize(static_cast<size_t>(length));
    VelCollectionLayout::ReadInts(m_catalogue, 0, length, m_placeInts.data());
    m_numbers = CheckedNumbers(static_cast<int>(rows));
    m_storedPlaceInts = m_placeInts.size();
    RemoveUncommittedDrawers();
}

// A read-only open reads only the newest rows; none at all still checks that no drawer number
// was handed out.  Room is made for every row, so that older rows are read in place.
void VelDistribution::ReadNewestPlaces(int64_t rows) {
    m_placeInts.resize(static_cast<size_t>(rows) * PlaceWidth());
    m_numbers.resize(static_cast<size_t>(rows));
    m_firstPlace = static_cast<int>(rows);
    if (rows == 0 && !ChainsToReadRows(0, 0)) RefuseFirstUnsoundRow();
    ReadPlacesFrom(std::max(0, m_firstPlace - e_PlaceBlockRows));
}

// Reads rows `row` to the first row read so far, and at least half as many as were read before
// (so a search that goes back through every row reads the catalogue in a few calls, and reads
// at most half again the rows it needs), and checks them.
void VelDistribution::ReadPlacesFrom(int row) const {
    const int64_t width = static_cast<int64_t>(PlaceWidth());
    while (m_firstPlace > row) {
        const int read = NumPlaces() - m_firstPlace;
        const int count =
            std::min(m_firstPlace, std::max({e_PlaceBlockRows, read / 2, m_firstPlace - row}));
        const int first = m_firstPlace - count;
        VelGuardStorage([&] {
            VelCollectionLayout::ReadInts(m_catalogue, first * width, count * width,
                                          m_placeInts.data() + first * width);
        });
        if (!ChainsToReadRows(first, m_firstPlace)) RefuseFirstUnsoundRow();
        for (int r = first; r < m_firstPlace; ++r)
            m_numbers[static_cast<size_t>(r)] = m_placeInts[static_cast<size_t>(r * width)];
        m_firstPlace = first;
    }
}

// Reads rows until the oldest one read names `number` or an older drawer.
void VelDistribution::ReadPlacesBelow(int number) const {
    while (m_firstPlace > 0 && (m_firstPlace == NumPlaces() || *FirstReadNumber() > number))
        ReadPlacesFrom(m_firstPlace - 1);
}

// Whether rows `first` to `end` (not included), just read, link up with the rows read before
// them: every kind and place is one a drawer can have, each row's number and kind give the
// number of the row after it (the stored next number after the newest), and the oldest row of
// the catalogue names the first number.  These are the links CheckedNumbers follows from the
// first row, taken from the other end.
bool VelDistribution::ChainsToReadRows(int first, int end) const {
    const size_t width = PlaceWidth();
    const int rank = NumDimensions();
    int64_t next = end == NumPlaces() ? m_nextDrawer : m_numbers[static_cast<size_t>(end)];
    const int* const oldest = m_placeInts.data() + static_cast<size_t>(first) * width;
    for (const int* row = oldest + static_cast<size_t>(end - first) * width; row != oldest;) {
        row -= width;
        const int kind = row[1];
        if (kind != e_StandardDrawer && kind != e_SparseDrawer) return false;
        if (int64_t(row[0]) + kind != next || !IsSoundPlace(row + 2, rank)) return false;
        next = row[0];
    }
    return first > 0 || next == e_FirstDrawerNumber;
}

// A row read late that does not link up is refused as a whole read refuses it: the catalogue is
// read and checked from its first row, which names the first row that is wrong.  The rows not
// read before stay unread (a refusal may be caught), so that every later use refuses again.
void VelDistribution::RefuseFirstUnsoundRow() const {
    VelGuardStorage([&] {
        VelCollectionLayout::ReadInts(m_catalogue, 0, static_cast<int64_t>(m_placeInts.size()),
                                      m_placeInts.data());
    });
    struct KeepUnread {
        int& firstPlace;
        const int first;
        ~KeepUnread() { firstPlace = first; }
    } keep{m_firstPlace, m_firstPlace};
    m_firstPlace = 0;
    CheckedNumbers(NumPlaces());
    VelASSERT(!"a \"Drawer catalogue\" row that does not link up passed the first-row checks");
}

VelDistribution::DrawerPlace VelDistribution::Place(int i) const {
    ReadPlacesFrom(i);
    return DrawerPlace(m_placeInts.data() + static_cast<size_t>(i) * PlaceWidth(), NumDimensions());
}

// The drawer numbers of the catalogue's rows, each row checked as LoadPlaces says.  Runs over
// every row at every open: the row's ints are walked with a pointer, and texts are made only
// for a refusal.
VelDistribution::CatalogueInts VelDistribution::CheckedNumbers(int rows) const {
    CatalogueInts numbers(static_cast<size_t>(rows));
    const int rank = NumDimensions();
    const size_t width = PlaceWidth();
    const int* row = m_placeInts.data();
    int expected = e_FirstDrawerNumber;
    for (int r = 0; r < rows; ++r, row += width) {
        const int number = row[0], kind = row[1];
        if (number > expected) RefuseMissing(expected);
        if (number < expected)
            RefuseRow(r, "names drawer " + std::to_string(number) + ", out of order");
        if (kind != e_StandardDrawer && kind != e_SparseDrawer)
            RefuseRow(r, "has the unknown drawer kind " + std::to_string(kind));
        if (!IsSoundPlace(row + 2, rank)) RefuseDimensions(r, Place(r));
        expected = number + kind;
        numbers[static_cast<size_t>(r)] = number;
    }
    if (expected != m_nextDrawer) RefuseMissing(expected);
    return numbers;
}

// The refusal of a row IsSoundPlace found wrong, naming its first wrong dimension.  The texts
// are made only when there is a refusal: a catalogue of 10,000 rows is checked at every open.
void VelDistribution::RefuseDimensions(int r, const DrawerPlace& place) const {
    const int rank = NumDimensions();
    unsigned seen = 0;
    for (int d = 0; d < rank; ++d) {
        const int position = place.Position(d), first = place.First(d), last = place.Last(d);
        const bool known = position >= 0 && position < rank && !(seen & (1u << position));
        const bool bounds = (first == 0 && last == -1) || (first >= 0 && last >= first);
        if (!known || !bounds)
            RefuseRow(r, "places dimension " + std::to_string(d) + " at grid position " +
                             std::to_string(position) + ", members " + std::to_string(first) +
                             " to " + std::to_string(last));
        seen |= 1u << position;
    }
}

void VelDistribution::RefuseRow(int r, const std::string& what) const {
    VelRefuseStored(kKind, m_group,
                    "row " + std::to_string(r) + " of \"Drawer catalogue\" " + what);
}

// Drawers made after the stored state take the numbers from the stored next one on, each one or
// two: two missing numbers in a row end them.
void VelDistribution::RemoveUncommittedDrawers() {
    int missing = 0;
    for (int number = m_nextDrawer; missing < 2 && number < INT_MAX; ++number) {
        const cow_String name = VelIdAsString(number);
        if (m_group.GetObjinfoExists(name.c_str())) {
            m_group.Unlink(name.c_str());
            missing = 0;
        } else {
            ++missing;
        }
    }
}

void VelDistribution::RefuseMissing(int number) const {
    VelRefuseStored(kKind, m_group,
                    "drawer " + std::to_string(number) +
                        " of the catalogue is missing (numbers up to " +
                        std::to_string(m_nextDrawer - 1) + " were handed out)");
}

void VelDistribution::CheckPlace(int number, int kind, const std::vector<int>& place) const {
    if (!m_knowsPlaces) return;
    ReadPlacesBelow(number);
    const auto at = std::lower_bound(FirstReadNumber(), m_numbers.cend(), number);
    bool same = at != m_numbers.end() && *at == number && place.size() + 2 == PlaceWidth();
    if (same) {
        const int* row = m_placeInts.data() + (at - m_numbers.begin()) * PlaceWidth();
        same = row[1] == kind && std::equal(place.begin(), place.end(), row + 2);
    }
    if (!same)
        VelRefuseStored(kKind, m_group,
                        "drawer " + std::to_string(number) +
                            " lies elsewhere in the grid than \"Drawer catalogue\" says");
}

bool VelDistribution::HasDrawer(const VelDrawerID& drawer) const {
    const int number = drawer.Minor().Value();
    ReadPlacesBelow(number);
    return std::binary_search(FirstReadNumber(), m_numbers.cend(), number) &&
           drawer.Compare(VelIDAccess::MakeDrawerID(m_id, number)) == 0;
}

// The checks of a drawer's group, made when it is first opened.
hdf_Group VelDistribution::OpenDrawerGroup(int number) const {
    const cow_String name = VelIdAsString(number);
    const std::string where = std::string("member \"") + name.c_str() + "\"";
    int kind = -1;
    int stored = -1;
    // The name is looked up once; why it did not open is asked only when it did not.
    hdf_Exception failure;
    const hdf_Group group = m_group.GroupTryOpen(name.c_str(), failure);
    if (group.IsEmpty()) {
        if (!m_group.GetObjinfoExists(name.c_str())) RefuseMissing(number);
        if (m_group.GetObjinfoType(name.c_str()) == hdf_Group::ObjectTypeGroup) failure.Propagate();
    }
    if (group.IsEmpty() || !VelContextLayout::ReadTypeIfAny(group, kind, stored))
        VelRefuseStored(kKind, m_group,
                        where + " is named like a drawer but is no group with a \"type\"");
    if (kind != VelObjectKindDrawer)
        VelRefuseStored(kKind, m_group,
                        where + " has \"type\" kind " + std::to_string(kind) +
                            ", only drawers (3) live in a distribution");
    if (stored != number)
        VelRefuseStored(kKind, m_group,
                        where + " is not named by its drawer number " + std::to_string(stored));
    return group;
}

// Every number handed out names a drawer, except the one after a sparse drawer, which names that
// drawer's index dataset: a number with neither was lost from the file.
void VelDistribution::CheckCatalogue() const {
    for (int number = e_FirstDrawerNumber; number < m_nextDrawer; ++number) {
        if (std::binary_search(m_numbers.begin(), m_numbers.end(), number)) continue;
        const int sparse = number - 1;
        const std::string index =
            std::string(VelIdAsString(sparse).c_str()) + "/" + VelIdAsString(number).c_str();
        if (sparse >= e_FirstDrawerNumber &&
            std::binary_search(m_numbers.begin(), m_numbers.end(), sparse) &&
            m_group.GetObjinfoExists(index.c_str()))
            continue;
        RefuseMissing(number);
    }
}

// ---- the drawer catalogue -----------------------------------------------------------------

VelArray<VelDrawerID> VelDistribution::Drawers() const {
    ReadPlacesFrom(0);
    VelArray<VelDrawerID> drawers(NumDrawers());
    for (int i = 0; i < NumDrawers(); ++i)
        drawers[i] = VelIDAccess::MakeDrawerID(m_id, m_numbers[static_cast<size_t>(i)]);
    return drawers;
}

VelDrawerID VelDistribution::CreateDrawer(DrawerKind kind, const std::vector<int>& place) {
    VelVALIDATE(!m_readOnly);
    VelVALIDATE(kind == e_StandardDrawer || kind == e_SparseDrawer);
    VelASSERT(place.size() == 3 * static_cast<size_t>(NumDimensions()));
    // Sparse drawers name a dataset by their number plus one, which must stay a valid number.
    VelASSERT(m_nextDrawer <= INT_MAX - 2 && "drawer numbers are exhausted");
    if (VelCollective* ranks = VelCollectiveOf(m_id.ContextID().Value())) {
        std::vector<int64_t> arguments{m_id.Minor().Value(), kind};
        arguments.insert(arguments.end(), place.begin(), place.end());
        ranks->Agree("VelTransfer: a new drawer", arguments);
    }
    const int number = m_nextDrawer;
    const VelDrawerID drawer = VelIDAccess::MakeDrawerID(m_id, number);
    VelGuardStorage([&] {
        // The number is spent before the group exists, so no group ever carries a number the
        // file has not handed out.
        m_nextDrawer += kind;
        WriteNextDrawer();
        const hdf_Group group = m_group.GroupCreate(VelIdAsString(number).c_str(), 0);
        VelContextLayout::WriteType(group, VelObjectKindDrawer, number);
        m_numbers.push_back(number);
        m_groups[number] = group;
    });
    if (m_knowsPlaces) {
        m_placeInts.push_back(number);
        m_placeInts.push_back(kind);
        m_placeInts.insert(m_placeInts.end(), place.begin(), place.end());
    }
    return drawer;
}

void VelDistribution::RequireDrawer(const VelDrawerID& drawer) const {
    VelVALIDATE(HasDrawer(drawer));
}

hdf_Group VelDistribution::DrawerGroup(const VelDrawerID& drawer) {
    RequireDrawer(drawer);
    NoteUse(drawer);
    const int number = drawer.Minor().Value();
    const auto open = m_groups.find(number);
    if (open != m_groups.end()) return open->second;
    const hdf_Group group = VelGuardStorage([&] { return OpenDrawerGroup(number); });
    m_groups[number] = group;
    return group;
}

void VelDistribution::CloseDrawer(const VelDrawerID& drawer) {
    RequireDrawer(drawer);
    m_attachments.Remove(drawer);
    const auto open = m_groups.find(drawer.Minor().Value());
    if (open == m_groups.end()) return;
    VelGuardStorage([&] { open->second.Nullify(); });
    m_groups.erase(open);
}

VelDrawerAttachment* VelDistribution::DrawerAttachment(const VelDrawerID& drawer) {
    if (!m_attachments.IsMember(drawer)) return nullptr;
    NoteUse(drawer);
    return m_attachments.Get(drawer).Get();
}

std::vector<VelDrawerID>::iterator VelDistribution::FindRecent(const VelDrawerID& drawer) {
    return std::find_if(m_recent.begin(), m_recent.end(),
                        [&](const VelDrawerID& used) { return used.Compare(drawer) == 0; });
}

void VelDistribution::NoteUse(const VelDrawerID& drawer) {
    const auto found = FindRecent(drawer);
    if (found != m_recent.end()) {
        std::rotate(m_recent.begin(), found, found + 1);
        return;
    }
    if (m_recent.size() == e_OpenDrawersKept) m_recent.pop_back();
    m_recent.insert(m_recent.begin(), drawer);
}

// Runs between calls, never inside a transfer, so no drawer it closes is in use.
void VelDistribution::CloseUnusedDrawers() {
    if (m_groups.size() <= m_recent.size()) return;
    std::vector<VelDrawerID> unused;
    for (const auto& open : m_groups) {
        const int number = open.first;
        const VelDrawerID drawer = VelIDAccess::MakeDrawerID(m_id, number);
        if (FindRecent(drawer) == m_recent.end()) unused.push_back(drawer);
    }
    for (const VelDrawerID& drawer : unused) CloseDrawer(drawer);
}

// Closing a drawer writes back the cached metadata its objects own, and HDF5 1.10 lists every
// dirty entry of its cache to find them: with the buffers written first, the closes find
// little to list.  The writes go to the journal, not to the committed file.
void VelDistribution::BoundOpenDrawers() {
    if (m_groups.size() <= e_OpenDrawersBound) return;
    VelGuardStorage([&] { m_group.WriteBuffers(); });
    CloseUnusedDrawers();
}

void VelDistribution::SetDrawerAttachment(const VelDrawerID& drawer,
                                          VelAutoPtr<VelDrawerAttachment> attachment) {
    RequireDrawer(drawer);
    m_attachments.Insert(drawer, std::move(attachment), true);
}

void VelDistribution::WriteNextDrawer() {
    VelStoredInts::WriteAttribute(m_group, e_Attributes, &m_nextDrawer, 1);
    m_storedNextDrawer = m_nextDrawer;
}

// The rows of the drawers made since the last write-back are appended.
void VelDistribution::WritePlaces() {
    if (!m_knowsPlaces || m_storedPlaceInts == m_placeInts.size()) return;
    const int64_t start = static_cast<int64_t>(m_storedPlaceInts);
    const int64_t count = static_cast<int64_t>(m_placeInts.size()) - start;
    VelCollectionLayout::Extend(m_catalogue, start + count);
    VelCollectionLayout::WriteInts(m_catalogue, start, count, m_placeInts.data() + start);
    m_storedPlaceInts = m_placeInts.size();
}

void VelDistribution::Flush() {
    if (m_readOnly) return;
    VelGuardStorage([&] {
        WritePlaces();
        if (m_nextDrawer != m_storedNextDrawer) WriteNextDrawer();
    });
}
