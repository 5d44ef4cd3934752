#ifndef VEL_PLATFORM_MEM_MEMORY_H
#define VEL_PLATFORM_MEM_MEMORY_H

#include <cstddef>
#include <new>
#include <string>

#include "vel/VelExport.h"

// Memory services.  Every allocation of the library goes through these functions; a failed
// allocation of a non-zero size throws std::bad_alloc, so callers never see a null result.
VEL_API void* mem_Malloc(size_t size);
VEL_API void* mem_Calloc(size_t count, size_t size);
VEL_API void* mem_Realloc(void* data, size_t size);
VEL_API void mem_Free(void* data);

// Gives a class the placement new that returns the place given, a placement delete that does
// nothing, and an ordinary delete that returns the memory through mem_Free.
struct VEL_API mem_AllocationOperators {
    static void* operator new(size_t size) { return mem_Malloc(size); }
    static void* operator new(size_t, void* place) noexcept { return place; }
    static void operator delete(void*, void*) noexcept {}
    static void operator delete(void* data) noexcept { mem_Free(data); }
};

// An allocator that owners hand memory requests to.
class VEL_API mem_Allocator {
public:
    virtual ~mem_Allocator() = default;
    virtual void* Allocate(size_t size) = 0;
    virtual void Release(void* data) = 0;
};

// A named allocator that counts what it hands out, so that its owner can tell at shutdown
// whether every block came back.
class VEL_API mem_CacheManager : public mem_Allocator {
public:
    explicit mem_CacheManager(const char* name) : m_name(name ? name : "") {}
    void* Allocate(size_t size) override;
    void Release(void* data) override;
    const std::string& Name() const { return m_name; }
    long long Outstanding() const { return m_outstanding; }

private:
    std::string m_name;
    long long m_outstanding = 0;
};

// A pool of equal-sized blocks taken from a cache manager; released blocks are kept for reuse.
class VEL_API mem_CachePool {
public:
    mem_CachePool(mem_CacheManager& manager, size_t blockSize);
    ~mem_CachePool();
    mem_CachePool(const mem_CachePool&) = delete;
    mem_CachePool& operator=(const mem_CachePool&) = delete;

    void* Allocate();
    void Release(void* block);
    size_t BlockSize() const { return m_blockSize; }

private:
    struct FreeBlock {
        FreeBlock* next;
    };
    mem_CacheManager& m_manager;
    size_t m_blockSize;
    FreeBlock* m_free = nullptr;
};

#endif
