#include "vel/types/VelTypeFormManager.h"

#include <utility>
#include <vector>

#include "types/VelQARNReader.h"
#include "types/VelTypeRepr.h"
#include "vel/core/VelAssert.h"

void VelAutoPtrObjectOutline<VelTypeFormManagerRepr>::Delete(VelTypeFormManagerRepr* repr) {
    if (!repr) return;
    repr->~VelTypeFormManagerRepr();
    mem_Free(repr);
}

// ---- form schemas -------------------------------------------------------------------------------

VelTypeFormSchema::VelTypeFormSchema(const VelTypeForm& form, int level)
    : m_Form(form), m_FormName(VelTypesAccess::Repr(form)->m_Name), m_Level(level) {}

int VelTypeFormSchema::Compare(const VelTypeFormSchema& other) const {
    const int byName = m_FormName.Compare(other.m_FormName);
    if (byName != 0) return byName < 0 ? -1 : 1;
    if (m_Level != other.m_Level) return m_Level < other.m_Level ? -1 : 1;
    return 0;
}

// ---- the representation -------------------------------------------------------------------------

void VelTypeFormManagerRepr::AddForm(VelTypeFormHolder& formHolder) {
    const cow_String name = formHolder->m_Name;
    if (VelTypeFormHolder* existing = m_Forms.Find(name)) {
        (*existing)->Merge(formHolder, existing->Get());
        formHolder = VelTypeFormHolder();
    } else {
        m_Forms.Insert(name, std::move(formHolder), false);
    }
}

VelTypeForm VelTypeFormManagerRepr::FindForm(const cow_String& name) const {
    const VelTypeFormHolder* form = m_Forms.Find(name);
    return form ? form->Get() : VelTypeForm();
}

void VelTypeFormManagerRepr::AddDependency(const VelTypeFormSchema& dependent,
                                           const VelTypeFormSchema& included) {
    VelArray<VelTypeFormSchema>* includes = m_Dependencies.Find(dependent);
    if (!includes) {
        m_Dependencies.Insert(dependent, VelArray<VelTypeFormSchema>(), false);
        includes = m_Dependencies.Find(dependent);
    }
    for (int i = 0; i < includes->Size(); ++i) {
        if ((*includes)[i].FormName() == included.FormName()) {
            VelVALIDATE(!"Target form specified more than once in a form dependency");
        }
    }
    includes->SetSize(includes->Size() + 1);
    (*includes)[includes->Size() - 1] = included;
}

// The dependencies a form declared for the greatest level not above the schema's level.
const VelArray<VelTypeFormSchema>* VelTypeFormManagerRepr::DependenciesOf(
    const VelTypeFormSchema& schema) const {
    const VelArray<VelTypeFormSchema>* best = nullptr;
    VelBtreeIterator<VelTypeFormSchema, VelArray<VelTypeFormSchema>> it(m_Dependencies);
    for (it.First(); !it.IsDone(); it.Next()) {
        const VelTypeFormSchema& dependent = it.CurrentKey();
        if (dependent.FormName() == schema.FormName() && dependent.Level() <= schema.Level()) {
            best = &it.CurrentValue();
        }
    }
    return best;
}

// Each form enters the map once, at one level, and only a form entering it has its own
// dependencies gathered, so cycles end.  The walk keeps its own stack: a long chain of forms must
// not run out of call stack.
void VelTypeFormManagerRepr::GatherDependencies(const VelTypeFormSchema& schema,
                                                Gathered& gathered) const {
    std::vector<VelTypeFormSchema> pending{schema};
    while (!pending.empty()) {
        const VelTypeFormSchema dependent = pending.back();
        pending.pop_back();
        const VelArray<VelTypeFormSchema>* includes = DependenciesOf(dependent);
        if (!includes) continue;
        for (int i = 0; i < includes->Size(); ++i) {
            const VelTypeFormSchema& ds = (*includes)[i];
            const GatheredSchema* known = gathered.Find(ds.FormName());
            const int* level = known ? &known->level : nullptr;
            VelVALIDATE((!level || *level == ds.Level()) &&
                        "A schema depends on two different levels of another schema");
            if (level) continue;
            gathered.Insert(ds.FormName(), GatheredSchema{ds.Form(), ds.Level()}, false);
            pending.push_back(ds);
        }
    }
}

VelTypeSchemaSnapshot VelTypeFormManagerRepr::Snapshot(const VelTypeForm& form, int level) {
    VelTypeFormRepr* formRepr = VelTypesAccess::Repr(form);
    if (level == 0) {
        formRepr->EnsureSorted();
        level = formRepr->m_CurrentLevel;
    }
    const VelTypeFormSchema key(form, level);
    if (const VelTypeSchemaSnapshotHolder* cached = m_Snapshots.Find(key)) return cached->Get();

    VelTypeSchemaSnapshotHolder holder = VelTypeSchemaSnapshotHolder::Create();
    holder->AddFormSchema(form, level);
    Gathered gathered;
    gathered.Insert(formRepr->m_Name, GatheredSchema{form, level}, false);
    GatherDependencies(key, gathered);

    VelBtreeIterator<cow_String, GatheredSchema> it(gathered);
    for (it.First(); !it.IsDone(); it.Next()) {
        const GatheredSchema& schema = it.CurrentValue();
        if (schema.form != form) holder->AddFormSchema(schema.form, schema.level);
        VelTypeFormRepr* member = VelTypesAccess::Repr(schema.form);
        const VelArray<int> positions = member->PositionsAtLevel(schema.level);
        for (int i = 0; i < positions.Size(); ++i)
            holder->AppendType(member->TypeRef(positions[i]));
    }
    holder->Sort();

    VelTypeSchemaSnapshot snapshot = holder.Get();
    m_Snapshots.Insert(key, std::move(holder), false);
    return snapshot;
}

// ---- the handle ---------------------------------------------------------------------------------

VelTypeFormManagerHolder VelTypeFormManager::New() {
    return VelTypeFormManagerHolder::Create();
}

void VelTypeFormManager::ParseQARN(const cow_String& text) const {
    VelQARNReader reader(*VelTypesAccess::Repr(*this));
    reader.Parse(text);
}

VelTypeForm VelTypeFormManager::GetForm(const cow_String& name) const {
    return VelTypesAccess::Repr(*this)->FindForm(name);
}

int VelTypeFormManager::FormCount() const {
    return VelTypesAccess::Repr(*this)->m_Forms.Count();
}

VelTypeSchemaSnapshot VelTypeFormManager::GetSchemaSnapshot(const VelTypeForm& form,
                                                            int level) const {
    return VelTypesAccess::Repr(*this)->Snapshot(form, level);
}
