#ifndef VEL_CORE_VELAUTOPTR_H
#define VEL_CORE_VELAUTOPTR_H

#include <type_traits>

#include "vel/platform/mem_Memory.h"

// How an owner disposes of its object: the destructor runs and the memory goes back through
// mem_Free, so objects handed to an owner must come from mem_Malloc (directly, through
// mem_AllocationOperators, or through VelHolder::Create).  Kept out of line so that an owner can
// be declared while T is still incomplete.
template <class T>
struct VelAutoPtrObjectOutline {
    static void Delete(T* object) {
        if (!object) return;
        // A base pointer need not address the start of the block of a derived object.
        void* block = MostDerived(object);
        object->~T();
        mem_Free(block);
    }

private:
    static void* MostDerived(T* object) {
        if constexpr (std::is_polymorphic_v<T>) {
            return const_cast<void*>(dynamic_cast<const volatile void*>(object));
        } else {
            return const_cast<void*>(static_cast<const volatile void*>(object));
        }
    }
};

// The single owner of an object.  Ownership only moves: constructing from another owner, even
// from a non-const lvalue, takes its pointer and leaves it null.
template <class T, class Outline = VelAutoPtrObjectOutline<T>>
class VelAutoPtr {
public:
    explicit VelAutoPtr(T* object = nullptr) : m_Object(object) {}
    VelAutoPtr(VelAutoPtr& other) : m_Object(other.Release()) {}
    VelAutoPtr(VelAutoPtr&& other) noexcept : m_Object(other.Release()) {}
    VelAutoPtr& operator=(VelAutoPtr& other) { return Take(other); }
    VelAutoPtr& operator=(VelAutoPtr&& other) { return Take(other); }
    ~VelAutoPtr() { Delete(); }

    T* Get() const { return m_Object; }
    T* operator->() const { return m_Object; }
    T& operator*() const { return *m_Object; }
    explicit operator bool() const { return m_Object != nullptr; }

    // Gives up ownership without deleting.
    T* Release() {
        T* object = m_Object;
        m_Object = nullptr;
        return object;
    }
    // Deletes the object held, if any, and takes `object`.
    void Reset(T* object = nullptr) {
        if (object == m_Object) return;
        Delete();
        m_Object = object;
    }

private:
    VelAutoPtr& Take(VelAutoPtr& other) {
        if (&other != this) Reset(other.Release());
        return *this;
    }
    void Delete() {
        Outline::Delete(m_Object);
        m_Object = nullptr;
    }

    T* m_Object;
};

#endif
