#ifndef VEL_CONTEXT_VELVERSION_H
#define VEL_CONTEXT_VELVERSION_H

#include "vel/VelExport.h"
#include "vel/platform/cow_String.h"

// The version record of a database file, read from its 512-byte signature block without
// opening the file as a database (nor as an HDF5 file).  Every reader requires a successful
// Create first ("m_created").
class VEL_API VelVersion {
public:
    VelVersion();

    // Reads the first 512 bytes of `fileName`; false when the file is missing or shorter.
    bool Create(const cow_String& fileName);

    // Whether the block begins with the database signature bytes.
    bool IsOrbFile() const;
    cow_String Author() const;
    int MajorVersion() const;
    int MinorVersion() const;
    int UpdateVersion() const;
    int InternalVersion() const;
    // The writer's schema version; -1 for a temporary context.
    int SchemaVersion() const;

private:
    char m_block[512];
    bool m_created;
};

#endif
