// The file layout of collections, read and damaged with the HDF5 C API: "Collection attributes",
// the index table and its growth, "IndexSets", the cost of huge strided sets, and files whose
// numbers point where they must not.
#include "context/VelCollectionLayout.h"

#include <sys/stat.h>

#include <string>
#include <vector>

#include "VelContextFileHelpers.h"
#include "VelStoredObjectsTest.h"
#include "VelTestSupport.h"
#include "vel/UTI_VelDynamicAPI.h"
#include "vel/context/VelCSet.h"
#include "vel/context/VelCollectionRef.h"
#include "vel/context/VelContextRef.h"
#include "vel/context/VelManager.h"

namespace {

using Ints = std::vector<int>;

struct Record {
    int dataset, start, length, nameIndex, indexSetIndex, linkedId;
};

// The index table of collection group `group`, every record of its extent, and its chunk.
class RawTable {
public:
    RawTable(const RawFile& file, const std::string& group)
        : m_path(group + "/IndexSet index table") {
        m_ds = H5Dopen2(file.id(), m_path.c_str(), H5P_DEFAULT);
        EXPECT_GE(m_ds, 0);
        m_type = H5Tcreate(H5T_COMPOUND, sizeof(Record));
        H5Tinsert(m_type, "dataset", HOFFSET(Record, dataset), H5T_NATIVE_INT);
        H5Tinsert(m_type, "start", HOFFSET(Record, start), H5T_NATIVE_INT);
        H5Tinsert(m_type, "length", HOFFSET(Record, length), H5T_NATIVE_INT);
        H5Tinsert(m_type, "nameIndex", HOFFSET(Record, nameIndex), H5T_NATIVE_INT);
        H5Tinsert(m_type, "indexSetIndex", HOFFSET(Record, indexSetIndex), H5T_NATIVE_INT);
        H5Tinsert(m_type, "linkedId", HOFFSET(Record, linkedId), H5T_NATIVE_INT);
    }
    ~RawTable() {
        H5Tclose(m_type);
        H5Dclose(m_ds);
    }
    std::vector<Record> Read() const {
        hid_t space = H5Dget_space(m_ds);
        std::vector<Record> records(size_t(H5Sget_simple_extent_npoints(space)));
        H5Sclose(space);
        H5Dread(m_ds, m_type, H5S_ALL, H5S_ALL, H5P_DEFAULT, records.data());
        return records;
    }
    void Write(const std::vector<Record>& records) const {
        EXPECT_GE(H5Dwrite(m_ds, m_type, H5S_ALL, H5S_ALL, H5P_DEFAULT, records.data()), 0);
    }

private:
    std::string m_path;
    hid_t m_ds, m_type;
};

hsize_t ChunkOf(const RawFile& file, const char* path) {
    hid_t ds = H5Dopen2(file.id(), path, H5P_DEFAULT);
    hid_t plist = H5Dget_create_plist(ds);
    hsize_t chunk[2] = {0, 0};
    EXPECT_EQ(H5Pget_chunk(plist, 2, chunk), 1);
    H5Pclose(plist);
    H5Dclose(ds);
    return chunk[0];
}

void WriteIntsAt(const RawFile& file, const char* path, hsize_t start, const Ints& values) {
    hid_t ds = H5Dopen2(file.id(), path, H5P_DEFAULT);
    hid_t fileSpace = H5Dget_space(ds);
    hsize_t count = values.size();
    H5Sselect_hyperslab(fileSpace, H5S_SELECT_SET, &start, nullptr, &count, nullptr);
    hid_t memSpace = H5Screate_simple(1, &count, nullptr);
    EXPECT_GE(H5Dwrite(ds, H5T_NATIVE_INT, memSpace, fileSpace, H5P_DEFAULT, values.data()), 0);
    H5Sclose(memSpace);
    H5Sclose(fileSpace);
    H5Dclose(ds);
}

long long FileSize(const VelTempFile& file) {
    struct stat st = {};
    EXPECT_EQ(stat(file.c_str(), &st), 0);
    return static_cast<long long>(st.st_size);
}

class VelCollectionLayoutTest : public ::testing::Test {
protected:
    void SetUp() override { UTI_VelDynamicAPI_initialize(m_modules); }
    void TearDown() override { UTI_VelDynamicAPI_finalize(m_modules); }

