#include "vel/context/VelCompression.h"

#include <cstdlib>
#include <string>

#include "vel/core/VelAssert.h"
#include "vel/hdf/hdf_PropList.h"

namespace {

constexpr const char* kDeflatePrefix = "shuffle+deflate:";
constexpr const char* kKnownNames =
    "\"none\", \"shuffle+deflate:1\" to \"shuffle+deflate:9\", "
    "\"lz4\" or \"shuffle+lz4\"";

[[noreturn]] void Refuse(const std::string& message) {
    const std::string text = "VelCompression: " + message;
    VelAssert::FailValidation(text.c_str());
}

// The level a "shuffle+deflate:<level>" name gives, or -1 when the rest is not one to three
// digits.
int LevelOf(const std::string& name) {
    const std::string rest = name.substr(std::string(kDeflatePrefix).size());
    if (rest.empty() || rest.size() > 3) return -1;
    int level = 0;
    for (const char c : rest) {
        if (c < '0' || c > '9') return -1;
        level = 10 * level + (c - '0');
    }
    return level;
}

}  // namespace

VelCompression VelCompression::ShuffleDeflate(int level) {
    if (level < 1 || level > 9)
        Refuse("the deflate level " + std::to_string(level) + " is not in 1..9");
    return VelCompression(e_ShuffleDeflate, level);
}

VelCompression VelCompression::Named(const cow_String& name) {
    const std::string& text = name.str();
    if (text == "none") return None();
    if (text == "lz4") return Lz4();
    if (text == "shuffle+lz4") return ShuffleLz4();
    if (text.rfind(kDeflatePrefix, 0) == 0 && LevelOf(text) >= 0)
        return ShuffleDeflate(LevelOf(text));
    Refuse("unknown compression \"" + text + "\": expected " + kKnownNames);
}

cow_String VelCompression::Name() const {
    switch (m_kind) {
        case e_None:
            return "none";
        case e_ShuffleDeflate:
            return kDeflatePrefix + std::to_string(m_level);
        case e_Lz4:
            return "lz4";
        case e_ShuffleLz4:
            return "shuffle+lz4";
    }
    return "?";
}

bool VelCompression::IsAvailable() const {
    switch (m_kind) {
        case e_None:
            return true;
        case e_ShuffleDeflate:
            return hdf_PropListDatasetCreation::FilterAvailable(H5Z_FILTER_SHUFFLE) &&
                   hdf_PropListDatasetCreation::FilterAvailable(H5Z_FILTER_DEFLATE);
        case e_Lz4:
        case e_ShuffleLz4:
            return hdf_PropListDatasetCreation::FilterAvailable(e_Lz4Filter);
    }
    return false;
}

void VelCompression::RequireAvailable() const {
    if (IsAvailable()) return;
    const char* path = std::getenv("HDF5_PLUGIN_PATH");
    Refuse(
        "compression \"" + Name().str() + "\" needs an HDF5 filter this machine lacks (" +
        (m_kind == e_ShuffleDeflate ? std::string("deflate") : std::string("lz4, filter 32004")) +
        "); plugins are looked for in " +
        (path ? std::string("HDF5_PLUGIN_PATH \"") + path + "\"" : "HDF5's default folder"));
}

aio_ostream& operator<<(aio_ostream& os, const VelCompression& compression) {
    return os << compression.Name();
}
