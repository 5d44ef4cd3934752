#include "vel/cache/che_Cache.h"

#include <vector>

void che_Item::Release() {
    if (--m_refs > 0) return;
    if (m_cache)
        m_cache->BecameIdle(this);
    else
        delete this;
}

che_Cache::che_Cache(const char* name, int maxIdleItems, int64_t maxIdleWeight)
    : m_name(name ? name : ""), m_maxIdleItems(maxIdleItems), m_maxIdleWeight(maxIdleWeight) {}

che_Cache::~che_Cache() {
    Clear();
}

che_Item* che_Cache::Lookup(const che_Key& key) {
    auto found = m_items.find(key);
    if (found == m_items.end()) return nullptr;
    che_Item* item = found->second;
    if (item->m_onIdleList) LeaveIdleList(item);
    return item;
}

void che_Cache::Adopt(const che_Key& key, che_Item* item) {
    Erase(key);
    item->m_cache = this;
    item->m_key = key;
    item->m_weight = item->Weight();
    m_items.emplace(key, item);
}

void che_Cache::Erase(const che_Key& key) {
    auto found = m_items.find(key);
    if (found == m_items.end()) return;
    che_Item* item = found->second;
    m_items.erase(found);
    Detach(item);
}

void che_Cache::EraseSpace(uint64_t space) {
    std::vector<che_Key> keys;
    for (const auto& entry : m_items)
        if (entry.first.space == space) keys.push_back(entry.first);
    for (const che_Key& key : keys) Erase(key);
}

// An object leaving the cache: idle ones die now, referenced ones with their last holder.
void che_Cache::Detach(che_Item* item) {
    item->m_cache = nullptr;
    if (item->m_onIdleList) {
        LeaveIdleList(item);
        delete item;
    }
}

void che_Cache::FlushAll() {
    for (const auto& entry : m_items) entry.second->Flush();
}

void che_Cache::Clear() {
    std::unordered_map<che_Key, che_Item*, che_KeyHash> items;
    items.swap(m_items);
    for (const auto& entry : items) Detach(entry.second);
}

void che_Cache::BecameIdle(che_Item* item) {
    item->m_older = m_newestIdle;
    item->m_newer = nullptr;
    if (m_newestIdle)
        m_newestIdle->m_newer = item;
    else
        m_oldestIdle = item;
    m_newestIdle = item;
    item->m_onIdleList = true;
    ++m_idleCount;
    m_idleWeight += item->m_weight;
    EvictBeyondBounds();
}

void che_Cache::LeaveIdleList(che_Item* item) {
    (item->m_older ? item->m_older->m_newer : m_oldestIdle) = item->m_newer;
    (item->m_newer ? item->m_newer->m_older : m_newestIdle) = item->m_older;
    item->m_older = item->m_newer = nullptr;
    item->m_onIdleList = false;
    --m_idleCount;
    m_idleWeight -= item->m_weight;
}

void che_Cache::EvictBeyondBounds() {
    while (m_oldestIdle && (m_idleCount > m_maxIdleItems || m_idleWeight > m_maxIdleWeight)) {
        che_Item* victim = m_oldestIdle;
        m_items.erase(victim->m_key);
        Detach(victim);
    }
}
