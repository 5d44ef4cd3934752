// Transfers over real distributions: normalisation through the transfer, the sizes each
// serialization requires, the phase machine and the messages of its refusals, views stepped
// through a range, pool mode, and what the drawer layer is handed.
#include "vel/transfer/VelTransfer.h"

#include <string>
#include <vector>

#include "VelTestIDs.h"
#include "VelTestSupport.h"
#include "context/VelDistribution.h"
#include "context/VelDistributionAccess.h"
#include "transfer/VelDrawerIO.h"
#include "vel/UTI_VelDynamicAPI.h"
#include "vel/context/VelCollectionRef.h"
#include "vel/context/VelContextRef.h"
#include "vel/context/VelManager.h"

namespace {

// The transfer's own message, then the two lines of the failed validation.
#define ExpectTransferFailure(statement, message, condition) \
    EXPECT_DEATH(statement,                                  \
                 "^" + VelLiteralRegex(std::string(message) + VelValidateText(condition)) + "$")

// On a 16-byte boundary, so that the data offsets of padded buffers can be predicted.
struct alignas(16) Memory {
    unsigned char bytes[256];
};

// Records the calls the transfer makes into the drawer layer and where bufMain's data were.
class RecordingDrawerIO : public VelDrawerIO {
public:
    VelDrawerBufferLayout SparseLayout(const VelDistributionRef&, const VelDrawerID& d) override {
        described = d;
        return layout;
    }
    void ReadDense(const VelDrawerRequest& r) override { Record("ReadDense", r); }
    void ReadSparse(const VelDrawerRequest& r) override { Record("ReadSparse", r); }
    void WriteDense(const VelDrawerRequest& r) override { Record("WriteDense", r); }
    void WriteSparse(const VelDrawerRequest& r) override { Record("WriteSparse", r); }
    void CreateDenseDrawer(const VelDrawerRequest& r) override { Record("CreateDense", r); }
    void CreateSparseDrawer(const VelDrawerRequest& r) override { Record("CreateSparse", r); }
    void InitializePersistentDrawer(const VelDrawerRequest& r, const VelRangeValue& v) override {
        Record("Initialize", r);
        value = v;
    }
    void Record(const char* call, const VelDrawerRequest& r) {
        calls.push_back(call);
        mainData.push_back(r.drawer.InnerBuffers()[VelbufMain]);
    }

    std::vector<std::string> calls;
    std::vector<void*> mainData;
    VelDrawerID described;
    VelDrawerBufferLayout layout;
    VelRangeValue value;
};

class ScopedDrawerIO {
public:
    explicit ScopedDrawerIO(VelDrawerIO& io) : m_previous(VelDrawerIO::Install(&io)) {}
    ~ScopedDrawerIO() { VelDrawerIO::Install(m_previous); }

private:
    VelDrawerIO* m_previous;
};

class LoggingPool : public VelPool {
public:
    void* malloc(size_t size) override {
        sizes.push_back(static_cast<int>(size));
        return system.malloc(size);
    }
    void free(void* block) override { system.free(block); }
    VelSysPool system;
    std::vector<int> sizes;
};

class VelTransferTest : public ::testing::Test {
protected:
    void SetUp() override {
        UTI_VelDynamicAPI_initialize(m_modules);
        m_context = VelManager::CreateContext(m_file.c_str(), hdf_File::CreateFlagsTruncate, 1);
        ASSERT_FALSE(m_context.IsNull());
        const VelContextRef context(m_context);
        m_a = context.CreateCollection(3);
        m_b = context.CreateCollection(4);
        m_rows = context.CreateCollection(5);
        m_cols = context.CreateCollection(5);
        m_doubles = context.CreateDistribution(VelGrid(TestArray({m_a, m_b})),
                                               VelRangeType(VelTypeKeyDouble));
        m_floats = context.CreateDistribution(VelGrid(TestArray({m_rows, m_cols})),
                                              VelRangeType(VelTypeKeyFloat));
    }
    void TearDown() override { UTI_VelDynamicAPI_finalize(m_modules); }

