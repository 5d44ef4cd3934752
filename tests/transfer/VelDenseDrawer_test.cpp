// Standard drawers end to end: values written through transfers and read back after the
// database is closed and reopened, whole and through views; what an independent reader finds in
// the file; the rules that pick drawers when several hold a view.
#include <cstdint>

#include "VelDrawerTestSupport.h"
#include "transfer/VelDrawerIO.h"
#include "vel/transfer/VelDrawerRef.h"

namespace {

class VelDenseDrawerTest : public VelDrawerTest {
protected:
    // A drawer of every node and component, read back after reopening: whole in caller
    // buffers, then two nodes at a time stepped by ordinal range, in caller buffers and
    // through a pool.
    template <class T>
    void RoundTrip(VelTypeKey key) {
        const VelDistributionID d = Distribution(key);
        // Values that differ in every byte a wrong offset would shift.
        const std::vector<T> written = TestValues<T>(
            30, [&](int i) { return key == VelTypeKeyBool ? i % 3 == 1 : 3 * i + 1; });
        const VelDrawerID drawer = MakeDrawer(d, All(m_nodes), All(m_comps), written);
        Reopen();
        const VelDistributionID again = Again(d);
        EXPECT_EQ(VelDistributionRef(again).Drawers()[0].Compare(Again(drawer)), 0);
        EXPECT_EQ(ReadAll<T>(again, All(m_nodes), All(m_comps)), written);

        for (const bool pooled : {false, true}) {
            VelSysPool pool;
            VelTransfer t{VelDistributionRef(again)};
            if (pooled) t.SetPool(pool);
            t.SetRead().SetDim(1, All(m_comps));
            for (int first = 0; first < 10; first += 2) {
                t.SetDimOrdinalRange(0, m_nodes, first, first + 1);
                const std::vector<T> part = TestGet<T>(t);
                EXPECT_EQ(part, std::vector<T>(written.begin() + 3 * first,
                                               written.begin() + 3 * first + 6))
                    << "nodes " << first << " and " << first + 1 << (pooled ? " from a pool" : "");
            }
            // Stepping only moved the range: the arguments were checked once.
            EXPECT_EQ(t.ArgumentChecks(), 1);
        }
    }
};

TEST_F(VelDenseDrawerTest, EveryElementTypeRoundTripsThroughReopen) {
    RoundTrip<int32_t>(VelTypeKeyInt);
    RoundTrip<double>(VelTypeKeyDouble);
    RoundTrip<float>(VelTypeKeyFloat);
    RoundTrip<uint8_t>(VelTypeKeyBool);
}

// Node n, component c holds 10 n + c (+ `offset`), over the nodes and components given.
std::vector<double> Field(const std::vector<int>& nodes, const std::vector<int>& comps,
                          double offset = 0) {
    std::vector<double> values;
    for (int n : nodes)
        for (int c : comps) values.push_back(10 * n + c + offset);
    return values;
}
std::vector<int> Span(int first, int last) {
    std::vector<int> members;
    for (int m = first; m <= last; ++m) members.push_back(m);
    return members;
}

TEST_F(VelDenseDrawerTest, AnIndependentReaderFindsTheLayout) {
    const VelDistributionID d = Distribution(VelTypeKeyDouble);
    const VelDrawerID whole =
        MakeDrawer(d, All(m_nodes), All(m_comps), Field(Span(0, 9), Span(0, 2)));
    // In the view's dimension order (components first), over five nodes from 2, in chunks.
    const VelCSetID some = VelCollectionRef(m_nodes).CreateCSetStrided(2, 1, 5, 1);
    VelTransfer t{VelDistributionRef(d)};
    t.SetMakeNewDrawerChunked(TestArray({2, 4})).SetDims(All(m_comps), some);
    std::vector<double> transposed;
    for (int c = 0; c < 3; ++c)
        for (int n = 2; n <= 6; ++n) transposed.push_back(10 * n + c);
    TestPut(t, transposed);
    const VelDrawerID chunked = LastDrawer(d);
    EXPECT_EQ(chunked.Minor().Value(), whole.Minor().Value() + 1);
    const int full = All(m_nodes).Minor().Value();
    const int nodes = m_nodes.Minor().Value();
    const int comps = m_comps.Minor().Value();
    Reopen(hdf_File::OpenFlagsReadOnly);
    VelManager::CloseContext(m_context);

    const TestRawFile raw(m_file.str(), H5F_ACC_RDONLY);
    const std::string group = PathOf(whole);
    const std::string name = VelIdAsString(whole.Minor().Value()).c_str();
    EXPECT_EQ(raw.IntAttribute(group, "type"), (std::vector<int>{3, whole.Minor().Value()}));
    EXPECT_EQ(raw.IntAttribute(group, "Drawer attributes"),
              (std::vector<int>{0, 0, nodes, full, 10, comps, full, 3}));
    EXPECT_EQ(raw.Extents(group + "/" + name), (std::vector<hsize_t>{10, 3}));
    EXPECT_EQ(raw.Values<double>(group + "/" + name, H5T_NATIVE_DOUBLE),
              Field(Span(0, 9), Span(0, 2)));

    const std::string group2 = PathOf(chunked);
    const std::string dataset2 = group2 + "/" + VelIdAsString(chunked.Minor().Value()).c_str();
    EXPECT_EQ(raw.IntAttribute(group2, "Drawer attributes"),
              (std::vector<int>{0, 0, comps, full, 3, nodes, some.Minor().Value(), 5}));
    EXPECT_EQ(raw.Values<double>(dataset2, H5T_NATIVE_DOUBLE), transposed);
    const hid_t ds = H5Dopen2(raw.id(), dataset2.c_str(), H5P_DEFAULT);
    const hid_t plist = H5Dget_create_plist(ds);
    hsize_t chunk[2] = {0, 0};
    EXPECT_EQ(H5Pget_chunk(plist, 2, chunk), 2);
    // The 4 asked for along 3 components is cut to the extent.
    EXPECT_EQ(chunk[0], 2u);
    EXPECT_EQ(chunk[1], 4u);
    H5Pclose(plist);
    H5Dclose(ds);
}

TEST_F(VelDenseDrawerTest, ViewsMapMembersOntoDrawerPositions) {
    const VelDistributionID d = Distribution(VelTypeKeyDouble);
    MakeDrawer(d, All(m_nodes), All(m_comps), Field(Span(0, 9), Span(0, 2)));
    const VelCollectionRef nodes(m_nodes);
    const VelCollectionRef comps(m_comps);
    const int scattered[] = {1, 4, 5, 9};
    const VelCSetID list = nodes.CreateCSet(scattered, 4);
    const VelCSetID everyThird = nodes.CreateCSetStrided(0, 3, 4, 1);
    const int ends[] = {0, 2};
    const VelCSetID outer = comps.CreateCSet(ends, 2);

    EXPECT_EQ(ReadAll<double>(d, list, All(m_comps)), Field({1, 4, 5, 9}, Span(0, 2)));
    EXPECT_EQ(ReadAll<double>(d, everyThird, outer), Field({0, 3, 6, 9}, {0, 2}));
    VelTransfer range{VelDistributionRef(d)};
    range.SetRead().SetDimOrdinalRange(0, m_nodes, 2, 7).SetDimOrdinalRange(1, m_comps, 1, 2);
    EXPECT_EQ(TestGet<double>(range), Field(Span(2, 7), {1, 2}));

    // Writing through a view changes exactly its values.
    VelTransfer write{VelDistributionRef(d)};
    write.SetWrite().SetDims(list, outer);
    TestPut(write, Field({1, 4, 5, 9}, {0, 2}, 0.5));
    std::vector<double> expected = Field(Span(0, 9), Span(0, 2));
    for (int n : scattered)
        for (int c : ends) expected[static_cast<size_t>(3 * n + c)] += 0.5;
    EXPECT_EQ(ReadAll<double>(d, All(m_nodes), All(m_comps)), expected);

    // An ordinal range names members, whatever positions they have in the drawer: nodes 3 to 5
    // are positions 1 to 3 of a drawer over nodes 2 to 6.
    const VelDistributionID part = Distribution(VelTypeKeyDouble);
    MakeDrawer(part, nodes.CreateCSetStrided(2, 1, 5, 1), All(m_comps),
               Field(Span(2, 6), Span(0, 2)));
    VelTransfer inner{VelDistributionRef(part)};
    inner.SetRead().SetDimOrdinalRange(0, m_nodes, 3, 5).SetDim(1, All(m_comps));
    EXPECT_EQ(TestGet<double>(inner), Field(Span(3, 5), Span(0, 2)));
}

TEST_F(VelDenseDrawerTest, TheNewestDrawerHoldingAValueIsReadAndEveryHolderIsWritten) {
    const VelDistributionID d = Distribution(VelTypeKeyDouble);
    const VelCollectionRef nodes(m_nodes);
    const VelDrawerID low = MakeDrawer(d, nodes.CreateCSetStrided(0, 1, 6, 1), All(m_comps),
                                       Field(Span(0, 5), Span(0, 2)));
    MakeDrawer(d, nodes.CreateCSetStrided(4, 1, 6, 1), All(m_comps),
               Field(Span(4, 9), Span(0, 2), 0.5));
    std::vector<double> expected = Field(Span(0, 3), Span(0, 2));
    const std::vector<double> high = Field(Span(4, 9), Span(0, 2), 0.5);
    expected.insert(expected.end(), high.begin(), high.end());
    EXPECT_EQ(ReadAll<double>(d, All(m_nodes), All(m_comps)), expected);

    VelTransfer write{VelDistributionRef(d)};
    write.SetWrite().SetDims(All(m_nodes), All(m_comps));
    TestPut(write, Field(Span(0, 9), Span(0, 2), 0.25));
    EXPECT_EQ(VelDistributionRef(d).NumDrawers(), 2) << "nothing was new domain";
    VelTransfer older{VelDistributionRef(d)};
    older.SetRead().SetDrawer(low).SetDimOrdinalRange(0, m_nodes, 0, 5).SetDim(1, All(m_comps));
    EXPECT_EQ(TestGet<double>(older), Field(Span(0, 5), Span(0, 2), 0.25));

    // Through one chosen drawer: only that drawer changes, and the newer one keeps its values.
    VelTransfer chosen{VelDistributionRef(d)};
    chosen.SetWrite().SetDrawer(low).SetDimOrdinalRange(0, m_nodes, 0, 5).SetDim(1, All(m_comps));
    TestPut(chosen, Field(Span(0, 5), Span(0, 2), 0.125));
    VelTransfer again{VelDistributionRef(d)};
    again.SetRead().SetDrawer(low).SetDimOrdinalRange(0, m_nodes, 0, 5).SetDim(1, All(m_comps));
    EXPECT_EQ(TestGet<double>(again), Field(Span(0, 5), Span(0, 2), 0.125));
    EXPECT_EQ(ReadAll<double>(d, nodes.CreateCSetStrided(4, 1, 6, 1), All(m_comps)),
              Field(Span(4, 9), Span(0, 2), 0.25));
}

TEST_F(VelDenseDrawerTest, NewDomainIsMadeIgnoredOrRefusedAndOldValuesKeptWhenAsked) {
    const VelDistributionID d = Distribution(VelTypeKeyDouble);
    const VelCollectionRef nodes(m_nodes);
    const int firstTwo[] = {0, 1};
    const VelDrawerID corner =
        MakeDrawer(d, nodes.CreateCSetStrided(0, 1, 5, 1),
                   VelCollectionRef(m_comps).CreateCSet(firstTwo, 2), Field(Span(0, 4), {0, 1}));

    // Ignored: the drawer's values are written, the rest dropped.
    VelTransfer ignore{VelDistributionRef(d)};
    ignore.SetWrite().SetWriteNewDomainIgnore().SetDims(All(m_nodes), All(m_comps));
    TestPut(ignore, Field(Span(0, 9), Span(0, 2), 0.5));
    EXPECT_EQ(VelDistributionRef(d).NumDrawers(), 1);
    EXPECT_EQ(ReadAll<double>(d, nodes.CreateCSetStrided(0, 1, 5, 1),
                              VelCollectionRef(m_comps).CreateCSet(firstTwo, 2)),
              Field(Span(0, 4), {0, 1}, 0.5));

    // Made, without overwriting: the L-shaped rest of the grid becomes two drawers that do not
    // overlap the first, whose values stay.
    VelTransfer make{VelDistributionRef(d)};
    make.SetWrite().SetOldDomainOverwrite(false).SetDims(All(m_nodes), All(m_comps));
    TestPut(make, Field(Span(0, 9), Span(0, 2), 0.75));
    EXPECT_EQ(VelDistributionRef(d).NumDrawers(), 3);
    std::vector<double> expected = Field(Span(0, 9), Span(0, 2), 0.75);
    for (int n = 0; n < 5; ++n)
        for (int c = 0; c < 2; ++c) expected[static_cast<size_t>(3 * n + c)] = 10 * n + c + 0.5;
    Reopen();
    EXPECT_EQ(ReadAll<double>(Again(d), All(m_nodes), All(m_comps)), expected);
    int64_t held = 0;
    for (const VelDrawerID& drawer : {Again(corner), LastDrawer(Again(d))}) {
        const VelDrawerDescription desc = VelDrawerRef(drawer).Description();
        held += int64_t(desc.Sizes()[0]) * desc.Sizes()[1];
    }
    const VelDrawerDescription middle =
        VelDrawerRef(VelDistributionRef(Again(d)).Drawers()[1]).Description();
    EXPECT_EQ(held + int64_t(middle.Sizes()[0]) * middle.Sizes()[1], 30)
        << "no value is held twice";
}

TEST_F(VelDenseDrawerTest, PolicyAndCoverageRefusalsDeathTest) {
    const VelDistributionID d = Distribution(VelTypeKeyDouble);
    MakeDrawer(d, VelCollectionRef(m_nodes).CreateCSetStrided(0, 1, 6, 1), All(m_comps),
               Field(Span(0, 5), Span(0, 2)));
    VelTransfer refuse{VelDistributionRef(d)};
    refuse.SetWrite().SetWriteNewDomainError().SetDims(All(m_nodes), All(m_comps));
    EXPECT_DEATH(
        TestPut(refuse, Field(Span(0, 9), Span(0, 2))),
        VelLiteralRegex("\ndpa Transfer error: 12 of the 30 values the view selects are in no "
                        "drawer, and the write-new-domain policy is error\n" +
                        VelValidateText("!\"Writing values outside every drawer is refused "
                                        "by SetWriteNewDomainError\"")));
    VelTransfer uncovered{VelDistributionRef(d)};
    uncovered.SetRead().SetDims(All(m_nodes), All(m_comps));
    EXPECT_DEATH(
        TestGet<double>(uncovered),
        VelLiteralRegex("\ndpa Transfer error: 12 of the 30 values the view selects are in no "
                        "drawer, and the read requires coverage\n" +
                        VelValidateText("!\"Every value a read selects must be in a drawer "
                                        "when coverage is required\"")));

    // A request that leaves coverage unset, searching every drawer, reads the values no drawer
    // holds as zeros.  (A writing transfer lends its view and buffer to the direct call.)
    VelTransfer lend{VelDistributionRef(d)};
    lend.SetWrite().SetDims(All(m_nodes), All(m_comps)).CheckView();
    const int bytes = lend.RequiredBufferSize(VelbufMain);
    TestBuffer buffer(bytes);
    std::memset(buffer.data(), 0x5A, static_cast<size_t>(bytes));
    lend.SetBuffer(VelbufMain, buffer.data(), bytes);
    const VelTransientDrawer& data = lend.GetTransientDrawer();
    VelTransferArgs lenient;
    lenient.SetRead();
    VelDrawerLayer().ReadDense(
        VelDrawerRequest{VelDistributionRef(d), lend.RangeViewArgs(), lenient, data});
    std::vector<double> read(30);
    std::memcpy(read.data(), data.Data(VelbufMain).Address(), 30 * sizeof(double));
    std::vector<double> expected = Field(Span(0, 5), Span(0, 2));
    expected.resize(30, 0.0);
    EXPECT_EQ(read, expected);
    lend.RelinquishBuffers();
}

TEST_F(VelDenseDrawerTest, ViewsNoDrawerCanServeAreRefusedDeathTest) {
    const VelDistributionID d = Distribution(VelTypeKeyInt);
    const VelCollectionRef nodes(m_nodes);
    const std::vector<int> values(15, 7);
    VelTransfer none{VelDistributionRef(d)};
    none.SetRead().SetDims(All(m_nodes), All(m_comps));
    ExpectAssertFailure(TestGet<int>(none), "numDrw > 0");
    const VelDrawerID five =
        MakeDrawer(d, nodes.CreateCSetStrided(0, 1, 5, 1), All(m_comps), values);

    VelTransfer outside{VelDistributionRef(d)};
    outside.SetRead().SetDrawer(five).SetDimOrdinalRange(0, m_nodes, 3, 5).SetDim(1, All(m_comps));
    ExpectAssertFailure(TestGet<int>(outside),
                        "!\"Selection is outside the bounds of the drawer\"");
    VelTransfer elsewhere{VelDistributionRef(d)};
    // Drawer 99 of the distribution, which has none of that number.
    elsewhere.SetWrite().SetDrawer(
        VelDrawerID(VelDynamicID(7, m_context.Value(), d.Minor().Value(), 99)));
    elsewhere.SetDims(All(m_nodes), All(m_comps));
    ExpectAssertFailure(TestPut(elsewhere, std::vector<int>(30)), "drawer");

    VelTransfer transposedRead{VelDistributionRef(d)};
    transposedRead.SetRead().SetDims(All(m_comps), nodes.CreateCSetStrided(0, 1, 5, 1));
    ExpectAssertFailure(TestGet<int>(transposedRead),
                        "!reordered && \"Reading by dimension order differing from that of the "
                        "drawer is not yet implemented\"");
    VelTransfer transposedWrite{VelDistributionRef(d)};
    transposedWrite.SetWrite().SetDims(All(m_comps), nodes.CreateCSetStrided(0, 1, 5, 1));
    ExpectAssertFailure(TestPut(transposedWrite, values),
                        "!reordered && \"Writing by dimension order differing from that of the "
                        "drawer is not yet implemented\"");

    const int backwards[] = {4, 2, 0};
    VelTransfer permuted{VelDistributionRef(d)};
    permuted.SetRead().SetDims(nodes.CreateOrderedCSet(backwards, 3), All(m_comps));
    ExpectAssertFailure(TestGet<int>(permuted), "!\"Selection by cset is not yet supported\"");
    VelTransfer pastTheEnd{VelDistributionRef(d)};
    pastTheEnd.SetRead().SetDimOrdinalRange(0, m_nodes, 8, 10).SetDim(1, All(m_comps));
    ExpectValidateFailure(TestGet<int>(pastTheEnd),
                          "!\"The ordinal range runs past the end of its collection\"");

    VelTransfer ranged{VelDistributionRef(d)};
    ranged.SetMakeNewDrawer().SetDimOrdinalRange(0, m_nodes, 0, 9).SetDim(1, All(m_comps));
    EXPECT_DEATH(TestPut(ranged, std::vector<int>(30)),
                 "Bad arguments to Transfer: SetDimOrdinalRange cannot be used on Transfer when a "
                 "drawer is being created");

    Reopen(hdf_File::OpenFlagsReadOnly);
    VelTransfer readOnly{VelDistributionRef(Again(d))};
    readOnly.SetWrite().SetDims(All(m_nodes), All(m_comps));
    ExpectValidateFailure(TestPut(readOnly, std::vector<int>(30)), "!distribution.IsReadOnly()");
}

TEST_F(VelDenseDrawerTest, ADrawerMadeFromOneValueHoldsItUntilWritten) {
    const VelDistributionID doubles = Distribution(VelTypeKeyDouble);
    VelTransfer init{VelDistributionRef(doubles)};
    init.SetMakeNewDrawer().SetDims(All(m_nodes), All(m_comps)).CheckView();
    init.InitializePersistentDrawer(VelRangeValue(2.5));
    const VelDrawerID drawer = LastDrawer(doubles);
    EXPECT_EQ(ReadAll<double>(doubles, All(m_nodes), All(m_comps)), std::vector<double>(30, 2.5));
    VelTransfer some{VelDistributionRef(doubles)};
    some.SetWrite().SetDimOrdinalRange(0, m_nodes, 1, 2).SetDim(1, All(m_comps));
    TestPut(some, std::vector<double>(6, -1.0));

    const VelDistributionID flags = Distribution(VelTypeKeyBool);
    VelTransfer yes{VelDistributionRef(flags)};
    yes.SetMakeNewDrawerChunked(TestArray({3, 3})).SetDims(All(m_nodes), All(m_comps)).CheckView();
    yes.InitializePersistentDrawer(VelRangeValue(true));
    const VelDistributionID ints = Distribution(VelTypeKeyInt);
    VelTransfer minus{VelDistributionRef(ints)};
    minus.SetMakeNewDrawer().SetDims(All(m_nodes), All(m_comps)).CheckView();
    minus.InitializePersistentDrawer(VelRangeValue(-7));
    Reopen();
    EXPECT_EQ(ReadAll<uint8_t>(Again(flags), All(m_nodes), All(m_comps)),
              std::vector<uint8_t>(30, 1));
    EXPECT_EQ(ReadAll<int>(Again(ints), All(m_nodes), All(m_comps)), std::vector<int>(30, -7));
    std::vector<double> expected(30, 2.5);
    for (size_t i = 3; i < 9; ++i) expected[i] = -1.0;
    EXPECT_EQ(ReadAll<double>(Again(doubles), All(m_nodes), All(m_comps)), expected);
    VelManager::CloseContext(m_context);

    // In the file: a chunked dataset whose fill value is the value, and only the chunk written
    // since takes space.
    const TestRawFile raw(m_file.str(), H5F_ACC_RDONLY);
    const std::string dataset =
        PathOf(drawer) + "/" + VelIdAsString(drawer.Minor().Value()).c_str();
    const hid_t ds = H5Dopen2(raw.id(), dataset.c_str(), H5P_DEFAULT);
    const hid_t plist = H5Dget_create_plist(ds);
    EXPECT_EQ(H5Pget_layout(plist), H5D_CHUNKED);
    double fill = 0;
    H5Pget_fill_value(plist, H5T_NATIVE_DOUBLE, &fill);
    EXPECT_EQ(fill, 2.5);
    EXPECT_EQ(H5Dget_storage_size(ds), 30u * sizeof(double)) << "one chunk of 10 x 3";
    H5Pclose(plist);
    H5Dclose(ds);
}

TEST_F(VelDenseDrawerTest, AHandleDescribesAndClosesADrawer) {
    const VelDistributionID d = Distribution(VelTypeKeyFloat);
    const VelDrawerID drawer =
        MakeDrawer(d, All(m_nodes), All(m_comps), TestValues<float>(30, [](int i) { return i; }));
    const VelDrawerRef handle(drawer);
    EXPECT_EQ(TestText(handle.Description()),
              "drawer " + TestText(drawer) + ": StandardSerialization over ( " +
                  TestText(All(m_nodes)) + " " + TestText(All(m_comps)) + " ) sizes ( 10 3 )");
    handle.Close();
    EXPECT_EQ(ReadAll<float>(d, All(m_nodes), All(m_comps)),
              TestValues<float>(30, [](int i) { return i; }));
    const VelDrawerDescription none;
    ExpectValidateFailure(none.Sizes(), "m_created");
}

}  // namespace
