#ifndef VEL_TYPES_VELRECHANDLE_H
#define VEL_TYPES_VELRECHANDLE_H

#include "vel/VelExport.h"
#include "vel/platform/mem_Memory.h"

// Base of the representations that record-type handles share: the reference count, a virtual
// destructor and the imported allocator.  A representation does not change once a handle to it
// has been given out, except for the append-only lists, whose handles share their appends.
class VEL_API VelRecShared : public mem_AllocationOperators {
public:
    VelRecShared() = default;
    VelRecShared(const VelRecShared&) = delete;
    VelRecShared& operator=(const VelRecShared&) = delete;
    virtual ~VelRecShared() = default;

private:
    template <class>
    friend class VelRecHandle;
    int m_References = 0;
};

// A counted reference to a representation derived from VelRecShared: copying shares it, and the
// last reference to go deletes it.  A default handle refers to nothing.  Copying and releasing
// go through the base, so a handle can be copied where its representation is only declared.
template <class Repr>
class VelRecHandle {
public:
    VelRecHandle() = default;
    // Takes a representation fresh from new.
    explicit VelRecHandle(Repr* repr) : m_Shared(repr) { Acquire(); }
    VelRecHandle(const VelRecHandle& other) : m_Shared(other.m_Shared) { Acquire(); }
    VelRecHandle& operator=(const VelRecHandle& other) {
        VelRecShared* old = m_Shared;
        m_Shared = other.m_Shared;
        Acquire();
        Release(old);
        return *this;
    }
    ~VelRecHandle() { Release(m_Shared); }

    Repr* Get() const { return static_cast<Repr*>(m_Shared); }
    Repr* operator->() const { return Get(); }
    explicit operator bool() const { return m_Shared != nullptr; }

private:
    void Acquire() {
        if (m_Shared) ++m_Shared->m_References;
    }
    static void Release(VelRecShared* shared) {
        if (shared && --shared->m_References == 0) delete shared;
    }

    VelRecShared* m_Shared = nullptr;
};

#endif