    static VelCSetID All(const VelCollectionID& c) { return VelCollectionRef(c).BiggestCSetID(); }
    VelDistributionRef Doubles() const { return VelDistributionRef(m_doubles); }
    VelDistributionRef Floats() const { return VelDistributionRef(m_floats); }

    // Writing all of a x b (3 x 4 Doubles), checked.
    void CheckedWrite(VelTransfer& t) const {
        t.SetWrite().SetDims(All(m_a), All(m_b)).CheckView();
    }
    // A new sparse drawer of 10 nonzeros over the 5 x 5 Floats, checked.
    void CheckedSparse(VelTransfer& t, bool symmetric) const {
        VelSerializationType s;
        symmetric ? s.SetSparseSym() : s.SetSparse();
        t.SetMakeNewDrawer().SetSparseNNonzero(10).SetDims(All(m_rows), All(m_cols));
        t.SetSerialization(s).CheckView();
    }
    static std::vector<int> Required(const VelTransfer& t) {
        std::vector<int> sizes;
        for (int e = 0; e < VelTransfer::BufferCount(); ++e)
            sizes.push_back(t.RequiredBufferSize(e));
        return sizes;
    }
    std::string Report(const char* message, const VelTransfer& t) const {
        return std::string("\ndpa client error: Bad arguments to Transfer: ") + message +
               "\n\n+++ Print of Transfer data Begins\nDistribution grid: " +
               TestText(VelGrid(TestArray({m_a, m_b}))) + "\n" + TestText(t.RangeViewArgs()) +
               TestText(t.TransferArgs()) + "+++ Print of Transfer data Ends\n\n";
    }

