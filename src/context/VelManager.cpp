#include "vel/context/VelManager.h"

#include <cstring>
#include <functional>
#include <string>

#include "context/VelContext.h"
#include "context/VelIDAccess.h"
#include "context/VelManagerAccess.h"
#include "context/VelStorageGuard.h"
#include "vel/core/VelAssert.h"

namespace {

// The one manager of the process.  It outlives every shut-down so that context values stay
// unique for the life of the process; it is never destroyed.
VelManager* g_manager = nullptr;

template <class Map>
VelContext* FindIn(const Map& map, unsigned value) {
    const VelAutoPtr<VelContext>* found = map.Find(VelIDAccess::MakeContextID(value, false));
    return found ? found->Get() : nullptr;
}

template <class Map>
VelContext* FindNameIn(const Map& map, const char* fileName) {
    VelAutoBtreeIterator<VelContextID, VelAutoPtr<VelContext>> it(map);
    for (it.First(); !it.IsDone(); it.Next())
        if (std::strcmp(it.CurrentValue()->Name().c_str(), fileName) == 0)
            return it.CurrentValue().Get();
    return nullptr;
}

// A storage failure has no error return: its message goes to standard output, whatever was
// half built is destroyed, and the process stops with the assertion "0".
VelAutoPtr<VelContext> NewContext() {
    return VelAutoPtr<VelContext>(new VelContext());
}

}  // namespace

VelManager::VelManager()
    : mem_CacheManager("VelCacheManager"), m_contextCounter(0), m_shut(false) {}

VelManager::~VelManager() = default;

VelManager& VelManager::Running() {
    VelVALIDATE(g_manager && !g_manager->m_shut && "the library is not started");
    return *g_manager;
}

#ifdef VEL_PARALLEL
namespace {

// The ranks of `comm` agree that each opens or creates the same file the same way.
std::unique_ptr<VelCollective> AgreedOnFile(MPI_Comm comm, const char* call, const char* fileName,
                                            int flags, int schemaVersion) {
    VelVALIDATE(fileName);
    std::unique_ptr<VelCollective> collective = VelMakeCollective(comm);
    collective->Agree(
        call, {flags, schemaVersion, static_cast<int64_t>(std::hash<std::string>()(fileName))});
    return collective;
}

}  // namespace

VelContextID VelManager::CreateContextParallel(const char* fileName, hdf_File::CreateFlags flags,
                                               int schemaVersion, MPI_Comm comm) {
    VelManager& manager = Running();
    std::unique_ptr<VelCollective> collective =
        AgreedOnFile(comm, "VelManager::CreateContextParallel", fileName, flags, schemaVersion);
    return manager.Create(fileName, flags, schemaVersion, false, std::move(collective));
}

VelContextID VelManager::OpenContextParallel(const char* fileName, hdf_File::OpenFlags flags,
                                             int schemaVersion, MPI_Comm comm) {
    VelManager& manager = Running();
    std::unique_ptr<VelCollective> collective =
        AgreedOnFile(comm, "VelManager::OpenContextParallel", fileName, flags, schemaVersion);
    return manager.Open(fileName, flags, schemaVersion, std::move(collective));
}

void VelManager::SetCollectiveTimeout(double seconds) {
    VelSetCollectiveTimeout(seconds);
}
#endif

VelContextID VelManager::CreateContext(const char* fileName, hdf_File::CreateFlags flags,
                                       int schemaVersion) {
    return Running().Create(fileName, flags, schemaVersion, false);
}

VelContextID VelManager::CreateTempContext(const char* fileName, hdf_File::CreateFlags flags) {
    return Running().Create(fileName, flags, -1, true);
}

VelContextID VelManager::OpenContext(const char* fileName, hdf_File::OpenFlags flags,
                                     int schemaVersion) {
    return Running().Open(fileName, flags, schemaVersion);
}

void VelManager::CloseContext(VelContextID id) {
    Running().Close(id);
}

void VelManager::FlushContext(const VelContextID& id) {
    Running().Checkpoint(id, false);
}

void VelManager::SyncContext(const VelContextID& id) {
    Running().Checkpoint(id, true);
}

VelContextID VelManager::NextID(bool isTemp) {
    // The all-ones value is the null context: the counter must never reach it.
    VelASSERT(m_contextCounter < VelContextID::e_NullValue);
    return VelIDAccess::MakeContextID(m_contextCounter++, isTemp);
}

// A context that fails while it is made, opened, checkpointed or closed gives its file up
// before the failure goes on: the file keeps its last commit, whatever was half written.
VelContextID VelManager::Create(const char* fileName, hdf_File::CreateFlags flags,
                                int schemaVersion, bool isTemp,
                                std::unique_ptr<VelCollective> collective) {
    VelVALIDATE(fileName);
    const VelContextID id = NextID(isTemp);
    VelAutoPtr<VelContext> context = NewContext();
    try {
        context->SetIdentity(id, fileName);
        context->SetCollective(std::move(collective));
        context->Create(flags, schemaVersion, *this);
    } catch (const hdf_Exception& e) {
        VelPrintStorageFailure(e);
        context->Abandon();
        context.Reset();
        VelASSERT(0);
    } catch (...) {
        context->Abandon();
        throw;
    }
    (isTemp ? m_tempContexts : m_contexts).Insert(id, std::move(context), false);
    return id;
}

