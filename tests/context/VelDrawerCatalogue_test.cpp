// "Drawer catalogue" keeps where every drawer lies, so that a read opens only the drawers its
// view meets.  A drawer nobody reads is not opened, a drawer read is checked against its row,
// and a distribution stored without the catalogue is still searched by opening its drawers.

#include <hdf5.h>

#include <vector>

#include "VelRowDrawersTest.h"
#include "context/VelDistributionAccess.h"

namespace {

using Values = std::vector<double>;

class VelDrawerCatalogueTest : public VelRowDrawersTest {
protected:
    // Rows 0 to 9 in drawers 1 to 10, row r holding r, then row 3 again in drawer 11 holding 33.
    void WriteRows() {
        const VelDistributionID d = MakeDistribution();
        for (int row = 0; row < 10; ++row) WriteRow(d, row, Values(e_RowLength, row));
        WriteRow(d, 3, Values(e_RowLength, 33));
        Close();
    }
    void CheckRows() {
        for (int row : {0, 2, 3, 9})
            EXPECT_EQ(ReadRow(First(), row), Values(e_RowLength, row == 3 ? 33 : row)) << row;
    }
};

using VelDrawerCatalogueDeathTest = VelDrawerCatalogueTest;

TEST_F(VelDrawerCatalogueDeathTest, AReadOpensOnlyTheDrawersItsViewMeets) {
    WriteRows();
    {
        RawFile raw(m_file.str(), H5F_ACC_RDWR);
        H5Ldelete(raw.id(), "00000003/00000002/00000002", H5P_DEFAULT);
    }
    Reopen(hdf_File::OpenFlagsReadOnly);
    CheckRows();
    ExpectAssertFailure(ReadRow(First(), 1),
                        "stored drawer /00000003/00000002 refused: it has no dataset \"00000002\"");
}

// A row that claims more than its drawer holds gets the drawer opened, and the drawer refused.
TEST_F(VelDrawerCatalogueDeathTest, ADrawerThatLiesElsewhereThanItsRowIsRefused) {
    WriteRows();
    std::vector<int> rows =
        RawFile(m_file.str(), H5F_ACC_RDONLY).ReadInts("00000003/Drawer catalogue");
    ASSERT_EQ(rows.size(), 11u * 8);
    const size_t drawer5 = 4 * 8;
    EXPECT_EQ(std::vector<int>(rows.begin() + drawer5, rows.begin() + drawer5 + 8),
              (std::vector<int>{5, 1, 0, 4, 4, 1, 0, 19}));
    rows[drawer5 + 3] = 3;
    RawFile(m_file.str(), H5F_ACC_RDWR).WriteInts("00000003/Drawer catalogue", rows);
    Reopen(hdf_File::OpenFlagsReadOnly);
    CheckRows();
    ExpectAssertFailure(ReadRow(First(), 4),
                        "stored distribution /00000003 refused: drawer 5 lies elsewhere in the "
                        "grid than \"Drawer catalogue\" says");
}

TEST_F(VelDrawerCatalogueTest, ADistributionStoredWithoutTheCatalogueIsSearchedDrawerByDrawer) {
    WriteRows();
    {
        RawFile raw(m_file.str(), H5F_ACC_RDWR);
        H5Ldelete(raw.id(), "00000003/Drawer catalogue", H5P_DEFAULT);
    }
    Reopen();
    EXPECT_FALSE(VelDistributionAccess::Get(First()).KnowsPlaces());
    CheckRows();
    WriteRow(First(), 2, Values(e_RowLength, 22));
    Reopen(hdf_File::OpenFlagsReadOnly);
    EXPECT_EQ(ReadRow(First(), 2), Values(e_RowLength, 22));
    EXPECT_EQ(VelDistributionRef(First()).Drawers().Size(), 12);
    Close();
    EXPECT_EQ(H5Lexists(RawFile(m_file.str(), H5F_ACC_RDONLY).id(), "00000003/Drawer catalogue",
                        H5P_DEFAULT),
              0);
}

}  // namespace
