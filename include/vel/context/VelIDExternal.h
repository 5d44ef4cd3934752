#ifndef VEL_CONTEXT_VELIDEXTERNAL_H
#define VEL_CONTEXT_VELIDEXTERNAL_H

#include "vel/VelExport.h"
#include "vel/context/VelCSetID.h"
#include "vel/context/VelCollectionID.h"
#include "vel/context/VelDSetID.h"
#include "vel/context/VelDistributionID.h"

// The character form of an identifier, used where a name is stored as text.  The context is not
// part of it: where the form is stored decides the context.
//
//   byte 0        the length, 12 or 20
//   byte 1        1, the version of the form
//   byte 2        the type letter: C collection, D distribution, E DSet, S CSet, W drawer
//   byte 3        0
//   bytes 4-11    the minor word as eight lower-case hex digits (a collection's and a CSet's
//                 with the color bits)
//   bytes 12-19   S and W only: the CSet index word (ascending bit included) or the drawer
//                 number, likewise
//
// Length() repeats byte 0.
class VEL_API VelIDExternal {
public:
    enum Type {
        TypeCollection = 'C',
        TypeDistribution = 'D',
        TypeDSet = 'E',
        TypeCSet = 'S',
        TypeDrawer = 'W'
    };
    static constexpr int e_Capacity = 64;

    explicit VelIDExternal(const VelCollectionID& id);
    explicit VelIDExternal(const VelDistributionID& id);
    explicit VelIDExternal(const VelDSetID& id);
    explicit VelIDExternal(const VelCSetID& id);
    explicit VelIDExternal(const VelDrawerID& id);

    const char* Data() const { return m_data; }
    int Length() const { return m_length; }

private:
    friend struct VelIDAccess;

    // Each validates the type letter it can read.
    VelIDMinor CollectionIDMinor() const;
    VelIDMinor DistributionIDMinor() const;
    VelIDMinor DSetIDMinor() const;
    VelIDMinor CSetIDMinor() const;
    VelIDMinor DrawerIDMinor() const;

    void Build(Type type, int first);
    void Build(Type type, int first, int second);
    int WordAt(int offset) const;

    char m_data[e_Capacity];
    int m_length;
};

#endif
