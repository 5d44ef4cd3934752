#ifndef VEL_CORE_VELBTREE_H
#define VEL_CORE_VELBTREE_H

#include <cstddef>
#include <new>
#include <utility>

#include "vel/VelExport.h"
#include "vel/core/VelAssert.h"
#include "vel/core/VelHolder.h"
#include "vel/platform/cow_String.h"
#include "vel/platform/mem_Memory.h"

// The three-way key comparison of the ordered maps: negative, zero or positive.  The maps call it
// unqualified, so a key type gets its own order by declaring an overload beside itself; the
// template is the fallback for keys ordered by operator<.
template <class K>
int VelCompareKeys(const K& a, const K& b) {
    return a < b ? -1 : (b < a ? 1 : 0);
}
// Byte by byte as unsigned characters up to the terminating zero (strcmp's order); the empty
// string sorts first.
inline int VelCompareKeys(const cow_String& a, const cow_String& b) {
    return a.Compare(b);
}

template <class K, class V>
class VelBtreeMap;
template <class Node>
struct VelBtreeAlgorithms;

// One entry of an ordered map.  The value comes first so that a pointer to the node is also a
// pointer to its value.  A node's height is the larger of (left height + 1) and (right height + 1),
// where an absent child contributes 0: a leaf has height 0, and for balancing an absent child and
// a leaf weigh the same.
template <class K, class V>
class VelBtreeNode {
public:
    VelBtreeNode(const K& key, const V& value) : m_Value(value), m_Key(key) {}
    VelBtreeNode(const K& key, V&& value) : m_Value(std::move(value)), m_Key(key) {}
    // A node's destruction destroys its subtrees.
    ~VelBtreeNode() {
        delete m_Left;
        delete m_Right;
    }
    VelBtreeNode(const VelBtreeNode&) = delete;
    VelBtreeNode& operator=(const VelBtreeNode&) = delete;

    static void* operator new(size_t size) { return mem_Malloc(size); }
    static void operator delete(void* node) noexcept { mem_Free(node); }

    const V& Value() const { return m_Value; }
    V& Value() { return m_Value; }
    const K& Key() const { return m_Key; }
    const VelBtreeNode* Left() const { return m_Left; }
    const VelBtreeNode* Right() const { return m_Right; }
    int Height() const { return m_Height; }

private:
    friend struct VelBtreeAlgorithms<VelBtreeNode>;
    friend class VelBtreeMap<K, V>;

    // Replacing a plain value assigns it; replacing a holder ends the old one (and its object's
    // life record) before the new one moves in.
    void Replace(const V& value) { m_Value = value; }
    void Replace(V&& value) {
        VelDestroyPolicy<V>::Destroy(m_Value);
        new (&m_Value) V(std::move(value));
    }

    V m_Value;
    K m_Key;
    VelBtreeNode* m_Left = nullptr;
    VelBtreeNode* m_Right = nullptr;
    int m_Height = 0;
};

// The tree mechanics shared by VelBtree and VelAutoBtree.  Only single rotations are made, and a
// leaf weighs the same as an absent child; both rules are part of the maps' observable shape and
// are kept on purpose.
template <class Node>
struct VelBtreeAlgorithms {
    static int HeightOf(const Node* node) { return node ? node->m_Height : 0; }
    static int Weight(const Node* child) { return child ? child->m_Height + 1 : 0; }
    static void FixHeight(Node* node) {
        int left = Weight(node->m_Left), right = Weight(node->m_Right);
        node->m_Height = left > right ? left : right;
    }

    // The root of the subtree once `node` is balanced (`node` itself when no rotation was due).
    static Node* Rebalance(Node* node) {
        int lean = HeightOf(node->m_Right) - HeightOf(node->m_Left);
        if (lean > 1) {
            Node* right = node->m_Right;
            node->m_Right = right->m_Left;
            right->m_Left = node;
            FixHeight(node);
            FixHeight(right);
            return right;
        }
        if (lean < -1) {
            Node* left = node->m_Left;
            node->m_Left = left->m_Right;
            left->m_Right = node;
            FixHeight(node);
            FixHeight(left);
            return left;
        }
        return node;
    }

