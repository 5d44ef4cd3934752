#include "vel/hdf/hdf_File.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "hdf/hdf_FileAccess.h"
#include "hdf/hdf_Here.h"
#include "hdf/hdf_Journal.h"

namespace {

const char kHdfUnit[] = "hdf_File";

// HDF5 reserves user blocks in whole multiples of 512 bytes.
constexpr hsize_t kUserBlockUnit = 512;

// One text serves both flag mappings; callers match on it.
unsigned CreateAccess(hdf_File::CreateFlags flags) {
    switch (flags) {
        case hdf_File::CreateFlagsTruncate:
            return H5F_ACC_TRUNC;
        case hdf_File::CreateFlagsExclusive:
            return H5F_ACC_EXCL;
    }
    throw nex_AssertException(HDF_HERE, "Illegal hdf_File::CreateFlags value.");
}

unsigned OpenAccess(hdf_File::OpenFlags flags) {
    switch (flags) {
        case hdf_File::OpenFlagsReadWrite:
            return H5F_ACC_RDWR;
        case hdf_File::OpenFlagsReadOnly:
            return H5F_ACC_RDONLY;
    }
    throw nex_AssertException(HDF_HERE, "Illegal hdf_File::CreateFlags value.");
}

hdf_Exception StreamError(int line, hdf_ErrorCode::Minor minor, const char* what, const char* name,
                          int error) {
    atr_String text;
    atr_translate(text, "Unable to %s the user block of \"%s\": %s\n", what, name,
                  error ? std::strerror(error) : "end of file");
    return hdf_Exception(kHdfUnit, line, hdf_ErrorCode::MajorFile, minor, text.c_str());
}

// Writes `length` bytes at the start of an existing file; false with `error` set on failure.
bool WriteUserBlock(const char* name, const char* userBlock, int length, hdf_Exception& error) {
    errno = 0;
    std::FILE* file = std::fopen(name, "rb+");
    if (!file) {
        error = StreamError(__LINE__, hdf_ErrorCode::MinorCantOpenFile, "open", name, errno);
        return false;
    }
    const size_t wanted = static_cast<size_t>(length);
    const bool written = std::fwrite(userBlock, 1, wanted, file) == wanted;
    const int writeError = errno;
    // Buffered bytes reach the file only at the close, so a failing close is a short write too.
    const bool closed = std::fclose(file) == 0;
    if (written && closed) return true;
    error = StreamError(__LINE__, hdf_ErrorCode::MinorWriteError, "write", name,
                        written ? errno : writeError);
    return false;
}

// Reads `length` bytes from the start of a file; false with `error` set on failure.
bool ReadUserBlock(const char* name, char* userBlock, int length, hdf_Exception& error) {
    errno = 0;
    std::FILE* file = std::fopen(name, "rb");
    if (!file) {
        error = StreamError(__LINE__, hdf_ErrorCode::MinorCantOpenFile, "open", name, errno);
        return false;
    }
    const size_t wanted = static_cast<size_t>(length);
    const bool read = std::fread(userBlock, 1, wanted, file) == wanted;
    const int readError = std::ferror(file) ? errno : 0;
    std::fclose(file);
    if (read) return true;
    error = StreamError(__LINE__, hdf_ErrorCode::MinorReadError, "read", name, readError);
    return false;
}

}  // namespace

hdf_File::hdf_File(hid_t fileID, const char* name, bool readOnly)
    : m_file(fileID), m_readOnly(readOnly), m_name(name) {
    static_cast<hdf_Object&>(*this) = m_file;
}

void hdf_File::Nullify() {
    m_file.Nullify();
    hdf_Group::Nullify();
}

hdf_File hdf_File::ThrowIfEmpty(hdf_File file) {
    if (file.IsEmpty()) file.GetError().Propagate();
    return file;
}

