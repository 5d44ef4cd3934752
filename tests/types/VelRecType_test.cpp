#include "vel/types/VelRecType.h"

#include <gtest/gtest.h>

#include "VelTestSupport.h"
#include "vel/types/VelRecTypeExpandedDataRecord.h"
#include "vel/types/VelRecTypeFactory.h"
#include "vel/types/VelTypeFormManager.h"
#include "vel/types/VelTypeRegistry.h"

namespace {

int Sign(int value) {
    return value < 0 ? -1 : (value > 0 ? 1 : 0);
}

TEST(VelRecTypeMember, ViewsKeepTheirValuesAndSizes) {
    const VelRecTypeFloat f("f", 2.5f, "m/s");
    EXPECT_EQ(f.Dimension(), cow_String("m/s"));
    EXPECT_EQ(VelRecTypeFloat(VelRecTypeDataRecordMember(f)).DefaultValue(), 2.5f);
    EXPECT_EQ(VelRecTypeInt64("l", -5).DefaultValue(), -5);
    EXPECT_EQ(VelRecTypeChar("c", 200).DefaultValue(), 200);
    EXPECT_EQ(VelRecTypeString("s", "text").DefaultValue(), cow_String("text"));

    const VelRecTypeDataRecordMember members[] = {
        VelRecTypeBoolean("b", true), VelRecTypeChar("c", 1),     VelRecTypeShort("s", 1),
        VelRecTypeInteger("i", 1),    VelRecTypeInt64("l", 1),    VelRecTypeFloat("f", 1),
        VelRecTypeDouble("d", 1),     VelRecTypeString("t", "x"), VelRecTypeSymConst(2, 1)};
    const int sizes[] = {4, 4, 4, 4, 8, 4, 8, 4, 4};
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(members[i].Category(), i + 1);
        EXPECT_EQ(members[i].Size(), sizes[i]);
    }
}

TEST(VelRecTypeMember, CompareOrdersDescriptionsWithoutNames) {
    EXPECT_EQ(VelRecTypeInteger("a", 7).Compare(VelRecTypeInteger("b", 7)), 0);
    EXPECT_LT(VelRecTypeBoolean("x", true).Compare(VelRecTypeInteger("x", 0)), 0);
    EXPECT_LT(VelRecTypeBoolean("x", false).Compare(VelRecTypeBoolean("x", true)), 0);
    // Octets order as signed bytes: 200 is below 100.
    EXPECT_LT(VelRecTypeChar("x", 200).Compare(VelRecTypeChar("x", 100)), 0);
    EXPECT_LT(VelRecTypeShort("x", -1).Compare(VelRecTypeShort("x", 1)), 0);
    EXPECT_EQ(VelRecTypeInteger("x", 10).Compare(VelRecTypeInteger("x", 3)), 7);
    EXPECT_GT(VelRecTypeInteger("x", 2147483647).Compare(VelRecTypeInteger("x", -2)), 0);
    EXPECT_GT(VelRecTypeInt64("x", int64_t(1) << 40).Compare(VelRecTypeInt64("x", 1)), 0);
    // Equal values fall back to the dimension.
    EXPECT_LT(VelRecTypeDouble("x", 1.0, "a").Compare(VelRecTypeDouble("x", 1.0, "b")), 0);
    EXPECT_GT(VelRecTypeDouble("x", 2.0, "a").Compare(VelRecTypeDouble("x", 1.0, "b")), 0);
    EXPECT_EQ(VelRecTypeFloat("x", 1.0f, "m").Compare(VelRecTypeFloat("y", 1.0f, "m")), 0);
    EXPECT_LT(Sign(VelRecTypeString("x", "abc").Compare(VelRecTypeString("x", "abd"))), 0);
    // Symbolic constants: the limit first, then the default.
    EXPECT_LT(VelRecTypeSymConst(2, 1).Compare(VelRecTypeSymConst(3, 0)), 0);
    EXPECT_GT(VelRecTypeSymConst(3, 2).Compare(VelRecTypeSymConst(3, 0)), 0);
}

