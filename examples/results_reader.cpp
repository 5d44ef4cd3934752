// The new user's job, read: step 3 of the displacement of the clamped node set, by name.
#include <vel/vel.h>

#include <cstdio>
#include <vector>

int main(int argc, char** argv) {
    VelResultsReader in = VelResultsReader::Open(argc > 1 ? argv[1] : "beam.vel");
    std::vector<double> values;
    in.Field("displacement").Read(3, "clamped", values);
    std::printf(
        "step 3 (time %g): %zu values of \"displacement\" on \"clamped\", node 49: %g %g %g\n",
        in.Time(3), values.size(), values[147], values[148], values[149]);
    return 0;
}
