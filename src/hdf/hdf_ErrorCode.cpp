#include "vel/hdf/hdf_ErrorCode.h"

#include "hdf/hdf_Here.h"

namespace {

const char kHdfUnit[] = "hdf_ErrorCode";

// One 1.6 code: its name and the global that holds HDF5's class identifier of the same name
// (null when HDF5 no longer has it).  HDF5 registers its classes anew each time it starts, so
// the identifiers are read at every use, never cached.
struct ClassEntry {
    const char* name;
    const hid_t* id;
};

// Indexed by ordinal.
const ClassEntry kMajors[] = {
    {"H5E_NONE_MAJOR", &H5E_NONE_MAJOR_g},
    {"H5E_ARGS", &H5E_ARGS_g},
    {"H5E_RESOURCE", &H5E_RESOURCE_g},
    {"H5E_INTERNAL", &H5E_INTERNAL_g},
    {"H5E_FILE", &H5E_FILE_g},
    {"H5E_IO", &H5E_IO_g},
    {"H5E_FUNC", &H5E_FUNC_g},
    {"H5E_ATOM", &H5E_ATOM_g},
    {"H5E_CACHE", &H5E_CACHE_g},
    {"H5E_BTREE", &H5E_BTREE_g},
    {"H5E_SYM", &H5E_SYM_g},
    {"H5E_HEAP", &H5E_HEAP_g},
    {"H5E_OHDR", &H5E_OHDR_g},
    {"H5E_DATATYPE", &H5E_DATATYPE_g},
    {"H5E_DATASPACE", &H5E_DATASPACE_g},
    {"H5E_DATASET", &H5E_DATASET_g},
    {"H5E_STORAGE", &H5E_STORAGE_g},
    {"H5E_PLIST", &H5E_PLIST_g},
    {"H5E_ATTR", &H5E_ATTR_g},
    {"H5E_PLINE", &H5E_PLINE_g},
    {"H5E_EFL", &H5E_EFL_g},
    {"H5E_REFERENCE", &H5E_REFERENCE_g},
    {"H5E_VFL", &H5E_VFL_g},
    {"H5E_TBBT", nullptr},
    {"H5E_TST", &H5E_TST_g},
    {"H5E_RS", &H5E_RS_g},
    {"H5E_ERROR", &H5E_ERROR_g},
    {"H5E_SLIST", &H5E_SLIST_g},
};

// H5E_LINK is a major class in the HDF5 linked here, so the minor of that name has none.
const ClassEntry kMinors[] = {
    {"H5E_NONE_MINOR", &H5E_NONE_MINOR_g},
    {"H5E_UNINITIALIZED", &H5E_UNINITIALIZED_g},
    {"H5E_UNSUPPORTED", &H5E_UNSUPPORTED_g},
    {"H5E_BADTYPE", &H5E_BADTYPE_g},
    {"H5E_BADRANGE", &H5E_BADRANGE_g},
    {"H5E_BADVALUE", &H5E_BADVALUE_g},
    {"H5E_NOSPACE", &H5E_NOSPACE_g},
    {"H5E_CANTCOPY", &H5E_CANTCOPY_g},
    {"H5E_CANTFREE", &H5E_CANTFREE_g},
    {"H5E_ALREADYEXISTS", &H5E_ALREADYEXISTS_g},
    {"H5E_CANTLOCK", &H5E_CANTLOCK_g},
    {"H5E_CANTUNLOCK", &H5E_CANTUNLOCK_g},
    {"H5E_CANTGC", &H5E_CANTGC_g},
    {"H5E_CANTGETSIZE", &H5E_CANTGETSIZE_g},
    {"H5E_FILEEXISTS", &H5E_FILEEXISTS_g},
    {"H5E_FILEOPEN", &H5E_FILEOPEN_g},
    {"H5E_CANTCREATE", &H5E_CANTCREATE_g},
    {"H5E_CANTOPENFILE", &H5E_CANTOPENFILE_g},
    {"H5E_CANTCLOSEFILE", &H5E_CANTCLOSEFILE_g},
    {"H5E_NOTHDF5", nullptr},
    {"H5E_BADFILE", &H5E_BADFILE_g},
    {"H5E_TRUNCATED", &H5E_TRUNCATED_g},
    {"H5E_MOUNT", &H5E_MOUNT_g},
    {"H5E_SEEKERROR", &H5E_SEEKERROR_g},
    {"H5E_READERROR", &H5E_READERROR_g},
    {"H5E_WRITEERROR", &H5E_WRITEERROR_g},
    {"H5E_CLOSEERROR", &H5E_CLOSEERROR_g},
    {"H5E_OVERFLOW", &H5E_OVERFLOW_g},
    {"H5E_FCNTL", &H5E_FCNTL_g},
    {"H5E_CANTINIT", &H5E_CANTINIT_g},
    {"H5E_ALREADYINIT", &H5E_ALREADYINIT_g},
    {"H5E_CANTRELEASE", &H5E_CANTRELEASE_g},
    {"H5E_BADATOM", &H5E_BADATOM_g},
    {"H5E_BADGROUP", &H5E_BADGROUP_g},
    {"H5E_CANTREGISTER", &H5E_CANTREGISTER_g},
    {"H5E_CANTINC", &H5E_CANTINC_g},
    {"H5E_CANTDEC", &H5E_CANTDEC_g},
    {"H5E_NOIDS", &H5E_NOIDS_g},
    {"H5E_CANTFLUSH", &H5E_CANTFLUSH_g},
    {"H5E_CANTSERIALIZE", &H5E_CANTSERIALIZE_g},
    {"H5E_CANTLOAD", &H5E_CANTLOAD_g},
    {"H5E_PROTECT", &H5E_PROTECT_g},
    {"H5E_NOTCACHED", &H5E_NOTCACHED_g},
    {"H5E_SYSTEM", &H5E_SYSTEM_g},
    {"H5E_CANTINS", &H5E_CANTINS_g},
    {"H5E_CANTRENAME", &H5E_CANTRENAME_g},
    {"H5E_CANTPROTECT", &H5E_CANTPROTECT_g},
    {"H5E_CANTUNPROTECT", &H5E_CANTUNPROTECT_g},
    {"H5E_NOTFOUND", &H5E_NOTFOUND_g},
    {"H5E_EXISTS", &H5E_EXISTS_g},
    {"H5E_CANTENCODE", &H5E_CANTENCODE_g},
    {"H5E_CANTDECODE", &H5E_CANTDECODE_g},
    {"H5E_CANTSPLIT", &H5E_CANTSPLIT_g},
    {"H5E_CANTINSERT", &H5E_CANTINSERT_g},
    {"H5E_CANTLIST", &H5E_CANTLIST_g},
    {"H5E_LINKCOUNT", &H5E_LINKCOUNT_g},
    {"H5E_VERSION", &H5E_VERSION_g},
    {"H5E_ALIGNMENT", &H5E_ALIGNMENT_g},
    {"H5E_BADMESG", &H5E_BADMESG_g},
    {"H5E_CANTDELETE", &H5E_CANTDELETE_g},
    {"H5E_BADITER", &H5E_BADITER_g},
    {"H5E_CANTOPENOBJ", &H5E_CANTOPENOBJ_g},
    {"H5E_CANTCLOSEOBJ", &H5E_CANTCLOSEOBJ_g},
    {"H5E_COMPLEN", &H5E_COMPLEN_g},
    {"H5E_LINK", nullptr},
    {"H5E_SLINK", nullptr},
    {"H5E_PATH", &H5E_PATH_g},
    {"H5E_CANTCONVERT", &H5E_CANTCONVERT_g},
    {"H5E_BADSIZE", &H5E_BADSIZE_g},
    {"H5E_CANTCLIP", &H5E_CANTCLIP_g},
    {"H5E_CANTCOUNT", &H5E_CANTCOUNT_g},
    {"H5E_CANTSELECT", &H5E_CANTSELECT_g},
    {"H5E_CANTNEXT", &H5E_CANTNEXT_g},
    {"H5E_BADSELECT", &H5E_BADSELECT_g},
    {"H5E_CANTCOMPARE", &H5E_CANTCOMPARE_g},
    {"H5E_CANTGET", &H5E_CANTGET_g},
    {"H5E_CANTSET", &H5E_CANTSET_g},
    {"H5E_DUPCLASS", &H5E_DUPCLASS_g},
    {"H5E_MPI", &H5E_MPI_g},
    {"H5E_MPIERRSTR", &H5E_MPIERRSTR_g},
    {"H5E_CANTRESTORE", &H5E_CANTRESTORE_g},
    {"H5E_CANTMAKETREE", nullptr},
    {"H5E_NOFILTER", &H5E_NOFILTER_g},
    {"H5E_CALLBACK", &H5E_CALLBACK_g},
    {"H5E_CANAPPLY", &H5E_CANAPPLY_g},
    {"H5E_SETLOCAL", &H5E_SETLOCAL_g},
};

constexpr int kMajorCount = sizeof(kMajors) / sizeof(kMajors[0]);
constexpr int kMinorCount = sizeof(kMinors) / sizeof(kMinors[0]);
static_assert(kMajorCount == hdf_ErrorCode::MajorSlist + 1, "one entry per major code");
static_assert(kMinorCount == hdf_ErrorCode::MinorSetLocal + 1, "one entry per minor code");

// The ordinal whose class is `errorClass`, or -1.
template <int N>
int OrdinalOfClass(const ClassEntry (&table)[N], hid_t errorClass) {
    if (errorClass < 0) return -1;
    H5open();  // the globals hold identifiers only once HDF5 has started
    for (int i = 0; i < N; ++i)
        if (table[i].id && *table[i].id == errorClass) return i;
    return -1;
}

hid_t ClassAt(const ClassEntry& entry) {
    if (!entry.id) return -1;
    H5open();
    return *entry.id;
}

}  // namespace

