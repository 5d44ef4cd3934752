#include "VelDumpScanner.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <vector>

namespace {
constexpr int kSerialBits = 0x3FFFFFF;

VelDumpValue Ints(const int* values, int count) {
    VelDumpValue array = VelDumpValue::MakeArray();
    for (int i = 0; i < count; ++i) array.Push(VelDumpValue::MakeInt(values[i]));
    return array;
}

VelDumpValue Ints(const VelArray<int>& values) {
    return Ints(values.Size() ? &values[0] : nullptr, values.Size());
}

std::string Text(const cow_String& s) {
    return s.str();
}

// The value at `p` of a range of `key`, as the library lays it out in a buffer.
VelDumpValue Element(VelTypeKey key, const unsigned char* p) {
    switch (key) {
        case VelTypeKeyDouble: {
            double d;
            std::memcpy(&d, p, sizeof d);
            return VelDumpValue::MakeDouble(d);
        }
        case VelTypeKeyFloat: {
            float f;
            std::memcpy(&f, p, sizeof f);
            return VelDumpValue::MakeDouble(f);
        }
        case VelTypeKeyBool:
            return VelDumpValue::MakeBool(*p != 0);
        default: {
            int i;
            std::memcpy(&i, p, sizeof i);
            return VelDumpValue::MakeInt(i);
        }
    }
}

// Reads the whole view of a checked transfer into one buffer per used buffer slot.
std::vector<std::vector<unsigned char>> ReadAll(VelTransfer& transfer) {
    transfer.CheckView();
    std::vector<std::vector<unsigned char>> buffers(VelTransfer::BufferCount());
    for (int e = 0; e < VelTransfer::BufferCount(); ++e) {
        const int size = transfer.RequiredBufferSize(e);
        if (size == 0) continue;
        buffers[e].resize(static_cast<size_t>(size));
        transfer.SetBuffer(e, buffers[e].data(), size);
    }
    transfer.ExecRead();
    transfer.RelinquishBuffers();
    return buffers;
}

// The members of a drawer's CSets, in the drawer's order.
std::vector<std::vector<int>> MembersOf(const VelOCompartment& compartment) {
    std::vector<std::vector<int>> members;
    for (int d = 0; d < compartment.Size(); ++d) {
        const VelCSet cset(compartment[d]);
        std::vector<int> m(static_cast<size_t>(cset.Size()));
        cset.OrderedMembers(m.data());
        members.push_back(std::move(m));
    }
    return members;
}
}  // namespace

VelDumpScanner::VelDumpScanner(const VelContextID& context, bool withValues)
    : m_ref(context), m_withValues(withValues) {}

std::string VelDumpScanner::NameOf(const VelCollectionID& id) {
    return "c" + std::to_string(id.Minor().Value() & kSerialBits);
}

std::string VelDumpScanner::NameOf(const VelCSetID& id) {
    return NameOf(id.CollectionID()) + "/" + std::to_string(id.Index());
}

std::string VelDumpScanner::NameOf(const VelDistributionID& id) {
    return "d" + std::to_string(id.Minor().Value());
}

std::string VelDumpScanner::NameOf(const VelDrawerID& id) {
    return NameOf(id.DistributionID()) + "/" + std::to_string(id.Minor().Value());
}

std::string VelDumpScanner::NameOf(const VelDSetID& id) {
    return "s" + std::to_string(id.Minor().Value());
}

VelDumpValue VelDumpScanner::Signature(const std::string& path) const {
    VelVersion version;
    VelDumpValue out = VelDumpValue::MakeObject();
    if (!version.Create(path.c_str())) return out;
    out.Add("author", Text(version.Author()));
    out.Add("version", std::to_string(version.MajorVersion()) + "." +
                           std::to_string(version.MinorVersion()) + "." +
                           std::to_string(version.UpdateVersion()));
    out.Add("internal version", version.InternalVersion());
    out.Add("schema version", version.SchemaVersion());
    return out;
}

VelCSetID VelDumpScanner::CSetAt(const VelCollectionID& collection, int index) const {
    return VelCollectionRef(collection).StoredCSetID(index);
}

VelDumpValue VelDumpScanner::Collections() const {
    VelDumpValue out = VelDumpValue::MakeArray();
    const VelArray<VelCollectionID> ids = m_ref.Collections();
    for (int i = 0; i < ids.Size(); ++i) out.Push(Collection(ids[i]));
    return out;
}