    template <class K>
    static Node* Find(Node* node, const K& key) {
        while (node) {
            int order = VelCompareKeys(key, node->m_Key);
            if (order == 0) return node;
            node = order < 0 ? node->m_Left : node->m_Right;
        }
        return nullptr;
    }

    // Inserts below `node` (never null); true when a new node was made.
    template <class K, class Value>
    static bool InsertBelow(Node* node, const K& key, Value&& value, bool replace) {
        int order = VelCompareKeys(key, node->m_Key);
        if (order == 0) {
            if (replace) node->Replace(std::forward<Value>(value));
            return false;
        }
        Node*& child = order < 0 ? node->m_Left : node->m_Right;
        if (!child) {
            child = new Node(key, std::forward<Value>(value));
            FixHeight(node);
            return true;
        }
        bool made = InsertBelow(child, key, std::forward<Value>(value), replace);
        child = Rebalance(child);
        FixHeight(node);
        return made;
    }

    // Removes `key` from the subtree held in `slot`; true when it was there.
    template <class K>
    static bool RemoveBelow(Node*& slot, const K& key) {
        Node* node = slot;
        if (!node) return false;
        int order = VelCompareKeys(key, node->m_Key);
        if (order == 0) {
            slot = Unlink(node);
            node->m_Left = node->m_Right = nullptr;
            delete node;
            return true;
        }
        Node*& child = order < 0 ? node->m_Left : node->m_Right;
        bool found = RemoveBelow(child, key);
        if (child) child = Rebalance(child);
        FixHeight(node);
        return found;
    }

    // The node that takes `node`'s place.  With two children that is the successor; only its
    // height and its old parent's are recomputed here, the nodes between keep theirs.
    static Node* Unlink(Node* node) {
        if (!node->m_Right) return node->m_Left;
        if (!node->m_Left) return node->m_Right;
        Node* parent = node;
        Node* successor = node->m_Right;
        while (successor->m_Left) {
            parent = successor;
            successor = successor->m_Left;
        }
        if (successor != node->m_Right) {
            parent->m_Left = successor->m_Right;
            FixHeight(parent);
            successor->m_Right = node->m_Right;
        }
        successor->m_Left = node->m_Left;
        FixHeight(successor);
        return successor;
    }

    static Node* Clone(const Node* node) {
        if (!node) return nullptr;
        Node* copy = new Node(node->m_Key, node->m_Value);
        copy->m_Height = node->m_Height;
        try {
            copy->m_Left = Clone(node->m_Left);
            copy->m_Right = Clone(node->m_Right);
        } catch (...) {
            delete copy;
            throw;
        }
        return copy;
    }
};

// A cell of an iterator's stack of nodes, allocated through mem_Malloc.
template <class N>
class VelBtreeStackCell : public mem_AllocationOperators {
public:
    VelBtreeStackCell(const N* node, VelBtreeStackCell* next) : m_Node(node), m_Next(next) {}
    const N* Node() const { return m_Node; }
    VelBtreeStackCell* Next() const { return m_Next; }

private:
    const N* m_Node;
    VelBtreeStackCell* m_Next;
};

// An in-order walk that keeps the path from the root to the current node on an explicit stack,
// so that Next and Previous can be mixed freely.  The map must not change while it is walked.
template <class N>
class VelBtreeWalk {
public:
    using Link = VelBtreeStackCell<N>;

    VelBtreeWalk(const VelBtreeWalk&) = delete;
    VelBtreeWalk& operator=(const VelBtreeWalk&) = delete;
    ~VelBtreeWalk() { Reset(); }

    void First() {
        Reset();
        PushLeftChain(*m_Root);
    }
    void Last() {
        Reset();
        PushRightChain(*m_Root);
    }
    void Next() {
        const N* current = Current();
        if (current->Right()) {
            PushLeftChain(current->Right());
            return;
        }
        const N* popped = Pop();
        while (m_Top && m_Top->Node()->Right() == popped) popped = Pop();
    }
    void Previous() {
        const N* current = Current();
        if (current->Left()) {
            PushRightChain(current->Left());
            return;
        }
        const N* popped = Pop();
        while (m_Top && m_Top->Node()->Left() == popped) popped = Pop();
    }

