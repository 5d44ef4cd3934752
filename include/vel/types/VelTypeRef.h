#ifndef VEL_TYPES_VELTYPEREF_H
#define VEL_TYPES_VELTYPEREF_H

#include "vel/VelExport.h"
#include "vel/core/VelHolder.h"
#include "vel/platform/cow_String.h"
#include "vel/types/VelTypeForm.h"
#include "vel/types/VelTypeID.h"

class VelTypeRepr;
struct VelTypesAccess;

// A type named by its form and its name, as a schema refers to a base type or a target type.
// It is resolved to a VelTypeID when a schema snapshot is built.
class VEL_API VelTypeQualifiedName {
public:
    VelTypeQualifiedName() = default;
    VelTypeQualifiedName(const VelTypeForm& form, const cow_String& typeName)
        : m_Form(form), m_TypeName(typeName) {}

    const VelTypeForm& Form() const { return m_Form; }
    const cow_String& TypeName() const { return m_TypeName; }

private:
    VelTypeForm m_Form;
    cow_String m_TypeName;
};

// An observer of one type declaration of a form: what data record and association declarations
// have in common.  Every operation asserts "repr".
class VEL_API VelTypeRef : public VelWeakReference<VelTypeRepr> {
public:
    VelTypeRef() = default;

    // VelCategoryDataRecord or VelCategoryAssociation.
    int Category() const;
    // The identifier of the declaration's name in its form (this closes the form).
    VelTypeID ID() const;
    const cow_String& TypeName() const;
    int Level() const;
    VelTypeForm Form() const;

    // Bound to a declaration that still exists.
    explicit operator bool() const { return IsAlive(); }

private:
    friend struct VelTypesAccess;
};

#endif
