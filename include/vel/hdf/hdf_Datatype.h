#ifndef VEL_HDF_HDF_DATATYPE_H
#define VEL_HDF_HDF_DATATYPE_H

#include <hdf5.h>

#include <cstddef>

#include "vel/VelExport.h"
#include "vel/hdf/hdf_Object.h"
#include "vel/platform/cow_String.h"

class hdf_CompoundBuilder;

// An HDF5 datatype.  The predefined types come wrapped with a reference of their own, so the
// wrapper's release never takes HDF5's last reference to a library type.
class VEL_API hdf_Datatype : public hdf_Object {
public:
    // The classes a type can be created with (H5Tcreate).
    enum TypeClassCreate {
        TypeClassCreateCompound = 0,
        TypeClassCreateOpaque = 1,
        TypeClassCreateEnum = 2
    };
    // The class of an existing type (H5Tget_class).  The first three agree with TypeClassCreate.
    enum TypeClassGetClass {
        TypeClassGetClassCompound = 0,
        TypeClassGetClassOpaque = 1,
        TypeClassGetClassEnum = 2,
        TypeClassGetClassInteger = 3,
        TypeClassGetClassFloat = 4,
        TypeClassGetClassTime = 5,
        TypeClassGetClassString = 6,
        TypeClassGetClassBitfield = 7,
        TypeClassGetClassReference = 8,
        TypeClassGetClassVlen = 9,
        TypeClassGetClassArray = 10
    };

    hdf_Datatype() = default;
    explicit hdf_Datatype(hid_t id) : hdf_Object(id) {}
    // H5Tcreate; an illegal class raises "Illegal hdf_Datatype::TypeClassCreate value."
    hdf_Datatype(TypeClassCreate typeClass, int size);
    // A copy (H5Tcopy) of the builder's compound type.
    explicit hdf_Datatype(const hdf_CompoundBuilder& builder);

    // HDF5's predefined types, each named after its HDF5 name without the H5T_ prefix.
    static hdf_Datatype NATIVE_CHAR();
    static hdf_Datatype NATIVE_SCHAR();
    static hdf_Datatype NATIVE_UCHAR();
    static hdf_Datatype NATIVE_SHORT();
    static hdf_Datatype NATIVE_USHORT();
    static hdf_Datatype NATIVE_INT();
    static hdf_Datatype NATIVE_UINT();
    static hdf_Datatype NATIVE_LONG();
    static hdf_Datatype NATIVE_ULONG();
    static hdf_Datatype NATIVE_LLONG();
    static hdf_Datatype NATIVE_ULLONG();
    static hdf_Datatype NATIVE_FLOAT();
    static hdf_Datatype NATIVE_DOUBLE();
    static hdf_Datatype NATIVE_LDOUBLE();
    static hdf_Datatype NATIVE_HADDR();
    static hdf_Datatype NATIVE_HSIZE();
    static hdf_Datatype NATIVE_HSSIZE();
    static hdf_Datatype NATIVE_HERR();
    static hdf_Datatype NATIVE_HBOOL();
    static hdf_Datatype NATIVE_OPAQUE();
    static hdf_Datatype STD_REF_OBJ();
    static hdf_Datatype STD_REF_DSETREG();

    static hdf_Datatype NATIVE_INT8();
    static hdf_Datatype NATIVE_UINT8();
    static hdf_Datatype NATIVE_INT16();
    static hdf_Datatype NATIVE_UINT16();
    static hdf_Datatype NATIVE_INT32();
    static hdf_Datatype NATIVE_UINT32();
    static hdf_Datatype NATIVE_INT64();
    static hdf_Datatype NATIVE_UINT64();
    static hdf_Datatype NATIVE_INT_LEAST8();
    static hdf_Datatype NATIVE_UINT_LEAST8();
    static hdf_Datatype NATIVE_INT_LEAST16();
    static hdf_Datatype NATIVE_UINT_LEAST16();
    static hdf_Datatype NATIVE_INT_LEAST32();
    static hdf_Datatype NATIVE_UINT_LEAST32();
    static hdf_Datatype NATIVE_INT_LEAST64();
    static hdf_Datatype NATIVE_UINT_LEAST64();
    static hdf_Datatype NATIVE_INT_FAST8();
    static hdf_Datatype NATIVE_UINT_FAST8();
    static hdf_Datatype NATIVE_INT_FAST16();
    static hdf_Datatype NATIVE_UINT_FAST16();
    static hdf_Datatype NATIVE_INT_FAST32();
    static hdf_Datatype NATIVE_UINT_FAST32();
    static hdf_Datatype NATIVE_INT_FAST64();
    static hdf_Datatype NATIVE_UINT_FAST64();
    static hdf_Datatype NATIVE_B8();
    static hdf_Datatype NATIVE_B16();
    static hdf_Datatype NATIVE_B32();
    static hdf_Datatype NATIVE_B64();

    static hdf_Datatype STD_I8BE();
    static hdf_Datatype STD_I8LE();
    static hdf_Datatype STD_I16BE();
    static hdf_Datatype STD_I16LE();
    static hdf_Datatype STD_I32BE();
    static hdf_Datatype STD_I32LE();
    static hdf_Datatype STD_I64BE();
    static hdf_Datatype STD_I64LE();
    static hdf_Datatype STD_U8BE();
    static hdf_Datatype STD_U8LE();
    static hdf_Datatype STD_U16BE();
    static hdf_Datatype STD_U16LE();
    static hdf_Datatype STD_U32BE();
    static hdf_Datatype STD_U32LE();
    static hdf_Datatype STD_U64BE();
    static hdf_Datatype STD_U64LE();
    static hdf_Datatype STD_B8BE();
    static hdf_Datatype STD_B8LE();
    static hdf_Datatype STD_B16BE();
    static hdf_Datatype STD_B16LE();
    static hdf_Datatype STD_B32BE();
    static hdf_Datatype STD_B32LE();
    static hdf_Datatype STD_B64BE();
    static hdf_Datatype STD_B64LE();
    static hdf_Datatype IEEE_F32BE();
    static hdf_Datatype IEEE_F32LE();
    static hdf_Datatype IEEE_F64BE();
    static hdf_Datatype IEEE_F64LE();
    static hdf_Datatype C_S1();
    static hdf_Datatype FORTRAN_S1();

    // The variable-length, null-terminated string type of every string member of the database's
    // compound types.  A failure raises "stringDatatypeID >= 0" or "rv >= 0".
    static hdf_Datatype TypeString();

    hdf_Datatype Copy() const;
    bool Equal(const hdf_Datatype& other) const;
    // An HDF5 class this layer does not know raises
    // "Illegal hdf_Datatype::TypeClassGetClass value."
    TypeClassGetClass GetClass() const;
    size_t GetSize() const;
    void SetSize(int size);
    int GetNMembers() const;
    cow_String GetMemberName(int index) const;
    hdf_Datatype GetMemberType(int index) const;

private:
    static hdf_Datatype Predefined(hid_t id);
};

#endif
