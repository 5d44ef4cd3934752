#ifndef VEL_CONTEXT_VELCOLLECTIVE_H
#define VEL_CONTEXT_VELCOLLECTIVE_H

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <vector>

#include "vel/hdf/hdf_File.h"
#include "vel/hdf/hdf_PropList.h"

class VelContext;

// The ranks that share a parallel context, as the layers above the storage layer see them.  A
// serial context has none (VelContext::Collective() is null), and every hook below is then
// free.
//
// Agree is the check of a collective call: every rank computes a fingerprint of the operation's
// name and arguments, and the ranks compare them (the largest and the smallest in one reduction).
// Ranks that differ are refused together, each with the same validation failure naming its own
// operation, before HDF5 is asked for anything that would have made the file differ between
// ranks.  Every wait for the other ranks is bounded: a rank that waits longer than the timeout
// (a rank that does not make the call at all) prints which call it waited in and aborts the job
// (MPI_Abort), so a missing call ends the run instead of hanging it.
class VelCollective {
public:
    virtual ~VelCollective() = default;

    virtual int Rank() const = 0;
    virtual int Size() const = 0;

    virtual hdf_File CreateFile(const char* name, hdf_File::CreateFlags flags,
                                const char* userBlock, int length) = 0;
    virtual hdf_File OpenFile(const char* name, hdf_File::OpenFlags flags, char* userBlock,
                              int length) = 0;

    // Refuses (a validation failure on every rank) unless every rank calls with the same
    // `operation` and `arguments`.
    virtual void Agree(const char* operation, const std::vector<int64_t>& arguments) = 0;
    void Agree(const char* operation, std::initializer_list<int64_t> arguments) {
        Agree(operation, std::vector<int64_t>(arguments));
    }
    // Every rank's pair, in rank order (2 * Size() values); collective.
    virtual std::vector<int64_t> GatherPairs(const char* operation, int64_t first,
                                             int64_t second) = 0;
    // The transfer list of collective raw-data I/O.
    virtual const hdf_PropListTransfer& CollectiveTransfer() const = 0;
};

#ifdef VEL_PARALLEL
// The ranks of `comm` (duplicated: the library's calls never meet the caller's).
std::unique_ptr<VelCollective> VelMakeCollective(MPI_Comm comm);
// How long a rank waits for the others in one collective call before it aborts the job.
void VelSetCollectiveTimeout(double seconds);
#endif

// The ranks of the context of `contextValue`, or null for a serial context.
VelCollective* VelCollectiveOf(unsigned contextValue);

// Agree on the context's ranks, when it has any.
void VelAgree(unsigned contextValue, const char* operation,
              std::initializer_list<int64_t> arguments);
// The same for an operation on `count` members, which take part in the fingerprint.
void VelAgreeOnMembers(unsigned contextValue, const char* operation, const int* members, int count);

#endif
