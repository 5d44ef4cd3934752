#include "vel/platform/mem_Memory.h"

#include <cstdlib>

void* mem_Malloc(size_t size) {
    void* data = std::malloc(size ? size : 1);
    if (!data) throw std::bad_alloc();
    return data;
}

void* mem_Calloc(size_t count, size_t size) {
    void* data = std::calloc(count ? count : 1, size ? size : 1);
    if (!data) throw std::bad_alloc();
    return data;
}

void* mem_Realloc(void* data, size_t size) {
    void* grown = std::realloc(data, size ? size : 1);
    if (!grown) throw std::bad_alloc();
    return grown;
}

void mem_Free(void* data) {
    std::free(data);
}

void* mem_CacheManager::Allocate(size_t size) {
    void* data = mem_Malloc(size);
    ++m_outstanding;
    return data;
}

void mem_CacheManager::Release(void* data) {
    if (!data) return;
    mem_Free(data);
    --m_outstanding;
}

mem_CachePool::mem_CachePool(mem_CacheManager& manager, size_t blockSize)
    : m_manager(manager),
      m_blockSize(blockSize < sizeof(FreeBlock) ? sizeof(FreeBlock) : blockSize) {}

mem_CachePool::~mem_CachePool() {
    while (m_free) {
        FreeBlock* next = m_free->next;
        m_manager.Release(m_free);
        m_free = next;
    }
}

void* mem_CachePool::Allocate() {
    if (!m_free) return m_manager.Allocate(m_blockSize);
    FreeBlock* block = m_free;
    m_free = block->next;
    return block;
}

void mem_CachePool::Release(void* block) {
    if (!block) return;
    FreeBlock* freed = static_cast<FreeBlock*>(block);
    freed->next = m_free;
    m_free = freed;
}
