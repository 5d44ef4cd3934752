#ifndef VEL_CACHE_CHE_HANDLE_H
#define VEL_CACHE_CHE_HANDLE_H

#include "vel/cache/che_Key.h"
#include "vel/cache/che_RefPtr.h"

// What a che_Cache gives out: the key and a counted reference to the object under it.  While a
// handle lives the object stays in memory; an empty handle means the key was not cached.
template <class T>
class che_Handle {
public:
    che_Handle() = default;
    che_Handle(const che_Key& key, che_RefPtr<T> item) : m_key(key), m_item(std::move(item)) {}

    const che_Key& Key() const { return m_key; }
    bool IsNull() const { return m_item.IsNull(); }
    T* Get() const { return m_item.Get(); }
    T* operator->() const { return m_item.Get(); }
    T& operator*() const { return *m_item; }
    const che_RefPtr<T>& Ref() const { return m_item; }

private:
    che_Key m_key;
    che_RefPtr<T> m_item;
};

#endif
