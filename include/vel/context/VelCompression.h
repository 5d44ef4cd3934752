#ifndef VEL_CONTEXT_VELCOMPRESSION_H
#define VEL_CONTEXT_VELCOMPRESSION_H

#include "vel/VelExport.h"
#include "vel/platform/aio_Stream.h"
#include "vel/platform/cow_String.h"

// A lossless filter pipeline for the values of new drawers.  A compressed drawer is stored in
// chunks that HDF5 passes through the pipeline, so any HDF5 reader that has the filters reads
// it as an ordinary dataset:
//
//   None()                no filter: the drawer is stored exactly as an uncompressed one
//   ShuffleDeflate(level) HDF5's byte shuffle, then deflate (zlib) at level 1 (fastest) to 9
//                         (smallest); built into every HDF5, so every tool reads it
//   Lz4()                 LZ4 (HDF5 filter 32004), a dynamically loaded plugin (Debian's
//                         hdf5-filter-plugin); far faster than deflate, compresses less
//   ShuffleLz4()          byte shuffle, then LZ4: better ratios than LZ4 alone on numbers
//
// The plugin filters are usable only where this process's HDF5 can load them (from
// HDF5_PLUGIN_PATH, else HDF5's default plugin folder): RequireAvailable refuses the rest with
// a message naming the filter.  Named() takes the names Name() gives: "none",
// "shuffle+deflate:<level>", "lz4", "shuffle+lz4".
class VEL_API VelCompression {
public:
    enum Kind { e_None = 0, e_ShuffleDeflate = 1, e_Lz4 = 2, e_ShuffleLz4 = 3 };

    // HDF5's identifier of the LZ4 filter.
    static constexpr int e_Lz4Filter = 32004;

    VelCompression() = default;
    static VelCompression None() { return VelCompression(); }
    // A level outside 1..9 is a validation failure.
    static VelCompression ShuffleDeflate(int level);
    static VelCompression Lz4() { return VelCompression(e_Lz4, 0); }
    static VelCompression ShuffleLz4() { return VelCompression(e_ShuffleLz4, 0); }
    // An unknown name is a validation failure whose message lists the names known.
    static VelCompression Named(const cow_String& name);

    Kind GetKind() const { return m_kind; }
    bool IsNone() const { return m_kind == e_None; }
    // The deflate level; 0 for the other kinds.
    int Level() const { return m_level; }
    cow_String Name() const;

    // Whether this process's HDF5 has every filter of the pipeline.
    bool IsAvailable() const;
    // A validation failure naming the first filter missing, if one is.
    void RequireAvailable() const;

    bool operator==(const VelCompression& other) const {
        return m_kind == other.m_kind && m_level == other.m_level;
    }
    bool operator!=(const VelCompression& other) const { return !(*this == other); }

private:
    VelCompression(Kind kind, int level) : m_kind(kind), m_level(level) {}

    Kind m_kind = e_None;
    int m_level = 0;
};

VEL_API aio_ostream& operator<<(aio_ostream& os, const VelCompression& compression);

#endif
