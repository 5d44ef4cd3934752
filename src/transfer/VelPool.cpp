#include "vel/transfer/VelPool.h"

#include "vel/platform/aio_Stream.h"
#include "vel/platform/mem_Memory.h"

namespace {
// The leak warning is printed once in the life of the process: a program that leaks one pool
// per step would otherwise drown its own output.
bool s_reportLeaks = true;
}  // namespace

VelPool::~VelPool() = default;

void* VelSysPool::malloc(size_t size) {
    void* block = mem_Malloc(size);
    if (block) ++m_liveBlocks;
    return block;
}

void VelSysPool::free(void* block) {
    if (!block) return;
    mem_Free(block);
    --m_liveBlocks;
}

VelSysPool::~VelSysPool() {
    if (m_liveBlocks != 0 && s_reportLeaks) {
        s_reportLeaks = false;
        Report();
    }
}

void VelSysPool::Report() {
    aio_cerr << "??? a VelSysPool is being destructed without being empty.  A stop in "
                "VelSysPool::Report will show where\n"
             << std::flush;
}
