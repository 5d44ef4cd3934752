// Damaged copies of the example databases, read through the public API with the failure policy
// that throws.  scripts/make-damaged-corpus.py writes each damaged copy as a patch of its source
// database and a manifest line (tests/CMakeLists.txt runs the writers and the script as fixtures);
// here each copy is rebuilt, opened read-only and read in full into a text dump.
//
// Every copy must be refused (a null ID from OpenContext, or a VelFailure at any point of the
// reading) or read into exactly the dump of its source.  A damage the manifest marks as one the
// library cannot check (values of a drawer, members of CSets that still form sets the drawers
// agree with, record members, a count lowered that loading trusts) may instead be read into any
// dump.  Nothing may kill the process, trip a sanitizer, leak memory or keep an HDF5 identifier
// open once the context is closed.
//
// The copies are read in a child process, so that one that kills it costs only itself: the
// parent reports it with what the sanitizer printed and goes on in a new child.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <hdf5.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "records_schema.h"
#include "vel/vel.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
// From the sanitizer's allocator interface, whose header GCC does not install.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#define VEL_DAMAGED_UNDER_ASAN 1
#endif

namespace {

// ---- the corpus ------------------------------------------------------------------------------

struct Variant {
    std::string name;
    std::string source;  // file name of the source database in the corpus directory
    std::string family;  // "structure" (made with h5py) or "bytes" (raw byte damage)
    std::string kind;    // delete, rename, retype, reshape, values, truncate, flip, zero
    std::string damage;  // what was done to what, in words
    bool unchecked;      // the damage may change values the library cannot check
};

std::string CorpusDir() {
    const char* dir = std::getenv("VEL_DAMAGED_CORPUS");
    return dir ? dir : "";
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

// manifest.tsv: a header line, then name, source, family, kind, target, checked|unchecked,
// damage, separated by tabs.
std::vector<Variant> ReadManifest(const std::string& dir) {
    std::vector<Variant> variants;
    std::ifstream in(dir + "/manifest.tsv");
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) {
        std::vector<std::string> fields;
        std::istringstream split(line);
        std::string field;
        while (std::getline(split, field, '\t')) fields.push_back(field);
        if (fields.size() != 7) {
            ADD_FAILURE() << "manifest line of " << fields.size() << " fields: " << line;
            continue;
        }
        variants.push_back(
            {fields[0], fields[1], fields[2], fields[3], fields[6], fields[5] == "unchecked"});
    }
    return variants;
}

// A patch is "VELPATCH 1\n", "size <bytes of the damaged file>\n", then any number of
// "<offset> <length>\n" lines, each followed by that many bytes and a line break.  The damaged
// file is the source cut or zero-extended to its size, the ranges written over it.
bool ApplyPatch(const std::string& patch, std::string& file) {
    size_t at = 0;
    const auto line = [&](std::string& text) {
        const size_t end = patch.find('\n', at);
        if (end == std::string::npos) return false;
        text = patch.substr(at, end - at);
        at = end + 1;
        return true;
    };
    std::string text;
    if (!line(text) || text != "VELPATCH 1" || !line(text)) return false;
    unsigned long long size = 0;
    if (std::sscanf(text.c_str(), "size %llu", &size) != 1) return false;
    file.resize(size, '\0');
    while (at < patch.size()) {
        unsigned long long offset = 0, length = 0;
        if (!line(text) || std::sscanf(text.c_str(), "%llu %llu", &offset, &length) != 2)
            return false;
        if (offset + length > file.size() || at + length + 1 > patch.size()) return false;
        file.replace(offset, length, patch, at, length);
        at += length + 1;
    }
    return true;
}

// ---- the dump ----------------------------------------------------------------------------------

// Sets and buffers larger than these are not read whole: the sources hold none, and a damaged
// count must not make the reader itself run out of memory.
constexpr int kMaxMembersRead = 1 << 20;
constexpr int kMaxBytesRead = 64 << 20;

// Identifiers are printed without their context: each open takes a new context value.
std::string Id(const VelDynamicID& id) {
    return std::to_string(id.Category()) + ":" + std::to_string(id.First()) + ":" +
           std::to_string(id.Second());
}

void PrintInts(std::ostream& out, const std::vector<int>& values) {
    for (int v : values) out << ' ' << v;
}

void PrintDoubles(std::ostream& out, const void* data, int bytes) {
    const size_t n = static_cast<size_t>(bytes) / sizeof(double);
    std::vector<double> values(n);
    std::memcpy(values.data(), data, n * sizeof(double));
    char text[40];
    for (double v : values) {
        std::snprintf(text, sizeof text, " %.17g", v);
        out << text;
    }
}

void PrintBytes(std::ostream& out, const void* data, int bytes) {
    const unsigned char* p = static_cast<const unsigned char*>(data);
    char text[4];
    out << ' ';
    for (int i = 0; i < bytes; ++i) {
        std::snprintf(text, sizeof text, "%02x", p[i]);
        out << text;
    }
}

void DumpCSet(std::ostream& out, const VelCSet& set) {
    const int size = set.Size();
    const VelCSetBounds bounds = set.Bounds();
    out << (set.IsAscending() ? " ascending" : " permutation") << " size " << size << " bounds "
        << bounds.lowest << ".." << bounds.highest;
    if (size < 0 || size > kMaxMembersRead) return;
    std::vector<int> members(static_cast<size_t>(size));
    set.Members(members.data());
    out << " members";
    PrintInts(out, members);
    if (!set.IsAscending()) {
        set.OrderedMembers(members.data());
        out << " order";
        PrintInts(out, members);
    }
}

// The stored CSet of index `index`.  Nothing public tells an ascending CSet from a permutation
// by its index, but an ascending ID naming a permutation is refused as the caller's mistake, and
// then the permutation ID is the one.
VelCSet StoredCSet(const VelContextRef& context, const VelCollectionID& collection, int index) {
    const auto id = [&](bool ascending) {
        const uint32_t word = uint32_t(index) | (ascending ? 0x80000000u : 0u);
        return VelCSetID(VelDynamicID(VelIDCategoryCSet, context.ID().Value(),
                                      collection.Minor().Value(), int32_t(word)));
    };
    try {
        return VelCSet(id(true));
    } catch (const VelFailure& failure) {
        if (!failure.IsValidation() ||
            std::strcmp(failure.what(),
                        "flagAgrees && \"an ascending CSet ID names a permutation CSet\"") != 0)
            throw;
    }
    return VelCSet(id(false));
}

// Every stored CSet by its index.
void DumpCollections(std::ostream& out, const VelContextRef& context) {
    const VelArray<VelCollectionID> collections = context.Collections();
    out << "collections " << collections.Size() << '\n';
    for (int c = 0; c < collections.Size(); ++c) {
        const VelCollectionRef collection(collections[c]);
        const int csets = collection.NumCSets();
        out << "collection " << Id(collections[c].DynamicID()) << " space " << collection.Space()
            << " csets " << csets << '\n';
        for (int i = 0; i < csets; ++i) {
            out << "  cset " << i;
            DumpCSet(out, StoredCSet(context, collections[c], i));
            out << '\n';
        }
    }
}

std::string Compartment(const VelOCompartment& compartment) {
    std::string text = "(";
    for (int d = 0; d < compartment.Size(); ++d) text += " " + Id(compartment[d].DynamicID());
    return text + " )";
}

// The values of one drawer, through a transfer over its own compartment.
void DumpDrawerValues(std::ostream& out, const VelDistributionRef& distribution,
                      const VelDrawerDescription& description) {
    VelTransfer transfer{distribution};
    transfer.SetRead().SetDrawer(description.ID()).SetBufferPadding(false);
    transfer.SetDims(description.Compartment());
    transfer.SetSerialization(description.ReadSerialization()).CheckView();
    for (int e = 0; e < VelTransfer::BufferCount(); ++e) {
        if (transfer.RequiredBufferSize(e) > kMaxBytesRead) {
            out << "    buffer " << e << " of " << transfer.RequiredBufferSize(e)
                << " bytes, not read\n";
            return;
        }
    }
    std::vector<std::vector<double>> buffers(VelTransfer::BufferCount());
    for (int e = 0; e < VelTransfer::BufferCount(); ++e) {
        const int bytes = transfer.RequiredBufferSize(e);
        if (bytes <= 0) continue;
        buffers[size_t(e)].assign(static_cast<size_t>(bytes) / sizeof(double) + 1, 0.0);
        transfer.SetBuffer(e, buffers[size_t(e)].data(), bytes);
    }
    const VelTransientDrawer& data = transfer.ExecRead();
    const VelTypeKey key = distribution.RangeType().TypeKey();
    for (int e = 0; e < VelTransfer::BufferCount(); ++e) {
        const int bytes = data.BufferSizes()[e];
        if (bytes <= 0) continue;
        out << "    " << VelstringNameOf(VelBufferType(e));
        const void* p = data.Data(e).Address();
        const bool doubles = (e == VelbufMain || e == VelbufDiagonal) && key == VelTypeKeyDouble;
        if (doubles) {
            PrintDoubles(out, p, bytes);
        } else if (e == VelbufIndicesNZ || e == VelbufSparseMap) {
            std::vector<int> ints(static_cast<size_t>(bytes) / sizeof(int));
            std::memcpy(ints.data(), p, ints.size() * sizeof(int));
            PrintInts(out, ints);
        } else {
            PrintBytes(out, p, bytes);
        }
        out << '\n';
    }
    transfer.RelinquishBuffers();
}

void DumpDistributions(std::ostream& out, const VelContextRef& context) {
    const VelArray<VelDistributionID> distributions = context.Distributions();
    out << "distributions " << distributions.Size() << '\n';
    for (int d = 0; d < distributions.Size(); ++d) {
        const VelDistributionRef distribution(distributions[d]);
        const VelGrid& grid = distribution.Grid();
        const VelRangeType& range = distribution.RangeType();
        out << "distribution " << Id(distributions[d].DynamicID()) << " grid";
        for (int k = 0; k < grid.Size(); ++k) out << ' ' << Id(grid[k].DynamicID());
        out << " range " << VelstringNameOf(range.TypeKey());
        if (range.RefersToCollection()) out << " of " << Id(range.CollectionID().DynamicID());
        const VelArray<VelDrawerID> drawers = distribution.Drawers();
        out << " drawers " << drawers.Size() << '\n';
        for (int k = 0; k < drawers.Size(); ++k) {
            const VelDrawerDescription description = VelDrawerRef(drawers[k]).Description();
            out << "  drawer " << Id(drawers[k].DynamicID()) << ' '
                << VelstringNameOf(description.Serialization()) << " over "
                << Compartment(description.Compartment()) << " sizes";
            for (int s = 0; s < description.Sizes().Size(); ++s)
                out << ' ' << description.Sizes()[s];
            out << " chunks";
            for (int s = 0; s < description.ChunkSizes().Size(); ++s)
                out << ' ' << description.ChunkSizes()[s];
            out << " nonzeros " << description.NumNonzeros() << " symmetric "
                << description.IsSymmetric() << '\n';
            DumpDrawerValues(out, distribution, description);
            VelDrawerRef(drawers[k]).Close();
        }
    }
}

void DumpDSets(std::ostream& out, const VelContextRef& context) {
    const VelArray<VelDSetID> dsets = context.DSets();
    out << "dsets " << dsets.Size() << '\n';
    for (int s = 0; s < dsets.Size(); ++s) {
        const VelCtation ctation = context.DSetRep(dsets[s]);
        out << "dset " << Id(dsets[s].DynamicID()) << '\n';
        for (int c = 0; c < ctation.Size(); ++c) {
            out << "  {";
            for (int k = 0; k < ctation[c].Size(); ++k) out << ' ' << Id(ctation[c][k].DynamicID());
            out << " }\n";
        }
    }
}

// Member `i` of `record` through its getter.
template <class T>
T Get(const VelDataRecord& record, int i, void (VelDataRecord::*getter)(int, T&) const) {
    T value{};
    (record.*getter)(i, value);
    return value;
}

void DumpRecord(std::ostream& out, const VelView& view, const VelDynamicID& id) {
    const VelDataRecord record = view.DataRecord(id);
    out << "  record " << Id(record.ID()) << " type " << record.TypeID().ToString().c_str();
    for (int i = 0; i < record.MemberCount(); ++i) {
        out << ' ' << record.Member(i).Name().c_str() << '=';
        double wide = 0;
        switch (record.MemberCategory(i)) {
            case VelRecTypeCategoryBoolean:
                out << Get(record, i, &VelDataRecord::GetBool);
                break;
            case VelRecTypeCategoryChar:
                out << int(Get(record, i, &VelDataRecord::GetOctet));
                break;
            case VelRecTypeCategoryShort:
                out << Get(record, i, &VelDataRecord::GetShort);
                break;
            case VelRecTypeCategoryInteger:
                out << Get(record, i, &VelDataRecord::GetInt);
                break;
            case VelRecTypeCategoryInt64:
                out << Get(record, i, &VelDataRecord::GetInt64);
                break;
            case VelRecTypeCategoryFloat:
                wide = Get(record, i, &VelDataRecord::GetFloat);
                PrintDoubles(out, &wide, sizeof wide);
                break;
            case VelRecTypeCategoryDouble:
                wide = Get(record, i, &VelDataRecord::GetDouble);
                PrintDoubles(out, &wide, sizeof wide);
                break;
            case VelRecTypeCategoryString:
                out << '"' << record.ReturnString(i).c_str() << '"';
                break;
            case VelRecTypeCategorySymConst:
                out << Get(record, i, &VelDataRecord::GetSymb);
                break;
            default:
                out << "category " << int(record.MemberCategory(i));
        }
    }
    out << '\n';
}

// A participant that names a bulk-data object must name one the context holds.
void DumpParticipant(std::ostream& out, const VelDynamicID& id) {
    out << ' ' << Id(id);
    if (id.Category() == VelIDCategoryDistribution) {
        const VelDistributionID distribution(id);
        out << " (" << VelDistributionRef(distribution).NumDrawers() << " drawers)";
    }
}

// The analysis view as the record examples read it: its stored types checked against the
// schema, every record of each data record type, and each association's pairs, walked from the
// view's focus and from every load case.
void DumpRecords(std::ostream& out, const VelContextRef& context) {
    const VelTypeFormManagerHolder forms = VelTypeFormManager::New();
    forms.Get().ParseQARN(AnalysisSchema());
    const VelTypeForm form = forms.Get().GetForm("Analysis");
    const VelTypeSchemaSnapshot schema = forms.Get().GetSchemaSnapshot(form, 1);

    const VelViewRead view = context.View(schema);
    const VelViewRead byName = context.View(form.FormName(), 1);
    out << "view " << view.Name().c_str() << " level " << view.Level() << " edition "
        << view.Edition() << " published " << view.IsPublished() << " focus " << Id(view.FocusID())
        << " by name " << byName.Name().c_str() << '\n';

    const VelRecTypeFactory factory;
    for (int t = 0; t < schema.TypeCount(); ++t) {
        const VelTypeID type = schema.TypeID(t);
        out << "type " << type.ToString().c_str() << ' ' << schema.TypeName(t).c_str();
        if (schema.TypeCategory(t) == VelCategoryDataRecord) {
            const VelRecTypeDataRecord stored(view.Type(type));
            const bool same = stored == factory.CreateDataRecordType(schema.TypeAsDataRecord(t));
            const VelArray<VelDynamicID> records = view.DataRecordIDs(type);
            out << " as in schema " << same << " base " << stored.BaseTypeID().ToString().c_str()
                << " records " << records.Size() << '\n';
            for (int m = 0; m < stored.MemberCount(); ++m)
                out << "  member " << stored.Member(m).Name().c_str() << " category "
                    << int(stored.Member(m).Category()) << " size " << stored.Member(m).Size()
                    << '\n';
            for (int r = 0; r < records.Size(); ++r) DumpRecord(out, view, records[r]);
        } else {
            const VelRecTypeAssociation stored(view.Type(type));
            const bool same = stored == factory.CreateAssociationType(schema.TypeAsAssociation(t));
            const VelAssociationID id = view.AssociationID(type);
            const VelAssociation association = view.Association(id);
            out << " as in schema " << same << " association " << Id(id.DynamicID()) << " pairs "
                << association.PairCount() << '\n';
            for (int k = 0; k < 2; ++k) {
                const VelRecTypeAssociationMember& member = stored.Member(k);
                out << "  member \"" << member.RoleName().c_str() << "\" option "
                    << int(member.Option()) << " kind " << member.Category() << " category "
                    << association.MemberCategory(k) << " occurs " << member.MinOccurs() << ".."
                    << member.MaxOccurs() << " targets";
                for (int e = 0; e < member.EntityTypeCount(); ++e)
                    out << ' ' << member.EntityType(e).ToString().c_str();
                out << '\n';
            }
        }
    }

    const VelAssociation cases =
        view.Association(view.AssociationID(form.GetTypeID("AnalysisCases")));
    const VelSelectionList loadCases(cases, 0, view.FocusID());
    out << "load cases";
    for (int i = 0; i < loadCases.Count(); ++i) out << ' ' << Id(loadCases.Get(i));
    out << '\n';
    const VelAssociation results =
        view.Association(view.AssociationID(form.GetTypeID("CaseResults")));
    for (int i = 0; i < loadCases.Count(); ++i) {
        DumpRecord(out, view, loadCases.Get(i));
        const VelSelectionSet distributions(results, 0, loadCases.Get(i));
        out << "    results";
        for (int k = 0; k < distributions.Count(); ++k) DumpParticipant(out, distributions.Get(k));
        out << '\n';
    }
    const VelSelectionMap materials(
        view.Association(view.AssociationID(form.GetTypeID("Materials"))), 0, view.FocusID());
    out << "materials " << materials.Count() << '\n';
    VelSelectionMapIter it(materials);
    for (it.First(); !it.IsDone(); it.Next()) {
        out << "  key \"" << it.CurrentKey().c_str() << "\"\n";
        DumpRecord(out, view, it.CurrentValue());
    }
}

void DumpVersion(std::ostream& out, const std::string& path) {
    VelVersion version;
    if (!version.Create(path.c_str()) || !version.IsOrbFile()) {
        out << "no version record\n";
        return;
    }
    out << "version \"" << version.Author().c_str() << "\" " << version.MajorVersion() << '.'
        << version.MinorVersion() << '.' << version.UpdateVersion() << " format "
        << version.InternalVersion() << " schema " << version.SchemaVersion() << '\n';
}

// ---- one read ----------------------------------------------------------------------------------

enum class Outcome { kRefusedAtOpen, kRefused, kRead, kFault };

struct Reading {
    Outcome outcome = Outcome::kFault;
    std::string dump;     // kRead: the dump
    std::string message;  // kRefused: the failed condition; kFault: what went wrong
};

// Opens `path` read-only and dumps it; a VelFailure anywhere is a refusal.  The context is
// closed whatever happens once it was opened.
Reading ReadDatabase(const std::string& path) {
    Reading reading;
    VelContextID id;
    try {
        id = VelManager::OpenContext(path.c_str(), hdf_File::OpenFlagsReadOnly, 1);
        if (id.IsNull()) {
            reading.outcome = Outcome::kRefusedAtOpen;
            return reading;
        }
        const VelContextRef context(id);
        std::ostringstream out;
        DumpVersion(out, path);
        DumpCollections(out, context);
        DumpDistributions(out, context);
        DumpDSets(out, context);
        DumpRecords(out, context);
        reading.outcome = Outcome::kRead;
        reading.dump = out.str();
    } catch (const VelFailure& failure) {
        reading.outcome = Outcome::kRefused;
        reading.message = failure.what();
    } catch (const std::exception& other) {
        reading.outcome = Outcome::kFault;
        reading.message = std::string("an exception other than VelFailure: ") + other.what();
    }
    if (!id.IsNull()) {
        try {
            VelManager::CloseContext(id);
        } catch (const VelFailure& failure) {
            reading.outcome = Outcome::kFault;
            reading.message = std::string("CloseContext threw: ") + failure.what();
        }
    }
    return reading;
}

// HDF5 identifiers of files and of objects in them (groups, datasets, attributes, committed
// types), over every open file: what a closed context must give back.  HDF5 1.10 counts no other
// kind of identifier for a caller.
ssize_t OpenFileObjects() {
    return H5Fget_obj_count(H5F_OBJ_ALL, H5F_OBJ_ALL);
}

// ---- judging variants in a child process ------------------------------------------------------

// The library's standard output and error go to a log file while a variant is read, so that the
// run stays readable and what it printed (a sanitizer report included) can go with the variant.
class Redirect {
public:
    explicit Redirect(const std::string& log) {
        std::fflush(stdout);
        std::fflush(stderr);
        m_out = dup(1);
        m_err = dup(2);
        const int fd = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(fd, 1);
        dup2(fd, 2);
        close(fd);
    }
    ~Redirect() {
        std::cout.flush();
        std::cerr.flush();
        std::fflush(stdout);
        std::fflush(stderr);
        dup2(m_out, 1);
        dup2(m_err, 2);
        close(m_out);
        close(m_err);
    }
    Redirect(const Redirect&) = delete;
    Redirect& operator=(const Redirect&) = delete;

private:
    int m_out = -1;
    int m_err = -1;
};

struct Verdict {
    std::string outcome;  // "refused at open", "refused", "identical", "different", "fault"
    std::string detail;
    bool fault = false;
};

// The first line where two dumps part, for the report.
std::string FirstDifference(const std::string& expected, const std::string& actual) {
    std::istringstream a(expected), b(actual);
    std::string la, lb;
    for (int line = 1;; ++line) {
        const bool moreA = static_cast<bool>(std::getline(a, la));
        const bool moreB = static_cast<bool>(std::getline(b, lb));
        if (!moreA && !moreB) return "no difference";
        if (!moreA || !moreB || la != lb) {
            const auto cut = [](const std::string& s) {
                return s.size() > 300 ? s.substr(0, 300) + "..." : s;
            };
            return "line " + std::to_string(line) + ": expected \"" + (moreA ? cut(la) : "<end>") +
                   "\", read \"" + (moreB ? cut(lb) : "<end>") + "\"";
        }
    }
}

std::string Tail(const std::string& text, size_t lines) {
    size_t at = text.size();
    while (lines-- > 0 && at > 0) at = text.rfind('\n', at - 1);
    return at == std::string::npos || at == 0 ? text : text.substr(at + 1);
}

// What a process that died on a variant printed last: the sanitizer's report from its first
// line, or the end of the log.
std::string DeathReport(const std::string& log) {
    for (const char* marker :
         {"ERROR: AddressSanitizer", "runtime error:", "ERROR: LeakSanitizer"}) {
        const size_t at = log.find(marker);
        if (at == std::string::npos) continue;
        const size_t from = log.rfind('\n', at);
        std::string report = log.substr(from == std::string::npos ? 0 : from + 1);
        size_t end = 0;
        for (int line = 0; line < 30 && end != std::string::npos; ++line)
            end = report.find('\n', end + 1);
        return end == std::string::npos ? report : report.substr(0, end + 1);
    }
    return Tail(log, 30);
}

// Rebuilds a variant next to the corpus, reads it and judges what came of it.
Verdict Judge(const Variant& v, const std::string& source, const std::string& reference,
              const std::string& dir, const std::string& work, const std::string& log) {
    Verdict verdict;
    std::string bytes = source;
    if (!ApplyPatch(ReadFile(dir + "/patches/" + v.name + ".patch"), bytes)) {
        verdict.outcome = "fault";
        verdict.detail = "its patch does not apply";
        verdict.fault = true;
        return verdict;
    }
    const std::string path = work + ".vel";
    std::ofstream(path, std::ios::binary).write(bytes.data(), std::streamsize(bytes.size()));

    const ssize_t before = OpenFileObjects();
    Reading reading;
    {
        Redirect redirect(log);
        reading = ReadDatabase(path);
    }
    const ssize_t after = OpenFileObjects();
    std::remove(path.c_str());

    verdict.detail = reading.message;
    switch (reading.outcome) {
        case Outcome::kRefusedAtOpen:
            verdict.outcome = "refused at open";
            break;
        case Outcome::kRefused:
            verdict.outcome = "refused";
            break;
        case Outcome::kRead:
            if (reading.dump == reference) {
                verdict.outcome = "identical";
            } else {
                verdict.outcome = "different";
                verdict.detail = FirstDifference(reference, reading.dump);
                verdict.fault = !v.unchecked;
            }
            break;
        case Outcome::kFault:
            verdict.outcome = "fault";
            verdict.fault = true;
            break;
    }
    if (after != before) {
        verdict.fault = true;
        verdict.detail += " [HDF5 identifiers left open: " + std::to_string(after - before) + "]";
    }
    if (verdict.fault) verdict.detail += "\n  the library printed:\n" + Tail(ReadFile(log), 12);
    return verdict;
}

bool WriteAll(int fd, const std::string& text) {
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = write(fd, text.data() + done, text.size() - done);
        if (n <= 0) return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

// A verdict on the pipe: "<index> <fault> <outcome length> <detail length>\n", then both texts.
void SendVerdict(int fd, size_t index, const Verdict& verdict) {
    WriteAll(fd, std::to_string(index) + " " + (verdict.fault ? "1" : "0") + " " +
                     std::to_string(verdict.outcome.size()) + " " +
                     std::to_string(verdict.detail.size()) + "\n" + verdict.outcome +
                     verdict.detail);
}

bool ReceiveVerdict(FILE* in, size_t& index, Verdict& verdict) {
    size_t outcome = 0, detail = 0;
    int fault = 0;
    if (std::fscanf(in, "%zu %d %zu %zu", &index, &fault, &outcome, &detail) != 4) return false;
    if (std::fgetc(in) != '\n') return false;
    verdict.fault = fault != 0;
    verdict.outcome.assign(outcome, '\0');
    verdict.detail.assign(detail, '\0');
    return std::fread(&verdict.outcome[0], 1, outcome, in) == outcome &&
           (detail == 0 || std::fread(&verdict.detail[0], 1, detail, in) == detail);
}

// Memory the variant just read left unreachable, as a verdict ("" when none).  A leak check
// scans the whole heap and costs more than the read itself, so it runs only when the read left
// the heap larger than it found it (HDF5's free lists grow that way now and then too).
std::string LeakAfter(size_t heldBefore, const std::string& log) {
#if defined(VEL_DAMAGED_UNDER_ASAN)
    if (__sanitizer_get_current_allocated_bytes() <= heldBefore) return std::string();
    bool leaked = false;
    {
        Redirect redirect(log);
        leaked = __lsan_do_recoverable_leak_check() != 0;
    }
    if (leaked) return "memory leaked:\n" + DeathReport(ReadFile(log));
#else
    (void)heldBefore;
    (void)log;
#endif
    return std::string();
}

size_t HeapInUse() {
#if defined(VEL_DAMAGED_UNDER_ASAN)
    return __sanitizer_get_current_allocated_bytes();
#else
    return 0;
#endif
}

// The exit status of a child that asks to be followed by a new one.
constexpr int kStartAgain = 3;

// How a child that stopped answering ended.
std::string EndOf(int status) {
    if (WIFSIGNALED(status)) {
        const int signal = WTERMSIG(status);
        return signal == SIGALRM ? "no end within 60 s"
                                 : std::string("killed by signal ") + strsignal(signal);
    }
    if (WIFEXITED(status))
        return "process exited with status " + std::to_string(WEXITSTATUS(status));
    return "process ended";
}

// ---- the test ----------------------------------------------------------------------------------

class VelDamagedFilesTest : public ::testing::TestWithParam<std::string> {
protected:
    static void SetUpTestSuite() {
        int modules = 0;
        UTI_VelDynamicAPI_initialize(modules);
        VelAssert::SetFailurePolicy(VelThrowOnFailure);
    }
    static void TearDownTestSuite() {
        VelAssert::SetFailurePolicy(VelStopOnFailure);
        int modules = 0;
        UTI_VelDynamicAPI_finalize(modules);
    }
};

struct Tally {
    int variants = 0, refusedAtOpen = 0, refused = 0, identical = 0, different = 0, faults = 0;
    void Add(const Verdict& v) {
        ++variants;
        refusedAtOpen += v.outcome == "refused at open";
        refused += v.outcome == "refused";
        identical += v.outcome == "identical";
        different += v.outcome == "different";
        faults += v.fault;
    }
};

void PrintTally(const std::map<std::string, Tally>& tallies) {
    std::printf("%-22s %8s %8s %8s %9s %9s %6s\n", "kind", "variants", "at open", "refused",
                "identical", "different", "faults");
    for (const auto& [kind, t] : tallies)
        std::printf("%-22s %8d %8d %8d %9d %9d %6d\n", kind.c_str(), t.variants, t.refusedAtOpen,
                    t.refused, t.identical, t.different, t.faults);
}

// The variants of one family, each judged in a child process so that a variant that kills the
// process costs only itself: the parent starts a new child after it.  Each variant's verdict goes
// to results-<family>.tsv in the corpus directory, beside the dump of each source; every fault
// is a test failure naming its variant.
TEST_P(VelDamagedFilesTest, IsRefusedOrReadAsItsSource) {
    const std::string family = GetParam();
    const std::string dir = CorpusDir();
    ASSERT_FALSE(dir.empty()) << "VEL_DAMAGED_CORPUS names no corpus directory: the CTest "
                                 "fixtures make it (ctest -R Damaged)";
    std::vector<Variant> variants;
    for (const Variant& v : ReadManifest(dir))
        if (v.family == family) variants.push_back(v);
    ASSERT_FALSE(variants.empty())
        << "no variant of family " << family << " in " << dir << "/manifest.tsv";

    std::map<std::string, std::string> sources, references;
    for (const Variant& v : variants) {
        if (sources.count(v.source)) continue;
        const std::string path = dir + "/" + v.source;
        sources[v.source] = ReadFile(path);
        ASSERT_FALSE(sources[v.source].empty()) << path;
        const Reading reference = ReadDatabase(path);
        ASSERT_EQ(reference.outcome, Outcome::kRead)
            << path << " itself does not read: " << reference.message;
        references[v.source] = reference.dump;
        // Beside the results, for a look at what a differing variant is compared with.
        std::ofstream(dir + "/dump-" + v.source + ".txt") << reference.dump;
    }

    const std::string work = dir + "/work-" + family;
    const std::string log = work + ".log";
    std::vector<Verdict> verdicts(variants.size());
    std::vector<bool> judged(variants.size(), false);
    size_t next = 0;
    while (next < variants.size()) {
        int channel[2];
        ASSERT_EQ(pipe(channel), 0);
        std::fflush(stdout);
        std::fflush(stderr);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            close(channel[0]);
            for (size_t i = next; i < variants.size(); ++i) {
                const Variant& v = variants[i];
                alarm(60);
                const size_t held = HeapInUse();
                SendVerdict(channel[1], i,
                            Judge(v, sources[v.source], references[v.source], dir, work, log));
                // A second verdict on the same variant adds to the first.  Every later check
                // would find the same blocks again, and a file left open would be found again
                // under the next variant's name: a new child goes on from a clean process.
                const std::string leak = LeakAfter(held, log);
                if (!leak.empty()) SendVerdict(channel[1], i, Verdict{"leak", leak, true});
                if (!leak.empty() || OpenFileObjects() != 0) {
                    close(channel[1]);
                    _exit(kStartAgain);
                }
                alarm(0);
            }
            close(channel[1]);
            _exit(0);
        }
        close(channel[1]);
        FILE* in = fdopen(channel[0], "r");
        size_t index = 0;
        Verdict verdict;
        while (ReceiveVerdict(in, index, verdict)) {
            if (judged[index]) {
                verdicts[index].fault = true;
                verdicts[index].detail += "\n  " + verdict.detail;
            } else {
                verdicts[index] = verdict;
            }
            judged[index] = true;
            next = index + 1;
        }
        std::fclose(in);
        int status = 0;
        waitpid(child, &status, 0);
        const bool startAgain = WIFEXITED(status) && WEXITSTATUS(status) == kStartAgain;
        if (next < variants.size() && !startAgain) {
            // The child died on variant `next`; its log holds what it printed last.
            verdicts[next].outcome = "fault";
            verdicts[next].detail = EndOf(status) + "\n  the library and the sanitizer printed:\n" +
                                    DeathReport(ReadFile(log));
            verdicts[next].fault = true;
            judged[next] = true;
            ++next;
        }
    }
    std::remove(log.c_str());
    std::remove((work + ".vel").c_str());

    std::ofstream results(dir + "/results-" + family + ".tsv");
    results << "variant\tkind\texpectation\toutcome\tdetail\n";
    std::map<std::string, Tally> tallies;
    for (size_t i = 0; i < variants.size(); ++i) {
        const Variant& v = variants[i];
        const Verdict& verdict = verdicts[i];
        ASSERT_TRUE(judged[i]) << v.name;
        tallies[v.kind + (v.unchecked ? " (unchecked)" : "")].Add(verdict);
        tallies["all"].Add(verdict);
        std::string oneLine = verdict.detail;
        for (char& c : oneLine)
            if (c == '\n' || c == '\t') c = ' ';
        results << v.name << '\t' << v.kind << '\t' << (v.unchecked ? "unchecked" : "checked")
                << '\t' << verdict.outcome << '\t' << oneLine << '\n';
        if (verdict.fault)
            ADD_FAILURE() << "damaged variant " << v.name << " (" << v.damage << "; values "
                          << (v.unchecked ? "un" : "") << "checked): " << verdict.outcome << ": "
                          << verdict.detail;
    }
    PrintTally(tallies);
}

INSTANTIATE_TEST_SUITE_P(Families, VelDamagedFilesTest, ::testing::Values("structure", "bytes"),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                             return info.param;
                         });

}  // namespace
