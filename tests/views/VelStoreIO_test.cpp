// Rows moved by VelStoreIO between memory and one-dimensional tables of any chunking, checked
// through the HDF5 C API: whole chunks move as the file stores them, parts of chunks and tables
// of other shapes through selections, and a chunk is read whole only when the file stores it at
// full size.
#include "views/VelStoreIO.h"

#include <gtest/gtest.h>
#include <hdf5.h>

#include <cstdint>
#include <vector>

#include "VelTestSupport.h"
#include "vel/UTI_VelDynamicAPI.h"
#include "vel/hdf/hdf_File.h"
#include "views/VelChunkedVector.h"
#include "views/VelRecordTable.h"
#include "views/VelStringTable.h"

namespace {

class VelStoreIOTest : public ::testing::Test {
protected:
    void SetUp() override {
        UTI_VelDynamicAPI_initialize(m_modules);
        m_file = hdf_File::Create(m_name.c_str(), hdf_File::CreateFlagsTruncate);
    }
    void TearDown() override {
        m_file = hdf_File();
        UTI_VelDynamicAPI_finalize(m_modules);
    }

    // A growing table of big-endian int64 rows in chunks of `chunkRows`, deflated if asked.
    hdf_Dataset Table(const char* name, int chunkRows, bool deflated) const {
        if (!deflated) return VelStoreIO::CreateTable(m_file, name, Type(), chunkRows);
        hdf_PropListDatasetCreation creation;
        creation.SetChunk(hdf_DimArrayInput(chunkRows));
        const unsigned level = 6;
        creation.AddFilter(H5Z_FILTER_DEFLATE, &level, 1);
        return m_file.DatasetCreate(
            name, Type(),
            hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(0), hdf_DimSpaceInput(H5S_UNLIMITED)),
            creation);
    }
    static hdf_Datatype Type() { return hdf_Datatype::STD_I64BE(); }

    // Rows [first, first + count) of `value(row)`, in the table's byte order.
    template <class Value>
    static std::vector<unsigned char> Rows(int64_t first, int64_t count, Value value) {
        std::vector<unsigned char> rows(static_cast<size_t>(count) * 8);
        for (int64_t n = 0; n < count; ++n)
            VelRecordBytes::Put64(rows.data() + n * 8, static_cast<uint64_t>(value(first + n)));
        return rows;
    }
    static std::vector<int64_t> Values(const std::vector<unsigned char>& rows) {
        std::vector<int64_t> values(rows.size() / 8);
        for (size_t n = 0; n < values.size(); ++n)
            values[n] = static_cast<int64_t>(VelRecordBytes::Get64(rows.data() + n * 8));
        return values;
    }
    // The whole table as an independent reader converts it.
    static std::vector<int64_t> ReadWithCApi(const hdf_Dataset& table) {
        std::vector<int64_t> values(static_cast<size_t>(VelStoreIO::Rows(table)));
        EXPECT_GE(
            H5Dread(table.GetID(), H5T_NATIVE_INT64, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data()),
            0);
        return values;
    }

    int m_modules = 0;
    VelTempFile m_name{"storeio.h5"};
    hdf_File m_file;
};

// Writes that start and end inside chunks and cover whole ones between, a row rewritten inside
// a chunk written whole, a chunk read whole while its partial writes are still in HDF5's cache,
// and reads that cross every boundary, on the record store's own chunking, on chunks that do not
// divide the pieces, and on deflated chunks, which never move whole.
TEST_F(VelStoreIOTest, RowsReadBackAsWrittenWhateverTheTablesChunks) {
    const auto value = [](int64_t row) { return row * 1000003 - 7; };
    const struct {
        const char* name;
        int chunkRows;
        bool deflated;
    } shapes[] = {{"store", 1024, false}, {"odd", 100, false}, {"deflated", 1024, true}};
    for (const auto& shape : shapes) {
        SCOPED_TRACE(shape.name);
        const hdf_Dataset table = Table(shape.name, shape.chunkRows, shape.deflated);
        VelStoreIO::WriteRows(table, Type(), 0, 700, Rows(0, 700, value).data());
        VelStoreIO::WriteRows(table, Type(), 700, 3300, Rows(700, 3300, value).data());
        VelStoreIO::WriteRows(table, Type(), 2100, 1,
                              Rows(2100, 1, [](int64_t) { return -1; }).data());
        std::vector<int64_t> expected(4000);
        for (int64_t row = 0; row < 4000; ++row) expected[static_cast<size_t>(row)] = value(row);
        expected[2100] = -1;
        // The first chunk, made of two partial writes that HDF5 still holds in its cache, read
        // whole before anything else reads or flushes it.
        std::vector<unsigned char> read(3500 * 8);
        VelStoreIO::ReadRows(table, Type(), 0, 1024, read.data());
        EXPECT_EQ(Values(read).at(699), value(699));
        EXPECT_EQ(Values(read).at(1023), value(1023));
        EXPECT_EQ(ReadWithCApi(table), expected);

        VelStoreIO::ReadRows(table, Type(), 300, 3500, read.data());
        EXPECT_EQ(Values(read), std::vector<int64_t>(expected.begin() + 300, expected.end() - 200));
        VelStoreIO::ReadRows(table, Type(), 2048, 1024, read.data());
        read.resize(1024 * 8);
        EXPECT_EQ(Values(read),
                  std::vector<int64_t>(expected.begin() + 2048, expected.begin() + 3072));
    }
}

