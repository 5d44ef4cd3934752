#include "context/VelCollective.h"
#include "transfer/VelDrawerIO.h"
#include "transfer/VelDrawerOps.h"
#include "transfer/VelDrawerView.h"
#include "vel/core/VelAssert.h"

namespace {

// The drawers of the library's own file layout (VelPersistentDrawer.h).  Every transfer starts by
// bounding the drawers held open (VelDistribution::BoundOpenDrawers): a writer that makes a
// drawer per step without checkpointing would otherwise keep every step's group and dataset
// open.
class VelFileDrawerLayer : public VelDrawerIO {
public:
    VelDrawerBufferLayout SparseLayout(const VelDistributionRef& distribution,
                                       const VelDrawerID& drawer) override {
        return VelSparseLayout(distribution, drawer);
    }
    void ReadDense(const VelDrawerRequest& request) override {
        LetGo(request);
        VelReadDense(request);
    }
    void ReadSparse(const VelDrawerRequest& request) override {
        RequireSerial(request);
        LetGo(request);
        VelReadSparse(request);
    }
    void WriteDense(const VelDrawerRequest& request) override {
        LetGo(request);
        VelWriteDense(request);
    }
    void WriteSparse(const VelDrawerRequest& request) override {
        RequireSerial(request);
        LetGo(request);
        VelWriteSparse(request);
    }
    void CreateDenseDrawer(const VelDrawerRequest& request) override {
        LetGo(request);
        VelCreateDenseDrawer(request);
    }
    void CreateSparseDrawer(const VelDrawerRequest& request) override {
        RequireSerial(request);
        LetGo(request);
        VelCreateSparseDrawer(request);
    }
    void InitializePersistentDrawer(const VelDrawerRequest& request,
                                    const VelRangeValue& value) override {
        LetGo(request);
        VelInitializeDrawer(request, value);
    }

private:
    // Sparse drawers' arrays are sized by the whole drawer, which no rank's block would be.
    static void RequireSerial(const VelDrawerRequest& request) {
        const bool parallel = VelCollectiveOf(request.distribution.ID().ContextID().Value());
        VelVALIDATE(!parallel && "Sparse drawers are not offered in parallel contexts");
    }
    static void LetGo(const VelDrawerRequest& request) {
        VelDistributionOf(request).BoundOpenDrawers();
    }
};

}  // namespace

VelDrawerIO& VelDrawerLayer() {
    static VelFileDrawerLayer layer;
    return layer;
}