TEST(VelRecTypeMemberDeathTest, ViewsCheckTheirCategoryAndValues) {
    const VelRecTypeInteger integer("i", 1);
    ExpectAssertFailure(VelRecTypeBoolean{integer},
                        "member.Category() == VelRecTypeCategoryBoolean");
    ExpectAssertFailure(VelRecTypeChar{integer}, "member.Category() == VelRecTypeCategoryChar");
    ExpectAssertFailure(VelRecTypeDouble{integer}, "member.Category() == VelRecTypeCategoryDouble");
    ExpectAssertFailure(VelRecTypeSymConst{integer},
                        "member.Category() == VelRecTypeCategorySymConst");
    ExpectAssertFailure(VelRecTypeInteger{VelRecTypeString("s", "")},
                        "member.Category() == VelRecTypeCategoryInteger");

    EXPECT_EQ(VelRecTypeSymConst(1, 0).LimitValue(), 1);
    ExpectAssertFailure(VelRecTypeSymConst(0, 0), "LimitValue() > 0");
    ExpectAssertFailure(VelRecTypeSymConst("s", 3, 3),
                        "DefaultValue() >= 0 && DefaultValue() < LimitValue()");
    ExpectAssertFailure(VelRecTypeSymConst(3, -1),
                        "DefaultValue() >= 0 && DefaultValue() < LimitValue()");
    ExpectValidateFailure(VelRecTypeDataRecordMember().Name(),
                          "m_Repr && \"the member describes nothing\"");
}

TEST(VelRecTypeMemberList, ListsShareTheirAppends) {
    VelRecTypeDataRecordMembers members;
    EXPECT_EQ(members.Count(), 0);
    const VelRecTypeDataRecordMembers shared = members;
    members.Append(VelRecTypeShort("s", 3));
    members.Append(VelRecTypeString("t", ""));
    EXPECT_EQ(members.Count(), 2);
    EXPECT_EQ(members.Get(1).Name(), cow_String("t"));
    // The copy was taken while the list was still unallocated.
    EXPECT_EQ(shared.Count(), 0);
    const VelRecTypeDataRecordMembers later = members;
    members.Append(VelRecTypeInteger("i", 0));
    EXPECT_EQ(later.Count(), 3);
}

TEST(VelRecTypeAssociationMember, SizesFollowKindAndOption) {
    // CSets, ordered CSets, drawers and compartments (kinds 5, 6, 7, 9) take two words.
    const int idSizes[] = {4, 4, 4, 4, 8, 8, 8, 4, 8, 4, 4};
    for (int kind = 1; kind <= 11; ++kind) {
        EXPECT_EQ(VelRecTypeAssociationMember(VelRecTypeUnordered, kind, 0, 1).IDSize(),
                  idSizes[kind - 1])
            << kind;
    }
    VelRecTypeEntityTypes targets;
    targets.Append(VelTypeID("F", 2));
    const VelRecTypeAssociationMember data("role", VelRecTypeStringKey, targets, 1, -1);
    EXPECT_EQ(data.Category(), VelEntityDataRecord);
    EXPECT_EQ(data.IDSize(), 20);
    EXPECT_EQ(VelRecTypeAssociationMember(VelRecTypeOrdered, 66, 0, 1).IDSize(), 20);
    EXPECT_EQ(data.KeySize(), 4);
    EXPECT_EQ(VelRecTypeAssociationMember(VelRecTypeOrdered, 5, 0, 1).KeySize(), 4);
    EXPECT_EQ(VelRecTypeAssociationMember(VelRecTypeUnordered, 5, 0, 1).KeySize(), 0);
    EXPECT_EQ(VelRecTypeAssociationMember(VelRecTypeAssociationMemberOption(7), 5, 0, 1).KeySize(),
              0);

    // The member keeps the targets it was given.
    VelRecTypeEntityTypes sameTargets;
    sameTargets.Append(VelTypeID("F", 2));
    targets.Append(VelTypeID("F", 3));
    EXPECT_EQ(data.EntityTypeCount(), 1);
    EXPECT_EQ(data.EntityType(0), VelTypeID("F", 2));
    // Role names take no part in the order; targets, bounds and options do.
    EXPECT_EQ(data.Compare(VelRecTypeAssociationMember(VelRecTypeStringKey, sameTargets, 1, -1)),
              0);
    EXPECT_NE(
        data.Compare(VelRecTypeAssociationMember("role", VelRecTypeStringKey, targets, 1, -1)), 0);
    EXPECT_NE(
        data.Compare(VelRecTypeAssociationMember("role", VelRecTypeStringKey, sameTargets, 0, -1)),
        0);
    EXPECT_NE(
        data.Compare(VelRecTypeAssociationMember("role", VelRecTypeOrdered, sameTargets, 1, -1)),
        0);
}

