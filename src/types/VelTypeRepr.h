#ifndef VEL_SRC_TYPES_VELTYPEREPR_H
#define VEL_SRC_TYPES_VELTYPEREPR_H

// The representations behind the schema-side handles: type declarations, their members, forms,
// snapshots and the form manager.  Forms own their declarations, declarations own their members,
// the manager owns the forms and the snapshots; everything else observes.

#include <cstdint>

#include "vel/core/VelArray.h"
#include "vel/core/VelAutoArray.h"
#include "vel/core/VelAutoBtree.h"
#include "vel/core/VelBtree.h"
#include "vel/core/VelHolder.h"
#include "vel/types/VelTypeAssociation.h"
#include "vel/types/VelTypeDataRecord.h"
#include "vel/types/VelTypeDataRecordFlat.h"
#include "vel/types/VelTypeForm.h"
#include "vel/types/VelTypeFormManager.h"
#include "vel/types/VelTypeFormSchema.h"
#include "vel/types/VelTypeSchemaSnapshot.h"

class VelTypeFormRepr;
class VelTypeSchemaSnapshotRepr;

// ---- members ----------------------------------------------------------------------------------

class VelTypeDataRecordMemberRepr {
public:
    explicit VelTypeDataRecordMemberRepr(VelDataCategory category) : m_Category(category) {
        m_Default.int64Value = 0;
    }
    virtual ~VelTypeDataRecordMemberRepr() = default;

    cow_String m_Name;
    const VelDataCategory m_Category;
    bool m_HasDefault = false;
    // The default of the numeric categories, read according to the category.
    union {
        bool boolValue;
        unsigned char octetValue;
        short shortValue;
        int intValue;
        int64_t int64Value;
        float floatValue;
        double doubleValue;
    } m_Default;
    // The default of a string member; the default's value name for a symbolic constant.
    cow_String m_StringDefault;
};

// The value names of a symbolic constant stay in declaration order until the first read, which
// sorts them byte-wise and closes the list.
class VelTypeSymConstMemberRepr : public VelTypeDataRecordMemberRepr {
public:
    VelTypeSymConstMemberRepr() : VelTypeDataRecordMemberRepr(VelDataCategorySymConst) {}

    void AppendValue(const cow_String& value);
    void EnsureSorted();
    // The value's number, or all bits set when it is not a value.
    int Find(const cow_String& value);

    VelArray<cow_String> m_StringValues;
    bool m_Sorted = false;
};

using VelTypeDataRecordMemberHolder =
    VelHolder<VelTypeDataRecordMemberRepr, VelTypeDataRecordMember>;
using VelTypeSymConstMemberHolder = VelHolder<VelTypeSymConstMemberRepr, VelTypeDataRecordMember>;

class VelTypeAssociationMemberRepr {
public:
    explicit VelTypeAssociationMemberRepr(int category) : m_Category(category) {}

    int MinOccurs() const { return m_MinOccurs; }
    int MaxOccurs() const { return m_MaxOccurs; }

    void AppendTarget(const VelTypeQualifiedName& target);
    // Turns the target names into identifiers, once.
    void ResolveTargets();

    int m_Category;
    cow_String m_RoleName;
    int m_MinOccurs = 0;
    int m_MaxOccurs = 1;
    bool m_Ordered = false;
    VelTypeAssociationKeyEnm m_KeyType = VelTypeAssociationKeyNone;
    VelArray<VelTypeQualifiedName> m_TargetNames;
    VelArray<VelTypeID> m_TargetTypes;
    bool m_Resolved = false;
};

using VelTypeAssociationMemberHolder =
    VelHolder<VelTypeAssociationMemberRepr, VelTypeAssociationMember>;

// ---- type declarations ------------------------------------------------------------------------

class VelTypeRepr {
public:
    explicit VelTypeRepr(int category) : m_Category(category) {}
    virtual ~VelTypeRepr() = default;

