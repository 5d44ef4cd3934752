#include "transfer/VelDrawerIO.h"
#include "transfer/VelDrawerOps.h"

namespace {

// The drawers of the library's own file layout (VelPersistentDrawer.h).
class VelFileDrawerLayer : public VelDrawerIO {
public:
    VelDrawerBufferLayout SparseLayout(const VelDistributionRef& distribution,
                                       const VelDrawerID& drawer) override {
        return VelSparseLayout(distribution, drawer);
    }
    void ReadDense(const VelDrawerRequest& request) override { VelReadDense(request); }
    void ReadSparse(const VelDrawerRequest& request) override { VelReadSparse(request); }
    void WriteDense(const VelDrawerRequest& request) override { VelWriteDense(request); }
    void WriteSparse(const VelDrawerRequest& request) override { VelWriteSparse(request); }
    void CreateDenseDrawer(const VelDrawerRequest& request) override {
        VelCreateDenseDrawer(request);
    }
    void CreateSparseDrawer(const VelDrawerRequest& request) override {
        VelCreateSparseDrawer(request);
    }
    void InitializePersistentDrawer(const VelDrawerRequest& request,
                                    const VelRangeValue& value) override {
        VelInitializeDrawer(request, value);
    }
};

}  // namespace

VelDrawerIO& VelDrawerLayer() {
    static VelFileDrawerLayer layer;
    return layer;
}
