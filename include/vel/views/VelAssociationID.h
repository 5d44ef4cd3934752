#ifndef VEL_VIEWS_VELASSOCIATIONID_H
#define VEL_VIEWS_VELASSOCIATIONID_H

#include "vel/VelExport.h"
#include "vel/context/VelDynamicID.h"
#include "vel/types/VelRecHandle.h"
#include "vel/types/VelTypeID.h"

class VelAssociationIDRepr;

// Names the association of one association type in a view: the table of its pairs.  It holds a
// shared, counted handle on its identity: the association's dynamic identifier (category 65, the
// context, the association's serial and the view's table number) and its type.  A view hands
// them out (VelView::AssociationID); later views of the same lineage keep them.
//
// Order: the dynamic identifiers' order; the null identifier sorts first.
class VEL_API VelAssociationID {
public:
    // The null identifier.
    VelAssociationID();
    VelAssociationID(const VelDynamicID& id, const VelTypeID& typeID);

    bool IsNull() const;
    VelDynamicID DynamicID() const;
    VelTypeID TypeID() const;

    int Compare(const VelAssociationID& other) const;
    bool operator==(const VelAssociationID& other) const { return Compare(other) == 0; }
    bool operator!=(const VelAssociationID& other) const { return Compare(other) != 0; }

private:
    VelRecHandle<VelAssociationIDRepr> m_Handle;
};

#endif
