#include "vel/hdf/hdf_Datatype.h"

#include "hdf/hdf_Here.h"
#include "vel/hdf/hdf_CompoundBuilder.h"

namespace {

const char kHdfUnit[] = "hdf_Datatype";

H5T_class_t CreatableClass(hdf_Datatype::TypeClassCreate typeClass) {
    switch (typeClass) {
        case hdf_Datatype::TypeClassCreateCompound:
            return H5T_COMPOUND;
        case hdf_Datatype::TypeClassCreateOpaque:
            return H5T_OPAQUE;
        case hdf_Datatype::TypeClassCreateEnum:
            return H5T_ENUM;
    }
    throw nex_AssertException(HDF_HERE, "Illegal hdf_Datatype::TypeClassCreate value.");
}

hdf_Datatype::TypeClassGetClass ClassOf(H5T_class_t typeClass) {
    switch (typeClass) {
        case H5T_COMPOUND:
            return hdf_Datatype::TypeClassGetClassCompound;
        case H5T_OPAQUE:
            return hdf_Datatype::TypeClassGetClassOpaque;
        case H5T_ENUM:
            return hdf_Datatype::TypeClassGetClassEnum;
        case H5T_INTEGER:
            return hdf_Datatype::TypeClassGetClassInteger;
        case H5T_FLOAT:
            return hdf_Datatype::TypeClassGetClassFloat;
        case H5T_TIME:
            return hdf_Datatype::TypeClassGetClassTime;
        case H5T_STRING:
            return hdf_Datatype::TypeClassGetClassString;
        case H5T_BITFIELD:
            return hdf_Datatype::TypeClassGetClassBitfield;
        case H5T_REFERENCE:
            return hdf_Datatype::TypeClassGetClassReference;
        case H5T_VLEN:
            return hdf_Datatype::TypeClassGetClassVlen;
        case H5T_ARRAY:
            return hdf_Datatype::TypeClassGetClassArray;
        default:
            break;
    }
    throw nex_AssertException(HDF_HERE, "Illegal hdf_Datatype::TypeClassGetClass value.");
}

}  // namespace

hdf_Datatype::hdf_Datatype(TypeClassCreate typeClass, int size) {
    const H5T_class_t h5Class = CreatableClass(typeClass);
    HDF_REQUIRE(size >= 0, "size >= 0");
    const hid_t id = H5Tcreate(h5Class, static_cast<size_t>(size));
    if (Succeeded(id, HDF_HERE)) m_ObjectID = id;
}

hdf_Datatype::hdf_Datatype(const hdf_CompoundBuilder& builder) {
    const hid_t id = H5Tcopy(builder.GetID());
    if (Succeeded(id, HDF_HERE)) m_ObjectID = id;
}

// The wrapper gets a reference of its own to the library's type, which its release gives back.
hdf_Datatype hdf_Datatype::Predefined(hid_t id) {
    hdf_Datatype type;
    if (type.Succeeded(H5Iinc_ref(id), HDF_HERE)) type.m_ObjectID = id;
    return type;
}

