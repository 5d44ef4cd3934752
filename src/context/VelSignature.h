#ifndef VEL_CONTEXT_VELSIGNATURE_H
#define VEL_CONTEXT_VELSIGNATURE_H

#include "vel/platform/cow_String.h"

// The 512-byte signature block at the head of every database file (its HDF5 user block):
//
//   offset  length  content
//        0       8  0x89 "ORB" 0x0D 0x0A 0x1A 0x0A
//        8       8  zero
//       16      32  the author text, NUL-terminated (at most 31 characters), rest zero
//       48      33  major version, signed decimal text, NUL-terminated
//       81      33  minor version
//      114      33  update version
//      147      33  internal (file-format) version
//      180      33  schema version of the writer ("-1" for a temporary context)
//      213     299  zero
//
// A block read from a file is input: every field is read within its own bounds, whatever bytes
// the file holds.
struct VelSignature {
    static constexpr int e_Size = 512;
    static constexpr int e_MagicLength = 8;
    static constexpr int e_AuthorAt = 16;
    static constexpr int e_AuthorField = 32;
    static constexpr int e_MajorAt = 48;
    static constexpr int e_MinorAt = 81;
    static constexpr int e_UpdateAt = 114;
    static constexpr int e_InternalAt = 147;
    static constexpr int e_SchemaAt = 180;
    static constexpr int e_NumberField = 33;

    static constexpr int e_MajorVersion = 6;
    static constexpr int e_MinorVersion = 7;
    static constexpr int e_UpdateVersion = 1;
    static constexpr int e_InternalVersion = 2;

    // The outcome of checking a block against what this library writes.  Only e_Accepted lets
    // a file be opened; 2 is not used.
    enum Result {
        e_Accepted = 0,
        e_BadMagic = 1,
        e_BadAuthor = 3,
        e_OlderFile = 4,
        e_NewerFile = 5
    };

    static const char* Author();

    // Zero-fills `block` (e_Size bytes) and writes the signature with `schemaVersion`.
    static void Fill(char* block, int schemaVersion);

    // Checks a block read from a file.  Internal and schema versions must both match: a newer
    // file (either number above ours) gives e_NewerFile, an older one e_OlderFile.
    static Result Check(const char* block, int schemaVersion);

    static bool HasMagic(const char* block);
    // The author text at offset 16, up to its NUL or the end of its 32-byte field.
    static cow_String AuthorOf(const char* block);
    // The number in the field at `offset`, read as strtol in base 10 would read it from the
    // field alone; a value outside the int range is clamped.
    static int NumberAt(const char* block, int offset);
};

#endif
