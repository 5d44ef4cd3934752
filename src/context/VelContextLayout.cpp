#include "context/VelContextLayout.h"

#include <cstdint>
#include <string>

#include "hdf/hdf_TypeMatch.h"
#include "vel/core/VelAssert.h"
#include "vel/hdf/hdf_DimSpace.h"

namespace {
hdf_Dataspace PairSpace() {
    return hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(2), hdf_DimSpace());
}
}  // namespace

void VelContextLayout::WriteType(const hdf_Group& group, int kind, int minor) {
    const int values[2] = {kind, minor};
    hdf_Attribute type = group.AttributeCreate(e_Type, hdf_Datatype::NATIVE_INT(), PairSpace());
    type.Write(hdf_Datatype::NATIVE_INT(), values);
}

namespace {
void ReadPair(const hdf_Attribute& type, int& kind, int& minor) {
    // Checked before the read: HDF5 would write every element of the attribute into `values`.
    const hdf_DimSpace typeDims = type.GetSpace().GetDims();
    VelASSERT(typeDims.Rank() == 1 && typeDims[0] == 2);
    VelASSERT(hdf_MatchesType(type.GetType(), hdf_Datatype::NATIVE_INT()) &&
              "a \"type\" attribute does not hold ints");
    int values[2] = {0, 0};
    type.Read(hdf_Datatype::NATIVE_INT(), values);
    kind = values[0];
    minor = values[1];
}
}  // namespace

void VelContextLayout::ReadType(const hdf_Group& group, int& kind, int& minor) {
    ReadPair(group.AttributeOpen(e_Type), kind, minor);
}

bool VelContextLayout::ReadTypeIfAny(const hdf_Group& group, int& kind, int& minor) {
    // A failed open is parked in this copy of the group instead of thrown.
    hdf_Group probe(group);
    probe.SetNoThrow(true);
    const hdf_Attribute type = probe.AttributeOpen(e_Type);
    if (type.IsEmpty()) return false;
    ReadPair(type, kind, minor);
    return true;
}

bool VelContextLayout::NumberOfName(const cow_String& name, int& number) {
    const std::string& text = name.str();
    if (text.size() != 8) return false;
    uint32_t value = 0;
    for (char c : text) {
        int digit = -1;
        if (c >= '0' && c <= '9') digit = c - '0';
        if (c >= 'A' && c <= 'F') digit = c - 'A' + 10;
        if (digit < 0) return false;
        value = value << 4 | static_cast<uint32_t>(digit);
    }
    number = static_cast<int>(value);
    return true;
}

void VelContextLayout::CreateContextAttributes(const hdf_Group& root, const int values[2]) {
    const hdf_Dataset attributes =
        root.DatasetCreate(e_ContextAttributes, hdf_Datatype::NATIVE_INT(), PairSpace());
    attributes.Write(hdf_Datatype::NATIVE_INT(), hdf_Dataspace(), values);
}

void VelContextLayout::WriteContextAttributes(const hdf_Group& root, const int values[2]) {
    const hdf_Dataset attributes = root.DatasetOpen(e_ContextAttributes);
    const hdf_DimSpace contextDims = attributes.GetSpace().GetDims();
    VelASSERT(contextDims.Rank() == 1 && contextDims[0] == 2);
    attributes.Write(hdf_Datatype::NATIVE_INT(), hdf_Dataspace(), values);
}

void VelContextLayout::ReadContextAttributes(const hdf_Group& root, int values[2]) {
    const hdf_Dataset attributes = root.DatasetOpen(e_ContextAttributes);
    // Checked before the read: HDF5 would write every element of the dataset into `values`.
    const hdf_DimSpace contextDims = attributes.GetSpace().GetDims();
    VelASSERT(contextDims.Rank() == 1 && contextDims[0] == 2);
    VelASSERT(hdf_MatchesType(attributes.GetType(), hdf_Datatype::NATIVE_INT()) &&
              "\"Context attributes\" does not hold ints");
    VelASSERT(hdf_HasStoredLayout(attributes) && "\"Context attributes\" stores no values");
    attributes.Read(hdf_Datatype::NATIVE_INT(), hdf_Dataspace(), values);
}
