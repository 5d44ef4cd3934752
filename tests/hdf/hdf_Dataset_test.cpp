#include "vel/hdf/hdf_Dataset.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "VelTestSupport.h"
#include "hdf_TestSupport.h"
#include "vel/hdf/hdf_File.h"

namespace {

using HdfDatasetTest = HdfTest;

hdf_Dataspace Space(const hdf_DimSpace& dims, const hdf_DimSpace& maxDims = hdf_DimSpace()) {
    return hdf_Dataspace::CreateSimple(dims, maxDims);
}

// The whole of an integer dataset, read with the C API.
std::vector<int> ReadAll(hid_t file, const char* name) {
    const hid_t dataset = H5Dopen2(file, name, H5P_DEFAULT);
    const hid_t space = H5Dget_space(dataset);
    std::vector<int> values(static_cast<size_t>(H5Sget_simple_extent_npoints(space)));
    H5Dread(dataset, H5T_NATIVE_INT, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data());
    H5Sclose(space);
    H5Dclose(dataset);
    return values;
}

TEST_F(HdfDatasetTest, HyperslabAndPointSelectionsMoveTheRightElements) {
    VelTempFile name("select.h5");
    const hdf_File file = hdf_File::Create(name.c_str(), hdf_File::CreateFlagsTruncate);
    std::vector<int> grid(6 * 8);
    for (int r = 0; r < 6; ++r)
        for (int c = 0; c < 8; ++c) grid[static_cast<size_t>(r * 8 + c)] = r * 10 + c;
    const hdf_Dataset d =
        file.DatasetCreate("grid", hdf_Datatype::NATIVE_INT(), Space(hdf_DimSpaceInput(6, 8)));
    d.Write(hdf_Datatype::NATIVE_INT(), hdf_Dataspace(), grid.data());
    EXPECT_EQ(ReadAll(file.GetID(), "grid"), grid);

    hdf_Dataspace slab = d.GetSpace();
    slab.SelectHyperslab(hdf_Dataspace::SeloperSet, hdf_DimSpaceInput(1, 2),
                         hdf_DimSpaceInput(2, 3), hdf_DimArrayInput(2, 2), hdf_DimArray());
    std::vector<int> four(4);
    d.Read(hdf_Datatype::NATIVE_INT(), Space(hdf_DimSpaceInput(4)), slab, four.data());
    EXPECT_EQ(four, (std::vector<int>{12, 15, 32, 35}));

    hdf_Dataspace points = d.GetSpace();
    hdf_CoordArray coords(3, 2);
    const hsize_t where[] = {5, 7, 0, 0, 2, 3};
    std::copy(where, where + 6, coords.Data());
    points.SelectElements(hdf_Dataspace::SeloperSet, coords);
    std::vector<int> three(3);
    d.Read(hdf_Datatype::NATIVE_INT(), Space(hdf_DimSpaceInput(3)), points, hdf_PropListTransfer(),
           three.data());
    EXPECT_EQ(three, (std::vector<int>{57, 0, 23}));

    // Writing through the point selection changes those elements only.
    const int marks[] = {-1, -2, -3};
    d.Write(hdf_Datatype::NATIVE_INT(), Space(hdf_DimSpaceInput(3)), points, marks);
    grid[5 * 8 + 7] = -1;
    grid[0] = -2;
    grid[2 * 8 + 3] = -3;
    EXPECT_EQ(ReadAll(file.GetID(), "grid"), grid);

    // A memory space smaller than the selection is HDF5's to refuse.
    EXPECT_THROW(
        d.Read(hdf_Datatype::NATIVE_INT(), Space(hdf_DimSpaceInput(2)), points, three.data()),
        hdf_Exception);
}

TEST_F(HdfDatasetTest, ChunkedDatasetsGrowWithExtend) {
    VelTempFile name("extend.h5");
    const hdf_File file = hdf_File::Create(name.c_str(), hdf_File::CreateFlagsTruncate);
    hdf_PropListDatasetCreation creation;
    creation.SetChunk(hdf_DimArrayInput(4));
    EXPECT_EQ(creation.GetLayout(), hdf_PropListDatasetCreation::LayoutChunked);
    const hdf_Dataset d =
        file.DatasetCreate("grow", hdf_Datatype::NATIVE_INT(),
                           Space(hdf_DimSpaceInput(4), hdf_DimSpaceInput(H5S_UNLIMITED)), creation);
    const int first[] = {1, 2, 3, 4};
    d.Write(hdf_Datatype::NATIVE_INT(), hdf_Dataspace(), first);

    d.Extend(hdf_DimArrayInput(10));
    hdf_Dataspace tail = d.GetSpace();
    EXPECT_EQ(tail.GetDims(), hdf_DimSpaceInput(10));
    tail.SelectHyperslab(hdf_Dataspace::SeloperSet, hdf_DimSpaceInput(4), hdf_DimSpace(),
                         hdf_DimArrayInput(6), hdf_DimArray());
    const int rest[] = {5, 6, 7, 8, 9, 10};
    d.Write(hdf_Datatype::NATIVE_INT(), Space(hdf_DimSpaceInput(6)), tail, rest);
    d.Extend(hdf_DimSpaceInput(12));
    EXPECT_EQ(ReadAll(file.GetID(), "grow"),
              (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 0, 0}));

