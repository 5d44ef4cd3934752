#include "vel/types/VelTypeSchemaSnapshot.h"

#include <gtest/gtest.h>

#include <string>

#include "VelTestSupport.h"
#include "types/VelTypeRepr.h"
#include "vel/types/VelTypeFormManager.h"

namespace {

class VelTypeSchemaSnapshotTest : public ::testing::Test {
protected:
    VelTypeFormManager Manager() const { return m_Holder.Get(); }
    void Parse(const std::string& text) const { Manager().ParseQARN(cow_String(text)); }
    VelTypeForm Form(const char* name) const { return Manager().GetForm(name); }
    VelTypeSchemaSnapshot Snapshot(const char* form, int level) const {
        return Manager().GetSchemaSnapshot(Form(form), level);
    }
    static std::string Record(const std::string& name, int level, const std::string& body = "") {
        return "<datarecord name=\"" + name + "\" level=\"" + std::to_string(level) + "\">" + body +
               "</datarecord>";
    }

    VelTypeFormManagerHolder m_Holder = VelTypeFormManager::New();
};
using VelTypeSchemaSnapshotDeathTest = VelTypeSchemaSnapshotTest;

TEST_F(VelTypeSchemaSnapshotTest, LevelsShareIdentifiersAndSnapshotsTakeTheLatestDeclaration) {
    Parse("<form name=\"F\">" + Record("Z", 1) + Record("A", 3, "<int name=\"three\"/>") +
          Record("A", 1, "<int name=\"one\"/>") + Record("B", 2) + Record("C", 1) + "</form>");
    const VelTypeForm form = Form("F");
    // Ordinals follow (level, name): A, C, Z at level 1, then B.
    EXPECT_EQ(form.GetTypeID("A"), VelTypeID("F", 0));
    EXPECT_EQ(form.GetTypeID("C"), VelTypeID("F", 1));
    EXPECT_EQ(form.GetTypeID("Z"), VelTypeID("F", 2));
    EXPECT_EQ(form.GetTypeID("B"), VelTypeID("F", 3));
    EXPECT_TRUE(form.GetTypeID("Q").IsNull());
    EXPECT_EQ(form.CurrentLevel(), 3);
    // The form's own list is in (name, level) order: A@1 A@3 B@2 C@1 Z@1.
    EXPECT_EQ(form.TypeAsDataRecord(0).ID(), form.TypeAsDataRecord(1).ID());
    EXPECT_EQ(form.GetTypePositionByID(VelTypeID("F", 0), 2), 0);
    EXPECT_EQ(form.GetTypePositionByID(VelTypeID("F", 0), 0), 1);
    EXPECT_EQ(form.GetTypePositionByID(VelTypeID("F", 3), 1), -1);
    EXPECT_EQ(form.GetTypePositionByID(VelTypeID("F", 4), 3), -1);
    EXPECT_EQ(form.GetTypePositionByID(VelTypeID("G", 0), 3), -1);

    const VelTypeSchemaSnapshot two = Snapshot("F", 2);
    ASSERT_EQ(two.TypeCount(), 4);
    EXPECT_EQ(two.TypeName(0), cow_String("A"));
    EXPECT_EQ(two.TypeLevel(0), 1);
    EXPECT_EQ(two.TypeAsDataRecord(0).Member(0).MemberName(), cow_String("one"));
    EXPECT_EQ(two.GetTypePositionByID(VelTypeID("F", 3)), 3);

    const VelTypeSchemaSnapshot three = Snapshot("F", 3);
    const VelTypeSchemaSnapshot current = Snapshot("F", 0);
    EXPECT_TRUE(three == current);
    EXPECT_EQ(three.TypeLevel(three.GetTypePositionByName(form, "A")), 3);
    EXPECT_EQ(current.TypeAsDataRecord(0).Member(0).MemberName(), cow_String("three"));
    EXPECT_TRUE(Snapshot("F", 2) == two);
    EXPECT_FALSE(two == three);

    // Below every declaration there is nothing; above them all, the current content again,
    // cached separately.
    EXPECT_EQ(Snapshot("F", -1).TypeCount(), 0);
    const VelTypeSchemaSnapshot five = Snapshot("F", 5);
    EXPECT_FALSE(five == three);
    EXPECT_EQ(five.TypeCount(), three.TypeCount());
    EXPECT_EQ(five.FormSchema(0).Level(), 5);
}

TEST_F(VelTypeSchemaSnapshotDeathTest, FormsThatCannotBeSorted) {
    Parse(
        "<qarn><form name=\"Empty\"/><form name=\"Nameless\"><datarecord level=\"1\"/></form>"
        "</qarn>");
    ExpectAssertFailure(Form("Empty").CurrentLevel(), "!m_Sorted && m_Types.Size() > 0");
    ExpectAssertFailure(Snapshot("Empty", 0), "!m_Sorted && m_Types.Size() > 0");
    ExpectValidateFailure(Form("Nameless").TypeCategory(0), "!typeName.Empty()");
    EXPECT_EQ(Form("Empty").TypeCount(), 0);
}

// Form X has levels 1 and 2; the others depend on it.
const char* const g_Dependencies = R"(<qarn>
    <form name="X"><datarecord name="X1" level="1"/><datarecord name="X2" level="2"/></form>
    <form name="Y"><dependency level="1"><include form="X" level="1"/></dependency>
                   <datarecord name="Y1" level="1"/></form>
    <form name="Top">
      <dependency level="1"><include form="Y" level="1"/></dependency>
      <dependency level="3"><include form="X" level="2"/></dependency>
      <datarecord name="T" level="1"/><datarecord name="T" level="3"/></form>
    <form name="Both">
      <dependency level="1"><include form="Y" level="1"/><include form="X" level="2"/>
      </dependency><datarecord name="B" level="1"/></form>
    </qarn>)";

