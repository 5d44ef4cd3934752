// The record store in the file, read and damaged through the HDF5 C API: the serial counter,
// the view group and its counts, the catalogue, a record table's big-endian fields and the
// string table; damaged counts, references and categories are refused with their messages.
#include <hdf5.h>

#include <cstring>
#include <functional>
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
    // Two Parts, a Bolt in the catalog and a region, published, and the context closed.
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
            m_bolt = t.CreateDataRecord(TypeOf("Bolt")).ID();
            catalog.Insert(m_bolt, t.FocusID());
            // An association of two-word identifiers (a CSet's), laid out as the others.
            t.UpdateAssociation(view.AssociationID(TypeOf("Regions")))
                .Insert(m_parts[0], VelDynamicID(VelIDCategoryCSet, m_context.Value(), 3, 1));
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
    VelDynamicID m_bolt;
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

        // Pair rows hold whole identifiers: the Bolt and the focus (a data record of serial
        // and -1) as 20-byte ones, the Part and the CSet of Regions as their words.
        RawTable catalog(file, slots.Native<hobj_ref_t>(
                                   SlotOf(slots, "Plant", TypeOf("Catalog").Ordinal()), "table"));
        ASSERT_EQ(catalog.Rows(), 1u);
        for (const char* id : {"first", "second"})
            EXPECT_EQ(catalog.Get(0, std::string(id) + ".category", 4), VelCategoryDataRecord);
        const bool focusFirst = catalog.Get(0, "first.second", 8) == -1;
        const std::string focus = focusFirst ? "first" : "second";
        const std::string bolt = focusFirst ? "second" : "first";
        EXPECT_EQ(catalog.Get(0, focus + ".first", 8), m_focus);
        EXPECT_EQ(catalog.Get(0, focus + ".second", 8), -1);
        EXPECT_EQ(catalog.Get(0, bolt + ".first", 8), m_bolt.First());
        EXPECT_EQ(catalog.Get(0, bolt + ".second", 8), m_bolt.Second());
        RawTable regions(file, slots.Native<hobj_ref_t>(
                                   SlotOf(slots, "Plant", TypeOf("Regions").Ordinal()), "table"));
        ASSERT_EQ(regions.Rows(), 1u);
        EXPECT_EQ(regions.Get(0, "first.category", 4), VelCategoryDataRecord);
        EXPECT_EQ(regions.Get(0, "first.first", 8), m_parts[0].First());
        EXPECT_EQ(regions.Get(0, "second.first", 4), 3);
        EXPECT_EQ(regions.Get(0, "second.second", 4), 1);

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
        // 3000 is the first row this transaction creates, just past the committed ones.
        for (int n : {0, 256, 2999, 3000}) t.ModifyDataRecord(m_parts[n]).SetInt(kI, 7 * n);
        t.ModifyDataRecord(m_parts[8192]).SetString(kT, "changed");
        t.Commit();
    }
    view.Publish();
    EXPECT_EQ(IntOf(kept, kI), -256);
    VelManager::CloseContext(m_context);
    Open();
    const VelViewRead read = Context().View(Snapshot(1));
    const VelArray<VelDynamicID> ids = read.DataRecordIDs(TypeOf("Part"));
    ASSERT_EQ(ids.Size(), 20000);
    for (int n = 19999; n >= 0; --n) {
        ASSERT_EQ(ids[n], Here(m_parts[static_cast<size_t>(n)]));
        const int expected = n == 0 || n == 256 || n == 2999 || n == 3000 ? 7 * n
                             : n == 255 || n == 767 || n == 768           ? -n
                                                                          : n;
        ASSERT_EQ(IntOf(read.DataRecord(ids[n]), kI), expected) << n;
    }
    EXPECT_EQ(read.DataRecord(ids[8192]).ReturnString(kT).str(), "changed");
    EXPECT_EQ(read.DataRecord(ids[8191]).ReturnString(kT).str(), "none");
}

