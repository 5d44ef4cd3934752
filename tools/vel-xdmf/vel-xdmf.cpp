// vel-xdmf RESULTS [XMF]: writes an XDMF description of a results file (by default beside it,
// its name with ".xmf" appended) for ParaView and other XDMF readers.  A file that is not a
// results file, or whose records contradict its data, gives a message and exit status 1.
#include <vel/vel.h>

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: %s RESULTS.vel [OUTPUT.xmf]\n", argv[0]);
        return 2;
    }
    const std::string database = argv[1];
    const std::string xmf = argc > 2 ? argv[2] : database + ".xmf";
    VelAssert::SetFailurePolicy(VelThrowOnFailure);
    try {
        VelResultsReader reader = VelResultsReader::Open(database);
        reader.WriteXdmf(xmf);
        std::printf("%s: %d steps, %zu fields -> %s (and %s.h5)\n", database.c_str(),
                    reader.StepCount(), reader.FieldNames().size(), xmf.c_str(), xmf.c_str());
    } catch (const VelFailure& failure) {
        std::fprintf(stderr, "%s: %s\n", argv[0], failure.what());
        return 1;
    }
    return 0;
}
