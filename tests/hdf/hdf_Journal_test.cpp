// The journaled driver: the file on disk changes only at commits, and a journal found at the end
// of a file (a commit cut off after its journal was whole) is applied by a writable open and read
// through by a read-only one, while a torn or damaged journal is ignored.  The journals of the
// recovery tests are written here by hand in the driver's format, from two states of one file.

#include "hdf/hdf_Journal.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "VelTestSupport.h"
#include "hdf_TestSupport.h"
#include "vel/hdf/hdf_File.h"
#include "vel/hdf/hdf_PropList.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes ReadFile(const std::string& name) {
    std::ifstream in(name, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteFile(const std::string& name, const Bytes& bytes) {
    std::ofstream out(name, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
}

void PutWord(Bytes& out, uint64_t value) {
    for (int i = 0; i < 8; ++i) out.push_back(static_cast<unsigned char>(value >> (8 * i)));
}

// The journal that turns `from` into `to`: one extent per run of differing bytes (everything
// beyond the end of `from` differs), then the trailer with the FNV-1a checksum.
Bytes JournalBetween(const Bytes& from, const Bytes& to) {
    Bytes journal;
    uint64_t count = 0;
    size_t i = 0;
    while (i < to.size()) {
        if (i < from.size() && from[i] == to[i]) {
            ++i;
            continue;
        }
        size_t end = i;
        while (end < to.size() && !(end < from.size() && from[end] == to[end])) ++end;
        PutWord(journal, i);
        PutWord(journal, end - i);
        journal.insert(journal.end(), to.begin() + static_cast<long>(i),
                       to.begin() + static_cast<long>(end));
        ++count;
        i = end;
    }
    for (char c : std::string("VelJrnl1")) journal.push_back(static_cast<unsigned char>(c));
    PutWord(journal, count);
    PutWord(journal, to.size());
    PutWord(journal, journal.size() + 16);
    uint64_t hash = 0xcbf29ce484222325ULL;
    for (unsigned char byte : journal) {
        hash ^= byte;
        hash *= 0x100000001b3ULL;
    }
    PutWord(journal, hash);
    return journal;
}

hdf_PropListFileAccess Journaled() {
    hdf_PropListFileAccess access;
    hdf_Journal::Use(access.ID());
    return access;
}

class HdfJournalTest : public HdfTest {
protected:
    bool HasMember(const char* name, const char* member,
                   const hdf_PropListFileAccess& access = hdf_PropListFileAccess()) {
        const hdf_File file = hdf_File::Open(name, hdf_File::OpenFlagsReadOnly, access);
        return file.GetObjinfoExists(member);
    }

    // State A: a group "first"; state B: "first" and "second" with a dataset of 10,000 ints.
    void MakeStates() {
        {
            const hdf_File file =
                hdf_File::Create(m_file.c_str(), hdf_File::CreateFlagsTruncate, Journaled());
            file.GroupCreate("first", 0);
        }
        m_a = ReadFile(m_file.str());
        {
            const hdf_File file =
                hdf_File::Open(m_file.c_str(), hdf_File::OpenFlagsReadWrite, Journaled());
            const hdf_Group second = file.GroupCreate("second", 0);
            std::vector<int> values(10000);
            for (size_t i = 0; i < values.size(); ++i) values[i] = static_cast<int>(i * 7);
            const int64_t n = static_cast<int64_t>(values.size());
            const hdf_Dataset data = second.DatasetCreate(
                "values", hdf_Datatype::NATIVE_INT(),
                hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(1, &n), hdf_DimSpace()));
            data.Write(hdf_Datatype::NATIVE_INT(), hdf_Dataspace(), values.data());
        }
        m_b = ReadFile(m_file.str());
        m_journal = JournalBetween(m_a, m_b);
    }

    Bytes Interrupted(const Bytes& journal) const {
        Bytes bytes = m_a;
        bytes.insert(bytes.end(), journal.begin(), journal.end());
        return bytes;
    }

    VelTempFile m_file{"journal"};
    Bytes m_a, m_b, m_journal;
};

TEST_F(HdfJournalTest, TheFileChangesOnlyAtCommits) {
    const hdf_File file =
        hdf_File::Create(m_file.c_str(), hdf_File::CreateFlagsTruncate, Journaled());
    EXPECT_TRUE(hdf_Journal::IsJournaled(file.GetFileID()));
    file.GroupCreate("first", 0);
    file.Flush();
    const Bytes committed = ReadFile(m_file.str());
    EXPECT_TRUE(HasMember(m_file.c_str(), "first"));

    // HDF5 writes its buffers, but below the committed end nothing changes and an ordinary
    // reader still sees the committed state.
    file.GroupCreate("second", 0).GroupCreate("inner", 0);
    ASSERT_GE(H5Fflush(file.GetFileID(), H5F_SCOPE_LOCAL), 0);
    const Bytes flushed = ReadFile(m_file.str());
    ASSERT_GE(flushed.size(), committed.size());
    EXPECT_TRUE(std::equal(committed.begin(), committed.end(), flushed.begin()));
    EXPECT_FALSE(HasMember(m_file.c_str(), "second"));

    file.Sync();
    EXPECT_TRUE(HasMember(m_file.c_str(), "second"));
}

// A read-only open reads through a whole journal and leaves the file; a writable open applies it.
TEST_F(HdfJournalTest, AWholeJournalIsReadThroughOrApplied) {
    MakeStates();
    ASSERT_NE(m_a, m_b);
    const Bytes interrupted = Interrupted(m_journal);
    WriteFile(m_file.str(), interrupted);
    for (const auto flags : {hdf_File::OpenFlagsReadOnly, hdf_File::OpenFlagsReadWrite}) {
        const bool readOnly = flags == hdf_File::OpenFlagsReadOnly;
        {
            const hdf_File file = hdf_File::Open(m_file.c_str(), flags, Journaled());
            std::vector<int> values(10000);
            file.DatasetOpen("second/values")
                .Read(hdf_Datatype::NATIVE_INT(), hdf_Dataspace(), values.data());
            EXPECT_EQ(values[9999], 9999 * 7);
            EXPECT_EQ(ReadFile(m_file.str()), readOnly ? interrupted : m_b);
        }
        if (readOnly) {
            EXPECT_EQ(ReadFile(m_file.str()), interrupted);
        }
    }
    EXPECT_TRUE(HasMember(m_file.c_str(), "second"));
}

// A dataset rewritten in place while a commit is prepared changes the file only at the commit,
// and then wholly: the driver keeps the runs of bytes that differ from the file's, and those
// runs must cover every changed byte wherever it lies (at either end, across word boundaries,
// in runs apart by fewer, as many or more equal bytes than an extent's 16-byte header).
TEST_F(HdfJournalTest, RewritesInPlaceReachTheFileWhollyAtTheCommit) {
    constexpr int64_t kLength = 1003;
    const hdf_File file =
        hdf_File::Create(m_file.c_str(), hdf_File::CreateFlagsTruncate, Journaled());
    const hdf_Dataset data = file.DatasetCreate(
        "bytes", hdf_Datatype::NATIVE_UCHAR(),
        hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(1, &kLength), hdf_DimSpace()));
    Bytes values(kLength);
    for (size_t i = 0; i < values.size(); ++i) values[i] = static_cast<unsigned char>(i * 31);
    data.Write(hdf_Datatype::NATIVE_UCHAR(), hdf_Dataspace(), values.data());
    file.Flush();
    const std::vector<std::vector<size_t>> changes = {
        {0},
        {kLength - 1},
        {7, 8},
        {100, 115, 131, 148, 164, 181, 198},
        {500, 501, 502, 503, 504, 505, 506, 507, 508, 509, 517, 518},
        {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 990, 1001, kLength - 1},
    };
    for (const std::vector<size_t>& changed : changes) {
        for (size_t i : changed) values[i] = static_cast<unsigned char>(values[i] ^ 0x5a);
        const Bytes committed = ReadFile(m_file.str());
        hdf_Journal::BeginCommit(file.GetFileID());
        data.Write(hdf_Datatype::NATIVE_UCHAR(), hdf_Dataspace(), values.data());
        ASSERT_GE(H5Fflush(file.GetFileID(), H5F_SCOPE_LOCAL), 0);
        EXPECT_EQ(ReadFile(m_file.str()), committed);
        file.Flush();
        const hdf_File reader =
            hdf_File::Open(m_file.c_str(), hdf_File::OpenFlagsReadOnly, hdf_PropListFileAccess());
        Bytes stored(kLength);
        reader.DatasetOpen("bytes").Read(hdf_Datatype::NATIVE_UCHAR(), hdf_Dataspace(),
                                         stored.data());
        EXPECT_EQ(stored, values);
    }
}

