// Compressed drawers: every element type and pipeline through reopen, dense and sparse; the
// context's default; the pipeline as HDF5 itself, h5dump and h5py see it; the chunk cache that
// decodes each chunk once while a view steps through ranges; and the refusals (bad names and
// levels, compression for an existing drawer, a filter the machine lacks at write and at read).
#include <H5PLpublic.h>

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

TEST_F(VelCompressedDrawerTest, ToolsReadShuffleDeflateWithNoPlugin) {
    const std::vector<double> values = TestValues<double>(3 * kRows, Smooth<double>);
    const VelCompression deflate = VelCompression::ShuffleDeflate(4);
    const VelDrawerID drawer = Write(Field(VelTypeKeyDouble), values, &deflate);
    const std::string path = PathOf(drawer) + "/" + VelIdAsString(drawer.Minor().Value()).c_str();
    VelManager::CloseContext(m_context);
    // A plugin folder that holds nothing: only filters built into HDF5 are there.
    const std::string noPlugins = "HDF5_PLUGIN_PATH=/nonexistent ";

    // The values in the machine's own doubles, and the filters in h5dump's words.
    const std::string dump = Output(noPlugins + "h5dump -p -b NATIVE -o dumped.bin -d " + path +
                                    " " + m_file.str() + " 2>&1");
    EXPECT_NE(dump.find("SHUFFLE"), std::string::npos) << dump;
    EXPECT_NE(dump.find("COMPRESSION DEFLATE { LEVEL 4 }"), std::string::npos) << dump;
    std::vector<double> dumped(values.size() + 1);
    std::ifstream in("dumped.bin", std::ios::binary);
    in.read(reinterpret_cast<char*>(dumped.data()),
            8 * static_cast<std::streamsize>(dumped.size()));
    dumped.resize(static_cast<size_t>(in.gcount()) / 8);
    EXPECT_EQ(dumped, values);
    std::remove("dumped.bin");

    // Debian's interpreter, whatever python3 comes first on PATH, sees Debian's h5py.  The
    // smooth values take less than a quarter of their bytes.
    const std::string script =
        "import h5py, numpy, sys\n"
        "d = h5py.File(sys.argv[1], 'r')[sys.argv[2]]\n"
        "i = numpy.arange(3 * 40000)\n"
        "expected = (i // 3 + (i % 3) * 0.25).reshape(40000, 3)\n"
        "print(d.compression, d.compression_opts, d.shuffle, d.chunks,\n"
        "      d.id.get_storage_size() < d.nbytes / 4, bool((d[...] == expected).all()))\n";
    std::ofstream("check_h5py.py") << script;
    EXPECT_EQ(
        Output(noPlugins + "/usr/bin/python3 check_h5py.py " + m_file.str() + " " + path + " 2>&1"),
        "gzip 4 True (10922, 3) True True\n");
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
    const std::vector<double> twos(3 * kRows, 2.0);
    Write(d, std::vector<double>(3 * kRows, 1.0), &deflate);
    VelManager::FlushContext(m_context);
    // Constant values compress to chunks of one size: HDF5 rewrites them where they are.
    const auto rewrite = [&](const VelDistributionID& field) {
        VelTransfer t{VelDistributionRef(field)};
        t.SetWrite().SetDims(All(m_rows), All(m_comps));
        TestPut(t, twos);
    };
    // A writer killed after the rewrite reached the file driver, before its next checkpoint.
    EXPECT_EXIT(
        {
            rewrite(d);
            Context().File().WriteBuffers();
            std::_Exit(3);
        },
        ::testing::ExitedWithCode(3), "");
    ReopenAll();
    EXPECT_EQ(ReadAll<double>(Again(d), All(m_rows), All(m_comps)),
              std::vector<double>(3 * kRows, 1.0));
    // Kept, the rewrite reads back before and after a checkpoint.
    const VelDistributionID again = Again(d);
    rewrite(again);
    EXPECT_EQ(ReadAll<double>(again, All(m_rows), All(m_comps)), twos);
    VelManager::FlushContext(m_context);
    ReopenAll();
    EXPECT_EQ(ReadAll<double>(Again(again), All(m_rows), All(m_comps)), twos);
}

