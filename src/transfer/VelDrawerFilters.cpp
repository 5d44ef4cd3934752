#include "transfer/VelDrawerFilters.h"

#include <algorithm>
#include <vector>

namespace {

constexpr int64_t kCrossSectionBytes = 1 << 20;
constexpr int64_t kMaxCacheBytes = 64 << 20;
constexpr int64_t kMinSlots = 521;
constexpr int64_t kMaxSlots = 65521;

std::string NameOf(H5Z_filter_t filter, const cow_String& stored) {
    switch (filter) {
        case H5Z_FILTER_DEFLATE:
            return "deflate";
        case H5Z_FILTER_SHUFFLE:
            return "shuffle";
        case VelCompression::e_Lz4Filter:
            return "lz4";
        default:
            break;
    }
    return stored.IsEmpty() ? std::string("unnamed") : stored.str();
}

std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

bool IsPrime(int64_t n) {
    for (int64_t d = 2; d * d <= n; ++d)
        if (n % d == 0) return false;
    return n > 1;
}

}  // namespace

void VelApplyCompression(hdf_PropListDatasetCreation& creation, const VelCompression& compression) {
    const unsigned level = static_cast<unsigned>(compression.Level());
    switch (compression.GetKind()) {
        case VelCompression::e_None:
            return;
        case VelCompression::e_ShuffleDeflate:
            creation.AddFilter(H5Z_FILTER_SHUFFLE, nullptr, 0);
            creation.AddFilter(H5Z_FILTER_DEFLATE, &level, 1);
            return;
        case VelCompression::e_ShuffleLz4:
            creation.AddFilter(H5Z_FILTER_SHUFFLE, nullptr, 0);
            creation.AddFilter(VelCompression::e_Lz4Filter, nullptr, 0);
            return;
        case VelCompression::e_Lz4:
            creation.AddFilter(VelCompression::e_Lz4Filter, nullptr, 0);
            return;
    }
}

VelCompression VelStoredCompression(const hdf_PropListDatasetCreation& creation,
                                    std::string& refusal) {
    refusal.clear();
    const int count = creation.FilterCount();
    std::vector<H5Z_filter_t> filters;
    std::string names;
    for (int i = 0; i < count; ++i) {
        const H5Z_filter_t filter = creation.FilterID(i);
        const std::string name = NameOf(filter, creation.FilterName(i));
        if (!hdf_PropListDatasetCreation::FilterAvailable(filter)) {
            refusal = "its values need the HDF5 filter " + Quoted(name) + " (" +
                      std::to_string(filter) +
                      "), which this machine's HDF5 cannot load (see HDF5_PLUGIN_PATH)";
            return VelCompression();
        }
        filters.push_back(filter);
        names += (i ? "+" : "") + name;
    }
    using F = std::vector<H5Z_filter_t>;
    if (filters.empty()) return VelCompression::None();
    if (filters == F{VelCompression::e_Lz4Filter}) return VelCompression::Lz4();
    if (filters == F{H5Z_FILTER_SHUFFLE, VelCompression::e_Lz4Filter})
        return VelCompression::ShuffleLz4();
    if (filters == F{H5Z_FILTER_SHUFFLE, H5Z_FILTER_DEFLATE}) {
        const std::vector<unsigned> level = creation.FilterValues(1, 1);
        if (level.size() == 1 && level[0] >= 1 && level[0] <= 9)
            return VelCompression::ShuffleDeflate(static_cast<int>(level[0]));
    }
    refusal = "its filters " + Quoted(names) + " are no compression this library writes";
    return VelCompression();
}

hdf_PropListDatasetAccess VelChunkCache(const VelArray<int>& sizes, const VelArray<int>& chunks,
                                        int elementSize) {
    const int n = sizes.Size();
    int64_t chunkBytes = elementSize;
    int64_t total = 1;
    std::vector<int64_t> across(static_cast<size_t>(n));
    for (int d = 0; d < n; ++d) {
        // HDF5 opens no dataset with a chunk extent below 1; the guard keeps the division sound.
        const int64_t chunk = std::max(1, chunks[d]);
        chunkBytes *= chunk;
        across[static_cast<size_t>(d)] = (int64_t(sizes[d]) + chunk - 1) / chunk;
        total *= across[static_cast<size_t>(d)];
    }
    // A cross-section across dimension d holds total / across[d] chunks.
    const int64_t most = n ? *std::max_element(across.begin(), across.end()) : 1;
    const int64_t least = n ? *std::min_element(across.begin(), across.end()) : 1;
    const int64_t needed = std::max<int64_t>(1, total / std::max<int64_t>(1, most));
    const int64_t wide = std::min(total / std::max<int64_t>(1, least),
                                  std::max<int64_t>(1, kCrossSectionBytes / chunkBytes));
    const int64_t held = std::max(needed, wide);
    const int64_t bytes = std::min(held * chunkBytes, std::max(kMaxCacheBytes, chunkBytes));
    // Chunks hash to slot (linear chunk index) mod slots: with at least as many slots as the
    // dataset has chunks no two chunks share one.
    int64_t slots = std::min(std::max(total, kMinSlots), kMaxSlots);
    while (!IsPrime(slots)) ++slots;
    hdf_PropListDatasetAccess access;
    access.SetChunkCache(static_cast<size_t>(slots), static_cast<size_t>(bytes), 1.0);
    return access;
}
