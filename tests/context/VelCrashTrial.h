#ifndef VEL_TESTS_CONTEXT_VELCRASHTRIAL_H
#define VEL_TESTS_CONTEXT_VELCRASHTRIAL_H

// One crash trial: a forked writer stores a step per drawer and checkpoints after each, telling
// the parent through a pipe when a checkpoint starts and when it has returned; the parent kills
// it with SIGKILL at a moment chosen from the trial's seed (after a delay, or just inside a
// checkpoint), then reopens the file and checks every checkpointed step value for value.  The
// same writer under a file-size limit runs until the disk is "full" and the library stops it.
// A compressing writer also rewrites the step before in place (with the same values) ahead of
// each checkpoint, so that kills land in rewrites of compressed chunks too.
// Used by the test suite (a few trials) and by vel_crash_trials (hundreds).

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "vel/context/VelCollectionRef.h"
#include "vel/context/VelContextRef.h"
#include "vel/context/VelDistributionRef.h"
#include "vel/context/VelGrid.h"
#include "vel/context/VelManager.h"
#include "vel/context/VelRangeType.h"
#include "vel/transfer/VelTransfer.h"

struct VelCrashTrial {
    static constexpr int e_Steps = 400;
    static constexpr int e_Nodes = 2000;
    static constexpr int e_Components = 3;
    static constexpr int e_SchemaVersion = 1;
    // What the writer tells the parent: a checkpoint starts, a checkpoint of a step returned.
    static constexpr char e_Ready = 'R';
    static constexpr char e_Begin = 'B';
    static constexpr char e_Done = 'C';

    struct Outcome {
        // Whether the writer's database with its distribution was checkpointed before the kill;
        // a file killed before that need not open.
        bool created = false;
        bool killedInCheckpoint = false;
        bool writerFinished = false;
        bool reopened = false;
        // Steps the writer reported checkpointed, and how many of them read back right.
        int checkpointed = 0;
        int verified = 0;
        int wrongValues = 0;
        bool rewritten = false;
        std::string failure;
        bool Good() const { return (reopened || !created) && wrongValues == 0 && failure.empty(); }
    };

    static double Value(int step, int node, int component) {
        return step * 1.0e6 + node * 10.0 + component + 0.25;
    }

    // The writer's database: collections of steps (0), nodes (1) and components (2), and one
    // double distribution over them.
    static VelDistributionID Create(const char* file, VelContextID& id) {
        id = VelManager::CreateContext(file, hdf_File::CreateFlagsTruncate, e_SchemaVersion);
        const VelContextRef context(id);
        const VelCollectionID steps = context.CreateCollection(e_Steps);
        const VelCollectionID nodes = context.CreateCollection(e_Nodes);
        const VelCollectionID components = context.CreateCollection(e_Components);
        VelArray<VelCollectionID> grid(3);
        grid[0] = steps;
        grid[1] = nodes;
        grid[2] = components;
        return context.CreateDistribution(VelGrid(grid), VelRangeType(VelTypeKeyDouble));
    }

    static VelCollectionID CollectionOf(const VelDistributionID& d, int dimension) {
        return VelDistributionRef(d).Grid()[dimension];
    }

    static void WriteStep(const VelDistributionID& d, int step, bool inPlace = false) {
        std::vector<double> values(static_cast<size_t>(e_Nodes * e_Components));
        for (int n = 0; n < e_Nodes; ++n)
            for (int c = 0; c < e_Components; ++c)
                values[static_cast<size_t>(n * e_Components + c)] = Value(step, n, c);
        const VelCSetID cset =
            VelCollectionRef(CollectionOf(d, 0)).CreateCSetStrided(step, 1, 1, 1);
        VelTransfer transfer{VelDistributionRef(d)};
        if (inPlace) {
            transfer.SetWrite().SetWriteNewDomainError();
        } else {
            transfer.SetMakeNewDrawer();
        }
        transfer.SetBufferPadding(false).SetDims(
            cset, VelCollectionRef(CollectionOf(d, 1)).BiggestCSetID(),
            VelCollectionRef(CollectionOf(d, 2)).BiggestCSetID());
        transfer.CheckView();
        transfer.SetBuffer(VelbufMain, values.data(), transfer.RequiredBufferSize(VelbufMain));
        transfer.ExecWrite();
        transfer.RelinquishBuffers();
    }

