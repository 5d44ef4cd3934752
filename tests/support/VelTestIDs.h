#ifndef VEL_TESTS_VELTESTIDS_H
#define VEL_TESTS_VELTESTIDS_H

// Identifiers made from their parts, arrays of them and print forms, for the tests of the value
// types built on identifiers (compartments, grids, selections, transfer arguments).

#include <initializer_list>
#include <sstream>
#include <string>

#include "context/VelIDAccess.h"
#include "vel/core/VelArray.h"

inline VelCollectionID TestCollection(unsigned context, int serial, int color = 0) {
    return VelIDAccess::MakeCollectionID(VelIDAccess::MakeContextID(context, false), serial)
        .SetColor(color);
}

// An ascending CSet unless said otherwise.
inline VelCSetID TestCSet(const VelCollectionID& collection, int index, bool ascending = true) {
    return VelIDAccess::MakeCSetID(collection, index).SetAscending(ascending);
}

template <class T>
VelArray<T> TestArray(std::initializer_list<T> items) {
    VelArray<T> array(static_cast<int>(items.size()));
    int i = 0;
    for (const T& item : items) array[i++] = item;
    return array;
}

template <class T>
std::string TestText(const T& value) {
    std::ostringstream os;
    os << value;
    return os.str();
}

#endif
