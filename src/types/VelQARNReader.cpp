#include "types/VelQARNReader.h"

#include <expat.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "vel/core/VelAssert.h"
#include "vel/platform/aio_Stream.h"

namespace {

bool Is(const char* name, const char* expected) {
    return std::strcmp(name, expected) == 0;
}

// The schema language reads numbers as atoi does: leading blanks, an optional sign, digits up to
// the first other character, no complaint about junk, 0 without digits.  Values beyond the 32-bit
// range saturate instead of depending on overflow.
int ToInt(const char* text) {
    const long long value = std::strtoll(text, nullptr, 10);
    if (value > INT_MAX) return INT_MAX;
    if (value < INT_MIN) return INT_MIN;
    return static_cast<int>(value);
}

// int64 defaults were read with atol of a platform whose long has 32 bits, so a default beyond
// the 32-bit range was never stored as written.  Schemas and stored types rely on the same
// values, so the limit stays.
int64_t ToInt64(const char* text) {
    return ToInt(text);
}

// A double beyond the float range becomes an infinity instead of an undefined conversion.
float ToFloat(double value) {
    if (value > FLT_MAX) return HUGE_VALF;
    if (value < -FLT_MAX) return -HUGE_VALF;
    return static_cast<float>(value);
}

void FailUnknownMemberAttribute(VelDataCategory category) {
    switch (category) {
        case VelDataCategoryBool:
            VelVALIDATE(!"Invalid attribute for <bool>, expected: \"name\" or \"default\"");
            break;
        case VelDataCategoryOctet:
            VelVALIDATE(!"Invalid attribute for <octet>, expected: \"name\" or \"default\"");
            break;
        case VelDataCategoryShort:
            VelVALIDATE(!"Invalid attribute for <short>, expected: \"name\" or \"default\"");
            break;
        case VelDataCategoryInt:
            VelVALIDATE(!"Invalid attribute for <int>, expected: \"name\" or \"default\"");
            break;
        case VelDataCategoryInt64:
            VelVALIDATE(!"Invalid attribute for <int64>, expected: \"name\" or \"default\"");
            break;
        case VelDataCategoryFloat:
            VelVALIDATE(!"Invalid attribute for <float>, expected: \"name\" or \"default\"");
            break;
        case VelDataCategoryDouble:
            VelVALIDATE(!"Invalid attribute for <double>, expected: \"name\" or \"default\"");
            break;
        // A symbolic constant reports in the words of <string>, as it always has.
        case VelDataCategoryString:
        case VelDataCategorySymConst:
            VelVALIDATE(!"Invalid attribute for <string>, expected: \"name\" or \"default\"");
            break;
    }
}

void SetDefault(VelTypeDataRecordMemberRepr& member, const char* value) {
    switch (member.m_Category) {
        case VelDataCategoryBool:
            if (Is(value, "true") || Is(value, "1")) {
                member.m_Default.boolValue = true;
            } else if (Is(value, "false") || Is(value, "0")) {
                member.m_Default.boolValue = false;
            } else {
                VelVALIDATE(
                    !"Invalid value for attribute \"default\"; expected \"true\", \"1\", \"false\" or \"0\"");
            }
            break;
        case VelDataCategoryOctet:
            member.m_Default.octetValue = static_cast<unsigned char>(ToInt(value));
            break;
        case VelDataCategoryShort:
            member.m_Default.shortValue = static_cast<short>(ToInt(value));
            break;
        case VelDataCategoryInt:
            member.m_Default.intValue = ToInt(value);
            break;
        case VelDataCategoryInt64:
            member.m_Default.int64Value = ToInt64(value);
            break;
        case VelDataCategoryFloat:
            member.m_Default.floatValue = ToFloat(std::strtod(value, nullptr));
            break;
        case VelDataCategoryDouble:
            member.m_Default.doubleValue = std::strtod(value, nullptr);
            break;
        case VelDataCategoryString:
        case VelDataCategorySymConst:
            member.m_StringDefault = value;
            break;
    }
    member.m_HasDefault = true;
}

// The elements of the language.  Names are compared whole and are all distinct, so finding a
// name in this table by binary search acts exactly as testing the names one after the other.
enum class Element {
    Documentation,
    Qarn,
    Form,
    Dependency,
    Include,
    Association,
    Data,
    Target,
    EntityMember,
    Focus,
    DataRecord,
    Base,
    DataMember,
    SymConst,
    Enumeration
};

struct ElementName {
    const char* name;
    Element element;
    // The member kind of an entity member, the category of a data member.
    int code;
};

// In byte-wise order of the names.
constexpr ElementName g_Elements[] = {
    {"association", Element::Association, 0},
    {"base", Element::Base, 0},
    {"bool", Element::DataMember, VelDataCategoryBool},
    {"collection", Element::EntityMember, VelEntityCollection},
    {"compartment", Element::EntityMember, VelEntityCompartment},
    {"cset", Element::EntityMember, VelEntityCSet},
    {"data", Element::Data, 0},
    {"datarecord", Element::DataRecord, 0},
    {"dependency", Element::Dependency, 0},
    {"distribution", Element::EntityMember, VelEntityDistribution},
    {"documentation", Element::Documentation, 0},
    {"double", Element::DataMember, VelDataCategoryDouble},
    {"drawer", Element::EntityMember, VelEntityDrawer},
    {"dset", Element::EntityMember, VelEntityDSet},
    {"enumeration", Element::Enumeration, 0},
    {"float", Element::DataMember, VelDataCategoryFloat},
    {"focus", Element::Focus, 0},
    {"form", Element::Form, 0},
    {"grid", Element::EntityMember, VelEntityGrid},
    {"include", Element::Include, 0},
    {"indexset", Element::EntityMember, VelEntityIndexSet},
    {"int", Element::DataMember, VelDataCategoryInt},
    {"int64", Element::DataMember, VelDataCategoryInt64},
    {"octet", Element::DataMember, VelDataCategoryOctet},
    {"permutation", Element::EntityMember, VelEntityPermutation},
    {"qarn", Element::Qarn, 0},
    {"short", Element::DataMember, VelDataCategoryShort},
    {"string", Element::DataMember, VelDataCategoryString},
    {"symconst", Element::SymConst, 0},
    {"target", Element::Target, 0}};

constexpr int CompareNames(const char* a, const char* b) {
    for (; *a && *a == *b; ++a, ++b) {
    }
    return static_cast<unsigned char>(*a) - static_cast<unsigned char>(*b);
}

constexpr bool ElementsAreSorted() {
    for (size_t i = 1; i < sizeof g_Elements / sizeof g_Elements[0]; ++i) {
        if (CompareNames(g_Elements[i - 1].name, g_Elements[i].name) >= 0) return false;
    }
    return true;
}
static_assert(ElementsAreSorted(), "the element table must be sorted by name");

// The table entry of an element name, or null for a name of no element.
const ElementName* FindElement(const char* name) {
    const ElementName* first = g_Elements;
    const ElementName* last = g_Elements + sizeof g_Elements / sizeof g_Elements[0];
    const ElementName* found = std::lower_bound(
        first, last, name,
        [](const ElementName& entry, const char* key) { return std::strcmp(entry.name, key) < 0; });
    return found != last && std::strcmp(found->name, name) == 0 ? found : nullptr;
}

}  // namespace

