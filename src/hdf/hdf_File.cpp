#include "vel/hdf/hdf_File.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

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
