#include <mpi.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "context/VelCollective.h"
#include "hdf/hdf_Here.h"
#include "vel/core/VelAssert.h"

namespace {

const char kHdfUnit[] = "VelCollective";

// Ten minutes: ranks reach a checkpoint apart by as much as their steps' work differs.
double g_timeout = 600.0;

// FNV-1a over the operation's name and its arguments' bytes.
uint64_t Fingerprint(const char* operation, const std::vector<int64_t>& arguments) {
    uint64_t hash = 14695981039346656037ull;
    const auto mix = [&hash](const unsigned char* bytes, size_t count) {
        for (size_t i = 0; i < count; ++i) hash = (hash ^ bytes[i]) * 1099511628211ull;
    };
    mix(reinterpret_cast<const unsigned char*>(operation), std::string(operation).size() + 1);
    mix(reinterpret_cast<const unsigned char*>(arguments.data()),
        arguments.size() * sizeof(int64_t));
    return hash;
}

class VelMpiCollective : public VelCollective {
public:
    explicit VelMpiCollective(MPI_Comm comm) {
        MPI_Comm_dup(comm, &m_comm);
        MPI_Comm_rank(m_comm, &m_rank);
        MPI_Comm_size(m_comm, &m_size);
        if (H5Pset_dxpl_mpio(m_collective.ID(), H5FD_MPIO_COLLECTIVE) < 0)
            throw hdf_Exception(HDF_HERE, true);
    }
    ~VelMpiCollective() override {
        int finalized = 0;
        MPI_Finalized(&finalized);
        if (!finalized) MPI_Comm_free(&m_comm);
    }

    int Rank() const override { return m_rank; }
    int Size() const override { return m_size; }

    hdf_File CreateFile(const char* name, hdf_File::CreateFlags flags, const char* userBlock,
                        int length) override {
        return hdf_File::CreateParallel(name, flags, m_comm, userBlock, length);
    }
    hdf_File OpenFile(const char* name, hdf_File::OpenFlags flags, char* userBlock,
                      int length) override {
        return hdf_File::OpenParallel_NoThrow(name, flags, m_comm, userBlock, length);
    }

    // The largest fingerprint and the complement of the smallest, in one reduction.
    void Agree(const char* operation, const std::vector<int64_t>& arguments) override {
        const uint64_t mine = Fingerprint(operation, arguments);
        uint64_t local[2] = {mine, ~mine};
        uint64_t global[2] = {0, 0};
        MPI_Request request;
        MPI_Iallreduce(local, global, 2, MPI_UINT64_T, MPI_MAX, m_comm, &request);
        Wait(request, operation);
        if (global[0] == ~global[1]) return;
        const std::string text =
            std::string(
                "The ranks of a parallel context differ in a collective call: this rank "
                "called ") +
            operation +
            "; every rank must make the same collective calls, in the same order, with the same "
            "arguments";
        VelAssert::FailValidation(text.c_str());
    }

    std::vector<int64_t> GatherPairs(const char* operation, int64_t first,
                                     int64_t second) override {
        const int64_t mine[2] = {first, second};
        std::vector<int64_t> all(2 * static_cast<size_t>(m_size));
        MPI_Request request;
        MPI_Iallgather(mine, 2, MPI_INT64_T, all.data(), 2, MPI_INT64_T, m_comm, &request);
        Wait(request, operation);
        return all;
    }

    const hdf_PropListTransfer& CollectiveTransfer() const override { return m_collective; }

private:
    // Polls the request until it completes or the timeout passes.  Most collective calls
    // complete within microseconds, so it spins first; then, for as long as another rank may be
    // on its way (ranks can share a core), it gives the core up between polls rather than sleep
    // a timer's length; only a long wait (a rank busy elsewhere) sleeps.
    void Wait(MPI_Request& request, const char* operation) const {
        constexpr double kYieldSeconds = 0.01;
        const double start = MPI_Wtime();
        for (long polls = 0;; ++polls) {
            int done = 0;
            MPI_Test(&request, &done, MPI_STATUS_IGNORE);
            if (done) return;
            if (polls < 1000) continue;
            const double waited = MPI_Wtime() - start;
            if (g_timeout > 0 && waited > g_timeout) Abort(operation);
            if (waited < kYieldSeconds)
                std::this_thread::yield();
            else
                std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
    }

    [[noreturn]] void Abort(const char* operation) const {
        std::fprintf(stderr,
                     "VelCollective: rank %d of %d waited %g seconds in %s for the other ranks "
                     "of a parallel context; a rank that does not make a collective call ends "
                     "the job\n",
                     m_rank, m_size, g_timeout, operation);
        std::fflush(stderr);
        MPI_Abort(m_comm, 1);
        std::abort();
    }

    MPI_Comm m_comm = MPI_COMM_NULL;
    int m_rank = 0;
    int m_size = 1;
    hdf_PropListTransfer m_collective;
};

}  // namespace

std::unique_ptr<VelCollective> VelMakeCollective(MPI_Comm comm) {
    return std::unique_ptr<VelCollective>(new VelMpiCollective(comm));
}

void VelSetCollectiveTimeout(double seconds) {
    g_timeout = seconds;
}
