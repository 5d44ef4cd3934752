// Sparse and sparse-symmetric drawers: compressed-row matrices written as new drawers, read back
// after reopening in caller buffers and from a pool, rewritten in place, laid out in the file as
// an independent reader expects, and refused when the view or the arrays cannot fit the drawer.
#include <cstdint>
#include <type_traits>

#include "VelDrawerTestSupport.h"

namespace {

// A matrix in compressed rows; `diagonal` is used by the symmetric serialization only.
template <class T>
struct Csr {
    std::vector<T> values;
    std::vector<int> columns;
    std::vector<int> starts;
    std::vector<T> diagonal;
    bool operator==(const Csr& o) const {
        return values == o.values && columns == o.columns && starts == o.starts &&
               diagonal == o.diagonal;
    }
};

// The value at `v` of a matrix scaled by `scale`; flags alternate, and scale 2 flips them.
template <class T>
T Entry(T scale, int v) {
    if constexpr (std::is_same<T, uint8_t>::value)
        return static_cast<T>((v + scale) % 2);
    else
        return static_cast<T>(scale * v);
}

// Five rows, two nonzeros each, at columns row and row + 1 (wrapping): 10 nonzeros.
template <class T>
Csr<T> Matrix(bool symmetric, T scale) {
    Csr<T> m;
    for (int r = 0; r < 5; ++r) {
        m.starts.push_back(2 * r);
        for (int k = 0; k < 2; ++k) {
            m.columns.push_back((r + k + 1) % 5);
            m.values.push_back(Entry(scale, 10 * r + k + 1));
        }
        if (symmetric) m.diagonal.push_back(Entry(scale, 100 + r));
    }
    m.starts.push_back(10);
    return m;
}

template <class T>
void* Array(std::vector<T>& v) {
    return v.data();
}

class VelSparseDrawerTest : public VelDrawerTest {
protected:
    void SetUp() override {
        VelDrawerTest::SetUp();
        m_rows = Context().CreateCollection(5);
        m_cols = Context().CreateCollection(5);
    }
    VelDistributionID Matrices(VelTypeKey key) const {
        return Context().CreateDistribution(VelGrid(TestArray({m_rows, m_cols})),
                                            VelRangeType(key));
    }
    static VelSerializationType Serialization(bool symmetric) {
        VelSerializationType s;
        symmetric ? s.SetSparseSym() : s.SetSparse();
        return s;
    }

    // Runs the checked transfer `t` with the four arrays of `m`: copied into caller buffers (or
    // the pool's) before a write, out of them after a read.
    template <class T>
    void Run(VelTransfer& t, Csr<T>& m, bool write) {
        t.CheckView();
        const bool pooled = t.TransferArgs().Pool() != nullptr;
        std::vector<TestBuffer> memory;
        for (int e = 0; e < VelTransfer::BufferCount(); ++e)
            memory.emplace_back(t.RequiredBufferSize(e));
        for (int e = 0; !pooled && e < VelTransfer::BufferCount(); ++e)
            if (t.RequiredBufferSize(e) > 0)
                t.SetBuffer(e, memory[static_cast<size_t>(e)].data(), t.RequiredBufferSize(e));
        void* arrays[] = {Array(m.values), Array(m.columns), Array(m.starts), Array(m.diagonal)};
        const size_t counts[] = {m.values.size(), m.columns.size(), m.starts.size(),
                                 m.diagonal.size()};
        const size_t sizes[] = {sizeof(T), sizeof(int), sizeof(int), sizeof(T)};
        const VelTransientDrawer& data = write ? t.GetTransientDrawer() : t.ExecRead();
        for (int e = 0; e < VelTransfer::BufferCount(); ++e) {
            const size_t bytes = static_cast<size_t>(data.BufferSizes()[e]);
            EXPECT_EQ(bytes, counts[e] * sizes[e]) << VelstringNameOf(VelBufferType(e));
            if (bytes == 0) continue;
            if (write) {
                std::memcpy(data.Data(e).Address(), arrays[e], bytes);
            } else {
                std::memcpy(arrays[e], data.Data(e).Address(), bytes);
            }
        }
        if (write) t.ExecWrite();
        if (!pooled) t.RelinquishBuffers();
    }
    template <class T>
    void MakeMatrix(const VelDistributionID& d, bool symmetric, Csr<T> m) {
        VelTransfer t{VelDistributionRef(d)};
        t.SetMakeNewDrawer().SetSparseNNonzero(static_cast<int>(m.values.size()));
        t.SetDims(All(m_rows), All(m_cols)).SetSerialization(Serialization(symmetric));
        Run(t, m, true);
    }
    template <class T>
    Csr<T> ReadMatrix(const VelDistributionID& d, bool symmetric, VelPool* pool = nullptr) {
        Csr<T> m;
        m.values.resize(10);
        m.columns.resize(10);
        m.starts.resize(6);
        if (symmetric) m.diagonal.resize(5);
        VelTransfer t{VelDistributionRef(d)};
        if (pool) t.SetPool(*pool);
        t.SetRead().SetDims(All(m_rows), All(m_cols)).SetSerialization(Serialization(symmetric));
        Run(t, m, false);
        return m;
    }

