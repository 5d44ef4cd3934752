#include "vel/context/VelOCompartment.h"

#include "vel/core/VelAssert.h"

VelOCompartment::VelOCompartment(const VelArray<VelCSetID>& ids) {
    Build(ids);
}

VelOCompartment& VelOCompartment::operator=(const VelArray<VelCSetID>& ids) {
    Build(ids);
    return *this;
}

void VelOCompartment::Build(const VelArray<VelCSetID>& ids) {
    VelVALIDATE(!m_created);
    const int sz = ids.Size();
    VelASSERT(sz < VelMAX_DIMENSIONS);
    m_Array = ids;
    for (int i = 1; i < sz; ++i) {
        const VelCollectionID& colID = m_Array[i].CollectionID();
        for (int j = 0; j < i; ++j) {
            // Written out rather than through VelVALIDATE: collection IDs have no operator!=,
            // their equality is Compare() == 0, and the report keeps its familiar wording.
            if (colID.Compare(m_Array[j].CollectionID()) == 0) {
                VelAssert::FailValidation("colID != m_Array[j].CollectionID()");
            }
        }
    }
    m_created = true;
}

void VelOCompartment::CheckCreated() const {
    VelVALIDATE(m_created);
}

int VelOCompartment::Size() const {
    CheckCreated();
    return m_Array.Size();
}

const VelCSetID& VelOCompartment::operator[](int i) const {
    CheckCreated();
    return m_Array[i];
}

const VelArray<VelCSetID>& VelOCompartment::Array() const {
    CheckCreated();
    return m_Array;
}

void VelOCompartment::WriteToOstream(aio_ostream& os) const {
    CheckCreated();
    os << "(";
    for (int i = 0; i < m_Array.Size(); ++i) os << " " << m_Array[i];
    os << " )";
}

aio_ostream& operator<<(aio_ostream& os, const VelOCompartment& oc) {
    oc.WriteToOstream(os);
    return os;
}
