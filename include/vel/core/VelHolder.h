#ifndef VEL_CORE_VELHOLDER_H
#define VEL_CORE_VELHOLDER_H

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

#include "vel/VelExport.h"
#include "vel/core/VelAutoPtr.h"
#include "vel/platform/mem_Memory.h"

// Shared by one holder and the observers it handed out.  `alive` is 1 while the holder still
// holds the object; `observers` counts the live VelWeakReferences.  Whichever of the holder and
// the last observer goes second frees the record, so an observer can always ask whether its object
// still exists.
struct VEL_API VelLifeRecord : mem_AllocationOperators {
    int observers = 0;
    int alive = 1;
};

// Disposes of a value in place, leaving its storage to the caller.  The ordered maps use it to
// end the holders they own.
template <class T>
struct VelDestroyPolicy {
    static void Destroy(T& value) { value.~T(); }
};

template <class Repr, class Iface>
class VelHolder;

// The observer of an object owned by a VelHolder: base of every interface class.  It never keeps
// its object alive; Get() gives null once the holder has died, and interface classes check that
// before every operation.
template <class Repr>
class VelWeakReference {
public:
    using ObservedRepr = Repr;

    VelWeakReference() = default;
    VelWeakReference(const VelWeakReference& other) { Observe(other.m_Repr, other.m_Life); }
    // Raises the source's count before dropping our own record, so assigning an observer to
    // itself (or to another observer of the same record) never frees the record in between.
    VelWeakReference& operator=(const VelWeakReference& other) {
        Observe(other.m_Repr, other.m_Life);
        return *this;
    }
    ~VelWeakReference() { Release(); }

protected:
    // The object, or null when there is none or its holder has died.
    Repr* Get() const { return IsAlive() ? m_Repr : nullptr; }
    bool IsAlive() const { return m_Life && m_Life->alive != 0; }
    // How many observers share this one's record (0 when it has none).
    int ObserverCount() const { return m_Life ? m_Life->observers : 0; }

private:
    template <class, class>
    friend class VelHolder;

    void Observe(Repr* repr, VelLifeRecord* life) {
        if (life) ++life->observers;
        Release();
        m_Repr = repr;
        m_Life = life;
    }
    void Release() {
        if (m_Life && --m_Life->observers == 0 && m_Life->alive == 0) delete m_Life;
        m_Life = nullptr;
        m_Repr = nullptr;
    }

    Repr* m_Repr = nullptr;
    VelLifeRecord* m_Life = nullptr;
};

// The owner of a representation and of its life record.  A holder is never shared: constructing
// from another holder, even a non-const lvalue, moves both pointers and leaves the source empty.
// `Iface` is the interface class whose objects Get() hands out; it derives publicly from
// VelWeakReference of Repr or of a base of Repr, and is default-constructible.
template <class Repr, class Iface>
class VelHolder {
public:
    VelHolder() = default;
    // Takes ownership of `repr` (allocated through mem_Malloc).  Should the record allocation
    // throw, the object is deleted before the exception leaves.
    explicit VelHolder(Repr* repr) : m_Repr(repr) {
        if (!m_Repr) return;
        try {
            m_Life = new VelLifeRecord;
        } catch (...) {
            VelAutoPtrObjectOutline<Repr>::Delete(m_Repr);
            throw;
        }
    }
    VelHolder(VelHolder& other) : VelHolder() { TakeFrom(other); }
    VelHolder(VelHolder&& other) noexcept : VelHolder() { TakeFrom(other); }
    // A holder of a derived representation becomes a holder of its base.
    template <class Derived, class = std::enable_if_t<std::is_convertible_v<Derived*, Repr*> &&
                                                      !std::is_same_v<Derived, Repr>>>
    VelHolder(VelHolder<Derived, Iface>& other) : VelHolder() {
        TakeFrom(other);
    }
    template <class Derived, class = std::enable_if_t<std::is_convertible_v<Derived*, Repr*> &&
                                                      !std::is_same_v<Derived, Repr>>>
    VelHolder(VelHolder<Derived, Iface>&& other) noexcept : VelHolder() {
        TakeFrom(other);
    }
    VelHolder& operator=(VelHolder& other) { return Assign(other); }
    VelHolder& operator=(VelHolder&& other) { return Assign(other); }
    ~VelHolder() { Destroy(); }

    // Allocates a representation through mem_Malloc, constructs it from `args` and wraps it in a
    // holder with a fresh life record.
    template <class... Args>
    static VelHolder Create(Args&&... args) {
        static_assert(alignof(Repr) <= alignof(std::max_align_t),
                      "mem_Malloc does not align beyond max_align_t");
        void* place = mem_Malloc(sizeof(Repr));
        Repr* repr;
        try {
            repr = new (place) Repr(std::forward<Args>(args)...);
        } catch (...) {
            mem_Free(place);
            throw;
        }
        return VelHolder(repr);
    }

    // An interface object observing the held representation (an empty one for an empty holder).
    Iface Get() const {
        using Observer = VelWeakReference<typename Iface::ObservedRepr>;
        Iface iface;
        static_cast<Observer&>(iface).Observe(m_Repr, m_Life);
        return iface;
    }

    Repr* GetRepr() const { return m_Repr; }
    Repr* operator->() const { return m_Repr; }
    Repr& operator*() const { return *m_Repr; }
    explicit operator bool() const { return m_Repr != nullptr; }

private:
    template <class, class>
    friend class VelHolder;

    template <class Other>
    void TakeFrom(VelHolder<Other, Iface>& other) {
        m_Repr = other.m_Repr;
        m_Life = other.m_Life;
        other.m_Repr = nullptr;
        other.m_Life = nullptr;
    }
    VelHolder& Assign(VelHolder& other) {
        if (&other == this) return *this;
        VelHolder old(*this);
        TakeFrom(other);
        return *this;
    }
    // Ends the life record first, so that observers see the object as dead while its destructor
    // runs, then deletes the object.
    void Destroy() {
        if (m_Life) {
            m_Life->alive = 0;
            if (m_Life->observers == 0) delete m_Life;
            m_Life = nullptr;
        }
        VelAutoPtrObjectOutline<Repr>::Delete(m_Repr);
        m_Repr = nullptr;
    }

    Repr* m_Repr = nullptr;
    VelLifeRecord* m_Life = nullptr;
};

#endif
