#ifndef VEL_TYPES_VELTYPEFORMSCHEMA_H
#define VEL_TYPES_VELTYPEFORMSCHEMA_H

#include "vel/VelExport.h"
#include "vel/platform/cow_String.h"
#include "vel/types/VelTypeForm.h"

// A form at one level: the types of the form whose declarations are at or below that level.
// Equal pairs name the same schema.  The form's name is kept beside the form, so schemas compare
// and order (by form name byte-wise, then by level) without reaching the form itself.
class VEL_API VelTypeFormSchema {
public:
    // No form, level 0.
    VelTypeFormSchema() = default;
    VelTypeFormSchema(const VelTypeForm& form, int level);

    const VelTypeForm& Form() const { return m_Form; }
    const cow_String& FormName() const { return m_FormName; }
    int Level() const { return m_Level; }

    // Negative, zero or positive.
    int Compare(const VelTypeFormSchema& other) const;
    bool operator==(const VelTypeFormSchema& other) const { return Compare(other) == 0; }
    bool operator!=(const VelTypeFormSchema& other) const { return Compare(other) != 0; }

private:
    VelTypeForm m_Form;
    cow_String m_FormName;
    int m_Level = 0;
};

// The key order of the ordered maps keyed by schema.
inline int VelCompareKeys(const VelTypeFormSchema& a, const VelTypeFormSchema& b) {
    return a.Compare(b);
}

#endif
