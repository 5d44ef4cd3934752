// What the record store keeps between its lookups: the latest published edition of a form and
// level, and the texts of string members read last.  Either, kept too long or kept wrong, would
// hand out another view or another record's text.
#include <string>
#include <vector>

#include "VelViewsTestSupport.h"
#include "vel/views/VelDataRecord.h"

using VelStoreLookupsTest = VelViewsTest;

// Editions up to 11 published and a twelfth not: their group names do not sort as their numbers
// do, and the latest is asked for before and after each publication, and again after a reopen.
TEST_F(VelStoreLookupsTest, TheLatestPublishedEditionFollowsEveryPublication) {
    VelView latest = PublishedTypes();
    EXPECT_EQ(Context().View("Plant", 1).Edition(), 0);
    for (int edition = 1; edition <= 12; ++edition) {
        const VelViewUpdateEdition next = Context().NewEdition(Snapshot(1), latest);
        EXPECT_EQ(Context().View("Plant", 1).Edition(), edition - 1);
        if (edition == 12) break;
        next.Publish();
        EXPECT_EQ(Context().View("Plant", 1).Edition(), edition);
        latest = next;
    }
    Reopen();
    EXPECT_TRUE(Context().HasView("Plant", 1));
    EXPECT_EQ(Context().View("Plant", 1).Edition(), 11);
}

// Three hundred texts, read back in strides of 64 records, so that texts that share a place in
// the cache of recent texts are read one after another, each record twice.
TEST_F(VelStoreLookupsTest, EveryStringMemberReadsBackAsWrittenInAnyOrder) {
    const int count = 300;
    std::vector<VelDynamicID> parts;
    const VelViewUpdateForm view = Context().NewForm(Snapshot(1));
    {
        VelTransactionExtend t(view);
        t.CreateTypes(Snapshot(1));
        for (int n = 0; n < count; ++n) {
            const VelDataRecordUpdate part = t.CreateDataRecord(TypeOf("Part"));
            part.SetString(kT, ("text " + std::to_string(n)).c_str());
            parts.push_back(part.ID());
        }
        t.Commit();
    }
    view.Publish();
    Reopen();
    const VelViewRead read = Context().View(Snapshot(1));
    for (int start = 0; start < 64; ++start) {
        for (int n = start; n < count; n += 64) {
            const VelDataRecord part = read.DataRecord(Here(parts[static_cast<size_t>(n)]));
            for (int twice = 0; twice < 2; ++twice)
                EXPECT_EQ(part.ReturnString(kT).str(), "text " + std::to_string(n));
        }
    }
}