// A chunk is read whole only when the file stores exactly its bytes: not when it was never
// written, nor when a filter stored it smaller.
TEST_F(VelStoreIOTest, AChunkIsReadWholeOnlyWhenTheFileStoresItAtFullSize) {
    const hdf_Dataset plain = Table("plain", 4, false);
    const hdf_Dataset deflated = Table("deflated", 4, true);
    for (const hdf_Dataset* table : {&plain, &deflated})
        VelStoreIO::WriteRows(*table, Type(), 0, 4, Rows(0, 4, [](int64_t) { return 0; }).data());
    plain.Extend(hdf_DimSpaceInput(8));

    std::vector<unsigned char> chunk(4 * 8, 0xAB);
    const hsize_t first = 0, second = 4;
    EXPECT_TRUE(plain.ReadChunk(&first, chunk.size(), chunk.data()));
    EXPECT_EQ(Values(chunk), std::vector<int64_t>(4, 0));
    std::vector<unsigned char> untouched(4 * 8, 0xAB);
    EXPECT_FALSE(plain.ReadChunk(&second, untouched.size(), untouched.data()));
    EXPECT_FALSE(deflated.ReadChunk(&first, untouched.size(), untouched.data()));
    EXPECT_FALSE(plain.ReadChunk(&first, chunk.size() - 8, untouched.data()));
    EXPECT_EQ(untouched, std::vector<unsigned char>(4 * 8, 0xAB));
}

// Texts interned one after another share a short table of recent ones: two that fall on one
// entry of it ("ab" and "!b" do) keep their own references, a text keeps its reference through
// a commit, and both read back from a table opened anew.
TEST_F(VelStoreIOTest, TextsSharingARecentEntryKeepTheirOwnReferences) {
    uint32_t ab = 0, bang = 0;
    {
        VelStringTable strings(m_file, true);
        ab = strings.Intern("ab");
        bang = strings.Intern("!b");
        EXPECT_NE(ab, bang);
        EXPECT_EQ(strings.Intern("ab"), ab);
        strings.Commit();
        EXPECT_EQ(strings.Intern("!b"), bang);
        EXPECT_EQ(strings.Intern("ab"), ab);
        EXPECT_EQ(strings.Intern(""), 0u);
    }
    VelStringTable strings(m_file, false);
    EXPECT_EQ(strings.Lookup(ab), "ab");
    EXPECT_EQ(strings.Lookup(bang), "!b");
}

// Values pushed and added by extension keep their places across the chunks' boundaries.
TEST(VelChunkedVectorTest, GrowsAcrossChunksKeepingItsValues) {
    const size_t chunk = VelChunkedVector<int64_t>::e_ChunkSize;
    VelChunkedVector<int64_t> values;
    for (size_t n = 0; n < chunk + 3; ++n) values.push_back(static_cast<int64_t>(n));
    values.extend_to(3 * chunk + 5);
    values.extend_to(10);
    ASSERT_EQ(values.size(), 3 * chunk + 5);
    values.push_back(-1);
    EXPECT_EQ(values[chunk - 1], static_cast<int64_t>(chunk - 1));
    EXPECT_EQ(values[chunk + 2], static_cast<int64_t>(chunk + 2));
    EXPECT_EQ(values[chunk + 3], 0);
    EXPECT_EQ(values[3 * chunk + 4], 0);
    EXPECT_EQ(values[3 * chunk + 5], -1);
    values.clear();
    EXPECT_TRUE(values.empty());
}

}  // namespace
