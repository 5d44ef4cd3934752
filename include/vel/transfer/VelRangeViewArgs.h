#ifndef VEL_TRANSFER_VELRANGEVIEWARGS_H
#define VEL_TRANSFER_VELRANGEVIEWARGS_H

#include "vel/VelExport.h"
#include "vel/context/VelCSetID.h"
#include "vel/context/VelCollectionID.h"
#include "vel/context/VelOCompartment.h"
#include "vel/core/VelArray.h"
#include "vel/platform/aio_Stream.h"
#include "vel/transfer/VelDimSelection.h"
#include "vel/transfer/VelSerializationType.h"

// The view of a transfer: one selection per dimension, in the transfer's dimension order, and
// the serialization of the values in the buffers.  Each dimension must come to name a different
// collection of the distribution's grid; that is checked by VelNormalizeArgs against the grid,
// not here.  Every operation returns the object, for chaining.
class VEL_API VelRangeViewArgs {
public:
    VelRangeViewArgs() = default;

    // Resizes the selections to `n` dimensions; selections added are empty.
    VelRangeViewArgs& SetSize(int n);
    VelRangeViewArgs& SetSerialization(const VelSerializationType& serialization);
    // One CSet selection per entry of `oc`, in its order.
    VelRangeViewArgs& SetForTransientDrawer(const VelOCompartment& oc);
    // Dimension d selects the CSet `cset`.
    VelRangeViewArgs& SetDim(int d, const VelCSetID& cset);
    // Dimension d selects positions i to j, both included, of `collection`.
    VelRangeViewArgs& SetDimOrdinalRange(int d, const VelCollectionID& collection, int i, int j);

    int Size() const { return m_dimSelections.Size(); }
    const VelDimSelection& DimSelection(int d) const { return m_dimSelections[d]; }
    const VelArray<VelDimSelection>& DimSelections() const { return m_dimSelections; }
    const VelSerializationType& SerializationType() const { return m_serializationType; }

    // "dimSelections: ( <selection> ... )" and "serializationType: <type>", each on its line.
    void WriteToOstream(aio_ostream& os) const;

private:
    VelArray<VelDimSelection> m_dimSelections;
    VelSerializationType m_serializationType;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelRangeViewArgs& args);

#endif
