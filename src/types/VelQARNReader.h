#ifndef VEL_SRC_TYPES_VELQARNREADER_H
#define VEL_SRC_TYPES_VELQARNREADER_H

#include <exception>

#include "types/VelTypeRepr.h"

// One pass of the QARN reader over a document: expat reports start and end tags, and the reader
// builds forms, type declarations and members from them, keeping at most one of each open.
// Rules are checked where a tag is met; a violation is a validation failure.  Completed forms go
// to the manager at their end tags, so a document that stops early leaves the forms it finished.
class VelQARNReader {
public:
    explicit VelQARNReader(VelTypeFormManagerRepr& manager) : m_Manager(manager) {}
    VelQARNReader(const VelQARNReader&) = delete;
    VelQARNReader& operator=(const VelQARNReader&) = delete;

    // Feeds the whole text to expat in one call.  Whether expat found the document well-formed
    // is not asked: what was read before it stopped stays read.
    void Parse(const cow_String& text);

    // The element handlers; `atts` holds name and value pairs and ends with a null name.
    void StartElement(const char* name, const char** atts);
    void EndElement(const char* name);

private:
    void StartForm(const char** atts);
    void StartDependency(const char** atts);
    void StartInclude(const char** atts);
    void StartAssociation(const char** atts);
    void StartData(const char** atts);
    void StartTarget(const char** atts);
    void StartEntityMember(int kind, const char** atts);
    void StartFocus(const char** atts);
    void StartDataRecord(const char** atts);
    void StartBase(const char** atts);
    void StartDataMember(VelDataCategory category, const char** atts);
    void StartSymConst(const char** atts);
    void StartEnumeration(const char** atts);
    void UnknownTag(const char* name);

    void EndForm();
    void EndAssociation();
    void EndDataRecord();
    void EndData();
    void EndSymConst();

    void ReadMemberAttributes(VelTypeAssociationMemberRepr& member, const char** atts);
    // The type a <target> or <base> names: "ref" in "form", or in the form being read.
    struct ReferenceTexts;
    VelTypeQualifiedName ReadTypeReference(const char** atts, const ReferenceTexts& texts);
    VelTypeForm ExistingForm(const char* name) const;

    VelTypeFormManagerRepr& m_Manager;
    bool m_InDocumentation = false;
    VelTypeFormHolder m_CurrentFormHolder;
    VelTypeForm m_CurrentFormRef;
    VelTypeFormSchema m_CurrentDepSchema;
    VelTypeDataRecordHolder m_CurrentDataRecord;
    VelTypeAssociationHolder m_CurrentAssociation;
    VelTypeAssociationMemberHolder m_CurrentDataMember;
    VelTypeSymConstMemberHolder m_CurrentSymConst;

    // An exception raised in a handler, kept to be raised again once expat has returned.
    std::exception_ptr m_Failure;
    void* m_Parser = nullptr;

    friend struct VelQARNReaderCallbacks;
};

#endif