// Damages of the record store, each made in a fresh file through the HDF5 C API, and the
// refusal each brings when the view is next read.
TEST_F(VelRecordStoreDeathTest, DamagedTablesAndCountsAreRefused) {
    const auto partTable = [this](hid_t file) {
        RawTable slots(file, kSlots);
        return slots.Native<hobj_ref_t>(SlotOf(slots, "Plant", TypeOf("Part").Ordinal()), "table");
    };
    const auto addToCounts = [](const char* object, const char* attribute, size_t at, int add) {
        return [=](hid_t file) {
            std::vector<int64_t> counts = ReadInt64s(file, object, attribute);
            counts[at] += add;
            WriteInt64s(file, object, attribute, counts);
        };
    };
    // Replaces the dataset at `path` by one of as many rows of native doubles.
    const auto byDoubles = [](const char* path) {
        return [=](hid_t file) {
            const hsize_t rows = RawTable(file, path).Rows();
            H5Ldelete(file, path, H5P_DEFAULT);
            const hid_t space = H5Screate_simple(1, &rows, nullptr);
            const std::vector<double> zeros(rows);
            const hid_t ds = H5Dcreate2(file, path, H5T_NATIVE_DOUBLE, space, H5P_DEFAULT,
                                        H5P_DEFAULT, H5P_DEFAULT);
            H5Dwrite(ds, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, zeros.data());
            H5Dclose(ds);
            H5Sclose(space);
        };
    };
    // The first type record of the view, as AllTypes pairs it with the focus, made to point at
    // a member record.
    const auto typeRecordToMember = [this](hid_t file) {
        RawTable slots(file, kSlots);
        const size_t intMembers = SlotOf(slots, "Types", BuiltInOrdinal("IntMember"));
        RawTable members(file, slots.Native<hobj_ref_t>(intMembers, "table"));
        RawTable allTypes(file, slots.Native<hobj_ref_t>(
                                    SlotOf(slots, "Types", BuiltInOrdinal("AllTypes")), "table"));
        allTypes.Put(0, "first.first", 8, members.Get(0, "serial", 8));
        allTypes.Put(0, "first.second", 8, static_cast<int64_t>(intMembers) << 32);
        allTypes.Write();
    };
    const auto readIDs = [this](const char* type) {
        return [this, type] {
            Open();
            Context().View(Snapshot(1)).DataRecordIDs(TypeOf(type));
        };
    };
    const auto readAll = [this] { ReadEverything(); };
    struct Damage {
        const char* what;
        std::function<void(hid_t)> apply;
        std::function<void()> use;
        std::string report;
    };
    const std::vector<Damage> damages = {
        {"one record too many counted", addToCounts(kRecords, "recordCounts", 1, 1), readAll,
         VelValidateText("records == counts[1] && pairs == counts[2] && \"Damaged record store: "
                         "the record counts disagree with the catalogue\"")},
        // The counts agree with a Parts' table said to hold 1000 rows: the table is opened, and
        // refused, when the Parts are first read.
        {"a table shorter than its count",
         [&](hid_t file) {
             addToCounts(kRecords, "recordCounts", 1, 1000 - 2)(file);
             RawTable slots(file, kSlots);
             slots.Native<int64_t>(SlotOf(slots, "Plant", TypeOf("Part").Ordinal()), "rows") = 1000;
             slots.Write();
         },
         readAll,
         VelValidateText("VelStoreIO::Rows(slot.m_Table) >= row.rows && \"Damaged record store: "
                         "a table holds fewer rows than its count\"")},
        {"a string reference out of range",
         [&](hid_t file) {
             RawTable table(file, partTable(file));
             table.Put(0, "t", 4, 5000);
             table.Write();
         },
         readAll,
         VelValidateText("index < m_count + static_cast<int64_t>(m_pending.size()) && \"Damaged "
                         "record store: a string reference is out of range\"")},
        {"a string table shorter than its counts",
         addToCounts("/stringTable/counts", nullptr, 1, 1000), readAll,
         VelValidateText("VelStoreIO::Rows(m_ends) >= m_count && VelStoreIO::Rows(m_text) >= "
                         "m_bytes && \"Damaged record store: the string table holds less than its "
                         "counts say\"")},
        {"string ends of another type", byDoubles("/stringTable/ends"), readAll,
         VelValidateText("hdf_MatchesType(table.GetType(), type) && \"Damaged record store: a "
                         "table does not hold the rows its catalogue says\"")},
        {"a type record naming a member record", typeRecordToMember, readAll,
         VelAssertText("!\"Unrecognized type category!\"")},
        {"a type record of an unknown category",
         [&](hid_t file) {
             typeRecordToMember(file);
             RawTable slots(file, kSlots);
             RawTable allTypes(
                 file, slots.Native<hobj_ref_t>(SlotOf(slots, "Types", BuiltInOrdinal("AllTypes")),
                                                "table"));
             allTypes.Put(0, "first.category", 4, 2000);
             allTypes.Write();
         },
         readAll, VelValidateText("tempCategory < VelCategoryLimit")},
        {"a catalogue row of an unknown category",
         [](hid_t file) {
             RawTable slots(file, kSlots);
             slots.Native<int32_t>(0, "category") = 7;
             slots.Write();
         },
         readAll,
         VelValidateText("(row.category == VelCategoryDataRecord || row.category == "
                         "VelCategoryAssociation) && \"Damaged record store: a table of an "
                         "unknown category\"")},
        {"a catalogue of another format", byDoubles(kSlots), readAll,
         VelValidateText("m_catalogue.GetType().Equal(CatalogueType()) && \"Damaged record "
                         "store: the view's catalogue has an unknown format\"")},
        // Associations draw their serials from the counter the records use: two association
        // tables claiming one serial would hand out one association identifier for both.
        {"two associations of one serial",
         [](hid_t file) {
             RawTable slots(file, kSlots);
             std::vector<size_t> associations;
             for (size_t row = 0; row < slots.Rows(); ++row)
                 if (slots.Native<int32_t>(row, "category") == VelCategoryAssociation)
                     associations.push_back(row);
             ASSERT_GE(associations.size(), 2u);
             slots.Native<int64_t>(associations[1], "serial") =
                 slots.Native<int64_t>(associations[0], "serial");
             slots.Write();
         },
         readAll,
         VelValidateText("(row.category == VelCategoryDataRecord || "
                         "serials.insert(row.serial).second) && \"Damaged record store: an "
                         "association's serial is taken twice\"")},
        {"Bolt's table replaced by Part's",
         [&](hid_t file) {
             RawTable slots(file, kSlots);
             slots.Native<hobj_ref_t>(SlotOf(slots, "Plant", TypeOf("Bolt").Ordinal()), "table") =
                 partTable(file);
             slots.Write();
         },
         readIDs("Bolt"),
         VelValidateText("s.m_Table.GetType().Equal(s.m_Layout->Type()) && \"Damaged record "
                         "store: a table does not match its record type\"")},
        {"a record serial out of range",
         [&](hid_t file) {
             RawTable table(file, partTable(file));
             table.Put(1, "serial", 8, -1);
             table.Write();
         },
         readIDs("Part"),
         VelValidateText("serial >= 0 && serial < limit && \"Damaged record store: a record's "
                         "serial is out of range\"")},
    };
    for (const Damage& damage : damages) {
        SCOPED_TRACE(damage.what);
        m_parts.clear();
        if (!m_context.IsNull()) VelManager::CloseContext(m_context);
        m_context = VelManager::CreateContext(m_file.c_str(), hdf_File::CreateFlagsTruncate, 1);
        Write();
        const hid_t file = H5Fopen(m_file.c_str(), H5F_ACC_RDWR, H5P_DEFAULT);
        damage.apply(file);
        H5Fclose(file);
        EXPECT_DEATH(damage.use(), "^" + VelLiteralRegex(damage.report) + "$");
    }
}

}  // namespace
