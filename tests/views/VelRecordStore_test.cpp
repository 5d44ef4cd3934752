// The record store in the file, read and damaged through the HDF5 C API: the serial counter,
// the view group and its counts, the catalogue, a record table's big-endian fields and the
// string table; damaged counts, references and categories are refused with their messages.
#include <hdf5.h>

#include <cstring>
#include <string>
#include <vector>

#include "VelViewsTestSupport.h"
#include "vel/types/VelTypesForm.h"

namespace {

// A one-dimensional dataset read whole in its file type, patched in place and written back.
class RawTable {
public:
    RawTable(hid_t file, const std::string& path)
        : m_dataset(H5Dopen2(file, path.c_str(), H5P_DEFAULT)) {
        EXPECT_GE(m_dataset, 0) << path;
        m_type = H5Dget_type(m_dataset);
        hid_t space = H5Dget_space(m_dataset);
        m_rows = static_cast<size_t>(H5Sget_simple_extent_npoints(space));
        H5Sclose(space);
        m_bytes.resize(m_rows * H5Tget_size(m_type));
        H5Dread(m_dataset, m_type, H5S_ALL, H5S_ALL, H5P_DEFAULT, m_bytes.data());
    }
    RawTable(hid_t file, hobj_ref_t reference) : RawTable(file, NameOf(file, reference)) {}
    ~RawTable() {
        H5Tclose(m_type);
        H5Dclose(m_dataset);
    }

    size_t Rows() const { return m_rows; }
    // The offset of a member, or of a member of a nested member ("first.second").
    size_t Offset(const std::string& path) const {
        if (path.empty()) return 0;
        const size_t dot = path.find('.');
        const std::string head = path.substr(0, dot);
        const unsigned index = static_cast<unsigned>(H5Tget_member_index(m_type, head.c_str()));
        size_t offset = H5Tget_member_offset(m_type, index);
        if (dot != std::string::npos) {
            hid_t inner = H5Tget_member_type(m_type, index);
            offset += H5Tget_member_offset(inner, static_cast<unsigned>(H5Tget_member_index(
                                                      inner, path.substr(dot + 1).c_str())));
            H5Tclose(inner);
        }
        return offset;
    }
    unsigned char* At(size_t row, const std::string& member) {
        return m_bytes.data() + row * H5Tget_size(m_type) + Offset(member);
    }
    // Big-endian fields of the record tables.
    int64_t Get(size_t row, const std::string& member, int width) {
        uint64_t value = 0;
        for (int i = 0; i < width; ++i) value = (value << 8) | At(row, member)[i];
        return width == 4 ? static_cast<int32_t>(value) : static_cast<int64_t>(value);
    }
    void Put(size_t row, const std::string& member, int width, int64_t value) {
        for (int i = width - 1; i >= 0; --i, value >>= 8) At(row, member)[i] = value & 0xFF;
    }
    // One member of every row as HDF5 converts it from the declared file type: what an
    // independent reader sees.
    template <class T>
    std::vector<T> Converted(const char* member, hid_t native) const {
        const hid_t memory = H5Tcreate(H5T_COMPOUND, sizeof(T));
        H5Tinsert(memory, member, 0, native);
        std::vector<T> values(m_rows);
        EXPECT_GE(H5Dread(m_dataset, memory, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data()), 0);
        H5Tclose(memory);
        return values;
    }
    hid_t Type() const { return m_type; }
    template <class T>
    T& Native(size_t row, const std::string& member) {
        return *reinterpret_cast<T*>(At(row, member));
    }
    void Write() {
        EXPECT_GE(H5Dwrite(m_dataset, m_type, H5S_ALL, H5S_ALL, H5P_DEFAULT, m_bytes.data()), 0);
    }

private:
    static std::string NameOf(hid_t file, hobj_ref_t reference) {
        hid_t object = H5Rdereference2(file, H5P_DEFAULT, H5R_OBJECT, &reference);
        char name[256] = {};
        H5Iget_name(object, name, sizeof name);
        H5Oclose(object);
        return name;
    }

