#include "vel/context/VelGrid.h"

#include "vel/core/VelAssert.h"

namespace {
// qsort order of an array of collection ID pointers.
int CompareCollections(const void* a, const void* b) {
    const VelCollectionID* left = *static_cast<const VelCollectionID* const*>(a);
    const VelCollectionID* right = *static_cast<const VelCollectionID* const*>(b);
    return left->Compare(*right);
}
}  // namespace

VelGrid::VelGrid(const VelArray<VelCollectionID>& collections) {
    const int n = collections.Size();
    for (int i = 0; i < n; ++i) {
        const VelCollectionID& id = collections[i];
        VelVALIDATE(!id.IsNull());
    }

    // The pointers are sorted, not the IDs: VelArray::Sort moves 8-byte elements.
    VelArray<const VelCollectionID*> order(n);
    for (int i = 0; i < n; ++i) order[i] = &collections[i];
    order.Sort(CompareCollections);
    for (int i = 1; i < n; ++i) {
        const VelCollectionID* id = order[i];
        const VelCollectionID* prev = order[i - 1];
        VelVALIDATE(id->Compare(*prev) != 0);
    }

    m_collections.SetSize(n);
    for (int i = 0; i < n; ++i) m_collections[i] = *order[i];
}

int VelGrid::Position(const VelCollectionID& collection) const {
    for (int i = 0; i < Size(); ++i) {
        if (m_collections[i].Compare(collection) == 0) return i;
    }
    return -1;
}

void VelGrid::WriteToOstream(aio_ostream& os) const {
    os << "{";
    for (int i = 0; i < Size(); ++i) os << " " << m_collections[i];
    os << " }";
}

aio_ostream& operator<<(aio_ostream& os, const VelGrid& grid) {
    grid.WriteToOstream(os);
    return os;
}
