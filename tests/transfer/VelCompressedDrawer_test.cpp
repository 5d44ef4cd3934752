// Compressed drawers: every element type and pipeline through reopen, dense and sparse; the
// context's default; the pipeline as HDF5 itself, h5dump and h5py see it; the chunk cache that
// decodes each chunk once while a view steps through ranges; and the refusals (bad names and
// levels, compression for an existing drawer, a filter the machine lacks at write and at read).
#include <H5PLpublic.h>
#include <zlib.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "VelDrawerTestSupport.h"
#include "hdf/hdf_Journal.h"
#include "vel/transfer/VelDrawerRef.h"

namespace {

constexpr int kRows = 40000;

std::vector<VelCompression> Pipelines() {
    std::vector<VelCompression> pipelines = {VelCompression::ShuffleDeflate(1),
                                             VelCompression::ShuffleDeflate(9)};
    if (VelCompression::Lz4().IsAvailable()) {
        pipelines.push_back(VelCompression::Lz4());
        pipelines.push_back(VelCompression::ShuffleLz4());
    }
    return pipelines;
}

// A smooth field: neighbouring values close, as a solver's are.
template <class T>
T Smooth(int i) {
    if constexpr (std::is_same<T, uint8_t>::value)
        return static_cast<T>((i / 7) % 2);
    else
        return static_cast<T>(i / 3 + (i % 3) * 0.25);
}

// The output of a shell command.
std::string Output(const std::string& command) {
    std::string text;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return text;
    char chunk[4096];
    size_t n = 0;
    while ((n = fread(chunk, 1, sizeof chunk, pipe)) > 0) text.append(chunk, n);
    pclose(pipe);
    return text;
}

// HDF5 of this process as a machine without the LZ4 plugin: the filter unregistered and no
// plugin loaded again.
void ForgetLz4() {
    H5Zunregister(VelCompression::e_Lz4Filter);
    H5PLset_loading_state(0);
}

class VelCompressedDrawerTest : public VelDrawerTest {
protected:
    void SetUp() override {
        VelDrawerTest::SetUp();
        m_rows = Context().CreateCollection(kRows);
    }
    void ReopenAll(hdf_File::OpenFlags flags = hdf_File::OpenFlagsReadWrite) {
        Reopen(flags);
        m_rows = Again(m_rows);
    }
    VelDistributionID Field(VelTypeKey key) const {
        const bool refers = VelRangeType::KeyRefersToCollection(key);
        return Context().CreateDistribution(
            VelGrid(TestArray({m_rows, m_comps})),
            refers ? VelRangeType(key, m_comps) : VelRangeType(key));
    }
    template <class T>
    VelDrawerID Write(const VelDistributionID& d, const std::vector<T>& values,
                      const VelCompression* compression) {
        VelTransfer t{VelDistributionRef(d)};
        t.SetMakeNewDrawer();
        if (compression) t.SetCompression(*compression);
        t.SetDims(All(m_rows), All(m_comps));
        TestPut(t, values);
        return LastDrawer(d);
    }
    // Rows first .. last of every component.
    template <class T>
    std::vector<T> ReadRows(const VelDistributionID& d, int first, int last) {
        VelTransfer t{VelDistributionRef(d)};
        t.SetRead().SetDimOrdinalRange(0, m_rows, first, last).SetDim(1, All(m_comps));
        return TestGet<T>(t);
    }

    template <class T>
    void RoundTrip(VelTypeKey key, const VelCompression& compression) {
        SCOPED_TRACE(std::string(VelstringNameOf(key)) + " " + compression.Name().str());
        const std::vector<T> values = TestValues<T>(3 * kRows, Smooth<T>);
        const VelDistributionID d = Field(key);
        const VelDrawerID drawer = Write(d, values, &compression);
        ReopenAll();
        const VelDistributionID again = Again(d);
        EXPECT_EQ(ReadAll<T>(again, All(m_rows), All(m_comps)), values);
        const std::vector<T> middle = ReadRows<T>(again, 12345, 23456);
        EXPECT_TRUE(std::equal(middle.begin(), middle.end(), values.begin() + 3 * 12345));
        const VelDrawerDescription desc = VelDrawerRef(Again(drawer)).Description();
        EXPECT_EQ(desc.Compression(), compression);
        EXPECT_EQ(desc.ChunkSizes().Size(), 2);
        std::ostringstream text;
        text << desc;
        EXPECT_NE(text.str().find(", filters " + compression.Name().str()), std::string::npos);
    }

