#include "vel/types/VelTypeRegistry.h"

#include "vel/core/VelArray.h"
#include "vel/core/VelAssert.h"
#include "vel/core/VelBtree.h"

namespace {

// A record identifier as a map key, ordered by the identifier's own order.
struct VelRecordKey {
    VelDynamicID id;
};

int VelCompareKeys(const VelRecordKey& a, const VelRecordKey& b) {
    return a.id.Compare(b.id);
}

// VelArray always reallocates to the exact size; the registry's lists double instead.
int GrownSize(int size) {
    return size < 8 ? 16 : 2 * size;
}

// The registered types: a list with two unique maps into it.
class VelTypeStore {
public:
    int CountTypes() const { return m_Count; }
    const VelRecType& Type(int i) const {
        CheckIndex(i);
        return m_Types[i];
    }
    const VelDynamicID& RecordID(int i) const {
        CheckIndex(i);
        return m_RecordIDs[i];
    }
    int FindType(const VelTypeID& typeID) const {
        const int* position = m_ByTypeID.Find(typeID);
        return position ? *position : -1;
    }
    int FindRecord(const VelDynamicID& recordID) const {
        const int* position = m_ByRecordID.Find(VelRecordKey{recordID});
        return position ? *position : -1;
    }

    int Add(const VelRecType& type, const VelDynamicID& recordID) {
        if (FindType(type.TypeID()) >= 0) VelVALIDATE(!"Type with this TypeID already exists");
        if (FindRecord(recordID) >= 0) VelVALIDATE(!"Type with this record ID already exists");
        if (m_Count == m_Types.Size()) {
            m_Types.SetSize(GrownSize(m_Count));
            m_RecordIDs.SetSize(GrownSize(m_Count));
        }
        const int position = m_Count++;
        m_Types[position] = type;
        m_RecordIDs[position] = recordID;
        m_ByTypeID.Insert(type.TypeID(), position, false);
        m_ByRecordID.Insert(VelRecordKey{recordID}, position, false);
        return position;
    }

    // The identifier stays, so the maps stay as they are.
    void Replace(int i, const VelRecType& type) {
        CheckIndex(i);
        m_Types[i] = type;
    }

    // clang-format off
    void CheckIndex(int i) const { VelVALIDATE(i >=0 && i < m_Count); }
    // clang-format on

private:
    VelArray<VelRecType> m_Types;
    VelArray<VelDynamicID> m_RecordIDs;
    int m_Count = 0;
    VelBtree<VelTypeID, int> m_ByTypeID;
    VelBtree<VelRecordKey, int> m_ByRecordID;
};

}  // namespace

class VelTypeRegistryRepr {
public:
    VelTypeStore m_Registry;
    // Per registered type, its position in m_Modified, or -1.  Grown with the registry, never
    // shorter than it.
    VelArray<int> m_ModifiedTypePosition;
    VelArray<VelRecType> m_Modified;
    int m_ModifiedCount = 0;
    VelArray<bool> m_Locked;

    int ModifiedPosition(int index) const {
        VelASSERT(m_ModifiedTypePosition.Size() >= m_Registry.CountTypes());
        return m_ModifiedTypePosition[index];
    }
};

void VelAutoPtrObjectOutline<VelTypeRegistryRepr>::Delete(VelTypeRegistryRepr* repr) {
    if (!repr) return;
    repr->~VelTypeRegistryRepr();
    mem_Free(repr);
}

VelTypeRegistry::VelTypeRegistry() {
    void* place = mem_Malloc(sizeof(VelTypeRegistryRepr));
    m_Repr.Reset(new (place) VelTypeRegistryRepr);
}

VelTypeRegistry::~VelTypeRegistry() = default;

int VelTypeRegistry::TypeCount() const {
    return m_Repr->m_Registry.CountTypes();
}

VelRecType VelTypeRegistry::GetType(int i) const {
    const VelRecType& registered = m_Repr->m_Registry.Type(i);
    const int modified = m_Repr->ModifiedPosition(i);
    return modified >= 0 ? m_Repr->m_Modified[modified] : registered;
}

VelDynamicID VelTypeRegistry::RecordID(int i) const {
    return m_Repr->m_Registry.RecordID(i);
}

int VelTypeRegistry::FindType(const VelTypeID& typeID) const {
    return m_Repr->m_Registry.FindType(typeID);
}

int VelTypeRegistry::FindRecord(const VelDynamicID& recordID) const {
    return m_Repr->m_Registry.FindRecord(recordID);
}

int VelTypeRegistry::AddType(const VelRecType& type, const VelDynamicID& recordID) {
    VelVALIDATE(!type.TypeID().IsNull());
    VelTypeRegistryRepr& repr = *m_Repr;
    const int position = repr.m_Registry.Add(type, recordID);
    const int count = repr.m_Registry.CountTypes();
    if (repr.m_ModifiedTypePosition.Size() < count) {
        const int old = repr.m_ModifiedTypePosition.Size();
        const int grown = GrownSize(old);
        repr.m_ModifiedTypePosition.SetSize(grown);
        repr.m_Locked.SetSize(grown);
        for (int i = old; i < grown; ++i) {
            repr.m_ModifiedTypePosition[i] = -1;
            repr.m_Locked[i] = false;
        }
    }
    return position;
}

void VelTypeRegistry::UpdateType(int index, const VelRecType& type) {
    VelTypeRegistryRepr& repr = *m_Repr;
    const VelRecType& registered = repr.m_Registry.Type(index);
    VelVALIDATE(!IsTypeLocked(index) &&
                "Error updating type because it was used to create or read records");
    VelVALIDATE(type.TypeID() == registered.TypeID() && type.Category() == registered.Category() &&
                "An updated type must keep its TypeID and category");
    const int modified = repr.ModifiedPosition(index);
    if (modified >= 0) {
        repr.m_Modified[modified] = type;
        return;
    }
    if (repr.m_ModifiedCount == repr.m_Modified.Size()) {
        repr.m_Modified.SetSize(GrownSize(repr.m_ModifiedCount));
    }
    repr.m_ModifiedTypePosition[index] = repr.m_ModifiedCount;
    repr.m_Modified[repr.m_ModifiedCount++] = type;
}

bool VelTypeRegistry::IsTypeModified(int index) const {
    m_Repr->m_Registry.CheckIndex(index);
    return m_Repr->ModifiedPosition(index) >= 0;
}

int VelTypeRegistry::ModifiedTypeCount() const {
    return m_Repr->m_ModifiedCount;
}

void VelTypeRegistry::CommitChanges() {
    VelTypeRegistryRepr& repr = *m_Repr;
    for (int i = 0; i < repr.m_Registry.CountTypes(); ++i) {
        const int modified = repr.ModifiedPosition(i);
        if (modified >= 0) repr.m_Registry.Replace(i, repr.m_Modified[modified]);
    }
    DiscardChanges();
}

void VelTypeRegistry::DiscardChanges() {
    VelTypeRegistryRepr& repr = *m_Repr;
    for (int i = 0; i < repr.m_ModifiedTypePosition.Size(); ++i)
        repr.m_ModifiedTypePosition[i] = -1;
    repr.m_Modified = VelArray<VelRecType>();
    repr.m_ModifiedCount = 0;
}

void VelTypeRegistry::LockType(int index) {
    m_Repr->m_Registry.CheckIndex(index);
    m_Repr->m_Locked[index] = true;
}

bool VelTypeRegistry::IsTypeLocked(int index) const {
    m_Repr->m_Registry.CheckIndex(index);
    return m_Repr->m_Locked[index];
}