    const hdf_PropListDatasetCreation stored = d.GetCreatePlist();
    EXPECT_EQ(stored.GetChunk().DimSpace(), hdf_DimSpaceInput(4));
    EXPECT_GE(d.GetStorageSize(), 12 * sizeof(int));
    EXPECT_EQ(d.Path(), "/grow");

    const hdf_Dataset fixed =
        file.DatasetCreate("fixed", hdf_Datatype::NATIVE_INT(), Space(hdf_DimSpaceInput(4)));
    EXPECT_EQ(fixed.GetStorageSize(), 0u);  // nothing written, nothing allocated
    EXPECT_THROW(fixed.Extend(hdf_DimSpaceInput(8)), hdf_Exception);
}

TEST_F(HdfDatasetTest, ObjectReferencesResolveToTheirDataset) {
    VelTempFile name("refs.h5");
    const hdf_File file = hdf_File::Create(name.c_str(), hdf_File::CreateFlagsTruncate);
    // A name longer than the first buffer ReferenceCreate tries.
    const std::string longName(1100, 'n');
    const hdf_Group group = file.GroupCreate(longName.c_str(), 0);
    const hdf_Dataset target =
        group.DatasetCreate("target", hdf_Datatype::NATIVE_INT(), Space(hdf_DimSpaceInput(1)));
    const hdf_Reference reference = target.ReferenceCreate();
    EXPECT_FALSE(reference.IsNull());
    EXPECT_TRUE(hdf_Reference().IsNull());

    const hid_t resolved = H5Rdereference2(file.GetID(), H5P_DEFAULT, H5R_OBJECT, reference.Data());
    H5O_info_t viaReference, direct;
    H5Oget_info(resolved, &viaReference);
    H5Oget_info(target.GetID(), &direct);
    EXPECT_EQ(viaReference.addr, direct.addr);
    H5Dclose(resolved);

    // References stored in a dataset come back and resolve through the wrapper.
    const hdf_Reference two[] = {reference, hdf_Reference()};
    const hdf_Dataset table =
        file.DatasetCreate("table", hdf_Datatype::STD_REF_OBJ(), Space(hdf_DimSpaceInput(2)));
    table.Write(hdf_Datatype::STD_REF_OBJ(), hdf_Dataspace(), two);
    hdf_Reference back[2];
    table.Read(hdf_Datatype::STD_REF_OBJ(), hdf_Dataspace(), back);
    EXPECT_EQ(back[0], reference);
    EXPECT_EQ(file.DatasetOpen(back[0]).Path(), "/" + longName + "/target");

    hdf_Reference toGroup;
    H5Rcreate(toGroup.Data(), file.GetID(), "/", H5R_OBJECT, -1);
    try {
        file.DatasetOpen(toGroup);
        ADD_FAILURE() << "a group reference opened as a dataset";
    } catch (const hdf_Exception& e) {
        EXPECT_STREQ(e.what(), "Reference is not to dataset.");
        EXPECT_EQ(e.GetMajor(), hdf_ErrorCode::MajorReference);
    }
}

