#include "vel/transfer/VelBufferSet.h"

#include <string>

#include "vel/core/VelAssert.h"

const char* VelstringNameOf(VelBufferType e) {
    switch (e) {
        case VelbufMain:
            return "bufMain";
        case VelbufIndicesNZ:
            return "bufIndicesNZ";
        case VelbufSparseMap:
            return "bufSparseMap";
        case VelbufDiagonal:
            return "bufDiagonal";
        case VelnDpaBufferType:
            break;
    }
    return "?BadBufferType?";
}

void VelCheckBufferType(int e) {
    VelVALIDATE(VelbufMain <= e && e < VelnDpaBufferType);
}

namespace {

void WriteEntry(aio_ostream& os, const void* entry) {
    os << entry;
}
void WriteEntry(aio_ostream& os, int entry) {
    os << std::to_string(entry);
}
void WriteEntry(aio_ostream& os, VelTypeKey entry) {
    os << VelstringNameOf(entry);
}

template <class Record>
void WriteRecord(aio_ostream& os, const Record& record) {
    os << "(BufSet    ";
    for (int e = 0; e < Record::Count(); ++e) {
        if (!record[e]) continue;
        os << "   " << VelstringNameOf(static_cast<VelBufferType>(e)) << "-->";
        WriteEntry(os, record[e]);
    }
    os << "  )";
}

}  // namespace

void VelBufferSet::WriteToOstream(aio_ostream& os) const {
    WriteRecord(os, *this);
}

void VelBufferSizes::WriteToOstream(aio_ostream& os) const {
    WriteRecord(os, *this);
}

void VelBufferDataKeys::WriteToOstream(aio_ostream& os) const {
    WriteRecord(os, *this);
}

aio_ostream& operator<<(aio_ostream& os, const VelBufferSet& set) {
    set.WriteToOstream(os);
    return os;
}

aio_ostream& operator<<(aio_ostream& os, const VelBufferSizes& sizes) {
    sizes.WriteToOstream(os);
    return os;
}

aio_ostream& operator<<(aio_ostream& os, const VelBufferDataKeys& keys) {
    keys.WriteToOstream(os);
    return os;
}
