#include "views/VelStringTable.h"

#include <algorithm>
#include <iterator>

#include "vel/core/VelAssert.h"
#include "views/VelStoreIO.h"

namespace {

constexpr const char* e_Text = "text";
constexpr const char* e_Ends = "ends";
constexpr const char* e_Counts = "counts";
constexpr int64_t e_EndBlock = 4096;
// "text" is read a chunk's worth of bytes at a time.
constexpr int64_t e_TextBlock = 65536;
// Each block cache is dropped whole when it holds this many blocks.
constexpr size_t e_BlockLimit = 256;
// The session caches are dropped whole when they grow past this many texts.
constexpr size_t e_CacheLimit = size_t(1) << 20;
// References are 32-bit and 0 is the empty string.
constexpr int64_t e_MaxStrings = 0xFFFFFFFEll;

}  // namespace

VelStringTable::VelStringTable(const hdf_Group& group, bool writable)
    : m_group(group), m_writable(writable) {
    int64_t counts[2] = {0, 0};
    if (!VelStoreIO::ReadInt64Dataset(m_group, e_Counts, counts, 2)) return;
    m_count = counts[0];
    m_bytes = counts[1];
    VelVALIDATE(m_count >= 0 && m_count <= e_MaxStrings && m_bytes >= 0 &&
                "Damaged record store: the string table's counts are out of range");
    m_text = m_group.DatasetOpen(e_Text);
    m_ends = m_group.DatasetOpen(e_Ends);
    VelVALIDATE(VelStoreIO::Rows(m_ends) >= m_count && VelStoreIO::Rows(m_text) >= m_bytes &&
                "Damaged record store: the string table holds less than its counts say");
}

uint32_t VelStringTable::Intern(const cow_String& text) {
    if (text.Empty()) return 0;
    const std::string& bytes = text.str();
    Interned& recent =
        m_interned[(bytes.size() * 31 + static_cast<unsigned char>(bytes.front()) * 7 +
                    static_cast<unsigned char>(bytes.back())) %
                   e_RecentTexts];
    if (recent.reference != 0 && recent.text == bytes) return recent.reference;
    recent.reference = InternedReference(bytes);
    recent.text = bytes;
    return recent.reference;
}

uint32_t VelStringTable::InternedReference(const std::string& text) {
    const auto known = m_byText.find(text);
    if (known != m_byText.end()) return known->second;
    const int64_t index = m_count + static_cast<int64_t>(m_pending.size());
    VelVALIDATE(index < e_MaxStrings && "The string table is full");
    const uint32_t reference = static_cast<uint32_t>(index + 1);
    m_pending.push_back(text);
    m_byText.emplace(text, reference);
    return reference;
}

// A string's end offsets and its bytes come from blocks of "ends" and "text" kept in memory, so
// reading the strings of neighbouring records reads each block once.  Each offset is checked
// against its neighbour and the committed byte count before any text is read.
const std::string& VelStringTable::Lookup(uint32_t reference) {
    static const std::string empty;
    if (reference == 0) return empty;
    const int64_t index = static_cast<int64_t>(reference) - 1;
    VelVALIDATE(index < m_count + static_cast<int64_t>(m_pending.size()) &&
                "Damaged record store: a string reference is out of range");
    if (index >= m_count) return m_pending[static_cast<size_t>(index - m_count)];
    Recent& recent = m_recent[reference % e_RecentTexts];
    if (recent.reference == reference) return *recent.text;
    const auto cached = m_byReference.find(reference);
    if (cached != m_byReference.end()) {
        recent = Recent{reference, &cached->second};
        return cached->second;
    }

    const int64_t start = index == 0 ? 0 : EndOf(index - 1);
    const int64_t end = EndOf(index);
    VelVALIDATE(start >= 0 && start <= end && end <= m_bytes &&
                "Damaged record store: a string lies outside the string table");
    std::string text(static_cast<size_t>(end - start), '\0');
    if (end > start) CopyText(start, end, &text[0]);
    if (m_byReference.size() >= e_CacheLimit) {
        m_byReference.clear();
        m_byText.clear();
        std::fill(std::begin(m_recent), std::end(m_recent), Recent());
    }
    m_byText.emplace(text, reference);
    const std::string& kept = m_byReference.emplace(reference, std::move(text)).first->second;
    recent = Recent{reference, &kept};
    return kept;
}

