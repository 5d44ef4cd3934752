#ifndef VEL_CORE_VELAUTOARRAY_H
#define VEL_CORE_VELAUTOARRAY_H

#include <new>
#include <utility>

#include "vel/core/VelAssert.h"
#include "vel/platform/mem_Memory.h"

// A growable array of move-only owners (holders), which it owns.  Growth relocates the elements
// bit by bit through mem_Realloc, so T must be trivially relocatable, as holders are: the
// capacity goes to 16 from nothing, then doubles.
template <class T, class = void>
class VelAutoArray {
public:
    // Names an array whose contents are about to be taken, so that the taking is visible where it
    // happens.
    class VelAutoArrayMoveSrc {
    public:
        explicit VelAutoArrayMoveSrc(VelAutoArray& source) : m_Source(source) {}

    private:
        friend class VelAutoArray;
        VelAutoArray& m_Source;
    };

    VelAutoArray() = default;
    explicit VelAutoArray(int n) { Reserve(n); }
    VelAutoArray(VelAutoArray& other) { TakeFrom(other); }
    VelAutoArray(VelAutoArray&& other) noexcept { TakeFrom(other); }
    VelAutoArray(VelAutoArrayMoveSrc source) { TakeFrom(source.m_Source); }
    VelAutoArray& operator=(VelAutoArray&& other) {
        if (&other != this) {
            ReleaseAll();
            TakeFrom(other);
        }
        return *this;
    }
    // Unlike Clear, also gives back a buffer that never held an element.
    ~VelAutoArray() { ReleaseAll(); }

    int Size() const { return m_Size; }
    int Capacity() const { return m_Capacity; }

    // clang-format off
    void CheckIndex(int i) const { VelVALIDATE(i >=0 && i < m_Size); }
    // clang-format on
    T& operator[](int i) {
        CheckIndex(i);
        return m_Data[i];
    }
    const T& operator[](int i) const {
        CheckIndex(i);
        return m_Data[i];
    }
    T* begin() { return m_Data; }
    T* end() { return m_Data + m_Size; }
    const T* begin() const { return m_Data; }
    const T* end() const { return m_Data + m_Size; }

    // Makes room for `n` elements in all (never shrinks).
    void Reserve(int n) {
        if (n <= m_Capacity) return;
        m_Data = static_cast<T*>(mem_Realloc(m_Data, static_cast<size_t>(n) * sizeof(T)));
        m_Capacity = n;
    }

    // Appends `count` elements: the first takes `value`, each further one is made from what the
    // first left behind, so pushing a holder three times appends it and two empty holders.
    void PushBack(T value, int count = 1) {
        VelVALIDATE(count >= 0);
        int capacity = m_Capacity;
        while (m_Size + count > capacity) capacity = capacity == 0 ? 16 : 2 * capacity;
        Reserve(capacity);
        for (int i = 0; i < count; ++i) {
            new (m_Data + m_Size) T(std::move(value));
            ++m_Size;
        }
    }

    // Destroys the elements, last first, and gives the buffer back.  An array that holds no
    // element keeps its buffer and capacity: space reserved ahead of the first element survives
    // a clear.
    void Clear() {
        if (m_Size == 0) return;
        ReleaseAll();
    }

private:
    void ReleaseAll() {
        for (int i = m_Size - 1; i >= 0; --i) m_Data[i].~T();
        mem_Free(m_Data);
        m_Data = nullptr;
        m_Size = 0;
        m_Capacity = 0;
    }
    void TakeFrom(VelAutoArray& other) {
        m_Data = other.m_Data;
        m_Size = other.m_Size;
        m_Capacity = other.m_Capacity;
        other.m_Data = nullptr;
        other.m_Size = 0;
        other.m_Capacity = 0;
    }

    T* m_Data = nullptr;
    int m_Size = 0;
    int m_Capacity = 0;
};

#endif
