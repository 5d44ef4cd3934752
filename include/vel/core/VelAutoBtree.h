#ifndef VEL_CORE_VELAUTOBTREE_H
#define VEL_CORE_VELAUTOBTREE_H

#include <utility>

#include "vel/core/VelBtree.h"

// The node of a VelAutoBtree: the owned holder comes first, then the key, as in VelBtreeNode.
template <class K, class V>
using VelAutoBtreeNode = VelBtreeNode<K, V>;
template <class K, class V>
using VelAutoBtreeNodeLink = VelBtreeStackCell<VelAutoBtreeNode<K, V>>;

// An ordered map that owns move-only values (VelHolders): the same tree as VelBtree, but values
// move in, and a value displaced or removed is destroyed, which ends its object's life record.
// It cannot be copied.
template <class K, class V>
class VelAutoBtree : public VelBtreeMap<K, V> {
public:
    VelAutoBtree() = default;

    // True when a new entry was made; `value`'s content then belongs to the map.  For an existing
    // key with `replace` true the old holder is destroyed first and `value` moves into its place.
    // A holder that was not stored is destroyed on return.
    bool Insert(const K& key, V value, bool replace) {
        return this->InsertValue(key, std::move(value), replace);
    }
    void Swap(VelAutoBtree& other) { this->SwapWith(other); }
};

// Walks a VelAutoBtree in key order.  First() or Last() starts a walk.
template <class K, class V>
class VelAutoBtreeIterator : public VelBtreeWalk<VelAutoBtreeNode<K, V>> {
public:
    explicit VelAutoBtreeIterator(const VelAutoBtree<K, V>& map)
        : VelBtreeWalk<VelAutoBtreeNode<K, V>>(map.RootSlot()) {}

    const K& CurrentKey() const { return this->Current()->Key(); }
    const V& CurrentValue() const { return this->Current()->Value(); }
};

#endif