VelContextID VelManager::Open(const char* fileName, hdf_File::OpenFlags flags, int schemaVersion,
                              std::unique_ptr<VelCollective> collective) {
    VelVALIDATE(fileName);
    if (VelContext* open = FindByName(fileName)) return open->ID();
    const VelContextID id = NextID(false);
    VelAutoPtr<VelContext> context = NewContext();
    int result = VelSignature::e_Accepted;
    try {
        context->SetIdentity(id, fileName);
        context->SetCollective(std::move(collective));
        result = context->Open(flags, schemaVersion, *this);
    } catch (const hdf_Exception& e) {
        VelPrintStorageFailure(e);
        context->Abandon();
        context.Reset();
        VelASSERT(0);
    } catch (...) {
        context->Abandon();
        throw;
    }
    if (result != VelSignature::e_Accepted) return VelContextID();
    m_contexts.Insert(id, std::move(context), false);
    return id;
}

// Under the stop policy a failed close stops the process before the context goes; under the
// throw policy the context goes (its file given up) and then the failure is thrown.
void VelManager::Close(const VelContextID& id) {
    ContextMap& map = id.IsTemp() ? m_tempContexts : m_contexts;
    VelAutoPtr<VelContext>* found = map.Find(id);
    if (!found) return;
    VelContext& context = **found;
    bool failed = false;
    try {
        context.Close();
    } catch (const hdf_Exception& e) {
        VelPrintStorageFailure(e);
        failed = true;
    } catch (...) {
        context.Abandon();
        map.Remove(id);
        throw;
    }
    if (failed && VelAssert::FailurePolicy() == VelThrowOnFailure) {
        context.Abandon();
        map.Remove(id);
    }
    if (failed) VelASSERT(0);
    map.Remove(id);
}

void VelManager::Checkpoint(const VelContextID& id, bool sync) {
    VelVALIDATE(!id.IsNull() && "A checkpoint needs the ID of an open context, not the null ID");
    VelAutoPtr<VelContext>* found = (id.IsTemp() ? m_tempContexts : m_contexts).Find(id);
    VelVALIDATE(found && "A checkpoint needs an open context: this one is closed or unknown");
    VelContext& context = **found;
    VelManagerAccess::RequireUsable(context);
    VelVALIDATE(!context.IsReadOnly() && "A context opened read-only cannot be checkpointed");
    // Ranks that differ are refused before the file is touched: the context stays usable.
    context.Agree("VelManager::FlushContext", {sync});
    try {
        context.Checkpoint(sync);
    } catch (const hdf_Exception& e) {
        VelPrintStorageFailure(e);
        context.Abandon();
        VelASSERT(0);
    } catch (...) {
        context.Abandon();
        throw;
    }
}

VelContext* VelManager::Find(unsigned value) const {
    if (VelContext* context = FindIn(m_contexts, value)) return context;
    return FindIn(m_tempContexts, value);
}

VelContext* VelManager::FindByName(const char* fileName) const {
    if (VelContext* context = FindNameIn(m_contexts, fileName)) return context;
    return FindNameIn(m_tempContexts, fileName);
}

void VelManager::Start() {
    m_shut = false;
}

void VelManager::Shut() {
    if (m_shut) return;
    for (ContextMap* map : {&m_contexts, &m_tempContexts}) {
        while (map->Count() > 0) {
            VelContextID first;
            {
                VelAutoBtreeIterator<VelContextID, VelAutoPtr<VelContext>> it(*map);
                it.First();
                first = it.CurrentKey();
            }
            Close(first);
        }
    }
    // Every pool went with its context, so every block drawn from the manager is back.
    VelASSERT(Outstanding() == 0);
    m_shut = true;
}

void VelManagerAccess::Start() {
    if (!g_manager) g_manager = new VelManager();
    g_manager->Start();
}

void VelManagerAccess::Shut() {
    if (g_manager) g_manager->Shut();
}

VelContext* VelManagerAccess::Find(unsigned value) {
    return VelManager::Running().Find(value);
}

namespace {
// The context of the latest lookup: the one every operation in progress works on.
unsigned g_current = VelContextID::e_NullValue;
}  // namespace

VelContext& VelManagerAccess::Get(unsigned value) {
    VelContext* context = Find(value);
    VelVALIDATE(context && "no open context has this value");
    RequireUsable(*context);
    g_current = value;
    return *context;
}

void VelManagerAccess::RequireUsable(const VelContext& context) {
    VelVALIDATE(!context.IsAbandoned() &&
                "The context is unusable after a failed write: only CloseContext is allowed");
}

void VelManagerAccess::AbandonCurrent() {
    if (!g_manager || g_manager->m_shut) return;
    VelContext* context = g_manager->Find(g_current);
    if (context && !context->IsReadOnly()) context->Abandon();
}

int VelManagerAccess::OpenCount() {
    return g_manager && !g_manager->m_shut ? g_manager->OpenCount() : 0;
}
