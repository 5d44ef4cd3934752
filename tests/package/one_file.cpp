// The walk-through of docs/guide.md, whole: a program built with nothing but
// `pkg-config --cflags --libs vel`.  It writes a 4 x 3 field of doubles into a new database,
// closes it, opens it again read-only and reads the field back.
#include <vel/vel.h>

#include <cstdio>
#include <vector>

namespace {

// Writes `values` (4 x 3, row by row) as one drawer over two new collections.
void WriteField(const char* file, std::vector<double>& values) {
    const VelContextID id = VelManager::CreateContext(file, hdf_File::CreateFlagsTruncate, 1);
    const VelContextRef context(id);
    VelArray<VelCollectionID> grid(2);
    grid[0] = context.CreateCollection(4);  // nodes
    grid[1] = context.CreateCollection(3);  // components
    const VelDistributionID field =
        context.CreateDistribution(VelGrid(grid), VelRangeType(VelTypeKeyDouble));

    VelTransfer transfer{VelDistributionRef(field)};
    transfer.SetMakeNewDrawer().SetBufferPadding(false);
    transfer.SetDims(VelCollectionRef(grid[0]).BiggestCSetID(),
                     VelCollectionRef(grid[1]).BiggestCSetID());
    transfer.CheckView();
    transfer.SetBuffer(VelbufMain, values.data(), transfer.RequiredBufferSize(VelbufMain));
    transfer.ExecWrite();
    transfer.RelinquishBuffers();
    VelManager::FlushContext(id);  // a checkpoint: the file now opens with the field
    VelManager::CloseContext(id);
}

// Reads the whole field of the first distribution of `file`.
std::vector<double> ReadField(const char* file) {
    const VelContextID id = VelManager::OpenContext(file, hdf_File::OpenFlagsReadOnly, 1);
    const VelContextRef context(id);
    const VelDistributionID field = context.Distributions()[0];
    const VelGrid& grid = VelDistributionRef(field).Grid();

    VelTransfer transfer{VelDistributionRef(field)};
    transfer.SetRead().SetBufferPadding(false);
    transfer.SetDims(VelCollectionRef(grid[0]).BiggestCSetID(),
                     VelCollectionRef(grid[1]).BiggestCSetID());
    transfer.CheckView();
    std::vector<double> values(size_t(transfer.RequiredBufferSize(VelbufMain)) / sizeof(double));
    transfer.SetBuffer(VelbufMain, values.data(), transfer.RequiredBufferSize(VelbufMain));
    transfer.ExecRead();
    transfer.RelinquishBuffers();
    VelManager::CloseContext(id);
    return values;
}

}  // namespace

int main(int argc, char** argv) {
    const char* const file = argc > 1 ? argv[1] : "one_file.vel";
    int modules = 0;
    UTI_VelDynamicAPI_initialize(modules);
    VelAssert::SetFailurePolicy(VelThrowOnFailure);
    std::vector<double> written(4 * 3), read;
    for (size_t i = 0; i < written.size(); ++i) written[i] = 0.5 * double(i);
    try {
        WriteField(file, written);
        read = ReadField(file);
    } catch (const VelFailure& failure) {
        std::fprintf(stderr, "one_file: %s\n", failure.what());
        return 1;
    }
    UTI_VelDynamicAPI_finalize(modules);
    const bool same = read == written;
    std::printf("one_file: %zu values written to %s and read back %s\n", written.size(), file,
                same ? "equal" : "DIFFERENT");
    return same ? 0 : 1;
}
