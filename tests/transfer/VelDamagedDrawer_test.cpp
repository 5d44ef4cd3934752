// Drawers damaged in the file after the library wrote them, as a crash, a faulty copy or another
// program might leave them: each damage is refused with its reason when the drawer is first
// used after reopening, before any value sized by the damaged description is read or written.
#include <climits>
#include <functional>

#include "VelDrawerTestSupport.h"
#include "vel/transfer/VelDrawerRef.h"

namespace {

// Replaces attribute `name` of the object at `path` by native ints `values`.
void RewriteInts(hid_t file, const std::string& path, const char* name,
                 const std::vector<int>& values) {
    const hid_t object = H5Oopen(file, path.c_str(), H5P_DEFAULT);
    ASSERT_GE(object, 0) << path;
    H5Adelete(object, name);
    const hsize_t n = values.size();
    const hid_t space = H5Screate_simple(1, &n, nullptr);
    const hid_t attr = H5Acreate2(object, name, H5T_NATIVE_INT, space, H5P_DEFAULT, H5P_DEFAULT);
    H5Awrite(attr, H5T_NATIVE_INT, values.data());
    H5Aclose(attr);
    H5Sclose(space);
    H5Oclose(object);
}

// Replaces the dataset at `path` by one of `type` and `extents`, its values left unwritten;
// `deflated`, chunked and deflated by HDF5 unshuffled: a pipeline HDF5 decodes but the library
// never writes.
void ReplaceDataset(hid_t file, const std::string& path, hid_t type,
                    const std::vector<hsize_t>& extents, bool deflated = false) {
    H5Ldelete(file, path.c_str(), H5P_DEFAULT);
    const int rank = static_cast<int>(extents.size());
    const hid_t space = H5Screate_simple(rank, extents.data(), nullptr);
    const hid_t dcpl = H5Pcreate(H5P_DATASET_CREATE);
    if (deflated) {
        H5Pset_chunk(dcpl, rank, extents.data());
        H5Pset_deflate(dcpl, 6);
    }
    H5Dclose(H5Dcreate2(file, path.c_str(), type, space, H5P_DEFAULT, dcpl, H5P_DEFAULT));
    H5Pclose(dcpl);
    H5Sclose(space);
}

void Substitute(std::string& text, const std::string& token, const std::string& by) {
    const size_t at = text.find(token);
    if (at != std::string::npos) text.replace(at, token.size(), by);
}

// What a damage does to a drawer: `file` is open for writing, `drawer` is the drawer group's
// path, `values` and `index` the paths of its datasets, `attributes` its stored ints.
struct Place {
    hid_t file;
    std::string drawer, values, index;
    std::vector<int> attributes;
};
// `reason` names the drawer's datasets as {values} and {index}.
struct Damage {
    const char* what;
    std::function<void(Place&)> apply;
    std::string reason;
};

class VelDamagedDrawerDeathTest : public VelDrawerTest {
protected:
    // Each damage applied to a fresh drawer made by `make`; `use` must then stop the process
    // with "stored drawer <path> refused: <reason>".
    void Expect(const std::vector<Damage>& damages, const std::function<VelDrawerID()>& make,
                const std::function<void(const VelDrawerID&)>& use) {
        for (const Damage& damage : damages) {
            SCOPED_TRACE(damage.what);
            const VelDrawerID drawer = make();
            VelManager::CloseContext(m_context);
            {
                const TestRawFile raw(m_file.str(), H5F_ACC_RDWR);
                const int number = drawer.Minor().Value();
                Place place{raw.id(), PathOf(drawer),
                            PathOf(drawer) + "/" + VelIdAsString(number).c_str(),
                            PathOf(drawer) + "/" + VelIdAsString(number + 1).c_str(),
                            raw.IntAttribute(PathOf(drawer), "Drawer attributes")};
                ASSERT_FALSE(place.attributes.empty());
                damage.apply(place);
            }
            m_context = VelManager::OpenContext(m_file.c_str(), hdf_File::OpenFlagsReadWrite, 1);
            ASSERT_FALSE(m_context.IsNull());
            m_nodes = Again(m_nodes);
            m_comps = Again(m_comps);
            const VelDrawerID again = Again(drawer);
            std::string reason = damage.reason;
            Substitute(reason, "{values}", VelIdAsString(drawer.Minor().Value()).c_str());
            Substitute(reason, "{index}", VelIdAsString(drawer.Minor().Value() + 1).c_str());
            ExpectAssertFailure(use(again),
                                "stored drawer " + PathOf(drawer) + " refused: " + reason);
        }
    }
    // Writes `ints` over the sparse drawer's index dataset.
    static std::function<void(Place&)> Index(const std::vector<int>& ints) {
        return [ints](Place& p) {
            const hid_t ds = H5Dopen2(p.file, p.index.c_str(), H5P_DEFAULT);
            H5Dwrite(ds, H5T_NATIVE_INT, H5S_ALL, H5S_ALL, H5P_DEFAULT, ints.data());
            H5Dclose(ds);
        };
    }
    // Sets stored int `at` of the drawer's attributes to `value`.
    static std::function<void(Place&)> Int(size_t at, int value) {
        return [at, value](Place& p) {
            p.attributes[at] = value;
            RewriteInts(p.file, p.drawer, "Drawer attributes", p.attributes);
        };
    }
    // Replaces the drawer's attributes by `ints`.
    static std::function<void(Place&)> Ints(const std::vector<int>& ints) {
        return [ints](Place& p) { RewriteInts(p.file, p.drawer, "Drawer attributes", ints); };
    }
};

TEST_F(VelDamagedDrawerDeathTest, DamagedStandardDrawersAreRefusedAtFirstUse) {
    // Drawer attributes of nodes (10) x comps (3): [0, 0, nodes, all, 10, comps, all, 3].
    const std::vector<Damage> damages = {
        {"attributes gone",
         [](Place& p) {
             H5Adelete_by_name(p.file, p.drawer.c_str(), "Drawer attributes", H5P_DEFAULT);
         },
         "it has no \"Drawer attributes\""},
        {"attributes cut", Ints({0, 0, 1, 1, 10}),
         "\"Drawer attributes\" holds 5 ints, a drawer of 2 dimensions has 8"},
        // What a creation stopped before its last step leaves: the attribute never written.
        {"attributes never written", Ints(std::vector<int>(8, 0)),
         "dimension 0 names CSet word 0, which is no ascending CSet of its collection"},
        {"negative nonzeros", Int(0, -3), "the number of nonzeros -3 is negative"},
        {"symmetric flag", Int(1, 2), "the symmetric flag is 2, not 0 or 1"},
        {"standard with nonzeros", Int(0, 4), "a standard drawer gives 4 nonzeros"},
        {"unknown collection", Int(5, 77),
         "dimension 1 names collection word 77, which is not in the distribution's grid"},
        {"collection twice", Int(5, m_nodes.Minor().Value()),
         "dimension 1 names a collection named before"},
        {"CSet past the collection's", Int(3, INT_MIN | 40),
         "dimension 0 names CSet word " + std::to_string(INT_MIN | 40) +
             ", which is no ascending CSet of its collection"},
        {"size of another CSet", Int(4, 9), "dimension 0 gives size 9 to a CSet of 10 members"},
        {"dataset gone", [](Place& p) { H5Ldelete(p.file, p.values.c_str(), H5P_DEFAULT); },
         "it has no dataset \"{values}\""},
        {"dataset of ints",
         [](Place& p) {
             ReplaceDataset(p.file, p.values, H5T_NATIVE_INT, {10, 3});
         },
         "dataset \"{values}\" does not hold " + std::string(VelstringNameOf(VelTypeKeyDouble)) +
             " values"},
        {"dataset of other extents",
         [](Place& p) {
             ReplaceDataset(p.file, p.values, H5T_NATIVE_DOUBLE, {10, 2});
         },
         "dataset \"{values}\" does not have the extents \"Drawer attributes\" gives"},
        {"dataset of one dimension",
         [](Place& p) { ReplaceDataset(p.file, p.values, H5T_NATIVE_DOUBLE, {30}); },
         "dataset \"{values}\" does not have the extents \"Drawer attributes\" gives"},
        {"filters of another program",
         [](Place& p) {
             ReplaceDataset(p.file, p.values, H5T_NATIVE_DOUBLE, {10, 3}, true);
         },
         "dataset \"{values}\": its filters \"deflate\" are no compression this library "
         "writes"},
    };
    const auto make = [&] {
        const VelDistributionID d = Distribution(VelTypeKeyDouble);
        return MakeDrawer(d, All(m_nodes), All(m_comps), std::vector<double>(30, 1.5));
    };
    // Read through the drawer search, so that the drawer is found by listing, not by name.
    const auto read = [&](const VelDrawerID& drawer) {
        ReadAll<double>(drawer.DistributionID(), All(m_nodes), All(m_comps));
    };
    Expect(damages, make, read);
    // Writing opens the drawer through the same checks.
    const auto write = [&](const VelDrawerID& drawer) {
        VelTransfer t{VelDistributionRef(drawer.DistributionID())};
        t.SetWrite().SetDrawer(drawer).SetDims(All(m_nodes), All(m_comps));
        TestPut(t, std::vector<double>(30, 2.0));
    };
    Expect({damages[4], damages[9], damages[12]}, make, write);
}

TEST_F(VelDamagedDrawerDeathTest, DamagedSparseDrawersAreRefusedAtFirstUse) {
    // A 10 x 3 sparse-symmetric matrix of 4 nonzeros: 10 diagonal values, then the nonzeros;
    // 4 column indices, then 11 row starts.
    const auto make = [&] {
        const VelDistributionID d = Distribution(VelTypeKeyFloat);
        VelSysPool pool;
        VelTransfer t{VelDistributionRef(d)};
        VelSerializationType symmetric;
        symmetric.SetSparseSym();
        t.SetPool(pool).SetMakeNewDrawer().SetSparseNNonzero(4).SetSerialization(symmetric);
        t.SetDims(All(m_nodes), All(m_comps)).CheckView();
        const VelTransientDrawer& data = t.GetTransientDrawer();
        std::memset(data.Data(VelbufMain).Address(), 0, 16);
        std::memset(data.Data(VelbufDiagonal).Address(), 0, 40);
        const int columns[] = {0, 1, 2, 0};
        const int starts[] = {0, 1, 2, 3, 4, 4, 4, 4, 4, 4, 4};
        std::memcpy(data.Data(VelbufIndicesNZ).Address(), columns, sizeof columns);
        std::memcpy(data.Data(VelbufSparseMap).Address(), starts, sizeof starts);
        t.ExecWrite();
        return LastDrawer(d);
    };
    const std::vector<Damage> damages = {
        {"values cut", [](Place& p) { ReplaceDataset(p.file, p.values, H5T_NATIVE_FLOAT, {13}); },
         "dataset \"{values}\" is not one dimension of 14 values"},
        {"index of doubles",
         [](Place& p) { ReplaceDataset(p.file, p.index, H5T_NATIVE_DOUBLE, {15}); },
         "index dataset \"{index}\" does not hold ints"},
        {"index too short", [](Place& p) { ReplaceDataset(p.file, p.index, H5T_NATIVE_INT, {14}); },
         "index dataset \"{index}\" is not one dimension of 15 ints"},
        {"more nonzeros than the values hold", Int(0, 5),
         "dataset \"{values}\" is not one dimension of 15 values"},
        {"row starts falling", Index({0, 1, 2, 0, 0, 1, 2, 3, 4, 1, 4, 4, 4, 4, 4}),
         "the stored row starts do not rise from 0 to 4"},
        {"row starts falling at the last row", Index({0, 1, 2, 0, 0, 1, 2, 3, 4, 4, 4, 4, 4, 5, 4}),
         "the stored row starts do not rise from 0 to 4"},
        {"last row start short of the nonzeros",
         Index({0, 1, 2, 0, 0, 1, 2, 3, 3, 3, 3, 3, 3, 3, 3}),
         "the stored row starts do not rise from 0 to 4"},
        // A count that would size a buffer of gigabytes is refused before any buffer is made.
        {"nonzeros past any buffer", Int(0, INT_MAX / 2),
         "a sparse drawer too large for one transfer"},
    };
    // The whole matrix read from a pool, as a post-processor reads it.
    const auto read = [&](const VelDrawerID& drawer) {
        VelSysPool pool;
        VelTransfer t{VelDistributionRef(drawer.DistributionID())};
        VelSerializationType symmetric;
        symmetric.SetSparseSym();
        t.SetPool(pool).SetRead().SetSerialization(symmetric);
        t.SetDims(All(m_nodes), All(m_comps)).CheckView();
        t.ExecRead();
    };
    Expect(damages, make, read);
    // A description needs no values: only the attributes and the datasets' shapes are checked.
    Expect({damages[0], damages[2]}, make,
           [](const VelDrawerID& drawer) { VelDrawerRef(drawer).Description(); });
}

}  // namespace
