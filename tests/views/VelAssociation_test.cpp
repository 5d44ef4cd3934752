// Associations: the insertion rules per member option, removal by identifier, position and key
// with positions closed up, the occurrence bounds at commit, participants checked against their
// member, and the three record selections, read back after a reopen.
#include <string>
#include <vector>

#include "VelViewsTestSupport.h"

namespace {

class VelAssociationTest : public VelViewsTest {
protected:
    void SetUp() override {
        VelViewsTest::SetUp();
        m_view = Context().NewForm(Snapshot(1));
        m_transaction.reset(new VelTransactionExtend(m_view));
        m_transaction->CreateTypes(Snapshot(1));
        for (int i = 0; i < 4; ++i) m_parts.push_back(NewPart(i));
    }
    void TearDown() override {
        m_transaction.reset();
        VelViewsTest::TearDown();
    }

    VelDynamicID NewPart(int value) const {
        const VelDataRecordUpdate part = m_transaction->CreateDataRecord(TypeOf("Part"));
        part.SetInt(kI, value);
        return part.ID();
    }
    VelAssociationUpdate Update(const char* association) const {
        return m_transaction->UpdateAssociation(m_view.AssociationID(TypeOf(association)));
    }
    // The other participants of `id` as member `which`, in the selection list's order.
    std::vector<VelDynamicID> List(const VelAssociation& a, int which, const VelDynamicID& id) {
        const VelSelectionList list(a, which, id);
        std::vector<VelDynamicID> ids;
        for (int i = 0; i < list.Count(); ++i) ids.push_back(list.Get(i));
        return ids;
    }

