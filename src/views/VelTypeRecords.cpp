#include "views/VelTypeRecords.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "vel/core/VelAssert.h"
#include "vel/types/VelRecTypeFactory.h"
#include "vel/types/VelTypesForm.h"
#include "views/VelTransactionRepr.h"
#include "views/VelViewRepr.h"
#include "views/VelViewsAccess.h"

namespace {

constexpr const char* e_TypesForm = "Types";

// The built-in form's types by name, and as record types.
struct BuiltInTypes {
    BuiltInTypes() {
        const VelTypeSchemaSnapshot snapshot = VelTypesForm::Snapshot();
        const VelRecTypeFactory factory;
        for (int i = 0; i < snapshot.TypeCount(); ++i) {
            const VelTypeID id = snapshot.TypeID(i);
            byName.emplace(snapshot.TypeName(i).str(), id);
            const VelRecType type =
                snapshot.TypeCategory(i) == VelCategoryDataRecord
                    ? VelRecType(factory.CreateDataRecordType(snapshot.TypeAsDataRecord(i)))
                    : VelRecType(factory.CreateAssociationType(snapshot.TypeAsAssociation(i)));
            // The built-in types are stored nowhere: their record IDs only need to be distinct.
            registry.AddType(type, VelDynamicID(VelCategoryDataRecord, 0, 0, i));
        }
    }
    std::map<std::string, VelTypeID> byName;
    VelTypeRegistry registry;
};

const BuiltInTypes& Types() {
    static const BuiltInTypes types;
    return types;
}

VelTypeID TypeNamed(const char* name) {
    return Types().byName.at(name);
}

// The position of a member of a built-in record by name.
int MemberNamed(const VelDataRecord& record, const char* name) {
    for (int i = 0; i < record.MemberCount(); ++i) {
        if (record.Member(i).Name() == name) return i;
    }
    VelASSERT(!"A member of the built-in Types form is missing");
    return -1;
}

// The position of an association member by role name.
int RoleNamed(const VelRecTypeAssociation& type, const char* role) {
    for (int k = 0; k < 2; ++k) {
        if (type.Member(k).RoleName() == role) return k;
    }
    VelASSERT(!"A role of the built-in Types form is missing");
    return -1;
}

// ---- writing ----------------------------------------------------------------------------------

class Writer {
public:
    explicit Writer(VelTransactionRepr& transaction)
        : m_transaction(transaction), m_view(transaction.View()) {}

    VelDataRecordUpdate NewRecord(const VelTypeID& type) {
        return VelViewsAccess::RecordUpdate(m_transaction.CreateRecordOf(type));
    }

    // Pairs `a` in role `roleA` with `b` in role `roleB`; `position` is the position of `a` when
    // its member is ordered.
    void Pair(const char* association, const char* roleA, const VelDynamicID& a, const char* roleB,
              const VelDynamicID& b, int position = -1) {
        VelAssociationRepr& pairs = Pairs(association);
        VelParticipant participants[2];
        const int k = RoleNamed(pairs.Type(), roleA);
        participants[k].id = a;
        participants[k].hasPosition = position >= 0;
        participants[k].position = position;
        participants[1 - k].id = b;
        VelASSERT(RoleNamed(pairs.Type(), roleB) == 1 - k);
        pairs.Insert(participants[0], participants[1]);
    }

    void Unpair(const char* association, const char* role, const VelDynamicID& id) {
        VelAssociationRepr& pairs = Pairs(association);
        pairs.RemoveAll(RoleNamed(pairs.Type(), role), id);
    }

    void Unlink(const VelDynamicID& record) {
        VelAssociationRepr& pairs = Pairs("AllTypes");
        pairs.Remove(RoleNamed(pairs.Type(), "forms"), record, VelRecTypeUnordered,
                     m_view.FocusID(), -1, cow_String());
    }

    void WriteType(const VelRecType& type, const VelDynamicID& record) {
        if (type.Category() == VelCategoryDataRecord) {
            WriteDataRecordType(VelRecTypeDataRecord(type), record);
        } else {
            WriteAssociationType(VelRecTypeAssociation(type), record);
        }
    }

    void ClearType(const VelDynamicID& record) {
        Unpair("DataRecordMembers", "owner", record);
        Unpair("DataRecordBaseType", "derived", record);
        Unpair("AssociationFirstMember", "association", record);
        Unpair("AssociationSecondMember", "association", record);
    }

private:
    VelAssociationRepr& Pairs(const char* association) {
        return *m_transaction.UpdateAssociation(TypeNamed(association)).Get();
    }