TEST_F(HdfDatasetTest, CreationListEnumeratorsReachHdf5InTheirOwnOrder) {
    hdf_PropListDatasetCreation list;
    H5D_alloc_time_t allocTime;
    // Incremental and late are numbered the other way round in HDF5.
    list.SetAllocTime(hdf_PropListDatasetCreation::AllocTimeIncremental);
    H5Pget_alloc_time(list.GetID(), &allocTime);
    EXPECT_EQ(allocTime, H5D_ALLOC_TIME_INCR);
    list.SetAllocTime(hdf_PropListDatasetCreation::AllocTimeLate);
    H5Pget_alloc_time(list.GetID(), &allocTime);
    EXPECT_EQ(allocTime, H5D_ALLOC_TIME_LATE);
    H5Pset_alloc_time(list.GetID(), H5D_ALLOC_TIME_INCR);
    EXPECT_EQ(list.GetAllocTime(), hdf_PropListDatasetCreation::AllocTimeIncremental);
    ExpectAssertException(list.SetAllocTime(hdf_PropListDatasetCreation::AllocTime(4)),
                          "Illegal hdf_PropListDatasetCreation::AllocTime value.");

    list.SetFillTime(hdf_PropListDatasetCreation::FillTimeNever);
    EXPECT_EQ(list.GetFillTime(), hdf_PropListDatasetCreation::FillTimeNever);
    ExpectAssertException(list.SetFillTime(hdf_PropListDatasetCreation::FillTime(3)),
                          "Illegal hdf_PropListDatasetCreation::FillTime value.");

    list.SetLayout(hdf_PropListDatasetCreation::LayoutCompact);
    ExpectAssertException(list.SetLayout(hdf_PropListDatasetCreation::Layout(3)),
                          "Illegal hdf_PropListDatasetCreation::Layout value.");
    EXPECT_EQ(H5Pget_layout(list.GetID()), H5D_COMPACT);  // the illegal value changed nothing
    H5Pset_layout(list.GetID(), H5D_VIRTUAL);
    ExpectAssertException(list.GetLayout(), "Illegal H5D_layout_t value.");

    // Seven chunk dimensions are the most a chunk read back may have; HDF5 allows 32.
    const hsize_t extents[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    H5Pset_chunk(list.GetID(), 7, extents);
    EXPECT_EQ(list.GetChunk().DimSpace(), hdf_DimSpace(7, extents));
    H5Pset_chunk(list.GetID(), 8, extents);
    try {
        list.GetChunk();
        ADD_FAILURE() << "an eight-dimensional chunk was read back";
    } catch (const hdf_Exception& e) {
        EXPECT_STREQ(e.what(), "Chunk has more than 7 dimensions.");
    }
}

TEST_F(HdfDatasetTest, FillValuesAndTransferListsTakeEffect) {
    VelTempFile name("fill.h5");
    const hdf_File file = hdf_File::Create(name.c_str(), hdf_File::CreateFlagsTruncate);
    hdf_PropListDatasetCreation creation;
    const int seven = 7;
    creation.SetFillValue(hdf_Datatype::NATIVE_INT(), &seven);
    creation.SetAllocTime(hdf_PropListDatasetCreation::AllocTimeEarly);
    int fill = 0;
    creation.GetFillValue(hdf_Datatype::NATIVE_INT(), &fill);
    EXPECT_EQ(fill, 7);
    file.DatasetCreate("filled", hdf_Datatype::NATIVE_INT(), Space(hdf_DimSpaceInput(3)), creation);
    EXPECT_EQ(ReadAll(file.GetID(), "filled"), (std::vector<int>{7, 7, 7}));

    hdf_PropListTransfer transfer;
    transfer.SetBuffer(1 << 20, nullptr, nullptr);
    EXPECT_EQ(H5Pget_buffer(transfer.GetID(), nullptr, nullptr), size_t{1} << 20);
    ExpectAssertException(transfer.SetBuffer(-1, nullptr, nullptr), "size >= 0");
}

// Counts the blocks HDF5 takes and gives back through a transfer list's memory manager.
struct Counter {
    int allocated = 0;
    int freed = 0;
};

void* CountingAllocate(size_t size, void* info) {
    ++static_cast<Counter*>(info)->allocated;
    return std::malloc(size);
}

void CountingFree(void* block, void* info) {
    if (block) ++static_cast<Counter*>(info)->freed;
    std::free(block);
}

TEST_F(HdfDatasetTest, VariableLengthStringsGoThroughTheCallersMemoryManager) {
    VelTempFile name("strings.h5");
    const hdf_File file = hdf_File::Create(name.c_str(), hdf_File::CreateFlagsTruncate);
    const hdf_Datatype text = hdf_Datatype::TypeString();
    const hdf_Dataspace space = Space(hdf_DimSpaceInput(2));
    const hdf_Dataset d = file.DatasetCreate("names", text, space);
    const char* written[] = {"nodes", "a longer element name"};
    d.Write(text, hdf_Dataspace(), written);

    char* independent[2] = {};
    const hid_t dataset = H5Dopen2(file.GetID(), "names", H5P_DEFAULT);
    H5Dread(dataset, text.GetID(), H5S_ALL, H5S_ALL, H5P_DEFAULT, independent);
    EXPECT_STREQ(independent[1], "a longer element name");
    H5Dvlen_reclaim(text.GetID(), space.GetID(), H5P_DEFAULT, independent);
    H5Dclose(dataset);

    Counter counter;
    hdf_PropListTransfer transfer;
    transfer.SetVlenMemManager(CountingAllocate, &counter, CountingFree, &counter);
    char* back[2] = {};
    d.Read(text, hdf_Dataspace(), hdf_Dataspace(), transfer, back);
    EXPECT_STREQ(back[0], "nodes");
    EXPECT_EQ(counter.allocated, 2);
    d.VlenReclaim(text, space, transfer, back);
    EXPECT_EQ(counter.freed, 2);
}

}  // namespace
