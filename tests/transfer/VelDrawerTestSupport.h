#ifndef VEL_TESTS_TRANSFER_VELDRAWERTESTSUPPORT_H
#define VEL_TESTS_TRANSFER_VELDRAWERTESTSUPPORT_H

// The fixture of the drawer tests: a database with a few collections, reopened at will, transfers
// run end to end through caller buffers or a pool, and the HDF5 C API at hand to read or damage
// what the library wrote.

#include <hdf5.h>

#include <cstring>
#include <string>
#include <vector>

#include "VelTestIDs.h"
#include "VelTestSupport.h"
#include "vel/UTI_VelDynamicAPI.h"
#include "vel/context/VelCollectionRef.h"
#include "vel/context/VelContextRef.h"
#include "vel/context/VelDistributionRef.h"
#include "vel/context/VelManager.h"
#include "vel/core/VelIdAsString.h"
#include "vel/transfer/VelTransfer.h"

// Caller memory for one buffer, aligned for any element type.
class TestBuffer {
public:
    explicit TestBuffer(int bytes) : m_words(static_cast<size_t>(bytes) / 8 + 1) {}
    void* data() { return m_words.data(); }

private:
    std::vector<double> m_words;
};

// Gives `t` (checked) a caller buffer for bufMain, copies `values` into its data and writes.
template <class T>
void TestPut(VelTransfer& t, const std::vector<T>& values) {
    t.CheckView();
    const int bytes = t.RequiredBufferSize(VelbufMain);
    TestBuffer buffer(bytes);
    t.SetBuffer(VelbufMain, buffer.data(), bytes);
    const VelTransientDrawer& drawer = t.GetTransientDrawer();
    ASSERT_EQ(static_cast<size_t>(drawer.BufferSizes()[VelbufMain]), values.size() * sizeof(T));
    std::memcpy(drawer.Data(VelbufMain).Address(), values.data(), values.size() * sizeof(T));
    t.ExecWrite();
    t.RelinquishBuffers();
}

// The values of bufMain once `t` has read, in caller-buffer mode unless `t` has a pool.
template <class T>
std::vector<T> TestGet(VelTransfer& t) {
    t.CheckView();
    const int bytes = t.RequiredBufferSize(VelbufMain);
    TestBuffer buffer(bytes);
    const bool pooled = t.TransferArgs().Pool() != nullptr;
    if (!pooled) {
        // Garbage where the data go, so that a value the read did not set shows.
        std::memset(buffer.data(), 0x5A, static_cast<size_t>(bytes));
        t.SetBuffer(VelbufMain, buffer.data(), bytes);
    }
    const VelTransientDrawer& drawer = t.ExecRead();
    std::vector<T> values(static_cast<size_t>(drawer.BufferSizes()[VelbufMain]) / sizeof(T));
    std::memcpy(values.data(), drawer.Data(VelbufMain).Address(), values.size() * sizeof(T));
    if (!pooled) t.RelinquishBuffers();
    return values;
}

// n values v(0), v(1), ...
template <class T, class F>
std::vector<T> TestValues(int n, F v) {
    std::vector<T> values;
    for (int i = 0; i < n; ++i) values.push_back(static_cast<T>(v(i)));
    return values;
}

// An HDF5 file opened with the C API, closed at the end of the scope.
class TestRawFile {
public:
    TestRawFile(const std::string& name, unsigned flags)
        : m_id(H5Fopen(name.c_str(), flags, H5P_DEFAULT)) {}
    ~TestRawFile() {
        if (m_id >= 0) H5Fclose(m_id);
    }
    TestRawFile(const TestRawFile&) = delete;
    TestRawFile& operator=(const TestRawFile&) = delete;
    hid_t id() const { return m_id; }

    std::vector<int> IntAttribute(const std::string& object, const char* name) const {
        std::vector<int> values;
        const hid_t attr = H5Aopen_by_name(m_id, object.c_str(), name, H5P_DEFAULT, H5P_DEFAULT);
        if (attr < 0) return values;
        const hid_t space = H5Aget_space(attr);
        values.resize(static_cast<size_t>(H5Sget_simple_extent_npoints(space)));
        H5Aread(attr, H5T_NATIVE_INT, values.data());
        H5Sclose(space);
        H5Aclose(attr);
        return values;
    }
    std::vector<hsize_t> Extents(const std::string& dataset) const {
        const hid_t ds = H5Dopen2(m_id, dataset.c_str(), H5P_DEFAULT);
        if (ds < 0) return {};
        const hid_t space = H5Dget_space(ds);
        std::vector<hsize_t> dims(static_cast<size_t>(H5Sget_simple_extent_ndims(space)));
        H5Sget_simple_extent_dims(space, dims.data(), nullptr);
        H5Sclose(space);
        H5Dclose(ds);
        return dims;
    }
    // Every value of a dataset, converted by HDF5 to `memType`.
    template <class T>
    std::vector<T> Values(const std::string& dataset, hid_t memType) const {
        std::vector<T> values;
        const hid_t ds = H5Dopen2(m_id, dataset.c_str(), H5P_DEFAULT);
        if (ds < 0) return values;
        const hid_t space = H5Dget_space(ds);
        values.resize(static_cast<size_t>(H5Sget_simple_extent_npoints(space)));
        H5Dread(ds, memType, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data());
        H5Sclose(space);
        H5Dclose(ds);
        return values;
    }

private:
    hid_t m_id;
};