    VelCollectionID m_rows;
};

TEST_F(VelCompressedDrawerTest, DenseDrawersOfEveryTypeRoundTripThroughReopen) {
    for (const VelCompression& compression : Pipelines()) {
        RoundTrip<double>(VelTypeKeyDouble, compression);
        RoundTrip<float>(VelTypeKeyFloat, compression);
        RoundTrip<int32_t>(VelTypeKeyInt, compression);
        RoundTrip<uint8_t>(VelTypeKeyBool, compression);
        RoundTrip<int32_t>(VelTypeKeyCMember, compression);
        RoundTrip<int32_t>(VelTypeKeyCSet, compression);
        RoundTrip<int32_t>(VelTypeKeyOCSet, compression);
    }
}

TEST_F(VelCompressedDrawerTest, HdfSeesTheFiltersAndTheSmallerStorage) {
    const std::vector<double> values = TestValues<double>(3 * kRows, Smooth<double>);
    const VelCompression deflate = VelCompression::ShuffleDeflate(6);
    const VelDrawerID compressed = Write(Field(VelTypeKeyDouble), values, &deflate);
    const VelDrawerID plain = Write(Field(VelTypeKeyDouble), values, nullptr);
    const std::string name = VelIdAsString(compressed.Minor().Value()).c_str();
    const std::string plainName = VelIdAsString(plain.Minor().Value()).c_str();
    VelManager::CloseContext(m_context);

    const TestRawFile raw(m_file.str(), H5F_ACC_RDONLY);
    const hid_t ds = H5Dopen2(raw.id(), (PathOf(compressed) + "/" + name).c_str(), H5P_DEFAULT);
    const hid_t dcpl = H5Dget_create_plist(ds);
    ASSERT_EQ(H5Pget_nfilters(dcpl), 2);
    unsigned flags = 0, level = 0, config = 0;
    size_t count = 1;
    EXPECT_EQ(H5Pget_filter2(dcpl, 0, &flags, &count, &level, 0, nullptr, &config),
              H5Z_FILTER_SHUFFLE);
    count = 1;
    EXPECT_EQ(H5Pget_filter2(dcpl, 1, &flags, &count, &level, 0, nullptr, &config),
              H5Z_FILTER_DEFLATE);
    EXPECT_EQ(level, 6u);
    EXPECT_LT(H5Dget_storage_size(ds), values.size() * sizeof(double) / 4);
    H5Pclose(dcpl);
    H5Dclose(ds);
    // Without compression the drawer is contiguous, as it always was.
    const hid_t plainDs =
        H5Dopen2(raw.id(), (PathOf(plain) + "/" + plainName).c_str(), H5P_DEFAULT);
    const hid_t plainDcpl = H5Dget_create_plist(plainDs);
    EXPECT_EQ(H5Pget_layout(plainDcpl), H5D_CONTIGUOUS);
    EXPECT_EQ(H5Pget_nfilters(plainDcpl), 0);
    H5Pclose(plainDcpl);
    H5Dclose(plainDs);
}

TEST_F(VelCompressedDrawerTest, ToolsReadShuffleDeflateWithNoPlugin) {
    const std::vector<double> values = TestValues<double>(3 * kRows, Smooth<double>);
    const VelCompression deflate = VelCompression::ShuffleDeflate(4);
    const VelDrawerID drawer = Write(Field(VelTypeKeyDouble), values, &deflate);
    const std::string path = PathOf(drawer) + "/" + VelIdAsString(drawer.Minor().Value()).c_str();
    VelManager::CloseContext(m_context);
    // A plugin folder that holds nothing: only filters built into HDF5 are there.
    const std::string noPlugins = "HDF5_PLUGIN_PATH=/nonexistent ";

    const std::string dump =
        Output(noPlugins + "h5dump -p -y -w 0 -m %.17g -d " + path + " " + m_file.str() + " 2>&1");
    EXPECT_NE(dump.find("SHUFFLE"), std::string::npos) << dump.substr(0, 2000);
    EXPECT_NE(dump.find("COMPRESSION DEFLATE { LEVEL 4 }"), std::string::npos);
    const size_t data = dump.find("DATA {");
    ASSERT_NE(data, std::string::npos) << dump.substr(0, 2000);
    std::vector<double> dumped;
    const char* p = dump.c_str() + data + 6;
    while (*p && *p != '}') {
        char* end = nullptr;
        const double v = std::strtod(p, &end);
        if (end == p) {
            ++p;
            continue;
        }
        dumped.push_back(v);
        p = end;
    }
    ASSERT_EQ(dumped.size(), values.size()) << dump.substr(data, 400);
    EXPECT_EQ(dumped, values);

    // Debian's interpreter, whatever python3 comes first on PATH, sees Debian's h5py.
    const std::string script =
        "import h5py, numpy, sys\n"
        "d = h5py.File(sys.argv[1], 'r')[sys.argv[2]]\n"
        "i = numpy.arange(3 * 40000)\n"
        "expected = (i // 3 + (i % 3) * 0.25).reshape(40000, 3)\n"
        "print(d.compression, d.compression_opts, d.shuffle, bool((d[...] == expected).all()))\n";
    std::ofstream("check_h5py.py") << script;
    EXPECT_EQ(
        Output(noPlugins + "/usr/bin/python3 check_h5py.py " + m_file.str() + " " + path + " 2>&1"),
        "gzip 4 True True\n");
    std::remove("check_h5py.py");
}

TEST_F(VelCompressedDrawerTest, TheContextDefaultCompressesDrawersWithoutTheirOwnSetting) {
    EXPECT_TRUE(Context().DefaultCompression().IsNone());
    const VelCompression deflate = VelCompression::ShuffleDeflate(2);
    Context().SetDefaultCompression(deflate);
    const std::vector<double> values = TestValues<double>(3 * kRows, Smooth<double>);
    const VelDistributionID d = Field(VelTypeKeyDouble);
    const VelDrawerID byDefault = Write(d, values, nullptr);
    const VelCompression none = VelCompression::None();
    const VelDrawerID own = Write(Field(VelTypeKeyDouble), values, &none);
    // A plain write of values no drawer holds makes its drawers with the default too.
    const VelDistributionID grown = Field(VelTypeKeyDouble);
    {
        VelTransfer first{VelDistributionRef(grown)};
        first.SetMakeNewDrawer().SetDims(VelCollectionRef(m_rows).CreateCSetStrided(0, 1, 10, 1),
                                         All(m_comps));
        TestPut(first, std::vector<double>(values.begin(), values.begin() + 30));
        VelTransfer t{VelDistributionRef(grown)};
        t.SetWrite().SetDims(All(m_rows), All(m_comps));
        TestPut(t, values);
    }
    const VelDrawerID newDomain = LastDrawer(grown);
    EXPECT_EQ(VelDrawerRef(byDefault).Description().Compression(), deflate);
    EXPECT_EQ(VelDrawerRef(newDomain).Description().Compression(), deflate);
    EXPECT_TRUE(VelDrawerRef(own).Description().Compression().IsNone());
    EXPECT_EQ(VelDrawerRef(own).Description().ChunkSizes().Size(), 0);

    ReopenAll();
    // The default is the open context's: a reopened context has none.
    EXPECT_TRUE(Context().DefaultCompression().IsNone());
    EXPECT_EQ(VelDrawerRef(Again(byDefault)).Description().Compression(), deflate);
    EXPECT_EQ(ReadAll<double>(Again(grown), All(m_rows), All(m_comps)), values);
}

TEST_F(VelCompressedDrawerTest, RewritesInPlaceReadBackAndWaitForTheCheckpoint) {
    const VelCompression deflate = VelCompression::ShuffleDeflate(1);
    const VelDistributionID d = Field(VelTypeKeyDouble);
    Write(d, std::vector<double>(3 * kRows, 1.0), &deflate);
    VelManager::FlushContext(m_context);
    // Constant values compress to chunks of one size: HDF5 rewrites them where they are.
    const auto rewrite = [&] {
        VelTransfer t{VelDistributionRef(d)};
        t.SetWrite().SetDims(All(m_rows), All(m_comps));
        TestPut(t, std::vector<double>(3 * kRows, 2.0));
    };
    // A writer killed after the rewrite reached the file driver, before its next checkpoint.
    EXPECT_EXIT(
        {
            rewrite();
            Context().File().WriteBuffers();
            std::_Exit(3);
        },
        ::testing::ExitedWithCode(3), "");
    ReopenAll();
    EXPECT_EQ(ReadAll<double>(Again(d), All(m_rows), All(m_comps)),
              std::vector<double>(3 * kRows, 1.0));
    // Kept, the rewrite reads back before and after a checkpoint.
    VelManager::CloseContext(m_context);
    m_context = VelManager::OpenContext(m_file.c_str(), hdf_File::OpenFlagsReadWrite, 1);
    m_rows = Again(m_rows);
    m_comps = Again(m_comps);
    const VelDistributionID again = Again(d);
    VelTransfer t{VelDistributionRef(again)};
    t.SetWrite().SetDims(All(m_rows), All(m_comps));
    TestPut(t, std::vector<double>(3 * kRows, 2.0));
    EXPECT_EQ(ReadAll<double>(again, All(m_rows), All(m_comps)),
              std::vector<double>(3 * kRows, 2.0));
    VelManager::FlushContext(m_context);
    ReopenAll();
    EXPECT_EQ(ReadAll<double>(Again(again), All(m_rows), All(m_comps)),
              std::vector<double>(3 * kRows, 2.0));
}

// ---- the chunk cache

int g_decoded = 0;

// A stand-in for the LZ4 filter (zlib inside) that counts the chunks it decodes: HDF5 lets a
// program replace a plugin filter, not a built-in one.
size_t CountingFilter(unsigned flags, size_t, const unsigned[], size_t bytes, size_t* size,
                      void** buffer) {
    if (flags & H5Z_FLAG_REVERSE) {
        ++g_decoded;
        uLongf length = static_cast<uLongf>(*size);
        for (;;) {
            void* out = std::malloc(length);
            const int result = uncompress(static_cast<Bytef*>(out), &length,
                                          static_cast<const Bytef*>(*buffer), bytes);
            if (result == Z_OK) {
                std::free(*buffer);
                *buffer = out;
                *size = length;
                return length;
            }
            std::free(out);
            if (result != Z_BUF_ERROR) return 0;
            length *= 2;
        }
    }
    uLongf length = compressBound(bytes);
    void* out = std::malloc(length);
    if (compress2(static_cast<Bytef*>(out), &length, static_cast<const Bytef*>(*buffer), bytes,
                  1) != Z_OK) {
        std::free(out);
        return 0;
    }
    std::free(*buffer);
    *buffer = out;
    *size = length;
    return length;
}

const H5Z_class2_t kCountingFilter = {
    H5Z_CLASS_T_VERS, VelCompression::e_Lz4Filter, 1, 1, "counting", nullptr, nullptr,
    CountingFilter};

TEST_F(VelCompressedDrawerTest, SteppingThroughRangesDecodesEveryChunkOnceDeathTest) {
    // Chunks of 50,000 rows (1.2 MB decoded) are larger than HDF5's default cache of 1 MiB, and
    // chunks of 1,000 rows by 1 component lie three across a range of rows.
    const std::vector<std::pair<std::array<int, 2>, int>> shapes = {{{50000, 3}, 2},
                                                                    {{1000, 1}, 300}};
    VelManager::CloseContext(m_context);
    for (const auto& shape : shapes) {
        EXPECT_EXIT(
            {
                H5Zregister(&kCountingFilter);
                m_context =
                    VelManager::CreateContext(m_file.c_str(), hdf_File::CreateFlagsTruncate, 1);
                m_comps = Context().CreateCollection(3);
                m_rows = Context().CreateCollection(100000);
                const VelDistributionID d = Field(VelTypeKeyDouble);
                VelTransfer t{VelDistributionRef(d)};
                t.SetMakeNewDrawerChunked(TestArray({shape.first[0], shape.first[1]}))
                    .SetCompression(VelCompression::Lz4())
                    .SetDims(All(m_rows), All(m_comps));
                TestPut(t, TestValues<double>(300000, Smooth<double>));
                ReopenAll();
                g_decoded = 0;
                int wrong = 0;
                // Ranges of 997 rows: most chunks are read by several views.
                for (int first = 0; first < 100000; first += 997) {
                    const int last = std::min(first + 996, 99999);
                    const std::vector<double> rows = ReadRows<double>(Again(d), first, last);
                    for (size_t k = 0; k < rows.size(); ++k)
                        wrong += rows[k] != Smooth<double>(3 * first + static_cast<int>(k));
                }
                std::fprintf(stderr, "decoded %d, wrong %d", g_decoded, wrong);
                std::_Exit(0);
            },
            ::testing::ExitedWithCode(0),
            "^decoded " + std::to_string(shape.second) + ", wrong 0$");
    }
    m_context = VelManager::CreateContext(m_file.c_str(), hdf_File::CreateFlagsTruncate, 1);
}

// ---- refusals

TEST_F(VelCompressedDrawerTest, BadNamesLevelsAndUsesAreRefusedDeathTest) {
    EXPECT_EQ(VelCompression::Named("shuffle+deflate:7"), VelCompression::ShuffleDeflate(7));
    EXPECT_EQ(VelCompression::Named("none"), VelCompression::None());
    EXPECT_EQ(VelCompression::Named("lz4"), VelCompression::Lz4());
    EXPECT_EQ(VelCompression::Named("shuffle+lz4").Name(), cow_String("shuffle+lz4"));
    ExpectValidateFailure(VelCompression::Named("zstd"),
                          "VelCompression: unknown compression \"zstd\": expected \"none\", "
                          "\"shuffle+deflate:1\" to \"shuffle+deflate:9\", \"lz4\" or "
                          "\"shuffle+lz4\"");
    ExpectValidateFailure(VelCompression::Named("shuffle+deflate:0"),
                          "VelCompression: the deflate level 0 is not in 1..9");
    ExpectValidateFailure(VelCompression::ShuffleDeflate(10),
                          "VelCompression: the deflate level 10 is not in 1..9");

    const VelDistributionID d = Field(VelTypeKeyDouble);
    Write(d, TestValues<double>(3 * kRows, Smooth<double>), nullptr);
    const char* existing =
        "VelTransfer::SetCompression: compression is chosen for the drawer SetMakeNewDrawer "
        "makes; an existing drawer keeps the filters it was made with";
    VelTransfer rewrite{VelDistributionRef(d)};
    rewrite.SetWrite()
        .SetCompression(VelCompression::ShuffleDeflate(3))
        .SetDims(All(m_rows), All(m_comps));
    ExpectValidateFailure(rewrite.CheckView(), existing);
    VelTransfer one{VelDistributionRef(d)};
    one.SetDrawer(LastDrawer(d)).SetWrite().SetCompression(VelCompression::ShuffleDeflate(3));
    one.SetDims(All(m_rows), All(m_comps));
    ExpectValidateFailure(one.CheckView(), existing);
}

TEST_F(VelCompressedDrawerTest, AFilterTheMachineLacksIsNamedAtWriteAndAtReadDeathTest) {
    if (!VelCompression::Lz4().IsAvailable()) GTEST_SKIP() << "no LZ4 plugin (hdf5-filter-plugin)";
    const std::string lacking =
        "VelCompression: compression \"lz4\" needs an HDF5 filter this machine lacks (lz4, "
        "filter 32004); plugins are looked for in ";
    EXPECT_DEATH(
        {
            ForgetLz4();
            VelTransfer t{VelDistributionRef(Field(VelTypeKeyDouble))};
            t.SetMakeNewDrawer().SetCompression(VelCompression::Lz4());
        },
        "^" + VelLiteralRegex("VelVALIDATE failed: " + lacking));
    EXPECT_DEATH(
        {
            ForgetLz4();
            Context().SetDefaultCompression(VelCompression::ShuffleLz4());
        },
        VelLiteralRegex("compression \"shuffle+lz4\" needs an HDF5 filter this machine lacks"));

    const std::vector<double> values = TestValues<double>(3 * kRows, Smooth<double>);
    const VelCompression lz4 = VelCompression::Lz4();
    const VelDistributionID d = Field(VelTypeKeyDouble);
    const VelDrawerID drawer = Write(d, values, &lz4);
    ReopenAll();
    const std::string dataset = VelIdAsString(drawer.Minor().Value()).c_str();
    const std::string refusal = "stored drawer " + PathOf(drawer) + " refused: dataset \"" +
                                dataset +
                                "\": its values need the HDF5 filter \"lz4\" (32004), which "
                                "this machine's HDF5 cannot load (see HDF5_PLUGIN_PATH)";
    EXPECT_DEATH(
        {
            ForgetLz4();
            ReopenAll(hdf_File::OpenFlagsReadOnly);
            ReadAll<double>(Again(d), All(m_rows), All(m_comps));
        },
        "^" + VelLiteralRegex(VelAssertText(refusal)) + "$");
    ReopenAll(hdf_File::OpenFlagsReadOnly);
    EXPECT_EQ(ReadAll<double>(Again(d), All(m_rows), All(m_comps)), values);
}

// ---- sparse drawers

class VelCompressedSparseTest : public VelCompressedDrawerTest {
protected:
    // Rows of three nonzeros at columns row - 1, row, row + 1 (cut at the edges) of n columns.
    template <class T>
    void RoundTrip(VelTypeKey key, bool symmetric, const VelCompression& compression) {
        SCOPED_TRACE(std::string(VelstringNameOf(key)) + (symmetric ? " symmetric " : " ") +
                     compression.Name().str());
        std::vector<int> starts = {0}, columns;
        for (int r = 0; r < kRows; ++r) {
            for (int c = std::max(0, r - 1); c <= std::min(kRows - 1, r + 1); ++c)
                columns.push_back(c);
            starts.push_back(static_cast<int>(columns.size()));
        }
        std::vector<T> values = TestValues<T>(static_cast<int>(columns.size()), Smooth<T>);
        std::vector<T> diagonal = TestValues<T>(symmetric ? kRows : 0, Smooth<T>);
        const VelDistributionID d = Context().CreateDistribution(
            VelGrid(TestArray({m_rows, m_columns})), VelRangeType::KeyRefersToCollection(key)
                                                         ? VelRangeType(key, m_comps)
                                                         : VelRangeType(key));
        VelSerializationType serialization;
        symmetric ? serialization.SetSparseSym() : serialization.SetSparse();
        {
            VelTransfer t{VelDistributionRef(d)};
            t.SetMakeNewDrawer().SetBufferPadding(false).SetCompression(compression);
            t.SetSparseNNonzero(static_cast<int>(values.size()));
            t.SetDims(All(m_rows), All(m_columns)).SetSerialization(serialization);
            Move(t, values, columns, starts, diagonal, true);
        }
        const VelDrawerID drawer = LastDrawer(d);
        ReopenAll();
        m_columns = Again(m_columns);
        EXPECT_EQ(VelDrawerRef(Again(drawer)).Description().Compression(), compression);
        std::vector<T> readValues(values.size()), readDiagonal(diagonal.size());
        std::vector<int> readColumns(columns.size()), readStarts(starts.size());
        VelTransfer t{VelDistributionRef(Again(d))};
        t.SetRead().SetBufferPadding(false).SetDims(All(m_rows), All(m_columns));
        t.SetSerialization(serialization);
        Move(t, readValues, readColumns, readStarts, readDiagonal, false);
        EXPECT_EQ(readValues, values);
        EXPECT_EQ(readColumns, columns);
        EXPECT_EQ(readStarts, starts);
        EXPECT_EQ(readDiagonal, diagonal);
    }