    // The number of values of `step` that differ from what the writer wrote.
    static int WrongValues(const VelDistributionID& d, int step) {
        std::vector<double> values(static_cast<size_t>(e_Nodes * e_Components), -1.0);
        VelTransfer transfer{VelDistributionRef(d)};
        transfer.SetRead().SetBufferPadding(false).SetDimOrdinalRange(0, CollectionOf(d, 0), step,
                                                                      step);
        transfer.SetDim(1, VelCollectionRef(CollectionOf(d, 1)).BiggestCSetID());
        transfer.SetDim(2, VelCollectionRef(CollectionOf(d, 2)).BiggestCSetID());
        transfer.CheckView();
        transfer.SetBuffer(VelbufMain, values.data(), transfer.RequiredBufferSize(VelbufMain));
        transfer.ExecRead();
        transfer.RelinquishBuffers();
        int wrong = 0;
        for (int n = 0; n < e_Nodes; ++n)
            for (int c = 0; c < e_Components; ++c)
                if (values[static_cast<size_t>(n * e_Components + c)] != Value(step, n, c)) ++wrong;
        return wrong;
    }

    // The writer: a step, a checkpoint, a report, until killed or done.
    [[noreturn]] static void Writer(const char* file, int report,
                                    const VelCompression& compression) {
        VelContextID id;
        const VelDistributionID d = Create(file, id);
        VelContextRef(id).SetDefaultCompression(compression);
        VelManager::FlushContext(id);
        Tell(report, e_Ready);
        for (int s = 0; s < e_Steps; ++s) {
            WriteStep(d, s);
            if (!compression.IsNone() && s > 0) WriteStep(d, s - 1, true);
            Tell(report, e_Begin);
            VelManager::FlushContext(id);
            Tell(report, e_Done);
        }
        VelManager::CloseContext(id);
        _exit(0);
    }

    static void Tell(int fd, char what) {
        while (write(fd, &what, 1) < 0) {
        }
    }

    // Runs one trial with a kill chosen from `seed`; `rewrite` also writes a step after a
    // writable reopen and checks it.
    static Outcome KillTrial(const char* file, unsigned seed, bool rewrite,
                             const VelCompression& compression = VelCompression()) {
        std::mt19937 random(seed);
        // Two kills in three land just inside a checkpoint, the others after a plain delay.
        const bool aimAtCheckpoint = random() % 3 != 0;
        const int checkpointsBefore = 1 + static_cast<int>(random() % 60);
        const int delayMicros =
            aimAtCheckpoint ? static_cast<int>(random() % 400) : static_cast<int>(random() % 40000);
        int report = -1;
        const pid_t child = StartWriter(file, report, compression, [] {});
        if (child < 0) return Failed("the writer could not be started");
        Outcome outcome;
        int begun = 0;
        bool inCheckpoint = false;
        char message = 0;
        if (aimAtCheckpoint) {
            while (begun < checkpointsBefore && read(report, &message, 1) == 1) {
                if (message == e_Ready) outcome.created = true;
                if (message == e_Begin) ++begun;
                if (message == e_Done) ++outcome.checkpointed;
            }
            inCheckpoint = begun == checkpointsBefore;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(delayMicros));
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        outcome.writerFinished = WIFEXITED(status);
        while (read(report, &message, 1) == 1) {
            if (message == e_Ready) outcome.created = true;
            if (message == e_Begin) inCheckpoint = true;
            if (message == e_Done) {
                ++outcome.checkpointed;
                inCheckpoint = false;
            }
        }
        close(report);
        outcome.killedInCheckpoint = inCheckpoint && !outcome.writerFinished;
        Verify(file, outcome, rewrite);
        return outcome;
    }

