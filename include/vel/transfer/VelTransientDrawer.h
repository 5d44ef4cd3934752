#ifndef VEL_TRANSFER_VELTRANSIENTDRAWER_H
#define VEL_TRANSFER_VELTRANSIENTDRAWER_H

#include "vel/VelExport.h"
#include "vel/context/VelOCompartment.h"
#include "vel/context/VelRangeType.h"
#include "vel/core/VelArray.h"
#include "vel/transfer/VelBufferSet.h"
#include "vel/transfer/VelQualPointer.h"
#include "vel/transfer/VelSerializationType.h"

// What a caller sees of a transfer's data for its current view: the values' type and layout,
// the view's compartment and extent, and where in the buffers the data of each buffer begins.
// It lives inside its VelTransfer, which fills it in as the transfer goes through its phases,
// and is handed out by reference (GetTransientDrawer, ExecRead); the addresses point into the
// caller's (or the pool's) buffers, never into a copy.
class VEL_API VelTransientDrawer {
public:
    VelTransientDrawer() = default;
    VelTransientDrawer(const VelTransientDrawer&) = delete;
    VelTransientDrawer& operator=(const VelTransientDrawer&) = delete;

    // True when the transfer does not read: the data are the caller's values going out.
    bool IsReadOnly() const { return m_readOnly; }
    // Where each buffer's data begin (past the padding of a padded buffer); null for a buffer
    // the view does not use.
    const VelBufferSet& InnerBuffers() const { return m_innerBufferSet; }
    const VelRangeType& RangeType() const { return m_rangeType; }
    const VelSerializationType& SerializationType() const { return m_serializationType; }
    // One CSet ID per dimension of the view, in the view's dimension order; a dimension
    // selected by ordinal range gives its collection with a null index.  Created by CheckView.
    const VelOCompartment& OCompartment() const { return m_oCompartment; }
    // Set once the transfer has begun its first view.
    bool IsInitialized() const { return m_initialized; }
    // The number of positions the view selects in each dimension.
    const VelArray<int>& Sizes() const { return m_sizes; }
    // The bytes of data in each buffer, without padding.
    const VelBufferSizes& BufferSizes() const { return m_innerBufferSizes; }
    // The element type held in each buffer.
    const VelBufferDataKeys& DataKeys() const { return m_dataKeys; }

    // Buffer e's data: its inner address, its element type, and the read-only flag.
    VelQualPointer Data(int e) const;

private:
    friend class VelTransfer;

    bool m_readOnly = false;
    VelBufferSet m_innerBufferSet;
    VelRangeType m_rangeType;
    VelSerializationType m_serializationType;
    VelOCompartment m_oCompartment;
    bool m_initialized = false;
    VelArray<int> m_sizes;
    VelBufferSizes m_innerBufferSizes;
    VelBufferDataKeys m_dataKeys;
};

#endif
