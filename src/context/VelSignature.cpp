#include "context/VelSignature.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {
const unsigned char kMagic[VelSignature::e_MagicLength] = {0x89, 'O',  'R',  'B',
                                                           0x0D, 0x0A, 0x1A, 0x0A};
const char kAuthor[] = "KORVANE TELMIR";

void PutNumber(char* block, int offset, int value) {
    std::snprintf(block + offset, VelSignature::e_NumberField, "%d", value);
}
}  // namespace

const char* VelSignature::Author() {
    return kAuthor;
}

void VelSignature::Fill(char* block, int schemaVersion) {
    std::memset(block, 0, e_Size);
    std::memcpy(block, kMagic, e_MagicLength);
    std::strncpy(block + e_AuthorAt, kAuthor, e_AuthorField - 1);
    PutNumber(block, e_MajorAt, e_MajorVersion);
    PutNumber(block, e_MinorAt, e_MinorVersion);
    PutNumber(block, e_UpdateAt, e_UpdateVersion);
    PutNumber(block, e_InternalAt, e_InternalVersion);
    PutNumber(block, e_SchemaAt, schemaVersion);
}

bool VelSignature::HasMagic(const char* block) {
    return std::memcmp(block, kMagic, e_MagicLength) == 0;
}

cow_String VelSignature::AuthorOf(const char* block) {
    const char* text = block + e_AuthorAt;
    size_t length = 0;
    while (length < static_cast<size_t>(e_AuthorField) && text[length] != '\0') ++length;
    return cow_String(text, length);
}

int VelSignature::NumberAt(const char* block, int offset) {
    char field[e_NumberField + 1];
    std::memcpy(field, block + offset, e_NumberField);
    field[e_NumberField] = '\0';
    const long value = std::strtol(field, nullptr, 10);
    if (value > INT_MAX) return INT_MAX;
    if (value < INT_MIN) return INT_MIN;
    return static_cast<int>(value);
}

VelSignature::Result VelSignature::Check(const char* block, int schemaVersion) {
    if (!HasMagic(block)) return e_BadMagic;
    // The text is compared over the length of our own author text: a file must begin its field
    // with it, whatever follows.
    size_t compared = std::strlen(kAuthor);
    if (compared > static_cast<size_t>(e_AuthorField - 1)) compared = e_AuthorField - 1;
    if (std::memcmp(block + e_AuthorAt, kAuthor, compared) != 0) return e_BadAuthor;
    // Major, minor and update versions are informative only.
    const int internal = NumberAt(block, e_InternalAt);
    const int schema = NumberAt(block, e_SchemaAt);
    if (internal > e_InternalVersion || schema > schemaVersion) return e_NewerFile;
    if (internal < e_InternalVersion || schema < schemaVersion) return e_OlderFile;
    return e_Accepted;
}
