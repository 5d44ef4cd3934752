#ifndef VEL_VIEWS_VELVIEWENTRY_H
#define VEL_VIEWS_VELVIEWENTRY_H

#include "vel/VelExport.h"
#include "vel/platform/cow_String.h"

// One view of a context's record store as VelContextRef::ViewEntries lists it, without opening
// it: its form, schema level and edition (its name joins the three with "-"), whether it has been
// published, and whether it is the edition that VelContextRef::View(form, level) opens (the
// latest published one of its form and level).  An unpublished edition is being written, or was
// abandoned by a writer that stopped; readers never see its records.
class VEL_API VelViewEntry {
public:
    // Of no view; only for filling arrays.
    VelViewEntry() = default;
    VelViewEntry(const cow_String& formName, int level, int edition, bool published,
                 bool latestPublished);

    // "<form>-<level>-<edition>"
    cow_String Name() const;
    const cow_String& FormName() const { return m_FormName; }
    int Level() const { return m_Level; }
    int Edition() const { return m_Edition; }
    bool IsPublished() const { return m_Published; }
    bool IsLatestPublished() const { return m_LatestPublished; }

private:
    cow_String m_FormName;
    int m_Level = 0;
    int m_Edition = 0;
    bool m_Published = false;
    bool m_LatestPublished = false;
};

#endif
