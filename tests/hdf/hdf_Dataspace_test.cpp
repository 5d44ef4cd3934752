#include "vel/hdf/hdf_Dataspace.h"

#include <gtest/gtest.h>

#include <climits>
#include <new>
#include <vector>

#include "hdf_TestSupport.h"
#include "vel/hdf/hdf_CoordArray.h"
#include "vel/hdf/hdf_DimArray.h"
#include "vel/hdf/hdf_DimSpace.h"

namespace {

using HdfDataspaceTest = HdfTest;

TEST(HdfDimSpaceTest, ProductsHugenessAndTheNarrowingToThirtyTwoBits) {
    EXPECT_EQ(hdf_DimSpace().Product(), 0u);
    EXPECT_EQ(hdf_DimSpaceInput(2, 3, 4).Product(), 24u);
    EXPECT_EQ(hdf_DimSpaceInput(1, 2, 3, 4, 5, 6, 7).Rank(), 7);
    EXPECT_TRUE(hdf_DimSpaceInput(1, 2147483648ull).IsHuge());
    EXPECT_FALSE(hdf_DimSpaceInput(1, 2147483647ull).IsHuge());
    ExpectAssertException(hdf_DimSpaceInput(1ull << 32, 1ull << 32).Product(),
                          "Product() does not overflow");

    const int32_t negative[] = {3, -1};
    ExpectAssertException(hdf_DimSpaceInput(2, negative), "extents[i] >= 0");
    const int64_t wide[] = {5, 6};
    EXPECT_EQ(hdf_DimSpaceInput(2, wide), hdf_DimSpaceInput(5, 6));
    const hsize_t eight[8] = {};
    ExpectAssertException(hdf_DimSpace(8, eight), "rank >= 0 && rank <= MaxRank");
    ExpectAssertException(hdf_DimSpaceInput(4)[1], "i >= 0 && i < m_rank");

    const hdf_DimArray narrowed(hdf_DimSpaceInput(5, (1ull << 32) + 7));
    EXPECT_EQ(narrowed[0], 5);
    EXPECT_EQ(narrowed[1], 7);
    EXPECT_EQ(narrowed.DimSpace(), hdf_DimSpaceInput(5, 7));
    ExpectAssertException(hdf_DimArrayInput(-2).DimSpace(), "m_sizes[i] >= 0");

    EXPECT_EQ(hdf_DimArray().sizeInData(), 0);
    EXPECT_EQ(hdf_SetArray().sizeInData(), 0);
    EXPECT_EQ(hdf_DimArrayInput(3, 4).Product(), 12);
    const int32_t counts[] = {65536, 65536, 65536};
    EXPECT_EQ(hdf_SetArray(3, counts).sizeInData(), int64_t{1} << 48);
}

TEST(HdfCoordArrayTest, CoordinatesAreRowsOfRankAndOverflowingSizesFailToAllocate) {
    hdf_CoordArray coords(3, 2);
    coords.At(2, 1) = 9;
    EXPECT_EQ(coords.Data()[5], 9u);
    const hdf_CoordArray copy(coords);
    coords.At(2, 1) = 1;
    EXPECT_EQ(copy.At(2, 1), 9u);
    ExpectAssertException(coords.At(3, 0),
                          "point >= 0 && point < m_points && dimension >= 0 && dimension < m_rank");
    EXPECT_THROW(coords.Allocate(INT_MAX, INT_MAX), std::bad_alloc);
    EXPECT_EQ(coords.Points(), 3);  // a failed allocation keeps the old buffer
}

TEST_F(HdfDataspaceTest, SimpleSpacesAreFixedUnlessGivenMaxima) {
    const hdf_Dataspace fixed =
        hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(4, 5), hdf_DimSpace());
    hsize_t dims[2], maxDims[2];
    ASSERT_EQ(H5Sget_simple_extent_dims(fixed.GetID(), dims, maxDims), 2);
    EXPECT_EQ(dims[1], 5u);
    EXPECT_EQ(maxDims[0], 4u);
    EXPECT_EQ(maxDims[1], 5u);
    EXPECT_EQ(fixed.GetMaxDims(), fixed.GetDims());