VelDumpValue VelDumpScanner::Collection(const VelCollectionID& id) const {
    const VelCollectionRef collection(id);
    VelDumpValue out = VelDumpValue::MakeObject();
    out.Add("collection", NameOf(id));
    out.Add("size", collection.Space());
    const std::map<int, VelCSetID> twins = PermutationsOfTwins(id);
    VelDumpValue& csets = out.Add("CSets", VelDumpValue::MakeArray());
    for (int i = 0; i < collection.NumCSets(); ++i) csets.Push(CSet(CSetAt(id, i), twins));
    return out;
}

// The ascending twin of a permutation CSet is a CSet of its own: by the twin's index, the
// permutation it belongs to.
std::map<int, VelCSetID> VelDumpScanner::PermutationsOfTwins(const VelCollectionID& id) const {
    std::map<int, VelCSetID> twins;
    for (int i = 0; i < VelCollectionRef(id).NumCSets(); ++i) {
        const VelCSet cset(CSetAt(id, i));
        if (!cset.IsAscending()) twins[cset.AscendingID().Index()] = CSetAt(id, i);
    }
    return twins;
}

VelDumpValue VelDumpScanner::CSet(const VelCSetID& id,
                                  const std::map<int, VelCSetID>& twins) const {
    const VelCSet cset(id);
    VelDumpValue out = VelDumpValue::MakeObject();
    out.Add("CSet", NameOf(id));
    out.Add("kind", cset.IsAscending() ? "ascending" : "permutation");
    const auto twin = twins.find(id.Index());
    if (twin != twins.end()) out.Add("ascending twin of", NameOf(twin->second));
    out.Add("size", cset.Size());
    const VelCSetBounds bounds = cset.Bounds();
    out.Add("bounds", Ints(&bounds.lowest, 1)).Push(VelDumpValue::MakeInt(bounds.highest));
    if (m_withValues) {
        std::vector<int> members(static_cast<size_t>(cset.Size()));
        cset.OrderedMembers(members.data());
        out.Add("members", Ints(members.data(), cset.Size()));
    }
    return out;
}

VelDumpValue VelDumpScanner::Distributions() const {
    VelDumpValue out = VelDumpValue::MakeArray();
    const VelArray<VelDistributionID> ids = m_ref.Distributions();
    for (int i = 0; i < ids.Size(); ++i) out.Push(Distribution(ids[i]));
    return out;
}

VelDumpValue VelDumpScanner::Distribution(const VelDistributionID& id) const {
    const VelDistributionRef distribution(id);
    VelDumpValue out = VelDumpValue::MakeObject();
    out.Add("distribution", NameOf(id));
    VelDumpValue& grid = out.Add("grid", VelDumpValue::MakeArray());
    for (int d = 0; d < distribution.Grid().Size(); ++d)
        grid.Push(VelDumpValue::MakeString(NameOf(distribution.Grid()[d])));
    const VelRangeType& range = distribution.RangeType();
    out.Add("range", VelstringNameOf(range.TypeKey()));
    if (range.RefersToCollection()) out.Add("range collection", NameOf(range.CollectionID()));
    VelDumpValue& drawers = out.Add("drawers", VelDumpValue::MakeArray());
    const VelArray<VelDrawerID> ids = distribution.Drawers();
    for (int k = 0; k < ids.Size(); ++k) drawers.Push(Drawer(ids[k]));
    return out;
}

VelDumpValue VelDumpScanner::Drawer(const VelDrawerID& id) const {
    const VelDrawerRef ref(id);
    const VelDrawerDescription drawer = ref.Description();
    VelDumpValue out = VelDumpValue::MakeObject();
    out.Add("drawer", NameOf(id));
    out.Add("serialization", VelstringNameOf(drawer.Serialization()));
    VelDumpValue& csets = out.Add("CSets", VelDumpValue::MakeArray());
    for (int d = 0; d < drawer.Compartment().Size(); ++d)
        csets.Push(VelDumpValue::MakeString(NameOf(drawer.Compartment()[d])));
    out.Add("shape", Ints(drawer.Sizes()));
    if (drawer.ChunkSizes().Size())
        out.Add("chunks", Ints(drawer.ChunkSizes()));
    else
        out.Add("chunks", "contiguous");
    if (drawer.Serialization() != VelStandardSerialization) {
        out.Add("nonzeros", drawer.NumNonzeros());
        out.Add("symmetric", VelDumpValue::MakeBool(drawer.IsSymmetric()));
    }
    out.Add("dataset", Text(ref.ValuesPath()));
    if (m_withValues) {
        const bool standard = drawer.Serialization() == VelStandardSerialization;
        out.Add("values", standard ? StandardValues(drawer) : SparseValues(drawer));
    }
    ref.Close();
    return out;
}