    // The same writer with the file limited to `limit` bytes: it runs until a storage failure
    // stops it.
    static Outcome DiskFullTrial(const char* file, rlim_t limit) {
        int report = -1;
        const pid_t child = StartWriter(file, report, VelCompression(), [limit] {
            signal(SIGXFSZ, SIG_IGN);
            const struct rlimit size = {limit, limit};
            setrlimit(RLIMIT_FSIZE, &size);
        });
        if (child < 0) return Failed("the writer could not be started");
        Outcome outcome;
        char message = 0;
        while (read(report, &message, 1) == 1) {
            if (message == e_Ready) outcome.created = true;
            if (message == e_Done) ++outcome.checkpointed;
        }
        close(report);
        int status = 0;
        waitpid(child, &status, 0);
        outcome.writerFinished = WIFEXITED(status);
        if (outcome.writerFinished) outcome.failure = "the writer was not stopped by the full disk";
        Verify(file, outcome, false);
        return outcome;
    }

private:
    // Forks the writer after `prepare` has run in the child; `report` is the parent's end of the
    // writer's pipe.  A negative result: no writer.
    template <class Prepare>
    static pid_t StartWriter(const char* file, int& report, const VelCompression& compression,
                             Prepare prepare) {
        int pipes[2];
        if (pipe(pipes) != 0) return -1;
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            close(pipes[0]);
            prepare();
            Writer(file, pipes[1], compression);
        }
        close(pipes[1]);
        report = pipes[0];
        if (child < 0) close(report);
        return child;
    }

    static Outcome Failed(const char* what) {
        Outcome outcome;
        outcome.failure = what;
        return outcome;
    }

    static void Verify(const char* file, Outcome& outcome, bool rewrite) {
        if (!outcome.created) return;
        const VelContextID id =
            VelManager::OpenContext(file, hdf_File::OpenFlagsReadOnly, e_SchemaVersion);
        outcome.reopened = !id.IsNull();
        if (!outcome.reopened) return;
        const VelArray<VelDistributionID> distributions = VelContextRef(id).Distributions();
        if (distributions.Size() != 1) {
            outcome.failure = "the distribution is missing";
            VelManager::CloseContext(id);
            return;
        }
        const VelDistributionID d = distributions[0];
        const int drawers = VelDistributionRef(d).Drawers().Size();
        // The step whose checkpoint was cut off may be there as well, nothing beyond it.
        if (drawers < outcome.checkpointed || drawers > outcome.checkpointed + 1)
            outcome.failure = "the file holds " + std::to_string(drawers) + " steps, " +
                              std::to_string(outcome.checkpointed) + " were checkpointed";
        for (int s = 0; s < outcome.checkpointed; ++s) {
            const int wrong = WrongValues(d, s);
            outcome.wrongValues += wrong;
            if (wrong == 0) ++outcome.verified;
        }
        VelManager::CloseContext(id);
        if (rewrite) Rewrite(file, outcome, drawers);
    }

    // A writable reopen goes on where the file stands: one more step, a checkpoint, a close.
    static void Rewrite(const char* file, Outcome& outcome, int drawers) {
        if (drawers >= e_Steps) return;
        VelContextID id =
            VelManager::OpenContext(file, hdf_File::OpenFlagsReadWrite, e_SchemaVersion);
        if (id.IsNull()) {
            outcome.failure = "a writable reopen was refused";
            return;
        }
        VelDistributionID d = VelContextRef(id).Distributions()[0];
        WriteStep(d, drawers);
        VelManager::FlushContext(id);
        VelManager::CloseContext(id);
        id = VelManager::OpenContext(file, hdf_File::OpenFlagsReadOnly, e_SchemaVersion);
        d = VelContextRef(id).Distributions()[0];
        outcome.rewritten = WrongValues(d, drawers) == 0 && WrongValues(d, 0) == 0;
        if (!outcome.rewritten) outcome.failure = "the step written after the reopen is wrong";
        VelManager::CloseContext(id);
    }
};

#endif
