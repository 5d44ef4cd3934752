#ifndef VEL_VIEWS_VELSELECTION_H
#define VEL_VIEWS_VELSELECTION_H

#include "vel/VelExport.h"
#include "vel/context/VelDynamicID.h"
#include "vel/core/VelArray.h"
#include "vel/core/VelBtree.h"
#include "vel/platform/cow_String.h"
#include "vel/views/VelAssociation.h"

// The record selections through an association.  Each is made from an association (read, or
// being updated: the pairs as they stand at that moment), a member `whichMember` (0 or 1,
// asserted) and a participant `id` of that member; it holds the participants of the other
// member that `id` is paired with.

// In the order the association keeps them: by position when the other member is ordered,
// otherwise in the order the pairs were inserted.
class VEL_API VelSelectionList {
public:
    VelSelectionList(const VelAssociation& association, int whichMember, const VelDynamicID& id);

    int Count() const { return m_Records.Size(); }
    // The i-th other participant; the index is validated.
    VelDynamicID Get(int i) const { return m_Records[i]; }
    void Get(int i, VelDynamicID& record) const { record = m_Records[i]; }

private:
    VelArray<VelDynamicID> m_Records;
};

// Ordered by the other participants' identifiers.
class VEL_API VelSelectionSet {
public:
    VelSelectionSet(const VelAssociation& association, int whichMember, const VelDynamicID& id);

    int Count() const { return m_Records.Size(); }
    VelDynamicID Get(int i) const { return m_Records[i]; }
    void Get(int i, VelDynamicID& record) const { record = m_Records[i]; }

private:
    VelArray<VelDynamicID> m_Records;
};

class VelSelectionMapIter;

// Keyed by the other participants' string keys: the other member must be keyed by string.
class VEL_API VelSelectionMap {
public:
    VelSelectionMap(const VelAssociation& association, int whichMember, const VelDynamicID& id);

    int Count() const { return m_Map.Count(); }
    bool Contains(const cow_String& key) const { return m_Map.IsMember(key); }
    // Validates that the key is there ("Key not found.").
    VelDynamicID Get(const cow_String& key) const;

private:
    friend class VelSelectionMapIter;
    VelBtree<cow_String, VelDynamicID> m_Map;
};

// Walks a selection map in key order.
class VEL_API VelSelectionMapIter {
public:
    explicit VelSelectionMapIter(const VelSelectionMap& map) : m_It(map.m_Map) {}

    void First() { m_It.First(); }
    void Next() { m_It.Next(); }
    bool IsDone() const { return m_It.IsDone(); }
    const cow_String& CurrentKey() const { return m_It.CurrentKey(); }
    const VelDynamicID& CurrentValue() const { return m_It.CurrentValue(); }

private:
    VelBtreeIterator<cow_String, VelDynamicID> m_It;
};

#endif
