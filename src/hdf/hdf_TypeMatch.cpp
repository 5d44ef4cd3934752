#include "hdf/hdf_TypeMatch.h"

#include <algorithm>
#include <cstring>

#include "hdf/hdf_Here.h"
#include "vel/hdf/hdf_Exception.h"

namespace {

const char kHdfUnit[] = "hdf_TypeMatch";

template <class T>
T Checked(T result) {
    if (result < 0) throw hdf_Exception(HDF_HERE, true);
    return result;
}

// A type identifier that is closed when it goes.
class OwnedType {
public:
    explicit OwnedType(hid_t id) : m_id(Checked(id)) {}
    ~OwnedType() { H5Tclose(m_id); }
    OwnedType(const OwnedType&) = delete;
    OwnedType& operator=(const OwnedType&) = delete;
    hid_t id() const { return m_id; }

private:
    hid_t m_id;
};

bool SameName(hid_t stored, hid_t expected, unsigned member) {
    char* a = H5Tget_member_name(stored, member);
    char* b = H5Tget_member_name(expected, member);
    const bool same = a && b && std::strcmp(a, b) == 0;
    if (a) H5free_memory(a);
    if (b) H5free_memory(b);
    return same;
}

// Integers and floats of one size can still differ in the bits they use: a damaged datatype
// message keeps its class and size and changes a field, and HDF5 then converts faithfully into
// wrong numbers.  Byte order is left to HDF5.
bool SameInteger(hid_t stored, hid_t expected) {
    return H5Tget_precision(stored) == H5Tget_precision(expected) &&
           H5Tget_offset(stored) == H5Tget_offset(expected) &&
           H5Tget_sign(stored) == H5Tget_sign(expected);
}

bool SameFloat(hid_t stored, hid_t expected) {
    size_t s[5] = {0, 0, 0, 0, 0};
    size_t e[5] = {1, 1, 1, 1, 1};
    Checked(H5Tget_fields(stored, &s[0], &s[1], &s[2], &s[3], &s[4]));
    Checked(H5Tget_fields(expected, &e[0], &e[1], &e[2], &e[3], &e[4]));
    return std::equal(s, s + 5, e) && H5Tget_ebias(stored) == H5Tget_ebias(expected) &&
           H5Tget_norm(stored) == H5Tget_norm(expected) &&
           H5Tget_precision(stored) == H5Tget_precision(expected) &&
           H5Tget_offset(stored) == H5Tget_offset(expected);
}

// A type equal to the expected one matches without the walk below, which copies every member's
// type and name; a file written on a machine of the other byte order takes the walk.
bool Matches(hid_t stored, hid_t expected) {
    if (H5Tequal(stored, expected) > 0) return true;
    const H5T_class_t kind = Checked(H5Tget_class(expected));
    if (Checked(H5Tget_class(stored)) != kind) return false;
    const size_t size = H5Tget_size(stored);
    if (size == 0) throw hdf_Exception(HDF_HERE, true);
    if (kind == H5T_INTEGER) return size == H5Tget_size(expected) && SameInteger(stored, expected);
    if (kind == H5T_FLOAT) return size == H5Tget_size(expected) && SameFloat(stored, expected);
    if (kind != H5T_COMPOUND) return size == H5Tget_size(expected);
    const int members = Checked(H5Tget_nmembers(expected));
    if (Checked(H5Tget_nmembers(stored)) != members) return false;
    for (unsigned m = 0; m < static_cast<unsigned>(members); ++m) {
        if (!SameName(stored, expected, m)) return false;
        const OwnedType storedMember(H5Tget_member_type(stored, m));
        const OwnedType expectedMember(H5Tget_member_type(expected, m));
        if (!Matches(storedMember.id(), expectedMember.id())) return false;
        const size_t offset = H5Tget_member_offset(stored, m);
        if (offset > size || H5Tget_size(storedMember.id()) > size - offset) return false;
    }
    return true;
}

}  // namespace

// A contiguous dataset with its storage allocated shows it by its address, without the copy of
// its creation property list that asking for its layout takes.
bool hdf_HasStoredLayout(const hdf_Dataset& dataset) {
    if (H5Dget_offset(dataset.ID()) != HADDR_UNDEF) return true;
    return dataset.GetCreatePlist().GetLayout() != hdf_PropListDatasetCreation::LayoutCompact;
}

bool hdf_MatchesType(const hdf_Datatype& stored, const hdf_Datatype& expected) {
    return Matches(stored.ID(), expected.ID());
}
