#ifndef VEL_CACHE_CHE_CACHE_H
#define VEL_CACHE_CHE_CACHE_H

#include <cstdint>
#include <string>
#include <unordered_map>

#include "vel/VelExport.h"
#include "vel/cache/che_Handle.h"
#include "vel/cache/che_Key.h"
#include "vel/cache/che_RefPtr.h"

// A keyed cache of reference-counted objects.
//
// An object is kept for as long as anybody references it, whatever the bounds.  Once its last
// reference goes it joins the idle list, newest last; the idle objects are then bounded in
// number (`maxIdleItems`) and in total weight (`maxIdleWeight`), and the least recently used are
// evicted first until both bounds hold.  Erase drops a key at once: a referenced object stays
// alive for its holders but is no longer found, so a lookup after Erase never sees it.
class VEL_API che_Cache {
public:
    che_Cache(const char* name, int maxIdleItems, int64_t maxIdleWeight);
    ~che_Cache();
    che_Cache(const che_Cache&) = delete;
    che_Cache& operator=(const che_Cache&) = delete;

    // The object under `key`, or an empty handle.  A hit makes the object most recently used.
    template <class T>
    che_Handle<T> Find(const che_Key& key) {
        return che_Handle<T>(key, che_RefPtr<T>(static_cast<T*>(Lookup(key))));
    }
    // Takes ownership of `item` (which must not be in a cache) under `key`, replacing whatever
    // was there, and returns a handle on it.
    template <class T>
    che_Handle<T> Insert(const che_Key& key, T* item) {
        che_RefPtr<T> ref(item);
        Adopt(key, item);
        return che_Handle<T>(key, std::move(ref));
    }
    void Erase(const che_Key& key);
    // Erases every key of one space (for example every index set of a closed collection).
    void EraseSpace(uint64_t space);
    // Calls Flush on every object in the cache, referenced or idle.
    void FlushAll();
    void Clear();

    const std::string& Name() const { return m_name; }
    int Size() const { return static_cast<int>(m_items.size()); }
    int IdleCount() const { return m_idleCount; }
    int64_t IdleWeight() const { return m_idleWeight; }

private:
    friend class che_Item;
    che_Item* Lookup(const che_Key& key);
    void Adopt(const che_Key& key, che_Item* item);
    void Detach(che_Item* item);
    void BecameIdle(che_Item* item);
    void LeaveIdleList(che_Item* item);
    void EvictBeyondBounds();

    std::string m_name;
    int m_maxIdleItems;
    int64_t m_maxIdleWeight;
    std::unordered_map<che_Key, che_Item*, che_KeyHash> m_items;
    che_Item* m_oldestIdle = nullptr;
    che_Item* m_newestIdle = nullptr;
    int m_idleCount = 0;
    int64_t m_idleWeight = 0;
};

#endif
