#include "vel/types/VelTypeSchemaSnapshot.h"

#include <algorithm>
#include <vector>

#include "types/VelTypeRepr.h"
#include "vel/core/VelAssert.h"

// ---- building -----------------------------------------------------------------------------------

void VelTypeSchemaSnapshotRepr::AddFormSchema(const VelTypeForm& form, int level) {
    VelVALIDATE(GetFormSchemaPosition(form.FormName()) == -1);
    m_FormSchemas.SetSize(m_FormSchemas.Size() + 1);
    m_FormSchemas[m_FormSchemas.Size() - 1] = VelTypeFormSchema(form, level);
}

int VelTypeSchemaSnapshotRepr::GetFormSchemaPosition(const cow_String& formName) const {
    for (int i = 0; i < m_FormSchemas.Size(); ++i) {
        if (m_FormSchemas[i].FormName() == formName) return i;
    }
    return -1;
}

void VelTypeSchemaSnapshotRepr::AppendType(const VelTypeRef& type) {
    VelASSERT(m_Types.Size() == 0 || !m_Sorted);
    m_Types.PushBack(type);
}

VelTypeRepr& VelTypeSchemaSnapshotRepr::Type(int i) const {
    return *VelTypesAccess::Repr(m_Types[i]);
}

void VelTypeSchemaSnapshotRepr::Sort() {
    VelASSERT(!m_Sorted);
    std::sort(m_Types.begin(), m_Types.end(), [](const VelTypeRef& a, const VelTypeRef& b) {
        return VelTypesAccess::Repr(a)->m_ID < VelTypesAccess::Repr(b)->m_ID;
    });
    m_Sorted = true;
    ResolveTargets();
    Flatten(ResolveBases());
    GatherAssociations();
}

// The types are sorted by identifier, and one snapshot never holds two declarations of one type.
int VelTypeSchemaSnapshotRepr::PositionByID(const VelTypeID& typeID) const {
    const VelTypeRef* first = m_Types.begin();
    const VelTypeRef* last = m_Types.end();
    const VelTypeRef* found =
        std::lower_bound(first, last, typeID, [](const VelTypeRef& type, const VelTypeID& id) {
            return VelTypesAccess::Repr(type)->m_ID < id;
        });
    if (found == last || VelTypesAccess::Repr(*found)->m_ID != typeID) return -1;
    return static_cast<int>(found - first);
}

int VelTypeSchemaSnapshotRepr::PositionByName(const VelTypeForm& form,
                                              const cow_String& name) const {
    const VelTypeID typeID = form.GetTypeID(name);
    return typeID.IsNull() ? -1 : PositionByID(typeID);
}

void VelTypeSchemaSnapshotRepr::ResolveTargets() {
    for (int i = 0; i < TypeCount(); ++i) {
        if (TypeCategory(i) != VelCategoryAssociation) continue;
        VelTypeAssociationRepr& association = static_cast<VelTypeAssociationRepr&>(Type(i));
        for (int m = 0; m < association.m_Members.Size(); ++m) {
            VelTypeAssociationMemberRepr& member = *association.m_Members[m];
            if (member.m_Category == VelEntityDataRecord) member.ResolveTargets();
        }
    }
}

// The snapshot position of each data record's base, -1 for types without one.
VelArray<int> VelTypeSchemaSnapshotRepr::ResolveBases() {
    VelArray<int> basePositions(TypeCount());
    VelTypeSchemaSnapshotRepr* snapshot = this;
    for (int i = 0; i < TypeCount(); ++i) {
        basePositions[i] = -1;
        if (TypeCategory(i) != VelCategoryDataRecord) continue;
        const VelTypeDataRecordRepr& record = static_cast<VelTypeDataRecordRepr&>(Type(i));
        if (!record.HasBase()) continue;
        const int pos = PositionByName(record.m_Base.Form(), record.m_Base.TypeName());
        VelVALIDATE(pos >= 0 && "Base type not found");
        VelVALIDATE(snapshot->TypeCategory(pos) == VelCategoryDataRecord &&
                    "Base type must be a data record");
        basePositions[i] = pos;
    }
    return basePositions;
}