hdf_File hdf_File::OpenWith(const char* name, unsigned accessFlags, hid_t access, bool readOnly) {
    const hid_t id = H5Fopen(name, accessFlags, access);
    if (id < 0) return hdf_File(hdf_Exception(HDF_HERE, true));
    return hdf_File(id, name, readOnly);
}

hdf_File hdf_File::CreateImpl(const char* name, CreateFlags flags, hid_t access,
                              const char* userBlock, int length) {
    const unsigned accessFlags = CreateAccess(flags);
    hid_t creation = H5P_DEFAULT;
    hdf_PropListFileCreate withUserBlock{hid_t{-1}};
    if (length >= 1) {
        H5open();
        try {
            withUserBlock = hdf_PropListFileCreate();
        } catch (const hdf_Exception& error) {
            return hdf_File(error);
        }
        withUserBlock.SetNoThrow(true);
        const hsize_t units = (static_cast<hsize_t>(length) + kUserBlockUnit - 1) / kUserBlockUnit;
        withUserBlock.SetUserBlockSize(units * kUserBlockUnit);
        const hdf_Exception error = withUserBlock.GetError();
        if (error.IsError()) return hdf_File(error);
        creation = withUserBlock.ID();
    }
    const hid_t id = H5Fcreate(name, accessFlags, creation, access);
    if (id < 0) return hdf_File(hdf_Exception(HDF_HERE, true));
    hdf_File file(id, name, false);
    if (length < 1) return file;

    // HDF5 leaves the reserved block alone; it is filled through a plain stream while HDF5 has
    // the file closed, and the file is then opened again.
    file.Nullify();
    hdf_Exception error;
    if (!WriteUserBlock(name, userBlock, length, error)) return hdf_File(error);
    return OpenWith(name, H5F_ACC_RDWR, access, false);
}

hdf_File hdf_File::OpenImpl(const char* name, OpenFlags flags, hid_t access, char* userBlock,
                            int length) {
    const unsigned accessFlags = OpenAccess(flags);
    if (length >= 1) {
        hdf_Exception error;
        if (!ReadUserBlock(name, userBlock, length, error)) return hdf_File(error);
    }
    return OpenWith(name, accessFlags, access, flags == OpenFlagsReadOnly);
}

hdf_File hdf_File::Create(const char* name, CreateFlags flags) {
    return ThrowIfEmpty(CreateImpl(name, flags, H5P_DEFAULT, nullptr, 0));
}

hdf_File hdf_File::Create(const char* name, CreateFlags flags,
                          const hdf_PropListFileAccess& access) {
    return ThrowIfEmpty(CreateImpl(name, flags, access.ID(), nullptr, 0));
}

hdf_File hdf_File::Create(const char* name, CreateFlags flags, const char* userBlock, int length) {
    return ThrowIfEmpty(CreateImpl(name, flags, H5P_DEFAULT, userBlock, length));
}

hdf_File hdf_File::Create(const char* name, CreateFlags flags, const hdf_PropListFileAccess& access,
                          const char* userBlock, int length) {
    return ThrowIfEmpty(CreateImpl(name, flags, access.ID(), userBlock, length));
}

hdf_File hdf_File::Create_NoThrow(const char* name, CreateFlags flags) {
    return CreateImpl(name, flags, H5P_DEFAULT, nullptr, 0);
}

hdf_File hdf_File::Create_NoThrow(const char* name, CreateFlags flags,
                                  const hdf_PropListFileAccess& access) {
    return CreateImpl(name, flags, access.ID(), nullptr, 0);
}

hdf_File hdf_File::Create_NoThrow(const char* name, CreateFlags flags, const char* userBlock,
                                  int length) {
    return CreateImpl(name, flags, H5P_DEFAULT, userBlock, length);
}

hdf_File hdf_File::Create_NoThrow(const char* name, CreateFlags flags,
                                  const hdf_PropListFileAccess& access, const char* userBlock,
                                  int length) {
    return CreateImpl(name, flags, access.ID(), userBlock, length);
}

