// A whole program built with nothing but `pkg-config --cflags --libs vel`: writes a database
// with one distribution over two collections, reads it back and compares.
#include <vel/vel.h>

#include <cstdio>
#include <vector>

int main(int argc, char** argv) {
    const char* const file = argc > 1 ? argv[1] : "one_file.vel";
    int modules = 0;
    UTI_VelDynamicAPI_initialize(modules);
    VelAssert::SetFailurePolicy(VelThrowOnFailure);
    std::vector<double> written(4 * 3), read(written.size());
    for (size_t i = 0; i < written.size(); ++i) written[i] = 0.5 * double(i);
    try {
        const VelContextID id = VelManager::CreateContext(file, hdf_File::CreateFlagsTruncate, 1);
        const VelContextRef context(id);
        VelArray<VelCollectionID> grid(2);
        grid[0] = context.CreateCollection(4);
        grid[1] = context.CreateCollection(3);
        const VelDistributionID values =
            context.CreateDistribution(VelGrid(grid), VelRangeType(VelTypeKeyDouble));
        const VelCSetID rows = VelCollectionRef(grid[0]).BiggestCSetID();
        const VelCSetID columns = VelCollectionRef(grid[1]).BiggestCSetID();
        for (const bool writing : {true, false}) {
            VelTransfer transfer{VelDistributionRef(values)};
            if (writing) transfer.SetMakeNewDrawer();
            else transfer.SetRead();
            transfer.SetBufferPadding(false).SetDims(rows, columns).CheckView();
            std::vector<double>& buffer = writing ? written : read;
            transfer.SetBuffer(VelbufMain, buffer.data(), transfer.RequiredBufferSize(VelbufMain));
            if (writing) transfer.ExecWrite();
            else transfer.ExecRead();
            transfer.RelinquishBuffers();
        }
        VelManager::CloseContext(id);
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