TEST(VelRecTypeDeathTest, TypesAreViewedByCategory) {
    const VelRecTypeFactory factory;
    VelRecTypeDataRecordMembers members;
    members.Append(VelRecTypeInteger("b", 1));
    members.Append(VelRecTypeInteger("a", 2));
    const VelRecTypeDataRecord record = factory.CreateDataRecordType(VelTypeID("F", 1), members);
    EXPECT_EQ(record.MemberIndex("a"), 1);
    EXPECT_TRUE(record.BaseTypeID().IsNull());
    ExpectValidateFailure(record.MemberIndex("c"), "pindex");
    ExpectValidateFailure(record.Member(2), "i >=0 && i < m_Size");

    const VelRecTypeAssociation association = factory.CreateAssociationType(
        VelTypeID("F", 2), VelRecTypeAssociationMember(VelRecTypeUnordered, 1, 0, 1),
        VelRecTypeAssociationMember(VelRecTypeOrdered, 5, 0, 1));
    EXPECT_EQ(association.Member(1).Option(), VelRecTypeOrdered);
    ExpectValidateFailure(association.Member(2), "0 == whichMember || 1 == whichMember");

    const VelRecType asType = record;
    EXPECT_EQ(VelRecTypeDataRecord(asType).MemberCount(), 2);
    ExpectValidateFailure(VelRecTypeAssociation{asType},
                          "type.Category() == VelCategoryAssociation");
    ExpectValidateFailure(VelRecTypeDataRecord{VelRecType(association)},
                          "type.Category() == VelCategoryDataRecord");
    ExpectValidateFailure(VelRecTypeDataRecord{VelRecType()},
                          "type.Category() == VelCategoryDataRecord");
}

TEST(VelRecTypeFactoryDeathTest, SchemaAssociationsNeedTwoMembersAndAValidOption) {
    VelTypeFormManagerHolder holder = VelTypeFormManager::New();
    const VelTypeFormManager manager = holder.Get();
    manager.ParseQARN(R"(<form name="F">
        <association name="Three"><cset/><dset/><grid/></association>
        <association name="Keyed"><cset roleName="a" keyType="string" ordered="true"/>
          <dset roleName="b"/></association></form>)");
    const VelTypeForm form = manager.GetForm("F");
    const VelRecTypeFactory factory;
    ExpectValidateFailure(factory.CreateAssociationType(form.TypeAsAssociation(1)),
                          "type.MemberCount() == 2");
    ExpectValidateFailure(factory.CreateAssociationType(form.TypeAsAssociation(0)),
                          "keyType == VelTypeAssociationKeyNone || (keyType == "
                          "VelTypeAssociationKeyString && !ordered)");
    EXPECT_EQ(VelRecTypeFactory::OptionOf(VelTypeAssociationKeyString, false), VelRecTypeStringKey);
    EXPECT_EQ(VelRecTypeFactory::OptionOf(VelTypeAssociationKeyNone, true), VelRecTypeOrdered);
    ExpectValidateFailure(VelRecTypeFactory::OptionOf(7, false), "!\"Invalid key type\"");
}

