#include "transfer/VelDrawerIO.h"
#include "transfer/VelDrawerOps.h"
#include "transfer/VelDrawerView.h"

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
        LetGo(request);
        VelReadSparse(request);
    }
    void WriteDense(const VelDrawerRequest& request) override {
        LetGo(request);
        VelWriteDense(request);
    }
    void WriteSparse(const VelDrawerRequest& request) override {
        LetGo(request);
        VelWriteSparse(request);
    }
    void CreateDenseDrawer(const VelDrawerRequest& request) override {
        LetGo(request);
        VelCreateDenseDrawer(request);
    }
    void CreateSparseDrawer(const VelDrawerRequest& request) override {
        LetGo(request);
        VelCreateSparseDrawer(request);
    }
    void InitializePersistentDrawer(const VelDrawerRequest& request,
                                    const VelRangeValue& value) override {
        LetGo(request);
        VelInitializeDrawer(request, value);
    }

private:
    static void LetGo(const VelDrawerRequest& request) {
        VelDistributionOf(request).BoundOpenDrawers();
    }
};

}  // namespace

VelDrawerIO& VelDrawerLayer() {
    static VelFileDrawerLayer layer;
    return layer;
}