// One row per combination of the leading dimensions' members, "at" those members, holding the
// values along the last dimension.
VelDumpValue VelDumpScanner::StandardValues(const VelDrawerDescription& drawer) const {
    const VelDistributionRef distribution(drawer.ID().DistributionID());
    VelTransfer transfer(distribution);
    transfer.SetRead().SetBufferPadding(false).SetDrawer(drawer.ID()).SetDims(drawer.Compartment());
    const std::vector<unsigned char> values = ReadAll(transfer)[VelbufMain];
    const VelTypeKey key = distribution.RangeType().TypeKey();
    const size_t size = static_cast<size_t>(VelElementSizeOf(key));
    const std::vector<std::vector<int>> members = MembersOf(drawer.Compartment());
    const size_t dims = members.size();
    const size_t width = dims ? members[dims - 1].size() : 1;
    const size_t rows = width ? values.size() / size / width : 0;
    VelDumpValue out = VelDumpValue::MakeArray();
    for (size_t r = 0; r < rows; ++r) {
        VelDumpValue row = VelDumpValue::MakeObject();
        VelDumpValue& at = row.Add("at", VelDumpValue::MakeArray());
        size_t rest = r;
        std::vector<int> where(dims ? dims - 1 : 0);
        for (size_t d = where.size(); d-- > 0;) {
            where[d] = members[d][rest % members[d].size()];
            rest /= members[d].size();
        }
        for (int m : where) at.Push(VelDumpValue::MakeInt(m));
        VelDumpValue& line = row.Add("values", VelDumpValue::MakeArray());
        for (size_t c = 0; c < width; ++c) line.Push(Element(key, &values[(r * width + c) * size]));
        out.Push(std::move(row));
    }
    return out;
}

// One row per member of the rows' CSet: the diagonal (symmetric drawers), then the column
// indices and the values of the row's nonzeros.  Column indices are printed as stored: the
// library keeps what the writer gave without interpreting it.
VelDumpValue VelDumpScanner::SparseValues(const VelDrawerDescription& drawer) const {
    const VelDistributionRef distribution(drawer.ID().DistributionID());
    VelTransfer transfer(distribution);
    transfer.SetRead().SetBufferPadding(false).SetDrawer(drawer.ID());
    transfer.SetDims(drawer.Compartment()).SetSerialization(drawer.ReadSerialization());
    const std::vector<std::vector<unsigned char>> buffers = ReadAll(transfer);
    const VelTypeKey key = distribution.RangeType().TypeKey();
    const size_t size = static_cast<size_t>(VelElementSizeOf(key));
    const std::vector<std::vector<int>> members = MembersOf(drawer.Compartment());
    VelDumpValue out = VelDumpValue::MakeArray();
    if (members.empty()) return out;
    const auto intAt = [&](int buffer, size_t i) {
        int v;
        std::memcpy(&v, &buffers[static_cast<size_t>(buffer)][i * sizeof v], sizeof v);
        return v;
    };
    for (size_t r = 0; r < members[0].size(); ++r) {
        VelDumpValue row = VelDumpValue::MakeObject();
        row.Add("row", members[0][r]);
        if (drawer.IsSymmetric())
            row.Add("diagonal", Element(key, &buffers[VelbufDiagonal][r * size]));
        VelDumpValue& columns = row.Add("columns", VelDumpValue::MakeArray());
        VelDumpValue& values = row.Add("values", VelDumpValue::MakeArray());
        for (int k = intAt(VelbufSparseMap, r); k < intAt(VelbufSparseMap, r + 1); ++k) {
            const size_t at = static_cast<size_t>(k);
            columns.Push(VelDumpValue::MakeInt(intAt(VelbufIndicesNZ, at)));
            values.Push(Element(key, &buffers[VelbufMain][at * size]));
        }
        out.Push(std::move(row));
    }
    return out;
}

VelDumpValue VelDumpScanner::DSets() const {
    VelDumpValue out = VelDumpValue::MakeArray();
    const VelArray<VelDSetID> ids = m_ref.DSets();
    for (int i = 0; i < ids.Size(); ++i) out.Push(DSet(ids[i]));
    return out;
}

VelDumpValue VelDumpScanner::DSet(const VelDSetID& id) const {
    const VelCtation ctation = m_ref.DSetRep(id);
    VelDumpValue out = VelDumpValue::MakeObject();
    out.Add("DSet", NameOf(id));
    VelDumpValue& compartments = out.Add("compartments", VelDumpValue::MakeArray());
    for (int c = 0; c < ctation.Size(); ++c) {
        VelDumpValue& compartment = compartments.Push(VelDumpValue::MakeArray());
        for (int k = 0; k < ctation[c].Size(); ++k)
            compartment.Push(VelDumpValue::MakeString(NameOf(ctation[c][k])));
    }
    return out;
}