hdf_File hdf_File::Open(const char* name, OpenFlags flags) {
    return ThrowIfEmpty(OpenImpl(name, flags, H5P_DEFAULT, nullptr, 0));
}

hdf_File hdf_File::Open(const char* name, OpenFlags flags, const hdf_PropListFileAccess& access) {
    return ThrowIfEmpty(OpenImpl(name, flags, access.ID(), nullptr, 0));
}

hdf_File hdf_File::Open(const char* name, OpenFlags flags, char* userBlock, int length) {
    return ThrowIfEmpty(OpenImpl(name, flags, H5P_DEFAULT, userBlock, length));
}

hdf_File hdf_File::Open(const char* name, OpenFlags flags, const hdf_PropListFileAccess& access,
                        char* userBlock, int length) {
    return ThrowIfEmpty(OpenImpl(name, flags, access.ID(), userBlock, length));
}

hdf_File hdf_File::Open_NoThrow(const char* name, OpenFlags flags) {
    return OpenImpl(name, flags, H5P_DEFAULT, nullptr, 0);
}

hdf_File hdf_File::Open_NoThrow(const char* name, OpenFlags flags,
                                const hdf_PropListFileAccess& access) {
    return OpenImpl(name, flags, access.ID(), nullptr, 0);
}

hdf_File hdf_File::Open_NoThrow(const char* name, OpenFlags flags, char* userBlock, int length) {
    return OpenImpl(name, flags, H5P_DEFAULT, userBlock, length);
}

hdf_File hdf_File::Open_NoThrow(const char* name, OpenFlags flags,
                                const hdf_PropListFileAccess& access, char* userBlock, int length) {
    return OpenImpl(name, flags, access.ID(), userBlock, length);
}

// A journaled file is synced by its commit, in the order a power loss needs; a file of the
// default driver is flushed and then synced through its descriptor.
void hdf_File::Sync() const {
    if (H5Fflush(GetFileID(), H5F_SCOPE_LOCAL) < 0) throw hdf_Exception(HDF_HERE, true);
    if (hdf_Journal::IsJournaled(GetFileID())) {
        hdf_Journal::Commit(GetFileID(), true);
        return;
    }
    const hid_t access = H5Fget_access_plist(GetFileID());
    if (access < 0) throw hdf_Exception(HDF_HERE, true);
    const hid_t driver = H5Pget_driver(access);
    H5Pclose(access);
    if (driver != H5FD_SEC2) return;
    void* handle = nullptr;
    if (H5Fget_vfd_handle(GetFileID(), H5P_DEFAULT, &handle) < 0)
        throw hdf_Exception(HDF_HERE, true);
    if (fsync(*static_cast<int*>(handle)) != 0)
        throw hdf_Exception(HDF_HERE, hdf_ErrorCode::MajorFile, hdf_ErrorCode::MinorCantFlush,
                            std::strerror(errno));
}

bool hdf_File::IsHdf5(const char* name) {
    const htri_t isHdf5 = H5Fis_hdf5(name);
    if (isHdf5 < 0) throw hdf_Exception(HDF_HERE, true);
    return isHdf5 > 0;
}

#ifdef VEL_PARALLEL