// ---- expat ------------------------------------------------------------------------------------

// expat calls C functions; an exception must not unwind through it.  A handler that throws stops
// the parser, and the exception is raised again once XML_Parse has returned.
struct VelQARNReaderCallbacks {
    static void XMLCALL Start(void* userData, const XML_Char* name, const XML_Char** atts) {
        VelQARNReader& reader = *static_cast<VelQARNReader*>(userData);
        try {
            reader.StartElement(name, atts);
        } catch (...) {
            Stop(reader);
        }
    }
    static void XMLCALL End(void* userData, const XML_Char* name) {
        VelQARNReader& reader = *static_cast<VelQARNReader*>(userData);
        try {
            reader.EndElement(name);
        } catch (...) {
            Stop(reader);
        }
    }
    static void Stop(VelQARNReader& reader) {
        reader.m_Failure = std::current_exception();
        XML_StopParser(static_cast<XML_Parser>(reader.m_Parser), XML_FALSE);
    }
};

void VelQARNReader::Parse(const cow_String& text) {
    XML_Parser parser = XML_ParserCreate(nullptr);
    if (!parser) throw std::bad_alloc();
    m_Parser = parser;
    XML_SetUserData(parser, this);
    XML_SetElementHandler(parser, VelQARNReaderCallbacks::Start, VelQARNReaderCallbacks::End);
    XML_Parse(parser, text.c_str(), text.Length(), 1);
    XML_ParserFree(parser);
    m_Parser = nullptr;
    if (m_Failure) std::rethrow_exception(m_Failure);
}