TEST_F(VelTypeSchemaSnapshotTest, DependenciesAreGatheredTransitively) {
    Parse(g_Dependencies);
    // Level 2 of Top uses the dependencies declared for level 1: Y, and through Y, X at 1.
    const VelTypeSchemaSnapshot two = Snapshot("Top", 2);
    ASSERT_EQ(two.FormSchemaCount(), 3);
    EXPECT_EQ(two.FormSchema(0).FormName(), cow_String("Top"));
    EXPECT_EQ(two.GetFormSchemaPosition("X"), 1);
    EXPECT_EQ(two.FormSchema(1).Level(), 1);
    EXPECT_EQ(two.GetFormSchemaPosition("Y"), 2);
    EXPECT_EQ(two.GetFormSchemaPosition("Z"), -1);
    EXPECT_EQ(two.TypeCount(), 3);
    EXPECT_LT(two.GetTypePositionByName(Form("X"), "X2"), 0);
    EXPECT_TRUE(two.TypeForm(two.GetTypePositionByName(Form("Y"), "Y1")) == Form("Y"));
    // Level 3 names X at 2 only.
    const VelTypeSchemaSnapshot three = Snapshot("Top", 3);
    ASSERT_EQ(three.FormSchemaCount(), 2);
    EXPECT_EQ(three.FormSchema(1).Level(), 2);
    EXPECT_GE(three.GetTypePositionByName(Form("X"), "X2"), 0);

    EXPECT_TRUE(two.Includes(Snapshot("Y", 1)));
    EXPECT_TRUE(two.Includes(Snapshot("X", 1)));
    EXPECT_TRUE(two.Includes(two));
    EXPECT_FALSE(Snapshot("Y", 1).Includes(two));
    EXPECT_FALSE(three.Includes(Snapshot("X", 1)));
}

TEST_F(VelTypeSchemaSnapshotTest, CyclicDependenciesEndAtFormsAlreadyGathered) {
    Parse(R"(<qarn><form name="A"><datarecord name="a" level="1"/></form>
             <form name="B"><dependency level="1"><include form="A" level="1"/></dependency>
                            <datarecord name="b" level="1"/></form>
             <form name="A"><dependency level="1"><include form="B" level="1"/></dependency>
             </form></qarn>)");
    const VelTypeSchemaSnapshot a = Snapshot("A", 1);
    EXPECT_EQ(a.FormSchemaCount(), 2);
    EXPECT_EQ(a.TypeCount(), 2);
    EXPECT_TRUE(Snapshot("B", 1).Includes(a));
}

