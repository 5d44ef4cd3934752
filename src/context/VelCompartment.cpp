#include "vel/context/VelCompartment.h"

#include "vel/core/VelAssert.h"

namespace {
// qsort order of an array of CSet ID pointers: by collection.
int CompareCollectionsOf(const void* a, const void* b) {
    const VelCSetID* left = *static_cast<const VelCSetID* const*>(a);
    const VelCSetID* right = *static_cast<const VelCSetID* const*>(b);
    return left->CollectionID().Compare(right->CollectionID());
}
}  // namespace

VelCompartment::VelCompartment(const VelArray<VelCSetID>& ids) {
    const int n = ids.Size();
    for (int i = 0; i < n; ++i) {
        const VelCSetID& id = ids[i];
        VelVALIDATE(!id.IsNull() && id.IsAscending());
    }

    // The pointers are sorted, not the IDs: VelArray::Sort moves 8-byte elements.
    VelArray<const VelCSetID*> order(n);
    for (int i = 0; i < n; ++i) order[i] = &ids[i];
    order.Sort(CompareCollectionsOf);
    for (int i = 1; i < n; ++i) {
        const VelCSetID* id = order[i];
        const VelCSetID* prev = order[i - 1];
        VelVALIDATE(id->CollectionID().Compare(prev->CollectionID()) != 0);
    }

    m_ids.SetSize(n);
    for (int i = 0; i < n; ++i) m_ids[i] = *order[i];
}

bool VelCompartment::SameGrid(const VelCompartment& other) const {
    if (Size() != other.Size()) return false;
    for (int i = 0; i < Size(); ++i) {
        if (m_ids[i].CollectionID().Compare(other.m_ids[i].CollectionID()) != 0) return false;
    }
    return true;
}

int VelCompartment::Compare(const VelCompartment& other) const {
    const int common = Size() < other.Size() ? Size() : other.Size();
    for (int i = 0; i < common; ++i) {
        if (int c = m_ids[i].Compare(other.m_ids[i])) return c;
    }
    if (Size() == other.Size()) return 0;
    return Size() < other.Size() ? -1 : 1;
}

void VelCompartment::WriteToOstream(aio_ostream& os) const {
    os << "{";
    for (int i = 0; i < Size(); ++i) os << " " << m_ids[i];
    os << " }";
}

aio_ostream& operator<<(aio_ostream& os, const VelCompartment& compartment) {
    compartment.WriteToOstream(os);
    return os;
}