// ---- start tags -------------------------------------------------------------------------------

void VelQARNReader::StartElement(const char* name, const char** atts) {
    // Everything inside documentation is prose, whatever it looks like; nested documentation
    // elements are not counted, so the first documentation end tag ends the prose.
    if (m_InDocumentation) return;
    const ElementName* element = FindElement(name);
    if (!element) return UnknownTag(name);
    switch (element->element) {
        case Element::Documentation:
            m_InDocumentation = true;
            return;
        case Element::Qarn:
            return;
        case Element::Form:
            return StartForm(atts);
        case Element::Dependency:
            return StartDependency(atts);
        case Element::Include:
            return StartInclude(atts);
        case Element::Association:
            return StartAssociation(atts);
        case Element::Data:
            return StartData(atts);
        case Element::Target:
            return StartTarget(atts);
        case Element::EntityMember:
            return StartEntityMember(element->code, atts);
        case Element::Focus:
            return StartFocus(atts);
        case Element::DataRecord:
            return StartDataRecord(atts);
        case Element::Base:
            return StartBase(atts);
        case Element::DataMember:
            return StartDataMember(static_cast<VelDataCategory>(element->code), atts);
        case Element::SymConst:
            return StartSymConst(atts);
        case Element::Enumeration:
            return StartEnumeration(atts);
    }
}

VelTypeForm VelQARNReader::ExistingForm(const char* name) const {
    return m_Manager.FindForm(name);
}

void VelQARNReader::StartForm(const char** atts) {
    // clang-format off
    VelVALIDATE(atts[0]!=0 && atts[1]!=0 && !strcmp(atts[0], "name"));
    // clang-format on
    m_CurrentFormHolder = VelTypeFormHolder::Create(cow_String(atts[1]));
    const VelTypeForm known = ExistingForm(atts[1]);
    m_CurrentFormRef = known ? known : m_CurrentFormHolder.Get();
}

void VelQARNReader::StartDependency(const char** atts) {
    VelVALIDATE(m_CurrentFormRef);
    // clang-format off
    VelVALIDATE(atts[0]!=0 && atts[1]!=0 && !strcmp(atts[0], "level"));
    // clang-format on
    const int level = ToInt(atts[1]);
    VelVALIDATE(level > 0);
    m_CurrentDepSchema = VelTypeFormSchema(m_CurrentFormRef, level);
}

void VelQARNReader::StartInclude(const char** atts) {
    VelVALIDATE(m_CurrentDepSchema.Form());
    VelTypeForm form;
    int level = 0;
    for (int i = 0; atts[i]; i += 2) {
        // clang-format off
        VelVALIDATE(atts[i+1]);
        // clang-format on
        if (Is(atts[i], "level")) {
            level = ToInt(atts[i + 1]);
        } else if (Is(atts[i], "form")) {
            form = ExistingForm(atts[i + 1]);
        } else {
            VelVALIDATE(!"Invalid attribute for <include>, expected: \"level\" or \"form\"");
        }
    }
    if (!form || level < 1) {
        VelVALIDATE(!"For element <include> both form and positive level number must be specified");
    }
    m_Manager.AddDependency(m_CurrentDepSchema, VelTypeFormSchema(form, level));
}

