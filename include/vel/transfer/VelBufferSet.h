#ifndef VEL_TRANSFER_VELBUFFERSET_H
#define VEL_TRANSFER_VELBUFFERSET_H

#include "vel/VelExport.h"
#include "vel/core/VelTypeKey.h"
#include "vel/platform/aio_Stream.h"

// The four buffers of a transfer.  bufMain holds the values; the sparse serializations add the
// column index of each nonzero (bufIndicesNZ), where each row's nonzeros begin (bufSparseMap)
// and, when symmetric, the diagonal (bufDiagonal).
enum VelBufferType : int {
    VelbufMain = 0,
    VelbufIndicesNZ = 1,
    VelbufSparseMap = 2,
    VelbufDiagonal = 3,
    VelnDpaBufferType = 4
};

// "bufMain", "bufIndicesNZ", "bufSparseMap", "bufDiagonal"; "?BadBufferType?" for any other value.
VEL_API const char* VelstringNameOf(VelBufferType e);

// Validates that `e` names one of the four buffers ("VelbufMain <= e && e < VelnDpaBufferType").
VEL_API void VelCheckBufferType(int e);

// One entry per buffer, zero when the record is made or Init()ed.  Indexing validates the buffer.
template <class T>
class VelBufferRecord {
public:
    static constexpr int Count() { return VelnDpaBufferType; }

    void Init() {
        for (T& entry : m_entries) entry = T();
    }
    T& operator[](int e) {
        VelCheckBufferType(e);
        return m_entries[e];
    }
    const T& operator[](int e) const {
        VelCheckBufferType(e);
        return m_entries[e];
    }

private:
    T m_entries[VelnDpaBufferType] = {};
};

// All three records print alike: "(BufSet    ", then "   <name>--><entry>" for every non-zero
// entry, then "  )".
//
// Where each buffer's memory begins.
class VEL_API VelBufferSet : public VelBufferRecord<void*> {
public:
    void WriteToOstream(aio_ostream& os) const;
};

// A size in bytes per buffer.
class VEL_API VelBufferSizes : public VelBufferRecord<int> {
public:
    void WriteToOstream(aio_ostream& os) const;
};

// The element type held in each buffer; 0 for a buffer that holds nothing.
class VEL_API VelBufferDataKeys : public VelBufferRecord<VelTypeKey> {
public:
    void WriteToOstream(aio_ostream& os) const;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelBufferSet& set);
VEL_API aio_ostream& operator<<(aio_ostream& os, const VelBufferSizes& sizes);
VEL_API aio_ostream& operator<<(aio_ostream& os, const VelBufferDataKeys& keys);

#endif
