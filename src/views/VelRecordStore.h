#ifndef VEL_SRC_VIEWS_VELRECORDSTORE_H
#define VEL_SRC_VIEWS_VELRECORDSTORE_H

// The record store of a context: the typed half of a database file.
//
// Layout, under the root group beside the bulk-data objects:
//
//   stringTable                     group, "type" [4, 0]: the string table (VelStringTable.h)
//   record                          group, "type" [5, 0]
//     serials                       int64[1]: the context's next serial number.  Data records
//                                   (category 64) and associations (category 65) draw from this
//                                   one counter, so no serial is handed out twice, across views
//                                   and across sessions; it is written at every commit and when
//                                   the context closes.
//     <form>-<level>-<edition>      group, one per view: the form name, the schema level and
//                                   the edition joined with "-"; editions count from 0 for each
//                                   form and level
//       "view"                      attribute int64[6]: format (1), kind (1 FORM, 2 EDITION,
//                                   3 LEVEL), published (0 or 1), level, edition, and the serial
//                                   of the view's focus, which later views of a lineage inherit
//       record                      group: the view's records
//         "recordCounts"            attribute int64[3]: the number of tables in "slots", of data
//                                   records and of association pairs.  It is written last in a
//                                   commit and read first when the view is opened.
//         slots                     compound table, one row per record type the view stores
//                                   (VelSlotRow): the type's form name and ordinal, its
//                                   category, the serial of its association (associations only),
//                                   its committed row count, whether the table belongs to this
//                                   view, and an object reference to the table
//         00000000, 00000001, ...   one table per slot that this view wrote (VelIdAsString of the
//                                   slot number); a slot it inherited unchanged refers to its
//                                   ancestor's table instead
//
// A data record table has one row per record: "serial" (int64) and then one field per member of
// the flattened type, base members first, named after the member, holding the record's bytes:
// 4-byte or 8-byte big-endian values, string members as string references.  The record's
// identifier is (64, context, serial, slot << 32 | row): it addresses its row directly, and the
// serial stored in the row must match it, so a stale or foreign identifier is refused, never
// misread.  Rows are only appended; a slot keeps its number and its rows keep their positions in
// every later view of the lineage.
//
// An association table has one row per live pair: for each member the participant (4 bytes, 8
// bytes or a 20-byte dynamic identifier, by the member's kind) and, for ordered and string-key
// members, its position or string reference.  A change that removes or moves pairs rewrites the
// table; insertions are appended.
//
// The registry of a view is stored as records of the built-in Types form in the same tables
// (VelTypeRecords.h): every registered type is a DataRecordType or AssociationType record tied
// to the view's focus through AllTypes.
//
// A later view (an edition, a level, a form that extends another) starts as a copy of its
// ancestor's catalogue that refers to the ancestor's tables.  A table is copied into the new
// view the first time the new view changes it, so published views are never written again.
//
// Commit order: strings, then table rows, then the catalogue and "recordCounts", then the serial
// counter, then the context is checkpointed.  Everything a commit writes reaches the file in one
// step (the file's journal, hdf/hdf_Journal.h): a kill leaves the file as it was before the
// commit or as it is after it, rows changed in place included.  Rows beyond the committed counts
// are never read, so a table may hold rows of a commit that failed.
//
// A storage failure has no error return, here as in the bulk-data layers: every operation that
// touches the file runs under VelGuardStorage.

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "context/VelContext.h"
#include "context/VelStorageGuard.h"
#include "vel/context/VelContextID.h"
#include "vel/hdf/hdf_File.h"
#include "vel/hdf/hdf_Group.h"
#include "vel/views/VelViewEntry.h"
#include "views/VelRecordTable.h"
#include "views/VelStringTable.h"

class VelViewRepr;

class VelRecordStore : public VelContextAttachment {
public:
    static constexpr int64_t e_Format = 1;

    // The store of an open context, made on first use and closed with the context.
    static VelRecordStore& Of(const VelContextID& context);

    VelRecordStore(VelContext& context);
    ~VelRecordStore() override;

    const VelContextID& ContextID() const { return m_contextID; }
    bool IsWritable() const { return m_writable; }
    const hdf_Group& Root() const { return m_root; }
    VelStringTable& Strings() { return m_strings; }
    VelPairRowTypes& PairRowTypes() { return m_pairRowTypes; }

    // The next serial number; every serial stored in the file lies below Limit().
    int64_t NextSerial();
    int64_t SerialLimit() const { return m_nextSerial; }
    void CommitSerials();
    // Starts a commit: from here every write reaches the file only with Flush.
    void BeginCommit();
    // Ends a commit with a checkpoint of the whole context.
    void Flush();
    // The context's write-back: the serial counter.
    void WriteBack() override;

    // The greatest edition of a published view of that form and level, or -1.  The answer is
    // kept until a view of this store is created or published: no other writer shares the file.
    int LatestPublishedEdition(const cow_String& formName, int level) const;
    void ViewsChanged() { m_latestPublished.clear(); }
    // The edition a new view of that form and level gets.
    int NextEdition(const cow_String& formName, int level) const;
    static cow_String ViewName(const cow_String& formName, int level, int edition);
    // Every view group, by form name, level and edition.  A member of "record" whose name is not
    // the name of a view exactly as ViewName spells it is no view and is left out.
    std::vector<VelViewEntry> ViewEntries() const;

    // Open views are detached (their HDF5 objects released) when the context closes.
    void Attach(VelViewRepr* view) { m_views.insert(view); }
    void Detach(VelViewRepr* view) { m_views.erase(view); }

    // Writes the serial counter back (with `writeBack`) and releases everything.
    void Close(bool writeBack) override;

private:
    // Calls `act` with (form, level, edition) for every view group of that form and level.
    template <class Act>
    void ForEachView(const cow_String& formName, int level, Act act) const;

    VelContextID m_contextID;
    hdf_File m_file;
    hdf_Group m_root;
    bool m_writable;
    VelStringTable m_strings;
    VelPairRowTypes m_pairRowTypes;
    int64_t m_nextSerial = 0;
    std::set<VelViewRepr*> m_views;
    mutable std::map<std::pair<std::string, int>, int> m_latestPublished;
};

#endif