// The predefined identifiers exist only once HDF5 has started, hence H5open first.
#define HDF_PREDEFINED(name)            \
    hdf_Datatype hdf_Datatype::name() { \
        H5open();                       \
        return Predefined(H5T_##name);  \
    }

HDF_PREDEFINED(NATIVE_CHAR)
HDF_PREDEFINED(NATIVE_SCHAR)
HDF_PREDEFINED(NATIVE_UCHAR)
HDF_PREDEFINED(NATIVE_SHORT)
HDF_PREDEFINED(NATIVE_USHORT)
HDF_PREDEFINED(NATIVE_INT)
HDF_PREDEFINED(NATIVE_UINT)
HDF_PREDEFINED(NATIVE_LONG)
HDF_PREDEFINED(NATIVE_ULONG)
HDF_PREDEFINED(NATIVE_LLONG)
HDF_PREDEFINED(NATIVE_ULLONG)
HDF_PREDEFINED(NATIVE_FLOAT)
HDF_PREDEFINED(NATIVE_DOUBLE)
HDF_PREDEFINED(NATIVE_LDOUBLE)
HDF_PREDEFINED(NATIVE_HADDR)
HDF_PREDEFINED(NATIVE_HSIZE)
HDF_PREDEFINED(NATIVE_HSSIZE)
HDF_PREDEFINED(NATIVE_HERR)
HDF_PREDEFINED(NATIVE_HBOOL)
HDF_PREDEFINED(NATIVE_OPAQUE)
HDF_PREDEFINED(STD_REF_OBJ)
HDF_PREDEFINED(STD_REF_DSETREG)

HDF_PREDEFINED(NATIVE_INT8)
HDF_PREDEFINED(NATIVE_UINT8)
HDF_PREDEFINED(NATIVE_INT16)
HDF_PREDEFINED(NATIVE_UINT16)
HDF_PREDEFINED(NATIVE_INT32)
HDF_PREDEFINED(NATIVE_UINT32)
HDF_PREDEFINED(NATIVE_INT64)
HDF_PREDEFINED(NATIVE_UINT64)
HDF_PREDEFINED(NATIVE_INT_LEAST8)
HDF_PREDEFINED(NATIVE_UINT_LEAST8)
HDF_PREDEFINED(NATIVE_INT_LEAST16)
HDF_PREDEFINED(NATIVE_UINT_LEAST16)
HDF_PREDEFINED(NATIVE_INT_LEAST32)
HDF_PREDEFINED(NATIVE_UINT_LEAST32)
HDF_PREDEFINED(NATIVE_INT_LEAST64)
HDF_PREDEFINED(NATIVE_UINT_LEAST64)
HDF_PREDEFINED(NATIVE_INT_FAST8)
HDF_PREDEFINED(NATIVE_UINT_FAST8)
HDF_PREDEFINED(NATIVE_INT_FAST16)
HDF_PREDEFINED(NATIVE_UINT_FAST16)
HDF_PREDEFINED(NATIVE_INT_FAST32)
HDF_PREDEFINED(NATIVE_UINT_FAST32)
HDF_PREDEFINED(NATIVE_INT_FAST64)
HDF_PREDEFINED(NATIVE_UINT_FAST64)
HDF_PREDEFINED(NATIVE_B8)
HDF_PREDEFINED(NATIVE_B16)
HDF_PREDEFINED(NATIVE_B32)
HDF_PREDEFINED(NATIVE_B64)

HDF_PREDEFINED(STD_I8BE)
HDF_PREDEFINED(STD_I8LE)
HDF_PREDEFINED(STD_I16BE)
HDF_PREDEFINED(STD_I16LE)
HDF_PREDEFINED(STD_I32BE)
HDF_PREDEFINED(STD_I32LE)
HDF_PREDEFINED(STD_I64BE)
HDF_PREDEFINED(STD_I64LE)
HDF_PREDEFINED(STD_U8BE)
HDF_PREDEFINED(STD_U8LE)
HDF_PREDEFINED(STD_U16BE)
HDF_PREDEFINED(STD_U16LE)
HDF_PREDEFINED(STD_U32BE)
HDF_PREDEFINED(STD_U32LE)
HDF_PREDEFINED(STD_U64BE)
HDF_PREDEFINED(STD_U64LE)
HDF_PREDEFINED(STD_B8BE)
HDF_PREDEFINED(STD_B8LE)
HDF_PREDEFINED(STD_B16BE)
HDF_PREDEFINED(STD_B16LE)
HDF_PREDEFINED(STD_B32BE)
HDF_PREDEFINED(STD_B32LE)
HDF_PREDEFINED(STD_B64BE)
HDF_PREDEFINED(STD_B64LE)
HDF_PREDEFINED(IEEE_F32BE)
HDF_PREDEFINED(IEEE_F32LE)
HDF_PREDEFINED(IEEE_F64BE)
HDF_PREDEFINED(IEEE_F64LE)
HDF_PREDEFINED(C_S1)
HDF_PREDEFINED(FORTRAN_S1)

#undef HDF_PREDEFINED

hdf_Datatype hdf_Datatype::TypeString() {
    const hid_t stringDatatypeID = H5Tcopy(H5T_C_S1);
    HDF_REQUIRE(stringDatatypeID >= 0, "stringDatatypeID >= 0");
    hdf_Datatype type(stringDatatypeID);
    const herr_t rv = H5Tset_size(stringDatatypeID, H5T_VARIABLE);
    HDF_REQUIRE(rv >= 0, "rv >= 0");
    return type;
}

hdf_Datatype hdf_Datatype::Copy() const {
    const hid_t id = H5Tcopy(ID());
    return Succeeded(id, HDF_HERE) ? hdf_Datatype(id) : hdf_Datatype();
}

bool hdf_Datatype::Equal(const hdf_Datatype& other) const {
    const htri_t equal = H5Tequal(ID(), other.ID());
    return Succeeded(equal, HDF_HERE) && equal > 0;
}

hdf_Datatype::TypeClassGetClass hdf_Datatype::GetClass() const {
    const H5T_class_t typeClass = H5Tget_class(ID());
    if (!Succeeded(typeClass, HDF_HERE)) return TypeClassGetClassCompound;
    return ClassOf(typeClass);
}

// H5Tget_size reports failure as 0, a size no type has.
size_t hdf_Datatype::GetSize() const {
    const size_t size = H5Tget_size(ID());
    if (size == 0) Fail(HDF_HERE);
    return size;
}

void hdf_Datatype::SetSize(int size) {
    HDF_REQUIRE(size >= 0, "size >= 0");
    Succeeded(H5Tset_size(ID(), static_cast<size_t>(size)), HDF_HERE);
}

int hdf_Datatype::GetNMembers() const {
    const int members = H5Tget_nmembers(ID());
    return Succeeded(members, HDF_HERE) ? members : 0;
}

cow_String hdf_Datatype::GetMemberName(int index) const {
    HDF_REQUIRE(index >= 0, "index >= 0");
    char* name = H5Tget_member_name(ID(), static_cast<unsigned>(index));
    if (!name) {
        Fail(HDF_HERE);
        return cow_String();
    }
    cow_String result(name);
    H5free_memory(name);
    return result;
}

hdf_Datatype hdf_Datatype::GetMemberType(int index) const {
    HDF_REQUIRE(index >= 0, "index >= 0");
    const hid_t id = H5Tget_member_type(ID(), static_cast<unsigned>(index));
    return Succeeded(id, HDF_HERE) ? hdf_Datatype(id) : hdf_Datatype();
}