void VelQARNReader::StartAssociation(const char** atts) {
    VelVALIDATE(m_CurrentFormHolder && m_CurrentFormRef);
    m_CurrentAssociation = VelTypeAssociationHolder::Create();
    for (int i = 0; atts[i]; i += 2) {
        // clang-format off
        VelVALIDATE(atts[i+1]);
        // clang-format on
        if (Is(atts[i], "level")) {
            m_CurrentAssociation->m_Level = ToInt(atts[i + 1]);
        } else if (Is(atts[i], "name")) {
            m_CurrentAssociation->m_Name = atts[i + 1];
        } else {
            VelVALIDATE(!"Invalid attribute for <association>, expected: \"level\" or \"form\"");
        }
    }
}

// The attributes of the association member elements.  An unknown attribute gets the message of
// <datarecord>, and a bad keyType the message of "ordered": both wordings are established and
// kept as they are.
void VelQARNReader::ReadMemberAttributes(VelTypeAssociationMemberRepr& member, const char** atts) {
    for (int i = 0; atts[i]; i += 2) {
        // clang-format off
        VelVALIDATE(atts[i+1]);
        // clang-format on
        const char* value = atts[i + 1];
        if (Is(atts[i], "minOccurs")) {
            member.m_MinOccurs = ToInt(value);
        } else if (Is(atts[i], "maxOccurs")) {
            member.m_MaxOccurs =
                Is(value, "unbounded") ? VelTypeAssociationUnbounded : ToInt(value);
        } else if (Is(atts[i], "ordered")) {
            if (Is(value, "true") || Is(value, "1")) {
                member.m_Ordered = true;
            } else if (Is(value, "false") || Is(value, "0")) {
                member.m_Ordered = false;
            } else {
                VelVALIDATE(
                    !"Invalid value for attribute \"ordered\"; expected \"true\", \"1\", \"false\" or \"0\"");
            }
        } else if (Is(atts[i], "keyType")) {
            if (Is(value, "none")) {
                member.m_KeyType = VelTypeAssociationKeyNone;
            } else if (Is(value, "string")) {
                member.m_KeyType = VelTypeAssociationKeyString;
            } else {
                VelVALIDATE(
                    !"Invalid value for attribute \"ordered\"; expected \"none\" or \"string\"");
            }
        } else if (Is(atts[i], "roleName")) {
            member.m_RoleName = value;
        } else {
            VelVALIDATE(!"Invalid attribute for <datarecord>, expected: \"level\" or \"name\"");
        }
    }
}

void VelQARNReader::StartData(const char** atts) {
    VelVALIDATE(m_CurrentAssociation);
    VelTypeAssociationMemberHolder member =
        VelTypeAssociationMemberHolder::Create(static_cast<int>(VelEntityDataRecord));
    ReadMemberAttributes(*member, atts);
    m_CurrentDataMember = std::move(member);
}

// The refusals of a type reference, one set per element that makes one: each is the report a
// failed check of that element prints.
struct VelQARNReader::ReferenceTexts {
    const char* unknownForm;
    const char* badAttribute;
    const char* emptyName;
};