    VelDynamicID RecordOf(const VelTypeID& type, const char* what) {
        const int index = m_view.Registry().FindType(type);
        if (index < 0) {
            VelAssert::FailValidation(what);
        }
        return m_view.Registry().RecordID(index);
    }

    void WriteDataRecordType(const VelRecTypeDataRecord& type, const VelDynamicID& record) {
        for (int i = 0; i < type.MemberCount(); ++i) {
            const VelDynamicID member = WriteMember(type.Member(i));
            Pair("DataRecordMembers", "members", member, "owner", record, i);
        }
        if (!type.BaseTypeID().IsNull()) {
            const VelDynamicID base =
                RecordOf(type.BaseTypeID(), "!\"The base type must be registered first\"");
            Pair("DataRecordBaseType", "derived", record, "base", base);
        }
    }

    VelDynamicID WriteMember(const VelRecTypeDataRecordMember& member) {
        const VelDataRecordUpdate r = NewRecord(VelTypesForm::MemberRecordOf(member.Category()));
        r.SetString(MemberNamed(r, "name"), member.Name());
        const int value = MemberNamed(r, "default");
        switch (member.Category()) {
            case VelRecTypeCategoryBoolean:
                r.SetBool(value, VelRecTypeBoolean(member).DefaultValue());
                break;
            case VelRecTypeCategoryChar:
                r.SetOctet(value, VelRecTypeChar(member).DefaultValue());
                break;
            case VelRecTypeCategoryShort:
                r.SetShort(value, VelRecTypeShort(member).DefaultValue());
                break;
            case VelRecTypeCategoryInteger:
                r.SetInt(value, VelRecTypeInteger(member).DefaultValue());
                break;
            case VelRecTypeCategoryInt64:
                r.SetInt64(value, VelRecTypeInt64(member).DefaultValue());
                break;
            case VelRecTypeCategoryFloat:
                r.SetFloat(value, VelRecTypeFloat(member).DefaultValue());
                r.SetString(MemberNamed(r, "dimension"), VelRecTypeFloat(member).Dimension());
                break;
            case VelRecTypeCategoryDouble:
                r.SetDouble(value, VelRecTypeDouble(member).DefaultValue());
                r.SetString(MemberNamed(r, "dimension"), VelRecTypeDouble(member).Dimension());
                break;
            case VelRecTypeCategoryString:
                r.SetString(value, VelRecTypeString(member).DefaultValue());
                break;
            case VelRecTypeCategorySymConst: {
                const VelRecTypeSymConst symConst(member);
                r.SetInt(value, symConst.DefaultValue());
                r.SetInt(MemberNamed(r, "limit"), symConst.LimitValue());
                break;
            }
        }
        return r.ID();
    }

    void WriteAssociationType(const VelRecTypeAssociation& type, const VelDynamicID& record) {
        static const char* const links[2] = {"AssociationFirstMember", "AssociationSecondMember"};
        for (int k = 0; k < 2; ++k) {
            const VelRecTypeAssociationMember& member = type.Member(k);
            const VelTypeID kind = VelTypesForm::ReferenceRecordOf(member.Category());
            VelVALIDATE(!kind.IsNull() && "The kind of an association member cannot be stored");
            const VelDataRecordUpdate r = NewRecord(kind);
            int keyType = 0;
            bool ordered = false;
            VelTypesForm::StoredOption(member.Option(), keyType, ordered);
            r.SetString(MemberNamed(r, "roleName"), member.RoleName());
            r.SetSymb(MemberNamed(r, "keyType"), keyType);
            r.SetBool(MemberNamed(r, "ordered"), ordered);
            r.SetInt(MemberNamed(r, "minOccurs"), member.MinOccurs());
            r.SetInt(MemberNamed(r, "maxOccurs"), member.MaxOccurs());
            Pair(links[k], "association", record, "member", r.ID());
            for (int i = 0; i < member.EntityTypeCount(); ++i) {
                const VelDynamicID target = RecordOf(
                    member.EntityType(i), "!\"The target types must be registered first\"");
                Pair("DataRecordRefTargetTypes", "members", r.ID(), "targetTypes", target);
            }
        }
    }

    VelTransactionRepr& m_transaction;
    VelViewRepr& m_view;
};

// ---- reading ----------------------------------------------------------------------------------

class Reader {
public:
    explicit Reader(VelViewRepr& view) : m_view(view) {}

    // The records of the types the view's focus is paired with, in the order they were paired.
    std::vector<VelDynamicID> TypeRecords() {
        std::vector<VelDynamicID> records;
        const VelAssociationRepr* all = Pairs("AllTypes");
        if (!all) return records;
        const int forms = RoleNamed(all->Type(), "forms");
        for (const int index : all->EntriesOf(1 - forms, m_view.FocusID())) {
            const VelAssociationEntry& entry = all->Entries()[static_cast<size_t>(index)];
            if (entry.m_Live) records.push_back(all->ID(forms, entry.m_Members[forms]));
        }
        return records;
    }

