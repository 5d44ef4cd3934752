#ifndef VEL_CONTEXT_VELDSET_H
#define VEL_CONTEXT_VELDSET_H

#include "vel/context/VelCtation.h"
#include "vel/context/VelDSetID.h"
#include "vel/core/VelAutoPtr.h"
#include "vel/hdf/hdf_Group.h"
#include "vel/platform/mem_Memory.h"

class VelContext;

// One DSet of a context, owned by the context's DSet map: a VelCtation (compartments over one
// grid) stored under an ID.  A DSet never changes once made.
//
// File layout: a group under the root named by the minor (eight upper-case hex digits),
// "type" [2, minor], and in it
//
//   "Attributes"   attribute, native int, one dimension of 2:
//                  [number of compartments c, number of dimensions d]
//   "Ctation"      dataset, native int, one dimension of 2 * c * d: for each compartment in
//                  order and within it each dimension in order, the CSet ID's collection minor
//                  word and index word.  The context is the DSet's own.
//
// The compartments are stored in the VelCtation's sorted order, and each compartment's CSets in
// collection order, so every compartment lists the same collections position by position.  A
// DSet has at least one compartment of at least one and at most 7 dimensions: over the empty
// grid there is only one block, and the file could not bound how many copies of it to read.
class VelDSet : public mem_AllocationOperators {
public:
    static constexpr const char* e_Attributes = "Attributes";
    static constexpr const char* e_Ctation = "Ctation";

    // Makes the DSet's group under the context's root.  Every CSet must be a stored CSet of one
    // of the context's collections, and the context writable (validations).
    static VelAutoPtr<VelDSet> Create(VelContext& context, const VelDSetID& id,
                                      const VelCtation& ctation);
    // Loads a stored DSet from its group; everything read is checked before use, and the
    // collections it names must be loaded in `context` already.
    static VelAutoPtr<VelDSet> Open(VelContext& context, const hdf_Group& group,
                                    const VelDSetID& id);
    VelDSet(const VelDSet&) = delete;
    VelDSet& operator=(const VelDSet&) = delete;

    const VelDSetID& ID() const { return m_id; }
    const VelCtation& Ctation() const { return m_ctation; }

private:
    VelDSet(const VelDSetID& id, const hdf_Group& group, const VelCtation& ctation)
        : m_id(id), m_group(group), m_ctation(ctation) {}

    static VelCtation ReadCtation(VelContext& context, const hdf_Group& group);

    VelDSetID m_id;
    hdf_Group m_group;
    VelCtation m_ctation;
};

#endif