    VelContextID Create() {
        return VelManager::CreateContext(m_file.c_str(), hdf_File::CreateFlagsTruncate, 1);
    }
    VelContextID Open() {
        return VelManager::OpenContext(m_file.c_str(), hdf_File::OpenFlagsReadWrite, 1);
    }

    // Collection 0 of 1000 members holding the list 1 5 9 20 (index 2) and the order 7 2 9
    // (permutation 3, ascending twin 4); the context is closed.
    void MakeSample() {
        const VelContextID id = Create();
        const VelCollectionRef coll(VelContextRef(id).CreateCollection(1000));
        const int list[] = {1, 5, 9, 20}, order[] = {7, 2, 9};
        m_list = coll.CreateCSet(list, 4);
        m_perm = coll.CreateOrderedCSet(order, 3);
        VelManager::CloseContext(id);
    }

    int m_modules = 0;
    VelTempFile m_file{"layout"};
    VelCSetID m_list, m_perm;
};

using VelCollectionLayoutDeathTest = VelCollectionLayoutTest;

TEST_F(VelCollectionLayoutTest, CollectionReadIndependently) {
    MakeSample();
    EXPECT_EQ(m_list.Index(), 2);
    EXPECT_EQ(m_perm.Index(), 3);
    RawFile raw(m_file.str(), H5F_ACC_RDONLY);
    EXPECT_EQ(raw.ReadInts("Context attributes"), (Ints{1, 9}));
    EXPECT_EQ(raw.ReadIntAttribute("00000000", "type"), (Ints{0, 0}));
    EXPECT_EQ(raw.ReadIntAttribute("00000000", "Collection attributes"), (Ints{1000, 5, 1}));
    EXPECT_EQ(ChunkOf(raw, "00000000/IndexSets"), 5000u);
    EXPECT_EQ(ChunkOf(raw, "00000000/IndexSet index table"), 256u);

    const std::vector<Record> records = RawTable(raw, "00000000").Read();
    ASSERT_EQ(records.size(), 256u);
    // The empty set is stored with the collection, the full set at the first flush.
    const int expected[5][6] = {{0, 0, 4, -1, 0, -1},
                                {0, 15, 4, -1, 1, -1},
                                {0, 4, 6, -1, 2, -1},
                                {0, 10, 5, -1, 3, 4},
                                {0, 10, 5, -1, 3, -1}};
    for (int i = 0; i < 5; ++i) {
        const Record& r = records[size_t(i)];
        EXPECT_EQ((Ints{r.dataset, r.start, r.length, r.nameIndex, r.indexSetIndex, r.linkedId}),
                  (Ints(expected[i], expected[i] + 6)))
            << "record " << i;
    }
    EXPECT_EQ(records[5].length, 0);
    const Ints ints = raw.ReadInts("00000000/IndexSets");
    ASSERT_EQ(ints.size(), 5000u);
    EXPECT_EQ(Ints(ints.begin(), ints.begin() + 19),
              (Ints{1, 0, 0, 1, 3, 4, 1, 5, 9, 20, 4, 3, 7, 2, 9, 1, 1000, 0, 1}));
}

TEST_F(VelCollectionLayoutTest, TableGrowsBy256RecordsAfterThe257thCSet) {
    const VelContextID id = Create();
    const VelCollectionRef coll(VelContextRef(id).CreateCollection(300));
    for (int i = 0; i < 253; ++i) coll.CreateCSetStrided(i, 1, 1, 1);
    coll.Flush(true);
    {
        RawFile raw(m_file.str(), H5F_ACC_RDONLY);
        EXPECT_EQ(RawTable(raw, "00000000").Read().size(), 256u);
        EXPECT_EQ(raw.ReadIntAttribute("00000000", "Collection attributes"), (Ints{300, 255, 1}));
    }
    coll.CreateCSetStrided(298, 1, 1, 1);
    const VelCSetID last = coll.CreateCSetStrided(299, 1, 1, 1);
    EXPECT_EQ(last.Index(), 256);
    {
        RawFile raw(m_file.str(), H5F_ACC_RDONLY);
        EXPECT_EQ(RawTable(raw, "00000000").Read().size(), 256u);
    }
    coll.Flush(true);
    {
        RawFile raw(m_file.str(), H5F_ACC_RDONLY);
        const std::vector<Record> table = RawTable(raw, "00000000").Read();
        ASSERT_EQ(table.size(), 512u);
        EXPECT_EQ(table[256].indexSetIndex, 256);
        EXPECT_EQ(table[257].length, 0);
        EXPECT_EQ(raw.ReadIntAttribute("00000000", "Collection attributes"), (Ints{300, 257, 1}));
    }
    VelManager::CloseContext(id);
    const VelContextID again = Open();
    const VelCSet back(VelCSetID(VelDynamicID(5, again.Value(), 0, last.DynamicID().Second())));
    EXPECT_EQ(back.Size(), 1);
    EXPECT_TRUE(back.IsMember(299));
}

// Another writer may have chunked "IndexSets" by single ints: a writable open grows it so.
TEST_F(VelCollectionLayoutTest, IndexSetsChunkedByOneIntAreWrittenOn) {
    MakeSample();
    {
        RawFile raw(m_file.str(), H5F_ACC_RDWR);
        const hid_t creation = H5Pcreate(H5P_DATASET_CREATE);
        const hsize_t one = 1;
        H5Pset_chunk(creation, 1, &one);
        raw.WriteInts("00000000/IndexSets", raw.ReadInts("00000000/IndexSets"), creation,
                      H5S_UNLIMITED);
        H5Pclose(creation);
    }
    VelContextID id = Open();
    Ints members;
    for (int m = 0; m < 990; m += 2) members.push_back(m + m % 3);
    const VelCSetID made = VelCollectionRef(VelContextRef(id).Collections()[0])
                               .CreateCSet(members.data(), int(members.size()));
    VelManager::CloseContext(id);
    id = Open();
    const VelCSet back(VelCSetID(VelDynamicID(5, id.Value(), 0, made.DynamicID().Second())));
    Ints out(members.size());
    back.Members(out.data());
    EXPECT_EQ(out, members);
    EXPECT_TRUE(VelCSet(VelCSetID(VelDynamicID(5, id.Value(), 0, m_list.DynamicID().Second())))
                    .IsMember(20));
}

TEST_F(VelCollectionLayoutTest, HundredMillionMembersWithAStrideThreeSetCostLessThan64KiB) {
    VelManager::CloseContext(Create());
    const long long empty = FileSize(m_file);
    VelContextID id = Create();
    const VelCollectionRef coll(VelContextRef(id).CreateCollection(100000000));
    const VelCSetID thirds = coll.CreateCSetStrided(2, 3, 33333333, 1);
    coll.BiggestCSetID();
    VelManager::CloseContext(id);
    EXPECT_LT(FileSize(m_file) - empty, 64 * 1024);
    {
        RawFile raw(m_file.str(), H5F_ACC_RDONLY);
        EXPECT_EQ(RawTable(raw, "00000000").Read()[2].length, 4);
    }
    id = Open();
    const VelCSet back(VelCSetID(VelDynamicID(5, id.Value(), 0, thirds.DynamicID().Second())));
    EXPECT_EQ(back.Size(), 33333333);
    EXPECT_TRUE(back.IsMember(99999998));
    EXPECT_FALSE(back.IsMember(99999999));
    EXPECT_EQ(VelCSet(VelCollectionRef(VelContextRef(id).Collections()[0]).BiggestCSetID())
                  .Bounds()
                  .highest,
              99999999);
}

TEST_F(VelCollectionLayoutDeathTest, DamagedTablesAndAttributesAreRefusedAtFirstUse) {
    struct Damage {
        const char* what;
        void (*apply)(const RawFile&, std::vector<Record>&);
        const char* message;
    };
    const Damage damages[] = {
        {"start past IndexSets", [](const RawFile&, std::vector<Record>& t) { t[2].start = 4996; },
         "insideIndexSets && \"index table entry points outside IndexSets\""},
        {"negative length", [](const RawFile&, std::vector<Record>& t) { t[3].length = -5; },
         "insideIndexSets && \"index table entry points outside IndexSets\""},
        {"second dataset", [](const RawFile&, std::vector<Record>& t) { t[2].dataset = 1; },
         "knownDataset && \"index table entry of an unknown dataset\""},
        {"link outside", [](const RawFile&, std::vector<Record>& t) { t[3].linkedId = 99; },
         "linksInside && \"index table entry links outside the table\""},
        // The sample has 5 CSets.
        {"link one past", [](const RawFile&, std::vector<Record>& t) { t[3].linkedId = 5; },
         "linksInside && \"index table entry links outside the table\""},
        {"set one past", [](const RawFile&, std::vector<Record>& t) { t[3].indexSetIndex = 5; },
         "linksInside && \"index table entry links outside the table\""},
        {"twin reads itself",
         [](const RawFile&, std::vector<Record>& t) { t[4].indexSetIndex = 4; },
         "twinReadsThis && \"permutation CSet without its ascending twin\""},
        {"borrowed set", [](const RawFile&, std::vector<Record>& t) { t[2].indexSetIndex = 3; },
         "ownerLinksHere && \"ascending twin without its permutation CSet\""},
        {"more CSets than records",
         [](const RawFile& f, std::vector<Record>&) {
             f.WriteIntAttribute("00000000", "Collection attributes", {1000, 300, 1});
         },
         "numCSets <= m_tableRecords && \"more CSets than index table records\""},
        {"attribute of two",
         [](const RawFile& f, std::vector<Record>&) {
             f.WriteIntAttribute("00000000", "Collection attributes", {1000, 5});
         },
         "dims.Rank() == 1 && dims[0] == 3"},
        {"full set elsewhere",
         [](const RawFile& f, std::vector<Record>&) {
             f.WriteIntAttribute("00000000", "Collection attributes", {1000, 5, 2});
         },
         "size >= 0 && numCSets >= 2 && fullSetIndex == e_FullSetIndex"},
    };
    for (const Damage& d : damages) {
        SCOPED_TRACE(d.what);
        MakeSample();
        {
            RawFile raw(m_file.str(), H5F_ACC_RDWR);
            RawTable table(raw, "00000000");
            std::vector<Record> records = table.Read();
            d.apply(raw, records);
            table.Write(records);
        }
        ExpectAssertFailure(OpenAndReadEveryObject(m_file.str(), hdf_File::OpenFlagsReadWrite, 1),
                            d.message);
    }
}

// A reader opens the index table when it first needs a stored CSet other than the empty and the
// full set, and reads and checks it a block of 256 entries at a time: a damaged entry is refused
// where a CSet of its block is first wanted, and the blocks before it read.
TEST_F(VelCollectionLayoutDeathTest, AReaderChecksTheTableABlockAtATimeWhereItIsFirstNeeded) {
    {
        const VelContextID id = Create();
        const VelCollectionRef coll(VelContextRef(id).CreateCollection(1000));
        for (int i = 0; i < 300; ++i) coll.CreateCSetStrided(i, 1, 1, 1);
        VelManager::CloseContext(id);
        RawFile raw(m_file.str(), H5F_ACC_RDWR);
        RawTable table(raw, "00000000");
        std::vector<Record> records = table.Read();
        records[290].linkedId = 999;
        table.Write(records);
    }
    const VelContextID id = VelManager::OpenContext(m_file.c_str(), hdf_File::OpenFlagsReadOnly, 1);
    ASSERT_FALSE(id.IsNull());
    const VelCollectionRef back(VelContextRef(id).Collections()[0]);
    EXPECT_EQ(back.Space(), 1000);
    EXPECT_EQ(VelCSet(back.BiggestCSetID()).Size(), 1000);
    EXPECT_EQ(VelCSet(back.EmptyCSetID()).Size(), 0);
    const VelCSet early(back.StoredCSetID(102));
    EXPECT_EQ(early.Size(), 1);
    EXPECT_TRUE(early.IsMember(100));
    ExpectAssertFailure(back.StoredCSetID(260),
                        "linksInside && \"index table entry links outside the table\"");
    VelManager::CloseContext(id);
}

TEST_F(VelCollectionLayoutDeathTest, DamagedIndexSetsAreRefusedWhenFirstRead) {
    struct Damage {
        const char* what;
        Ints listInts;  // replaces the list's stored ints (six, from int 4)
        const char* message;
    };
    const Damage damages[] = {
        {"unsorted", {3, 4, 1, 9, 5, 20}, "stored index set refused: listed members not ascending"},
        {"twice", {3, 4, 1, 5, 5, 20}, "stored index set refused: member listed twice"},
        {"outside",
         {3, 4, 1, 5, 9, 1000},
         "stored index set refused: member outside the collection"},
        {"count disagrees",
         {3, 5, 1, 5, 9, 20},
         "stored index set refused: member index set of the wrong length"},
        {"runs of another length",
         {2, 4, 1, 0, 4, 9},
         "stored index set refused: run index set of the wrong length"},
        {"unknown form", {7, 4, 1, 5, 9, 20}, "stored index set refused: unknown index set form"},
        {"order in an ascending entry",
         {4, 4, 20, 1, 5, 9},
         "formAgrees && \"stored index set disagrees with its index table entry\""},
    };
    for (const Damage& d : damages) {
        SCOPED_TRACE(d.what);
        MakeSample();
        {
            RawFile raw(m_file.str(), H5F_ACC_RDWR);
            WriteIntsAt(raw, "00000000/IndexSets", 4, d.listInts);
        }
        const VelContextID id = Open();  // the table itself is sound
        ASSERT_FALSE(id.IsNull());
        const VelCSetID list(VelDynamicID(5, id.Value(), 0, m_list.DynamicID().Second()));
        ExpectAssertFailure(VelCSet{list}, d.message);
        VelManager::CloseContext(id);
    }
}

TEST_F(VelCollectionLayoutDeathTest, DamagedLargeListIsRefusedWhereItIsRead) {
    Ints members;
    for (int m = 0; m < 30000; m += 3) members.push_back(m + m % 2);  // uneven gaps: a list
    VelContextID id = Create();
    const VelCSetID made = VelCollectionRef(VelContextRef(id).CreateCollection(30000))
                               .CreateCSet(members.data(), int(members.size()));
    VelManager::CloseContext(id);
    {
        RawFile raw(m_file.str(), H5F_ACC_RDWR);
        const Record r = RawTable(raw, "00000000").Read()[2];
        ASSERT_EQ(r.length, 2 + int(members.size()));
        WriteIntsAt(raw, "00000000/IndexSets", hsize_t(r.start + 2 + 5000), {7});
    }
    id = Open();
    const VelCSet cset(VelCSetID(VelDynamicID(5, id.Value(), 0, made.DynamicID().Second())));
    EXPECT_EQ(cset.Size(), int(members.size()));
    Ints out(members.size());
    ExpectAssertFailure(cset.Members(out.data()),
                        "stored index set refused: listed members not ascending");
    ExpectAssertFailure(cset.IsMember(7), "stored index set refused: listed members not ascending");
}

}  // namespace