    VelRecType ReadType(const VelDynamicID& record) {
        const VelDataRecord r = Record(record);
        const int category = VelTypesForm::CategoryOfTypeRecord(r.TypeID());
        const VelTypeID typeID = VelTypeID::FromString(r.ReturnString(MemberNamed(r, "typeID")));
        VelVALIDATE(!typeID.IsNull() && "Damaged record store: a type record names no type");
        if (category == VelCategoryDataRecord) return ReadDataRecordType(typeID, record);
        return ReadAssociationType(typeID, record);
    }

private:
    VelDataRecord Record(const VelDynamicID& id) {
        return VelViewsAccess::Record(m_view.ReadDataRecord(id));
    }

    const VelAssociationRepr* Pairs(const char* association) {
        const int slot = m_view.SlotOf(TypeNamed(association));
        return slot < 0 ? nullptr : m_view.ReadAssociation(slot).Get();
    }

    // The participants paired with `id`, in list order, with their positions.
    std::vector<std::pair<int, VelDynamicID>> Partners(const char* association, const char* role,
                                                       const VelDynamicID& id) {
        std::vector<std::pair<int, VelDynamicID>> partners;
        const VelAssociationRepr* pairs = Pairs(association);
        if (!pairs) return partners;
        const int k = RoleNamed(pairs->Type(), role);
        for (const int index : pairs->EntriesOf(k, id)) {
            const VelAssociationEntry& entry = pairs->Entries()[static_cast<size_t>(index)];
            if (!entry.m_Live) continue;
            const VelAssociationMemberEntry& other = entry.m_Members[1 - k];
            partners.emplace_back(other.m_Position, pairs->ID(1 - k, other));
        }
        return partners;
    }

    VelTypeID TypeIDOf(const VelDynamicID& typeRecord) {
        const VelDataRecord r = Record(typeRecord);
        VelVALIDATE(r.TypeID() == VelTypesForm::TypeRecordOf(VelCategoryDataRecord) &&
                    "Damaged record store: a base or target is not a data record type");
        const VelTypeID id = VelTypeID::FromString(r.ReturnString(MemberNamed(r, "typeID")));
        VelVALIDATE(!id.IsNull() && "Damaged record store: a type record names no type");
        return id;
    }

    VelRecType ReadDataRecordType(const VelTypeID& typeID, const VelDynamicID& record) {
        std::vector<std::pair<int, VelDynamicID>> members =
            Partners("DataRecordMembers", "owner", record);
        std::stable_sort(members.begin(), members.end(),
                         [](const std::pair<int, VelDynamicID>& a,
                            const std::pair<int, VelDynamicID>& b) { return a.first < b.first; });
        VelRecTypeDataRecordMembers list;
        for (const auto& member : members) list.Append(ReadMember(member.second));
        VelTypeID base;
        const auto bases = Partners("DataRecordBaseType", "derived", record);
        VelVALIDATE(bases.size() <= 1 && "Damaged record store: a type with two bases");
        if (!bases.empty()) base = TypeIDOf(bases.front().second);
        return VelRecTypeFactory().CreateDataRecordType(typeID, base, list);
    }

    VelRecTypeDataRecordMember ReadMember(const VelDynamicID& id) {
        const VelDataRecord r = Record(id);
        const VelRecTypeDataCategory category = VelTypesForm::CategoryOfMemberRecord(r.TypeID());
        const cow_String name = r.ReturnString(MemberNamed(r, "name"));
        const int value = MemberNamed(r, "default");
        switch (category) {
            case VelRecTypeCategoryBoolean: {
                bool v = false;
                r.GetBool(value, v);
                return VelRecTypeBoolean(name, v);
            }
            case VelRecTypeCategoryChar: {
                unsigned char v = 0;
                r.GetOctet(value, v);
                return VelRecTypeChar(name, v);
            }
            case VelRecTypeCategoryShort: {
                short v = 0;
                r.GetShort(value, v);
                return VelRecTypeShort(name, v);
            }
            case VelRecTypeCategoryInteger: {
                int v = 0;
                r.GetInt(value, v);
                return VelRecTypeInteger(name, v);
            }
            case VelRecTypeCategoryInt64: {
                int64_t v = 0;
                r.GetInt64(value, v);
                return VelRecTypeInt64(name, v);
            }
            case VelRecTypeCategoryFloat: {
                float v = 0;
                r.GetFloat(value, v);
                return VelRecTypeFloat(name, v, r.ReturnString(MemberNamed(r, "dimension")));
            }
            case VelRecTypeCategoryDouble: {
                double v = 0;
                r.GetDouble(value, v);
                return VelRecTypeDouble(name, v, r.ReturnString(MemberNamed(r, "dimension")));
            }
            case VelRecTypeCategoryString:
                return VelRecTypeString(name, r.ReturnString(value));
            case VelRecTypeCategorySymConst: {
                int v = 0;
                int limit = 0;
                r.GetInt(value, v);
                r.GetInt(MemberNamed(r, "limit"), limit);
                return VelRecTypeSymConst(name, limit, v);
            }
        }
        VelASSERT(!"Unrecognized data record member category!");
        return VelRecTypeDataRecordMember();
    }

