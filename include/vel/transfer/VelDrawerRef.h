#ifndef VEL_TRANSFER_VELDRAWERREF_H
#define VEL_TRANSFER_VELDRAWERREF_H

#include "vel/VelExport.h"
#include "vel/context/VelDistributionID.h"
#include "vel/platform/cow_String.h"
#include "vel/transfer/VelDrawerDescription.h"

// A light handle on one drawer of a distribution (VelDistributionRef::Drawers lists them).  It
// holds only the ID; the drawer's context must be open on every call.
//
// The drawer layer opens a drawer (reads and checks its "Drawer attributes", opens its
// datasets) the first time a transfer or a handle needs it and keeps it open; Close lets go of
// those HDF5 objects, which a reader stepping through many drawers may want, and the next use
// opens the drawer again.
class VEL_API VelDrawerRef {
public:
    explicit VelDrawerRef(const VelDrawerID& id) : m_id(id) {}

    const VelDrawerID& ID() const { return m_id; }
    // The drawer's description; a drawer the file does not describe soundly stops the process
    // with the reason it was refused.
    VelDrawerDescription Description() const;
    // The HDF5 path, in the database file, of the dataset holding the drawer's values (for a
    // sparse drawer, its values dataset): what a tool reading the file without the library
    // points at.
    cow_String ValuesPath() const;
    void Close() const;

private:
    VelDrawerID m_id;
};

#endif