    template <class T>
    static void Move(VelTransfer& t, std::vector<T>& values, std::vector<int>& columns,
                     std::vector<int>& starts, std::vector<T>& diagonal, bool write) {
        t.CheckView();
        void* arrays[] = {values.data(), columns.data(), starts.data(), diagonal.data()};
        for (int e = 0; e < VelTransfer::BufferCount(); ++e)
            if (t.RequiredBufferSize(e) > 0) t.SetBuffer(e, arrays[e], t.RequiredBufferSize(e));
        if (write) {
            t.ExecWrite();
        } else {
            t.ExecRead();
        }
        t.RelinquishBuffers();
    }

    void SetUp() override {
        VelCompressedDrawerTest::SetUp();
        m_columns = Context().CreateCollection(kRows);
    }

    VelCollectionID m_columns;
};

TEST_F(VelCompressedSparseTest, SparseDrawersOfEveryTypeRoundTripThroughReopen) {
    for (const VelCompression& compression : Pipelines()) {
        for (const bool symmetric : {false, true}) {
            RoundTrip<double>(VelTypeKeyDouble, symmetric, compression);
            RoundTrip<float>(VelTypeKeyFloat, symmetric, compression);
            RoundTrip<int32_t>(VelTypeKeyInt, symmetric, compression);
            RoundTrip<uint8_t>(VelTypeKeyBool, symmetric, compression);
            RoundTrip<int32_t>(VelTypeKeyCMember, symmetric, compression);
            RoundTrip<int32_t>(VelTypeKeyCSet, symmetric, compression);
            RoundTrip<int32_t>(VelTypeKeyOCSet, symmetric, compression);
        }
    }
}

}  // namespace
