#include "hdf/hdf_Journal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "hdf/hdf_FileAccess.h"
#include "hdf/hdf_Here.h"
#include "vel/hdf/hdf_Exception.h"

namespace {

const char kHdfUnit[] = "hdf_Journal";

// ---- the journal's format ----------------------------------------------------------------------
//
// A journal is written behind everything else in the file and ends the file while it exists:
//
//   per extent     address (8 bytes), length n (8 bytes), then the n bytes
//   trailer        magic "VelJrnl1", extent count, the allocated end the file is to be cut to,
//                  the journal's whole length (extents and trailer), and a 64-bit FNV-1a
//                  checksum of every byte before the checksum
//
// Integers are in the host's byte order: a journal lives only until its commit is applied, on
// the machine that wrote it.

constexpr char kMagic[8] = {'V', 'e', 'l', 'J', 'r', 'n', 'l', '1'};
constexpr size_t kTrailerSize = 40;
constexpr size_t kExtentHeader = 16;
// Equal bytes between two differences that are journaled with them rather than apart.
constexpr size_t kEqualGap = 512;
constexpr size_t kCopyBlock = 1 << 20;
// The most one read or write call asks of the kernel (Linux moves at most 2 GiB less a page per
// call): a drawer's values move in one call, as the default driver moves them.
constexpr size_t kCallBytes = size_t(1) << 30;
// The metadata cache of a journaled file.
constexpr size_t kCacheBytes = 256 << 10;

struct Trailer {
    uint64_t count = 0;
    uint64_t eoa = 0;
    uint64_t length = 0;
    uint64_t checksum = 0;
};

class Checksum {
public:
    void Add(const unsigned char* bytes, size_t n) {
        for (size_t i = 0; i < n; ++i) {
            m_hash ^= bytes[i];
            m_hash *= 0x100000001b3ULL;
        }
    }
    uint64_t Value() const { return m_hash; }

private:
    uint64_t m_hash = 0xcbf29ce484222325ULL;
};

void PutWord(std::vector<unsigned char>& out, uint64_t value) {
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(&value);
    out.insert(out.end(), bytes, bytes + sizeof value);
}

uint64_t GetWord(const unsigned char* at) {
    uint64_t value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

// ---- system calls ------------------------------------------------------------------------------

bool WriteAll(int fd, const unsigned char* bytes, size_t n, uint64_t at) {
    while (n > 0) {
        const ssize_t done = pwrite(fd, bytes, std::min(n, kCallBytes), static_cast<off_t>(at));
        if (done < 0 && errno == EINTR) continue;
        if (done <= 0) {
            if (done == 0) errno = EIO;
            return false;
        }
        bytes += done;
        n -= static_cast<size_t>(done);
        at += static_cast<uint64_t>(done);
    }
    return true;
}

// Reads what the file holds of [at, at + n); bytes beyond its end read as zeros.
bool ReadAll(int fd, unsigned char* bytes, size_t n, uint64_t at) {
    while (n > 0) {
        const ssize_t done = pread(fd, bytes, std::min(n, kCallBytes), static_cast<off_t>(at));
        if (done < 0 && errno == EINTR) continue;
        if (done < 0) return false;
        if (done == 0) {
            std::memset(bytes, 0, n);
            return true;
        }
        bytes += done;
        n -= static_cast<size_t>(done);
        at += static_cast<uint64_t>(done);
    }
    return true;
}

[[noreturn]] void ThrowSystem(int line, const char* what) {
    const std::string text = std::string("journaled file: ") + what + ": " + std::strerror(errno);
    throw hdf_Exception(kHdfUnit, line, hdf_ErrorCode::MajorFile, hdf_ErrorCode::MinorWriteError,
                        text.c_str());
}

// ---- the overlay -------------------------------------------------------------------------------

// Bytes kept in memory in place of the file's: disjoint extents by address.  Extents that only
// touch stay apart, so a long run of small writes does not recopy a growing extent.
class Overlay {
public:
    bool Empty() const { return m_extents.empty(); }
    void Clear() { m_extents.clear(); }
    const std::map<uint64_t, std::vector<unsigned char>>& Extents() const { return m_extents; }

    bool Overlaps(uint64_t at, size_t n) const {
        auto it = m_extents.lower_bound(at + n);
        if (it == m_extents.begin()) return false;
        --it;
        return it->first + it->second.size() > at;
    }

    void Put(uint64_t at, const unsigned char* bytes, size_t n) {
        if (n == 0) return;
        uint64_t start = at;
        uint64_t end = at + n;
        auto first = m_extents.upper_bound(at);
        if (first != m_extents.begin()) {
            auto before = std::prev(first);
            if (before->first + before->second.size() > at) first = before;
        }
        auto last = first;
        while (last != m_extents.end() && last->first < end) ++last;
        if (first == last) {
            m_extents.emplace(at, std::vector<unsigned char>(bytes, bytes + n));
            return;
        }
        start = std::min(start, first->first);
        const auto tail = std::prev(last);
        end = std::max(end, tail->first + tail->second.size());
        std::vector<unsigned char> merged(static_cast<size_t>(end - start));
        for (auto it = first; it != last; ++it)
            std::copy(it->second.begin(), it->second.end(), merged.begin() + (it->first - start));
        std::copy(bytes, bytes + n, merged.begin() + (at - start));
        m_extents.erase(first, last);
        m_extents.emplace(start, std::move(merged));
    }

    // Lays the kept bytes of [at, at + n) over `out`.
    void Patch(uint64_t at, unsigned char* out, size_t n) const {
        if (m_extents.empty()) return;
        const uint64_t end = at + n;
        auto it = m_extents.upper_bound(at);
        if (it != m_extents.begin()) --it;
        for (; it != m_extents.end() && it->first < end; ++it) {
            const uint64_t from = std::max(at, it->first);
            const uint64_t to = std::min(end, it->first + it->second.size());
            if (from >= to) continue;
            std::memcpy(out + (from - at), it->second.data() + (from - it->first),
                        static_cast<size_t>(to - from));
        }
    }

private:
    std::map<uint64_t, std::vector<unsigned char>> m_extents;
};

// ---- one open file -----------------------------------------------------------------------------

struct State {
    int fd = -1;
    bool writable = false;
    dev_t device = 0;
    ino_t inode = 0;
    uint64_t eoa = 0;
    // The file's size as the driver has left it.
    uint64_t eof = 0;
    // The committed end and the lowest allocated end HDF5 has set since the last commit.
    uint64_t committed = 0;
    uint64_t released = 0;
    bool committing = false;
    // Whether HDF5 has used the file.  HDF5 opens a file once more to find out whether it has it
    // open already, and closes that second handle unused: its close must not touch the file.
    bool used = false;
    // Set when a write or a commit failed: the file then keeps its last commit and commits no
    // more, so that nothing half written is ever made durable.
    bool failed = false;
    // Injected faults: the n-th read, write or commit from the time they were set fails.
    int readFault = 0;
    int writeFault = 0;
    int commitFault = 0;
    Overlay overlay;
};

// Counts an injected fault down; true when it strikes, with errno as a failing disk leaves it.
bool Strikes(int& countdown) {
    if (countdown <= 0 || --countdown > 0) return false;
    errno = EIO;
    return true;
}

// HDF5 sees the public part; the driver's state hangs off it.
struct JournalFile {
    H5FD_t pub;
    State* state;
};

State& StateOf(const H5FD_t* file) {
    return *reinterpret_cast<const JournalFile*>(file)->state;
}

// The files open through the driver, to tell them from files of other drivers.
std::set<const void*>& OpenFiles() {
    static std::set<const void*> files;
    return files;
}

void PushError(const char* function, int line, hid_t minor, const std::string& text) {
    H5Epush2(H5E_DEFAULT, __FILE__, function, static_cast<unsigned>(line), H5E_ERR_CLS, H5E_VFL,
             minor, "%s", text.c_str());
}

std::string SystemText(const char* what) {
    return std::string(what) + ": " + std::strerror(errno);
}

// ---- commit and recovery -----------------------------------------------------------------------

std::vector<unsigned char> JournalOf(const State& s) {
    std::vector<unsigned char> body;
    for (const auto& extent : s.overlay.Extents()) {
        PutWord(body, extent.first);
        PutWord(body, extent.second.size());
        body.insert(body.end(), extent.second.begin(), extent.second.end());
    }
    body.insert(body.end(), kMagic, kMagic + sizeof kMagic);
    PutWord(body, s.overlay.Extents().size());
    PutWord(body, s.eoa);
    PutWord(body, body.size() + 2 * sizeof(uint64_t));
    Checksum sum;
    sum.Add(body.data(), body.size());
    PutWord(body, sum.Value());
    return body;
}

void Sync(const State& s) {
    if (fsync(s.fd) != 0) ThrowSystem(__LINE__, "fsync");
}

void SetSize(State& s, uint64_t size) {
    if (s.eof == size) return;
    if (ftruncate(s.fd, static_cast<off_t>(size)) != 0) ThrowSystem(__LINE__, "ftruncate");
    s.eof = size;
}

void CommitState(State& s, bool sync) {
    if (!s.writable) return;
    if (s.failed) {
        errno = EIO;
        ThrowSystem(__LINE__, "a write to the file failed before, it keeps its last commit");
    }
    s.failed = true;
    if (Strikes(s.commitFault)) ThrowSystem(__LINE__, "committing");
    if (sync) Sync(s);
    if (!s.overlay.Empty()) {
        const std::vector<unsigned char> journal = JournalOf(s);
        const uint64_t at = std::max(s.eof, s.eoa);
        if (!WriteAll(s.fd, journal.data(), journal.size(), at)) {
            const int error = errno;
            // A torn journal has no valid trailer and is ignored; cutting it off is a courtesy.
            if (ftruncate(s.fd, static_cast<off_t>(s.eof)) != 0) errno = error;
            errno = error;
            ThrowSystem(__LINE__, "writing the journal");
        }
        s.eof = at + journal.size();
        if (sync) Sync(s);
        for (const auto& extent : s.overlay.Extents())
            if (!WriteAll(s.fd, extent.second.data(), extent.second.size(), extent.first))
                ThrowSystem(__LINE__, "applying the journal");
        if (sync) Sync(s);
    }
    // Cutting the journal off needs no sync of its own: should a power loss undo the cut, the
    // next open applies the journal once more over the bytes it already put there, and the next
    // commit's first sync makes the cut durable before anything committed is overwritten again.
    SetSize(s, s.eoa);
    s.overlay.Clear();
    s.committed = s.released = s.eoa;
    s.committing = false;
    s.failed = false;
}

// The journal that ends the file, if a whole one does.
bool FindJournal(const State& s, Trailer& trailer) {
    if (s.eof < kTrailerSize) return false;
    unsigned char tail[kTrailerSize];
    if (!ReadAll(s.fd, tail, kTrailerSize, s.eof - kTrailerSize)) return false;
    if (std::memcmp(tail, kMagic, sizeof kMagic) != 0) return false;
    trailer.count = GetWord(tail + 8);
    trailer.eoa = GetWord(tail + 16);
    trailer.length = GetWord(tail + 24);
    trailer.checksum = GetWord(tail + 32);
    if (trailer.length < kTrailerSize || trailer.length > s.eof) return false;
    Checksum sum;
    std::vector<unsigned char> block(kCopyBlock);
    uint64_t at = s.eof - trailer.length;
    const uint64_t end = s.eof - sizeof(uint64_t);
    while (at < end) {
        const size_t n = static_cast<size_t>(std::min<uint64_t>(block.size(), end - at));
        if (!ReadAll(s.fd, block.data(), n, at)) return false;
        sum.Add(block.data(), n);
        at += n;
    }
    return sum.Value() == trailer.checksum;
}

// Walks the extents of a whole journal, handing each to `act` (address, bytes, length); false
// when the extents do not fill the journal exactly as its trailer says.
template <class Act>
bool ForEachExtent(const State& s, const Trailer& trailer, Act act) {
    uint64_t at = s.eof - trailer.length;
    const uint64_t end = s.eof - kTrailerSize;
    std::vector<unsigned char> bytes;
    for (uint64_t i = 0; i < trailer.count; ++i) {
        unsigned char header[kExtentHeader];
        if (end - at < kExtentHeader || !ReadAll(s.fd, header, kExtentHeader, at)) return false;
        const uint64_t address = GetWord(header);
        const uint64_t length = GetWord(header + 8);
        at += kExtentHeader;
        if (length > end - at || address + length < address) return false;
        bytes.resize(static_cast<size_t>(length));
        if (!ReadAll(s.fd, bytes.data(), bytes.size(), at)) return false;
        if (!act(address, bytes.data(), bytes.size())) return false;
        at += length;
    }
    return at == end;
}

// A commit cut off after its journal was whole: a writable file gets the journal applied and is
// cut to its allocated end; a read-only one reads through the journal.
bool Recover(State& s) {
    Trailer trailer;
    if (!FindJournal(s, trailer)) return true;
    if (!s.writable)
        return ForEachExtent(s, trailer, [&](uint64_t at, const unsigned char* bytes, size_t n) {
            s.overlay.Put(at, bytes, n);
            return true;
        });
    const bool applied =
        ForEachExtent(s, trailer, [&](uint64_t at, const unsigned char* bytes, size_t n) {
            return WriteAll(s.fd, bytes, n, at);
        });
    if (!applied || fsync(s.fd) != 0) return false;
    if (ftruncate(s.fd, static_cast<off_t>(trailer.eoa)) != 0 || fsync(s.fd) != 0) return false;
    s.eof = trailer.eoa;
    return true;
}

// ---- the driver's callbacks --------------------------------------------------------------------

// A writer keeps other writers out with a record lock, taken before a journal is applied.  The
// lock belongs to the process: other handles on the file in the same process (an HDF5 reader of
// the default driver, say) are not refused, and see the file's last commit; readers in other
// processes are not refused either.  Closing any handle on the file in the process drops the
// lock (record locks work so), which leaves it advisory.
bool SetLock(int fd, short type) {
    struct flock lock;
    std::memset(&lock, 0, sizeof lock);
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0;
    lock.l_len = 1;
    return fcntl(fd, F_SETLK, &lock) == 0 || errno == ENOLCK || errno == ENOSYS;
}

// Whether the file is open through the driver already (HDF5 is about to find that out too).
bool IsOpen(const State& file) {
    for (const void* open : OpenFiles()) {
        const State& other = StateOf(static_cast<const H5FD_t*>(open));
        if (other.device == file.device && other.inode == file.inode) return true;
    }
    return false;
}

H5FD_t* Open(const char* name, unsigned flags, hid_t, haddr_t maxaddr) {
    if (!name || !*name) {
        PushError(__func__, __LINE__, H5E_BADVALUE, "invalid file name");
        return nullptr;
    }
    if (maxaddr == 0 || maxaddr == HADDR_UNDEF) {
        PushError(__func__, __LINE__, H5E_BADVALUE, "bogus maxaddr");
        return nullptr;
    }
    int mode = (flags & H5F_ACC_RDWR) ? O_RDWR : O_RDONLY;
    if (flags & H5F_ACC_TRUNC) mode |= O_TRUNC;
    if (flags & H5F_ACC_CREAT) mode |= O_CREAT;
    if (flags & H5F_ACC_EXCL) mode |= O_EXCL;
    const int fd = open(name, mode | O_CLOEXEC, 0666);
    if (fd < 0) {
        PushError(
            __func__, __LINE__, H5E_CANTOPENFILE,
            std::string("unable to open file: name = '") + name + "', " + SystemText("error"));
        return nullptr;
    }
    struct stat info;
    if (fstat(fd, &info) != 0) {
        PushError(__func__, __LINE__, H5E_CANTOPENFILE, SystemText("unable to fstat file"));
        close(fd);
        return nullptr;
    }
    State* s = new State();
    s->fd = fd;
    s->writable = (flags & H5F_ACC_RDWR) != 0;
    s->device = info.st_dev;
    s->inode = info.st_ino;
    s->eof = static_cast<uint64_t>(info.st_size);
    if (s->writable && !SetLock(fd, F_WRLCK)) {
        PushError(__func__, __LINE__, H5E_CANTLOCKFILE,
                  SystemText("unable to lock file, another process has it open for writing"));
        close(fd);
        delete s;
        return nullptr;
    }
    if (!IsOpen(*s) && !Recover(*s)) {
        PushError(__func__, __LINE__, H5E_CANTOPENFILE,
                  SystemText("unable to apply the journal left by an interrupted commit"));
        close(fd);
        delete s;
        return nullptr;
    }
    s->committed = s->released = s->eof;
    JournalFile* file = new JournalFile();
    file->state = s;
    OpenFiles().insert(file);
    return &file->pub;
}

herr_t Close(H5FD_t* file) {
    State* s = &StateOf(file);
    herr_t result = 0;
    try {
        if (s->used && !s->failed) CommitState(*s, false);
    } catch (const hdf_Exception& e) {
        PushError(__func__, __LINE__, H5E_CANTCLOSEFILE, e.what());
        result = -1;
    }
    if (close(s->fd) != 0 && result == 0) {
        PushError(__func__, __LINE__, H5E_CANTCLOSEFILE, SystemText("unable to close file"));
        result = -1;
    }
    OpenFiles().erase(file);
    delete s;
    delete reinterpret_cast<JournalFile*>(file);
    return result;
}

int Compare(const H5FD_t* a, const H5FD_t* b) {
    const State& x = StateOf(a);
    const State& y = StateOf(b);
    if (x.device != y.device) return x.device < y.device ? -1 : 1;
    if (x.inode != y.inode) return x.inode < y.inode ? -1 : 1;
    return 0;
}

herr_t Query(const H5FD_t*, unsigned long* flags) {
    // The allocation features of the default driver, so that a file is laid out as it would
    // be without the journal.  Not its metadata accumulator: the journal's overlay already
    // gathers metadata writes, and HDF5 1.10.8's accumulator copies from a null buffer when a
    // damaged group header sends a read to an address beyond the file's allocation.
    if (flags)
        *flags = H5FD_FEAT_AGGREGATE_METADATA | H5FD_FEAT_DATA_SIEVE |
                 H5FD_FEAT_AGGREGATE_SMALLDATA | H5FD_FEAT_DEFAULT_VFD_COMPATIBLE;
    return 0;
}

haddr_t GetEoa(const H5FD_t* file, H5FD_mem_t) {
    return StateOf(file).eoa;
}

herr_t SetEoa(H5FD_t* file, H5FD_mem_t, haddr_t addr) {
    State& s = StateOf(file);
    s.used = true;
    s.eoa = addr;
    s.released = std::min(s.released, static_cast<uint64_t>(addr));
    return 0;
}

haddr_t GetEof(const H5FD_t* file, H5FD_mem_t) {
    return StateOf(file).eof;
}

herr_t GetHandle(H5FD_t* file, hid_t, void** handle) {
    if (!handle) {
        PushError(__func__, __LINE__, H5E_BADVALUE, "file handle not valid");
        return -1;
    }
    *handle = file;
    return 0;
}

bool Outside(const State& s, haddr_t addr, size_t size) {
    return addr == HADDR_UNDEF || addr + size < addr || addr + size > s.eoa;
}

herr_t Read(H5FD_t* file, H5FD_mem_t, hid_t, haddr_t addr, size_t size, void* buffer) {
    State& s = StateOf(file);
    if (Outside(s, addr, size)) {
        PushError(__func__, __LINE__, H5E_OVERFLOW, "addr overflow");
        return -1;
    }
    unsigned char* out = static_cast<unsigned char*>(buffer);
    if (Strikes(s.readFault) || !ReadAll(s.fd, out, size, addr)) {
        PushError(__func__, __LINE__, H5E_READERROR, SystemText("file read failed"));
        return -1;
    }
    s.overlay.Patch(addr, out, size);
    return 0;
}

// Whether the eight bytes at `a` and `b` are equal, compared as one word.
bool SameWord(const unsigned char* a, const unsigned char* b) {
    uint64_t x;
    uint64_t y;
    std::memcpy(&x, a, sizeof x);
    std::memcpy(&y, b, sizeof y);
    return x == y;
}

// The first position from `i` on where `a` and `b` differ, or `n`; long equal stretches (a heap
// block of which one name changed) are passed over a block at a time.
size_t FirstDifference(const unsigned char* a, const unsigned char* b, size_t i, size_t n) {
    constexpr size_t kBlock = 256;
    while (n - i >= kBlock && std::memcmp(a + i, b + i, kBlock) == 0) i += kBlock;
    while (n - i >= sizeof(uint64_t) && SameWord(a + i, b + i)) i += sizeof(uint64_t);
    while (i < n && a[i] == b[i]) ++i;
    return i;
}

// The end of the run of differences that starts at `i` (where `a` and `b` differ): the run goes
// on over stretches of equal bytes shorter than kEqualGap.  Every extent costs a system call when
// the journal is applied, and a few hundred equal bytes cost far less to carry than that call.
size_t EndOfDifferences(const unsigned char* a, const unsigned char* b, size_t i, size_t n) {
    size_t end = i + 1;
    size_t same = 0;
    size_t j = end;
    // Equal words are passed whole; a word that differs is looked at byte by byte.
    while (n - j >= sizeof(uint64_t) && same < kEqualGap) {
        if (SameWord(a + j, b + j)) {
            same += sizeof(uint64_t);
            j += sizeof(uint64_t);
            continue;
        }
        for (const size_t word = j + sizeof(uint64_t); j < word && same < kEqualGap; ++j) {
            if (a[j] == b[j]) {
                ++same;
            } else {
                same = 0;
                end = j + 1;
            }
        }
    }
    for (; j < n && same < kEqualGap; ++j) {
        if (a[j] == b[j]) {
            ++same;
        } else {
            same = 0;
            end = j + 1;
        }
    }
    return end;
}

// Keeps `n` bytes destined for [at, at + n) below the committed end.  HDF5 writes whole objects
// (a chunk of 20 KB when a table gained one row, a heap block when a group gained one name), so
// where the overlay holds nothing yet only the bytes that differ from the file's are kept: the
// journal then carries what changed, not what was rewritten.  The file's bytes are read into
// memory that is not cleared first: the read fills all of it.
void Keep(State& s, const unsigned char* bytes, size_t n, uint64_t at) {
    if (n == 0) return;
    if (s.overlay.Overlaps(at, n)) {
        s.overlay.Put(at, bytes, n);
        return;
    }
    const std::unique_ptr<unsigned char[]> old(new unsigned char[n]);
    if (!ReadAll(s.fd, old.get(), n, at)) {
        s.overlay.Put(at, bytes, n);
        return;
    }
    size_t i = FirstDifference(bytes, old.get(), 0, n);
    while (i < n) {
        const size_t end = EndOfDifferences(bytes, old.get(), i, n);
        s.overlay.Put(at + i, bytes + i, end - i);
        i = FirstDifference(bytes, old.get(), end, n);
    }
}

bool WriteThrough(State& s, const unsigned char* bytes, size_t n, uint64_t at) {
    if (n == 0) return true;
    if (!WriteAll(s.fd, bytes, n, at)) return false;
    if (at < s.committed && s.overlay.Overlaps(at, n)) s.overlay.Put(at, bytes, n);
    s.eof = std::max(s.eof, at + n);
    return true;
}

herr_t Write(H5FD_t* file, H5FD_mem_t type, hid_t, haddr_t addr, size_t size, const void* buffer) {
    State& s = StateOf(file);
    if (Outside(s, addr, size)) {
        PushError(__func__, __LINE__, H5E_OVERFLOW, "addr overflow");
        return -1;
    }
    const unsigned char* bytes = static_cast<const unsigned char*>(buffer);
    uint64_t at = addr;
    const uint64_t end = addr + size;
    bool written = !Strikes(s.writeFault);
    if (written && at < s.committed) {
        const uint64_t cut = std::min(end, s.committed);
        if (type != H5FD_MEM_DRAW || s.committing) {
            Keep(s, bytes, static_cast<size_t>(cut - at), at);
        } else {
            const uint64_t split = std::min(std::max(s.released, at), cut);
            written = WriteThrough(s, bytes, static_cast<size_t>(split - at), at);
            Keep(s, bytes + (split - at), static_cast<size_t>(cut - split), split);
        }
        bytes += cut - at;
        at = cut;
    }
    if (written) written = WriteThrough(s, bytes, static_cast<size_t>(end - at), at);
    if (!written) {
        s.failed = true;
        PushError(__func__, __LINE__, H5E_WRITEERROR, SystemText("file write failed"));
        return -1;
    }
    return 0;
}

herr_t Lock(H5FD_t* file, hbool_t rw) {
    if (!rw) return 0;
    if (!SetLock(StateOf(file).fd, F_WRLCK)) {
        PushError(__func__, __LINE__, H5E_CANTLOCKFILE,
                  SystemText("unable to lock file, another process has it open for writing"));
        return -1;
    }
    return 0;
}

herr_t Unlock(H5FD_t* file) {
    if (!SetLock(StateOf(file).fd, F_UNLCK)) {
        PushError(__func__, __LINE__, H5E_CANTLOCKFILE, SystemText("unable to unlock file"));
        return -1;
    }
    return 0;
}

H5FD_class_t MakeClass() {
    H5FD_class_t c;
    std::memset(&c, 0, sizeof c);
    c.name = "vel_journal";
    // The default driver's largest address: what a signed file offset reaches.
    c.maxaddr = (static_cast<haddr_t>(1) << (8 * sizeof(off_t) - 1)) - 1;
    c.fc_degree = H5F_CLOSE_WEAK;
    c.open = Open;
    c.close = Close;
    c.cmp = Compare;
    c.query = Query;
    c.get_eoa = GetEoa;
    c.set_eoa = SetEoa;
    c.get_eof = GetEof;
    c.get_handle = GetHandle;
    c.read = Read;
    c.write = Write;
    c.lock = Lock;
    c.unlock = Unlock;
    const H5FD_mem_t map[H5FD_MEM_NTYPES] = H5FD_FLMAP_DICHOTOMY;
    std::copy(map, map + H5FD_MEM_NTYPES, c.fl_map);
    return c;
}

// The driver is registered on first use, and again after HDF5 has been closed and reopened.
hid_t DriverID() {
    static const H5FD_class_t kClass = MakeClass();
    static hid_t id = -1;
    if (id < 0 || H5Iis_valid(id) <= 0) id = H5FDregister(&kClass);
    if (id < 0) throw hdf_Exception(HDF_HERE, true);
    return id;
}

// The driver's state of the file that `object` is in, or null for a file of another driver.
State* Find(hid_t object) {
    const hid_t fileID = H5Iget_file_id(object);
    if (fileID < 0) throw hdf_Exception(HDF_HERE, true);
    void* handle = nullptr;
    const herr_t got = H5Fget_vfd_handle(fileID, H5P_DEFAULT, &handle);
    H5Fclose(fileID);
    if (got < 0) throw hdf_Exception(HDF_HERE, true);
    if (!OpenFiles().count(handle)) return nullptr;
    return &StateOf(static_cast<H5FD_t*>(handle));
}

}  // namespace

void hdf_Journal::Use(hid_t access) {
    if (H5Pset_driver(access, DriverID(), nullptr) < 0) throw hdf_Exception(HDF_HERE, true);
    hdf_FixMetadataCache(access, kCacheBytes);
#ifndef H5_HAVE_PARALLEL
    // A parallel HDF5 refuses eviction on close for every file, serial ones too: there the
    // fixed size alone bounds the entries a flush visits.
    if (H5Pset_evict_on_close(access, 1) < 0) throw hdf_Exception(HDF_HERE, true);
#endif
    hdf_AlignBulkData(access);
}

bool hdf_Journal::IsJournaled(hid_t file) {
    return Find(file) != nullptr;
}

void hdf_Journal::BeginCommit(hid_t file) {
    if (State* s = Find(file)) s->committing = true;
}

void hdf_Journal::KeepRawWrites(hid_t file) {
    if (State* s = Find(file)) s->committing = true;
}

void hdf_Journal::Commit(hid_t file, bool sync) {
    if (State* s = Find(file)) CommitState(*s, sync);
}

void hdf_Journal::Abandon(hid_t file) {
    if (State* s = Find(file)) s->failed = true;
}

const bool* hdf_Journal::FailureFlag(hid_t file) {
    State* s = Find(file);
    return s ? &s->failed : nullptr;
}

void hdf_Journal::InjectFault(hid_t file, Fault kind, int nth) {
    State* s = Find(file);
    if (!s) return;
    (kind == e_Read ? s->readFault : kind == e_Write ? s->writeFault : s->commitFault) = nth;
}