    // True once the walk has run off either end, and before it is started.
    bool IsDone() const { return m_Top == nullptr; }
    const N* CurrentNode() const { return m_Top ? m_Top->Node() : nullptr; }
    // The stack, current node first.
    const Link* Stack() const { return m_Top; }

protected:
    explicit VelBtreeWalk(N* const& root) : m_Root(&root) {}

    const N* Current() const {
        VelASSERT(m_Top && "the iteration is over");
        return m_Top->Node();
    }

private:
    void Push(const N* node) { m_Top = new Link(node, m_Top); }
    const N* Pop() {
        Link* top = m_Top;
        const N* node = top->Node();
        m_Top = top->Next();
        delete top;
        return node;
    }
    void Reset() {
        while (m_Top) Pop();
    }
    void PushLeftChain(const N* node) {
        for (; node; node = node->Left()) Push(node);
    }
    void PushRightChain(const N* node) {
        for (; node; node = node->Right()) Push(node);
    }

    N* const* m_Root;
    Link* m_Top = nullptr;
};

template <class K, class V>
using VelBtreeNodeLink = VelBtreeStackCell<VelBtreeNode<K, V>>;

// What the two ordered maps share: the root, the count, and every operation but insertion and
// copying.  Keys are ordered by VelCompareKeys.
template <class K, class V>
class VelBtreeMap {
public:
    using Node = VelBtreeNode<K, V>;

    VelBtreeMap(const VelBtreeMap&) = delete;
    VelBtreeMap& operator=(const VelBtreeMap&) = delete;

    // Destroys the entry's value with its node.
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

    int Count() const { return m_Count; }
    const Node* Root() const { return m_Root; }
    // The slot that holds the root, for walks that must see the map's current root.
    Node* const& RootSlot() const { return m_Root; }

protected:
    using Tree = VelBtreeAlgorithms<Node>;

    VelBtreeMap() = default;
    VelBtreeMap(Node* root, int count) : m_Root(root), m_Count(count) {}
    ~VelBtreeMap() { Clear(); }

    // True when a new entry was made.  An existing key keeps its entry; its value is replaced
    // when `replace` is true.
    template <class Value>
    bool InsertValue(const K& key, Value&& value, bool replace) {
        if (!m_Root) {
            m_Root = new Node(key, std::forward<Value>(value));
            m_Count = 1;
            return true;
        }
        bool made = Tree::InsertBelow(m_Root, key, std::forward<Value>(value), replace);
        m_Root = Tree::Rebalance(m_Root);
        if (made) ++m_Count;
        return made;
    }

    void SwapWith(VelBtreeMap& other) {
        std::swap(m_Root, other.m_Root);
        std::swap(m_Count, other.m_Count);
    }

private:
    template <class Pointer>
    static Pointer Present(Pointer value) {
        VelVALIDATE(value && "the key is not in the map");
        return value;
    }
    static V* ValueOf(Node* node) { return node ? &node->m_Value : nullptr; }

    Node* m_Root = nullptr;
    int m_Count = 0;
};

// An ordered map of plain, copyable values: a height-balanced binary search tree with one key per
// node.
template <class K, class V>
class VelBtree : public VelBtreeMap<K, V> {
public:
    VelBtree() = default;
    VelBtree(const VelBtree& other)
        : VelBtreeMap<K, V>(VelBtreeMap<K, V>::Tree::Clone(other.Root()), other.Count()) {}
    VelBtree& operator=(const VelBtree& other) {
        if (&other != this) {
            VelBtree copy(other);
            Swap(copy);
        }
        return *this;
    }

    bool Insert(const K& key, const V& value, bool replace) {
        return this->InsertValue(key, value, replace);
    }
    void Swap(VelBtree& other) { this->SwapWith(other); }
};

// Walks a VelBtree in key order.  First() or Last() starts a walk.
template <class K, class V>
class VelBtreeIterator : public VelBtreeWalk<VelBtreeNode<K, V>> {
public:
    explicit VelBtreeIterator(const VelBtree<K, V>& map)
        : VelBtreeWalk<VelBtreeNode<K, V>>(map.RootSlot()) {}

    const K& CurrentKey() const { return this->Current()->Key(); }
    const V& CurrentValue() const { return this->Current()->Value(); }
};

#endif
