#include "vel/context/VelCtation.h"

#include "vel/core/VelAssert.h"

namespace {
// qsort order of an array of compartment pointers.
int CompareCompartments(const void* a, const void* b) {
    const VelCompartment* left = *static_cast<const VelCompartment* const*>(a);
    const VelCompartment* right = *static_cast<const VelCompartment* const*>(b);
    return left->Compare(*right);
}
}  // namespace

VelCtation::VelCtation(const VelArray<VelCompartment>& compartments) {
    const VelCompartment& first = compartments[0];
    const int n = compartments.Size();
    for (int i = 1; i < n; ++i) {
        const VelCompartment& compartment = compartments[i];
        VelVALIDATE(first.SameGrid(compartment));
    }

    // The pointers are sorted, not the compartments: VelArray::Sort moves 8-byte elements.
    VelArray<const VelCompartment*> order(n);
    for (int i = 0; i < n; ++i) order[i] = &compartments[i];
    order.Sort(CompareCompartments);

    m_compartments.SetSize(n);
    for (int i = 0; i < n; ++i) m_compartments[i] = *order[i];
}

bool VelCtation::operator==(const VelCtation& other) const {
    if (Size() != other.Size()) return false;
    for (int i = 0; i < Size(); ++i) {
        if (m_compartments[i] != other.m_compartments[i]) return false;
    }
    return true;
}

void VelCtation::WriteToOstream(aio_ostream& os) const {
    os << "{\n";
    for (int i = 0; i < Size(); ++i) os << "  " << m_compartments[i] << "\n";
    os << "}";
}

aio_ostream& operator<<(aio_ostream& os, const VelCtation& ctation) {
    ctation.WriteToOstream(os);
    return os;
}
