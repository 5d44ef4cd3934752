// Creating and opening a database file through the manager, against the bare HDF5 calls in the
// same run:
//   create + close:  VelManager::CreateContext / CloseContext   vs  H5Fcreate with the same
//                    512-byte user block / H5Fclose;
//                    and, to show what the difference is made of, the same file content written
//                    with raw calls (signature bytes, "Context attributes", the record store);
//   open + close:    VelManager::OpenContext / CloseContext     vs  H5Fopen / H5Fclose;
//                    and the least an open must read of the layout, with raw calls.
// The ratios are printed after the table.

#include <benchmark/benchmark.h>
#include <hdf5.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#include "VelBenchSupport.h"
#include "vel/UTI_VelDynamicAPI.h"
#include "vel/context/VelManager.h"

namespace {

const char* const kVelFile = "vel_bench_context.h5";
const char* const kRawFile = "vel_bench_context_raw.h5";

hid_t UserBlockCreationList() {
    hid_t fcpl = H5Pcreate(H5P_FILE_CREATE);
    H5Pset_userblock(fcpl, 512);
    return fcpl;
}

void WriteTypeAttribute(hid_t group, int kind) {
    const int values[2] = {kind, 0};
    hsize_t two = 2;
    hid_t space = H5Screate_simple(1, &two, nullptr);
    hid_t attr = H5Acreate2(group, "type", H5T_NATIVE_INT, space, H5P_DEFAULT, H5P_DEFAULT);
    H5Awrite(attr, H5T_NATIVE_INT, values);
    H5Aclose(attr);
    H5Sclose(space);
}

void BM_VelCreateClose(benchmark::State& state) {
    for (auto _ : state) {
        const VelContextID id =
            VelManager::CreateContext(kVelFile, hdf_File::CreateFlagsTruncate, 1);
        VelManager::CloseContext(id);
    }
}
BENCHMARK(BM_VelCreateClose);

void BM_Hdf5CreateClose(benchmark::State& state) {
    hid_t fcpl = UserBlockCreationList();
    for (auto _ : state) {
        hid_t file = H5Fcreate(kRawFile, H5F_ACC_TRUNC, fcpl, H5P_DEFAULT);
        H5Fclose(file);
    }
    H5Pclose(fcpl);
}
BENCHMARK(BM_Hdf5CreateClose);

// The database's content made with raw calls in one pass: the same user block, signature,
// dataset and groups as a new context.
void BM_Hdf5CreateLayoutClose(benchmark::State& state) {
    hid_t fcpl = UserBlockCreationList();
    char block[512] = {};
    std::memcpy(block, "\x89ORB\r\n\x1a\n", 8);
    std::strcpy(block + 16, "KORVANE TELMIR");
    std::strcpy(block + 48, "6");
    std::strcpy(block + 81, "7");
    std::strcpy(block + 114, "1");
    std::strcpy(block + 147, "2");
    std::strcpy(block + 180, "1");
    for (auto _ : state) {
        hid_t file = H5Fcreate(kRawFile, H5F_ACC_TRUNC, fcpl, H5P_DEFAULT);
        const int attributes[2] = {0, 8};
        hsize_t two = 2;
        hid_t space = H5Screate_simple(1, &two, nullptr);
        hid_t ds = H5Dcreate2(file, "Context attributes", H5T_NATIVE_INT, space, H5P_DEFAULT,
                              H5P_DEFAULT, H5P_DEFAULT);
        H5Dwrite(ds, H5T_NATIVE_INT, H5S_ALL, H5S_ALL, H5P_DEFAULT, attributes);
        H5Dclose(ds);
        H5Sclose(space);
        for (int kind : {4, 5}) {
            hid_t group = H5Gcreate2(file, kind == 4 ? "stringTable" : "record", H5P_DEFAULT,
                                     H5P_DEFAULT, H5P_DEFAULT);
            WriteTypeAttribute(group, kind);
            H5Gclose(group);
        }
        H5Fclose(file);
        std::FILE* f = std::fopen(kRawFile, "rb+");
        std::fwrite(block, 1, sizeof block, f);
        std::fclose(f);
    }
    H5Pclose(fcpl);
}
BENCHMARK(BM_Hdf5CreateLayoutClose);

void BM_VelOpenClose(benchmark::State& state) {
    VelManager::CloseContext(VelManager::CreateContext(kVelFile, hdf_File::CreateFlagsTruncate, 1));
    const auto flags = state.range(0) ? hdf_File::OpenFlagsReadOnly : hdf_File::OpenFlagsReadWrite;
    for (auto _ : state) {
        const VelContextID id = VelManager::OpenContext(kVelFile, flags, 1);
        if (id.IsNull()) state.SkipWithError("the database was refused");
        VelManager::CloseContext(id);
    }
}
BENCHMARK(BM_VelOpenClose)->ArgName("readOnly")->Arg(0)->Arg(1);

void BM_Hdf5OpenClose(benchmark::State& state) {
    VelManager::CloseContext(VelManager::CreateContext(kVelFile, hdf_File::CreateFlagsTruncate, 1));
    const unsigned flags = state.range(0) ? H5F_ACC_RDONLY : H5F_ACC_RDWR;
    for (auto _ : state) {
        hid_t file = H5Fopen(kVelFile, flags, H5P_DEFAULT);
        H5Fclose(file);
    }
}
BENCHMARK(BM_Hdf5OpenClose)->ArgName("readOnly")->Arg(0)->Arg(1);

// What an open must do at the least, with raw calls: read and compare the signature block,
// open the file, read "Context attributes", open every group under the root and read its
// "type", and (read-write) write "Context attributes" back.
void BM_Hdf5OpenLayoutClose(benchmark::State& state) {
    VelManager::CloseContext(VelManager::CreateContext(kVelFile, hdf_File::CreateFlagsTruncate, 1));
    const bool readOnly = state.range(0) != 0;
    for (auto _ : state) {
        char block[512];
        std::FILE* f = std::fopen(kVelFile, "rb");
        const size_t got = std::fread(block, 1, sizeof block, f);
        std::fclose(f);
        if (got != sizeof block || std::memcmp(block, "\x89ORB", 4) != 0)
            state.SkipWithError("no signature");
        hid_t file = H5Fopen(kVelFile, readOnly ? H5F_ACC_RDONLY : H5F_ACC_RDWR, H5P_DEFAULT);
        hid_t ds = H5Dopen2(file, "Context attributes", H5P_DEFAULT);
        int attributes[2];
        H5Dread(ds, H5T_NATIVE_INT, H5S_ALL, H5S_ALL, H5P_DEFAULT, attributes);
        H5G_info_t info;
        H5Gget_info(file, &info);
        for (hsize_t i = 0; i < info.nlinks; ++i) {
            char name[64];
            H5Lget_name_by_idx(file, ".", H5_INDEX_NAME, H5_ITER_INC, i, name, sizeof name,
                               H5P_DEFAULT);
            H5O_info_t object;
            H5Oget_info_by_name(file, name, &object, H5P_DEFAULT);
            if (object.type != H5O_TYPE_GROUP) continue;
            hid_t group = H5Gopen2(file, name, H5P_DEFAULT);
            hid_t type = H5Aopen(group, "type", H5P_DEFAULT);
            int values[2];
            H5Aread(type, H5T_NATIVE_INT, values);
            H5Aclose(type);
            H5Gclose(group);
        }
        if (!readOnly) H5Dwrite(ds, H5T_NATIVE_INT, H5S_ALL, H5S_ALL, H5P_DEFAULT, attributes);
        H5Dclose(ds);
        H5Fclose(file);
    }
}
BENCHMARK(BM_Hdf5OpenLayoutClose)->ArgName("readOnly")->Arg(0)->Arg(1);

}  // namespace

int main(int argc, char** argv) {
    const int result =
        VelRunBenchmarks(argc, argv,
                         {{"BM_VelCreateClose", "BM_Hdf5CreateClose"},
                          {"BM_VelCreateClose", "BM_Hdf5CreateLayoutClose"},
                          {"BM_VelOpenClose/readOnly:0", "BM_Hdf5OpenClose/readOnly:0"},
                          {"BM_VelOpenClose/readOnly:1", "BM_Hdf5OpenClose/readOnly:1"},
                          {"BM_VelOpenClose/readOnly:0", "BM_Hdf5OpenLayoutClose/readOnly:0"},
                          {"BM_VelOpenClose/readOnly:1", "BM_Hdf5OpenLayoutClose/readOnly:1"}});
    std::remove(kVelFile);
    std::remove(kRawFile);
    return result;
}