class VelDrawerTest : public ::testing::Test {
protected:
    void SetUp() override {
        UTI_VelDynamicAPI_initialize(m_modules);
        m_context = VelManager::CreateContext(m_file.c_str(), hdf_File::CreateFlagsTruncate, 1);
        ASSERT_FALSE(m_context.IsNull());
        m_nodes = Context().CreateCollection(10);
        m_comps = Context().CreateCollection(3);
    }
    void TearDown() override { UTI_VelDynamicAPI_finalize(m_modules); }

    VelContextRef Context() const { return VelContextRef(m_context); }
    static VelCSetID All(const VelCollectionID& c) { return VelCollectionRef(c).BiggestCSetID(); }
    VelDistributionID Distribution(VelTypeKey key) const {
        return Context().CreateDistribution(VelGrid(TestArray({m_nodes, m_comps})),
                                            VelRangeType(key));
    }
    static VelDrawerID LastDrawer(const VelDistributionID& d) {
        const VelArray<VelDrawerID> drawers = VelDistributionRef(d).Drawers();
        return drawers[drawers.Size() - 1];
    }

    // Writes `values` as a new drawer over nodes x comps CSets.
    template <class T>
    VelDrawerID MakeDrawer(const VelDistributionID& d, const VelCSetID& nodes,
                           const VelCSetID& comps, const std::vector<T>& values) {
        VelTransfer t{VelDistributionRef(d)};
        t.SetMakeNewDrawer().SetDims(nodes, comps);
        TestPut(t, values);
        return LastDrawer(d);
    }
    // Reads nodes x comps from the drawers, searching them all.
    template <class T>
    std::vector<T> ReadAll(const VelDistributionID& d, const VelCSetID& nodes,
                           const VelCSetID& comps) {
        VelTransfer t{VelDistributionRef(d)};
        t.SetRead().SetDims(nodes, comps);
        return TestGet<T>(t);
    }

    // Closes and reopens the database; the IDs made so far are those of the reopened context,
    // whose number may differ.
    void Reopen(hdf_File::OpenFlags flags = hdf_File::OpenFlagsReadWrite) {
        VelManager::CloseContext(m_context);
        m_context = VelManager::OpenContext(m_file.c_str(), flags, 1);
        ASSERT_FALSE(m_context.IsNull());
        m_nodes = Again(m_nodes);
        m_comps = Again(m_comps);
    }
    VelCollectionID Again(const VelCollectionID& id) const {
        return VelCollectionID(VelDynamicID(1, m_context.Value(), id.Minor().Value(), 0));
    }
    VelCSetID Again(const VelCSetID& id) const {
        const VelDynamicID d = id.DynamicID();
        return VelCSetID(VelDynamicID(5, m_context.Value(), d.First(), d.Second()));
    }
    VelDistributionID Again(const VelDistributionID& id) const {
        return VelDistributionID(VelDynamicID(2, m_context.Value(), id.Minor().Value(), 0));
    }
    VelDrawerID Again(const VelDrawerID& id) const {
        return VelDrawerID(VelDynamicID(7, m_context.Value(), id.DistributionID().Minor().Value(),
                                        id.Minor().Value()));
    }

    // The HDF5 path of a distribution's group and of one of its drawers.
    static std::string PathOf(const VelDistributionID& d) {
        return "/" + std::string(VelIdAsString(d.Minor().Value()).c_str());
    }
    static std::string PathOf(const VelDrawerID& drawer) {
        return PathOf(drawer.DistributionID()) + "/" +
               VelIdAsString(drawer.Minor().Value()).c_str();
    }

    int m_modules = 0;
    VelTempFile m_file{"drawers"};
    VelContextID m_context;
    VelCollectionID m_nodes, m_comps;
};

#endif
