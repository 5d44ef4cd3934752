#include "vel/context/VelRangeType.h"

#include "vel/core/VelAssert.h"

VelRangeType::VelRangeType() : m_key(static_cast<VelTypeKey>(0)), m_refersToCollection(false) {}

VelRangeType::VelRangeType(VelTypeKey key, const VelCollectionID& collection)
    : m_key(key), m_refersToCollection(false), m_collection(collection) {
    VelVALIDATE(IsKnownKey(key));
    m_refersToCollection = KeyRefersToCollection(key);
    VelVALIDATE(m_refersToCollection != collection.IsNull() &&
                "a member or CSet range names its collection, a number range none");
}

VelRangeType::VelRangeType(VelTypeKey key, bool refersToCollection,
                           const VelCollectionID& collection)
    : m_key(key), m_refersToCollection(refersToCollection), m_collection(collection) {}

int VelRangeType::ElementSize() const {
    return VelElementSizeOf(m_key);
}

bool VelRangeType::KeyRefersToCollection(VelTypeKey key) {
    return key == VelTypeKeyCMember || key == VelTypeKeyCSet || key == VelTypeKeyOCSet;
}

bool VelRangeType::IsKnownKey(int key) {
    return key >= VelTypeKeyInt && key <= VelTypeKeyOCSet;
}

bool VelRangeType::operator==(const VelRangeType& other) const {
    return m_key == other.m_key && m_refersToCollection == other.m_refersToCollection &&
           m_collection.Compare(other.m_collection) == 0;
}

void VelRangeType::WriteToOstream(aio_ostream& os) const {
    os << VelstringNameOf(m_key);
    if (m_refersToCollection) os << " of " << m_collection;
}

aio_ostream& operator<<(aio_ostream& os, const VelRangeType& rangeType) {
    rangeType.WriteToOstream(os);
    return os;
}
