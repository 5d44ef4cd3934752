#include "types/VelQARNReader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>

#include "VelTestSupport.h"
#include "vel/types/VelRecTypeFactory.h"
#include "vel/types/VelTypeFormManager.h"

namespace {

class VelQARNReaderTest : public ::testing::Test {
protected:
    VelTypeFormManager Manager() const { return m_Holder.Get(); }
    void Parse(const std::string& text) const { Manager().ParseQARN(cow_String(text)); }
    // A document with one form "F" around `body`.
    static std::string InForm(const std::string& body) {
        return "<qarn><form name=\"F\">" + body + "</form></qarn>";
    }
    // A document with one data record "R" at level 1 around `body`.
    static std::string InRecord(const std::string& body) {
        return InForm("<datarecord name=\"R\" level=\"1\">" + body + "</datarecord>");
    }
    // A document with one association "A" at level 1 around `body`.
    static std::string InAssociation(const std::string& body) {
        return InForm("<association name=\"A\" level=\"1\">" + body + "</association>");
    }
    VelTypeDataRecord Record(const char* form, int i) const {
        return Manager().GetForm(form).TypeAsDataRecord(i);
    }

    VelTypeFormManagerHolder m_Holder = VelTypeFormManager::New();
};
using VelQARNReaderDeathTest = VelQARNReaderTest;

TEST_F(VelQARNReaderTest, DataMemberDefaultsAreConvertedPerType) {
    Parse(InRecord(R"(<bool name="b1" default="1"/><bool name="b2" default="false"/>
                      <octet name="o" default="300"/><short name="s" default="70000"/>
                      <int name="i" default="  -12abc"/><int name="i0" default=""/>
                      <int64 name="l" default="4294967296"/><int64 name="ln" default="-7"/>
                      <float name="f" default="1.5e2"/><float name="big" default="-1e300"/><double name="d" default="-0.25"/>
                      <string name="t" default="some text"/><string name="u"/>)"));
    const VelTypeDataRecord record = Record("F", 0);
    ASSERT_EQ(record.MemberCount(), 13);
    auto member = [&](const char* name) {
        return record.Member(record.GetMemberPositionByName(name));
    };
    EXPECT_TRUE(VelTypeBoolMember(member("b1")).DefaultValue());
    EXPECT_FALSE(VelTypeBoolMember(member("b2")).DefaultValue());
    EXPECT_EQ(VelTypeOctetMember(member("o")).DefaultValue(), 300 % 256);
    EXPECT_EQ(VelTypeShortMember(member("s")).DefaultValue(), 70000 - 65536);
    EXPECT_EQ(VelTypeIntMember(member("i")).DefaultValue(), -12);
    EXPECT_EQ(VelTypeIntMember(member("i0")).DefaultValue(), 0);
    EXPECT_TRUE(VelTypeIntMember(member("i0")).HasDefault());
    // 2^32 does not survive: int64 defaults are limited to 32 bits.
    EXPECT_EQ(VelTypeInt64Member(member("l")).DefaultValue(), 2147483647);
    EXPECT_EQ(VelTypeInt64Member(member("ln")).DefaultValue(), -7);
    EXPECT_EQ(VelTypeFloatMember(member("f")).DefaultValue(), 150.0f);
    EXPECT_EQ(VelTypeFloatMember(member("big")).DefaultValue(), -HUGE_VALF);
    EXPECT_EQ(VelTypeDoubleMember(member("d")).DefaultValue(), -0.25);
    EXPECT_EQ(VelTypeStringMember(member("t")).DefaultValue(), cow_String("some text"));
    EXPECT_FALSE(VelTypeStringMember(member("u")).HasDefault());
    EXPECT_EQ(VelTypeStringMember(member("u")).DefaultValue(), cow_String(""));
}

TEST_F(VelQARNReaderTest, SymbolicConstantValuesAreNumberedByName) {
    Parse(InRecord(R"(<symconst name="s" default="c"><enumeration value="b"/>
                      <enumeration value="a"/><enumeration value="c"/></symconst>
                      <symconst name="n"><enumeration value="x"/></symconst>
                      <symconst name="z" default="zz"><enumeration value="x"/></symconst>)"));
    const VelTypeDataRecord record = Record("F", 0);
    const VelTypeSymConstMember s(record.Member(record.GetMemberPositionByName("s")));
    EXPECT_EQ(s.LimitValue(), 3);
    EXPECT_EQ(s.ValueFromString("a"), 0);
    EXPECT_EQ(s.ValueFromString("b"), 1);
    EXPECT_EQ(s.ValueFromString("c"), 2);
    EXPECT_EQ(s.ValueFromString("d"), ~0);
    EXPECT_EQ(s.DefaultValue(), 2);
    const VelTypeSymConstMember n(record.Member(record.GetMemberPositionByName("n")));
    EXPECT_FALSE(n.HasDefault());
    EXPECT_EQ(n.DefaultValue(), 0);
    EXPECT_EQ(n.DefaultValueAsString(), cow_String("x"));
    const VelTypeSymConstMember z(record.Member(record.GetMemberPositionByName("z")));
    EXPECT_EQ(z.DefaultValue(), ~0);
}

TEST_F(VelQARNReaderDeathTest, SymbolicConstantsThatCannotBecomeRecordMembers) {
    // A default that names no value, and a symbolic constant without values.
    Parse(InRecord(R"(<symconst name="z" default="zz"><enumeration value="x"/></symconst>)"));
    const VelTypeDataRecordMember z = Record("F", 0).Member(0);
    ExpectAssertFailure(VelRecTypeFactory::DataRecordMemberOf(z),
                        "DefaultValue() >= 0 && DefaultValue() < LimitValue()");
    Parse(R"(<form name="G"><datarecord name="R"><symconst name="e"/></datarecord></form>)");
    ExpectValidateFailure(VelTypeSymConstMember(Record("G", 0).Member(0)).LimitValue(),
                          "!m_Sorted && m_StringValues.Size() > 0");
}

TEST_F(VelQARNReaderTest, AssociationMembersTakeTheirAttributes) {
    Parse(InForm(R"(<association name="A" level="1">
                      <data roleName="d" minOccurs="5" maxOccurs="unbounded" ordered="1"
                            keyType="none"><target ref="R"/></data>
                      <cset roleName="c" ordered="false" keyType="string" maxOccurs="3"/>
                      <focus roleName="f"/></association><datarecord name="R"/>)"));
    const VelTypeAssociation association = Manager().GetForm("F").TypeAsAssociation(0);
    ASSERT_EQ(association.MemberCount(), 3);
    const VelTypeAssociationMember cset = association.Member(0);
    EXPECT_EQ(cset.RoleName(), cow_String("c"));
    EXPECT_EQ(cset.Category(), VelEntityCSet);
    EXPECT_EQ(cset.KeyType(), VelTypeAssociationKeyString);
    EXPECT_FALSE(cset.Ordered());
    EXPECT_EQ(cset.MinOccurs(), 0);
    EXPECT_EQ(cset.MaxOccurs(), 3);
    const VelTypeAssociationMember data = association.Member(1);
    EXPECT_EQ(data.Category(), VelEntityDataRecord);
    EXPECT_EQ(data.MinOccurs(), 5);
    EXPECT_EQ(data.MaxOccurs(), VelTypeAssociationUnbounded);
    EXPECT_TRUE(data.Ordered());
    ASSERT_EQ(data.TargetTypeCount(), 1);
    EXPECT_EQ(data.TargetTypeName(0).TypeName(), cow_String("R"));
    EXPECT_EQ(data.TargetTypeID(0), Manager().GetForm("F").GetTypeID("R"));
    const VelTypeAssociationMember focus = association.Member(2);
    EXPECT_EQ(focus.Category(), VelEntityViewFocus);
    EXPECT_EQ(focus.MaxOccurs(), 1);

    // Every entity element makes a member of its kind.
    const char* elements[] = {"collection", "distribution", "dset",     "cset",       "drawer",
                              "grid",       "compartment",  "indexset", "permutation"};
    const int kinds[] = {1, 2, 3, 5, 7, 8, 9, 10, 11};
    std::string body;
    for (int i = 0; i < 9; ++i) {
        body += "<" + std::string(elements[i]) + " roleName=\"m" + std::to_string(i) + "\"/>";
    }
    Parse("<form name=\"K\"><association name=\"All\">" + body + "</association></form>");
    const VelTypeAssociation all = Manager().GetForm("K").TypeAsAssociation(0);
    for (int i = 0; i < 9; ++i) EXPECT_EQ(all.Member(i).Category(), kinds[i]) << elements[i];
}

TEST_F(VelQARNReaderTest, DocumentationIsSkippedUpToTheFirstEndTag) {
    Parse(R"(<qarn><documentation><form name="Hidden"/><anything/><documentation>
             </documentation></qarn>)");
    EXPECT_EQ(Manager().FormCount(), 0);
    // qarn may appear anywhere, and a document without a form adds nothing.
    Parse("<qarn><qarn/></qarn>");
    EXPECT_EQ(Manager().FormCount(), 0);
    // End tags in the prose are prose too: none of them closes the record or a member.
    Parse(InRecord(R"(<qarn/><documentation type="x"><int/><symconst name="s"></symconst>
                      <datarecord name="D"></datarecord></documentation><int name="i"/>)"));
    EXPECT_EQ(Record("F", 0).MemberCount(), 1);
    EXPECT_EQ(Manager().GetForm("F").TypeCount(), 1);
}

TEST_F(VelQARNReaderTest, FormsOfOneNameMerge) {
    Parse(
        "<qarn><form name=\"F\"><datarecord name=\"A\" level=\"1\"/></form>"
        "<form name=\"F\"><datarecord name=\"B\" level=\"2\"/></form></qarn>");
    Parse("<form name=\"F\"><association name=\"C\" level=\"1\"/></form>");
    const VelTypeForm form = Manager().GetForm("F");
    EXPECT_EQ(Manager().FormCount(), 1);
    ASSERT_EQ(form.TypeCount(), 3);
    EXPECT_EQ(form.CurrentLevel(), 2);
    EXPECT_EQ(form.TypeAsDataRecord(1).TypeName(), cow_String("B"));
    EXPECT_TRUE(form.TypeAsDataRecord(1).Form() == form);
    EXPECT_EQ(form.TypeCategory(2), VelCategoryAssociation);
}

TEST_F(VelQARNReaderDeathTest, AFormReadByPositionTakesNoMoreDeclarations) {
    Parse(InRecord(""));
    EXPECT_EQ(Manager().GetForm("F").CurrentLevel(), 1);
    ExpectValidateFailure(
        Parse(InRecord("")),
        "(m_Types.Size() == 0 || !m_Sorted) && (formHolder->m_Types.Size() == 0 || "
        "!formHolder->m_Sorted)");
}

TEST_F(VelQARNReaderTest, TruncatedDocumentsKeepTheFormsCompletedBeforeTheCut) {
    Parse(
        "<qarn><form name=\"A\"><datarecord name=\"X\" level=\"1\"/></form>"
        "<form name=\"B\"><datarecord name=\"Y\" level=\"1\"/></form><form name=\"C\">"
        "<datarecord name=\"Z\" le");
    EXPECT_EQ(Manager().FormCount(), 2);
    EXPECT_EQ(Manager().GetForm("B").TypeAsDataRecord(0).TypeName(), cow_String("Y"));
    EXPECT_FALSE(Manager().GetForm("C"));
    // Not well-formed from the start, and empty.
    Parse("<<<");
    Parse("");
    EXPECT_EQ(Manager().FormCount(), 2);
}

TEST_F(VelQARNReaderTest, AnotherFormStartDropsTheOpenForm) {
    Parse("<form name=\"A\"><datarecord name=\"X\"/><form name=\"B\"></form></form>");
    EXPECT_FALSE(Manager().GetForm("A"));
    EXPECT_EQ(Manager().GetForm("B").TypeCount(), 0);
}

TEST_F(VelQARNReaderTest, DependenciesNameIncludedSchemas) {
    Parse(
        "<qarn><form name=\"Base\"><datarecord name=\"B\" level=\"1\"/></form>"
        "<form name=\"Top\"><dependency level=\"1\"><include form=\"Base\" level=\"1\"/>"
        "</dependency><datarecord name=\"T\" level=\"1\"><base form=\"Base\" ref=\"B\"/>"
        "</datarecord></form></qarn>");
    const VelTypeForm top = Manager().GetForm("Top");
    const VelTypeSchemaSnapshot snapshot = Manager().GetSchemaSnapshot(top, 1);
    ASSERT_EQ(snapshot.FormSchemaCount(), 2);
    EXPECT_EQ(snapshot.FormSchema(0).FormName(), cow_String("Top"));
    EXPECT_EQ(snapshot.FormSchema(1).FormName(), cow_String("Base"));
    EXPECT_EQ(top.TypeAsDataRecord(0).BaseTypeID(), VelTypeID("Base", 0));
}

// ---- messages -------------------------------------------------------------------------------

TEST_F(VelQARNReaderDeathTest, FormAndDependencyRules) {
    ExpectValidateFailure(Parse("<form/>"),
                          R"(atts[0]!=0 && atts[1]!=0 && !strcmp(atts[0], "name"))");
    ExpectValidateFailure(Parse("<form level=\"1\" name=\"F\"/>"),
                          R"(atts[0]!=0 && atts[1]!=0 && !strcmp(atts[0], "name"))");
    ExpectValidateFailure(Parse("<dependency level=\"1\"/>"), "m_CurrentFormRef");
    ExpectValidateFailure(Parse(InForm("<dependency/>")),
                          R"(atts[0]!=0 && atts[1]!=0 && !strcmp(atts[0], "level"))");
    ExpectValidateFailure(Parse(InForm("<dependency level=\"0\"/>")), "level > 0");
    ExpectValidateFailure(Parse(InForm("<include form=\"F\" level=\"1\"/>")),
                          "m_CurrentDepSchema.Form()");
    Parse("<form name=\"Known\"/>");
    const char* both =
        R"(!"For element <include> both form and positive level number must be specified")";
    ExpectValidateFailure(Parse(InForm("<dependency level=\"1\"><include level=\"1\"/>")), both);
    ExpectValidateFailure(
        Parse(InForm("<dependency level=\"1\"><include form=\"Unknown\" level=\"1\"/>")), both);
    ExpectValidateFailure(
        Parse(InForm("<dependency level=\"1\"><include form=\"Known\" level=\"0\"/>")), both);
    ExpectValidateFailure(
        Parse(InForm("<dependency level=\"1\"><include form=\"Known\" other=\"1\"/>")),
        R"(!"Invalid attribute for <include>, expected: \"level\" or \"form\"")");
    ExpectValidateFailure(Parse(InForm("<dependency level=\"1\"><include form=\"Known\" "
                                       "level=\"1\"/><include form=\"Known\" level=\"2\"/>")),
                          R"(!"Target form specified more than once in a form dependency")");
}

TEST_F(VelQARNReaderDeathTest, TypeDeclarationRules) {
    ExpectValidateFailure(Parse("<association name=\"A\"/>"),
                          "m_CurrentFormHolder && m_CurrentFormRef");
    ExpectValidateFailure(Parse("<datarecord name=\"R\"/>"),
                          "m_CurrentFormHolder && m_CurrentFormRef");
    ExpectValidateFailure(
        Parse(InForm("<association name=\"A\" form=\"F\"/>")),
        R"(!"Invalid attribute for <association>, expected: \"level\" or \"form\"")");
    ExpectValidateFailure(
        Parse(InForm("<datarecord nom=\"R\"/>")),
        R"(!"Invalid attribute for <datarecord>, expected: \"level\" or \"name\"")");
    // The end tags find their declaration taken away by an inner declaration or form.
    ExpectValidateFailure(Parse(InForm("<association name=\"A\"><form name=\"G\"/></association>")),
                          "m_CurrentFormHolder && m_CurrentAssociation");
    ExpectValidateFailure(Parse(InForm("<datarecord name=\"R\"><form name=\"G\"/></datarecord>")),
                          "m_CurrentFormHolder && m_CurrentDataRecord");
}

TEST_F(VelQARNReaderDeathTest, AssociationMemberRules) {
    for (const char* element : {"data", "cset", "focus"}) {
        ExpectValidateFailure(Parse(InForm("<" + std::string(element) + "/>")),
                              "m_CurrentAssociation");
    }
    const char* datarecordMessage =
        R"(!"Invalid attribute for <datarecord>, expected: \"level\" or \"name\"")";
    ExpectValidateFailure(Parse(InAssociation("<collection name=\"c\"/>")), datarecordMessage);
    ExpectValidateFailure(Parse(InAssociation("<data level=\"1\">")), datarecordMessage);
    ExpectValidateFailure(
        Parse(InAssociation("<grid ordered=\"yes\"/>")),
        R"(!"Invalid value for attribute \"ordered\"; expected \"true\", \"1\", \"false\" or \"0\"")");
    ExpectValidateFailure(
        Parse(InAssociation("<drawer keyType=\"int\"/>")),
        R"(!"Invalid value for attribute \"ordered\"; expected \"none\" or \"string\"")");
    ExpectValidateFailure(Parse(InAssociation("<focus minOccurs=\"1\"/>")),
                          R"(!"Invalid attribute for <focus>; expected \"roleName\"")");
    // Bounds: entity members at the start tag, data members at the end tag.
    ExpectValidateFailure(
        Parse(InAssociation("<cset minOccurs=\"2\" maxOccurs=\"1\"/>")),
        "member->MaxOccurs() == VelTypeAssociationUnbounded || member->MinOccurs() <= "
        "member->MaxOccurs()");
    ExpectValidateFailure(Parse(InAssociation("<data minOccurs=\"2\" maxOccurs=\"1\"></data>")),
                          "m_CurrentDataMember->MaxOccurs() == VelTypeAssociationUnbounded || "
                          "m_CurrentDataMember->MinOccurs() <= m_CurrentDataMember->MaxOccurs()");
    ExpectValidateFailure(Parse(InAssociation("<data><association name=\"B\"/></data>")),
                          "m_CurrentAssociation && m_CurrentDataMember");
}

TEST_F(VelQARNReaderDeathTest, TargetAndBaseRules) {
    ExpectValidateFailure(Parse(InAssociation("<target ref=\"R\"/>")),
                          "m_CurrentFormRef && m_CurrentDataMember");
    ExpectValidateFailure(Parse(InAssociation("<data><target ref=\"R\" level=\"1\"/></data>")),
                          R"(!"Invalid attribute for <target>, expected: \"ref\" or \"form\"")");
    ExpectValidateFailure(Parse(InAssociation("<data><target ref=\"R\" form=\"No\"/></data>")),
                          R"(!"<target> referring to a nonexisting form")");
    ExpectValidateFailure(Parse(InAssociation("<data><target ref=\"\"/></data>")),
                          R"(!"Type name of <target> must not be empty")");
    ExpectValidateFailure(Parse(InAssociation("<data><target/></data>")),
                          R"(!"Type name of <target> must not be empty")");
    ExpectValidateFailure(Parse(InForm("<base ref=\"R\"/>")),
                          "m_CurrentFormRef && m_CurrentDataRecord");
    ExpectValidateFailure(Parse(InRecord("<base name=\"R\"/>")),
                          R"(!"Invalid attribute for <base>, expected: \"ref\" or \"form\"")");
    ExpectValidateFailure(Parse(InRecord("<base ref=\"R\" form=\"No\"/>")),
                          R"(!"<base> referring to a nonexisting form")");
    ExpectValidateFailure(Parse(InRecord("<base/>")),
                          R"(!"Type name of <base> must not be empty")");
}

TEST_F(VelQARNReaderDeathTest, DataMemberRules) {
    for (const char* element :
         {"bool", "octet", "short", "int", "int64", "float", "double", "string", "symconst"}) {
        ExpectValidateFailure(Parse(InForm("<" + std::string(element) + "/>")),
                              "m_CurrentDataRecord");
    }
    for (const char* element :
         {"bool", "octet", "short", "int", "int64", "float", "double", "string"}) {
        ExpectValidateFailure(Parse(InRecord("<" + std::string(element) + " size=\"1\"/>")),
                              "!\"Invalid attribute for <" + std::string(element) +
                                  R"(>, expected: \"name\" or \"default\"")");
    }
    // symconst reports with the words of <string>.
    ExpectValidateFailure(
        Parse(InRecord("<symconst limit=\"3\"/>")),
        R"(!"Invalid attribute for <string>, expected: \"name\" or \"default\"")");
    ExpectValidateFailure(
        Parse(InRecord("<bool default=\"yes\"/>")),
        R"(!"Invalid value for attribute \"default\"; expected \"true\", \"1\", \"false\" or \"0\"")");
    ExpectValidateFailure(Parse(InRecord("<enumeration value=\"a\"/>")), "m_CurrentSymConst");
    ExpectValidateFailure(Parse(InRecord("<symconst/><enumeration value=\"a\"/>")),
                          "m_CurrentSymConst");
    ExpectValidateFailure(Parse(InRecord("<symconst><enumeration name=\"a\"/></symconst>")),
                          R"(!"Invalid attribute for <enumeration>, expected: \"value\"")");
    ExpectValidateFailure(Parse(InRecord("<symconst><datarecord name=\"Q\"/></symconst>")),
                          "m_CurrentDataRecord && m_CurrentSymConst");
}

// An unknown tag (tags are case-sensitive) is written out before the failure; documentation
// nesting is not counted, so the first end tag of <documentation> ends it.
TEST_F(VelQARNReaderDeathTest, UnknownTagsAreWrittenOutBeforeTheFailure) {
    const std::pair<std::string, std::string> documents[] = {
        {InRecord("<Int name=\"i\"/>"), "Int"},
        {"<qarn><documentation><documentation></documentation><bogus/></documentation></qarn>",
         "bogus"}};
    const std::string failure = VelValidateText(
        R"(!"Unrecognized tag while parsing QARN file. Your QARN file is not valid.")");
    for (const auto& [text, tag] : documents)
        EXPECT_DEATH(Parse(text), "^" + VelLiteralRegex("\n\nTag: " + tag + "\n" + failure) + "$");
}

// expat always pairs names with values; the check stands against any other caller.
TEST_F(VelQARNReaderDeathTest, AnAttributeWithoutValueIsRefused) {
    VelTypeFormManagerRepr manager;
    VelQARNReader reader(manager);
    const char* form[] = {"name", "F", nullptr};
    const char* record[] = {"name", nullptr, nullptr};
    ExpectValidateFailure(
        {
            reader.StartElement("form", form);
            reader.StartElement("datarecord", record);
        },
        "atts[i+1]");
}

}  // namespace
