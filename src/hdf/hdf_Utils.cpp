#include "vel/hdf/hdf_Utils.h"

#include <sys/statvfs.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "hdf/hdf_Here.h"
#include "vel/hdf/hdf_Exception.h"

namespace {

const char kHdfUnit[] = "hdf_Utils";

// The directory that holds (or would hold) `path`.
std::string DirectoryOf(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

uint64_t hdf_Utils::GetFreeDiskSpace(const char* path) {
    struct statvfs volume;
    int result = statvfs(path, &volume);
    if (result != 0 && (errno == ENOENT || errno == ENOTDIR))
        result = statvfs(DirectoryOf(path).c_str(), &volume);
    if (result != 0) {
        atr_String text;
        atr_translate(text, "Unable to query the free space of \"%s\": %s\n", path,
                      std::strerror(errno));
        throw hdf_Exception(HDF_HERE, hdf_ErrorCode::MajorIO, hdf_ErrorCode::MinorSystem,
                            text.c_str());
    }
    // f_bavail counts the blocks free to unprivileged callers, in units of f_frsize.
    return static_cast<uint64_t>(volume.f_bavail) * static_cast<uint64_t>(volume.f_frsize);
}
