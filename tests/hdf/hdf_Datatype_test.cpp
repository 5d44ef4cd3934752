#include "vel/hdf/hdf_Datatype.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "VelTestSupport.h"
#include "hdf/hdf_TypeMatch.h"
#include "hdf_TestSupport.h"
#include "vel/hdf/hdf_CompoundBuilder.h"
#include "vel/hdf/hdf_File.h"

namespace {

using HdfDatatypeTest = HdfTest;

TEST_F(HdfDatatypeTest, TheBuilderPacksMembersBackToBack) {
    VelTempFile name("compound.h5");
    hdf_Datatype packed;
    {
        hdf_CompoundBuilder builder(1);
        builder.Insert("count", hdf_Datatype::NATIVE_INT32());
        builder.Insert("value", hdf_Datatype::NATIVE_DOUBLE());
        packed = hdf_Datatype(builder);
    }
    EXPECT_EQ(packed.GetClass(), hdf_Datatype::TypeClassGetClassCompound);
    EXPECT_EQ(packed.GetMemberName(1), "value");
    EXPECT_TRUE(packed.GetMemberType(0).Equal(hdf_Datatype::NATIVE_INT32()));

    // Records written through the packed type read back through an independently built one.
    unsigned char records[2][12];
    for (int r = 0; r < 2; ++r) {
        const int32_t count = 10 + r;
        const double value = 0.5 * r;
        std::memcpy(records[r], &count, 4);
        std::memcpy(records[r] + 4, &value, 8);
    }
    {
        const hdf_File file = hdf_File::Create(name.c_str(), hdf_File::CreateFlagsTruncate);
        file.DatasetCreate("records", packed,
                           hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(2), hdf_DimSpace()))
            .Write(packed, hdf_Dataspace(), records);
    }
    struct Record {
        double value;
        int64_t count;
    };
    const hid_t memory = H5Tcreate(H5T_COMPOUND, sizeof(Record));
    H5Tinsert(memory, "value", HOFFSET(Record, value), H5T_NATIVE_DOUBLE);
    H5Tinsert(memory, "count", HOFFSET(Record, count), H5T_NATIVE_INT64);
    const hid_t file = H5Fopen(name.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT);
    const hid_t dataset = H5Dopen2(file, "records", H5P_DEFAULT);
    const hid_t stored = H5Dget_type(dataset);
    EXPECT_EQ(H5Tget_size(stored), 12u);
    EXPECT_EQ(H5Tget_member_offset(stored, 1), 4u);
    Record back[2] = {};
    H5Dread(dataset, memory, H5S_ALL, H5S_ALL, H5P_DEFAULT, back);
    EXPECT_EQ(back[1].count, 11);
    EXPECT_EQ(back[1].value, 0.5);
    H5Tclose(stored);
    H5Dclose(dataset);
    H5Fclose(file);
    H5Tclose(memory);
}

TEST_F(HdfDatatypeTest, ExplicitOffsetsKeepTheSizeAndUnsizableMembersThrow) {
    hdf_CompoundBuilder builder(16);
    builder.Insert("late", 8, hdf_Datatype::NATIVE_DOUBLE());
    EXPECT_EQ(H5Tget_size(builder.GetID()), 16u);
    EXPECT_EQ(H5Tget_member_offset(builder.GetID(), 0), 8u);
    EXPECT_THROW(builder.Insert("beyond", 12, hdf_Datatype::NATIVE_DOUBLE()), hdf_Exception);

    // A dataspace identifier is no type: HDF5 cannot size it.
    hdf_CompoundBuilder other(4);
    const hdf_Datatype notAType(H5Screate(H5S_SCALAR));
    EXPECT_THROW(other.Insert("x", notAType), hdf_Exception);
    ExpectAssertException(other.Insert("y", hdf_Datatype()), "m_ObjectID >= 0");
}