namespace {
// The registered types of one category, in the order they were registered.
std::vector<VelViewTypeEntry> RegisteredTypes(const VelView& view, int category) {
    std::vector<VelViewTypeEntry> types;
    const VelArray<VelViewTypeEntry> entries = view.TypeEntries();
    for (int i = 0; i < entries.Size(); ++i)
        if (entries[i].Category() == category) types.push_back(entries[i]);
    return types;
}
}  // namespace

VelDumpValue VelDumpScanner::Views() const {
    VelDumpValue out = VelDumpValue::MakeArray();
    const VelArray<VelViewEntry> entries = m_ref.ViewEntries();
    for (int i = 0; i < entries.Size(); ++i) out.Push(View(entries[i]));
    return out;
}

// Readers see the latest published edition of a form and level; that edition is described in
// full, earlier or unpublished ones by name.
VelDumpValue VelDumpScanner::View(const VelViewEntry& listed) const {
    VelDumpValue out = VelDumpValue::MakeObject();
    out.Add("view", Text(listed.Name()));
    out.Add("form", Text(listed.FormName()));
    out.Add("level", listed.Level());
    out.Add("edition", listed.Edition());
    out.Add("read by name", VelDumpValue::MakeBool(listed.IsLatestPublished()));
    if (!listed.IsLatestPublished()) return out;
    const VelViewRead view = m_ref.View(listed.FormName(), listed.Level());
    VelDumpValue& types = out.Add("data record types", VelDumpValue::MakeArray());
    for (const VelViewTypeEntry& typeEntry : RegisteredTypes(view, VelCategoryDataRecord)) {
        const VelTypeID& type = typeEntry.TypeID();
        const VelRecTypeDataRecord recordType(view.Type(type));
        VelDumpValue& entry = types.Push(VelDumpValue::MakeObject());
        entry.Add("type", Text(type.ToString()));
        VelDumpValue& members = entry.Add("members", VelDumpValue::MakeArray());
        for (int m = 0; m < recordType.MemberCount(); ++m)
            members.Push(VelDumpValue::MakeString(Text(recordType.Member(m).Name())));
        entry.Add("records", typeEntry.Count());
        if (m_withValues) entry.Add("values", Records(view, type));
    }
    VelDumpValue& associations = out.Add("association types", VelDumpValue::MakeArray());
    for (const VelViewTypeEntry& typeEntry : RegisteredTypes(view, VelCategoryAssociation)) {
        const VelTypeID& type = typeEntry.TypeID();
        const VelRecTypeAssociation associationType(view.Type(type));
        const VelAssociation association = view.Association(view.AssociationID(type));
        VelDumpValue& entry = associations.Push(VelDumpValue::MakeObject());
        entry.Add("type", Text(type.ToString()));
        VelDumpValue& roles = entry.Add("members", VelDumpValue::MakeArray());
        for (int m = 0; m < 2; ++m)
            roles.Push(VelDumpValue::MakeString(Text(associationType.Member(m).RoleName())));
        entry.Add("pairs", association.PairCount());
        if (m_withValues) entry.Add("values", Pairs(view, association));
    }
    return out;
}

VelDumpValue VelDumpScanner::Records(const VelView& view, const VelTypeID& type) const {
    VelDumpValue out = VelDumpValue::MakeArray();
    const VelArray<VelDynamicID> ids = view.DataRecordIDs(type);
    for (int i = 0; i < ids.Size(); ++i) {
        const VelDataRecord record = view.DataRecord(ids[i]);
        VelDumpValue& entry = out.Push(VelDumpValue::MakeObject());
        entry.Add("record", ParticipantName(view, ids[i]));
        for (int m = 0; m < record.MemberCount(); ++m) {
            const std::string name = Text(record.Member(m).Name());
            switch (record.MemberCategory(m)) {
                case VelRecTypeCategoryBoolean: {
                    bool b = false;
                    record.GetBool(m, b);
                    entry.Add(name, VelDumpValue::MakeBool(b));
                    break;
                }
                case VelRecTypeCategoryFloat: {
                    float f = 0;
                    record.GetFloat(m, f);
                    entry.Add(name, VelDumpValue::MakeDouble(f));
                    break;
                }
                case VelRecTypeCategoryDouble: {
                    double d = 0;
                    record.GetDouble(m, d);
                    entry.Add(name, VelDumpValue::MakeDouble(d));
                    break;
                }
                case VelRecTypeCategoryInt64: {
                    int64_t v = 0;
                    record.GetInt64(m, v);
                    entry.Add(name, v);
                    break;
                }
                case VelRecTypeCategoryString:
                    entry.Add(name, Text(record.ReturnString(m)));
                    break;
                case VelRecTypeCategoryChar: {
                    unsigned char c = 0;
                    record.GetOctet(m, c);
                    entry.Add(name, int64_t(c));
                    break;
                }
                case VelRecTypeCategoryShort: {
                    short s = 0;
                    record.GetShort(m, s);
                    entry.Add(name, int64_t(s));
                    break;
                }
                case VelRecTypeCategorySymConst: {
                    int v = 0;
                    record.GetSymb(m, v);
                    entry.Add(name, int64_t(v));
                    break;
                }
                default: {
                    int v = 0;
                    record.GetInt(m, v);
                    entry.Add(name, int64_t(v));
                    break;
                }
            }
        }
    }
    return out;
}