// Walks each data record's base chain.  The depth limit also ends a cyclic chain.
void VelTypeSchemaSnapshotRepr::Flatten(const VelArray<int>& basePositions) {
    std::vector<int> chain;
    for (int i = 0; i < TypeCount(); ++i) {
        if (TypeCategory(i) != VelCategoryDataRecord) {
            m_Flats.PushBack(VelTypeDataRecordFlatHolder());
            continue;
        }
        chain.clear();
        int depth = 0;
        for (int pos = i;; pos = basePositions[pos]) {
            chain.push_back(pos);
            if (basePositions[pos] < 0) break;
            ++depth;
            VelVALIDATE(depth < 1024 && "The inheritance depth limit of 1024 exceeded");
        }
        VelTypeDataRecordFlatHolder flat = VelTypeDataRecordFlatHolder::Create(*this, i);
        const int length = static_cast<int>(chain.size());
        flat->m_Chain.SetSize(length);
        flat->m_Offsets.SetSize(length);
        int offset = 0;
        for (int k = length - 1; k >= 0; --k) {
            flat->m_Chain[k] = chain[static_cast<size_t>(k)];
            flat->m_Offsets[k] = offset;
            offset += flat->Record(k).m_Members.Size();
        }
        flat->m_MemberCount = offset;
        m_Flats.PushBack(std::move(flat));
    }
}

// Marks every data record type that a data-record member of an association names, then gives
// each flat type the associations that name it or one of its bases.
void VelTypeSchemaSnapshotRepr::GatherAssociations() {
    std::vector<std::vector<int>> namedBy(static_cast<size_t>(TypeCount()));
    for (int a = 0; a < TypeCount(); ++a) {
        if (TypeCategory(a) != VelCategoryAssociation) continue;
        VelTypeAssociationRepr& association = static_cast<VelTypeAssociationRepr&>(Type(a));
        for (int m = 0; m < association.m_Members.Size(); ++m) {
            const VelTypeAssociationMemberRepr& member = *association.m_Members[m];
            if (member.m_Category != VelEntityDataRecord) continue;
            for (int t = 0; t < member.m_TargetTypes.Size(); ++t) {
                const int pos = PositionByID(member.m_TargetTypes[t]);
                if (pos < 0) continue;
                std::vector<int>& associations = namedBy[static_cast<size_t>(pos)];
                if (associations.empty() || associations.back() != a) associations.push_back(a);
            }
        }
    }
    std::vector<int> gathered;
    for (VelTypeDataRecordFlatHolder& flat : m_Flats) {
        if (!flat) continue;
        gathered.clear();
        for (int k = 0; k < flat->m_Chain.Size(); ++k) {
            const std::vector<int>& associations = namedBy[static_cast<size_t>(flat->m_Chain[k])];
            gathered.insert(gathered.end(), associations.begin(), associations.end());
        }
        std::sort(gathered.begin(), gathered.end());
        gathered.erase(std::unique(gathered.begin(), gathered.end()), gathered.end());
        flat->m_Associations.SetSize(static_cast<int>(gathered.size()));
        for (int k = 0; k < flat->m_Associations.Size(); ++k) {
            flat->m_Associations[k] = gathered[static_cast<size_t>(k)];
        }
    }
}

// ---- flat data record types ---------------------------------------------------------------------

VelTypeDataRecordRepr& VelTypeDataRecordFlatRepr::Record(int chainIndex) const {
    return static_cast<VelTypeDataRecordRepr&>(m_Snapshot.Type(m_Chain[chainIndex]));
}

VelTypeDataRecord VelTypeDataRecordFlat::DataRecordType() const {
    const VelTypeDataRecordFlatRepr* repr = VelTypesAccess::Repr(*this);
    return VelTypeDataRecord(repr->m_Snapshot.m_Types[repr->m_Position]);
}

int VelTypeDataRecordFlat::MemberCount() const {
    return VelTypesAccess::Repr(*this)->m_MemberCount;
}

VelTypeDataRecordMember VelTypeDataRecordFlat::Member(int i) const {
    const VelTypeDataRecordFlatRepr* repr = VelTypesAccess::Repr(*this);
    VelVALIDATE(i >= 0 && i < repr->m_MemberCount);
    int k = 0;
    while (i < repr->m_Offsets[k]) ++k;
    return repr->Record(k).m_Members[i - repr->m_Offsets[k]].Get();
}

int VelTypeDataRecordFlat::GetMemberPositionByName(const cow_String& name) const {
    const VelTypeDataRecordFlatRepr* repr = VelTypesAccess::Repr(*this);
    for (int k = 0; k < repr->m_Chain.Size(); ++k) {
        const int pos = repr->Record(k).m_Members.Find(name);
        if (pos >= 0) return repr->m_Offsets[k] + pos;
    }
    return -1;
}