    template <class T>
    void RoundTrip(VelTypeKey key, bool symmetric) {
        const VelDistributionID d = Matrices(key);
        MakeMatrix(d, symmetric, Matrix<T>(symmetric, T(1)));
        Reopen();
        m_rows = Again(m_rows);
        m_cols = Again(m_cols);
        const VelDistributionID again = Again(d);
        EXPECT_EQ(ReadMatrix<T>(again, symmetric), Matrix<T>(symmetric, T(1)));
        VelSysPool pool;
        EXPECT_EQ(ReadMatrix<T>(again, symmetric, &pool), Matrix<T>(symmetric, T(1)));

        Csr<T> twice = Matrix<T>(symmetric, T(2));
        VelTransfer rewrite{VelDistributionRef(again)};
        rewrite.SetWrite()
            .SetDims(All(m_rows), All(m_cols))
            .SetSerialization(Serialization(symmetric));
        Run(rewrite, twice, true);
        EXPECT_EQ(ReadMatrix<T>(again, symmetric), Matrix<T>(symmetric, T(2)));
    }

    VelCollectionID m_rows, m_cols;
};

TEST_F(VelSparseDrawerTest, MatricesRoundTripThroughReopenAndRewrite) {
    for (const bool symmetric : {true, false}) {
        SCOPED_TRACE(symmetric ? "sparse-symmetric" : "sparse");
        RoundTrip<double>(VelTypeKeyDouble, symmetric);
        RoundTrip<float>(VelTypeKeyFloat, symmetric);
        RoundTrip<int32_t>(VelTypeKeyInt, symmetric);
        RoundTrip<uint8_t>(VelTypeKeyBool, symmetric);
    }
}

TEST_F(VelSparseDrawerTest, AnIndependentReaderFindsTheArrays) {
    const VelDistributionID symmetric = Matrices(VelTypeKeyDouble);
    const VelDistributionID plain = Matrices(VelTypeKeyDouble);
    MakeMatrix(symmetric, true, Matrix<double>(true, 1.0));
    MakeMatrix(plain, false, Matrix<double>(false, 1.0));
    const VelDrawerID sym = LastDrawer(symmetric);
    const VelDrawerID nonsym = LastDrawer(plain);
    const int full = All(m_rows).Minor().Value();
    const std::vector<int> dims = {m_rows.Minor().Value(), full, 5,
                                   m_cols.Minor().Value(), full, 5};
    VelManager::CloseContext(m_context);

    const TestRawFile raw(m_file.str(), H5F_ACC_RDONLY);
    const Csr<double> m = Matrix<double>(true, 1.0);
    for (const bool isSym : {true, false}) {
        const VelDrawerID& drawer = isSym ? sym : nonsym;
        std::vector<int> attributes = {10, isSym ? 1 : 0};
        attributes.insert(attributes.end(), dims.begin(), dims.end());
        EXPECT_EQ(raw.IntAttribute(PathOf(drawer), "Drawer attributes"), attributes);
        const int number = drawer.Minor().Value();
        const std::string values = PathOf(drawer) + "/" + VelIdAsString(number).c_str();
        const std::string index = PathOf(drawer) + "/" + VelIdAsString(number + 1).c_str();
        std::vector<double> expected = isSym ? m.diagonal : std::vector<double>();
        expected.insert(expected.end(), m.values.begin(), m.values.end());
        EXPECT_EQ(raw.Values<double>(values, H5T_NATIVE_DOUBLE), expected);
        std::vector<int> ints = m.columns;
        ints.insert(ints.end(), m.starts.begin(), m.starts.end());
        EXPECT_EQ(raw.Values<int>(index, H5T_NATIVE_INT), ints);
        EXPECT_EQ(raw.Extents(values), (std::vector<hsize_t>{isSym ? 15u : 10u}));
        EXPECT_EQ(raw.Extents(index), (std::vector<hsize_t>{16}));
    }
}

TEST_F(VelSparseDrawerTest, ArraysOrViewsThatDoNotFitTheDrawerAreRefusedDeathTest) {
    const VelDistributionID d = Matrices(VelTypeKeyFloat);
    VelTransfer make{VelDistributionRef(d)};
    make.SetMakeNewDrawer().SetSparseNNonzero(10).SetDims(All(m_rows), All(m_cols));
    make.SetSerialization(Serialization(false));
    // Falling in the middle; rising but one short of the 10 nonzeros; ending at 10 after 11.
    for (const auto& [at, start] : std::vector<std::pair<size_t, int>>{{3, 1}, {5, 9}, {4, 11}}) {
        Csr<float> broken = Matrix<float>(false, 1.0f);
        broken.starts[at] = start;
        ExpectValidateFailure(Run(make, broken, true),
                              "!\"bufSparseMap must rise from 0 to the number of nonzeros\"");
    }

    MakeMatrix(d, false, Matrix<float>(false, 1.0f));
    VelTransfer asSymmetric{VelDistributionRef(d)};
    asSymmetric.SetRead().SetDims(All(m_rows), All(m_cols)).SetSerialization(Serialization(true));
    Csr<float> m = Matrix<float>(false, 1.0f);
    ExpectValidateFailure(Run(asSymmetric, m, false),
                          "!\"The view's serialization differs from the sparse drawer's\"");
    VelTransfer part{VelDistributionRef(d)};
    part.SetRead()
        .SetDimOrdinalRange(0, m_rows, 0, 4)
        .SetDim(1, VelCollectionRef(m_cols).CreateCSetStrided(0, 1, 4, 1));
    part.SetSerialization(Serialization(false));
    ExpectValidateFailure(Run(part, m, false),
                          "!\"A sparse drawer is moved whole: the view must select its CSets\"");

    VelTransfer dense{VelDistributionRef(d)};
    dense.SetRead().SetDims(All(m_rows), All(m_cols));
    ExpectValidateFailure(TestGet<float>(dense),
                          "!\"A standard transfer cannot use a sparse drawer\"");

    MakeMatrix(d, false, Matrix<float>(false, 1.0f));
    VelTransfer two{VelDistributionRef(d)};
    two.SetWrite().SetDims(All(m_rows), All(m_cols)).SetSerialization(Serialization(false));
    ExpectAssertFailure(two.CheckView(), "descArray.Size() == 1");

    const VelDistributionID standard = Matrices(VelTypeKeyFloat);
    MakeDrawer(standard, All(m_rows), All(m_cols), std::vector<float>(25, 1.0f));
    VelTransfer notSparse{VelDistributionRef(standard)};
    notSparse.SetRead().SetDims(All(m_rows), All(m_cols)).SetSerialization(Serialization(true));
    ExpectValidateFailure(notSparse.CheckView(), "!\"A sparse transfer needs a sparse drawer\"");
}

}  // namespace