    hdf_Dataspace growing =
        hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(4), hdf_DimSpaceInput(H5S_UNLIMITED));
    EXPECT_EQ(growing.GetMaxDims(), hdf_DimSpaceInput(H5S_UNLIMITED));
    growing.SetExtentSimple(hdf_DimSpaceInput(6), hdf_DimSpaceInput(10));
    H5Sget_simple_extent_dims(growing.GetID(), dims, maxDims);
    EXPECT_EQ(dims[0], 6u);
    EXPECT_EQ(maxDims[0], 10u);
    const hdf_Dataspace copy = growing.Copy();
    EXPECT_NE(copy.GetID(), growing.GetID());
    EXPECT_EQ(copy.GetDims(), hdf_DimSpaceInput(6));
    EXPECT_EQ(copy.GetRank(), 1);

    ExpectAssertException(
        hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(4, 5), hdf_DimSpaceInput(4)),
        "maxDims.Rank() == 0 || maxDims.Rank() == dims.Rank()");
    EXPECT_THROW(hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(4), hdf_DimSpaceInput(3)),
                 hdf_Exception);
    hdf_Dataspace refused =
        hdf_Dataspace::CreateSimple_NoThrow(hdf_DimSpaceInput(4), hdf_DimSpaceInput(3));
    EXPECT_TRUE(refused.IsEmpty());
    EXPECT_NE(std::string(refused.GetError().what()).find("H5Screate_simple"), std::string::npos);
}

TEST_F(HdfDataspaceTest, SelectionsReachHdf5AsGiven) {
    hdf_Dataspace space = hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(6, 8), hdf_DimSpace());
    space.SelectHyperslab(hdf_Dataspace::SeloperSet, hdf_DimSpaceInput(1, 2),
                          hdf_DimSpaceInput(2, 3), hdf_DimArrayInput(2, 2), hdf_DimArray());
    EXPECT_EQ(H5Sget_select_npoints(space.GetID()), 4);
    space.SelectHyperslab(hdf_Dataspace::SeloperSet, hdf_DimSpaceInput(0, 0), hdf_DimSpace(),
                          hdf_DimArrayInput(1, 1), hdf_DimArrayInput(2, 3));
    hsize_t start[2], end[2];
    H5Sget_select_bounds(space.GetID(), start, end);
    EXPECT_EQ(end[0], 1u);
    EXPECT_EQ(end[1], 2u);
    space.OffsetSimple(hdf_DimSpaceInput(1, 1));
    H5Sget_select_bounds(space.GetID(), start, end);
    EXPECT_EQ(start[0], 1u);
    EXPECT_EQ(end[1], 3u);

    hdf_CoordArray points(3, 2);
    points.At(0, 0) = 5;
    points.At(0, 1) = 7;
    points.At(2, 0) = 2;
    points.At(2, 1) = 3;
    space.SelectNone();
    EXPECT_EQ(H5Sget_select_npoints(space.GetID()), 0);
    space.SelectElements(hdf_Dataspace::SeloperSet, points);
    std::vector<hsize_t> listed(6);
    H5Sget_select_elem_pointlist(space.GetID(), 0, 3, listed.data());
    EXPECT_EQ(listed, (std::vector<hsize_t>{5, 7, 0, 0, 2, 3}));

    ExpectAssertException(space.SelectElements(hdf_Dataspace::SeloperSet, hdf_CoordArray(1, 3)),
                          "coords.Rank() == rank");
    ExpectAssertException(space.SelectElements(hdf_Dataspace::Seloper(6), points),
                          "Illegal hdf_Dataspace::Seloper value.");
    // A scalar space has rank 0: its point selection reaches HDF5, which refuses it.
    hdf_Dataspace scalar(H5Screate(H5S_SCALAR));
    EXPECT_THROW(scalar.SelectElements(hdf_Dataspace::SeloperSet, hdf_CoordArray(1, 0)),
                 hdf_Exception);
    ExpectAssertException(
        space.SelectHyperslab(hdf_Dataspace::SeloperOr, hdf_DimSpaceInput(0, 0), hdf_DimSpace(),
                              hdf_DimArrayInput(1), hdf_DimArray()),
        "count.Rank() == start.Rank()");
}

}  // namespace
