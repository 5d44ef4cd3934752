#include "vel/context/VelVersion.h"

#include <cstring>
#include <string>

#include "VelContextFileHelpers.h"
#include "VelTestSupport.h"
#include "context/VelSignature.h"

namespace {

void PutField(char* block, int offset, const char* text) {
    std::memset(block + offset, 0, VelSignature::e_NumberField);
    std::memcpy(block + offset, text, std::strlen(text));
}

// The block's bytes and the refusals one by one are checked in files the manager writes; here,
// what those cannot show: which result wins, and the fields that take no part.
TEST(VelSignatureTest, NewerWinsOverOlderAndInformativeFieldsTakeNoPart) {
    char block[VelSignature::e_Size];
    VelSignature::Fill(block, 4);
    PutField(block, VelSignature::e_InternalAt, "1");
    EXPECT_EQ(VelSignature::Check(block, 3), VelSignature::e_NewerFile);
    EXPECT_EQ(VelSignature::Check(block, 4), VelSignature::e_OlderFile);
    PutField(block, VelSignature::e_InternalAt, "2");
    PutField(block, VelSignature::e_MajorAt, "99");
    PutField(block, VelSignature::e_UpdateAt, "junk");
    EXPECT_EQ(VelSignature::Check(block, 4), VelSignature::e_Accepted);
    // The author text is compared over its own length only.
    std::strcpy(block + VelSignature::e_AuthorAt, "KORVANE TELMIR and more");
    EXPECT_EQ(VelSignature::Check(block, 4), VelSignature::e_Accepted);
}

TEST(VelSignatureTest, FieldsAreReadWithinTheirBounds) {
    // A hostile block with no terminator anywhere: every reader stops at its own field.
    char block[VelSignature::e_Size];
    std::memset(block, '7', sizeof block);
    EXPECT_EQ(VelSignature::AuthorOf(block), cow_String(std::string(32, '7')));
    EXPECT_EQ(VelSignature::NumberAt(block, VelSignature::e_SchemaAt), 2147483647)
        << "33 digits are clamped to the int range";
    std::memset(block, '-', sizeof block);
    PutField(block, VelSignature::e_SchemaAt, "-12");
    EXPECT_EQ(VelSignature::NumberAt(block, VelSignature::e_SchemaAt), -12);
}

TEST(VelVersionTest, ReadsTheRecordWithoutOpeningTheDatabase) {
    VelTempFile file("version");
    char block[VelSignature::e_Size];
    VelSignature::Fill(block, 12);
    std::string content(block, sizeof block);
    content += "not an HDF5 file at all";
    WriteFileBytes(file.str(), content);

    VelVersion version;
    ASSERT_TRUE(version.Create(file.c_str()));
    EXPECT_TRUE(version.IsOrbFile());
    EXPECT_EQ(version.Author(), cow_String("KORVANE TELMIR"));
    EXPECT_EQ(version.MajorVersion(), 6);
    EXPECT_EQ(version.MinorVersion(), 7);
    EXPECT_EQ(version.UpdateVersion(), 1);
    EXPECT_EQ(version.InternalVersion(), 2);
    EXPECT_EQ(version.SchemaVersion(), 12);

    content[0] = 'X';
    WriteFileBytes(file.str(), content);
    ASSERT_TRUE(version.Create(file.c_str()));
    EXPECT_FALSE(version.IsOrbFile());
}

TEST(VelVersionDeathTest, ShortOrMissingFileLeavesTheRecordUncreated) {
    VelTempFile file("short");
    char block[VelSignature::e_Size];
    VelSignature::Fill(block, 1);
    WriteFileBytes(file.str(), std::string(block, 511));

    VelVersion version;
    EXPECT_FALSE(version.Create(file.c_str()));
    ExpectAssertFailure(version.IsOrbFile(), "m_created");
    ExpectAssertFailure(version.Author(), "m_created");
    ExpectAssertFailure(version.SchemaVersion(), "m_created");
    ExpectAssertFailure(version.InternalVersion(), "m_created");

    VelVersion missing;
    EXPECT_FALSE(missing.Create("no such file here"));
    ExpectAssertFailure(missing.MajorVersion(), "m_created");
}

}  // namespace