VelTypeQualifiedName VelQARNReader::ReadTypeReference(const char** atts,
                                                      const ReferenceTexts& texts) {
    const auto refuse = [](const char* text) {
        VelAssert::FailValidation(text);
    };
    VelTypeForm form = m_CurrentFormRef;
    cow_String typeName;
    for (int i = 0; atts[i]; i += 2) {
        // clang-format off
        VelVALIDATE(atts[i+1]);
        // clang-format on
        if (Is(atts[i], "ref")) {
            typeName = atts[i + 1];
        } else if (Is(atts[i], "form")) {
            form = ExistingForm(atts[i + 1]);
            if (!form) refuse(texts.unknownForm);
        } else {
            refuse(texts.badAttribute);
        }
    }
    if (typeName.Empty()) refuse(texts.emptyName);
    return VelTypeQualifiedName(form, typeName);
}

void VelQARNReader::StartTarget(const char** atts) {
    VelVALIDATE(m_CurrentFormRef && m_CurrentDataMember);
    static const ReferenceTexts texts = {
        R"(!"<target> referring to a nonexisting form")",
        R"(!"Invalid attribute for <target>, expected: \"ref\" or \"form\"")",
        R"(!"Type name of <target> must not be empty")"};
    m_CurrentDataMember->AppendTarget(ReadTypeReference(atts, texts));
}

void VelQARNReader::StartEntityMember(int kind, const char** atts) {
    VelVALIDATE(m_CurrentAssociation);
    VelTypeAssociationMemberHolder member = VelTypeAssociationMemberHolder::Create(kind);
    ReadMemberAttributes(*member, atts);
    VelVALIDATE(member->MaxOccurs() == VelTypeAssociationUnbounded ||
                member->MinOccurs() <= member->MaxOccurs());
    m_CurrentAssociation->m_Members.Append(member);
}

void VelQARNReader::StartFocus(const char** atts) {
    VelVALIDATE(m_CurrentAssociation);
    VelTypeAssociationMemberHolder member =
        VelTypeAssociationMemberHolder::Create(static_cast<int>(VelEntityViewFocus));
    for (int i = 0; atts[i]; i += 2) {
        // clang-format off
        VelVALIDATE(atts[i+1]);
        // clang-format on
        if (Is(atts[i], "roleName")) {
            member->m_RoleName = atts[i + 1];
        } else {
            VelVALIDATE(!"Invalid attribute for <focus>; expected \"roleName\"");
        }
    }
    m_CurrentAssociation->m_Members.Append(member);
}

void VelQARNReader::StartDataRecord(const char** atts) {
    VelVALIDATE(m_CurrentFormHolder && m_CurrentFormRef);
    m_CurrentDataRecord = VelTypeDataRecordHolder::Create();
    for (int i = 0; atts[i]; i += 2) {
        // clang-format off
        VelVALIDATE(atts[i+1]);
        // clang-format on
        if (Is(atts[i], "level")) {
            m_CurrentDataRecord->m_Level = ToInt(atts[i + 1]);
        } else if (Is(atts[i], "name")) {
            m_CurrentDataRecord->m_Name = atts[i + 1];
        } else {
            VelVALIDATE(!"Invalid attribute for <datarecord>, expected: \"level\" or \"name\"");
        }
    }
}

void VelQARNReader::StartBase(const char** atts) {
    VelVALIDATE(m_CurrentFormRef && m_CurrentDataRecord);
    static const ReferenceTexts texts = {
        R"(!"<base> referring to a nonexisting form")",
        R"(!"Invalid attribute for <base>, expected: \"ref\" or \"form\"")",
        R"(!"Type name of <base> must not be empty")"};
    m_CurrentDataRecord->m_Base = ReadTypeReference(atts, texts);
}

void VelQARNReader::StartDataMember(VelDataCategory category, const char** atts) {
    VelVALIDATE(m_CurrentDataRecord);
    VelTypeDataRecordMemberHolder member = VelTypeDataRecordMemberHolder::Create(category);
    for (int i = 0; atts[i]; i += 2) {
        // clang-format off
        VelVALIDATE(atts[i+1]);
        // clang-format on
        if (Is(atts[i], "name")) {
            member->m_Name = atts[i + 1];
        } else if (Is(atts[i], "default")) {
            SetDefault(*member, atts[i + 1]);
        } else {
            FailUnknownMemberAttribute(category);
        }
    }
    m_CurrentDataRecord->m_Members.Append(member);
}