TEST_F(VelTypeSchemaSnapshotDeathTest, AFormAppearsOnceInASnapshotAtOneLevel) {
    Parse(g_Dependencies);
    ExpectValidateFailure(Snapshot("Both", 1),
                          "(!level || *level == ds.Level()) && \"A schema depends on two "
                          "different levels of another schema\"");
    VelTypeSchemaSnapshotRepr snapshot;
    snapshot.AddFormSchema(Form("X"), 1);
    ExpectValidateFailure(snapshot.AddFormSchema(Form("X"), 2),
                          "GetFormSchemaPosition(form.FormName()) == -1");
}

TEST_F(VelTypeSchemaSnapshotTest, FlatTypesSeeTheirInheritance) {
    Parse(R"(<form name="F">
        <datarecord name="Base" level="1"><int name="b"/><int name="shared"/></datarecord>
        <datarecord name="Mid" level="1"><base ref="Base"/></datarecord>
        <datarecord name="Leaf" level="1"><base ref="Mid"/><int name="shared"/>
          <int name="a"/></datarecord>
        <datarecord name="Other" level="1"/>
        <association name="UsesBase" level="1"><data roleName="x"><target ref="Base"/></data>
          <data roleName="y"><target ref="Other"/></data></association>
        <association name="UsesLeaf" level="1"><data roleName="x"><target ref="Leaf"/></data>
          <collection roleName="y"/></association>
      </form>)");
    const VelTypeSchemaSnapshot snapshot = Snapshot("F", 1);
    const VelTypeForm form = Form("F");
    const VelTypeDataRecordFlat leaf =
        snapshot.TypeAsDataRecordFlat(snapshot.GetTypePositionByName(form, "Leaf"));
    EXPECT_EQ(leaf.DataRecordType().TypeName(), cow_String("Leaf"));
    ASSERT_EQ(leaf.MemberCount(), 4);
    const char* order[] = {"b", "shared", "a", "shared"};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(leaf.Member(i).MemberName(), cow_String(order[i]));
    EXPECT_EQ(leaf.GetMemberPositionByName("shared"), 3);
    EXPECT_EQ(leaf.GetMemberPositionByName("b"), 0);
    EXPECT_EQ(leaf.GetMemberPositionByName("none"), -1);
    EXPECT_TRUE(leaf.IsA(form.GetTypeID("Base")));
    EXPECT_TRUE(leaf.IsA(form.GetTypeID("Leaf")));
    EXPECT_FALSE(leaf.IsA(form.GetTypeID("Other")));
    ASSERT_EQ(leaf.AssociationCount(), 2);
    const VelTypeAssociation usesBase = leaf.Association(0);
    EXPECT_EQ(usesBase.TypeName(), cow_String("UsesBase"));
    EXPECT_TRUE(leaf.CheckType(usesBase.Member(usesBase.GetMemberPositionByRoleName("x"))));
    EXPECT_FALSE(leaf.CheckType(usesBase.Member(usesBase.GetMemberPositionByRoleName("y"))));
    const VelTypeAssociation usesLeaf = leaf.Association(1);
    EXPECT_FALSE(leaf.CheckType(usesLeaf.Member(usesLeaf.GetMemberPositionByRoleName("y"))));

    const VelTypeDataRecordFlat base =
        snapshot.TypeAsDataRecordFlat(snapshot.GetTypePositionByName(form, "Base"));
    EXPECT_EQ(base.MemberCount(), 2);
    EXPECT_EQ(base.AssociationCount(), 1);
    EXPECT_FALSE(base.IsA(form.GetTypeID("Leaf")));
}

