// Starts the library, creates a database file, closes it, reads its version record, reopens it
// as a database; then writes the results of a small finite-element model, with typed records of
// its load cases and material, and reads them back (fem_writer.cpp, fem_reader.cpp), and stops
// the library again.
#include <vel/vel.h>

#include <cstdio>
#include <iostream>

#include "fem_model.h"

int main() {
    int modules = 0;
    UTI_VelDynamicAPI_initialize(modules);
    std::printf("vel started: %d modules running\n", modules);

    const char* const fileName = "demo.vel";
    const int schemaVersion = 1;
    const VelContextID created =
        VelManager::CreateContext(fileName, hdf_File::CreateFlagsTruncate, schemaVersion);
    std::cout << "created " << fileName << " as context " << created << "\n";
    VelManager::CloseContext(created);

    // The version record comes straight from the file's signature block.
    VelVersion version;
    if (!version.Create(fileName) || !version.IsOrbFile()) {
        std::printf("%s has no database signature\n", fileName);
        return 1;
    }
    std::cout << "version record: author \"" << version.Author() << "\", version "
              << version.MajorVersion() << "." << version.MinorVersion() << "."
              << version.UpdateVersion() << ", file format " << version.InternalVersion()
              << ", schema " << version.SchemaVersion() << "\n";

    const VelContextID reopened =
        VelManager::OpenContext(fileName, hdf_File::OpenFlagsReadOnly, schemaVersion);
    if (reopened.IsNull()) {
        std::printf("%s was refused\n", fileName);
        return 1;
    }
    const VelContextRef context(reopened);
    std::cout << "reopened as context " << reopened << ": " << context.Collections().Size()
              << " collections, " << context.Distributions().Size() << " distributions, "
              << context.DSets().Size() << " DSets\n";
    VelManager::CloseContext(reopened);

    const char* const results = "fem.vel";
    std::printf("writing finite-element results to %s\n", results);
    if (fem::WriteResults(results) != 0) return 1;
    std::printf("reading %s back\n", results);
    if (fem::ReadResults(results) != 0) return 1;

    UTI_VelDynamicAPI_finalize(modules);
    std::printf("vel stopped: %d modules running\n", modules);
    return modules == 0 ? 0 : 1;
}
