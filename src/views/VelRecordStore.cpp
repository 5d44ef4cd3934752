#include "views/VelRecordStore.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "context/VelCollective.h"
#include "context/VelContextLayout.h"
#include "context/VelManagerAccess.h"
#include "hdf/hdf_Journal.h"
#include "vel/core/VelAssert.h"
#include "views/VelStoreIO.h"
#include "views/VelViewRepr.h"

namespace {

constexpr const char* e_Serials = "serials";

// Splits "<form>-<level>-<edition>" at its last two "-".  Form names may hold "-" themselves.
bool SplitViewName(const std::string& name, std::string& form, int& level, int& edition) {
    const size_t last = name.rfind('-');
    if (last == std::string::npos || last == 0) return false;
    const size_t middle = name.rfind('-', last - 1);
    if (middle == std::string::npos) return false;
    form = name.substr(0, middle);
    level = std::atoi(name.c_str() + middle + 1);
    edition = std::atoi(name.c_str() + last + 1);
    return true;
}

}  // namespace

VelRecordStore& VelRecordStore::Of(const VelContextID& context) {
    VelContext& owner = VelManagerAccess::Get(context.Value());
    if (!owner.RecordStore())
        owner.SetRecordStore(VelAutoPtr<VelContextAttachment>(new VelRecordStore(owner)));
    return static_cast<VelRecordStore&>(*owner.RecordStore());
}

VelRecordStore::VelRecordStore(VelContext& context)
    : m_contextID(context.ID()),
      m_file(context.File()),
      m_root(context.RecordGroup()),
      m_writable(!context.IsReadOnly()),
      m_strings(VelGuardStorage(
          [&] { return VelStringTable(context.StringTableGroup(), !context.IsReadOnly()); })) {
    VelGuardStorage(
        [&] { return VelStoreIO::ReadInt64Dataset(m_root, e_Serials, &m_nextSerial, 1); });
    VelVALIDATE(m_nextSerial >= 0 && "Damaged record store: the serial counter is negative");
}

VelRecordStore::~VelRecordStore() = default;

int64_t VelRecordStore::NextSerial() {
    VelVALIDATE(m_nextSerial < INT64_MAX && "The context's serial numbers are exhausted");
    return m_nextSerial++;
}

void VelRecordStore::CommitSerials() {
    VelStoreIO::WriteInt64Dataset(m_root, e_Serials, &m_nextSerial, 1);
}

// Every commit of records starts here, so the ranks of a parallel context agree before any of
// its HDF5 calls: on the commit, and on the serial counter, which tells records made on one
// rank only.
void VelRecordStore::BeginCommit() {
    VelAgree(m_contextID.Value(), "a commit of records (a view made or published, a transaction)",
             {m_nextSerial});
    hdf_Journal::BeginCommit(m_file.GetFileID());
}

// In a parallel context a flush is a collective fsync that writes metadata in place: the
// records are written back with the file's next checkpoint instead, in the same single flush.
void VelRecordStore::Flush() {
    VelContext& context = VelManagerAccess::Get(m_contextID.Value());
    if (context.Collective()) return;
    context.Checkpoint(false);
}

void VelRecordStore::WriteBack() {
    if (m_writable) CommitSerials();
}

cow_String VelRecordStore::ViewName(const cow_String& formName, int level, int edition) {
    return cow_String(formName.str() + "-" + std::to_string(level) + "-" + std::to_string(edition));
}

template <class Act>
void VelRecordStore::ForEachView(const cow_String& formName, int level, Act act) const {
    const hsize_t count = m_root.GetNumObjs();
    for (hsize_t i = 0; i < count; ++i) {
        if (m_root.GetObjtypeByIdx(i) != hdf_Group::ObjectTypeGroup) continue;
        std::string form;
        int groupLevel = 0;
        int edition = 0;
        if (!SplitViewName(m_root.GetObjnameByIdx(i).str(), form, groupLevel, edition)) continue;
        if (form == formName.str() && groupLevel == level) act(edition);
    }
}

std::vector<VelViewEntry> VelRecordStore::ViewEntries() const {
    struct Group {
        std::string form;
        int level;
        int edition;
        bool published;
        bool operator<(const Group& o) const {
            return std::tie(form, level, edition) < std::tie(o.form, o.level, o.edition);
        }
    };
    std::vector<Group> groups;
    VelGuardStorage([&] {
        const hsize_t count = m_root.GetNumObjs();
        for (hsize_t i = 0; i < count; ++i) {
            if (m_root.GetObjtypeByIdx(i) != hdf_Group::ObjectTypeGroup) continue;
            const cow_String name = m_root.GetObjnameByIdx(i);
            Group g{};
            if (!SplitViewName(name.str(), g.form, g.level, g.edition)) continue;
            if (ViewName(g.form.c_str(), g.level, g.edition) != name) continue;
            g.published = VelViewRepr::IsPublishedGroup(m_root.GroupOpen(name.c_str()));
            groups.push_back(g);
        }
        return 0;
    });
    std::sort(groups.begin(), groups.end());
    std::vector<VelViewEntry> entries;
    for (size_t begin = 0, end = 0; begin < groups.size(); begin = end) {
        size_t latest = groups.size();
        for (end = begin; end < groups.size() && groups[end].form == groups[begin].form &&
                          groups[end].level == groups[begin].level;
             ++end) {
            if (groups[end].published) latest = end;
        }
        for (size_t i = begin; i < end; ++i)
            entries.emplace_back(groups[i].form.c_str(), groups[i].level, groups[i].edition,
                                 groups[i].published, i == latest);
    }
    return entries;
}

// Only published views count; an edition whose "view" attribute says otherwise is still being
// written, or was abandoned, and is not seen by readers.
int VelRecordStore::LatestPublishedEdition(const cow_String& formName, int level) const {
    const std::pair<std::string, int> key(formName.str(), level);
    const auto known = m_latestPublished.find(key);
    if (known != m_latestPublished.end()) return known->second;
    // The editions are tried from the greatest down: the first published one is the answer, and
    // it is most often the greatest of all.
    int edition = -1;
    VelGuardStorage([&] {
        std::vector<int> candidates;
        ForEachView(formName, level, [&](int candidate) { candidates.push_back(candidate); });
        std::sort(candidates.begin(), candidates.end(), std::greater<int>());
        for (const int candidate : candidates) {
            const hdf_Group group = m_root.GroupOpen(ViewName(formName, level, candidate).c_str());
            if (!VelViewRepr::IsPublishedGroup(group)) continue;
            edition = candidate;
            break;
        }
        return 0;
    });
    m_latestPublished.emplace(key, edition);
    return edition;
}

int VelRecordStore::NextEdition(const cow_String& formName, int level) const {
    int next = 0;
    VelGuardStorage([&] {
        ForEachView(formName, level, [&](int edition) {
            if (edition >= next && edition < INT32_MAX) next = edition + 1;
        });
        return 0;
    });
    return next;
}

void VelRecordStore::Close(bool writeBack) {
    while (!m_views.empty()) (*m_views.begin())->Detach();
    try {
        if (m_writable && writeBack) CommitSerials();
    } catch (const hdf_Exception& e) {
        VelStorageFailure(e);
    }
    m_strings.Release();
    m_pairRowTypes.Clear();
    m_root.Nullify();
    m_file.Nullify();
}