int VelTypeDataRecordFlat::AssociationCount() const {
    return VelTypesAccess::Repr(*this)->m_Associations.Size();
}

VelTypeAssociation VelTypeDataRecordFlat::Association(int i) const {
    const VelTypeDataRecordFlatRepr* repr = VelTypesAccess::Repr(*this);
    return VelTypeAssociation(repr->m_Snapshot.m_Types[repr->m_Associations[i]]);
}

bool VelTypeDataRecordFlat::IsA(const VelTypeID& typeID) const {
    const VelTypeDataRecordFlatRepr* repr = VelTypesAccess::Repr(*this);
    for (int k = 0; k < repr->m_Chain.Size(); ++k) {
        if (repr->Record(k).m_ID == typeID) return true;
    }
    return false;
}

bool VelTypeDataRecordFlat::CheckType(const VelTypeAssociationMember& member) const {
    if (member.Category() != VelEntityDataRecord) return false;
    for (int t = 0; t < member.TargetTypeCount(); ++t) {
        if (IsA(member.TargetTypeID(t))) return true;
    }
    return false;
}

// ---- the handle ---------------------------------------------------------------------------------

int VelTypeSchemaSnapshot::FormSchemaCount() const {
    return VelTypesAccess::Repr(*this)->m_FormSchemas.Size();
}

VelTypeFormSchema VelTypeSchemaSnapshot::FormSchema(int i) const {
    return VelTypesAccess::Repr(*this)->m_FormSchemas[i];
}

int VelTypeSchemaSnapshot::GetFormSchemaPosition(const cow_String& formName) const {
    return VelTypesAccess::Repr(*this)->GetFormSchemaPosition(formName);
}

int VelTypeSchemaSnapshot::TypeCount() const {
    return VelTypesAccess::Repr(*this)->TypeCount();
}

VelTypeID VelTypeSchemaSnapshot::TypeID(int i) const {
    return VelTypesAccess::Repr(*this)->Type(i).m_ID;
}

const cow_String& VelTypeSchemaSnapshot::TypeName(int i) const {
    return VelTypesAccess::Repr(*this)->Type(i).m_Name;
}

int VelTypeSchemaSnapshot::TypeLevel(int i) const {
    return VelTypesAccess::Repr(*this)->Type(i).m_Level;
}

int VelTypeSchemaSnapshot::TypeCategory(int i) const {
    return VelTypesAccess::Repr(*this)->TypeCategory(i);
}

VelTypeForm VelTypeSchemaSnapshot::TypeForm(int i) const {
    return VelTypesAccess::Repr(*this)->Type(i).m_Form;
}

VelTypeDataRecord VelTypeSchemaSnapshot::TypeAsDataRecord(int i) const {
    return VelTypeDataRecord(VelTypesAccess::Repr(*this)->m_Types[i]);
}

VelTypeAssociation VelTypeSchemaSnapshot::TypeAsAssociation(int i) const {
    return VelTypeAssociation(VelTypesAccess::Repr(*this)->m_Types[i]);
}

VelTypeDataRecordFlat VelTypeSchemaSnapshot::TypeAsDataRecordFlat(int i) const {
    const VelTypeDataRecordFlatHolder& flat = VelTypesAccess::Repr(*this)->m_Flats[i];
    VelVALIDATE(flat && "The type is not a data record");
    return flat.Get();
}

int VelTypeSchemaSnapshot::GetTypePositionByID(const VelTypeID& typeID) const {
    return VelTypesAccess::Repr(*this)->PositionByID(typeID);
}

int VelTypeSchemaSnapshot::GetTypePositionByName(const VelTypeForm& form,
                                                 const cow_String& name) const {
    return VelTypesAccess::Repr(*this)->PositionByName(form, name);
}

bool VelTypeSchemaSnapshot::Includes(const VelTypeSchemaSnapshot& other) const {
    const VelTypeSchemaSnapshotRepr* self = VelTypesAccess::Repr(*this);
    const VelTypeSchemaSnapshotRepr* included = VelTypesAccess::Repr(other);
    for (int i = 0; i < included->m_FormSchemas.Size(); ++i) {
        const VelTypeFormSchema& schema = included->m_FormSchemas[i];
        const int pos = self->GetFormSchemaPosition(schema.FormName());
        if (pos < 0 || self->m_FormSchemas[pos].Level() != schema.Level()) return false;
    }
    return true;
}

bool VelTypeSchemaSnapshot::operator==(const VelTypeSchemaSnapshot& other) const {
    return Get() == other.Get();
}
