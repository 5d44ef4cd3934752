#ifndef VEL_TESTS_CONTEXT_VELCONTEXTFILEHELPERS_H
#define VEL_TESTS_CONTEXT_VELCONTEXTFILEHELPERS_H

// Independent access to database files for the context tests: raw bytes through stdio and the
// root layout through the HDF5 C API, never through the library.

#include <gtest/gtest.h>
#include <hdf5.h>

#include <cstdio>
#include <string>
#include <vector>

inline std::string ReadFileBytes(const std::string& name) {
    std::string bytes;
    std::FILE* f = std::fopen(name.c_str(), "rb");
    if (!f) return bytes;
    char buffer[4096];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) bytes.append(buffer, n);
    std::fclose(f);
    return bytes;
}

inline void WriteFileBytes(const std::string& name, const std::string& bytes) {
    std::FILE* f = std::fopen(name.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    ASSERT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), f), bytes.size());
    std::fclose(f);
}

// Overwrites `text` (and its terminating zero) at `offset`.
inline void PatchFile(const std::string& name, long offset, const std::string& text) {
    std::FILE* f = std::fopen(name.c_str(), "r+b");
    ASSERT_NE(f, nullptr);
    ASSERT_EQ(std::fseek(f, offset, SEEK_SET), 0);
    ASSERT_EQ(std::fwrite(text.c_str(), 1, text.size() + 1, f), text.size() + 1);
    std::fclose(f);
}

// An HDF5 file opened with the C API, closed at the end of the scope.
class RawFile {
public:
    RawFile(const std::string& name, unsigned flags) {
        m_id = H5Fopen(name.c_str(), flags, H5P_DEFAULT);
        EXPECT_GE(m_id, 0) << name;
    }
    ~RawFile() {
        if (m_id >= 0) H5Fclose(m_id);
    }
    RawFile(const RawFile&) = delete;
    RawFile& operator=(const RawFile&) = delete;
    hid_t id() const { return m_id; }

    hsize_t UserBlockSize() const {
        hid_t plist = H5Fget_create_plist(m_id);
        hsize_t size = 0;
        H5Pget_userblock(plist, &size);
        H5Pclose(plist);
        return size;
    }

    // Every int of a one-dimensional int dataset.
    std::vector<int> ReadInts(const char* path) const {
        hid_t ds = H5Dopen2(m_id, path, H5P_DEFAULT);
        EXPECT_GE(ds, 0) << path;
        hid_t space = H5Dget_space(ds);
        std::vector<int> values(static_cast<size_t>(H5Sget_simple_extent_npoints(space)));
        EXPECT_EQ(H5Sget_simple_extent_ndims(space), 1);
        H5Dread(ds, H5T_NATIVE_INT, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data());
        H5Sclose(space);
        H5Dclose(ds);
        return values;
    }

    // Every int of a one-dimensional int attribute of an object.
    std::vector<int> ReadIntAttribute(const char* object, const char* name) const {
        hid_t attr = H5Aopen_by_name(m_id, object, name, H5P_DEFAULT, H5P_DEFAULT);
        EXPECT_GE(attr, 0) << object << " " << name;
        hid_t space = H5Aget_space(attr);
        std::vector<int> values(static_cast<size_t>(H5Sget_simple_extent_npoints(space)));
        H5Aread(attr, H5T_NATIVE_INT, values.data());
        H5Sclose(space);
        H5Aclose(attr);
        return values;
    }

    // Replaces (or makes) the dataset at `path`, laid out as `creation` says, with `values`.
    void WriteInts(const char* path, const std::vector<int>& values, hid_t creation = H5P_DEFAULT,
                   hsize_t maxSize = 0) const {
        if (H5Lexists(m_id, path, H5P_DEFAULT) > 0) H5Ldelete(m_id, path, H5P_DEFAULT);
        hsize_t n = values.size();
        hid_t space = H5Screate_simple(1, &n, maxSize ? &maxSize : nullptr);
        hid_t ds =
            H5Dcreate2(m_id, path, H5T_NATIVE_INT, space, H5P_DEFAULT, creation, H5P_DEFAULT);
        H5Dwrite(ds, H5T_NATIVE_INT, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data());
        H5Dclose(ds);
        H5Sclose(space);
    }

    // Replaces (or makes) the int attribute `name` of the object at `path`.
    void WriteIntAttribute(const char* path, const char* name,
                           const std::vector<int>& values) const {
        hid_t object = H5Oopen(m_id, path, H5P_DEFAULT);
        ASSERT_GE(object, 0) << path;
        if (H5Aexists(object, name) > 0) H5Adelete(object, name);
        hsize_t n = values.size();
        hid_t space = H5Screate_simple(1, &n, nullptr);
        hid_t attr = H5Acreate2(object, name, H5T_NATIVE_INT, space, H5P_DEFAULT, H5P_DEFAULT);
        H5Awrite(attr, H5T_NATIVE_INT, values.data());
        H5Aclose(attr);
        H5Sclose(space);
        H5Oclose(object);
    }

    // A group (made if missing) whose "type" attribute holds `values`, if any are given.
    void MakeTypedGroup(const char* path, const std::vector<int>& values) const {
        if (H5Lexists(m_id, path, H5P_DEFAULT) <= 0)
            H5Gclose(H5Gcreate2(m_id, path, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
        if (!values.empty()) WriteIntAttribute(path, "type", values);
    }

private:
    hid_t m_id;
};

// The number of HDF5 files, groups, datasets, datatypes and attributes open in the process.
inline ssize_t OpenHdf5Objects() {
    return H5Fget_obj_count(H5F_OBJ_ALL, H5F_OBJ_ALL);
}

#endif