    const int m_Category;
    cow_String m_Name;
    int m_Level = 0;
    // The form that holds the declaration; set when the declaration is added to a form and moved
    // along when forms merge.
    VelTypeForm m_Form;
    // Given when the form is sorted.
    VelTypeID m_ID;
};

// A member list that is sorted by name on the first read by position; appending after that is
// refused.  An empty list counts as sorted.
template <class Holder>
class VelTypeMemberList {
public:
    void Append(Holder& member);
    void EnsureSorted();
    int Size() const { return m_Members.Size(); }
    Holder& operator[](int i) {
        EnsureSorted();
        return m_Members[i];
    }
    // The position of the member of that name (binary search), or -1.
    int Find(const cow_String& name);

private:
    VelAutoArray<Holder> m_Members;
    bool m_Sorted = true;
};

class VelTypeDataRecordRepr : public VelTypeRepr {
public:
    VelTypeDataRecordRepr() : VelTypeRepr(VelCategoryDataRecord) {}

    bool HasBase() const { return !m_Base.TypeName().Empty(); }

    VelTypeQualifiedName m_Base;
    VelTypeMemberList<VelTypeDataRecordMemberHolder> m_Members;
};

class VelTypeAssociationRepr : public VelTypeRepr {
public:
    VelTypeAssociationRepr() : VelTypeRepr(VelCategoryAssociation) {}

    VelTypeMemberList<VelTypeAssociationMemberHolder> m_Members;
};

using VelTypeHolder = VelHolder<VelTypeRepr, VelTypeRef>;
using VelTypeDataRecordHolder = VelHolder<VelTypeDataRecordRepr, VelTypeRef>;
using VelTypeAssociationHolder = VelHolder<VelTypeAssociationRepr, VelTypeRef>;

// ---- forms ------------------------------------------------------------------------------------

using VelTypeFormHolder = VelHolder<VelTypeFormRepr, VelTypeForm>;

class VelTypeFormRepr {
public:
    explicit VelTypeFormRepr(const cow_String& name) : m_Name(name) {}

    // Adds a declaration to a form that is still open; `self` observes this form.
    void AppendType(VelTypeHolder type, const VelTypeForm& self);
    // Takes the declarations of `formHolder`, a form of the same name read later.
    void Merge(VelTypeFormHolder& formHolder, const VelTypeForm& self);

    void EnsureSorted();
    VelTypeRepr& Type(int i) {
        EnsureSorted();
        return *m_Types[i];
    }
    VelTypeRef TypeRef(int i) {
        EnsureSorted();
        return m_Types[i].Get();
    }
    VelTypeID TypeID(const cow_String& name);
    int PositionByID(const VelTypeID& typeID, int level);
    // The positions of the latest declaration of each name at or below `level` (0: the current
    // level), in name order.
    VelArray<int> PositionsAtLevel(int level);

    // The map of type names to identifiers, empty until the form is sorted.
    class NameToID : public VelBtree<cow_String, VelTypeID> {
    public:
        bool IsEmpty() const { return Count() == 0; }
    };

    cow_String m_Name;
    VelAutoArray<VelTypeHolder> m_Types;
    bool m_Sorted = false;
    int m_CurrentLevel = 0;
    NameToID m_NameToID;
    // For each ordinal, the position of the first declaration of its name in the sorted list;
    // the declarations of one name are contiguous, in ascending level.
    VelArray<int> m_FirstPosition;

private:
    void Sort();
};

// ---- snapshots --------------------------------------------------------------------------------

class VelTypeDataRecordFlatRepr {
public:
    VelTypeDataRecordFlatRepr(VelTypeSchemaSnapshotRepr& snapshot, int position)
        : m_Snapshot(snapshot), m_Position(position) {}

    VelTypeDataRecordRepr& Record(int chainIndex) const;

    VelTypeSchemaSnapshotRepr& m_Snapshot;
    int m_Position;
    // The snapshot positions of the type and its bases, the type first.
    VelArray<int> m_Chain;
    // For each entry of the chain, the flat position of its first member.
    VelArray<int> m_Offsets;
    int m_MemberCount = 0;
    // Snapshot positions of the associations the type may take part in, ascending.
    VelArray<int> m_Associations;
};

