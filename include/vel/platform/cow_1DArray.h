#ifndef VEL_PLATFORM_COW_1DARRAY_H
#define VEL_PLATFORM_COW_1DARRAY_H

#include <cstddef>
#include <vector>

// A growable one-dimensional array with value semantics.
template <class T>
class cow_1DArray {
public:
    cow_1DArray() = default;
    explicit cow_1DArray(int n) : m_items(static_cast<size_t>(n)) {}

    int Size() const { return static_cast<int>(m_items.size()); }
    void SetSize(int n) { m_items.resize(static_cast<size_t>(n)); }
    void Append(const T& value) { m_items.push_back(value); }
    void Clear() { m_items.clear(); }
    T& operator[](int i) { return m_items[static_cast<size_t>(i)]; }
    const T& operator[](int i) const { return m_items[static_cast<size_t>(i)]; }
    T* Data() { return m_items.data(); }
    const T* Data() const { return m_items.data(); }

private:
    std::vector<T> m_items;
};

// The name under which interfaces that fill a list of results take the same array.
template <class T>
using cow_1DArrayList = cow_1DArray<T>;

#endif