    VelViewUpdateForm m_view;
    std::unique_ptr<VelTransactionExtend> m_transaction;
    std::vector<VelDynamicID> m_parts;
};

using VelAssociationDeathTest = VelAssociationTest;

// Assembly: member 0 "parent" (unordered, at most one per part), member 1 "parts" (ordered).
TEST_F(VelAssociationTest, OrderedPositionsOpenOnInsertionAndCloseOnRemoval) {
    const VelAssociationUpdate assembly = Update("Assembly");
    const VelDynamicID& p = m_parts[0];
    assembly.Insert(p, m_parts[1]);     // next position: 0
    assembly.Insert(p, m_parts[3], 1);  // position 1
    assembly.Insert(p, m_parts[2], 1);  // in between: the part at 1 moves to 2
    EXPECT_EQ(List(assembly, 0, p),
              (std::vector<VelDynamicID>{m_parts[1], m_parts[2], m_parts[3]}));
    assembly.Remove(0, p, 1);
    EXPECT_EQ(List(assembly, 0, p), (std::vector<VelDynamicID>{m_parts[1], m_parts[3]}));
    // Dense again: position 1 is now the last part, and 2 would be a new one.
    assembly.Remove(0, 1, p);
    EXPECT_EQ(List(assembly, 0, p), (std::vector<VelDynamicID>{m_parts[1]}));
    EXPECT_EQ(List(assembly, 1, m_parts[1]), (std::vector<VelDynamicID>{p}));
    EXPECT_EQ(assembly.PairCount(), 1);

    // Regions: the ordered member is the first, "members", and a CSet the second.
    const VelAssociationUpdate regions = Update("Regions");
    const VelDynamicID nodes(VelIDCategoryCSet, m_context.Value(), 3, 1);
    regions.Insert(m_parts[1], nodes);
    regions.Insert(m_parts[3], nodes);
    regions.Insert(m_parts[2], 1, nodes);
    EXPECT_EQ(List(regions, 1, nodes),
              (std::vector<VelDynamicID>{m_parts[1], m_parts[2], m_parts[3]}));
    m_transaction->Commit();
    m_view.Publish();
    Reopen();
    const VelViewRead read = Context().View(Snapshot(1));
    const VelAssociation stored = read.Association(read.AssociationID(TypeOf("Assembly")));
    EXPECT_EQ(List(stored, 0, Here(p)), (std::vector<VelDynamicID>{Here(m_parts[1])}));
    const VelAssociation regionsStored = read.Association(read.AssociationID(TypeOf("Regions")));
    EXPECT_EQ(List(regionsStored, 1, Here(nodes)),
              (std::vector<VelDynamicID>{Here(m_parts[1]), Here(m_parts[2]), Here(m_parts[3])}));
}

TEST_F(VelAssociationDeathTest, InsertionRulesPerMemberOption) {
    const VelAssociationUpdate assembly = Update("Assembly");
    const VelDynamicID& p = m_parts[0];
    ExpectValidateFailure(
        assembly.Insert(p, m_parts[1], 1),
        "newMembSecond.m_Position >= 0 && newMembSecond.m_Position <= maxPosSecond + 1");
    assembly.Insert(p, m_parts[1], 0);
    ExpectValidateFailure(assembly.Insert(p, m_parts[1]), "newMembFirst.m_ID != oldMembFirst.m_ID");
    ExpectValidateFailure(
        Update("Regions").Insert(p, 1, VelDynamicID(VelIDCategoryCSet, m_context.Value(), 3, 1)),
        "newMembFirst.m_Position >= 0 && newMembFirst.m_Position <= maxPosFirst + 1");
    ExpectValidateFailure(assembly.Insert(m_parts[2], m_parts[3], "k"),
                          "(!given.hasKey || option == VelRecTypeStringKey) && \"A key was given "
                          "for a member that is not keyed by string\"");

    // Labels: member 0 "label" keyed by string, member 1 "owner".
    const VelAssociationUpdate labels = Update("Labels");
    labels.Insert(m_parts[1], "front", p);
    labels.Insert(m_parts[2], cow_String("back"), p);
    ExpectValidateFailure(labels.Insert(m_parts[3], "front", p),
                          "newMembFirst.m_Key.String() != oldMembFirst.m_Key.String()");
    // One label stands once for an owner, whatever its key.
    ExpectValidateFailure(labels.Insert(m_parts[1], "side", p),
                          "newMembSecond.m_ID != oldMembSecond.m_ID");
    ExpectValidateFailure(labels.Insert(m_parts[2], p),
                          "(option != VelRecTypeStringKey || given.hasKey) && \"A member keyed by "
                          "string needs a key\"");

    // Catalog: the focus, and records of Bolt only.
    const VelAssociationUpdate catalog = Update("Catalog");
    ExpectValidateFailure(catalog.Insert(p, m_transaction->FocusID()),
                          "allowed && \"The record's type is not a target type of the "
                          "association member\"");
    const VelDynamicID bolt = m_transaction->CreateDataRecord(TypeOf("Bolt")).ID();
    ExpectValidateFailure(catalog.Insert(bolt, p),
                          "id == m_Focus && \"The participant is not the view's focus\"");
    catalog.Insert(bolt, m_transaction->FocusID());

    // Results: a distribution stands as member 1.
    const VelAssociationUpdate results = Update("Results");
    const VelDynamicID distribution(VelIDCategoryDistribution, m_context.Value(), 7, 0);
    ExpectValidateFailure(
        results.Insert(p, VelDynamicID(VelIDCategoryDSet, m_context.Value(), 7, 0)),
        "id.Category() == kind && \"The participant is not of the member's "
        "kind\"");
    ExpectValidateFailure(
        results.Insert(p, VelDynamicID(VelIDCategoryDistribution, m_context.Value(), 7, 1)),
        "(size == 20 || (FitsInt32(id.First()) && (size == 8 ? FitsInt32(id.Second()) : "
        "id.Second() == 0))) && \"The participant's identifier does not fit the association "
        "member\"");
    results.Insert(p, distribution);
}

TEST_F(VelAssociationDeathTest, RemovalMatchesTheOtherMembersOption) {
    const VelAssociationUpdate assembly = Update("Assembly");
    const VelDynamicID& p = m_parts[0];
    assembly.Insert(p, m_parts[1]);
    ExpectAssertFailure(assembly.Remove(2, p, m_parts[1]), "0 == whichMember || 1 == whichMember");
    ExpectValidateFailure(assembly.Remove(0, p, m_parts[1]),
                          "m_Type.Member(otherMember).Option() == VelRecTypeUnordered");
    ExpectValidateFailure(assembly.Remove(1, m_parts[1], 0),
                          "m_Type.Member(otherMember).Option() == VelRecTypeOrdered");
    ExpectValidateFailure(assembly.Remove(0, p, "k"),
                          "m_Type.Member(otherMember).Option() == VelRecTypeStringKey");
    assembly.Remove(1, m_parts[1], p);
    ExpectValidateFailure(assembly.Remove(1, m_parts[1], p), "!\"Record for deletion not found.\"");

    const VelAssociationUpdate labels = Update("Labels");
    labels.Insert(m_parts[1], "front", p);
    labels.Insert(m_parts[2], "back", p);
    labels.Remove(1, p, "front");
    ExpectValidateFailure(labels.Remove(1, cow_String("front"), p),
                          "!\"Record for deletion not found.\"");
    // The removed pair's key is free again.
    labels.Insert(m_parts[3], "front", p);
    EXPECT_EQ(VelSelectionMap(labels, 1, p).Get("front"), m_parts[3]);
    labels.RemoveAll(1, p);
    EXPECT_EQ(labels.PairCount(), 0);
}

// Pairing: each participant of "b" needs at least two of "a"; Assembly: a part has at most one
// parent; Catalog's items are unbounded.
TEST_F(VelAssociationDeathTest, OccurrenceBoundsAreCheckedAtCommit) {
    const VelAssociationUpdate pairing = Update("Pairing");
    pairing.Insert(m_parts[0], m_parts[3]);
    ExpectValidateFailure(m_transaction->Commit(), "count >= minOccursSecond");
    pairing.Insert(m_parts[1], m_parts[3]);

    const VelAssociationUpdate assembly = Update("Assembly");
    assembly.Insert(m_parts[0], m_parts[2]);
    assembly.Insert(m_parts[1], m_parts[2]);
    ExpectValidateFailure(m_transaction->Commit(),
                          "maxOccursSecond > 0 && count <= maxOccursSecond");
    assembly.Remove(0, m_parts[1], 0);

    const VelAssociationUpdate results = Update("Results");
    for (int d = 0; d < 3; ++d)
        results.Insert(m_parts[0],
                       VelDynamicID(VelIDCategoryDistribution, m_context.Value(), d, 0));
    ExpectValidateFailure(m_transaction->Commit(), "maxOccursFirst > 0 && count <= maxOccursFirst");
    results.RemoveAll(0, m_parts[0]);

    const VelAssociationUpdate catalog = Update("Catalog");
    for (int i = 0; i < 5; ++i) {
        catalog.Insert(m_transaction->CreateDataRecord(TypeOf("Bolt")).ID(),
                       m_transaction->FocusID());
    }
    m_transaction->Commit();
    EXPECT_EQ(m_view.Association(m_view.AssociationID(TypeOf("Catalog"))).PairCount(), 5);
}

TEST_F(VelAssociationDeathTest, SelectionsReadBackAfterReopen) {
    const VelDynamicID& p = m_parts[0];
    const VelAssociationUpdate labels = Update("Labels");
    labels.Insert(m_parts[3], "zeta", p);
    labels.Insert(m_parts[1], "alpha", p);
    labels.Insert(m_parts[2], "mid", p);
    const VelAssociationUpdate results = Update("Results");
    results.Insert(p, VelDynamicID(VelIDCategoryDistribution, m_context.Value(), 9, 0));
    results.Insert(p, VelDynamicID(VelIDCategoryDistribution, m_context.Value(), -2, 0));
    m_transaction->Commit();
    m_view.Publish();
    Reopen();
    const VelViewRead read = Context().View(Snapshot(1));
    const VelAssociation stored = read.Association(read.AssociationID(TypeOf("Labels")));

    const VelSelectionMap map(stored, 1, Here(p));
    EXPECT_EQ(map.Count(), 3);
    EXPECT_EQ(map.Get("mid"), Here(m_parts[2]));
    std::vector<cow_String> keys;
    VelSelectionMapIter it(map);
    for (it.First(); !it.IsDone(); it.Next()) keys.push_back(it.CurrentKey());
    EXPECT_EQ(keys, (std::vector<cow_String>{"alpha", "mid", "zeta"}));
    ExpectValidateFailure(map.Get("beta"), "!\"Key not found.\"");

    // In insertion order, and by identifier: the serials grow with creation.
    const VelSelectionList list(stored, 1, Here(p));
    const VelSelectionSet set(stored, 1, Here(p));
    ASSERT_EQ(list.Count(), 3);
    EXPECT_EQ(list.Get(0), Here(m_parts[3]));
    EXPECT_EQ(set.Get(0), Here(m_parts[1]));
    EXPECT_EQ(set.Get(2), Here(m_parts[3]));
    ExpectValidateFailure(set.Get(3), "i >=0 && i < m_Size");
    ExpectAssertFailure(VelSelectionList(stored, 2, Here(p)),
                        "0 == whichMember || 1 == whichMember");
    ExpectValidateFailure(VelSelectionMap(stored, 0, Here(m_parts[1])),
                          "pairs.Type().Member(1 - whichMember).Option() == VelRecTypeStringKey && "
                          "\"A selection map needs the other member to be keyed by string\"");

    // Identifiers order with the null one first; two null ones are equal.
    const VelAssociationID none, named = read.AssociationID(TypeOf("Labels"));
    EXPECT_EQ(none.Compare(VelAssociationID()), 0);
    EXPECT_LT(none.Compare(named), 0);
    EXPECT_GT(named.Compare(none), 0);

    const VelAssociation distributions = read.Association(read.AssociationID(TypeOf("Results")));
    const VelSelectionSet values(distributions, 0, Here(p));
    ASSERT_EQ(values.Count(), 2);
    EXPECT_EQ(values.Get(0), VelDynamicID(VelIDCategoryDistribution, m_context.Value(), -2, 0));
    EXPECT_EQ(values.Get(1).First(), 9);
}

// Records are grouped by their row while the rows stay dense, and by a hash map otherwise: a
// record first paired far beyond the rows in use keeps its group when later pairs bring the
// rows up to it, before and after a reopen, and a pair repeated through it is still refused.
TEST_F(VelAssociationDeathTest, PairsOfFarAndNearRowsGroupAlike) {
    while (m_parts.size() < 6000) m_parts.push_back(NewPart(static_cast<int>(m_parts.size())));
    const VelAssociationUpdate labels = Update("Labels");
    labels.Insert(m_parts[5999], "far", m_parts[0]);
    for (int n = 3; n < 5000; ++n) labels.Insert(m_parts[n], "k" + std::to_string(n), m_parts[1]);
    labels.Insert(m_parts[5999], "again", m_parts[2]);
    ExpectValidateFailure(labels.Insert(m_parts[5999], "twice", m_parts[0]),
                          "newMembSecond.m_ID != oldMembSecond.m_ID");
    // `parts` are the parts as the context open at the time names them.
    const auto check = [&](const VelAssociation& a, const std::vector<VelDynamicID>& parts) {
        EXPECT_EQ(List(a, 0, parts[5999]), (std::vector<VelDynamicID>{parts[0], parts[2]}));
        EXPECT_EQ(List(a, 1, parts[0]), (std::vector<VelDynamicID>{parts[5999]}));
        EXPECT_EQ(VelSelectionList(a, 1, parts[1]).Count(), 4997);
        EXPECT_EQ(VelSelectionMap(a, 1, parts[1]).Get("k4321"), parts[4321]);
    };
    check(labels, m_parts);
    m_transaction->Commit();
    m_view.Publish();
    Reopen();
    const VelViewRead read = Context().View(Snapshot(1));
    std::vector<VelDynamicID> parts;
    for (const VelDynamicID& part : m_parts) parts.push_back(Here(part));
    check(read.Association(read.AssociationID(TypeOf("Labels"))), parts);
}

// Participants lists each participant once, in the order of its first live pair, whatever its
// kind: removed pairs leave no participant behind, and the selections of the listed participants
// reach every pair.
TEST_F(VelAssociationDeathTest, ParticipantsReachEveryPair) {
    const VelDynamicID far(VelIDCategoryDistribution, m_context.Value(), 9, 0);
    const VelAssociationUpdate results = Update("Results");
    results.Insert(m_parts[2], far);
    results.Insert(m_parts[0], far);
    results.Insert(m_parts[2], VelDynamicID(VelIDCategoryDistribution, m_context.Value(), 3, 0));
    results.Insert(m_parts[1], far);
    results.Remove(0, m_parts[1], far);
    const auto ids = [](const VelArray<VelDynamicID>& array) {
        std::vector<VelDynamicID> out;
        for (int i = 0; i < array.Size(); ++i) out.push_back(array[i]);
        return out;
    };
    EXPECT_EQ(ids(results.Participants(0)), (std::vector<VelDynamicID>{m_parts[2], m_parts[0]}));
    ExpectAssertFailure(results.Participants(2), "0 == whichMember || 1 == whichMember");
    m_transaction->Commit();
    m_view.Publish();
    Reopen();
    const VelViewRead read = Context().View(Snapshot(1));
    const VelAssociation stored = read.Association(read.AssociationID(TypeOf("Results")));
    const VelArray<VelDynamicID> firsts = stored.Participants(0);
    ASSERT_EQ(firsts.Size(), 2);
    EXPECT_EQ(firsts[0], Here(m_parts[2]));
    int reached = 0;
    for (int i = 0; i < firsts.Size(); ++i)
        reached += VelSelectionList(stored, 0, firsts[i]).Count();
    EXPECT_EQ(reached, stored.PairCount());
    const VelArray<VelDynamicID> seconds = stored.Participants(1);
    ASSERT_EQ(seconds.Size(), 2);
    EXPECT_EQ(seconds[0].First(), 9);
    EXPECT_EQ(seconds[1].First(), 3);
}

// More pairs than one read or copy of the stored table takes (65,536 rows): every owner's labels
// come back from their own rows after a reopen, and after an edition copied the table to add one.
TEST_F(VelAssociationTest, PairsBeyondOneReadPieceReadBackFromTheirOwnRows) {
    while (m_parts.size() < 300) m_parts.push_back(NewPart(static_cast<int>(m_parts.size())));
    const int owners = 220;  // 66,000 pairs, owner by owner
    const VelAssociationUpdate labels = Update("Labels");
    for (int j = 0; j < owners; ++j)
        for (int i = 0; i < 300; ++i)
            labels.Insert(m_parts[i], "k" + std::to_string(i), m_parts[j]);
    m_transaction->Commit();
    m_view.Publish();
    const VelViewUpdateEdition edition = Context().NewEdition(Snapshot(1), m_view);
    {
        VelTransactionEdit t(edition);
        t.UpdateAssociation(edition.AssociationID(TypeOf("Labels")))
            .Insert(m_parts[299], "extra", m_parts[owners]);
        t.Commit();
    }
    edition.Publish();
    Reopen();
    const VelViewRead read = Context().View(Snapshot(1));
    ASSERT_EQ(read.Edition(), 1);
    const VelAssociation stored = read.Association(read.AssociationID(TypeOf("Labels")));
    EXPECT_EQ(VelSelectionMap(stored, 1, Here(m_parts[owners])).Get("extra"), Here(m_parts[299]));
    for (int j : {0, 217, 218, owners - 1}) {
        const VelSelectionMap map(stored, 1, Here(m_parts[j]));
        EXPECT_EQ(map.Count(), 300) << j;
        EXPECT_EQ(map.Get("k299"), Here(m_parts[299])) << j;
    }
}

TEST_F(VelAssociationTest, ModifyAssociationReplacesTheStoredPairs) {
    Update("Assembly").Insert(m_parts[0], m_parts[1]);
    m_transaction->Commit();
    m_transaction.reset(new VelTransactionExtend(m_view));
    const VelAssociationUpdate fresh =
        m_transaction->ModifyAssociation(m_view.AssociationID(TypeOf("Assembly")));
    EXPECT_EQ(fresh.PairCount(), 0);
    fresh.Insert(m_parts[2], m_parts[3]);
    m_transaction->Commit();
    const VelAssociation stored = m_view.Association(m_view.AssociationID(TypeOf("Assembly")));
    EXPECT_EQ(stored.PairCount(), 1);
    EXPECT_EQ(List(stored, 0, m_parts[2]), (std::vector<VelDynamicID>{m_parts[3]}));
    EXPECT_TRUE(List(stored, 0, m_parts[0]).empty());
}

}  // namespace