// HDF5 rewrites metadata as whole objects; the driver keeps the bytes that differ from the file's
// and nothing past the bytes it was given.  Driven through the driver's own interface, with
// bytes unlike the file's after the 64 written: none, the second or the last one changed.
TEST_F(HdfJournalTest, MetadataRewritesKeepOnlyTheBytesThatChanged) {
    Bytes file(4096);
    for (size_t i = 0; i < file.size(); ++i) file[i] = static_cast<unsigned char>(i * 13);
    const hdf_PropListFileAccess access = Journaled();
    for (size_t changed : {64, 1, 63}) {
        WriteFile(m_file.str(), file);
        Bytes buffer(file.begin() + 1000, file.begin() + 1064);
        if (changed < 64) buffer[changed] ^= 0xff;
        Bytes expected = file;
        std::copy(buffer.begin(), buffer.end(), expected.begin() + 1000);
        buffer.resize(4096, 0xab);
        H5FD_t* driver = H5FDopen(m_file.c_str(), H5F_ACC_RDWR, access.ID(), HADDR_UNDEF);
        ASSERT_NE(driver, nullptr);
        H5FDset_eoa(driver, H5FD_MEM_OHDR, file.size());
        EXPECT_GE(H5FDwrite(driver, H5FD_MEM_OHDR, H5P_DEFAULT, 1000, 64, buffer.data()), 0);
        EXPECT_EQ(ReadFile(m_file.str()), file);
        EXPECT_GE(H5FDclose(driver), 0);
        EXPECT_EQ(ReadFile(m_file.str()), expected) << changed;
    }
}