TEST_F(VelTypeSchemaSnapshotDeathTest, UnresolvableReferencesFailTheSnapshot) {
    Parse(R"(<qarn>
      <form name="NoBase"><datarecord name="R"><base ref="Missing"/></datarecord></form>
      <form name="Elsewhere"><datarecord name="R"><base form="NoBase" ref="R"/></datarecord>
      </form>
      <form name="AssocBase"><association name="A"/>
        <datarecord name="R"><base ref="A"/></datarecord></form>
      <form name="NoTarget"><association name="A"><data><target ref="Missing"/></data>
        </association></form>
      <form name="Cycle"><datarecord name="P"><base ref="Q"/></datarecord>
        <datarecord name="Q"><base ref="P"/></datarecord></form>
      <form name="ThreeMembers"><association name="A"><cset/><dset/><grid/></association></form>
    </qarn>)");
    const char* notFound = "pos >= 0 && \"Base type not found\"";
    ExpectValidateFailure(Snapshot("NoBase", 0), notFound);
    // The base's form takes no part in the snapshot.
    ExpectValidateFailure(Snapshot("Elsewhere", 0), notFound);
    ExpectValidateFailure(Snapshot("AssocBase", 0),
                          "snapshot->TypeCategory(pos) == VelCategoryDataRecord && \"Base type "
                          "must be a data record\"");
    ExpectValidateFailure(Snapshot("NoTarget", 0),
                          "m_TargetTypes[i] != VelTypeID() && \"Target type not found\"");
    ExpectValidateFailure(Snapshot("Cycle", 0),
                          "depth < 1024 && \"The inheritance depth limit of 1024 exceeded\"");
    // A target whose form is gone cannot be resolved either.
    VelTypeAssociationMemberRepr orphan(VelEntityDataRecord);
    orphan.AppendTarget(VelTypeQualifiedName(VelTypeForm(), "R"));
    ExpectValidateFailure(orphan.ResolveTargets(), "form && !typeName.Empty()");

    const VelTypeSchemaSnapshot three = Snapshot("ThreeMembers", 0);
    ExpectValidateFailure(three.TypeAsDataRecordFlat(0),
                          "flat && \"The type is not a data record\"");
    ExpectAssertFailure(three.TypeAsDataRecord(0), "type.Category() == VelCategoryDataRecord");
}

// A chain of data records D0 <- D1 <- ... <- Dn, each deriving from the one before.
std::string Chain(int bases) {
    std::string text = "<form name=\"Deep\"><datarecord name=\"D0\"><int name=\"m\"/></datarecord>";
    for (int i = 1; i <= bases; ++i) {
        text += "<datarecord name=\"D" + std::to_string(i) + "\"><base ref=\"D" +
                std::to_string(i - 1) + "\"/></datarecord>";
    }
    return text + "</form>";
}

TEST_F(VelTypeSchemaSnapshotDeathTest, InheritanceDepthIsLimited) {
    Parse(Chain(1023));
    const VelTypeSchemaSnapshot snapshot = Snapshot("Deep", 0);
    const VelTypeDataRecordFlat deepest =
        snapshot.TypeAsDataRecordFlat(snapshot.GetTypePositionByName(Form("Deep"), "D1023"));
    EXPECT_EQ(deepest.MemberCount(), 1);
    EXPECT_TRUE(deepest.IsA(Form("Deep").GetTypeID("D0")));

    VelTypeFormManagerHolder other = VelTypeFormManager::New();
    other.Get().ParseQARN(cow_String(Chain(1024)));
    ExpectValidateFailure(other.Get().GetSchemaSnapshot(other.Get().GetForm("Deep"), 0),
                          "depth < 1024 && \"The inheritance depth limit of 1024 exceeded\"");
}

TEST_F(VelTypeSchemaSnapshotDeathTest, HandlesOutlivingTheirManagerAreRefused) {
    VelTypeSchemaSnapshot snapshot;
    VelTypeForm form;
    {
        VelTypeFormManagerHolder manager = VelTypeFormManager::New();
        manager.Get().ParseQARN("<form name=\"F\"><datarecord name=\"R\"/></form>");
        form = manager.Get().GetForm("F");
        snapshot = manager.Get().GetSchemaSnapshot(form, 0);
        EXPECT_TRUE(snapshot);
    }
    EXPECT_FALSE(snapshot);
    EXPECT_FALSE(form);
    ExpectAssertFailure(snapshot.TypeCount(), "repr");
    ExpectAssertFailure(form.FormName(), "repr");
}

}  // namespace
