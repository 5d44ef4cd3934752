#ifndef VEL_HDF_HDF_FILE_H
#define VEL_HDF_HDF_FILE_H

#include <hdf5.h>
#ifdef VEL_PARALLEL
#include <mpi.h>
#endif

#include "vel/VelExport.h"
#include "vel/hdf/hdf_Group.h"
#include "vel/hdf/hdf_Object.h"
#include "vel/hdf/hdf_PropList.h"
#include "vel/platform/cow_String.h"

// An HDF5 file.  As a group it addresses the root group; it also keeps the file identifier in a
// second object, so a live file object holds two references to its identifier.
//
// Create and Open throw an hdf_Exception when the file cannot be had; the _NoThrow forms return
// an object with identifier -1 whose GetError() tells why.
//
// The user-block forms reserve (Create) or read (Open) a block of the caller's bytes at the very
// start of the file.  HDF5 reserves the block in multiples of 512 bytes (and only accepts a
// power of two), and skips it when it reads the file; the bytes themselves are written and read
// with plain file streams.
class VEL_API hdf_File : public hdf_Group {
public:
    // An illegal value of either enumeration raises "Illegal hdf_File::CreateFlags value."
    enum CreateFlags { CreateFlagsTruncate = 0, CreateFlagsExclusive = 1 };
    enum OpenFlags { OpenFlagsReadWrite = 0, OpenFlagsReadOnly = 1 };

    hdf_File() = default;

    static hdf_File Create(const char* name, CreateFlags flags);
    static hdf_File Create(const char* name, CreateFlags flags,
                           const hdf_PropListFileAccess& access);
    static hdf_File Create(const char* name, CreateFlags flags, const char* userBlock, int length);
    static hdf_File Create(const char* name, CreateFlags flags,
                           const hdf_PropListFileAccess& access, const char* userBlock, int length);
    static hdf_File Create_NoThrow(const char* name, CreateFlags flags);
    static hdf_File Create_NoThrow(const char* name, CreateFlags flags,
                                   const hdf_PropListFileAccess& access);
    static hdf_File Create_NoThrow(const char* name, CreateFlags flags, const char* userBlock,
                                   int length);
    static hdf_File Create_NoThrow(const char* name, CreateFlags flags,
                                   const hdf_PropListFileAccess& access, const char* userBlock,
                                   int length);

    static hdf_File Open(const char* name, OpenFlags flags);
    static hdf_File Open(const char* name, OpenFlags flags, const hdf_PropListFileAccess& access);
    static hdf_File Open(const char* name, OpenFlags flags, char* userBlock, int length);
    static hdf_File Open(const char* name, OpenFlags flags, const hdf_PropListFileAccess& access,
                         char* userBlock, int length);
    static hdf_File Open_NoThrow(const char* name, OpenFlags flags);
    static hdf_File Open_NoThrow(const char* name, OpenFlags flags,
                                 const hdf_PropListFileAccess& access);
    static hdf_File Open_NoThrow(const char* name, OpenFlags flags, char* userBlock, int length);
    static hdf_File Open_NoThrow(const char* name, OpenFlags flags,
                                 const hdf_PropListFileAccess& access, char* userBlock, int length);

#ifdef VEL_PARALLEL
    // The file shared by every rank of `comm` through HDF5's MPI-IO driver.  Collective: every
    // rank calls with the same arguments.  Rank 0 alone writes (Create) or reads (Open) the user
    // block and hands the outcome to the others, so every rank throws, or returns an empty
    // file, together.  The metadata cache holds what HDF5 changes until the file is flushed
    // (up to 48 MiB of metadata), and a created file never reuses space freed while it is
    // open: between two flushes nothing the last flush wrote is overwritten.  A flush (Flush,
    // Sync, closing) is collective and forces the file to storage (MPI_File_sync).
    static hdf_File CreateParallel(const char* name, CreateFlags flags, MPI_Comm comm,
                                   const char* userBlock, int length);
    static hdf_File OpenParallel_NoThrow(const char* name, OpenFlags flags, MPI_Comm comm,
                                         char* userBlock, int length);
    // Whether the file was opened through the MPI-IO driver.
    bool IsParallel() const {
        return m_parallel;
    }
#endif

    // Whether `name` is an HDF5 file; a file that cannot be examined throws.
    static bool IsHdf5(const char* name);

    const cow_String& Name() const {
        return m_name;
    }
    // False for every created file; true for a file opened read-only.
    bool IsReadOnly() const {
        return m_readOnly;
    }
    // The file identifier (the same as GetID() while the object is whole).
    hid_t GetFileID() const {
        return m_file.GetID();
    }
    // Flush, then forces the file's data to stable storage (fsync), so that what the file
    // holds survives a power loss too.  Throws hdf_Exception on failure.
    void Sync() const;
    // Releases both references.
    void Nullify();

private:
    hdf_File(hid_t fileID, const char* name, bool readOnly);
    explicit hdf_File(const hdf_Exception& error) : hdf_Group(error) {}

    static hdf_File CreateImpl(const char* name, CreateFlags flags, hid_t access,
                               const char* userBlock, int length);
    static hdf_File OpenImpl(const char* name, OpenFlags flags, hid_t access, char* userBlock,
                             int length);
    static hdf_File ThrowIfEmpty(hdf_File file);
    static hdf_File OpenWith(const char* name, unsigned accessFlags, hid_t access, bool readOnly);

    hdf_Object m_file;
    bool m_readOnly = false;
#ifdef VEL_PARALLEL
    bool m_parallel = false;
#endif
    cow_String m_name;
};

#endif
