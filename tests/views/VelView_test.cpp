// Views and transactions: the kinds' creation checks, one transaction at a time, publishing,
// finding the latest published edition, the roads of an edition, a level upgrade and a
// downgrade through reopen, type locking, and what a dropped transaction leaves behind.
#include <string>

#include "VelViewsTestSupport.h"
#include "views/VelViewRepr.h"
#include "views/VelViewsAccess.h"

namespace {

using VelViewTest = VelViewsTest;
using VelViewDeathTest = VelViewsTest;

// Writes one Part with i = `value` and publishes; returns its identifier.
VelDynamicID PublishPart(const VelViewUpdateForm& view, const VelTypeSchemaSnapshot& snapshot,
                         const VelTypeID& part, int value) {
    VelTransactionExtend t(view);
    t.CreateTypes(snapshot);
    const VelDataRecordUpdate record = t.CreateDataRecord(part);
    record.SetInt(kI, value);
    t.Commit();
    view.Publish();
    return record.ID();
}

TEST_F(VelViewDeathTest, CreationChecksTheKindAgainstTheAncestor) {
    const VelViewUpdateForm plant = PublishedTypes();
    ExpectValidateFailure(Context().NewEdition(Snapshot(2), plant),
                          "type != VelViewRepr::EDITION || snapshot == ancestorSnapshot");
    ExpectValidateFailure(Context().NewLevel(SnapshotOf("Other"), plant),
                          "type != VelViewRepr::LEVEL || schema.Form() == ancestorSchema.Form()");
    ExpectValidateFailure(
        Context().NewForm(SnapshotOf("Other"), plant),
        "type != VelViewRepr::FORM || !ancestorSnapshot || snapshot.Includes(ancestorSnapshot)");
    ExpectValidateFailure(Context().NewForm(VelTypeSchemaSnapshot()),
                          "snapshot && snapshot.FormSchemaCount() > 0");
    ExpectValidateFailure(Context().UpgradeLevel(Snapshot(1), plant),
                          "LevelOf(snapshot) > ancestor.Level() && \"UpgradeLevel: the new level "
                          "must be above the ancestor's\"");
}

TEST_F(VelViewTest, AFormViewExtendingAnotherStartsWithItsRecordsAndFocus) {
    const VelViewUpdateForm plant = Context().NewForm(Snapshot(1));
    const VelDynamicID part = PublishPart(plant, Snapshot(1), TypeOf("Part"), 5);
    const VelViewUpdateForm site = Context().NewForm(SnapshotOf("Site"), plant);
    EXPECT_EQ(site.Name(), "Site-1-0");
    EXPECT_EQ(site.FocusID(), plant.FocusID());
    EXPECT_TRUE(site.AncestorSchema() == Snapshot(1));
    {
        VelTransactionExtend t(site);
        t.CreateTypes(SnapshotOf("Site"));
        t.CreateDataRecord(m_forms.Get().GetForm("Site").GetTypeID("Location"));
        t.Commit();
    }
    site.Publish();
    EXPECT_EQ(IntOf(Context().View(SnapshotOf("Site")).DataRecord(part), kI), 5);
}

TEST_F(VelViewDeathTest, OneTransactionAtATimeAndOnlyOnAnUnpublishedView) {
    const VelViewUpdateForm view = Context().NewForm(Snapshot(1));
    {
        VelTransactionExtend first(view);
        ExpectAssertFailure(VelTransactionExtend{view},
                            "!\"The view already has an active transaction.  Creating another "
                            "transaction is forbidden.\"");
    }
    {
        // The first ended with its scope: a new one is accepted, and a commit ends it too.
        VelTransactionExtend second(view);
        second.CreateTypes(Snapshot(1));
        second.Commit();
        EXPECT_FALSE(second.IsActive());
        ExpectValidateFailure(second.CreateDataRecord(TypeOf("Part")),
                              "m_Token->m_Active && \"The transaction has ended\"");
    }
    VelTransactionExtend third(view);
    ExpectValidateFailure(Context().NewEdition(Snapshot(1), view),
                          "!ancestor->m_activeTransaction && \"A view with an active transaction "
                          "cannot be an ancestor\"");
    ExpectValidateFailure(view.Publish(),
                          "!m_activeTransaction && \"A view cannot be published while a "
                          "transaction is active\"");

    // A published view neither changes nor publishes again.
    const VelViewUpdateForm published = PublishedTypes();
    EXPECT_FALSE(published.IsMutable());
    ExpectAssertFailure(VelTransactionExtend{published},
                        "!\"The view is not mutable.  Creating a transaction is forbidden.\"");
    ExpectValidateFailure(published.Publish(), "!\"This view cannot be published.\"");
}

TEST_F(VelViewDeathTest, SchemasAndSnapshotsAreSetOnceAndTheAncestorFirst) {
    const VelViewUpdateForm view = PublishedTypes();
    VelViewRepr& repr = *VelViewsAccess::Handle(view).Get();
    ExpectValidateFailure(repr.SetSchema(Snapshot(2)),
                          "!m_schema && \"VelViewRepr::SetSchema: schema has already been "
                          "specified for the view.\"");
    ExpectValidateFailure(repr.SetAncestorSchema(Snapshot(1)),
                          "!m_schema && \"VelViewRepr::SetAncestorSchema: ancestor schema cannot "
                          "be set after the schema has been set for the view\"");
    const VelViewUpdateEdition edition = Context().NewEdition(Snapshot(1), view);
    ExpectValidateFailure(VelViewsAccess::Handle(edition)->SetAncestorSchema(Snapshot(1)),
                          "!m_ancestorSchema && \"VelViewRepr::SetAncestorSchema: ancestor "
                          "schema has already been specified for the view.\"");

    const VelViewUpdateForm fresh = Context().NewForm(Snapshot(1));
    VelTransactionExtend t(fresh);
    ExpectValidateFailure(t.CreateTypes(VelTypeSchemaSnapshot()),
                          "snapshot && \"Cannot create types for an empty snapshot!\"");
    ExpectValidateFailure(t.CreateTypes(Snapshot(2)),
                          "schema.FormName() == View().FormName() && schema.Level() == "
                          "View().Level() && \"The snapshot is not of the view's form and "
                          "level\"");
    t.CreateTypes(Snapshot(1));
    ExpectValidateFailure(t.CreateTypes(Snapshot(1)),
                          "!m_snapshot && \"A schema snapshot has already been specified for the "
                          "transaction.\"");
}

TEST_F(VelViewDeathTest, ReadersFindTheLatestPublishedEdition) {
    const VelViewUpdateForm first = Context().NewForm(Snapshot(1));
    PublishPart(first, Snapshot(1), TypeOf("Part"), 1);
    const VelViewUpdateForm second = Context().NewForm(Snapshot(1));
    PublishPart(second, Snapshot(1), TypeOf("Part"), 2);
    // Being written, not published: readers do not see it, but it takes its edition number.
    const VelViewUpdateForm third = Context().NewForm(Snapshot(1));
    EXPECT_EQ(third.Name(), "Plant-1-2");
    Reopen();
    const VelViewRead latest = Context().View("Plant", 1);
    EXPECT_EQ(latest.Name(), "Plant-1-1");
    EXPECT_FALSE(latest.Schema());
    EXPECT_EQ(latest.DataRecordIDs(TypeOf("Part")).Size(), 1);
    ExpectValidateFailure(
        Context().View("Plant", 4),
        "edition != -1 && \"A view with the specified form name and schema level was not found\"");
    ExpectValidateFailure(Context().View("Plan", 1),
                          "edition != -1 && \"A view with the specified form name and schema "
                          "level was not found\"");
}

// The edition's change goes to its own copy of the table: the published ancestor keeps its
// value, and a record the edition did not touch is shared.
TEST_F(VelViewTest, AnEditionChangesRecordsWithoutTouchingItsAncestor) {
    const VelViewUpdateForm original = Context().NewForm(Snapshot(1));
    VelDynamicID changed, kept;
    {
        VelTransactionExtend t(original);
        t.CreateTypes(Snapshot(1));
        const VelDataRecordUpdate a = t.CreateDataRecord(TypeOf("Part"));
        a.SetInt(kI, 10);
        kept = t.CreateDataRecord(TypeOf("Bolt")).ID();
        changed = a.ID();
        t.Commit();
    }
    original.Publish();
    const VelViewUpdateEdition edition = Context().NewEdition(Snapshot(1), original);
    EXPECT_EQ(edition.Name(), "Plant-1-1");
    {
        VelTransactionEdit t(edition);
        t.UpdateDataRecord(changed).SetInt(kI, 11);
        t.Commit();
    }
    edition.Publish();
    EXPECT_EQ(IntOf(original.DataRecord(changed), kI), 10);
    Reopen();
    const VelViewRead latest = Context().View(Snapshot(1));
    EXPECT_EQ(latest.Edition(), 1);
    EXPECT_EQ(IntOf(latest.DataRecord(Here(changed)), kI), 11);
    EXPECT_EQ(latest.DataRecord(Here(kept)).TypeID(), TypeOf("Bolt"));
}

// Both views stay, each read at its own level after a reopen.
TEST_F(VelViewDeathTest, ALevelUpgradeAddsTypesAndADowngradeDropsThem) {
    const VelViewUpdateForm level1 = Context().NewForm(Snapshot(1));
    const VelDynamicID part = PublishPart(level1, Snapshot(1), TypeOf("Part"), 3);
    const VelViewUpdateLevel level2 = Context().UpgradeLevel(Snapshot(2), level1);
    EXPECT_EQ(level2.Name(), "Plant-2-0");
    VelDynamicID extra;
    {
        VelTransactionUpgrade t(level2);
        t.UpdateTypes(Snapshot(2));
        extra = t.CreateDataRecord(TypeOf("Extra")).ID();
        t.Commit();
    }
    level2.Publish();
    ExpectValidateFailure(Context().DowngradeLevel(Snapshot(2), level2),
                          "LevelOf(snapshot) < ancestor.Level() && \"DowngradeLevel: the new "
                          "level must be below the ancestor's\"");
    const VelViewUpdateLevel back = Context().DowngradeLevel(Snapshot(1), level2);
    EXPECT_EQ(back.Name(), "Plant-1-1");
    {
        VelTransactionUpgrade t(back);
        t.UpdateTypes(Snapshot(1));
        t.Commit();
    }
    back.Publish();
    Reopen();
    const VelViewRead upper = Context().View(Snapshot(2));
    EXPECT_EQ(IntOf(upper.DataRecord(Here(part)), kI), 3);
    EXPECT_EQ(IntOf(upper.DataRecord(Here(extra)), 0), 9);
    const VelViewRead lower = Context().View(Snapshot(1));
    EXPECT_EQ(lower.Edition(), 1);
    EXPECT_EQ(IntOf(lower.DataRecord(Here(part)), kI), 3);
    ExpectValidateFailure(lower.DataRecord(Here(extra)), "row < s.m_Rows && \"Record not found\"");
    ExpectValidateFailure(lower.Type(TypeOf("Extra")),
                          "index >= 0 && \"The type is not registered in the view\"");
}

TEST_F(VelViewDeathTest, UpdateTypesRefusesTheSameLevelAndLockedTypes) {
    const VelViewUpdateForm level1 = PublishedTypes();
    const VelViewUpdateLevel same = Context().NewLevel(Snapshot(1), level1);
    {
        VelTransactionUpgrade t(same);
        ExpectValidateFailure(t.UpdateTypes(Snapshot(1)),
                              "!\"The ancestor schema snapshot must have a different level from "
                              "the update snapshot\"");
    }

    // Bolt has records at level 1, and level 3 changes it.
    const VelViewUpdateForm withBolts = Context().NewForm(Snapshot(1));
    PublishPart(withBolts, Snapshot(1), TypeOf("Bolt"), 1);
    const VelViewUpdateLevel level3 = Context().UpgradeLevel(Snapshot(3), withBolts);
    {
        VelTransactionUpgrade t(level3);
        ExpectValidateFailure(t.UpdateTypes(Snapshot(3)),
                              "!IsTypeLocked(index) && \"Error updating type because it was used "
                              "to create or read records\"");
    }

    // Without records of Bolt, the same upgrade goes through and Bolt gets its new member.
    const VelViewUpdateForm partsOnly = Context().NewForm(Snapshot(1));
    PublishPart(partsOnly, Snapshot(1), TypeOf("Part"), 1);
    const VelViewUpdateLevel upgraded = Context().UpgradeLevel(Snapshot(3), partsOnly);
    {
        VelTransactionUpgrade t(upgraded);
        t.UpdateTypes(Snapshot(3));
        const VelDataRecordUpdate bolt = t.CreateDataRecord(TypeOf("Bolt"));
        EXPECT_EQ(bolt.MemberCount(), 11);
        t.Commit();
    }
    upgraded.Publish();
    Reopen();
    EXPECT_EQ(VelRecTypeDataRecord(Context().View(Snapshot(3)).Type(TypeOf("Bolt"))).MemberCount(),
              2);
}

TEST_F(VelViewDeathTest, ASnapshotMustAgreeWithTheStoredTypes) {
    PublishedTypes();
    Reopen();
    // The same form parsed again with another default for Part, and a form lacking most types.
    std::string text = PlantSchema();
    text.replace(text.find("default=\"42\""), 12, "default=\"43\"");
    VelTypeFormManagerHolder changed = VelTypeFormManager::New();
    changed.Get().ParseQARN(text.c_str());
    ExpectValidateFailure(
        Context().View(changed.Get().GetSchemaSnapshot(changed.Get().GetForm("Plant"), 1)),
        "factory.CreateDataRecordType(snapshot.TypeAsDataRecord(i)) == "
        "VelRecTypeDataRecord(m_typeReg.GetType(index))");
    VelTypeFormManagerHolder reduced = VelTypeFormManager::New();
    reduced.Get().ParseQARN(
        "<qarn><form name=\"Plant\"><datarecord name=\"Part\" level=\"1\"><int name=\"i\"/>"
        "</datarecord></form></qarn>");
    ExpectValidateFailure(
        Context().View(reduced.Get().GetSchemaSnapshot(reduced.Get().GetForm("Plant"), 1)),
        "snapshot.GetTypePositionByID(m_typeReg.GetType(i).TypeID()) >= 0");
}

TEST_F(VelViewTest, ADroppedTransactionLeavesNothingBehind) {
    const VelViewUpdateForm view = Context().NewForm(Snapshot(1));
    int64_t firstSerial = 0;
    {
        VelTransactionExtend t(view);
        t.CreateTypes(Snapshot(1));
        firstSerial = t.CreateDataRecord(TypeOf("Part")).ID().First();
    }
    EXPECT_FALSE(view.Schema());
    {
        VelTransactionExtend t(view);
        t.CreateTypes(Snapshot(1));
        t.Commit();
    }
    view.Publish();
    Reopen();
    const VelViewRead read = Context().View(Snapshot(1));
    EXPECT_EQ(read.DataRecordIDs(TypeOf("Part")).Size(), 0);

    // Serial numbers handed out before, even by the dropped transaction, are never handed out
    // again after a reopen.
    const VelViewUpdateForm fresh = Context().NewForm(Snapshot(1));
    EXPECT_GT(fresh.FocusID().First(), firstSerial);
}

TEST_F(VelViewDeathTest, AViewOfAClosedContextRefusesEveryUse) {
    const VelViewUpdateForm view = PublishedTypes();
    VelManager::CloseContext(m_context);
    ExpectValidateFailure(view.DataRecordIDs(TypeOf("Part")),
                          "m_store && \"The view's context has been closed\"");
    m_context = VelManager::OpenContext(m_file.c_str(), hdf_File::OpenFlagsReadOnly, 1);
    ExpectValidateFailure(Context().NewForm(Snapshot(1)),
                          "store.IsWritable() && \"The database is open read-only\"");
}

// A type made by the factory, outside any form's schema, with a base from the schema: its
// records survive a reopen, the view is read by name, and a snapshot without it is refused.
TEST_F(VelViewDeathTest, CreateTypeRegistersATypeOutsideTheSchema) {
    const VelViewUpdateForm view = Context().NewForm(Snapshot(1));
    const VelTypeID scratch("Scratch", 0);
    VelRecTypeDataRecordMembers members;
    members.Append(VelRecTypeInteger("count", 3));
    members.Append(VelRecTypeString("label", "unnamed"));
    VelDynamicID id;
    VelRecTypeDataRecord type = VelRecTypeFactory().CreateDataRecordType(scratch);
    {
        VelTransactionExtend t(view);
        t.CreateTypes(Snapshot(1));
        ExpectValidateFailure(
            t.CreateType(t.TypeFactory().CreateDataRecordType(scratch, VelTypeID("Scratch", 1))),
            "(base.IsNull() || registry.FindType(base) >= 0) && \"The base type must be "
            "registered first\"");
        ExpectValidateFailure(t.CreateType(VelRecType()),
                              "type.Category() == VelCategoryAssociation && \"A record type is a "
                              "data record or an association\"");
        type = t.TypeFactory().CreateDataRecordType(scratch, TypeOf("Part"), members);
        t.CreateType(type);
        const VelDataRecordUpdate record = t.CreateDataRecord(scratch);
        EXPECT_EQ(record.MemberCount(), 11);
        record.SetInt(9, 8);
        id = record.ID();
        t.Commit();
    }
    view.Publish();
    Reopen();
    const VelViewRead read = Context().View("Plant", 1);
    EXPECT_TRUE(VelRecTypeDataRecord(read.Type(scratch)) == type);
    const VelDataRecord record = read.DataRecord(Here(id));
    EXPECT_EQ(IntOf(record, 9), 8);
    EXPECT_EQ(record.ReturnString(10), "unnamed");
    EXPECT_TRUE(record.IsA(TypeOf("Part")));
    ExpectValidateFailure(Context().View(Snapshot(1)),
                          "snapshot.GetTypePositionByID(m_typeReg.GetType(i).TypeID()) >= 0");
}

}  // namespace
