// Bytes as a database file: OpenContext must refuse them or load them, and what it loads must
// read back (every CSet's members, every drawer's description) or be refused, never crash.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "VelFuzzSupport.h"

namespace {

void ReadEverything(const VelContextID& id) {
    const VelContextRef context(id);
    const VelArray<VelCollectionID> collections = context.Collections();
    for (int c = 0; c < collections.Size(); ++c) {
        const VelCollectionRef collection(collections[c]);
        const VelCSet full(collection.BiggestCSetID());
        std::vector<int> members(static_cast<size_t>(full.Size()));
        full.Members(members.data());
    }
    const VelArray<VelDistributionID> distributions = context.Distributions();
    for (int d = 0; d < distributions.Size(); ++d) {
        const VelArray<VelDrawerID> drawers = VelDistributionRef(distributions[d]).Drawers();
        for (int k = 0; k < drawers.Size(); ++k) VelDrawerRef(drawers[k]).Description();
    }
    const VelArray<VelDSetID> dsets = context.DSets();
    for (int s = 0; s < dsets.Size(); ++s) context.DSetRep(dsets[s]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static VelFuzzLibrary library;
    static const std::string name = "vel_fuzz_" + std::to_string(getpid()) + ".vel";
    std::FILE* file = std::fopen(name.c_str(), "wb");
    if (!file) return 0;
    std::fwrite(data, 1, size, file);
    std::fclose(file);
    VelContextID id;
    try {
        id = VelManager::OpenContext(name.c_str(), hdf_File::OpenFlagsReadOnly, 1);
        if (!id.IsNull()) ReadEverything(id);
    } catch (const VelFailure&) {
    }
    if (!id.IsNull()) VelManager::CloseContext(id);
    std::remove(name.c_str());
    // Every HDF5 object the open made must be gone with it, refused or not.
    if (H5Fget_obj_count(H5F_OBJ_ALL, H5F_OBJ_ALL) != 0) __builtin_trap();
    return 0;
}
