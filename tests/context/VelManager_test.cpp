#include "vel/context/VelManager.h"

#include <cstring>
#include <iostream>
#include <string>

#include "VelContextFileHelpers.h"
#include "VelTestSupport.h"
#include "context/VelContext.h"
#include "context/VelManagerAccess.h"
#include "vel/UTI_VelDynamicAPI.h"
#include "vel/context/VelContextRef.h"
#include "vel/context/VelVersion.h"
#include "vel/hdf/hdf_Module.h"

namespace {

class VelManagerTest : public ::testing::Test {
protected:
    void SetUp() override { UTI_VelDynamicAPI_initialize(m_modules); }
    void TearDown() override { UTI_VelDynamicAPI_finalize(m_modules); }

    // A closed database file written with `schemaVersion`.
    void MakeDatabase(const VelTempFile& file, int schemaVersion) {
        const VelContextID id =
            VelManager::CreateContext(file.c_str(), hdf_File::CreateFlagsTruncate, schemaVersion);
        ASSERT_FALSE(id.IsNull());
        VelManager::CloseContext(id);
    }

    int m_modules = 0;
};

using VelManagerDeathTest = VelManagerTest;

TEST_F(VelManagerTest, NewDatabaseLayoutReadIndependently) {
    VelTempFile file("new");
    const VelContextID id =
        VelManager::CreateContext(file.c_str(), hdf_File::CreateFlagsTruncate, 4);
    ASSERT_FALSE(id.IsNull());
    EXPECT_FALSE(id.IsTemp());
    VelManager::CloseContext(id);

    const std::string bytes = ReadFileBytes(file.str());
    ASSERT_GT(bytes.size(), 512u);
    std::string expected(512, '\0');
    expected.replace(0, 8, "\x89ORB\r\n\x1a\n");
    expected.replace(16, 14, "KORVANE TELMIR");
    expected[48] = '6';
    expected[81] = '7';
    expected[114] = '1';
    expected[147] = '2';
    expected[180] = '4';
    EXPECT_EQ(bytes.substr(0, 512), expected);

    RawFile raw(file.str(), H5F_ACC_RDONLY);
    EXPECT_EQ(raw.UserBlockSize(), 512u);
    EXPECT_EQ(raw.ReadInts("Context attributes"), (std::vector<int>{0, 8}));
    EXPECT_EQ(raw.ReadIntAttribute("stringTable", "type"), (std::vector<int>{4, 0}));
    EXPECT_EQ(raw.ReadIntAttribute("record", "type"), (std::vector<int>{5, 0}));
    H5G_info_t info;
    ASSERT_GE(H5Gget_info(raw.id(), &info), 0);
    EXPECT_EQ(info.nlinks, 3u) << "only the attributes and the record store hang under the root";
}

TEST_F(VelManagerTest, TemporaryContextRecordsSchemaMinusOne) {
    VelTempFile file("temp");
    const VelContextID id =
        VelManager::CreateTempContext(file.c_str(), hdf_File::CreateFlagsTruncate);
    ASSERT_FALSE(id.IsNull());
    EXPECT_TRUE(id.IsTemp());
    // Identifiers derived from the context carry the flag.
    EXPECT_TRUE(VelContextID(id.DynamicID()).IsTemp());
    EXPECT_TRUE(VelContextRef(id).File().GetID() >= 0);

    // Opening the same name finds the temporary context.
    EXPECT_EQ(VelManager::OpenContext(file.c_str(), hdf_File::OpenFlagsReadWrite, -1).Compare(id),
              0);
    VelManager::CloseContext(id);

    VelVersion version;
    ASSERT_TRUE(version.Create(file.c_str()));
    EXPECT_EQ(version.SchemaVersion(), -1);
    EXPECT_TRUE(version.IsOrbFile());
    EXPECT_EQ(version.Author(), cow_String("KORVANE TELMIR"));
}

TEST_F(VelManagerTest, ReopenAndCounterValues) {
    VelTempFile file("reopen");
    VelTempFile other("other");
    MakeDatabase(file, 3);

    const VelContextID first =
        VelManager::OpenContext(file.c_str(), hdf_File::OpenFlagsReadWrite, 3);
    ASSERT_FALSE(first.IsNull());
    // The same name again: the same ID, and no counter value taken.
    const VelContextID again =
        VelManager::OpenContext(file.c_str(), hdf_File::OpenFlagsReadWrite, 3);
    EXPECT_EQ(again.Compare(first), 0);
    const VelContextID next =
        VelManager::CreateContext(other.c_str(), hdf_File::CreateFlagsTruncate, 3);
    EXPECT_EQ(next.Value(), first.Value() + 1);

    // A refused open takes a value all the same.
    VelManager::CloseContext(first);
    EXPECT_TRUE(VelManager::OpenContext(file.c_str(), hdf_File::OpenFlagsReadWrite, 9).IsNull());
    const VelContextID reopened =
        VelManager::OpenContext(file.c_str(), hdf_File::OpenFlagsReadWrite, 3);
    EXPECT_EQ(reopened.Value(), next.Value() + 2);
    VelManager::CloseContext(reopened);
    VelManager::CloseContext(next);
    VelManager::CloseContext(next);  // no longer open: ignored
    EXPECT_EQ(VelManagerAccess::OpenCount(), 0);
    EXPECT_EQ(OpenHdf5Objects(), 0) << "closing releases every HDF5 identifier";
}

TEST_F(VelManagerTest, RefusedFilesGiveANullIdAndNoMessage) {
    VelTempFile file("refused");
    struct Alteration {
        long offset;
        const char* text;
    };
    const Alteration alterations[] = {
        {147, "3"},              // internal version newer
        {147, "1"},              // internal version older
        {180, "5"},              // written with a newer schema
        {180, "3"},              // written with an older schema
        {1, "Orb"},              // magic
        {16, "KORVANE TELMIr"},  // author text
        {16, "KORVANE"},         // author text cut short
    };
    for (const Alteration& a : alterations) {
        MakeDatabase(file, 4);
        PatchFile(file.str(), a.offset, a.text);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const VelContextID id =
            VelManager::OpenContext(file.c_str(), hdf_File::OpenFlagsReadWrite, 4);
        const std::string out = testing::internal::GetCapturedStdout();
        const std::string err = testing::internal::GetCapturedStderr();
        EXPECT_TRUE(id.IsNull()) << a.offset << " " << a.text;
        EXPECT_EQ(out + err, "");
    }
    // Untouched, the same file opens; a file newer than the caller's schema does not.
    // Opened read-only, it is left as it was.
    MakeDatabase(file, 4);
    const std::string before = ReadFileBytes(file.str());
    EXPECT_TRUE(VelManager::OpenContext(file.c_str(), hdf_File::OpenFlagsReadOnly, 3).IsNull());
    const VelContextID id = VelManager::OpenContext(file.c_str(), hdf_File::OpenFlagsReadOnly, 4);
    ASSERT_FALSE(id.IsNull());
    EXPECT_TRUE(VelManagerAccess::Get(id.Value()).IsReadOnly());
    VelManager::CloseContext(id);
    EXPECT_EQ(OpenHdf5Objects(), 0) << "refused files are released";
    EXPECT_EQ(ReadFileBytes(file.str()), before);
}

TEST_F(VelManagerTest, FilesThatAreNotDatabasesAreRefused) {
    VelTempFile file("notdb");
    VelTempFile source("source");
    EXPECT_TRUE(VelManager::OpenContext(file.c_str(), hdf_File::OpenFlagsReadWrite, 0).IsNull())
        << "missing";

    WriteFileBytes(file.str(), std::string(100, 'x'));
    EXPECT_TRUE(VelManager::OpenContext(file.c_str(), hdf_File::OpenFlagsReadWrite, 0).IsNull())
        << "shorter than the signature block";

    WriteFileBytes(file.str(), std::string(4096, '\0'));
    EXPECT_TRUE(VelManager::OpenContext(file.c_str(), hdf_File::OpenFlagsReadWrite, 0).IsNull())
        << "not HDF5";

    // A valid signature in front of bytes that are not HDF5.
    MakeDatabase(source, 0);
    std::string bytes = ReadFileBytes(source.str());
    WriteFileBytes(file.str(), bytes.substr(0, 512) + std::string(2048, '\x5a'));
    EXPECT_TRUE(VelManager::OpenContext(file.c_str(), hdf_File::OpenFlagsReadWrite, 0).IsNull())
        << "signature over garbage";

    // A database cut short.
    for (size_t keep : {size_t(600), bytes.size() / 2, bytes.size() - 1}) {
        WriteFileBytes(file.str(), bytes.substr(0, keep));
        EXPECT_TRUE(VelManager::OpenContext(file.c_str(), hdf_File::OpenFlagsReadOnly, 0).IsNull())
            << "truncated to " << keep;
    }

    // A plain HDF5 file without a user block.
    hid_t plain = H5Fcreate(file.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
    H5Fclose(plain);
    EXPECT_TRUE(VelManager::OpenContext(file.c_str(), hdf_File::OpenFlagsReadWrite, 0).IsNull());
    EXPECT_EQ(OpenHdf5Objects(), 0);
}

TEST_F(VelManagerTest, FinalizeClosesEveryContextAndLeavesNoIdentifierOpen) {
    VelTempFile a("a");
    VelTempFile b("b");
    VelTempFile t("t");
    int hdfKeptOpen = 0;
    hdf_initialize(hdfKeptOpen);  // keeps HDF5 up past the library's shut-down to look at it
    VelManager::CreateContext(a.c_str(), hdf_File::CreateFlagsTruncate, 2);
    const VelContextID bid = VelManager::CreateContext(b.c_str(), hdf_File::CreateFlagsTruncate, 2);
    VelManager::CreateTempContext(t.c_str(), hdf_File::CreateFlagsTruncate);
    VelManagerAccess::Get(bid.Value()).AllocateCollectionSerial();
    EXPECT_EQ(VelManagerAccess::OpenCount(), 3);
    EXPECT_GT(OpenHdf5Objects(), 0);

    UTI_VelDynamicAPI_finalize(m_modules);
    EXPECT_EQ(OpenHdf5Objects(), 0);
    {
        RawFile raw(b.str(), H5F_ACC_RDONLY);
        EXPECT_EQ(raw.ReadInts("Context attributes"), (std::vector<int>{1, 8}))
            << "written back at shut-down";
    }
    hdf_finalize(hdfKeptOpen);

    // The library starts again with a fresh count of open contexts and new context values.
    UTI_VelDynamicAPI_initialize(m_modules);
    EXPECT_EQ(VelManagerAccess::OpenCount(), 0);
    const VelContextID reopened =
        VelManager::OpenContext(b.c_str(), hdf_File::OpenFlagsReadWrite, 2);
    ASSERT_FALSE(reopened.IsNull());
    EXPECT_GT(reopened.Value(), bid.Value());
}

TEST_F(VelManagerDeathTest, ManagerRequiresTheLibraryStarted) {
    UTI_VelDynamicAPI_finalize(m_modules);
    ExpectValidateFailure(VelManager::CreateContext("x", hdf_File::CreateFlagsTruncate, 0),
                          "g_manager && !g_manager->m_shut && \"the library is not started\"");
    UTI_VelDynamicAPI_initialize(m_modules);
}

TEST_F(VelManagerDeathTest, StorageFailureOnCreateStopsWithAssertionZero) {
    VelTempFile file("exists");
    MakeDatabase(file, 0);
    ExpectAssertFailure(VelManager::CreateContext(file.c_str(), hdf_File::CreateFlagsExclusive, 0),
                        "0");
    // The storage layer's message comes first, on standard output.
    EXPECT_DEATH(
        {
            std::cout.rdbuf(std::cerr.rdbuf());
            VelManager::CreateContext(file.c_str(), hdf_File::CreateFlagsExclusive, 0);
        },
        "^HDF5 Error stack:.*\nVelASSERT failed: 0\n");
}

TEST_F(VelManagerDeathTest, ClosedContextCannotBeReached) {
    VelTempFile file("closed");
    const VelContextID id =
        VelManager::CreateContext(file.c_str(), hdf_File::CreateFlagsTruncate, 0);
    VelManager::CloseContext(id);
    ExpectValidateFailure(VelContextRef(id).Collections(),
                          "context && \"no open context has this value\"");
    ExpectValidateFailure(VelCollectionID(VelDynamicID(1, id.Value(), 0, 0)),
                          "context && \"no open context has this value\"");
}

TEST_F(VelManagerDeathTest, CollectionSerialsStopBelowTheLimit) {
    VelTempFile file("serials");
    MakeDatabase(file, 0);
    {
        RawFile raw(file.str(), H5F_ACC_RDWR);
        raw.WriteInts("Context attributes", {VelCollectionID::e_ExcessiveCollectionID - 1, 8});
    }
    const VelContextID id = VelManager::OpenContext(file.c_str(), hdf_File::OpenFlagsReadWrite, 0);
    ASSERT_FALSE(id.IsNull());
    VelContext& context = VelManagerAccess::Get(id.Value());
    EXPECT_EQ(context.AllocateCollectionSerial(), VelCollectionID::e_ExcessiveCollectionID - 1);
    ExpectAssertFailure(context.AllocateCollectionSerial(),
                        "m_nextID < VelCollectionID::e_ExcessiveCollectionID");
}

}  // namespace