    VelRecType ReadAssociationType(const VelTypeID& typeID, const VelDynamicID& record) {
        static const char* const links[2] = {"AssociationFirstMember", "AssociationSecondMember"};
        VelRecTypeAssociationMember members[2];
        for (int k = 0; k < 2; ++k) {
            const auto found = Partners(links[k], "association", record);
            VelVALIDATE(found.size() == 1 &&
                        "Damaged record store: an association type without exactly two members");
            const VelDynamicID id = found.front().second;
            const VelDataRecord r = Record(id);
            const int kind = VelTypesForm::EntityKindOfReferenceRecord(r.TypeID());
            int keyType = 0;
            bool ordered = false;
            int minOccurs = 0;
            int maxOccurs = 0;
            r.GetSymb(MemberNamed(r, "keyType"), keyType);
            r.GetBool(MemberNamed(r, "ordered"), ordered);
            r.GetInt(MemberNamed(r, "minOccurs"), minOccurs);
            r.GetInt(MemberNamed(r, "maxOccurs"), maxOccurs);
            const VelRecTypeAssociationMemberOption option =
                VelTypesForm::OptionOfStored(keyType, ordered);
            const cow_String role = r.ReturnString(MemberNamed(r, "roleName"));
            if (kind == VelEntityDataRecord) {
                VelRecTypeEntityTypes targets;
                for (const auto& target : Partners("DataRecordRefTargetTypes", "members", id))
                    targets.Append(TypeIDOf(target.second));
                members[k] =
                    VelRecTypeAssociationMember(role, option, targets, minOccurs, maxOccurs);
            } else {
                members[k] = VelRecTypeAssociationMember(role, option, kind, minOccurs, maxOccurs);
            }
        }
        return VelRecTypeFactory().CreateAssociationType(typeID, members[0], members[1]);
    }

    VelViewRepr& m_view;
};

}  // namespace

const VelTypeRegistry& VelTypeRecords::BuiltIn() {
    return Types().registry;
}

bool VelTypeRecords::IsBuiltIn(const VelTypeID& typeID) {
    return typeID.FormName() == e_TypesForm;
}

VelDynamicID VelTypeRecords::CreateTypeRecord(VelTransactionRepr& transaction,
                                              const VelRecType& type) {
    Writer writer(transaction);
    const VelDataRecordUpdate record =
        writer.NewRecord(VelTypesForm::TypeRecordOf(type.Category()));
    record.SetString(MemberNamed(record, "typeID"), type.TypeID().ToString());
    return record.ID();
}

void VelTypeRecords::WritePending(VelTransactionRepr& transaction) {
    Writer writer(transaction);
    VelViewRepr& view = transaction.View();
    const VelTypeRegistry& registry = view.Registry();
    for (const VelTypeID& id : transaction.m_NewTypes) {
        const int index = registry.FindType(id);
        writer.WriteType(registry.GetType(index), registry.RecordID(index));
        writer.Pair("AllTypes", "forms", registry.RecordID(index), "root", view.FocusID());
    }
    for (const VelTypeID& id : transaction.m_ChangedTypes) {
        const int index = registry.FindType(id);
        writer.ClearType(registry.RecordID(index));
        writer.WriteType(registry.GetType(index), registry.RecordID(index));
    }
    for (const VelDynamicID& record : transaction.m_DroppedTypes) writer.Unlink(record);
    transaction.m_NewTypes.clear();
    transaction.m_ChangedTypes.clear();
    transaction.m_DroppedTypes.clear();
}

void VelTypeRecords::Read(VelViewRepr& view, VelTypeRegistry& registry) {
    Reader reader(view);
    for (const VelDynamicID& record : reader.TypeRecords()) {
        const VelRecType type = reader.ReadType(record);
        registry.AddType(type, record);
        VelVALIDATE(view.SlotOf(type.TypeID()) >= 0 &&
                    "Damaged record store: a registered type has no table");
    }
}
