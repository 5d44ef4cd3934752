#ifndef VEL_SRC_VIEWS_VELSTRINGTABLE_H
#define VEL_SRC_VIEWS_VELSTRINGTABLE_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "vel/hdf/hdf_Dataset.h"
#include "vel/hdf/hdf_Group.h"
#include "vel/platform/cow_String.h"

// The context's string table: the texts of every string member and string key of every view,
// kept once per context so that a record copied into a later edition keeps its references.
//
// In the file ("stringTable" under the root):
//   "text"    uint8, one dimension, chunked and growing: the bytes of every string back to back,
//             without terminators
//   "ends"    int64, one dimension, chunked and growing: ends[i] is the offset one past the last
//             byte of string i, so string i spans [ends[i-1], ends[i]) with ends[-1] = 0
//   "counts"  int64[2]: the committed number of strings and of bytes.  It is written last, so
//             strings appended by an unfinished commit lie beyond the counts and are ignored.
//
// A reference (the 4-byte value in a string slot of a record or a key of a pair) is the
// string's index plus one; reference 0 is the empty string, which takes no room.  Within a
// session equal texts share one reference.  References handed out since the last commit are
// pending: they resolve in memory and reach the file with the next commit.
class VelStringTable {
public:
    // Opens the table of an existing group and checks its counts against its datasets.
    VelStringTable(const hdf_Group& group, bool writable);

    uint32_t Intern(const cow_String& text);
    // Validates that the reference is one the table has handed out.  The text stays valid until
    // the table is next used.
    const std::string& Lookup(uint32_t reference);

    bool HasPending() const { return !m_pending.empty(); }
    // Appends the pending strings, then the counts.
    void Commit();
    // Drops every HDF5 object.
    void Release();

private:
    // Intern's work for a text the recent ones do not hold.
    uint32_t InternedReference(const std::string& text);
    int64_t EndOf(int64_t index);
    void CopyText(int64_t start, int64_t end, char* out);
    void CheckTables();
    void CreateDatasets();

    hdf_Group m_group;
    hdf_Dataset m_text;
    hdf_Dataset m_ends;
    bool m_writable;
    int64_t m_count = 0;
    int64_t m_bytes = 0;
    std::vector<std::string> m_pending;
    // Texts interned or read in this session, and the reverse for reads.
    std::unordered_map<std::string, uint32_t> m_byText;
    std::unordered_map<uint32_t, std::string> m_byReference;
    // The texts of m_byReference looked up last, by reference modulo e_RecentTexts: records
    // read one after another tend to name the same few strings.
    static constexpr size_t e_RecentTexts = 64;
    struct Recent {
        uint32_t reference = 0;
        const std::string* text = nullptr;
    };
    Recent m_recent[e_RecentTexts];
    // The texts interned last, by their length and end bytes: records written one after another
    // tend to name the same few strings, which are then found without hashing them.  A reference
    // once handed out stays valid for the session, so an entry never goes stale.
    struct Interned {
        std::string text;
        uint32_t reference = 0;
    };
    Interned m_interned[e_RecentTexts];
    // Whether "text" and "ends" have been checked to store bytes and int64 rows.
    bool m_checked = false;
    // Blocks of "ends" and of "text" read so far, by block number.
    std::unordered_map<int64_t, std::vector<int64_t>> m_endBlocks;
    std::unordered_map<int64_t, std::string> m_textBlocks;
};

#endif
