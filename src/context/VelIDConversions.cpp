// Conversions from VelDynamicID.  Each target starts null, checks the category, then asks the
// manager for the open context named by the dynamic ID, which supplies the temp flag (and, for
// CSets and drawers, checks that the collection or distribution exists).
#include <cstdint>

#include "context/VelContext.h"
#include "context/VelIDAccess.h"
#include "context/VelManagerAccess.h"
#include "vel/context/VelCSetID.h"
#include "vel/context/VelCollectionID.h"
#include "vel/context/VelContextID.h"
#include "vel/context/VelDSetID.h"
#include "vel/context/VelDistributionID.h"
#include "vel/core/VelAssert.h"

namespace {
// The identifiers' 32-bit words travel in the low half of the 64-bit fields.
int LowWord(int64_t field) {
    return static_cast<int>(static_cast<uint32_t>(field));
}
}  // namespace

VelContextID::VelContextID(const VelDynamicID& did) : m_value(e_NullValue), m_isTemp(false) {
    VelVALIDATE(CanBeConverted(did));
    *this = VelManagerAccess::Get(did.Context()).ID();
}

VelCollectionID::VelCollectionID(const VelDynamicID& did) : m_minor(-1) {
    VelVALIDATE(CanBeConverted(did));
    m_context = VelManagerAccess::Get(did.Context()).ID();
    m_minor = LowWord(did.First());
}

VelCSetID::VelCSetID(const VelDynamicID& did) : m_index(-1) {
    VelVALIDATE(CanBeConverted(did));
    m_collection = VelManagerAccess::Get(did.Context()).CollectionID(LowWord(did.First()));
    m_index = LowWord(did.Second());
}

VelDistributionID::VelDistributionID(const VelDynamicID& did) : m_minor(-1) {
    VelVALIDATE(CanBeConverted(did));
    m_context = VelManagerAccess::Get(did.Context()).ID();
    m_minor = LowWord(did.First());
}

VelDSetID::VelDSetID(const VelDynamicID& did) : m_minor(-1) {
    VelVALIDATE(CanBeConverted(did));
    m_context = VelManagerAccess::Get(did.Context()).ID();
    m_minor = LowWord(did.First());
}

VelDrawerID::VelDrawerID(const VelDynamicID& did) : m_drawer(-1) {
    VelVALIDATE(CanBeConverted(did));
    m_distribution = VelManagerAccess::Get(did.Context()).DistributionID(LowWord(did.First()));
    m_drawer = LowWord(did.Second());
}
