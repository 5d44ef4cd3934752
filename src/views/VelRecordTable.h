#ifndef VEL_SRC_VIEWS_VELRECORDTABLE_H
#define VEL_SRC_VIEWS_VELRECORDTABLE_H

// The row formats of the record store's tables and the block cache through which rows are read.

#include <array>
#include <cstdint>
#include <cstring>
#include <deque>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

#include "vel/core/VelArray.h"
#include "vel/hdf/hdf_Dataset.h"
#include "vel/hdf/hdf_Datatype.h"
#include "vel/platform/omi_Swapper.h"
#include "vel/types/VelRecHandle.h"
#include "vel/types/VelRecType.h"
#include "vel/types/VelRecTypeExpandedDataRecord.h"
#include "vel/types/VelTypeRegistry.h"
#include "views/VelRowBlock.h"

// The stored values are big-endian whatever the host: the store's byte order is fixed, and the
// swapper reverses bytes only on a little-endian host.
// Inline, since every member access goes through them.
struct VelRecordBytes {
    static void Put32(unsigned char* at, uint32_t value) {
        if (omi_Swapper::MachineIsLittleEndian()) value = omi_Swapper::Swap(value);
        std::memcpy(at, &value, sizeof value);
    }
    static uint32_t Get32(const unsigned char* at) {
        uint32_t value;
        std::memcpy(&value, at, sizeof value);
        return omi_Swapper::MachineIsLittleEndian() ? omi_Swapper::Swap(value) : value;
    }
    static void Put64(unsigned char* at, uint64_t value) {
        if (omi_Swapper::MachineIsLittleEndian()) value = omi_Swapper::Swap(value);
        std::memcpy(at, &value, sizeof value);
    }
    static uint64_t Get64(const unsigned char* at) {
        uint64_t value;
        std::memcpy(&value, at, sizeof value);
        return omi_Swapper::MachineIsLittleEndian() ? omi_Swapper::Swap(value) : value;
    }
};

// The compound row types of association tables, by shape: associations whose members have the
// same identifier sizes and key kinds have rows of one type, built once for all of them.
class VelPairRowTypes {
public:
    const hdf_Datatype& TypeOf(const VelRecTypeAssociation& type);
    // Releases every type.
    void Clear() { m_types.clear(); }

private:
    std::map<std::array<int, 6>, hdf_Datatype> m_types;
};

// The format of one table's rows: its compound HDF5 type (big-endian members, so the bytes of a
// row in memory are the bytes in the file and nothing is converted) and where each value sits.
class VelRowLayout : public VelRecShared {
public:
    static constexpr int e_SerialSize = 8;

    // A data record row: the serial, then the flattened record, base members first.
    VelRowLayout(const VelRecTypeDataRecord& type, const VelTypeRegistry& registry);
    // An association row: per member the participant's identifier and its position or key; the
    // row type is the one `types` holds for the association's shape.
    VelRowLayout(const VelRecTypeAssociation& type, VelPairRowTypes& types);

    int Category() const { return m_category; }
    int Width() const { return m_width; }
    const hdf_Datatype& Type() const { return m_type; }

    // Where each member of a data record row sits, its category and, for a symbolic constant,
    // its limit, by member position (the accessors' lookup, kept apart from the member
    // descriptions).
    struct MemberSlot {
        VelRecTypeDataCategory category = VelRecTypeCategoryBoolean;
        int offset = 0;
        int limit = 0;
        VelRecTypeDataCategory Category() const { return category; }
        int LimitValue() const { return limit; }
    };
    const VelArray<MemberSlot>& Members() const { return m_members; }

    const VelRecTypeExpandedDataRecord& Record() const { return *m_record; }
    int RecordSize() const { return m_width - e_SerialSize; }
    // The bytes of a new record, every member at its default; made by the first record.
    std::vector<unsigned char>& Defaults() const { return m_defaults; }

    const VelRecTypeAssociation& Association() const { return *m_association; }
    int IDOffset(int member) const { return m_idOffset[member]; }
    int IDSize(int member) const { return m_idSize[member]; }
    int KeyOffset(int member) const { return m_keyOffset[member]; }
    int KeySize(int member) const { return m_keySize[member]; }

private:
    int m_category;
    int m_width = 0;
    hdf_Datatype m_type;
    std::optional<VelRecTypeExpandedDataRecord> m_record;
    VelArray<MemberSlot> m_members;
    mutable std::vector<unsigned char> m_defaults;
    std::optional<VelRecTypeAssociation> m_association;
    int m_idOffset[2] = {0, 0};
    int m_idSize[2] = {0, 0};
    int m_keyOffset[2] = {0, 0};
    int m_keySize[2] = {0, 0};
};

// Committed rows of one table, read a block at a time (a block is e_BlockRows rows, eight chunks
// of the table) and kept while the view is open, up to e_MaxBytes.  Rows are read in order far more
// often than not, so the block of the last row asked for is tried first.  The bound is a few
// megabytes: a block moves from the file into memory it has already touched faster than a larger
// cache's fresh pages are faulted in, so a scan of a long table costs less with blocks read again
// than with blocks kept.
class VelTableCache {
public:
    static constexpr int64_t e_ChunkRows = 1024;
    static constexpr int64_t e_BlockRows = 8 * e_ChunkRows;
    static constexpr int64_t e_MaxBytes = int64_t(8) << 20;

    // The block that holds row `row` of the first `rows` rows of `table`, a table that has
    // passed VelStoreIO::CheckTable.  The block stays valid while the caller holds a handle to
    // it, whatever the cache does next.
    const VelRecHandle<VelRowBlock>& Block(const hdf_Dataset& table, const VelRowLayout& layout,
                                           int64_t rows, int64_t row) {
        if (m_Last && row >= m_Last->First() && row < m_Last->First() + m_Last->Rows())
            return m_Last;
        return Load(table, layout, rows, row);
    }
    void Clear();

private:
    const VelRecHandle<VelRowBlock>& Load(const hdf_Dataset& table, const VelRowLayout& layout,
                                          int64_t rows, int64_t row);

    std::unordered_map<int64_t, VelRecHandle<VelRowBlock>> m_Blocks;
    std::deque<int64_t> m_Order;
    int64_t m_Bytes = 0;
    VelRecHandle<VelRowBlock> m_Last;
};

#endif