    int m_modules = 0;
    VelTempFile m_file{"transfer"};
    VelContextID m_context;
    VelCollectionID m_a, m_b, m_rows, m_cols;
    VelDistributionID m_doubles, m_floats;
};

TEST_F(VelTransferTest, CheckViewNormalisesOrPrintsTheClientErrorDeathTest) {
    VelTransfer write(Doubles());
    CheckedWrite(write);
    EXPECT_TRUE(write.TransferArgs().WriteNewDomainMake().IsTrue()) << "normalised";

    // A view of no dimensions sets no change flag, yet its first check must normalise.
    VelTransfer single(VelDistributionRef(
        VelContextRef(m_context).CreateDistribution(VelGrid(), VelRangeType(VelTypeKeyDouble))));
    single.SetWrite().SetDims(VelOCompartment(VelArray<VelCSetID>())).CheckView();
    EXPECT_TRUE(single.TransferArgs().MakeNewDrawer().IsFalse());
    EXPECT_EQ(single.RequiredBufferSize(VelbufMain), 8 + 24);

    // Both dimensions on one collection: the report prints the arguments as they stand.
    VelTransfer repeated(Doubles());
    repeated.SetWrite().SetDims(All(m_a), All(m_a));
    ExpectTransferFailure(
        repeated.CheckView(),
        Report("More than one dimension of the Transfer refers to the same collection", repeated),
        "key == VelArgsNoError");
}

TEST_F(VelTransferTest, RequiredSizesFollowTheViewTheSerializationAndPadding) {
    VelTransfer padded(Doubles());
    CheckedWrite(padded);
    EXPECT_EQ(Required(padded), (std::vector<int>{120, 0, 0, 0}));
    EXPECT_EQ(VelTransfer::FullBufferSize(VelTypeKeyDouble, 12), 120);
    VelTransfer bare(Doubles());
    CheckedWrite(bare.SetBufferPadding(false));
    EXPECT_EQ(Required(bare), (std::vector<int>{96, 0, 0, 0}));

    VelTransfer symmetric(Floats()), plain(Floats()), bareSparse(Floats());
    CheckedSparse(symmetric, true);
    CheckedSparse(plain, false);
    CheckedSparse(bareSparse.SetBufferPadding(false), true);
    EXPECT_EQ(Required(symmetric), (std::vector<int>{64, 64, 48, 44}));
    EXPECT_EQ(Required(plain), (std::vector<int>{64, 64, 48, 0}));
    EXPECT_EQ(Required(bareSparse), (std::vector<int>{40, 40, 24, 20}));
    Memory m[4];
    for (int e = 0; e < 4; ++e) symmetric.SetBuffer(e, m[e].bytes, 64);
    const VelTransientDrawer& drawer = symmetric.GetTransientDrawer();
    EXPECT_EQ(TestText(drawer.DataKeys()),
              "(BufSet       bufMain-->Float   bufIndicesNZ-->Int   bufSparseMap-->Int   "
              "bufDiagonal-->Float  )");
    EXPECT_EQ(TestText(drawer.BufferSizes()),
              "(BufSet       bufMain-->40   bufIndicesNZ-->40   bufSparseMap-->24   "
              "bufDiagonal-->20  )");
    for (int e = 0; e < 4; ++e) EXPECT_EQ(drawer.Data(e).Address(), m[e].bytes + 16) << e;
    symmetric.RelinquishBuffers();

    // The caller's dimension order, not the grid's; a CSet counts its members; an ordinal
    // range (1, 4) counts 4 and stands in the compartment as its collection with a null CSet.
    VelTransfer ordered(Floats());
    const VelCSetID evens = VelCollectionRef(m_cols).CreateCSetStrided(0, 2, 3, 1);
    ordered.SetWrite().SetDim(0, evens).SetDimOrdinalRange(1, m_rows, 1, 4).CheckView();
    EXPECT_EQ(ordered.RequiredBufferSize(VelbufMain), 3 * 4 * 4 + 24);
    ordered.SetBuffer(VelbufMain, m[0].bytes, 72);
    const VelTransientDrawer& view = ordered.GetTransientDrawer();
    EXPECT_EQ(TestText(view.Sizes()), "( 3 4 )");
    EXPECT_EQ(view.OCompartment()[0].Compare(evens), 0);
    EXPECT_EQ(view.OCompartment()[1].CollectionID().Compare(m_rows), 0);
    EXPECT_TRUE(view.OCompartment()[1].IsNull());
    ordered.RelinquishBuffers();
}

TEST_F(VelTransferTest, ExistingSparseDrawerTakesItsLayoutFromTheDrawerLayer) {
    VelSerializationType sparse;
    sparse.SetSparse();
    VelTransfer none(Floats());
    none.SetRead().SetDims(All(m_rows), All(m_cols)).SetSerialization(sparse);
    ExpectAssertFailure(none.CheckView(), "descArray.Size() == 1");

    const VelDrawerID drawer = VelDistributionAccess::Get(m_floats).CreateDrawer(
        VelDistribution::e_SparseDrawer, {0, 0, -1, 1, 0, -1});
    RecordingDrawerIO io;
    io.layout.sizes[VelbufMain] = 28;
    io.layout.sizes[VelbufSparseMap] = 24;
    io.layout.keys[VelbufMain] = VelTypeKeyFloat;
    io.layout.keys[VelbufSparseMap] = VelTypeKeyInt;
    const ScopedDrawerIO scope(io);
    VelTransfer read(Floats());
    read.SetRead().SetDims(All(m_rows), All(m_cols)).SetSerialization(sparse).CheckView();
    EXPECT_EQ(io.described.Compare(drawer), 0);
    EXPECT_EQ(Required(read), (std::vector<int>{52, 0, 48, 0}));
}

TEST_F(VelTransferTest, InnerPointersPointIntoTheCallersBuffersDeathTest) {
    Memory memory;
    VelTransfer t(Doubles());
    CheckedWrite(t);
    EXPECT_TRUE(t.BufferInadequate());
    t.SetBuffer(VelbufMain, memory.bytes + 8, 120);
    EXPECT_FALSE(t.BufferInadequate());
    const VelQualPointer data = t.GetTransientDrawer().Data(VelbufMain);
    EXPECT_EQ(data.Address(), memory.bytes + 16);
    EXPECT_TRUE(data.Qualifier()) << "a transfer that does not read hands out read-only data";

    // A new buffer goes back to buffer setting, and the data move with it.
    t.SetBuffer(VelbufMain, memory.bytes + 32, 120);
    EXPECT_EQ(t.GetPhase(), VelTransfer::BufferSetting);
    EXPECT_EQ(t.GetTransientDrawer().Data(VelbufMain).Address(), memory.bytes + 48);
    t.RelinquishBuffer(VelbufMain);
    EXPECT_EQ(t.BufferSize(VelbufMain), 0);
    t.SetBuffer(VelbufMain, memory.bytes, 200);
    EXPECT_EQ(t.GetTransientDrawer().BufferSizes()[VelbufMain], 96);
    t.RelinquishBuffers();

    VelTransfer bare(Doubles());
    CheckedWrite(bare.SetBufferPadding(false));
    bare.SetBuffer(VelbufMain, memory.bytes + 4, 96);
    EXPECT_EQ(bare.GetTransientDrawer().Data(VelbufMain).Address(), memory.bytes + 4);
    bare.RelinquishBuffer(VelbufMain);

    EXPECT_EQ(VelTransfer::DataPart(VelTypeKeyInt, memory.bytes + 24).Address(), memory.bytes + 32);
    ExpectValidateFailure(VelTransfer::DataPart(VelTypeKeyInt, memory.bytes + 4),
                          "(inp & 07) == 0");
}

TEST_F(VelTransferTest, SteppingARangeCostsNoValidationDeathTest) {
    Memory memory;
    VelTransfer t(Doubles());
    t.SetWrite().SetDimOrdinalRange(0, m_a, 0, 0).SetDim(1, All(m_b)).CheckView();
    EXPECT_EQ(t.RequiredBufferSize(VelbufMain), 4 * 8 + 24);
    t.SetBuffer(VelbufMain, memory.bytes, 56);
    void* const data = t.GetTransientDrawer().Data(VelbufMain).Address();
    for (int i = 1; i < 3; ++i) {
        t.SetDimOrdinalRange(0, m_a, i, i).CheckView();
        EXPECT_EQ(t.GetTransientDrawer().Data(VelbufMain).Address(), data);
    }
    t.SetDimOrdinalRange(0, m_a, 0, 2).CheckView();
    EXPECT_EQ(t.ArgumentChecks(), 1);
    EXPECT_TRUE(t.BufferInadequate()) << "wider than the buffer";

    // Anything else is checked again.
    t.SetDim(0, All(m_a)).CheckView();
    t.SetDimOrdinalRange(0, m_a, 0, 0).CheckView();
    t.SetDimOrdinalRange(1, m_b, 0, 0).SetDimOrdinalRange(1, m_b, 1, 1).CheckView();
    EXPECT_EQ(t.ArgumentChecks(), 4);

    // A stepped range that runs backwards is still refused.
    t.SetDimOrdinalRange(0, m_a, 2, 1);
    ExpectTransferFailure(t.CheckView(),
                          Report("In a SetDimOrdinalRange(d,c,i,j),  i must be 0 or greater and "
                                 "j,  1 or greater",
                                 t),
                          "key == VelArgsNoError");
    // Buffers can only be taken back from a checked view.
    t.SetDimOrdinalRange(0, m_a, 1, 2).CheckView();
    t.RelinquishBuffers();
}

TEST_F(VelTransferTest, PoolBuffersGrowAndAreKeptAcrossViewsDeathTest) {
    LoggingPool pool;
    {
        VelTransfer t(Doubles());
        t.SetPool(pool).SetWrite().SetDimOrdinalRange(0, m_a, 0, 0).SetDim(1, All(m_b));
        t.CheckView();
        void* const small = t.GetTransientDrawer().Data(VelbufMain).Address();
        t.SetDimOrdinalRange(0, m_a, 2, 2).CheckView();
        EXPECT_EQ(t.GetTransientDrawer().Data(VelbufMain).Address(), small);
        t.SetDim(0, All(m_a)).CheckView();
        t.SetDimOrdinalRange(0, m_a, 1, 1).CheckView();
        EXPECT_EQ(pool.sizes, (std::vector<int>{56, 120}));
        EXPECT_EQ(pool.system.LiveBlocks(), 1);
        EXPECT_EQ(t.BufferSize(VelbufMain), 120);

        ExpectTransferFailure(t.Buffer(VelbufMain),
                              "VelTransfer: error -- direct access to buffer is not allowed in "
                              "pool mode.   Use TransientDrawer::Data to see the data\n",
                              "!InPoolMode()");
        ExpectTransferFailure(
            t.SetBuffer(VelbufMain, &pool, 8),
            "VelTransfer: error, can't call SetBuffer if SetPool has been called\n",
            "!InPoolMode()");
        t.RelinquishBuffer(VelbufMain);
        EXPECT_EQ(pool.system.LiveBlocks(), 0);
        t.SetDim(1, All(m_b)).CheckView();
        EXPECT_EQ(pool.system.LiveBlocks(), 1);
    }
    EXPECT_EQ(pool.system.LiveBlocks(), 0) << "a transfer gives its buffers back when it goes";
}

TEST_F(VelTransferTest, OutOfSequenceCallsFailWithTheirMessagesDeathTest) {
    Memory memory;
    VelTransfer fresh(Doubles());
    ExpectValidateFailure(fresh.CheckView(), "m_phase == ViewSetting");
    ExpectTransferFailure(fresh.SetBuffer(0, memory.bytes, 8),
                          "\nVelTransfer error: You can't call SetBuffer/RelinquishBuffer until "
                          "after calling CheckView()\n",
                          "m_phase >= BufferSetting");
    ExpectTransferFailure(fresh.GetTransientDrawer(),
                          "\nSome Transfer-phase operation was called out of sequence on the "
                          "Transfer.  Call CheckView()?\n",
                          "m_phase == BufferSetting");
    ExpectTransferFailure(fresh.InitializePersistentDrawer(VelRangeValue(1.0)),
                          "\nInitializePersistentDrawer was called out of sequence on the "
                          "Transfer.  Call CheckView()?\n",
                          "m_phase == BufferSetting || m_phase == Transacting");
    ExpectValidateFailure(fresh.SetDimExtension(All(m_a)),
                          "!\" SetDimExtension Not implemented yet \"");
    fresh.SetDim(0, All(m_a));
    ExpectTransferFailure(fresh.SetRead(),
                          "\ndpa Transfer error: SetRead can only be called just after the "
                          "Transfer is constructed\n",
                          "m_phase == ModeSetting");
}

TEST_F(VelTransferTest, BufferMisuseFailsWithItsMessageDeathTest) {
    Memory memory;
    VelTransfer t(Doubles());
    CheckedWrite(t);
    ExpectTransferFailure(t.SetBuffer(VelbufMain, nullptr, 8),
                          "\ndpa Transfer: error,  setting buffer with zero pointer but claimed "
                          "nonzero size\n",
                          "p != nullptr");
    ExpectValidateFailure(t.SetBuffer(VelbufMain, memory.bytes, -1), "size > 0");
    ExpectValidateFailure(t.SetBuffer(4, memory.bytes, 8),
                          "VelbufMain <= e && e < VelnDpaBufferType");
    ExpectValidateFailure(t.RequiredBufferSize(4), "e < m_outerBufferSet.Count()");

    t.SetBuffer(VelbufMain, memory.bytes, 119);
    ExpectTransferFailure(t.GetTransientDrawer(),
                          "\ndpa Transfer error: inadequate or unset buffer(s)\n"
                          "Required buffer sizes: (BufSet       bufMain-->120  )\n"
                          "Actual buffer sizes: (BufSet       bufMain-->119  )\n",
                          "m_actualBufferSizes[e] >= m_requiredBufferSizes[e]");
    // Dropped while it still holds the caller's buffer.
    ExpectTransferFailure(
        {
            VelTransfer held(Doubles());
            CheckedWrite(held);
            held.SetBuffer(VelbufMain, memory.bytes, 119);
        },
        "\ndpa Transfer error: must relinquish all buffers for which SetBuffer was called\n"
        "non-zero buffer sizes: (BufSet       bufMain-->119  )\n",
        "!HoldsCallerBuffer()");
    t.RelinquishBuffers();
}

TEST_F(VelTransferTest, ReadsAndWritesReachTheDrawerLayerDeathTest) {
    RecordingDrawerIO io;
    const ScopedDrawerIO scope(io);
    Memory memory;
    const std::string readFirst = "\ndpa Transfer error: You need to call ExecRead() first.\n";

    VelTransfer read(Doubles());
    read.SetRead().SetDims(All(m_a), All(m_b)).CheckView();
    read.SetBuffer(VelbufMain, memory.bytes, 120);
    ExpectTransferFailure(read.GetTransientDrawer(), readFirst, "!m_readPending");
    ExpectAssertFailure(read.ExecWrite(), "m_transferArgs.Write()");
    const VelTransientDrawer& drawer = read.ExecRead();
    EXPECT_FALSE(drawer.Data(VelbufMain).Qualifier());
    EXPECT_EQ(&read.GetTransientDrawer(), &drawer);
    read.SetBuffer(VelbufMain, memory.bytes + 16, 120);
    ExpectTransferFailure(read.GetTransientDrawer(), readFirst, "!m_readPending");
    read.ExecRead();
    read.RelinquishBuffers();

    VelTransfer update(Doubles()), make(Doubles()), sparse(Floats());
    CheckedWrite(update);
    make.SetMakeNewDrawer().SetDims(All(m_a), All(m_b)).CheckView();
    CheckedSparse(sparse, false);
    Memory m[3];
    for (VelTransfer* t : {&update, &make, &sparse}) {
        for (int e = 0; e < 3; ++e) t->SetBuffer(e, m[e].bytes, 120);
        t->ExecWrite();
        t->RelinquishBuffers();
    }
    ExpectAssertFailure(update.ExecRead(), "m_transferArgs.Read()");
    EXPECT_EQ(io.calls, (std::vector<std::string>{"ReadDense", "ReadDense", "WriteDense",
                                                  "CreateDense", "CreateSparse"}));
    EXPECT_EQ(io.mainData, (std::vector<void*>{memory.bytes + 16, memory.bytes + 32,
                                               m[0].bytes + 16, m[0].bytes + 16, m[0].bytes + 16}));

    VelSerializationType uniform;
    VelTransfer unsupported(Doubles());
    unsupported.SetWrite().SetDims(All(m_a), All(m_b)).SetSerialization(uniform.SetUniform(0, 2));
    ExpectAssertFailure(unsupported.CheckView(), "!\"not implemented yet\"");
}

TEST_F(VelTransferTest, InitializePersistentDrawerStandsApartDeathTest) {
    RecordingDrawerIO io;
    const ScopedDrawerIO scope(io);
    VelTransfer t(Doubles());
    t.SetMakeNewDrawer().SetDims(All(m_a), All(m_b)).CheckView();
    ExpectValidateFailure(t.InitializePersistentDrawer(VelRangeValue(1)),
                          "m_distributionRef.RangeType().TypeKey() == rvalue.TypeKey()");
    t.InitializePersistentDrawer(VelRangeValue(2.5));
    EXPECT_EQ(io.calls, (std::vector<std::string>{"Initialize"}));
    EXPECT_EQ(io.value, VelRangeValue(2.5));
    EXPECT_EQ(io.mainData, (std::vector<void*>{nullptr})) << "no buffers are needed";
    ExpectTransferFailure(t.InitializePersistentDrawer(VelRangeValue(2.5)),
                          "Can't call InitializePersistentDrawer more than once on same drawer\n",
                          "m_phase != InitializePD");
    ExpectTransferFailure(t.GetTransientDrawer(),
                          "\nGetTransientDrawer,ExecRead, or ExecWrite can't be mixed with "
                          "InitializePersistentDrawer\n",
                          "m_phase != InitializePD");

    // A buffer goes back to buffer setting; from the transfer phase, only a warning.
    Memory memory;
    t.SetBuffer(VelbufMain, memory.bytes, 120).GetTransientDrawer();
    testing::internal::CaptureStderr();
    t.InitializePersistentDrawer(VelRangeValue(0.0));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "\nInitializePersistentDrawer can't be mixed with GetTransientDrawer,ExecRead, or "
              "ExecWrite\n");
    EXPECT_EQ(io.calls.size(), 2u);
    t.RelinquishBuffers();
}

}  // namespace
