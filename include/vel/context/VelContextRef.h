#ifndef VEL_CONTEXT_VELCONTEXTREF_H
#define VEL_CONTEXT_VELCONTEXTREF_H

#include "vel/VelExport.h"
#include "vel/context/VelCollectionID.h"
#include "vel/context/VelCompression.h"
#include "vel/context/VelContextID.h"
#include "vel/context/VelCtation.h"
#include "vel/context/VelDSetID.h"
#include "vel/context/VelDistributionID.h"
#include "vel/context/VelGrid.h"
#include "vel/context/VelRangeType.h"
#include "vel/core/VelArray.h"
#include "vel/hdf/hdf_File.h"
#include "vel/platform/cow_String.h"
#include "vel/platform/mem_Memory.h"

class VelContext;
class VelTypeSchemaSnapshot;
class VelView;
class VelViewEntry;
class VelViewRead;
class VelViewUpdateEdition;
class VelViewUpdateForm;
class VelViewUpdateLevel;

// A light handle on an open context.  It holds only the ID and finds the context through the
// manager on every call, so it never dangles: using it after the context was closed is a
// validation failure.
class VEL_API VelContextRef {
public:
    explicit VelContextRef(const VelContextID& id) : m_id(id) {}

    const VelContextID& ID() const { return m_id; }

    // The context's objects, each list in its identifiers' order.
    VelArray<VelCollectionID> Collections() const;
    VelArray<VelDistributionID> Distributions() const;
    VelArray<VelDSetID> DSets() const;

    // A new collection of members 0 .. size-1 (color 0), with its empty and full CSets; the
    // context must be open for writing.
    VelCollectionID CreateCollection(int size) const;

    // A new distribution of `rangeType` values over `grid` (at most 7 of this context's
    // collections); the context must be open for writing.
    VelDistributionID CreateDistribution(const VelGrid& grid, const VelRangeType& rangeType) const;
    // A new DSet holding `ctation`, whose CSets must be stored CSets of this context's
    // collections, over 1 to 7 dimensions; the context must be open for writing.
    VelDSetID CreateDSet(const VelCtation& ctation) const;
    // The compartments of a DSet of this context, in their sorted order.
    VelCtation DSetRep(const VelDSetID& id) const;

    // The compression of the drawers made in this context by transfers that choose none of
    // their own (VelTransfer::SetCompression); none when the context opens.  It is a setting of
    // the open context, not of the file: each drawer records its own filters.  A pipeline this
    // machine lacks is a validation failure.
    void SetDefaultCompression(const VelCompression& compression) const;
    VelCompression DefaultCompression() const;

    // The views of the context's record store (vel/views/VelView.h).  View opens the latest
    // published edition of a form and level for reading; given a snapshot, it also checks the
    // snapshot against the view's stored types.  NewForm makes a view of a form (extending
    // an ancestor's schema, if given), NewEdition the next edition of a view with its schema,
    // NewLevel a view of the ancestor's form at another level; UpgradeLevel and DowngradeLevel
    // do the same and require the level to go up or down.  New views start with a copy of
    // their ancestor's records.
    VelViewRead View(const cow_String& formName, int level) const;
    // Whether a published view of the form and level exists: View finds one exactly then.
    bool HasView(const cow_String& formName, int level) const;
    // Every view of the record store, published or not, by form name, level and edition
    // (vel/views/VelViewEntry.h); none in a file that holds no records.
    VelArray<VelViewEntry> ViewEntries() const;
    VelViewRead View(const VelTypeSchemaSnapshot& snapshot) const;
    VelViewUpdateForm NewForm(const VelTypeSchemaSnapshot& snapshot) const;
    VelViewUpdateForm NewForm(const VelTypeSchemaSnapshot& snapshot, const VelView& ancestor) const;
    VelViewUpdateEdition NewEdition(const VelTypeSchemaSnapshot& snapshot,
                                    const VelView& ancestor) const;
    VelViewUpdateLevel NewLevel(const VelTypeSchemaSnapshot& snapshot,
                                const VelView& ancestor) const;
    VelViewUpdateLevel UpgradeLevel(const VelTypeSchemaSnapshot& snapshot,
                                    const VelView& ancestor) const;
    VelViewUpdateLevel DowngradeLevel(const VelTypeSchemaSnapshot& snapshot,
                                      const VelView& ancestor) const;

    // The database file (a copy sharing the context's HDF5 identifier).
    hdf_File File() const;
    // The context's cache pool, from which its collections' caches draw.
    mem_CachePool* Pool() const;

private:
    VelContext& Target() const;

    VelContextID m_id;
};

#endif
