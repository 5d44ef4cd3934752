#ifndef VEL_RESULTS_VELCELLTYPE_H
#define VEL_RESULTS_VELCELLTYPE_H

#include <string>

#include "vel/VelExport.h"

// The shape of the elements of an element block.  An element lists its nodes in the order
// XDMF and VTK number them: the corners, then the edge midpoints, then face and body centres.
enum class VelCellType {
    Vertex,
    Line2,
    Line3,
    Tri3,
    Tri6,
    Quad4,
    Quad8,
    Quad9,
    Tet4,
    Tet10,
    Pyramid5,
    Pyramid13,
    Wedge6,
    Wedge15,
    Wedge18,
    Hex8,
    Hex20,
    Hex27
};

// The number of nodes of one element of `type`.
VEL_API int VelCellTypeNodeCount(VelCellType type);
// The type's name as it is stored: "vertex", "line2", ... "hex27".
VEL_API const char* VelCellTypeName(VelCellType type);
// The type named `name`; false when no type has that name.
VEL_API bool VelCellTypeFromName(const std::string& name, VelCellType& type);

#endif
