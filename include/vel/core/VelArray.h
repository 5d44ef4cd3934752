#ifndef VEL_CORE_VELARRAY_H
#define VEL_CORE_VELARRAY_H

#include <cstdlib>
#include <new>
#include <type_traits>

#include "vel/VelExport.h"
#include "vel/core/VelAssert.h"
#include "vel/platform/aio_Stream.h"
#include "vel/platform/mem_Memory.h"

// How a VelArray gets, copies and releases its buffer.  Elements of class type are constructed and
// destroyed one by one; other elements are left as mem_Malloc returns them.
template <class T>
struct VelArrayDefaultManagementPolicy {
    static T* New(int newSize) {
        VelASSERT(newSize >= 0);
        if (newSize == 0) return nullptr;
        T* data = static_cast<T*>(mem_Malloc(static_cast<size_t>(newSize) * sizeof(T)));
        if constexpr (std::is_class_v<T>) {
            int built = 0;
            try {
                for (; built < newSize; ++built) new (data + built) T();
            } catch (...) {
                Delete(built, data);
                throw;
            }
        }
        return data;
    }

    // A fresh buffer of `newSize` elements whose leading min(newSize, oldSize) elements are copies
    // of the old ones; the old buffer is left to the caller.
    static T* NewFromOld(int newSize, int oldSize, const T* oldData) {
        if (newSize < 1) {
            VelASSERT(newSize >= 0);
            return nullptr;
        }
        VelASSERT(0 == oldSize || (0 < oldSize && 0 != oldData));
        T* data = New(newSize);
        int kept = newSize < oldSize ? newSize : oldSize;
        try {
            for (int i = kept - 1; i >= 0; --i) data[i] = oldData[i];
        } catch (...) {
            Delete(newSize, data);
            throw;
        }
        return data;
    }

    static void Delete(int size, T* data) {
        if constexpr (std::is_class_v<T>) {
            for (int i = size - 1; i >= 0; --i) data[i].~T();
        }
        mem_Free(data);
    }
};

// A fixed-size array with a signed 32-bit size: the sequence type of the public interface.  The
// buffer always holds exactly Size() elements (none when empty), so every resize reallocates.
template <class T, class Policy = VelArrayDefaultManagementPolicy<T>>
class VelArray {
public:
    VelArray() = default;
    explicit VelArray(int n) : m_Size(n), m_Data(Policy::New(n)) {}
    VelArray(const VelArray& other)
        : m_Size(other.m_Size),
          m_Data(Policy::NewFromOld(other.m_Size, other.m_Size, other.m_Data)) {}
    VelArray(VelArray&& other) noexcept : m_Size(other.m_Size), m_Data(other.m_Data) {
        other.m_Size = 0;
        other.m_Data = nullptr;
    }
    VelArray& operator=(const VelArray& other) {
        if (&other == this) return *this;
        T* data = Policy::NewFromOld(other.m_Size, other.m_Size, other.m_Data);
        Policy::Delete(m_Size, m_Data);
        m_Size = other.m_Size;
        m_Data = data;
        return *this;
    }
    VelArray& operator=(VelArray&& other) noexcept {
        if (&other == this) return *this;
        Policy::Delete(m_Size, m_Data);
        m_Size = other.m_Size;
        m_Data = other.m_Data;
        other.m_Size = 0;
        other.m_Data = nullptr;
        return *this;
    }
    ~VelArray() { Policy::Delete(m_Size, m_Data); }

    int Size() const { return m_Size; }

    // Keeps the leading min(old, n) elements; new ones are default-constructed.
    void SetSize(int n) {
        T* data = Policy::NewFromOld(n, m_Size, m_Data);
        Policy::Delete(m_Size, m_Data);
        m_Size = n;
        m_Data = data;
    }

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

    // Hands the buffer to qsort with an element width of 8 bytes whatever T is, so it orders
    // arrays of 8-byte elements (pointers above all).  Narrower elements would make qsort read
    // past the buffer and are refused when Sort is compiled for them.
    void Sort(int (*compare)(const void*, const void*)) {
        static_assert(sizeof(T) >= 8, "VelArray::Sort moves 8-byte elements");
        if (m_Size > 0) std::qsort(m_Data, static_cast<size_t>(m_Size), 8, compare);
    }

private:
    int m_Size = 0;
    T* m_Data = nullptr;
};

// Disposes of an array in place, leaving its storage to the caller.
template <class A>
struct VelArrayDestroyPolicy {
    static void Destroy(A& array) { array.~A(); }
};

// "( 1 2 3 )"; an empty array prints "( )".
VEL_API aio_ostream& operator<<(aio_ostream& out, const VelArray<int>& array);

#endif
