#ifndef VEL_TRANSFER_VELDRAWERFILTERS_H
#define VEL_TRANSFER_VELDRAWERFILTERS_H

#include <string>

#include "vel/context/VelCompression.h"
#include "vel/core/VelArray.h"
#include "vel/hdf/hdf_PropList.h"

// How a compressed drawer's datasets carry their compression.  The pipeline is HDF5's own
// filter message, the only place it is stored: shuffle (2) then deflate (1, client value the
// level) for ShuffleDeflate, LZ4 (32004, no client value) alone or after shuffle.  A drawer
// made without compression has no filter message at all, so its layout is unchanged.

// Adds the pipeline of `compression` to a creation list that already has its chunk shape.
void VelApplyCompression(hdf_PropListDatasetCreation& creation, const VelCompression& compression);

// The compression a stored dataset's pipeline is.  Empty `refusal` when it is one this library
// writes and this machine has every filter of it; otherwise the reason to refuse the drawer,
// naming the first filter missing here (so that nothing is decoded without it) or the pipeline
// that is none of ours.
VelCompression VelStoredCompression(const hdf_PropListDatasetCreation& creation,
                                    std::string& refusal);

// The chunk cache of a compressed dataset of extents `sizes` and chunk shape `chunks`.  A view
// that steps through ordinal ranges of one dimension reads the chunks of the cross-section its
// range ends in twice (this range and the next) unless they stay cached: the cache holds one
// cross-section of chunks across the dimension of most chunks, the one a view steps through in
// practice (the last rows of a 256 KiB chunk shape, the nodes of a field), and across any other
// dimension as far as 1 MiB (HDF5's own default) goes, so that a reader holding many drawers
// open holds no more than HDF5 would.  Fully read chunks are evicted first (w0 = 1).
hdf_PropListDatasetAccess VelChunkCache(const VelArray<int>& sizes, const VelArray<int>& chunks,
                                        int elementSize);

#endif