// The pairs grouped by first participant, in the order of each one's first pair.
VelDumpValue VelDumpScanner::Pairs(const VelView& view, const VelAssociation& association) const {
    VelDumpValue out = VelDumpValue::MakeArray();
    const VelArray<VelDynamicID> firsts = association.Participants(0);
    for (int f = 0; f < firsts.Size(); ++f) {
        const VelSelectionList seconds(association, 0, firsts[f]);
        for (int k = 0; k < seconds.Count(); ++k) {
            VelDumpValue& pair = out.Push(VelDumpValue::MakeArray());
            pair.Push(VelDumpValue::MakeString(ParticipantName(view, firsts[f])));
            pair.Push(VelDumpValue::MakeString(ParticipantName(view, seconds.Get(k))));
        }
    }
    return out;
}

std::string VelDumpScanner::ParticipantName(const VelView& view, const VelDynamicID& id) const {
    if (id == view.FocusID()) return "focus";
    const std::string first = std::to_string(id.First());
    switch (id.Category()) {
        case VelIDCategoryCollection:
            return NameOf(VelCollectionID(id));
        case VelIDCategoryDistribution:
            return "d" + first;
        case VelIDCategoryDSet:
            return "s" + first;
        case VelIDCategoryCSet:
            return NameOf(VelCSetID(id));
        case VelIDCategoryDrawer:
            return "d" + first + "/" + std::to_string(id.Second());
        case VelCategoryDataRecord:
            return "record " + first;
        default:
            return "category " + std::to_string(id.Category()) + " " + first + " " +
                   std::to_string(id.Second());
    }
}

bool VelDumpScanner::HasResults() const {
    return m_ref.HasView("VelResults", 1);
}

// Found by comparing the name with the names of the file's objects, so a name is never parsed
// into an identifier the file does not hold.
bool VelDumpScanner::Object(const std::string& name, VelDumpValue& out) const {
    const size_t slash = name.find('/');
    const std::string head = name.substr(0, slash);
    const std::string tail = slash == std::string::npos ? "" : name.substr(slash + 1);
    const VelArray<VelCollectionID> collections = m_ref.Collections();
    for (int i = 0; i < collections.Size(); ++i) {
        if (NameOf(collections[i]) != head) continue;
        if (tail.empty()) {
            out = Collection(collections[i]);
            return true;
        }
        for (int k = 0; k < VelCollectionRef(collections[i]).NumCSets(); ++k) {
            if (std::to_string(k) != tail) continue;
            out = CSet(CSetAt(collections[i], k), PermutationsOfTwins(collections[i]));
            return true;
        }
    }
    const VelArray<VelDistributionID> distributions = m_ref.Distributions();
    for (int i = 0; i < distributions.Size(); ++i) {
        if (NameOf(distributions[i]) != head) continue;
        if (tail.empty()) {
            out = Distribution(distributions[i]);
            return true;
        }
        const VelArray<VelDrawerID> drawers = VelDistributionRef(distributions[i]).Drawers();
        for (int k = 0; k < drawers.Size(); ++k) {
            if (NameOf(drawers[k]) != name) continue;
            out = Drawer(drawers[k]);
            return true;
        }
    }
    const VelArray<VelDSetID> dsets = m_ref.DSets();
    for (int i = 0; i < dsets.Size(); ++i) {
        if (NameOf(dsets[i]) != name) continue;
        out = DSet(dsets[i]);
        return true;
    }
    const VelArray<VelViewEntry> views = m_ref.ViewEntries();
    for (int i = 0; i < views.Size(); ++i) {
        if (Text(views[i].Name()) != name) continue;
        out = View(views[i]);
        return true;
    }
    return false;
}