namespace {

// What HDF5 changes stays in the metadata cache until a flush: HDF5 writes dirty entries
// between flushes only to keep free a fraction of the cache's size, so the cache is made large
// (64 MiB) and the fraction small (1 %).  Nothing is evicted on close: HDF5 1.10 does not offer
// that under MPI-IO.  Metadata is written collectively at a flush.
constexpr size_t kParallelCacheBytes = size_t{64} << 20;

hdf_PropListFileAccess ParallelAccess(MPI_Comm comm) {
    hdf_PropListFileAccess access;
    const hid_t id = access.ID();
    if (H5Pset_fapl_mpio(id, comm, MPI_INFO_NULL) < 0) throw hdf_Exception(HDF_HERE, true);
    if (H5Pset_coll_metadata_write(id, 1) < 0) throw hdf_Exception(HDF_HERE, true);
    H5AC_cache_config_t config = hdf_FixMetadataCache(id, kParallelCacheBytes);
    config.min_clean_fraction = 0.01;
    config.dirty_bytes_threshold = kParallelCacheBytes / 4;
    if (H5Pset_mdc_config(id, &config) < 0) throw hdf_Exception(HDF_HERE, true);
    hdf_AlignBulkData(id);
    return access;
}

// A user block of `length` bytes, and no reuse of freed space while the file is open: space
// HDF5 gives back may still hold what the last flush wrote.
hdf_PropListFileCreate ParallelCreation(int length) {
    hdf_PropListFileCreate creation;
    const hsize_t units = (static_cast<hsize_t>(length) + kUserBlockUnit - 1) / kUserBlockUnit;
    creation.SetUserBlockSize(units * kUserBlockUnit);
    if (H5Pset_file_space_strategy(creation.ID(), H5F_FSPACE_STRATEGY_NONE, 0, 1) < 0)
        throw hdf_Exception(HDF_HERE, true);
    return creation;
}

// Rank 0's outcome, the same on every rank: true, or false with `error` set.
bool SharedOutcome(MPI_Comm comm, bool succeeded, hdf_Exception& error, const char* what,
                   const char* name) {
    int rank = 0;
    MPI_Comm_rank(comm, &rank);
    int ok = succeeded ? 1 : 0;
    MPI_Bcast(&ok, 1, MPI_INT, 0, comm);
    if (ok) return true;
    if (rank != 0) {
        atr_String text;
        atr_translate(text, "Rank 0 was unable to %s the user block of \"%s\"\n", what, name);
        error = hdf_Exception(kHdfUnit, __LINE__, hdf_ErrorCode::MajorFile,
                              hdf_ErrorCode::MinorCantOpenFile, text.c_str());
    }
    return false;
}

}  // namespace

hdf_File hdf_File::CreateParallel(const char* name, CreateFlags flags, MPI_Comm comm,
                                  const char* userBlock, int length) {
    const unsigned accessFlags = CreateAccess(flags);
    H5open();
    const hdf_PropListFileAccess access = ParallelAccess(comm);
    const hdf_PropListFileCreate creation = ParallelCreation(length);
    const hid_t id = H5Fcreate(name, accessFlags, creation.ID(), access.ID());
    if (id < 0) throw hdf_Exception(HDF_HERE, true);
    if (H5Fclose(id) < 0) throw hdf_Exception(HDF_HERE, true);
    int rank = 0;
    MPI_Comm_rank(comm, &rank);
    hdf_Exception error;
    const bool written = rank != 0 || WriteUserBlock(name, userBlock, length, error);
    if (!SharedOutcome(comm, written, error, "write", name)) error.Propagate();
    hdf_File file = ThrowIfEmpty(OpenWith(name, H5F_ACC_RDWR, access.ID(), false));
    file.m_parallel = true;
    return file;
}

hdf_File hdf_File::OpenParallel_NoThrow(const char* name, OpenFlags flags, MPI_Comm comm,
                                        char* userBlock, int length) {
    const unsigned accessFlags = OpenAccess(flags);
    H5open();
    int rank = 0;
    MPI_Comm_rank(comm, &rank);
    hdf_Exception error;
    const bool read = rank != 0 || ReadUserBlock(name, userBlock, length, error);
    if (!SharedOutcome(comm, read, error, "read", name)) return hdf_File(error);
    MPI_Bcast(userBlock, length, MPI_CHAR, 0, comm);
    hdf_PropListFileAccess access{hid_t{-1}};
    try {
        access = ParallelAccess(comm);
    } catch (const hdf_Exception& failure) {
        return hdf_File(failure);
    }
    hdf_File file = OpenWith(name, accessFlags, access.ID(), flags == OpenFlagsReadOnly);
    file.m_parallel = !file.IsEmpty();
    return file;
}

#endif
