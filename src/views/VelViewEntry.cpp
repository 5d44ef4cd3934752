#include "vel/views/VelViewEntry.h"

#include "views/VelRecordStore.h"

VelViewEntry::VelViewEntry(const cow_String& formName, int level, int edition, bool published,
                           bool latestPublished)
    : m_FormName(formName),
      m_Level(level),
      m_Edition(edition),
      m_Published(published),
      m_LatestPublished(latestPublished) {}

cow_String VelViewEntry::Name() const {
    return VelRecordStore::ViewName(m_FormName, m_Level, m_Edition);
}
