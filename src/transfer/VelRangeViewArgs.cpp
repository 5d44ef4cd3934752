#include "vel/transfer/VelRangeViewArgs.h"

VelRangeViewArgs& VelRangeViewArgs::SetSize(int n) {
    m_dimSelections.SetSize(n);
    return *this;
}

VelRangeViewArgs& VelRangeViewArgs::SetSerialization(const VelSerializationType& serialization) {
    m_serializationType = serialization;
    return *this;
}

VelRangeViewArgs& VelRangeViewArgs::SetForTransientDrawer(const VelOCompartment& oc) {
    const int n = oc.Size();
    m_dimSelections.SetSize(n);
    for (int i = 0; i < n; ++i) m_dimSelections[i] = VelDimSelection(oc[i]);
    return *this;
}

VelRangeViewArgs& VelRangeViewArgs::SetDim(int d, const VelCSetID& cset) {
    m_dimSelections[d] = VelDimSelection(cset);
    return *this;
}

VelRangeViewArgs& VelRangeViewArgs::SetDimOrdinalRange(int d, const VelCollectionID& collection,
                                                       int i, int j) {
    m_dimSelections[d] = VelDimSelection(collection, i, j);
    return *this;
}

void VelRangeViewArgs::WriteToOstream(aio_ostream& os) const {
    os << "dimSelections: (";
    for (int d = 0; d < m_dimSelections.Size(); ++d) os << " " << m_dimSelections[d];
    os << " )\n";
    os << "serializationType: " << m_serializationType << "\n";
}

aio_ostream& operator<<(aio_ostream& os, const VelRangeViewArgs& args) {
    args.WriteToOstream(os);
    return os;
}
