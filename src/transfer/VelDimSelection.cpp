#include "vel/transfer/VelDimSelection.h"

#include <string>

#include "vel/core/VelAssert.h"

const VelCSetID& VelDimSelection::CSetID() const {
    VelVALIDATE(IsCSet());
    return m_cset;
}

int VelDimSelection::First() const {
    VelVALIDATE(IsOrdinalRange());
    return m_first;
}

int VelDimSelection::Last() const {
    VelVALIDATE(IsOrdinalRange());
    return m_last;
}

VelCollectionID VelDimSelection::CollectionID() const {
    switch (m_kind) {
        case KindNone:
            return VelCollectionID();
        case KindCSet:
            return m_cset.CollectionID();
        case KindOrdinalRange:
            return m_collection;
    }
    VelASSERT(!"Bad selection");
}

void VelDimSelection::WriteToOstream(aio_ostream& os) const {
    switch (m_kind) {
        case KindNone:
            os << "DimSelNone";
            return;
        case KindCSet:
            os << "CSet=" << m_cset;
            return;
        case KindOrdinalRange:
            os << "OrdinalRange,Collection=" << m_collection << ",first=" << std::to_string(m_first)
               << ",last=" << std::to_string(m_last);
            return;
    }
    os << "?bad DimSelection?";
}

aio_ostream& operator<<(aio_ostream& os, const VelDimSelection& selection) {
    selection.WriteToOstream(os);
    return os;
}
