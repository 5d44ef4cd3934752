#ifndef VEL_TESTS_HDF_HDF_TESTSUPPORT_H
#define VEL_TESTS_HDF_HDF_TESTSUPPORT_H

#include <gtest/gtest.h>
#include <hdf5.h>

#include <cstdio>
#include <string>
#include <vector>

#include "vel/hdf/hdf_Module.h"
#include "vel/platform/nex_Exception.h"

// HDF5 is started once for the whole test program, as a client of the storage layer would, and
// closed at its end.
class HdfEnvironment : public ::testing::Environment {
public:
    void SetUp() override { hdf_initialize(m_count); }
    void TearDown() override { hdf_finalize(m_count); }

private:
    int m_count = 0;
};

inline ::testing::Environment* const g_hdfEnvironment =
    ::testing::AddGlobalTestEnvironment(new HdfEnvironment);

// Every test must leave behind no open file object and no more identifiers of any kind than it
// found: a wrapper that forgets a reference fails the test that made it.
class HdfTest : public ::testing::Test {
protected:
    void SetUp() override { m_open = OpenIdentifiers(); }
    void TearDown() override {
        EXPECT_EQ(H5Fget_obj_count(H5F_OBJ_ALL, H5F_OBJ_ALL), 0);
        EXPECT_EQ(OpenIdentifiers(), m_open);
    }

    static std::vector<hsize_t> OpenIdentifiers() {
        std::vector<hsize_t> counts;
        for (H5I_type_t type : {H5I_FILE, H5I_GROUP, H5I_DATATYPE, H5I_DATASPACE, H5I_DATASET,
                                H5I_ATTR, H5I_GENPROP_LST}) {
            hsize_t count = 0;
            H5Inmembers(type, &count);
            counts.push_back(count);
        }
        return counts;
    }

private:
    std::vector<hsize_t> m_open;
};

// `statement` must raise the assertion exception with exactly `text`, naming a unit and line.
#define ExpectAssertException(statement, text)                          \
    do {                                                                \
        try {                                                           \
            statement;                                                  \
            ADD_FAILURE() << "no nex_AssertException from " #statement; \
        } catch (const nex_AssertException& e) {                        \
            EXPECT_STREQ(e.Text(), text);                               \
            EXPECT_STRNE(e.Unit(), "");                                 \
            EXPECT_GT(e.Line(), 0);                                     \
        }                                                               \
    } while (0)

// `length` bytes of the file from `offset` on, read with plain streams.
inline std::string FileBytes(const char* name, long offset, size_t length) {
    std::string bytes(length, '\0');
    std::FILE* file = std::fopen(name, "rb");
    if (!file) return "";
    std::fseek(file, offset, SEEK_SET);
    bytes.resize(std::fread(&bytes[0], 1, length, file));
    std::fclose(file);
    return bytes;
}

#endif
