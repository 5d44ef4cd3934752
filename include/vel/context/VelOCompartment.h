#ifndef VEL_CONTEXT_VELOCOMPARTMENT_H
#define VEL_CONTEXT_VELOCOMPARTMENT_H

#include "vel/VelExport.h"
#include "vel/context/VelCSetID.h"
#include "vel/core/VelArray.h"
#include "vel/platform/aio_Stream.h"

// The largest number of dimensions a transfer or compartment can have, exclusive: an ordered
// compartment holds fewer entries than this.
constexpr int VelMAX_DIMENSIONS = 7;

// An ordered compartment: one CSet per dimension, in dimension order.  It is how a transfer
// states its view, so the order is the caller's and is kept.  Entries may be null CSet IDs (a
// dimension selected by ordinal range contributes its collection with a null index), but no two
// entries may belong to the same collection.
//
// A default-constructed compartment is not yet created: it may be built once, by assigning an
// array to it, and nothing may be read from it before that ("m_created").  Copies (construction
// and assignment from another compartment) take the other's state as it is.
class VEL_API VelOCompartment {
public:
    VelOCompartment() = default;
    // Fewer than VelMAX_DIMENSIONS entries (assertion), each of a different collection.
    explicit VelOCompartment(const VelArray<VelCSetID>& ids);

    // Builds a compartment that was not yet created, with the checks of the constructor.
    VelOCompartment& operator=(const VelArray<VelCSetID>& ids);

    bool IsCreated() const { return m_created; }
    int Size() const;
    const VelCSetID& operator[](int i) const;
    const VelArray<VelCSetID>& Array() const;

    // "(", then " " and each CSet ID, then " )".
    void WriteToOstream(aio_ostream& os) const;

private:
    void Build(const VelArray<VelCSetID>& ids);
    void CheckCreated() const;

    VelArray<VelCSetID> m_Array;
    bool m_created = false;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelOCompartment& oc);

#endif
