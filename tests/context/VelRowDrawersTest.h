#ifndef VEL_TESTS_CONTEXT_VELROWDRAWERSTEST_H
#define VEL_TESTS_CONTEXT_VELROWDRAWERSTEST_H

// The fixture of the checkpoint and failure tests: the stored-objects context, and a double
// distribution over collections 0 (10 members) and 1 (20 members) written a row per drawer, as a
// solver writes a step per drawer.

#include <vector>

#include "VelStoredObjectsTest.h"
#include "vel/context/VelDistributionRef.h"
#include "vel/context/VelGrid.h"
#include "vel/context/VelRangeType.h"
#include "vel/transfer/VelTransfer.h"

class VelRowDrawersTest : public VelStoredObjectsTest {
protected:
    static constexpr int e_RowLength = 20;

    VelDistributionID MakeDistribution() {
        return Ref().CreateDistribution(VelGrid(TestArray({Collection(0), Collection(1)})),
                                        VelRangeType(VelTypeKeyDouble));
    }
    VelDistributionID First() const { return Ref().Distributions()[0]; }

    // A new drawer over member `row` of collection 0 and every member of collection 1.
    void WriteRow(const VelDistributionID& distribution, int row, std::vector<double> values) {
        const VelCSetID cset = VelCollectionRef(Collection(0)).CreateCSet(&row, 1);
        VelTransfer transfer{VelDistributionRef(distribution)};
        transfer.SetMakeNewDrawer().SetBufferPadding(false).SetDims(
            cset, VelCollectionRef(Collection(1)).BiggestCSetID());
        transfer.CheckView();
        transfer.SetBuffer(VelbufMain, values.data(), transfer.RequiredBufferSize(VelbufMain));
        transfer.ExecWrite();
        transfer.RelinquishBuffers();
    }

    // Row `row` as the newest drawer holding it gives it.
    std::vector<double> ReadRow(const VelDistributionID& distribution, int row) {
        std::vector<double> values(e_RowLength, -1);
        VelTransfer transfer{VelDistributionRef(distribution)};
        transfer.SetRead().SetBufferPadding(false).SetDimOrdinalRange(0, Collection(0), row, row);
        transfer.SetDim(1, VelCollectionRef(Collection(1)).BiggestCSetID());
        transfer.CheckView();
        transfer.SetBuffer(VelbufMain, values.data(), transfer.RequiredBufferSize(VelbufMain));
        transfer.ExecRead();
        transfer.RelinquishBuffers();
        return values;
    }
};

#endif