    hid_t m_dataset;
    hid_t m_type;
    size_t m_rows = 0;
    std::vector<unsigned char> m_bytes;
};

std::vector<int64_t> ReadInt64s(hid_t file, const char* object, const char* attribute) {
    hid_t id = attribute ? H5Aopen_by_name(file, object, attribute, H5P_DEFAULT, H5P_DEFAULT)
                         : H5Dopen2(file, object, H5P_DEFAULT);
    hid_t space = attribute ? H5Aget_space(id) : H5Dget_space(id);
    std::vector<int64_t> values(static_cast<size_t>(H5Sget_simple_extent_npoints(space)));
    if (attribute) {
        H5Aread(id, H5T_NATIVE_INT64, values.data());
        H5Aclose(id);
    } else {
        H5Dread(id, H5T_NATIVE_INT64, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data());
        H5Dclose(id);
    }
    H5Sclose(space);
    return values;
}

void WriteInt64s(hid_t file, const char* object, const char* attribute,
                 const std::vector<int64_t>& values) {
    if (attribute) {
        // Written through the open object: HDF5 1.10 cannot write an attribute opened by path.
        hid_t owner = H5Oopen(file, object, H5P_DEFAULT);
        hid_t id = H5Aopen(owner, attribute, H5P_DEFAULT);
        EXPECT_GE(H5Awrite(id, H5T_NATIVE_INT64, values.data()), 0);
        H5Aclose(id);
        H5Oclose(owner);
    } else {
        hid_t id = H5Dopen2(file, object, H5P_DEFAULT);
        EXPECT_GE(H5Dwrite(id, H5T_NATIVE_INT64, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data()), 0);
        H5Dclose(id);
    }
}

// Every number of a record table is declared big-endian, nested members included: the bytes
// are written big-endian, so any other declared order misleads every other reader.
void ExpectBigEndian(hid_t type, const std::string& where) {
    const H5T_class_t kind = H5Tget_class(type);
    if (kind == H5T_COMPOUND) {
        for (unsigned k = 0; k < unsigned(H5Tget_nmembers(type)); ++k) {
            const hid_t member = H5Tget_member_type(type, k);
            char* name = H5Tget_member_name(type, k);
            ExpectBigEndian(member, where + "." + name);
            H5free_memory(name);
            H5Tclose(member);
        }
    } else if (kind == H5T_INTEGER || kind == H5T_FLOAT) {
        EXPECT_EQ(H5Tget_order(type), H5T_ORDER_BE) << where;
    }
}

int BuiltInOrdinal(const char* name) {
    const VelTypeSchemaSnapshot types = VelTypesForm::Snapshot();
    for (int i = 0; i < types.TypeCount(); ++i)
        if (types.TypeName(i) == name) return types.TypeID(i).Ordinal();
    return -1;
}

constexpr const char* kView = "/record/Plant-1-0";
constexpr const char* kRecords = "/record/Plant-1-0/record";
constexpr const char* kSlots = "/record/Plant-1-0/record/slots";

class VelRecordStoreTest : public VelViewsTest {
protected:
    // Two Parts and a Bolt in the catalog, published, and the context closed.
    void Write() {
        const VelViewUpdateForm view = Context().NewForm(Snapshot(1));
        {
            VelTransactionExtend t(view);
            t.CreateTypes(Snapshot(1));
            const VelAssociationUpdate catalog =
                t.UpdateAssociation(view.AssociationID(TypeOf("Catalog")));
            for (int i = 0; i < 2; ++i) {
                const VelDataRecordUpdate part = t.CreateDataRecord(TypeOf("Part"));
                part.SetInt(kI, 100 + i);
                part.SetString(kT, i == 0 ? "first" : "second");
                m_parts.push_back(part.ID());
            }
            catalog.Insert(t.CreateDataRecord(TypeOf("Bolt")).ID(), t.FocusID());
            t.Commit();
        }
        view.Publish();
        m_focus = view.FocusID().First();
        VelManager::CloseContext(m_context);
        m_context = VelContextID();
    }
    void Open() {
        m_context = VelManager::OpenContext(m_file.c_str(), hdf_File::OpenFlagsReadWrite, 1);
    }
    void TearDown() override {
        if (m_context.IsNull()) Open();
        VelViewsTest::TearDown();
    }
    // The catalogue row of a type (form, ordinal).
    size_t SlotOf(RawTable& slots, const char* form, int ordinal) {
        for (size_t row = 0; row < slots.Rows(); ++row) {
            if (std::string(reinterpret_cast<char*>(slots.At(row, "form"))) == form &&
                slots.Native<int32_t>(row, "ordinal") == ordinal)
                return row;
        }
        ADD_FAILURE() << "no table of " << form << "#" << ordinal;
        return 0;
    }
    // Opens the view and reads both Parts and their strings.
    void ReadEverything() {
        Open();
        const VelViewRead view = Context().View(Snapshot(1));
        for (const VelDynamicID& part : m_parts) view.DataRecord(Here(part)).ReturnString(kT);
    }

