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
class VelAutoBtree {
public:
    using Node = VelAutoBtreeNode<K, V>;

    VelAutoBtree() = default;
    VelAutoBtree(const VelAutoBtree&) = delete;
    VelAutoBtree& operator=(const VelAutoBtree&) = delete;
    ~VelAutoBtree() { Clear(); }

    // True when a new entry was made; `value`'s content then belongs to the map.  For an existing
    // key with `replace` true the old holder is destroyed first and `value` moves into its place.
    // A holder that was not stored is destroyed on return.
    bool Insert(const K& key, V value, bool replace) {
        if (!m_Root) {
            m_Root = new Node(key, std::move(value));
            m_Count = 1;
            return true;
        }
        bool made = Tree::InsertBelow(m_Root, key, std::move(value), replace);
        m_Root = Tree::Rebalance(m_Root);
        if (made) ++m_Count;
        return made;
    }

    // Destroys the entry's holder with its node.
    bool Remove(const K& key) {
        if (!Tree::RemoveBelow(m_Root, key)) return false;
        if (m_Root) m_Root = Tree::Rebalance(m_Root);
        --m_Count;
        return true;
    }

    V* Find(const K& key) { return ValueOf(Tree::Find(m_Root, key)); }
    const V* Find(const K& key) const { return ValueOf(Tree::Find(m_Root, key)); }
    // The value of a key the caller knows to be present.
    V& Get(const K& key) { return *Present(Find(key)); }
    const V& Get(const K& key) const { return *Present(Find(key)); }
    bool IsMember(const K& key) const { return Find(key) != nullptr; }

    void Clear() {
        delete m_Root;
        m_Root = nullptr;
        m_Count = 0;
    }
    void Swap(VelAutoBtree& other) {
        std::swap(m_Root, other.m_Root);
        std::swap(m_Count, other.m_Count);
    }

    int Count() const { return m_Count; }
    const Node* Root() const { return m_Root; }

private:
    using Tree = VelBtreeAlgorithms<Node>;
    template <class, class>
    friend class VelAutoBtreeIterator;

    template <class Pointer>
    static Pointer Present(Pointer value) {
        VelVALIDATE(value && "the key is not in the map");
        return value;
    }
    static V* ValueOf(Node* node) { return node ? &node->m_Value : nullptr; }

    Node* m_Root = nullptr;
    int m_Count = 0;
};

// Walks a VelAutoBtree in key order.  First() or Last() starts a walk.
template <class K, class V>
class VelAutoBtreeIterator : public VelBtreeWalk<VelAutoBtreeNode<K, V>> {
public:
    explicit VelAutoBtreeIterator(const VelAutoBtree<K, V>& map)
        : VelBtreeWalk<VelAutoBtreeNode<K, V>>(map.m_Root) {}

    const K& CurrentKey() const { return this->Current()->Key(); }
    const V& CurrentValue() const { return this->Current()->Value(); }
};

#endif
