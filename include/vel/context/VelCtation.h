#ifndef VEL_CONTEXT_VELCTATION_H
#define VEL_CONTEXT_VELCTATION_H

#include "vel/VelExport.h"
#include "vel/context/VelCompartment.h"
#include "vel/core/VelArray.h"
#include "vel/platform/aio_Stream.h"

// A list of compartments on one grid: the content of a DSet.  It holds at least one compartment,
// all on the grid of the first (same collections position by position), and keeps them sorted by
// the compartments' own order, so the order they were given in does not matter to equality or
// to what is stored.
class VEL_API VelCtation {
public:
    explicit VelCtation(const VelArray<VelCompartment>& compartments);

    int Size() const { return m_compartments.Size(); }
    const VelCompartment& operator[](int i) const { return m_compartments[i]; }

    // Same number of compartments and, position by position, equal compartments.
    bool operator==(const VelCtation& other) const;
    bool operator!=(const VelCtation& other) const { return !(*this == other); }

    // "{" and a line break; per compartment "  {", " " and each CSet ID, " }" and a line break;
    // then "}".
    void WriteToOstream(aio_ostream& os) const;

private:
    VelArray<VelCompartment> m_compartments;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelCtation& ctation);

#endif
