#include "vel/types/VelTypesForm.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "VelTestSupport.h"
#include "vel/types/VelRecTypeFactory.h"
#include "vel/types/VelTypeFormManager.h"

namespace {

std::vector<std::string> NamesOfCategory(const VelTypeSchemaSnapshot& snapshot, int category) {
    std::vector<std::string> names;
    for (int i = 0; i < snapshot.TypeCount(); ++i) {
        if (snapshot.TypeCategory(i) == category) names.push_back(snapshot.TypeName(i).str());
    }
    return names;
}

int Position(const VelTypeSchemaSnapshot& snapshot, const char* name) {
    return snapshot.GetTypePositionByName(snapshot.FormSchema(0).Form(), name);
}

VelTypeID IDOf(const char* name) {
    const VelTypeSchemaSnapshot snapshot = VelTypesForm::Snapshot();
    return snapshot.TypeID(Position(snapshot, name));
}

TEST(VelTypesForm, SnapshotHoldsTheDataRecordsAndAssociationsOfTheForm) {
    const VelTypeSchemaSnapshot snapshot = VelTypesForm::Snapshot();
    ASSERT_EQ(snapshot.FormSchemaCount(), 1);
    EXPECT_EQ(snapshot.FormSchema(0).FormName(), cow_String("Types"));
    EXPECT_EQ(snapshot.FormSchema(0).Level(), 1);
    EXPECT_EQ(snapshot.TypeCount(), 29);
    EXPECT_EQ(NamesOfCategory(snapshot, VelCategoryDataRecord).size(), 23u);
    // Snapshot order is identifier order, and the ordinals of one level follow the names.
    EXPECT_EQ(NamesOfCategory(snapshot, VelCategoryAssociation),
              (std::vector<std::string>{"AllTypes", "AssociationFirstMember",
                                        "AssociationSecondMember", "DataRecordBaseType",
                                        "DataRecordMembers", "DataRecordRefTargetTypes"}));
    for (int i = 0; i < snapshot.TypeCount(); ++i) {
        EXPECT_EQ(snapshot.TypeLevel(i), 1);
        EXPECT_EQ(snapshot.TypeID(i), VelTypeID("Types", i));
    }
    EXPECT_TRUE(VelTypesForm::Snapshot() == snapshot);
}

TEST(VelTypesForm, AssociationMemberIsInNameOrderWithItsDefaults) {
    const VelTypeSchemaSnapshot snapshot = VelTypesForm::Snapshot();
    const VelTypeDataRecord record =
        snapshot.TypeAsDataRecord(Position(snapshot, "AssociationMember"));
    ASSERT_EQ(record.MemberCount(), 5);
    const char* names[] = {"keyType", "maxOccurs", "minOccurs", "ordered", "roleName"};
    for (int i = 0; i < 5; ++i) EXPECT_EQ(record.Member(i).MemberName(), cow_String(names[i]));

    const VelTypeSymConstMember keyType(record.Member(0));
    EXPECT_EQ(keyType.LimitValue(), 2);
    EXPECT_EQ(keyType.ValueAsString(0), cow_String("NONE"));
    EXPECT_EQ(keyType.ValueAsString(1), cow_String("STRING"));
    EXPECT_EQ(keyType.ValueFromString("STRING"), 1);
    EXPECT_EQ(keyType.DefaultValue(), 0);
    EXPECT_EQ(keyType.DefaultValueAsString(), cow_String("NONE"));
    EXPECT_EQ(VelTypeIntMember(record.Member(1)).DefaultValue(), 1);
    EXPECT_EQ(VelTypeIntMember(record.Member(2)).DefaultValue(), 0);
    EXPECT_FALSE(VelTypeBoolMember(record.Member(3)).DefaultValue());
    EXPECT_TRUE(VelTypeBoolMember(record.Member(3)).HasDefault());
    EXPECT_FALSE(VelTypeStringMember(record.Member(4)).HasDefault());

    // The reference records take their members from AssociationMember.
    const VelTypeDataRecordFlat csetRef =
        snapshot.TypeAsDataRecordFlat(Position(snapshot, "CSetRef"));
    EXPECT_EQ(csetRef.DataRecordType().BaseTypeID(), IDOf("AssociationMember"));
    EXPECT_EQ(csetRef.MemberCount(), 5);
    EXPECT_EQ(csetRef.GetMemberPositionByName("roleName"), 4);
    EXPECT_TRUE(csetRef.IsA(IDOf("AssociationMember")));
}

TEST(VelTypesForm, AssociationsConvertToRecordTypes) {
    const VelTypeSchemaSnapshot snapshot = VelTypesForm::Snapshot();
    const VelRecTypeFactory factory;
    const VelRecTypeAssociation members = factory.CreateAssociationType(
        snapshot.TypeAsAssociation(Position(snapshot, "DataRecordMembers")));
    // Role names sort "members" before "owner".
    EXPECT_EQ(members.Member(0).RoleName(), cow_String("members"));
    EXPECT_EQ(members.Member(0).Option(), VelRecTypeOrdered);
    EXPECT_EQ(members.Member(0).MaxOccurs(), VelTypeAssociationUnbounded);
    ASSERT_EQ(members.Member(0).EntityTypeCount(), 9);
    EXPECT_EQ(members.Member(0).EntityType(0), IDOf("BoolMember"));
    EXPECT_EQ(members.Member(0).EntityType(8), IDOf("SymConstMember"));
    EXPECT_EQ(members.Member(0).IDSize(), 20);
    EXPECT_EQ(members.Member(0).KeySize(), 4);
    EXPECT_EQ(members.Member(1).RoleName(), cow_String("owner"));
    EXPECT_EQ(members.Member(1).MinOccurs(), 1);
    EXPECT_EQ(members.Member(1).KeySize(), 0);

    const VelRecTypeAssociation allTypes =
        factory.CreateAssociationType(snapshot.TypeAsAssociation(Position(snapshot, "AllTypes")));
    EXPECT_EQ(allTypes.Member(1).RoleName(), cow_String("root"));
    EXPECT_EQ(allTypes.Member(1).Category(), VelEntityViewFocus);
    EXPECT_EQ(allTypes.Member(1).MaxOccurs(), 1);

    // The flat view of DataRecordType knows every association that names it.
    const VelTypeDataRecordFlat dataRecordType =
        snapshot.TypeAsDataRecordFlat(Position(snapshot, "DataRecordType"));
    std::vector<std::string> names;
    for (int i = 0; i < dataRecordType.AssociationCount(); ++i) {
        names.push_back(dataRecordType.Association(i).TypeName().str());
    }
    EXPECT_EQ(names, (std::vector<std::string>{"AllTypes", "DataRecordBaseType",
                                               "DataRecordMembers", "DataRecordRefTargetTypes"}));
    // CSetRef is named only by the two member associations, as the second member of each.
    const VelTypeDataRecordFlat csetRef =
        snapshot.TypeAsDataRecordFlat(Position(snapshot, "CSetRef"));
    ASSERT_EQ(csetRef.AssociationCount(), 2);
    EXPECT_TRUE(csetRef.CheckType(csetRef.Association(0).Member(1)));
    EXPECT_FALSE(csetRef.CheckType(csetRef.Association(0).Member(0)));
}

TEST(VelTypesForm, StoredRecordsMapToCategoriesBothWays) {
    EXPECT_EQ(VelTypesForm::CategoryOfTypeRecord(VelTypesForm::TypeRecordOf(VelCategoryDataRecord)),
              VelCategoryDataRecord);
    EXPECT_EQ(VelTypesForm::TypeRecordOf(VelCategoryAssociation), IDOf("AssociationType"));
    for (int c = VelRecTypeCategoryBoolean; c <= VelRecTypeCategorySymConst; ++c) {
        const auto category = static_cast<VelRecTypeDataCategory>(c);
        EXPECT_EQ(VelTypesForm::CategoryOfMemberRecord(VelTypesForm::MemberRecordOf(category)),
                  category);
    }
    EXPECT_EQ(VelTypesForm::MemberRecordOf(VelRecTypeCategoryChar), IDOf("OctetMember"));
    const int kinds[] = {1, 2, 3, 5, 7, 8, 9, 10, 11, 64, 66};
    for (int kind : kinds) {
        EXPECT_EQ(VelTypesForm::EntityKindOfReferenceRecord(VelTypesForm::ReferenceRecordOf(kind)),
                  kind);
    }
    EXPECT_EQ(VelTypesForm::ReferenceRecordOf(VelEntityDataRecord), IDOf("DataRecordRef"));
    EXPECT_TRUE(VelTypesForm::ReferenceRecordOf(VelEntityOrderedCSet).IsNull());

    const VelRecTypeAssociationMemberOption options[] = {VelRecTypeUnordered, VelRecTypeOrdered,
                                                         VelRecTypeStringKey};
    for (VelRecTypeAssociationMemberOption option : options) {
        int keyType = -1;
        bool ordered = true;
        VelTypesForm::StoredOption(option, keyType, ordered);
        EXPECT_EQ(VelTypesForm::OptionOfStored(keyType, ordered), option);
    }
}

TEST(VelTypesFormDeathTest, UnknownStoredRecordsAndCombinationsAreRefused) {
    const VelTypeID notAMember = IDOf("AssociationMember");
    ExpectAssertFailure(VelTypesForm::CategoryOfMemberRecord(notAMember),
                        "!\"Unrecognized data record member category!\"");
    ExpectAssertFailure(VelTypesForm::CategoryOfTypeRecord(notAMember),
                        "!\"Unrecognized type category!\"");
    ExpectAssertFailure(VelTypesForm::EntityKindOfReferenceRecord(VelTypeID("Other", 0)),
                        "!\"Unrecognized association member category\"");
    ExpectAssertFailure(VelTypesForm::OptionOfStored(VelTypeAssociationKeyString, true),
                        "!\"Invalid combination of keyType and ordered attributes\"");
    ExpectAssertFailure(VelTypesForm::OptionOfStored(2, false),
                        "!\"Invalid combination of keyType and ordered attributes\"");
}

}  // namespace
