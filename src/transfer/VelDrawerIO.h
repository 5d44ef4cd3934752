#ifndef VEL_TRANSFER_VELDRAWERIO_H
#define VEL_TRANSFER_VELDRAWERIO_H

#include "vel/context/VelDistributionRef.h"
#include "vel/context/VelRangeValue.h"
#include "vel/transfer/VelBufferSet.h"
#include "vel/transfer/VelRangeViewArgs.h"
#include "vel/transfer/VelTransferArgs.h"
#include "vel/transfer/VelTransientDrawer.h"

// The boundary between a transfer and the drawers that store a distribution's values.  A
// transfer runs its whole phase machine (arguments normalised, view fixed, buffers checked and
// their inner addresses set) and then makes exactly one of these calls; the drawer layer moves
// the values between the inner buffers and the file.  Nothing is copied on the way: the
// request refers to the transfer's own objects, and the inner buffers are the caller's (or the
// pool's) memory.

// One operation's inputs.  `view` and `args` are normalised (every optional choice the
// operation reads is defined); `drawer` carries the view's compartment, per-dimension sizes,
// range type, serialization, and the inner buffers with their sizes and element types.
struct VelDrawerRequest {
    const VelDistributionRef& distribution;
    const VelRangeViewArgs& view;
    const VelTransferArgs& args;
    const VelTransientDrawer& drawer;
};

// What a later sparse transfer on an existing sparse drawer needs of it: the bytes of data and
// the element type of each of the four buffers.
struct VelDrawerBufferLayout {
    VelBufferSizes sizes;
    VelBufferDataKeys keys;
};

class VelDrawerIO {
public:
    virtual ~VelDrawerIO() = default;

    // The buffer layout of `drawer`, an existing sparse or sparse-symmetric drawer of
    // `distribution`.
    virtual VelDrawerBufferLayout SparseLayout(const VelDistributionRef& distribution,
                                               const VelDrawerID& drawer) = 0;

    // Standard serialization: the selected values from the distribution's drawers into bufMain,
    // searching the indicated drawer only when lookInOnlyOneDrawer is true.
    virtual void ReadDense(const VelDrawerRequest& request) = 0;
    // Sparse serializations: the single drawer's arrays into the four buffers.
    virtual void ReadSparse(const VelDrawerRequest& request) = 0;
    // Standard serialization: bufMain into the existing drawers that hold the selection.
    virtual void WriteDense(const VelDrawerRequest& request) = 0;
    // Sparse serializations: the four buffers into the single existing drawer.
    virtual void WriteSparse(const VelDrawerRequest& request) = 0;
    // A new drawer over the view's compartment, filled from bufMain (chunked when the
    // arguments give chunk sizes).
    virtual void CreateDenseDrawer(const VelDrawerRequest& request) = 0;
    // A new sparse drawer of sparseNNonzero nonzeros, filled from the four buffers.
    virtual void CreateSparseDrawer(const VelDrawerRequest& request) = 0;
    // A new drawer over the view's compartment with every value `value`; no buffer is read.
    virtual void InitializePersistentDrawer(const VelDrawerRequest& request,
                                            const VelRangeValue& value) = 0;

    // The drawer layer transfers call: one put in place by Install, else the library's own.
    static VelDrawerIO& Current();
    // Puts `io` in place of the drawer layer (null goes back to the library's own) and returns
    // the one that was in place before, or null when that was the library's own.
    static VelDrawerIO* Install(VelDrawerIO* io);
};

// The library's own drawer layer.
VelDrawerIO& VelDrawerLayer();

#endif
