#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "vel/platform/UTI_Modules.h"
#include "vel/platform/aio_Stream.h"
#include "vel/platform/atr_String.h"
#include "vel/platform/mem_Memory.h"
#include "vel/platform/nex_Exception.h"
#include "vel/platform/omi_BlkBitVect.h"
#include "vel/platform/omi_Swapper.h"

aio_ostream& aio_cout = std::cout;
aio_ostream& aio_cerr = std::cerr;

// ---- memory ------------------------------------------------------------------------------------

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

void mem_Free(void* data) { std::free(data); }

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
    : m_manager(manager), m_blockSize(blockSize < sizeof(FreeBlock) ? sizeof(FreeBlock) : blockSize) {}

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

// ---- text --------------------------------------------------------------------------------------

void atr_translate(atr_String& target, const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int needed = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (needed > 0) {
        std::vector<char> buffer(static_cast<size_t>(needed) + 1);
        std::vsnprintf(buffer.data(), buffer.size(), format, args);
        target.m_text.append(buffer.data(), static_cast<size_t>(needed));
    }
    va_end(args);
}

// ---- exceptions --------------------------------------------------------------------------------

const cls_Uid& nex_Exception::Uid() const {
    static const cls_Uid uid = {0x6e657830, 0x0001, 0x0001, {0, 0, 0, 0, 0, 0, 0, 1}};
    return uid;
}

const cls_Uid& nex_TextException::Uid() const {
    static const cls_Uid uid = {0x6e657830, 0x0001, 0x0002, {0, 0, 0, 0, 0, 0, 0, 2}};
    return uid;
}

const cls_Uid& nex_AssertException::Uid() const {
    static const cls_Uid uid = {0x6e657830, 0x0001, 0x0003, {0, 0, 0, 0, 0, 0, 0, 3}};
    return uid;
}

// ---- bit vectors -------------------------------------------------------------------------------

void omi_BlkBitVect::Resize(int64_t size) {
    m_size = size < 0 ? 0 : size;
    m_blocks.assign(static_cast<size_t>((m_size + 63) >> 6), 0);
}

void omi_BlkBitVect::SetRange(int64_t first, int64_t count) {
    for (int64_t i = first; i < first + count;) {
        if ((i & 63) == 0 && i + 64 <= first + count) {
            m_blocks[Block(i)] = ~uint64_t(0);
            i += 64;
        } else {
            Set(i++);
        }
    }
}

int64_t omi_BlkBitVect::Count() const {
    int64_t n = 0;
    for (uint64_t b : m_blocks) n += __builtin_popcountll(b);
    return n;
}

int64_t omi_BlkBitVect::NextSet(int64_t from) const {
    if (from < 0) from = 0;
    if (from >= m_size) return -1;
    size_t b = Block(from);
    uint64_t word = m_blocks[b] & (~uint64_t(0) << (from & 63));
    while (true) {
        if (word) return static_cast<int64_t>(b) * 64 + __builtin_ctzll(word);
        if (++b >= m_blocks.size()) return -1;
        word = m_blocks[b];
    }
}

// ---- byte order --------------------------------------------------------------------------------

void omi_Swapper::SwapInPlace(void* data, size_t width, size_t count) {
    unsigned char* bytes = static_cast<unsigned char*>(data);
    for (size_t k = 0; k < count; ++k, bytes += width)
        for (size_t i = 0, j = width - 1; i < j; ++i, --j) {
            const unsigned char t = bytes[i];
            bytes[i] = bytes[j];
            bytes[j] = t;
        }
}

void omi_Swapper::PutBigEndian32(unsigned char* out, uint32_t v) {
    for (int i = 3; i >= 0; --i, v >>= 8) out[i] = static_cast<unsigned char>(v & 0xff);
}

uint32_t omi_Swapper::GetBigEndian32(const unsigned char* in) {
    uint32_t v = 0;
    for (int i = 0; i < 4; ++i) v = (v << 8) | in[i];
    return v;
}

void omi_Swapper::PutBigEndian64(unsigned char* out, uint64_t v) {
    for (int i = 7; i >= 0; --i, v >>= 8) out[i] = static_cast<unsigned char>(v & 0xff);
}

uint64_t omi_Swapper::GetBigEndian64(const unsigned char* in) {
    uint64_t v = 0;
    for (int i = 0; i < 8; ++i) v = (v << 8) | in[i];
    return v;
}

// ---- module entries ----------------------------------------------------------------------------
// The utility services need no set-up of their own beyond what the C++ runtime provides; the
// entries keep their counters so that start and stop are counted like every other module.

namespace {
int g_coreUtilsStarts = 0;
int g_basicUtilsStarts = 0;
int g_xmlParserStarts = 0;
}  // namespace

void UTI_CoreUtils_initialize(int& count) { UTI_ModuleStarting(g_coreUtilsStarts, count); }
void UTI_CoreUtils_finalize(int& count) { UTI_ModuleStopping(g_coreUtilsStarts, count); }
void UTI_BasicUtils_initialize(int& count) { UTI_ModuleStarting(g_basicUtilsStarts, count); }
void UTI_BasicUtils_finalize(int& count) { UTI_ModuleStopping(g_basicUtilsStarts, count); }
void UTI_XmlParser_initialize(int& count) { UTI_ModuleStarting(g_xmlParserStarts, count); }
void UTI_XmlParser_finalize(int& count) { UTI_ModuleStopping(g_xmlParserStarts, count); }
