#include "vel/transfer/VelTransientDrawer.h"

VelQualPointer VelTransientDrawer::Data(int e) const {
    return VelQualPointer(m_innerBufferSet[e], m_dataKeys[e], m_readOnly);
}
