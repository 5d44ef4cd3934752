#ifndef VEL_CONTEXT_VELDISTRIBUTIONREF_H
#define VEL_CONTEXT_VELDISTRIBUTIONREF_H

#include "vel/VelExport.h"
#include "vel/context/VelDistributionID.h"
#include "vel/context/VelGrid.h"
#include "vel/context/VelRangeType.h"
#include "vel/core/VelArray.h"

class VelDistribution;

// A light handle on a distribution.  It holds only the ID and finds the distribution through
// the manager on every call, so using it after its context was closed is a validation failure.
// References it returns stay valid while the context is open.
class VEL_API VelDistributionRef {
public:
    explicit VelDistributionRef(const VelDistributionID& id) : m_id(id) {}

    const VelDistributionID& ID() const { return m_id; }

    // The collections the values are laid over, one per dimension, in the grid's order.
    const VelGrid& Grid() const;
    int NumDimensions() const;
    const VelRangeType& RangeType() const;

    // The distribution's drawers, in number order.
    VelArray<VelDrawerID> Drawers() const;
    int NumDrawers() const;

private:
    // Drawer handles let go of their drawer's storage through the library's own access.
    friend struct VelDistributionAccess;
    void CloseDrawer(const VelDrawerID& drawer) const;

    VelDistribution& Target() const;

    VelDistributionID m_id;
};

#endif
