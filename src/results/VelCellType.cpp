#include "vel/results/VelCellType.h"

#include <iterator>

namespace {

struct CellTypeEntry {
    VelCellType type;
    const char* name;
    int nodes;
};

constexpr CellTypeEntry kCellTypes[] = {
    {VelCellType::Vertex, "vertex", 1},     {VelCellType::Line2, "line2", 2},
    {VelCellType::Line3, "line3", 3},       {VelCellType::Tri3, "tri3", 3},
    {VelCellType::Tri6, "tri6", 6},         {VelCellType::Quad4, "quad4", 4},
    {VelCellType::Quad8, "quad8", 8},       {VelCellType::Quad9, "quad9", 9},
    {VelCellType::Tet4, "tet4", 4},         {VelCellType::Tet10, "tet10", 10},
    {VelCellType::Pyramid5, "pyramid5", 5}, {VelCellType::Pyramid13, "pyramid13", 13},
    {VelCellType::Wedge6, "wedge6", 6},     {VelCellType::Wedge15, "wedge15", 15},
    {VelCellType::Wedge18, "wedge18", 18},  {VelCellType::Hex8, "hex8", 8},
    {VelCellType::Hex20, "hex20", 20},      {VelCellType::Hex27, "hex27", 27},
};

const CellTypeEntry& EntryOf(VelCellType type) {
    return kCellTypes[static_cast<int>(type)];
}

}  // namespace

int VelCellTypeNodeCount(VelCellType type) {
    return EntryOf(type).nodes;
}

const char* VelCellTypeName(VelCellType type) {
    return EntryOf(type).name;
}

bool VelCellTypeFromName(const std::string& name, VelCellType& type) {
    for (const CellTypeEntry& entry : kCellTypes) {
        if (name == entry.name) {
            type = entry.type;
            return true;
        }
    }
    return false;
}