    std::vector<VelDynamicID> m_parts;
    int64_t m_focus = 0;
};

using VelRecordStoreDeathTest = VelRecordStoreTest;

TEST_F(VelRecordStoreTest, TheLayoutReadsBackThroughTheCApi) {
    Write();
    const hid_t file = H5Fopen(m_file.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT);
    ASSERT_GE(file, 0);
    const int64_t serials = ReadInt64s(file, "/record/serials", nullptr).at(0);
    EXPECT_GT(serials, m_parts.back().First());
    EXPECT_EQ(ReadInt64s(file, kView, "view"), (std::vector<int64_t>{1, 1, 1, 1, 0, m_focus}));

    const std::vector<int64_t> counts = ReadInt64s(file, kRecords, "recordCounts");
    {
        RawTable slots(file, kSlots);
        ASSERT_EQ(counts.size(), 3u);
        EXPECT_EQ(static_cast<size_t>(counts[0]), slots.Rows());
        int64_t records = 0;
        for (size_t row = 0; row < slots.Rows(); ++row) {
            if (slots.Native<int32_t>(row, "category") == VelCategoryDataRecord)
                records += slots.Native<int64_t>(row, "rows");
        }
        EXPECT_EQ(records, counts[1]);

        // The Part table: the identifier addresses slot and row, the row holds the serial.
        const size_t part = SlotOf(slots, "Plant", TypeOf("Part").Ordinal());
        EXPECT_EQ(slots.Native<int64_t>(part, "rows"), 2);
        EXPECT_EQ(static_cast<size_t>(m_parts[1].Second() >> 32), part);
        RawTable table(file, slots.Native<hobj_ref_t>(part, "table"));
        ASSERT_EQ(table.Rows(), 2u);
        EXPECT_EQ(table.Get(1, "serial", 8), m_parts[1].First());
        EXPECT_EQ(table.Get(1, "i", 4), 101);
        EXPECT_EQ(table.Get(0, "o", 4), 7);
        EXPECT_EQ(table.Converted<int64_t>("serial", H5T_NATIVE_INT64)[1], m_parts[1].First());
        EXPECT_EQ(table.Converted<int32_t>("i", H5T_NATIVE_INT32)[1], 101);
        EXPECT_EQ(table.Converted<int64_t>("l", H5T_NATIVE_INT64)[0], -5);
        EXPECT_EQ(table.Converted<double>("d", H5T_NATIVE_DOUBLE)[0], 2.25);
        for (size_t row = 0; row < slots.Rows(); ++row) {
            if (slots.Native<int64_t>(row, "rows") == 0) continue;
            RawTable any(file, slots.Native<hobj_ref_t>(row, "table"));
            ExpectBigEndian(any.Type(), "slot " + std::to_string(row));
        }

        // The string reference of "second" leads to its bytes in the string table.
        const int64_t reference = table.Get(1, "t", 4);
        const std::vector<int64_t> ends = ReadInt64s(file, "/stringTable/ends", nullptr);
        RawTable text(file, "/stringTable/text");
        ASSERT_GE(reference, 2);
        const int64_t start = ends.at(static_cast<size_t>(reference - 2));
        const int64_t end = ends.at(static_cast<size_t>(reference - 1));
        EXPECT_EQ(std::string(reinterpret_cast<char*>(text.At(0, "")) + start,
                              static_cast<size_t>(end - start)),
                  "second");
    }
    H5Fclose(file);
}

// The string table is read back in blocks of its bytes: texts that straddle a block, and texts
// read in an order that leaves and returns to a block, come back whole after a reopen.
TEST_F(VelRecordStoreTest, StringsAcrossTheTablesBlocksReadBackWhole) {
    std::vector<std::string> texts;
    const VelViewUpdateForm view = Context().NewForm(Snapshot(1));
    {
        VelTransactionExtend t(view);
        t.CreateTypes(Snapshot(1));
        // 400 texts of 301 to 1,000 bytes: about 260 KB, four blocks and many straddling texts.
        for (int i = 0; i < 400; ++i) {
            texts.push_back(std::string(301 + (i * 37) % 700, static_cast<char>('a' + i % 26)) +
                            std::to_string(i));
            const VelDataRecordUpdate part = t.CreateDataRecord(TypeOf("Part"));
            part.SetString(kT, texts.back().c_str());
            m_parts.push_back(part.ID());
        }
        t.Commit();
    }
    view.Publish();
    VelManager::CloseContext(m_context);
    Open();
    const VelViewRead read = Context().View(Snapshot(1));
    for (size_t k = 0; k < texts.size(); ++k) {
        // Alternately from the last text down and from the first up.
        const size_t i = k % 2 == 0 ? texts.size() - 1 - k / 2 : k / 2;
        ASSERT_EQ(read.DataRecord(Here(m_parts[i])).ReturnString(kT).str(), texts[i]) << i;
    }
}

// A transaction keeps its new rows in blocks of growing size and the reader caches blocks of
// several chunks: records on either side of every such boundary, changed while new, changed
// after their commit by a later transaction, and read back in reverse order after a reopen,
// keep their own values; a record handle outlives its transaction's commit.
TEST_F(VelRecordStoreTest, RowsAcrossTheBlocksOfWritesAndReadsKeepTheirValues) {
    const VelViewUpdateForm view = Context().NewForm(Snapshot(1));
    VelDataRecordUpdate kept;
    const auto create = [&](VelTransactionExtend& t, int count) {
        for (int n = 0; n < count; ++n) {
            const VelDataRecordUpdate part = t.CreateDataRecord(TypeOf("Part"));
            part.SetInt(kI, static_cast<int>(m_parts.size()));
            m_parts.push_back(part.ID());
        }
    };
    {
        VelTransactionExtend t(view);
        t.CreateTypes(Snapshot(1));
        create(t, 3000);
        for (int n : {255, 256, 767, 768, 2999}) t.ModifyDataRecord(m_parts[n]).SetInt(kI, -n);
        kept = t.ModifyDataRecord(m_parts[256]);
        t.Commit();
    }
    {
        VelTransactionExtend t(view);
        create(t, 17000);
        for (int n : {0, 256, 2999}) t.ModifyDataRecord(m_parts[n]).SetInt(kI, 7 * n);
        t.ModifyDataRecord(m_parts[8192]).SetString(kT, "changed");
        t.Commit();
    }
    view.Publish();
    int i = 0;
    kept.GetInt(kI, i);
    EXPECT_EQ(i, -256);
    VelManager::CloseContext(m_context);
    Open();
    const VelViewRead read = Context().View(Snapshot(1));
    const VelArray<VelDynamicID> ids = read.DataRecordIDs(TypeOf("Part"));
    ASSERT_EQ(ids.Size(), 20000);
    for (int n = 19999; n >= 0; --n) {
        ASSERT_EQ(ids[n], Here(m_parts[static_cast<size_t>(n)]));
        const int expected = n == 0 || n == 256 || n == 2999    ? 7 * n
                             : n == 255 || n == 767 || n == 768 ? -n
                                                                : n;
        read.DataRecord(ids[n]).GetInt(kI, i);
        ASSERT_EQ(i, expected) << n;
    }
    EXPECT_EQ(read.DataRecord(ids[8192]).ReturnString(kT).str(), "changed");
    EXPECT_EQ(read.DataRecord(ids[8191]).ReturnString(kT).str(), "none");
}

TEST_F(VelRecordStoreDeathTest, CountsThatDisagreeWithTheDataAreRefused) {
    Write();
    {
        const hid_t file = H5Fopen(m_file.c_str(), H5F_ACC_RDWR, H5P_DEFAULT);
        std::vector<int64_t> counts = ReadInt64s(file, kRecords, "recordCounts");
        ++counts[1];
        WriteInt64s(file, kRecords, "recordCounts", counts);
        H5Fclose(file);
    }
    ExpectValidateFailure(ReadEverything(),
                          "records == counts[1] && pairs == counts[2] && \"Damaged record store: "
                          "the record counts disagree with the catalogue\"");
    {
        const hid_t file = H5Fopen(m_file.c_str(), H5F_ACC_RDWR, H5P_DEFAULT);
        // The catalogue agrees with its counts again, now saying that the Parts' table holds 1000
        // rows: the table is opened, and refused, when the Parts are first read.
        std::vector<int64_t> counts = ReadInt64s(file, kRecords, "recordCounts");
        counts[1] += 1000 - 2 - 1;
        WriteInt64s(file, kRecords, "recordCounts", counts);
        RawTable slots(file, kSlots);
        slots.Native<int64_t>(SlotOf(slots, "Plant", TypeOf("Part").Ordinal()), "rows") = 1000;
        slots.Write();
        H5Fclose(file);
    }
    ExpectValidateFailure(ReadEverything(),
                          "VelStoreIO::Rows(slot.m_Table) >= row.rows && \"Damaged record store: a "
                          "table holds fewer rows than its count\"");
}

// A table is opened when it is first used: the Bolts' slot made to name the Parts' table leaves
// the open and the Parts whole, and is refused when the Bolts are first read.
TEST_F(VelRecordStoreDeathTest, ADamagedTableIsRefusedAtItsFirstUse) {
    Write();
    {
        const hid_t file = H5Fopen(m_file.c_str(), H5F_ACC_RDWR, H5P_DEFAULT);
        RawTable slots(file, kSlots);
        slots.Native<hobj_ref_t>(SlotOf(slots, "Plant", TypeOf("Bolt").Ordinal()), "table") =
            slots.Native<hobj_ref_t>(SlotOf(slots, "Plant", TypeOf("Part").Ordinal()), "table");
        slots.Write();
        H5Fclose(file);
    }
    Open();
    const VelViewRead view = Context().View(Snapshot(1));
    EXPECT_EQ(view.DataRecord(Here(m_parts[1])).ReturnString(kT).str(), "second");
    ExpectValidateFailure(view.DataRecordIDs(TypeOf("Bolt")),
                          "s.m_Table.GetType().Equal(s.m_Layout->Type()) && \"Damaged record "
                          "store: a table does not match its record type\"");
}

TEST_F(VelRecordStoreDeathTest, AStringReferenceOutOfRangeIsRefused) {
    Write();
    {
        const hid_t file = H5Fopen(m_file.c_str(), H5F_ACC_RDWR, H5P_DEFAULT);
        RawTable slots(file, kSlots);
        RawTable table(file, slots.Native<hobj_ref_t>(
                                 SlotOf(slots, "Plant", TypeOf("Part").Ordinal()), "table"));
        table.Put(0, "t", 4, 5000);
        table.Write();
        H5Fclose(file);
    }
    ExpectValidateFailure(ReadEverything(),
                          "index < m_count + static_cast<int64_t>(m_pending.size()) && \"Damaged "
                          "record store: a string reference is out of range\"");
}

TEST_F(VelRecordStoreDeathTest, AStringTableShorterThanItsCountsIsRefused) {
    Write();
    {
        const hid_t file = H5Fopen(m_file.c_str(), H5F_ACC_RDWR, H5P_DEFAULT);
        std::vector<int64_t> counts = ReadInt64s(file, "/stringTable/counts", nullptr);
        counts[1] += 1000;
        WriteInt64s(file, "/stringTable/counts", nullptr, counts);
        H5Fclose(file);
    }
    ExpectValidateFailure(ReadEverything(),
                          "VelStoreIO::Rows(m_ends) >= m_count && VelStoreIO::Rows(m_text) >= "
                          "m_bytes && \"Damaged record store: the string table holds less than "
                          "its counts say\"");
}

// The view's first type record, as AllTypes pairs it with the focus, made to point at a member
// record instead; then the same pair with a category no identifier has.
TEST_F(VelRecordStoreDeathTest, RegistryRecordsOfUnknownCategoriesAreRefused) {
    Write();
    {
        const hid_t file = H5Fopen(m_file.c_str(), H5F_ACC_RDWR, H5P_DEFAULT);
        RawTable slots(file, kSlots);
        const size_t intMembers = SlotOf(slots, "Types", BuiltInOrdinal("IntMember"));
        RawTable members(file, slots.Native<hobj_ref_t>(intMembers, "table"));
        RawTable allTypes(file, slots.Native<hobj_ref_t>(
                                    SlotOf(slots, "Types", BuiltInOrdinal("AllTypes")), "table"));
        allTypes.Put(0, "first.first", 8, members.Get(0, "serial", 8));
        allTypes.Put(0, "first.second", 8, static_cast<int64_t>(intMembers) << 32);
        allTypes.Write();
        H5Fclose(file);
    }
    ExpectAssertFailure(ReadEverything(), "!\"Unrecognized type category!\"");
    {
        const hid_t file = H5Fopen(m_file.c_str(), H5F_ACC_RDWR, H5P_DEFAULT);
        RawTable slots(file, kSlots);
        RawTable allTypes(file, slots.Native<hobj_ref_t>(
                                    SlotOf(slots, "Types", BuiltInOrdinal("AllTypes")), "table"));
        allTypes.Put(0, "first.category", 4, 2000);
        allTypes.Write();
        H5Fclose(file);
    }
    ExpectValidateFailure(ReadEverything(), "tempCategory < VelCategoryLimit");
}

TEST_F(VelRecordStoreDeathTest, ACatalogueRowOfAnUnknownCategoryIsRefused) {
    Write();
    {
        const hid_t file = H5Fopen(m_file.c_str(), H5F_ACC_RDWR, H5P_DEFAULT);
        RawTable slots(file, kSlots);
        slots.Native<int32_t>(0, "category") = 7;
        slots.Write();
        H5Fclose(file);
    }
    ExpectValidateFailure(ReadEverything(),
                          "(row.category == VelCategoryDataRecord || row.category == "
                          "VelCategoryAssociation) && \"Damaged record store: a table of an "
                          "unknown category\"");
}

// Associations draw their serials from the counter the records use: two association tables
// claiming one serial would hand out one association identifier for both.
TEST_F(VelRecordStoreDeathTest, TwoAssociationsOfOneSerialAreRefused) {
    Write();
    {
        const hid_t file = H5Fopen(m_file.c_str(), H5F_ACC_RDWR, H5P_DEFAULT);
        RawTable slots(file, kSlots);
        std::vector<size_t> associations;
        for (size_t row = 0; row < slots.Rows(); ++row)
            if (slots.Native<int32_t>(row, "category") == VelCategoryAssociation)
                associations.push_back(row);
        ASSERT_GE(associations.size(), 2u);
        slots.Native<int64_t>(associations[1], "serial") =
            slots.Native<int64_t>(associations[0], "serial");
        slots.Write();
        H5Fclose(file);
    }
    ExpectValidateFailure(ReadEverything(),
                          "(row.category == VelCategoryDataRecord || "
                          "serials.insert(row.serial).second) && \"Damaged record store: an "
                          "association's serial is taken twice\"");
}

}  // namespace
