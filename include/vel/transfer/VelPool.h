#ifndef VEL_TRANSFER_VELPOOL_H
#define VEL_TRANSFER_VELPOOL_H

#include <cstddef>

#include "vel/VelExport.h"

// Where a transfer in pool mode (VelTransfer::SetPool) takes its buffers from.  The transfer
// asks for a buffer whenever the current view needs more than the buffer it holds, gives the
// old one back first, and gives every buffer back when it is destroyed; a pool must outlive the
// transfers that use it.  Callers may derive their own pools, for example to recycle large
// buffers across transfers.
class VEL_API VelPool {
public:
    // A block of at least `size` bytes, aligned for any element type.
    virtual void* malloc(size_t size) = 0;
    // Takes back a block this pool gave out; null is ignored.
    virtual void free(void* block) = 0;
    virtual ~VelPool();
};

// A pool over the library's general allocator that counts its live blocks.  Destroying it
// while blocks are still out is a leak in the caller, reported on the error stream once per
// process.
class VEL_API VelSysPool : public VelPool {
public:
    VelSysPool() = default;
    VelSysPool(const VelSysPool&) = delete;
    VelSysPool& operator=(const VelSysPool&) = delete;

    void* malloc(size_t size) override;
    void free(void* block) override;
    ~VelSysPool() override;

    int LiveBlocks() const { return m_liveBlocks; }

private:
    // Prints the leak warning; a debugger stop here finds the pool that leaked.
    static void Report();

    int m_liveBlocks = 0;
};

#endif
