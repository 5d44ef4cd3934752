#include "vel/hdf/hdf_CompoundBuilder.h"

#include <exception>

#include "hdf/hdf_Here.h"

namespace {

const char kHdfUnit[] = "hdf_CompoundBuilder";

void ThrowIfFailed(herr_t result, int line) {
    if (result < 0) throw hdf_Exception(kHdfUnit, line, true);
}

}  // namespace

hdf_CompoundBuilder::hdf_CompoundBuilder(int size) {
    HDF_REQUIRE(size >= 0, "size >= 0");
    m_typeID = H5Tcreate(H5T_COMPOUND, static_cast<size_t>(size));
    if (m_typeID < 0) throw hdf_Exception(HDF_HERE, true);
}

hdf_CompoundBuilder::~hdf_CompoundBuilder() noexcept(false) {
    if (H5Tclose(m_typeID) < 0 && std::uncaught_exceptions() == 0)
        throw hdf_Exception(HDF_HERE, true);
}

void hdf_CompoundBuilder::Insert(const char* name, const hdf_Datatype& type) {
    const hid_t member = type.ID();
    const size_t offset = m_noMemberYet ? 0 : H5Tget_size(m_typeID);
    const size_t size = H5Tget_size(member);
    if (size == 0 || (!m_noMemberYet && offset == 0)) {
        hdf_Exception error(HDF_HERE, true);
        if (!error.IsError())
            error = hdf_Exception(HDF_HERE, hdf_ErrorCode::MajorDatatype,
                                  hdf_ErrorCode::MinorBadSize, "Compound member of size 0.");
        throw error;
    }
    ThrowIfFailed(H5Tset_size(m_typeID, offset + size), __LINE__);
    ThrowIfFailed(H5Tinsert(m_typeID, name, offset, member), __LINE__);
    m_noMemberYet = false;
}

void hdf_CompoundBuilder::Insert(const char* name, int offset, const hdf_Datatype& type) {
    HDF_REQUIRE(offset >= 0, "offset >= 0");
    ThrowIfFailed(H5Tinsert(m_typeID, name, static_cast<size_t>(offset), type.ID()), __LINE__);
}