TEST_F(HdfDatatypeTest, PredefinedTypesAreHdf5sOwnWithAReferenceOfTheirOwn) {
    const int before = H5Iget_ref(H5T_NATIVE_INT);
    {
        const hdf_Datatype type = hdf_Datatype::NATIVE_INT();
        EXPECT_EQ(type.GetID(), H5T_NATIVE_INT);
        EXPECT_EQ(H5Iget_ref(H5T_NATIVE_INT), before + 1);
    }
    EXPECT_EQ(H5Iget_ref(H5T_NATIVE_INT), before);

    EXPECT_EQ(hdf_Datatype::STD_I32BE().GetID(), H5T_STD_I32BE);
    EXPECT_EQ(H5Tget_order(hdf_Datatype::STD_U16BE().GetID()), H5T_ORDER_BE);
    EXPECT_EQ(hdf_Datatype::IEEE_F64LE().GetSize(), 8u);
    EXPECT_EQ(hdf_Datatype::NATIVE_UINT_LEAST16().GetID(), H5T_NATIVE_UINT_LEAST16);
    EXPECT_EQ(hdf_Datatype::NATIVE_B8().GetClass(), hdf_Datatype::TypeClassGetClassBitfield);
    EXPECT_EQ(hdf_Datatype::C_S1().GetClass(), hdf_Datatype::TypeClassGetClassString);
    EXPECT_EQ(hdf_Datatype::FORTRAN_S1().GetID(), H5T_FORTRAN_S1);
    EXPECT_EQ(hdf_Datatype::STD_REF_OBJ().GetClass(), hdf_Datatype::TypeClassGetClassReference);
    EXPECT_EQ(hdf_Datatype::NATIVE_LDOUBLE().GetClass(), hdf_Datatype::TypeClassGetClassFloat);
    EXPECT_EQ(hdf_Datatype::NATIVE_HSIZE().GetSize(), sizeof(hsize_t));
}

TEST_F(HdfDatatypeTest, CreatedTypesCopiesAndIllegalClasses) {
    hdf_Datatype opaque(hdf_Datatype::TypeClassCreateOpaque, 4);
    EXPECT_EQ(H5Tget_class(opaque.GetID()), H5T_OPAQUE);
    opaque.SetSize(6);
    const hdf_Datatype copy = opaque.Copy();
    EXPECT_EQ(copy.GetSize(), 6u);
    EXPECT_NE(copy.GetID(), opaque.GetID());
    EXPECT_FALSE(copy.Equal(hdf_Datatype::NATIVE_INT()));
    EXPECT_EQ(hdf_Datatype(hdf_Datatype::TypeClassCreateEnum, 4).GetClass(),
              hdf_Datatype::TypeClassGetClassEnum);
    EXPECT_EQ(hdf_Datatype(hdf_Datatype::TypeClassCreateCompound, 8).GetNMembers(), 0);
    ExpectAssertException(hdf_Datatype(hdf_Datatype::TypeClassCreate(3), 8),
                          "Illegal hdf_Datatype::TypeClassCreate value.");
    EXPECT_THROW(opaque.GetMemberName(0), hdf_Exception);
}

// A stored type matches the expected one when HDF5 converts it faithfully: another byte order
// does, an integer or a float whose size stays but whose bits differ does not.
TEST_F(HdfDatatypeTest, StoredTypesMatchWhenTheyConvertFaithfully) {
    const auto matches = [](hid_t stored, const hdf_Datatype& expected) {
        return hdf_MatchesType(hdf_Datatype(stored), expected);
    };
    EXPECT_TRUE(matches(H5Tcopy(H5T_STD_I32BE), hdf_Datatype::NATIVE_INT()));
    EXPECT_FALSE(matches(H5Tcopy(H5T_STD_U32LE), hdf_Datatype::NATIVE_INT()));
    const hid_t narrow = H5Tcopy(H5T_NATIVE_INT);
    H5Tset_precision(narrow, 24);
    EXPECT_FALSE(matches(narrow, hdf_Datatype::NATIVE_INT()));
    EXPECT_FALSE(matches(H5Tcopy(H5T_NATIVE_FLOAT), hdf_Datatype::NATIVE_INT()));

    EXPECT_TRUE(matches(H5Tcopy(H5T_IEEE_F64BE), hdf_Datatype::NATIVE_DOUBLE()));
    const hid_t shifted = H5Tcopy(H5T_NATIVE_DOUBLE);
    H5Tset_ebias(shifted, 1000);
    EXPECT_FALSE(matches(shifted, hdf_Datatype::NATIVE_DOUBLE()));
}

}  // namespace
