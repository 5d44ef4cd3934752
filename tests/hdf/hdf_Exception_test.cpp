#include "vel/hdf/hdf_Exception.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "hdf_TestSupport.h"
#include "vel/hdf/hdf_ErrorCode.h"

namespace {

// HDF5's own text of an error class, read through the C API.
std::string MessageOf(hid_t errorClass) {
    char text[256] = "";
    H5E_type_t type;
    H5Eget_msg(errorClass, &type, text, sizeof text);
    return text;
}

H5E_type_t KindOf(hid_t errorClass) {
    H5E_type_t type = H5E_MAJOR;
    char text[8];
    H5Eget_msg(errorClass, &type, text, sizeof text);
    return type;
}

using HdfErrorCodeTest = HdfTest;
using HdfExceptionTest = HdfTest;

TEST_F(HdfErrorCodeTest, OrdinalsConvertBothWaysAndOutOfRangeValuesRaiseTheirTexts) {
    for (int i = 0; i <= 27; ++i) EXPECT_EQ(hdf_ErrorCode::ToH5Major(hdf_ErrorCode::ToMajor(i)), i);
    for (int i = 0; i <= 85; ++i) EXPECT_EQ(hdf_ErrorCode::ToH5Minor(hdf_ErrorCode::ToMinor(i)), i);
    EXPECT_EQ(hdf_ErrorCode::ToMajor(21), hdf_ErrorCode::MajorReference);
    EXPECT_EQ(hdf_ErrorCode::ToMinor(48), hdf_ErrorCode::MinorNotFound);

    ExpectAssertException(hdf_ErrorCode::ToMajor(28), "Bad H5E_major_t");
    ExpectAssertException(hdf_ErrorCode::ToMajor(-1), "Bad H5E_major_t");
    ExpectAssertException(hdf_ErrorCode::ToMinor(86), "Bad H5E_minor_t");
    ExpectAssertException(hdf_ErrorCode::ToH5Major(hdf_ErrorCode::Major(28)),
                          "Bad hdf_ErrorCode::Major");
    // The minor reverse conversion shares the major's text.
    ExpectAssertException(hdf_ErrorCode::ToH5Minor(hdf_ErrorCode::Minor(86)),
                          "Bad hdf_ErrorCode::Major");
}

TEST_F(HdfErrorCodeTest, EveryClassHdf5StillHasTranslatesToItsOwnOrdinal) {
    std::vector<std::string> gone;
    for (int i = 0; i <= 27; ++i) {
        const auto major = hdf_ErrorCode::ToMajor(i);
        const hid_t errorClass = hdf_ErrorCode::ClassOf(major);
        if (errorClass < 0) {
            gone.push_back(hdf_ErrorCode::NameOf(major));
            continue;
        }
        EXPECT_EQ(KindOf(errorClass), H5E_MAJOR) << hdf_ErrorCode::NameOf(major);
        EXPECT_EQ(hdf_ErrorCode::MajorOfClass(errorClass), major);
    }
    for (int i = 0; i <= 85; ++i) {
        const auto minor = hdf_ErrorCode::ToMinor(i);
        const hid_t errorClass = hdf_ErrorCode::ClassOf(minor);
        if (errorClass < 0) {
            gone.push_back(hdf_ErrorCode::NameOf(minor));
            continue;
        }
        EXPECT_EQ(KindOf(errorClass), H5E_MINOR) << hdf_ErrorCode::NameOf(minor);
        EXPECT_EQ(hdf_ErrorCode::MinorOfClass(errorClass), minor);
    }
    EXPECT_EQ(gone, (std::vector<std::string>{"H5E_TBBT", "H5E_NOTHDF5", "H5E_LINK", "H5E_SLINK",
                                              "H5E_CANTMAKETREE"}));
    EXPECT_EQ(hdf_ErrorCode::ClassOf(hdf_ErrorCode::MajorArgs), H5E_ARGS);
    EXPECT_EQ(hdf_ErrorCode::ClassOf(hdf_ErrorCode::MinorSetLocal), H5E_SETLOCAL);
}

TEST_F(HdfErrorCodeTest, ClassesUnknownToTheOldNumberingFallBackAndKeepHdf5sText) {
    // Classes added after the old numbering, and one an application registers.
    EXPECT_EQ(hdf_ErrorCode::MajorOfClass(H5E_LINK), hdf_ErrorCode::MajorInternal);
    EXPECT_EQ(hdf_ErrorCode::MinorOfClass(H5E_CANTALLOC), hdf_ErrorCode::MinorNone);
    const hid_t errorClass = H5Eregister_class("VelTest", "vel tests", "1");
    const hid_t major = H5Ecreate_msg(errorClass, H5E_MAJOR, "Test major text");
    const hid_t minor = H5Ecreate_msg(errorClass, H5E_MINOR, "Test minor text");
    EXPECT_EQ(hdf_ErrorCode::MajorOfClass(major), hdf_ErrorCode::MajorInternal);
    EXPECT_EQ(hdf_ErrorCode::MinorOfClass(minor), hdf_ErrorCode::MinorNone);

    H5Eclear2(H5E_DEFAULT);
    H5Epush2(H5E_DEFAULT, "vel_file.c", "vel_function", 42, errorClass, major, minor,
             "described %d", 7);
    const hdf_Exception e(true);
    EXPECT_EQ(e.GetMajor(), hdf_ErrorCode::MajorInternal);
    EXPECT_EQ(e.GetMinor(), hdf_ErrorCode::MinorNone);
    EXPECT_STREQ(e.what(),
                 "HDF5 Error stack:\n"
                 "  HDF5 error: (3)Test major text/(0)Test minor text in vel_function()\n"
                 "    file: vel_file.c, line: 42\n"
                 "    described 7\n");
    H5Eclear2(H5E_DEFAULT);
    H5Eclose_msg(major);
    H5Eclose_msg(minor);
    H5Eunregister_class(errorClass);
}

TEST_F(HdfExceptionTest, EveryLineRepeatsTheFirstCodesAndTheShortFormLacksTheLocation) {
    hdf_Exception e;
    EXPECT_FALSE(e.IsError());
    EXPECT_STREQ(e.what(), "");
    EXPECT_NO_THROW(e.ThrowIfError());

    e.AddErrorEntry(hdf_ErrorCode::MajorFile, hdf_ErrorCode::MinorCantOpenFile, "first", "H5Fopen",
                    "H5F.c", 10);
    e.AddErrorEntry(hdf_ErrorCode::MajorIO, hdf_ErrorCode::MinorReadError, nullptr, "H5FD_read",
                    "H5FD.c", 0);
    const std::string names = "(4)" + MessageOf(H5E_FILE) + "/(17)" + MessageOf(H5E_CANTOPENFILE);
    EXPECT_EQ(std::string(e.AsString().c_str()),
              "HDF5 Error stack:\n  HDF5 error: " + names +
                  " in H5Fopen()\n    file: H5F.c, line: 10\n    first\n  HDF5 error: " + names +
                  "\n");
    EXPECT_EQ(e.GetMajor(), hdf_ErrorCode::MajorFile);
    EXPECT_EQ(e.GetMinor(), hdf_ErrorCode::MinorCantOpenFile);
    EXPECT_STREQ(e.Text(), e.what());

    try {
        e.ThrowIfError();
        ADD_FAILURE() << "ThrowIfError threw nothing";
    } catch (const hdf_Exception& thrown) {
        EXPECT_STREQ(thrown.what(), e.what());
        EXPECT_EQ(thrown.GetMinor(), hdf_ErrorCode::MinorCantOpenFile);
    }

    // A code HDF5 no longer has is named by its old name.
    hdf_Exception old;
    old.AddErrorEntry(hdf_ErrorCode::MajorTbbt, hdf_ErrorCode::MinorNotHdf5, nullptr, nullptr,
                      nullptr, 0);
    EXPECT_STREQ(old.what(), "HDF5 Error stack:\n  HDF5 error: (23)H5E_TBBT/(19)H5E_NOTHDF5\n");
}

TEST_F(HdfExceptionTest, CollectingTakesTheStackFromTheFailedApiCallDown) {
    const hid_t file = H5Fopen("vel-no-such-file.h5", H5F_ACC_RDONLY, H5P_DEFAULT);
    ASSERT_LT(file, 0);
    const hdf_Exception e(true);
    EXPECT_EQ(e.GetMajor(), hdf_ErrorCode::MajorFile);
    EXPECT_EQ(e.GetMinor(), hdf_ErrorCode::MinorCantOpenFile);
    const std::string text = e.what();
    EXPECT_EQ(text.rfind("HDF5 Error stack:\n  HDF5 error: (4)", 0), 0u) << text;
    EXPECT_NE(text.find(" in H5Fopen()\n"), std::string::npos) << text;
    EXPECT_LT(text.find("H5Fopen()"), text.find("H5FD_open()")) << text;
    EXPECT_STREQ(e.Unit(), "hdf_Exception");

    // Collecting leaves HDF5's stack as it was; once it is cleared there is nothing to collect.
    EXPECT_STREQ(hdf_Exception(true).what(), e.what());
    H5Eclear2(H5E_DEFAULT);
    const hdf_Exception none(true);
    EXPECT_FALSE(none.IsError());
    EXPECT_STREQ(none.what(), "");
}

}  // namespace