using VelTypeDataRecordFlatHolder = VelHolder<VelTypeDataRecordFlatRepr, VelTypeDataRecordFlat>;

class VelTypeSchemaSnapshotRepr {
public:
    void AddFormSchema(const VelTypeForm& form, int level);
    int GetFormSchemaPosition(const cow_String& formName) const;
    void AppendType(const VelTypeRef& type);
    // Orders the types by identifier, resolves base and target types and flattens the data
    // record types.  The snapshot is complete afterwards.
    void Sort();

    int TypeCount() const { return m_Types.Size(); }
    VelTypeRepr& Type(int i) const;
    int TypeCategory(int i) const { return Type(i).m_Category; }
    int PositionByID(const VelTypeID& typeID) const;
    int PositionByName(const VelTypeForm& form, const cow_String& name) const;

    VelArray<VelTypeFormSchema> m_FormSchemas;
    VelAutoArray<VelTypeRef> m_Types;
    bool m_Sorted = false;
    // One per type, empty for associations.
    VelAutoArray<VelTypeDataRecordFlatHolder> m_Flats;

private:
    void ResolveTargets();
    VelArray<int> ResolveBases();
    void Flatten(const VelArray<int>& basePositions);
    void GatherAssociations();
};

using VelTypeSchemaSnapshotHolder = VelHolder<VelTypeSchemaSnapshotRepr, VelTypeSchemaSnapshot>;

// ---- the manager ------------------------------------------------------------------------------

class VelTypeFormManagerRepr {
public:
    // Inserts a form read to its end, or merges it into the form of its name.
    void AddForm(VelTypeFormHolder& formHolder);
    // An unbound form when there is none of that name.
    VelTypeForm FindForm(const cow_String& name) const;
    void AddDependency(const VelTypeFormSchema& dependent, const VelTypeFormSchema& included);
    VelTypeSchemaSnapshot Snapshot(const VelTypeForm& form, int level);

    VelAutoBtree<cow_String, VelTypeFormHolder> m_Forms;
    VelBtree<VelTypeFormSchema, VelArray<VelTypeFormSchema>> m_Dependencies;
    VelAutoBtree<VelTypeFormSchema, VelTypeSchemaSnapshotHolder> m_Snapshots;

private:
    // The form schemas of one snapshot, by form name: each form takes part at one level.
    struct GatheredSchema {
        VelTypeForm form;
        int level = 0;
    };
    using Gathered = VelBtree<cow_String, GatheredSchema>;
    void GatherDependencies(const VelTypeFormSchema& schema, Gathered& gathered) const;
    const VelArray<VelTypeFormSchema>* DependenciesOf(const VelTypeFormSchema& schema) const;
};

// ---- access to the representations of handles -------------------------------------------------

// The handles keep their representations to themselves; the implementation reaches them here.
// Each accessor asserts that the handle observes a living object.
struct VelTypesAccess {
    static VelTypeFormRepr* Repr(const VelTypeForm& handle) { return Bound(handle.Get()); }
    static VelTypeRepr* Repr(const VelTypeRef& handle) { return Bound(handle.Get()); }
    static VelTypeDataRecordMemberRepr* Repr(const VelTypeDataRecordMember& handle) {
        return Bound(handle.Get());
    }
    static VelTypeAssociationMemberRepr* Repr(const VelTypeAssociationMember& handle) {
        return Bound(handle.Get());
    }
    static VelTypeDataRecordFlatRepr* Repr(const VelTypeDataRecordFlat& handle) {
        return Bound(handle.Get());
    }
    static VelTypeSchemaSnapshotRepr* Repr(const VelTypeSchemaSnapshot& handle) {
        return Bound(handle.Get());
    }
    static VelTypeFormManagerRepr* Repr(const VelTypeFormManager& handle) {
        return Bound(handle.Get());
    }

private:
    template <class R>
    static R* Bound(R* repr) {
        VelASSERT(repr);
        return repr;
    }
};

#endif