TEST(VelRecTypeFactory, SchemaRecordsBecomeEqualRecordTypes) {
    VelTypeFormManagerHolder holder = VelTypeFormManager::New();
    const VelTypeFormManager manager = holder.Get();
    manager.ParseQARN(R"(<form name="F">
        <datarecord name="Base"/>
        <datarecord name="R"><base ref="Base"/><string name="z" default="zz"/>
          <double name="d" default="0.5"/><symconst name="s" default="b">
          <enumeration value="b"/><enumeration value="a"/></symconst></datarecord></form>)");
    const VelTypeForm form = manager.GetForm("F");
    const VelTypeSchemaSnapshot snapshot = manager.GetSchemaSnapshot(form, 0);
    const VelRecTypeFactory factory;
    const VelRecTypeDataRecord fromSchema = factory.CreateDataRecordType(
        snapshot.TypeAsDataRecord(snapshot.GetTypePositionByName(form, "R")));
    EXPECT_EQ(fromSchema.BaseTypeID(), form.GetTypeID("Base"));
    ASSERT_EQ(fromSchema.MemberCount(), 3);
    EXPECT_EQ(VelRecTypeSymConst(fromSchema.Member(1)).DefaultValue(), 1);

    VelRecTypeDataRecordMembers members;
    members.Append(VelRecTypeDouble("other name", 0.5));
    members.Append(VelRecTypeSymConst(2, 1));
    members.Append(VelRecTypeString("z", "zz"));
    const VelRecTypeDataRecord built =
        factory.CreateDataRecordType(form.GetTypeID("R"), form.GetTypeID("Base"), members);
    EXPECT_TRUE(fromSchema == built);
    EXPECT_FALSE(fromSchema == factory.CreateDataRecordType(form.GetTypeID("R"), members));
    EXPECT_FALSE(fromSchema ==
                 factory.CreateDataRecordType(form.GetTypeID("R"), form.GetTypeID("Base")));
}

// A registry holding the chain T0 <- T1 <- ... <- Tn, each with one member.
void RegisterChain(VelTypeRegistry& registry, int bases) {
    const VelRecTypeFactory factory;
    for (int i = 0; i <= bases; ++i) {
        VelRecTypeDataRecordMembers members;
        members.Append(i % 2 ? VelRecTypeDataRecordMember(VelRecTypeInt64("m", i))
                             : VelRecTypeDataRecordMember(VelRecTypeShort("m", 0)));
        const VelTypeID base = i == 0 ? VelTypeID() : VelTypeID("F", i - 1);
        registry.AddType(factory.CreateDataRecordType(VelTypeID("F", i), base, members),
                         VelDynamicID(64, 1, i, 0));
    }
}

TEST(VelRecTypeExpandedDataRecordDeathTest, ChainsFlattenBaseFirstUpToTheDepthLimit) {
    VelTypeRegistry registry;
    RegisterChain(registry, 1023);
    const VelRecTypeDataRecord deepest(registry.GetType(1023));
    const VelRecTypeExpandedDataRecord expanded(deepest, registry);
    ASSERT_EQ(expanded.MemberCount(), 1024);
    EXPECT_EQ(VelRecTypeShort(expanded.Member(0)).DefaultValue(), 0);
    EXPECT_EQ(VelRecTypeInt64(expanded.Member(1023)).DefaultValue(), 1023);
    EXPECT_EQ(expanded.MemberOffset(1), 4);
    EXPECT_EQ(expanded.MemberOffset(2), 12);
    EXPECT_EQ(expanded.RecordSize(), 512 * 4 + 512 * 8);
    EXPECT_TRUE(expanded.IsA(VelTypeID("F", 0)));
    EXPECT_FALSE(VelRecTypeExpandedDataRecord(VelRecTypeDataRecord(registry.GetType(5)), registry)
                     .IsA(VelTypeID("F", 6)));

    VelTypeRegistry deeper;
    RegisterChain(deeper, 1024);
    ExpectValidateFailure(
        VelRecTypeExpandedDataRecord(VelRecTypeDataRecord(deeper.GetType(1024)), deeper),
        "depth < 1024 && \"The inheritance depth limit of 1024 exceeded\"");
    const VelRecTypeDataRecord orphan =
        VelRecTypeFactory().CreateDataRecordType(VelTypeID("G", 0), VelTypeID("G", 1));
    ExpectValidateFailure(VelRecTypeExpandedDataRecord(orphan, registry),
                          "baseIndex >= 0 && registry.TypeCount()");
}

