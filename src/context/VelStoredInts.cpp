#include "context/VelStoredInts.h"

#include "hdf/hdf_TypeMatch.h"
#include "vel/hdf/hdf_DimSpace.h"

namespace {
hdf_Dataspace SpaceOf(int count) {
    return hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(static_cast<hsize_t>(count)),
                                       hdf_DimSpace());
}
}  // namespace

void VelStoredInts::CreateAttribute(const hdf_Group& group, const char* name, const int* values,
                                    int count) {
    hdf_Attribute attribute =
        group.AttributeCreate(name, hdf_Datatype::NATIVE_INT(), SpaceOf(count));
    attribute.Write(hdf_Datatype::NATIVE_INT(), values);
}

void VelStoredInts::WriteAttribute(const hdf_Group& group, const char* name, const int* values,
                                   int count) {
    hdf_Attribute attribute = group.AttributeOpen(name);
    // HDF5 takes as many elements from `values` as the attribute has.
    VelASSERT(Length(attribute.GetSpace()) == count);
    attribute.Write(hdf_Datatype::NATIVE_INT(), values);
}

hdf_Dataset VelStoredInts::CreateDataset(const hdf_Group& group, const char* name,
                                         const int* values, int count) {
    const hdf_Dataset dataset =
        group.DatasetCreate(name, hdf_Datatype::NATIVE_INT(), SpaceOf(count));
    dataset.Write(hdf_Datatype::NATIVE_INT(), hdf_Dataspace(), values);
    return dataset;
}

bool VelStoredInts::HoldsInts(const hdf_Datatype& type) {
    return hdf_MatchesType(type, hdf_Datatype::NATIVE_INT());
}

int64_t VelStoredInts::Length(const hdf_Dataspace& space) {
    const hdf_DimSpace dims = space.GetDims();
    if (dims.Rank() != 1) return -1;
    // An extent beyond the signed range is still a length no reader accepts.
    return dims[0] > static_cast<hsize_t>(INT64_MAX) ? INT64_MAX : static_cast<int64_t>(dims[0]);
}

void VelRefuseStored(const char* kind, const hdf_Group& group, const std::string& reason) {
    const std::string text =
        std::string("stored ") + kind + " " + group.Path().c_str() + " refused: " + reason;
    VelAssert::FailAssertion(text.c_str());
}
