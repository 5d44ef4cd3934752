// The C++ side of bench_read.py: reads one step of a field into a caller buffer, `repeats`
// times, and prints the time of each read in seconds, one a line.  With "fresh" the buffer is
// allocated for every read (as a NumPy array is for every read(step)); with "reused" one buffer
// serves every read (as read(step, out=...) does).
#include <vel/vel.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

int main(int argc, char** argv) {
    if (argc != 6) {
        std::fprintf(stderr, "usage: %s FILE FIELD STEP REPEATS fresh|reused\n", argv[0]);
        return 2;
    }
    const int step = std::atoi(argv[3]);
    const int repeats = std::atoi(argv[4]);
    const bool fresh = std::string(argv[5]) == "fresh";
    VelResultsReader in = VelResultsReader::Open(argv[1]);
    const VelResultsField field = in.Field(argv[2]);
    const size_t count = size_t(field.EntityCount()) * size_t(field.ComponentCount());
    std::unique_ptr<double[]> reused(new double[count]);
    for (int r = 0; r < repeats; ++r) {
        const auto start = std::chrono::steady_clock::now();
        std::unique_ptr<double[]> own(fresh ? new double[count] : nullptr);
        double* buffer = fresh ? own.get() : reused.get();
        field.Read(step, buffer, count);
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        // The values are used, so the read cannot be dropped.
        std::printf("%.9f %.17g\n", took.count(), buffer[count - 1]);
    }
    return 0;
}
