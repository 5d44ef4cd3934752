#ifndef VEL_TOOLS_VELDUMP_VELDUMPSCANNER_H
#define VEL_TOOLS_VELDUMP_VELDUMPSCANNER_H

#include <vel/vel.h>

#include <map>
#include <string>
#include <vector>

#include "VelDumpValue.h"

// Gathers what an open database file holds into a VelDumpValue, through the public API only.
// Objects are named the way veldump prints and accepts them: "c3" a collection (its serial
// number), "c3/5" the CSet of index 5 in it, "d2" a distribution, "d2/0" its drawer 0, "s1" a
// DSet, a view by its name ("Analysis-1-0"), and "results" the results layer.
class VelDumpScanner {
public:
    // `withValues`: drawers' values, CSets' members, records' members and association pairs.
    VelDumpScanner(const VelContextID& context, bool withValues);

    VelDumpValue Signature(const std::string& path) const;
    VelDumpValue Collections() const;
    VelDumpValue Distributions() const;
    VelDumpValue DSets() const;
    VelDumpValue Views() const;
    // Whether the file holds the results layer's records (VelResultsReader reads them).
    bool HasResults() const;

    // One object by its name; false when the name names nothing in the file.
    bool Object(const std::string& name, VelDumpValue& out) const;

    static std::string NameOf(const VelCollectionID& id);
    static std::string NameOf(const VelCSetID& id);
    static std::string NameOf(const VelDistributionID& id);
    static std::string NameOf(const VelDrawerID& id);
    static std::string NameOf(const VelDSetID& id);

private:
    VelCSetID CSetAt(const VelCollectionID& collection, int index) const;
    VelDumpValue Collection(const VelCollectionID& id) const;
    std::map<int, VelCSetID> PermutationsOfTwins(const VelCollectionID& id) const;
    VelDumpValue CSet(const VelCSetID& id, const std::map<int, VelCSetID>& twins) const;
    VelDumpValue Distribution(const VelDistributionID& id) const;
    VelDumpValue Drawer(const VelDrawerID& id) const;
    VelDumpValue DSet(const VelDSetID& id) const;
    VelDumpValue View(const VelViewEntry& listed) const;
    VelDumpValue StandardValues(const VelDrawerDescription& drawer) const;
    VelDumpValue SparseValues(const VelDrawerDescription& drawer) const;
    VelDumpValue Records(const VelView& view, const VelTypeID& type) const;
    VelDumpValue Pairs(const VelView& view, const VelAssociation& association) const;
    std::string ParticipantName(const VelView& view, const VelDynamicID& id) const;

    VelContextRef m_ref;
    bool m_withValues;
};

#endif
