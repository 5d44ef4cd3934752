#ifndef VEL_CACHE_CHE_REFPTR_H
#define VEL_CACHE_CHE_REFPTR_H

#include <cstdint>
#include <utility>

#include "vel/VelExport.h"
#include "vel/cache/che_Key.h"

class che_Cache;

// Base of every object a che_Cache can hold: an intrusive reference count and the cache's
// bookkeeping.  An object that belongs to no cache is deleted with its last reference; one that
// belongs to a cache is handed back to it, which keeps it for reuse or evicts it.
class VEL_API che_Item {
public:
    che_Item() = default;
    che_Item(const che_Item&) = delete;
    che_Item& operator=(const che_Item&) = delete;
    virtual ~che_Item() = default;

    // What the object costs the cache while it is kept unreferenced (for example its number of
    // decoded members).  Read once, when the object enters the cache.
    virtual int64_t Weight() const { return 1; }
    // Writes whatever the object holds that is not yet in the file; called by che_Cache::FlushAll.
    virtual void Flush() {}

    int RefCount() const { return m_refs; }
    bool IsCached() const { return m_cache != nullptr; }

    void AddRef() { ++m_refs; }
    void Release();

private:
    friend class che_Cache;
    int m_refs = 0;
    che_Cache* m_cache = nullptr;
    che_Key m_key;
    int64_t m_weight = 0;
    // Links of the cache's least-recently-used list; only unreferenced objects are on it.
    che_Item* m_older = nullptr;
    che_Item* m_newer = nullptr;
    bool m_onIdleList = false;
};

// A counted reference to a che_Item of type T.
template <class T>
class che_RefPtr {
public:
    che_RefPtr() = default;
    explicit che_RefPtr(T* item) : m_item(item) {
        if (m_item) m_item->AddRef();
    }
    che_RefPtr(const che_RefPtr& other) : che_RefPtr(other.m_item) {}
    che_RefPtr(che_RefPtr&& other) noexcept : m_item(std::exchange(other.m_item, nullptr)) {}
    template <class U>
    che_RefPtr(const che_RefPtr<U>& other) : che_RefPtr(other.Get()) {}
    ~che_RefPtr() { Reset(); }

    che_RefPtr& operator=(che_RefPtr other) noexcept {
        std::swap(m_item, other.m_item);
        return *this;
    }

    void Reset() {
        if (T* item = std::exchange(m_item, nullptr)) item->Release();
    }
    T* Get() const { return m_item; }
    T* operator->() const { return m_item; }
    T& operator*() const { return *m_item; }
    bool IsNull() const { return m_item == nullptr; }
    explicit operator bool() const { return m_item != nullptr; }

private:
    T* m_item = nullptr;
};

#endif
