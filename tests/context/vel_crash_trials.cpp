// Crash trials by the hundred: vel_crash_trials [trials] [first seed].  One trial in two writes
// compressed drawers (shuffle+deflate) and rewrites them in place.  Prints what the kills hit
// and what the reopened files held; exits 1 if any file was refused or any checkpointed value
// was lost or wrong.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "VelCrashTrial.h"
#include "vel/UTI_VelDynamicAPI.h"

int main(int argc, char** argv) {
    const int trials = argc > 1 ? std::atoi(argv[1]) : 200;
    const unsigned firstSeed = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1;
    int modules = 0;
    UTI_VelDynamicAPI_initialize(modules);
    const std::string file = "crash_trial_" + std::to_string(getpid()) + ".vel";
    int inCheckpoint = 0, beforeCreated = 0, finished = 0, reopened = 0, refused = 0, bad = 0;
    long checkpointed = 0, verified = 0, wrongValues = 0, rewritten = 0;
    for (int t = 0; t < trials; ++t) {
        const VelCompression compression =
            t % 4 >= 2 ? VelCompression::ShuffleDeflate(1) : VelCompression::None();
        const VelCrashTrial::Outcome o = VelCrashTrial::KillTrial(
            file.c_str(), firstSeed + static_cast<unsigned>(t), t % 2, compression);
        inCheckpoint += o.killedInCheckpoint;
        beforeCreated += !o.created;
        finished += o.writerFinished;
        reopened += o.reopened;
        refused += o.created && !o.reopened;
        checkpointed += o.checkpointed;
        verified += o.verified;
        wrongValues += o.wrongValues;
        rewritten += o.rewritten;
        if (!o.Good()) {
            ++bad;
            std::printf("trial %d (seed %u): %s, %d wrong values\n", t,
                        firstSeed + static_cast<unsigned>(t), o.failure.c_str(), o.wrongValues);
        }
    }
    std::remove(file.c_str());
    std::printf(
        "trials %d: killed inside a checkpoint %d, outside %d (before the database "
        "existed %d), writer finished first %d\n",
        trials, inCheckpoint, trials - inCheckpoint - finished, beforeCreated, finished);
    std::printf(
        "files reopened %d, refused %d; checkpointed steps %ld, verified %ld, wrong "
        "values %ld; writable reopens that went on %ld; failed trials %d\n",
        reopened, refused, checkpointed, verified, wrongValues, rewritten, bad);
    UTI_VelDynamicAPI_finalize(modules);
    return bad == 0 ? 0 : 1;
}