// A symbolic constant keeps its default as a value name; the name becomes a number only when
// the values are read, sorted.
void VelQARNReader::StartSymConst(const char** atts) {
    VelVALIDATE(m_CurrentDataRecord);
    m_CurrentSymConst = VelTypeSymConstMemberHolder::Create();
    for (int i = 0; atts[i]; i += 2) {
        // clang-format off
        VelVALIDATE(atts[i+1]);
        // clang-format on
        if (Is(atts[i], "name")) {
            m_CurrentSymConst->m_Name = atts[i + 1];
        } else if (Is(atts[i], "default")) {
            SetDefault(*m_CurrentSymConst, atts[i + 1]);
        } else {
            FailUnknownMemberAttribute(VelDataCategorySymConst);
        }
    }
}

void VelQARNReader::StartEnumeration(const char** atts) {
    VelVALIDATE(m_CurrentSymConst);
    for (int i = 0; atts[i]; i += 2) {
        // clang-format off
        VelVALIDATE(atts[i+1]);
        // clang-format on
        if (Is(atts[i], "value")) {
            m_CurrentSymConst->AppendValue(atts[i + 1]);
        } else {
            VelVALIDATE(!"Invalid attribute for <enumeration>, expected: \"value\"");
        }
    }
}

void VelQARNReader::UnknownTag(const char* name) {
    aio_cerr << "\n\nTag: " << name << "\n";
    aio_cerr.flush();
    VelVALIDATE(!"Unrecognized tag while parsing QARN file. Your QARN file is not valid.");
}

// ---- end tags ---------------------------------------------------------------------------------

// Only these end tags have work left; the others did theirs at the start tag.
void VelQARNReader::EndElement(const char* name) {
    const ElementName* element = FindElement(name);
    if (element && element->element == Element::Documentation) {
        m_InDocumentation = false;
        return;
    }
    if (m_InDocumentation || !element) return;
    switch (element->element) {
        case Element::Form:
            return EndForm();
        case Element::Dependency:
            m_CurrentDepSchema = VelTypeFormSchema();
            return;
        case Element::Association:
            return EndAssociation();
        case Element::DataRecord:
            return EndDataRecord();
        case Element::Data:
            return EndData();
        case Element::SymConst:
            return EndSymConst();
        default:
            return;
    }
}

// A form end tag without an open form (its holder went at an inner form end tag) has nothing to
// hand over.
void VelQARNReader::EndForm() {
    if (!m_CurrentFormHolder) return;
    m_Manager.AddForm(m_CurrentFormHolder);
}

void VelQARNReader::EndAssociation() {
    VelVALIDATE(m_CurrentFormHolder && m_CurrentAssociation);
    m_CurrentFormHolder->AppendType(std::move(m_CurrentAssociation), m_CurrentFormHolder.Get());
}

void VelQARNReader::EndDataRecord() {
    VelVALIDATE(m_CurrentFormHolder && m_CurrentDataRecord);
    m_CurrentFormHolder->AppendType(std::move(m_CurrentDataRecord), m_CurrentFormHolder.Get());
}

void VelQARNReader::EndData() {
    VelVALIDATE(m_CurrentAssociation && m_CurrentDataMember);
    VelVALIDATE(m_CurrentDataMember->MaxOccurs() == VelTypeAssociationUnbounded ||
                m_CurrentDataMember->MinOccurs() <= m_CurrentDataMember->MaxOccurs());
    m_CurrentAssociation->m_Members.Append(m_CurrentDataMember);
}

void VelQARNReader::EndSymConst() {
    VelVALIDATE(m_CurrentDataRecord && m_CurrentSymConst);
    VelTypeDataRecordMemberHolder member(std::move(m_CurrentSymConst));
    m_CurrentDataRecord->m_Members.Append(member);
}
