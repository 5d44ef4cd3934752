#include "vel/hdf/hdf_File.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "VelTestSupport.h"
#include "hdf_TestSupport.h"
#include "vel/hdf/hdf_Utils.h"

namespace {

using HdfFileTest = HdfTest;

// The user block HDF5 records for the file, read with the C API.
hsize_t UserBlockOf(const char* name) {
    const hid_t file = H5Fopen(name, H5F_ACC_RDONLY, H5P_DEFAULT);
    const hid_t creation = H5Fget_create_plist(file);
    hsize_t size = 0;
    H5Pget_userblock(creation, &size);
    H5Pclose(creation);
    H5Fclose(file);
    return size;
}

std::string Pattern(int length) {
    std::string bytes;
    for (int i = 0; i < length; ++i) bytes += static_cast<char>('A' + i % 26);
    return bytes;
}

TEST_F(HdfFileTest, AUserBlockIsReservedInMultiplesOf512AndHoldsTheCallersBytes) {
    const std::string signature("\x89HDF\r\n\x1a\n", 8);
    for (const auto& [length, reserved] :
         {std::pair<int, hsize_t>{1, 512}, {512, 512}, {513, 1024}}) {
        VelTempFile name("block.h5");
        const std::string block = Pattern(length);
        {
            hdf_File file =
                hdf_File::Create(name.c_str(), hdf_File::CreateFlagsTruncate, block.data(), length);
            EXPECT_FALSE(file.IsReadOnly());
            EXPECT_EQ(file.Name(), name.str());
            file.GroupCreate("after", 0);
        }
        EXPECT_EQ(UserBlockOf(name.c_str()), reserved) << length;
        EXPECT_EQ(FileBytes(name.c_str(), 0, static_cast<size_t>(length)), block);
        EXPECT_EQ(FileBytes(name.c_str(), static_cast<long>(reserved), 8), signature);

        std::string back(static_cast<size_t>(length), '\0');
        const hdf_File reopened =
            hdf_File::Open(name.c_str(), hdf_File::OpenFlagsReadOnly, &back[0], length);
        EXPECT_EQ(back, block);
        EXPECT_TRUE(reopened.IsReadOnly());
        EXPECT_TRUE(reopened.GetObjinfoExists("after"));
    }
}

TEST_F(HdfFileTest, UserBlockFailuresLeaveAnEmptyFileObject) {
    VelTempFile name("badblock.h5");
    // 1025 rounds to 1536, which HDF5 refuses: user blocks are powers of two.
    const std::string block = Pattern(1025);
    const hdf_File refused =
        hdf_File::Create_NoThrow(name.c_str(), hdf_File::CreateFlagsTruncate, block.data(), 1025);
    EXPECT_TRUE(refused.IsEmpty());
    hdf_File copy(refused);
    EXPECT_NE(std::string(copy.GetError().what()).find("H5Pset_userblock"), std::string::npos);
    EXPECT_THROW(hdf_File::Create(name.c_str(), hdf_File::CreateFlagsTruncate, block.data(), 1025),
                 hdf_Exception);

    hdf_File::Create(name.c_str(), hdf_File::CreateFlagsTruncate, block.data(), 10);
    char tooMuch[4096];
    hdf_File shortRead =
        hdf_File::Open_NoThrow(name.c_str(), hdf_File::OpenFlagsReadOnly, tooMuch, 4096);
    EXPECT_TRUE(shortRead.IsEmpty());
    EXPECT_EQ(shortRead.GetError().GetMinor(), hdf_ErrorCode::MinorReadError);
    hdf_File missing =
        hdf_File::Open_NoThrow("vel-missing.h5", hdf_File::OpenFlagsReadOnly, tooMuch, 8);
    EXPECT_EQ(missing.GetError().GetMinor(), hdf_ErrorCode::MinorCantOpenFile);
    EXPECT_THROW(hdf_File::Open("vel-missing.h5", hdf_File::OpenFlagsReadOnly, tooMuch, 8),
                 hdf_Exception);
}

TEST_F(HdfFileTest, ExclusiveCreateOfAnExistingFileReportsHdf5sStack) {
    VelTempFile name("exists.h5");
    hdf_File::Create(name.c_str(), hdf_File::CreateFlagsExclusive);
    hdf_File again = hdf_File::Create_NoThrow(name.c_str(), hdf_File::CreateFlagsExclusive);
    EXPECT_EQ(again.GetID(), -1);
    const hdf_Exception error = again.GetError();
    const std::string text = error.what();
    EXPECT_EQ(text.rfind("HDF5 Error stack:\n", 0), 0u) << text;
    EXPECT_NE(text.find(" in H5Fcreate()\n"), std::string::npos) << text;
    EXPECT_EQ(error.GetMajor(), hdf_ErrorCode::MajorFile);
    EXPECT_THROW(hdf_File::Create(name.c_str(), hdf_File::CreateFlagsExclusive), hdf_Exception);
    EXPECT_FALSE(hdf_File::Create(name.c_str(), hdf_File::CreateFlagsTruncate).IsEmpty());
}

TEST_F(HdfFileTest, OpenFlagsAndAccessListsReachHdf5) {
    VelTempFile name("open.h5");
    hdf_PropListFileAccess access;
    access.SetCache(0, 101, 2 << 20, 0.5);
    hdf_File::Create(name.c_str(), hdf_File::CreateFlagsTruncate, access).GroupCreate("g", 0);

    hdf_File readOnly = hdf_File::Open(name.c_str(), hdf_File::OpenFlagsReadOnly, access);
    unsigned intent = 0;
    H5Fget_intent(readOnly.GetFileID(), &intent);
    EXPECT_EQ(intent, unsigned{H5F_ACC_RDONLY});
    EXPECT_THROW(readOnly.GroupCreate("refused", 0), hdf_Exception);

    int mdc = 0, rdcc = 0;
    unsigned rdccBytes = 0;
    double rdccW0 = 0;
    readOnly.GetAccessPlist().GetCache(mdc, rdcc, rdccBytes, rdccW0);
    EXPECT_EQ(rdcc, 101);
    EXPECT_EQ(rdccBytes, 2u << 20);
    EXPECT_EQ(rdccW0, 0.5);
    readOnly.Nullify();

    const hdf_File readWrite = hdf_File::Open(name.c_str(), hdf_File::OpenFlagsReadWrite);
    EXPECT_FALSE(readWrite.IsReadOnly());
    EXPECT_TRUE(readWrite.GetObjinfoExists("g"));
}

TEST_F(HdfFileTest, IsHdf5TellsFilesApartAndIllegalFlagsRaiseTheSharedText) {
    VelTempFile hdf("real.h5");
    VelTempFile text("text.txt");
    hdf_File::Create(hdf.c_str(), hdf_File::CreateFlagsTruncate);
    std::FILE* plain = std::fopen(text.c_str(), "wb");
    std::fputs("not a database\n", plain);
    std::fclose(plain);
    EXPECT_TRUE(hdf_File::IsHdf5(hdf.c_str()));
    EXPECT_FALSE(hdf_File::IsHdf5(text.c_str()));
    EXPECT_THROW(hdf_File::IsHdf5("vel-missing.h5"), hdf_Exception);

    ExpectAssertException(hdf_File::Create(hdf.c_str(), hdf_File::CreateFlags(2)),
                          "Illegal hdf_File::CreateFlags value.");
    ExpectAssertException(hdf_File::Open_NoThrow(hdf.c_str(), hdf_File::OpenFlags(-1)),
                          "Illegal hdf_File::CreateFlags value.");
}

TEST_F(HdfFileTest, FreeDiskSpaceComesFromTheVolumeOfThePath) {
    VelTempFile name("space.h5");
    const uint64_t here = hdf_Utils::GetFreeDiskSpace(".");
    EXPECT_GT(here, 0u);
    // A file yet to be created is answered for its directory.
    const uint64_t forNewFile = hdf_Utils::GetFreeDiskSpace(name.c_str());
    EXPECT_GT(forNewFile, 0u);
    EXPECT_LT(forNewFile > here ? forNewFile - here : here - forNewFile, uint64_t{1} << 30);
    EXPECT_THROW(hdf_Utils::GetFreeDiskSpace("/vel-no-such-dir/x/y"), hdf_Exception);
}

}  // namespace
