#ifndef VEL_VIEWS_VELASSOCIATION_H
#define VEL_VIEWS_VELASSOCIATION_H

#include "vel/VelExport.h"
#include "vel/context/VelDynamicID.h"
#include "vel/core/VelArray.h"
#include "vel/platform/cow_String.h"
#include "vel/types/VelRecHandle.h"
#include "vel/types/VelRecType.h"
#include "vel/views/VelAssociationID.h"

class VelAssociationRepr;
struct VelViewsAccess;

// Read access to an association: the pairs of one association type in a view.  Each pair
// relates a participant of member 0 to one of member 1; a participant is named by a
// VelDynamicID (a data record, the view's focus, or a bulk-data object of the member's kind).
// An ordered member keeps, for each participant of the other member, its participants at
// positions 0, 1, 2, ...; a string-key member keeps them under distinct keys.  The record
// selections (VelSelection.h) read an association.
class VEL_API VelAssociation {
public:
    VelAssociation() = default;

    VelAssociationID ID() const;
    VelTypeID TypeID() const;
    int MemberCount() const;
    VelRecTypeAssociationMember Member(int whichMember) const;
    // The member's entity kind.
    int MemberCategory(int whichMember) const;
    // The number of pairs.
    int PairCount() const;
    // The distinct participants of member `whichMember` (0 or 1, asserted) in the pairs, in the
    // order of the first pair each takes part in.  A selection of each of them reaches every
    // pair, whatever kinds of objects the member admits.
    VelArray<VelDynamicID> Participants(int whichMember) const;

protected:
    friend struct VelViewsAccess;
    explicit VelAssociation(const VelRecHandle<VelAssociationRepr>& target);
    VelAssociationRepr& Target() const;

    VelRecHandle<VelAssociationRepr> m_Target;
};

// Write access to an association in an active transaction.
//
// Insert takes the two participants, first (member 0) then second (member 1), each with the
// position (an int, for an ordered member) or the key (a cow_String, for a string-key member)
// that its member needs, standing right after its identifier; a position may instead stand
// right before the first identifier, and a position or key right before the second identifier
// when the first carries its own after it.  That gives the eighteen forms below.  An ordered
// member given no position takes the next one.  A new position may be at most one past the
// largest in use for the same other participant; the pairs at and after it move up by one.
// The same participant may not appear twice for one participant of the other member, nor the
// same key.
//
// Remove finds the first live pair in which `id` is the participant of member `whichMember` and
// whose other participant is the identifier, position or key given; the form must suit the
// other member (an identifier for an unordered member, a position for an ordered one, a key
// for a string-key one).  Positions of ordered members close up over a removed pair, so they
// stay dense from 0; RemoveAll removes the pairs one by one the same way.
//
// The occurrence bounds of the members are checked when the transaction commits.
class VEL_API VelAssociationUpdate : public VelAssociation {
public:
    VelAssociationUpdate() = default;

    // Trailing values: nothing, or a position or key after either identifier.
    void Insert(const VelDynamicID& first, const VelDynamicID& second) const;
    void Insert(const VelDynamicID& first, const VelDynamicID& second, int secondPosition) const;
    void Insert(const VelDynamicID& first, const VelDynamicID& second,
                const cow_String& secondKey) const;
    void Insert(const VelDynamicID& first, int firstPosition, const VelDynamicID& second) const;
    void Insert(const VelDynamicID& first, int firstPosition, const VelDynamicID& second,
                int secondPosition) const;
    void Insert(const VelDynamicID& first, int firstPosition, const VelDynamicID& second,
                const cow_String& secondKey) const;
    void Insert(const VelDynamicID& first, const cow_String& firstKey,
                const VelDynamicID& second) const;
    void Insert(const VelDynamicID& first, const cow_String& firstKey, const VelDynamicID& second,
                int secondPosition) const;
    void Insert(const VelDynamicID& first, const cow_String& firstKey, const VelDynamicID& second,
                const cow_String& secondKey) const;
    // The first participant's position before its identifier.
    void Insert(int firstPosition, const VelDynamicID& first, const VelDynamicID& second) const;
    void Insert(int firstPosition, const VelDynamicID& first, const VelDynamicID& second,
                int secondPosition) const;
    void Insert(int firstPosition, const VelDynamicID& first, const VelDynamicID& second,
                const cow_String& secondKey) const;
    void Insert(int firstPosition, const VelDynamicID& first, int secondPosition,
                const VelDynamicID& second) const;
    void Insert(int firstPosition, const VelDynamicID& first, const cow_String& secondKey,
                const VelDynamicID& second) const;
    // The first participant's value after it, the second's before it.
    void Insert(const VelDynamicID& first, int firstPosition, int secondPosition,
                const VelDynamicID& second) const;
    void Insert(const VelDynamicID& first, int firstPosition, const cow_String& secondKey,
                const VelDynamicID& second) const;
    void Insert(const VelDynamicID& first, const cow_String& firstKey, int secondPosition,
                const VelDynamicID& second) const;
    void Insert(const VelDynamicID& first, const cow_String& firstKey, const cow_String& secondKey,
                const VelDynamicID& second) const;

    void Remove(int whichMember, const VelDynamicID& id, const VelDynamicID& other) const;
    void Remove(int whichMember, const VelDynamicID& id, int position) const;
    void Remove(int whichMember, const VelDynamicID& id, const cow_String& key) const;
    void Remove(int whichMember, int position, const VelDynamicID& id) const;
    void Remove(int whichMember, const cow_String& key, const VelDynamicID& id) const;
    void RemoveAll(int whichMember, const VelDynamicID& id) const;

private:
    friend struct VelViewsAccess;
    explicit VelAssociationUpdate(const VelRecHandle<VelAssociationRepr>& target)
        : VelAssociation(target) {}
};

#endif