TEST(VelTypeRegistryDeathTest, IdentifiersAreUniqueAndLockedTypesStay) {
    VelTypeRegistry registry;
    RegisterChain(registry, 2);
    EXPECT_EQ(registry.TypeCount(), 3);
    EXPECT_EQ(registry.FindType(VelTypeID("F", 2)), 2);
    EXPECT_EQ(registry.FindType(VelTypeID("F", 3)), -1);
    EXPECT_EQ(registry.FindRecord(VelDynamicID(64, 1, 1, 0)), 1);
    EXPECT_EQ(registry.FindRecord(VelDynamicID(64, 2, 1, 0)), -1);
    EXPECT_EQ(registry.RecordID(2), VelDynamicID(64, 1, 2, 0));

    const VelRecTypeFactory factory;
    ExpectValidateFailure(registry.AddType(factory.CreateDataRecordType(VelTypeID("F", 1)),
                                           VelDynamicID(64, 1, 9, 0)),
                          "!\"Type with this TypeID already exists\"");
    ExpectValidateFailure(registry.AddType(factory.CreateDataRecordType(VelTypeID("F", 9)),
                                           VelDynamicID(64, 1, 1, 0)),
                          "!\"Type with this record ID already exists\"");

    // Updates stay beside the registered types until committed or dropped.
    const VelRecTypeDataRecord bare = factory.CreateDataRecordType(VelTypeID("F", 1));
    registry.UpdateType(1, bare);
    EXPECT_TRUE(registry.IsTypeModified(1));
    EXPECT_FALSE(registry.IsTypeModified(0));
    EXPECT_EQ(registry.ModifiedTypeCount(), 1);
    EXPECT_EQ(VelRecTypeDataRecord(registry.GetType(1)).MemberCount(), 0);
    registry.DiscardChanges();
    EXPECT_EQ(VelRecTypeDataRecord(registry.GetType(1)).MemberCount(), 1);
    registry.UpdateType(1, bare);
    // Types registered while changes are pending are tracked as well.
    for (int i = 3; i < 40; ++i) {
        registry.AddType(factory.CreateDataRecordType(VelTypeID("F", i)),
                         VelDynamicID(64, 1, i, 0));
    }
    registry.UpdateType(39, factory.CreateDataRecordType(VelTypeID("F", 39), VelTypeID("F", 0)));
    EXPECT_EQ(registry.ModifiedTypeCount(), 2);
    registry.CommitChanges();
    EXPECT_EQ(registry.ModifiedTypeCount(), 0);
    EXPECT_FALSE(registry.IsTypeModified(39));
    EXPECT_EQ(VelRecTypeDataRecord(registry.GetType(1)).MemberCount(), 0);
    EXPECT_EQ(VelRecTypeDataRecord(registry.GetType(39)).BaseTypeID(), VelTypeID("F", 0));

    ExpectValidateFailure(registry.UpdateType(2, bare),
                          "type.TypeID() == registered.TypeID() && type.Category() == "
                          "registered.Category() && \"An updated type must keep its TypeID and "
                          "category\"");
    ExpectValidateFailure(registry.IsTypeLocked(40), "i >=0 && i < m_Count");
    EXPECT_FALSE(registry.IsTypeLocked(1));
    registry.LockType(1);
    EXPECT_TRUE(registry.IsTypeLocked(1));
    ExpectValidateFailure(registry.UpdateType(1, bare),
                          "!IsTypeLocked(index) && \"Error updating type because it was used to "
                          "create or read records\"");
}

}  // namespace
