#include "vel/types/VelTypeForm.h"

#include <algorithm>
#include <utility>

#include "types/VelTypeRepr.h"
#include "vel/core/VelAssert.h"

// ---- the representation -----------------------------------------------------------------------

void VelTypeFormRepr::AppendType(VelTypeHolder type, const VelTypeForm& self) {
    VelASSERT(m_Types.Size() == 0 || !m_Sorted);
    type->m_Form = self;
    m_Types.PushBack(std::move(type));
}

void VelTypeFormRepr::Merge(VelTypeFormHolder& formHolder, const VelTypeForm& self) {
    VelVALIDATE((m_Types.Size() == 0 || !m_Sorted) &&
                (formHolder->m_Types.Size() == 0 || !formHolder->m_Sorted));
    for (VelTypeHolder& type : formHolder->m_Types) {
        type->m_Form = self;
        m_Types.PushBack(std::move(type));
    }
    formHolder->m_Types.Clear();
}

void VelTypeFormRepr::EnsureSorted() {
    if (!m_Sorted) Sort();
}

namespace {

// qsort order of declarations by level, then name: the order in which names get their ordinals.
int CompareLevelThenName(const void* a, const void* b) {
    const VelTypeRepr* x = *static_cast<VelTypeRepr* const*>(a);
    const VelTypeRepr* y = *static_cast<VelTypeRepr* const*>(b);
    if (x->m_Level != y->m_Level) return x->m_Level < y->m_Level ? -1 : 1;
    return x->m_Name.Compare(y->m_Name);
}

bool NameThenLevel(const VelTypeHolder& a, const VelTypeHolder& b) {
    const int byName = a->m_Name.Compare(b->m_Name);
    if (byName != 0) return byName < 0;
    return a->m_Level < b->m_Level;
}

}  // namespace

// Ordinals follow first appearance in (level, name) order, not declaration order, so that the
// identifiers of a form do not depend on how its declarations were spread over documents.
void VelTypeFormRepr::Sort() {
    VelASSERT(!m_Sorted && m_Types.Size() > 0);

    VelASSERT(m_NameToID.IsEmpty());
    VelArray<VelTypeRepr*> byLevel(m_Types.Size());
    for (int i = 0; i < m_Types.Size(); ++i) byLevel[i] = m_Types[i].GetRepr();
    byLevel.Sort(CompareLevelThenName);
    int ordinals = 0;
    for (int i = 0; i < byLevel.Size(); ++i) {
        VelTypeRepr* type = byLevel[i];
        const cow_String& typeName = type->m_Name;
        VelVALIDATE(!typeName.Empty());
        if (const VelTypeID* known = m_NameToID.Find(typeName)) {
            type->m_ID = *known;
        } else {
            type->m_ID = VelTypeID(m_Name, ordinals++);
            m_NameToID.Insert(typeName, type->m_ID, false);
        }
    }

    // Stable, so that two declarations of one name at one level keep their document order and
    // the later one is the one a snapshot takes.
    std::stable_sort(m_Types.begin(), m_Types.end(), NameThenLevel);
    m_FirstPosition.SetSize(ordinals);
    for (int i = m_Types.Size() - 1; i >= 0; --i) m_FirstPosition[m_Types[i]->m_ID.Ordinal()] = i;

    m_CurrentLevel = 0;
    for (const VelTypeHolder& type : m_Types)
        m_CurrentLevel = std::max(m_CurrentLevel, type->m_Level);
    m_Sorted = true;
}

VelTypeID VelTypeFormRepr::TypeID(const cow_String& name) {
    EnsureSorted();
    const VelTypeID* id = m_NameToID.Find(name);
    return id ? *id : VelTypeID();
}

int VelTypeFormRepr::PositionByID(const VelTypeID& typeID, int level) {
    EnsureSorted();
    if (level == 0) level = m_CurrentLevel;
    if (typeID.IsNull() || typeID.Ordinal() >= m_FirstPosition.Size()) return -1;
    if (typeID.FormName() != m_Name) return -1;
    int found = -1;
    for (int i = m_FirstPosition[typeID.Ordinal()];
         i < m_Types.Size() && m_Types[i]->m_ID == typeID && m_Types[i]->m_Level <= level; ++i) {
        found = i;
    }
    return found;
}

VelArray<int> VelTypeFormRepr::PositionsAtLevel(int level) {
    EnsureSorted();
    if (level == 0) level = m_CurrentLevel;
    VelArray<int> positions(m_FirstPosition.Size());
    int count = 0;
    for (int first = 0; first < m_Types.Size();) {
        int end = first;
        int latest = -1;
        for (; end < m_Types.Size() && m_Types[end]->m_ID == m_Types[first]->m_ID; ++end) {
            if (m_Types[end]->m_Level <= level) latest = end;
        }
        if (latest >= 0) positions[count++] = latest;
        first = end;
    }
    positions.SetSize(count);
    return positions;
}

// ---- the handle -------------------------------------------------------------------------------

cow_String VelTypeForm::FormName() const {
    return VelTypesAccess::Repr(*this)->m_Name;
}

int VelTypeForm::TypeCount() const {
    return VelTypesAccess::Repr(*this)->m_Types.Size();
}

int VelTypeForm::TypeCategory(int i) const {
    return VelTypesAccess::Repr(*this)->Type(i).m_Category;
}

VelTypeDataRecord VelTypeForm::TypeAsDataRecord(int i) const {
    return VelTypeDataRecord(VelTypesAccess::Repr(*this)->TypeRef(i));
}

VelTypeAssociation VelTypeForm::TypeAsAssociation(int i) const {
    return VelTypeAssociation(VelTypesAccess::Repr(*this)->TypeRef(i));
}

VelTypeID VelTypeForm::GetTypeID(const cow_String& name) const {
    return VelTypesAccess::Repr(*this)->TypeID(name);
}

int VelTypeForm::GetTypePositionByID(const VelTypeID& typeID, int level) const {
    return VelTypesAccess::Repr(*this)->PositionByID(typeID, level);
}

int VelTypeForm::CurrentLevel() const {
    VelTypeFormRepr* repr = VelTypesAccess::Repr(*this);
    repr->EnsureSorted();
    return repr->m_CurrentLevel;
}

bool VelTypeForm::operator==(const VelTypeForm& other) const {
    return Get() == other.Get();
}