// A journal cut short, or one whose bytes changed, proves nothing: the file keeps its previous
// state, and the writable open cuts the tail off at its close.
TEST_F(HdfJournalTest, TornOrDamagedJournalsAreIgnored) {
    MakeStates();
    Bytes torn = m_journal;
    torn.pop_back();
    Bytes damaged = m_journal;
    damaged[20] ^= 1;
    Bytes noTrailer(m_journal.begin(), m_journal.end() - 40);
    for (const Bytes& journal : {torn, damaged, noTrailer}) {
        WriteFile(m_file.str(), Interrupted(journal));
        EXPECT_FALSE(HasMember(m_file.c_str(), "second", Journaled()));
        { hdf_File::Open(m_file.c_str(), hdf_File::OpenFlagsReadWrite, Journaled()); }
        EXPECT_EQ(ReadFile(m_file.str()), m_a);
    }
}

// One writer at a time: another process cannot open the file for writing while a writer has
// it, and may read it (it sees the last commit).
TEST_F(HdfJournalTest, AnotherProcessCanReadButNotWrite) {
    const hdf_File file =
        hdf_File::Create(m_file.c_str(), hdf_File::CreateFlagsTruncate, Journaled());
    file.GroupCreate("first", 0);
    file.Flush();
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        const hdf_File writer =
            hdf_File::Open_NoThrow(m_file.c_str(), hdf_File::OpenFlagsReadWrite, Journaled());
        const hdf_File reader =
            hdf_File::Open_NoThrow(m_file.c_str(), hdf_File::OpenFlagsReadOnly, Journaled());
        const bool seen = !reader.IsEmpty() && reader.GetObjinfoExists("first");
        _exit(writer.IsEmpty() && seen ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

// Bulk data starts at an address a page copy likes (the user block of a database file is 512
// bytes, which bounds the alignment HDF5 accepts); small objects stay packed.
TEST_F(HdfJournalTest, LargeDatasetsStartAlignedAndSmallOnesStayPacked) {
    const hdf_File file =
        hdf_File::Create(m_file.c_str(), hdf_File::CreateFlagsTruncate, Journaled());
    const auto written = [&](const char* name, int64_t n) {
        const std::vector<double> values(static_cast<size_t>(n), 1.5);
        const hdf_Dataset data = file.DatasetCreate(
            name, hdf_Datatype::NATIVE_DOUBLE(),
            hdf_Dataspace::CreateSimple(hdf_DimSpaceInput(1, &n), hdf_DimSpace()));
        data.Write(hdf_Datatype::NATIVE_DOUBLE(), hdf_Dataspace(), values.data());
        return H5Dget_offset(data.ID());
    };
    const haddr_t a = written("a", 3);
    const haddr_t big = written("big", 20000);
    const haddr_t b = written("b", 3);
    const haddr_t bigger = written("bigger", 30001);
    EXPECT_EQ(big % 512, 0u);
    EXPECT_EQ(bigger % 512, 0u);
    EXPECT_EQ(b - a, 24u);
}

}  // namespace