hdf_ErrorCode::Major hdf_ErrorCode::ToMajor(int h5Major) {
    HDF_REQUIRE(h5Major >= 0 && h5Major < kMajorCount, "Bad H5E_major_t");
    return static_cast<Major>(h5Major);
}

hdf_ErrorCode::Minor hdf_ErrorCode::ToMinor(int h5Minor) {
    HDF_REQUIRE(h5Minor >= 0 && h5Minor < kMinorCount, "Bad H5E_minor_t");
    return static_cast<Minor>(h5Minor);
}

int hdf_ErrorCode::ToH5Major(Major major) {
    HDF_REQUIRE(major >= 0 && major < kMajorCount, "Bad hdf_ErrorCode::Major");
    return major;
}

// The text names the major conversion; it has always been so and messages are matched on it.
int hdf_ErrorCode::ToH5Minor(Minor minor) {
    HDF_REQUIRE(minor >= 0 && minor < kMinorCount, "Bad hdf_ErrorCode::Major");
    return minor;
}

hdf_ErrorCode::Major hdf_ErrorCode::MajorOfClass(hid_t errorClass) {
    const int ordinal = OrdinalOfClass(kMajors, errorClass);
    return ordinal < 0 ? MajorInternal : static_cast<Major>(ordinal);
}

hdf_ErrorCode::Minor hdf_ErrorCode::MinorOfClass(hid_t errorClass) {
    const int ordinal = OrdinalOfClass(kMinors, errorClass);
    return ordinal < 0 ? MinorNone : static_cast<Minor>(ordinal);
}

hid_t hdf_ErrorCode::ClassOf(Major major) {
    return ClassAt(kMajors[ToH5Major(major)]);
}

hid_t hdf_ErrorCode::ClassOf(Minor minor) {
    return ClassAt(kMinors[ToH5Minor(minor)]);
}

const char* hdf_ErrorCode::NameOf(Major major) {
    return kMajors[ToH5Major(major)].name;
}

const char* hdf_ErrorCode::NameOf(Minor minor) {
    return kMinors[ToH5Minor(minor)].name;
}
