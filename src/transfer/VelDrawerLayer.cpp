#include "transfer/VelDrawerIO.h"
#include "vel/core/VelAssert.h"

// The drawers (their groups, datasets and attributes in the file) are not part of the library
// yet.  Until they are, a transfer goes through every phase and check up to the drawer call and
// stops there, naming what is missing, instead of pretending that values were moved.
namespace {

class VelMissingDrawerLayer : public VelDrawerIO {
public:
    VelDrawerBufferLayout SparseLayout(const VelDistributionRef&, const VelDrawerID&) override {
        VelASSERT(!"drawer layer missing: cannot describe an existing sparse drawer");
    }
    void ReadDense(const VelDrawerRequest&) override {
        VelASSERT(!"drawer layer missing: ExecRead cannot read drawers");
    }
    void ReadSparse(const VelDrawerRequest&) override {
        VelASSERT(!"drawer layer missing: ExecRead cannot read a sparse drawer");
    }
    void WriteDense(const VelDrawerRequest&) override {
        VelASSERT(!"drawer layer missing: ExecWrite cannot write drawers");
    }
    void WriteSparse(const VelDrawerRequest&) override {
        VelASSERT(!"drawer layer missing: ExecWrite cannot write a sparse drawer");
    }
    void CreateDenseDrawer(const VelDrawerRequest&) override {
        VelASSERT(!"drawer layer missing: ExecWrite cannot create a drawer");
    }
    void CreateSparseDrawer(const VelDrawerRequest&) override {
        VelASSERT(!"drawer layer missing: ExecWrite cannot create a sparse drawer");
    }
    void InitializePersistentDrawer(const VelDrawerRequest&, const VelRangeValue&) override {
        VelASSERT(!"drawer layer missing: InitializePersistentDrawer cannot create a drawer");
    }
};

}  // namespace

VelDrawerIO& VelDrawerLayer() {
    static VelMissingDrawerLayer layer;
    return layer;
}