int64_t VelStringTable::EndOf(int64_t index) {
    const int64_t block = index / e_EndBlock;
    auto found = m_endBlocks.find(block);
    if (found == m_endBlocks.end()) {
        CheckTables();
        const int64_t first = block * e_EndBlock;
        const int64_t count = m_count - first < e_EndBlock ? m_count - first : e_EndBlock;
        std::vector<int64_t> ends(static_cast<size_t>(count));
        VelStoreIO::ReadCheckedRows(m_ends, hdf_Datatype::NATIVE_INT64(), first, count,
                                    ends.data());
        if (m_endBlocks.size() >= e_BlockLimit) m_endBlocks.clear();
        found = m_endBlocks.emplace(block, std::move(ends)).first;
    }
    return found->second[static_cast<size_t>(index % e_EndBlock)];
}

// Copies the committed bytes [start, end) of "text", block by block.
void VelStringTable::CopyText(int64_t start, int64_t end, char* out) {
    while (start < end) {
        const int64_t block = start / e_TextBlock;
        const int64_t first = block * e_TextBlock;
        auto found = m_textBlocks.find(block);
        if (found == m_textBlocks.end()) {
            CheckTables();
            const int64_t count = m_bytes - first < e_TextBlock ? m_bytes - first : e_TextBlock;
            std::string bytes(static_cast<size_t>(count), '\0');
            VelStoreIO::ReadCheckedRows(m_text, hdf_Datatype::NATIVE_UCHAR(), first, count,
                                        &bytes[0]);
            if (m_textBlocks.size() >= e_BlockLimit) m_textBlocks.clear();
            found = m_textBlocks.emplace(block, std::move(bytes)).first;
        }
        const int64_t stop = end < first + e_TextBlock ? end : first + e_TextBlock;
        found->second.copy(out, static_cast<size_t>(stop - start),
                           static_cast<size_t>(start - first));
        out += stop - start;
        start = stop;
    }
}

void VelStringTable::CheckTables() {
    if (m_checked) return;
    VelStoreIO::CheckTable(m_ends, hdf_Datatype::NATIVE_INT64());
    VelStoreIO::CheckTable(m_text, hdf_Datatype::NATIVE_UCHAR());
    m_checked = true;
}

void VelStringTable::CreateDatasets() {
    m_text = VelStoreIO::CreateTable(m_group, e_Text, hdf_Datatype::NATIVE_UCHAR(), 65536);
    m_ends = VelStoreIO::CreateTable(m_group, e_Ends, hdf_Datatype::NATIVE_INT64(), 4096);
}

void VelStringTable::Commit() {
    if (m_pending.empty()) return;
    VelVALIDATE(m_writable && "The database is open read-only");
    if (m_text.IsEmpty()) CreateDatasets();
    std::string bytes;
    std::vector<int64_t> ends;
    ends.reserve(m_pending.size());
    int64_t end = m_bytes;
    for (const std::string& text : m_pending) {
        bytes += text;
        end += static_cast<int64_t>(text.size());
        ends.push_back(end);
    }
    VelStoreIO::WriteRows(m_text, hdf_Datatype::NATIVE_UCHAR(), m_bytes,
                          static_cast<int64_t>(bytes.size()), bytes.data());
    VelStoreIO::WriteRows(m_ends, hdf_Datatype::NATIVE_INT64(), m_count,
                          static_cast<int64_t>(ends.size()), ends.data());
    const int64_t counts[2] = {m_count + static_cast<int64_t>(m_pending.size()), end};
    VelStoreIO::WriteInt64Dataset(m_group, e_Counts, counts, 2);
    // The last blocks of offsets and bytes may have been read short; they are read again when
    // needed.
    m_endBlocks.erase(m_count / e_EndBlock);
    m_textBlocks.erase(m_bytes / e_TextBlock);
    m_count = counts[0];
    m_bytes = counts[1];
    m_pending.clear();
}

void VelStringTable::Release() {
    m_text.Nullify();
    m_ends.Nullify();
    m_group.Nullify();
    m_endBlocks.clear();
    m_textBlocks.clear();
    m_checked = false;
}
