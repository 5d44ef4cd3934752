// What a file's record store lists without a schema: its views with their form, level, edition
// and publication, and a view's registered types with their categories, record and pair counts
// and, for a view with a schema, their schema names.
#include "vel/views/VelViewEntry.h"

#include <map>
#include <string>
#include <vector>

#include "VelViewsTestSupport.h"
#include "vel/views/VelViewTypeEntry.h"

namespace {

using VelViewEntryTest = VelViewsTest;

std::vector<std::string> Listed(const VelContextRef& context) {
    std::vector<std::string> out;
    const VelArray<VelViewEntry> entries = context.ViewEntries();
    for (int i = 0; i < entries.Size(); ++i) {
        const VelViewEntry& e = entries[i];
        out.push_back(e.Name().str() + (e.IsPublished() ? " published" : "") +
                      (e.IsLatestPublished() ? " latest" : ""));
    }
    return out;
}

// Editions 0 .. 10 of Plant level 1 sort by number (10 after 2), an edition being written is
// listed but not the latest, and a group named like no view is left out.
TEST_F(VelViewEntryTest, ViewsAreListedByFormLevelAndEdition) {
    EXPECT_TRUE(Listed(Context()).empty());
    VelView previous = PublishedTypes();
    for (int edition = 1; edition <= 10; ++edition) {
        const VelViewUpdateEdition next = Context().NewEdition(Snapshot(1), previous);
        next.Publish();
        previous = next;
    }
    const VelViewUpdateForm site = Context().NewForm(SnapshotOf("Site"), previous);
    const VelViewUpdateEdition unpublished = Context().NewEdition(Snapshot(1), previous);
    Context().File().GroupOpen("record").GroupCreate("Plant-01-0", 0);
    Context().File().GroupOpen("record").GroupCreate("notes", 0);

    std::vector<std::string> expected;
    for (int edition = 0; edition <= 9; ++edition)
        expected.push_back("Plant-1-" + std::to_string(edition) + " published");
    expected.push_back("Plant-1-10 published latest");
    expected.push_back("Plant-1-11");
    expected.push_back("Site-1-0");
    EXPECT_EQ(Listed(Context()), expected);
    const VelViewEntry last = Context().ViewEntries()[10];
    EXPECT_EQ(last.FormName(), "Plant");
    EXPECT_EQ(last.Level(), 1);
    EXPECT_EQ(last.Edition(), 10);
    EXPECT_EQ(Context().View(last.FormName(), last.Level()).Edition(), last.Edition());

    site.Publish();
    Reopen();
    EXPECT_EQ(Listed(Context()).back(), "Site-1-0 published latest");
}

// Types listed from the registry: in registration order, with committed counts only, named by
// the schema of a view that has one and unnamed in a view opened by form and level.
TEST_F(VelViewEntryTest, TypesAreListedWithTheirCounts) {
    const VelViewUpdateForm view = Context().NewForm(Snapshot(1));
    VelDynamicID parts[3];
    {
        VelTransactionExtend t(view);
        t.CreateTypes(Snapshot(1));
        for (VelDynamicID& part : parts) part = t.CreateDataRecord(TypeOf("Part")).ID();
        t.CreateDataRecord(TypeOf("Bolt"));
        const VelAssociationUpdate assembly =
            t.UpdateAssociation(view.AssociationID(TypeOf("Assembly")));
        assembly.Insert(parts[0], parts[1]);
        assembly.Insert(parts[0], parts[2]);
        t.Commit();
    }
    const auto counts = [&](const VelView& v, bool named) {
        std::map<std::string, std::string> out;
        const VelArray<VelViewTypeEntry> entries = v.TypeEntries();
        for (int i = 0; i < entries.Size(); ++i) {
            const VelViewTypeEntry& e = entries[i];
            EXPECT_EQ(v.Type(e.TypeID()).Category(), e.Category());
            EXPECT_EQ(e.SchemaName().str().empty(), !named);
            const std::string category =
                e.Category() == VelCategoryDataRecord ? " records " : " pairs ";
            out[e.TypeID().ToString().str()] =
                e.SchemaName().str() + category + std::to_string(e.Count());
        }
        return out;
    };
    const auto id = [&](const char* type) { return TypeOf(type).ToString().str(); };
    {
        // Records of a transaction under way are not counted.
        VelTransactionExtend t(view);
        t.CreateDataRecord(TypeOf("Part"));
        EXPECT_EQ(counts(view, true)[id("Part")], "Part records 3");
    }
    view.Publish();
    Reopen();

    const std::map<std::string, std::string> unnamed = counts(Context().View("Plant", 1), false);
    EXPECT_EQ(static_cast<int>(unnamed.size()), Snapshot(1).TypeCount());
    EXPECT_EQ(unnamed.at(id("Bolt")), " records 1");
    EXPECT_EQ(unnamed.at(id("Labels")), " pairs 0");
    std::map<std::string, std::string> named = counts(Context().View(Snapshot(1)), true);
    EXPECT_EQ(named[id("Part")], "Part records 3");
    EXPECT_EQ(named[id("Assembly")], "Assembly pairs 2");
    EXPECT_EQ(named.size(), unnamed.size());
}

}  // namespace
