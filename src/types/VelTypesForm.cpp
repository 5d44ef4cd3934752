#include "vel/types/VelTypesForm.h"

#include <cstring>

#include "vel/core/VelAssert.h"
#include "vel/types/VelTypeFormManager.h"

namespace {

struct Named {
    const char* record;
    int code;
};

const Named g_TypeRecords[] = {{"DataRecordType", VelCategoryDataRecord},
                               {"AssociationType", VelCategoryAssociation}};

const Named g_MemberRecords[] = {
    {"BoolMember", VelRecTypeCategoryBoolean},     {"OctetMember", VelRecTypeCategoryChar},
    {"ShortMember", VelRecTypeCategoryShort},      {"IntMember", VelRecTypeCategoryInteger},
    {"Int64Member", VelRecTypeCategoryInt64},      {"FloatMember", VelRecTypeCategoryFloat},
    {"DoubleMember", VelRecTypeCategoryDouble},    {"StringMember", VelRecTypeCategoryString},
    {"SymConstMember", VelRecTypeCategorySymConst}};

// In the order of the form.
const Named g_ReferenceRecords[] = {{"CollectionRef", VelEntityCollection},
                                    {"DistributionRef", VelEntityDistribution},
                                    {"DSetRef", VelEntityDSet},
                                    {"CSetRef", VelEntityCSet},
                                    {"DrawerRef", VelEntityDrawer},
                                    {"GridRef", VelEntityGrid},
                                    {"CompartmentRef", VelEntityCompartment},
                                    {"IndexSetRef", VelEntityIndexSet},
                                    {"PermutationRef", VelEntityPermutation},
                                    {"DataRecordRef", VelEntityDataRecord},
                                    {"ViewFocusRef", VelEntityViewFocus}};

// The parsed form, kept for the life of the process.  The snapshot observes the manager's
// objects, so it is declared after the manager and goes before it.
struct BuiltIn {
    BuiltIn() : manager(VelTypeFormManager::New()) {
        const VelTypeFormManager parser = manager.Get();
        parser.ParseQARN(VelTypesForm::Text());
        form = parser.GetForm("Types");
        VelASSERT(form);
        snapshot = parser.GetSchemaSnapshot(form, 1);
    }
    VelTypeFormManagerHolder manager;
    VelTypeForm form;
    VelTypeSchemaSnapshot snapshot;
};

const BuiltIn& Types() {
    static const BuiltIn builtIn;
    return builtIn;
}

template <size_t N>
VelTypeID RecordOf(const Named (&table)[N], int code) {
    for (const Named& entry : table) {
        if (entry.code == code) return Types().form.GetTypeID(entry.record);
    }
    return VelTypeID();
}

// The entry of the table whose record type is `recordType`, or null.
template <size_t N>
const Named* Find(const Named (&table)[N], const VelTypeID& recordType) {
    const VelTypeSchemaSnapshot& snapshot = Types().snapshot;
    const int position = snapshot.GetTypePositionByID(recordType);
    if (position < 0) return nullptr;
    for (const Named& entry : table) {
        if (snapshot.TypeName(position) == entry.record) return &entry;
    }
    return nullptr;
}

}  // namespace

VelTypeSchemaSnapshot VelTypesForm::Snapshot() {
    return Types().snapshot;
}

VelTypeID VelTypesForm::TypeRecordOf(int category) {
    return RecordOf(g_TypeRecords, category);
}

int VelTypesForm::CategoryOfTypeRecord(const VelTypeID& recordType) {
    const Named* entry = Find(g_TypeRecords, recordType);
    if (!entry) VelASSERT(!"Unrecognized type category!");
    return entry->code;
}

VelTypeID VelTypesForm::MemberRecordOf(VelRecTypeDataCategory category) {
    return RecordOf(g_MemberRecords, category);
}

VelRecTypeDataCategory VelTypesForm::CategoryOfMemberRecord(const VelTypeID& recordType) {
    const Named* entry = Find(g_MemberRecords, recordType);
    if (!entry) VelASSERT(!"Unrecognized data record member category!");
    return static_cast<VelRecTypeDataCategory>(entry->code);
}

VelTypeID VelTypesForm::ReferenceRecordOf(int entityKind) {
    return RecordOf(g_ReferenceRecords, entityKind);
}

int VelTypesForm::EntityKindOfReferenceRecord(const VelTypeID& recordType) {
    const Named* entry = Find(g_ReferenceRecords, recordType);
    if (!entry) VelASSERT(!"Unrecognized association member category");
    return entry->code;
}

void VelTypesForm::StoredOption(VelRecTypeAssociationMemberOption option, int& keyType,
                                bool& ordered) {
    VelVALIDATE(option == VelRecTypeUnordered || option == VelRecTypeOrdered ||
                option == VelRecTypeStringKey);
    keyType =
        option == VelRecTypeStringKey ? VelTypeAssociationKeyString : VelTypeAssociationKeyNone;
    ordered = option == VelRecTypeOrdered;
}

VelRecTypeAssociationMemberOption VelTypesForm::OptionOfStored(int keyType, bool ordered) {
    if (!ordered && keyType == VelTypeAssociationKeyNone) return VelRecTypeUnordered;
    if (!ordered && keyType == VelTypeAssociationKeyString) return VelRecTypeStringKey;
    if (ordered && keyType == VelTypeAssociationKeyNone) return VelRecTypeOrdered;
    VelASSERT(!"Invalid combination of keyType and ordered attributes");
    return VelRecTypeUnordered;
}