// ---- the chunk cache

int g_decoded = 0;

// A stand-in for the LZ4 filter that stores chunks as they are and counts the chunks it decodes:
// HDF5 lets a program replace a plugin filter, not a built-in one.
size_t CountingFilter(unsigned flags, size_t, const unsigned[], size_t bytes, size_t*, void**) {
    if (flags & H5Z_FLAG_REVERSE) ++g_decoded;
    return bytes;
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

// A tridiagonal matrix of kRows rows (its diagonal apart when symmetric), written compressed
// and read back after reopening.
TEST_F(VelCompressedDrawerTest, SparseDrawersOfEveryTypeRoundTripThroughReopen) {
    const VelCollectionID columns = Context().CreateCollection(kRows);
    std::vector<int> starts = {0}, indices;
    for (int r = 0; r < kRows; ++r) {
        for (int c = std::max(0, r - 1); c <= std::min(kRows - 1, r + 1); ++c) indices.push_back(c);
        starts.push_back(static_cast<int>(indices.size()));
    }
    const int nonzeros = static_cast<int>(indices.size());
    // Raw bytes of each key's element size, so that one matrix serves every type.
    const auto run = [&](const VelDistributionID& d, bool symmetric, bool write,
                         std::vector<std::vector<char>>& arrays) {
        VelTransfer t{VelDistributionRef(d)};
        write ? t.SetMakeNewDrawer().SetSparseNNonzero(nonzeros) : t.SetRead();
        t.SetBufferPadding(false).SetDims(All(m_rows), All(VelCollectionID(Again(columns))));
        VelSerializationType serialization;
        symmetric ? serialization.SetSparseSym() : serialization.SetSparse();
        t.SetSerialization(serialization).CheckView();
        for (int e = 0; e < VelTransfer::BufferCount(); ++e) {
            arrays[static_cast<size_t>(e)].resize(static_cast<size_t>(t.RequiredBufferSize(e)));
            if (t.RequiredBufferSize(e) > 0)
                t.SetBuffer(e, arrays[static_cast<size_t>(e)].data(), t.RequiredBufferSize(e));
        }
        if (write) {
            for (int e = 0; e < VelTransfer::BufferCount(); ++e)
                for (size_t k = 0; k < arrays[static_cast<size_t>(e)].size(); ++k)
                    arrays[static_cast<size_t>(e)][k] = static_cast<char>(k * 7 / 64);
            std::memcpy(arrays[VelbufIndicesNZ].data(), indices.data(), 4 * indices.size());
            std::memcpy(arrays[VelbufSparseMap].data(), starts.data(), 4 * starts.size());
            t.ExecWrite();
        } else {
            t.ExecRead();
        }
        t.RelinquishBuffers();
    };
    for (const VelCompression& compression : Pipelines()) {
        Context().SetDefaultCompression(compression);
        for (const VelTypeKey key :
             {VelTypeKeyDouble, VelTypeKeyFloat, VelTypeKeyInt, VelTypeKeyBool, VelTypeKeyCMember,
              VelTypeKeyCSet, VelTypeKeyOCSet}) {
            for (const bool symmetric : {false, true}) {
                SCOPED_TRACE(std::string(VelstringNameOf(key)) + " " + compression.Name().str());
                const VelDistributionID d = Context().CreateDistribution(
                    VelGrid(TestArray({m_rows, VelCollectionID(Again(columns))})),
                    VelRangeType::KeyRefersToCollection(key) ? VelRangeType(key, m_comps)
                                                             : VelRangeType(key));
                std::vector<std::vector<char>> written(4), read(4);
                run(d, symmetric, true, written);
                ReopenAll();
                EXPECT_EQ(VelDrawerRef(LastDrawer(Again(d))).Description().Compression(),
                          compression);
                run(Again(d), symmetric, false, read);
                EXPECT_EQ(read, written);
                Context().SetDefaultCompression(compression);
            }
        }
    }
}

}  // namespace
