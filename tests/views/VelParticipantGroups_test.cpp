// The groups of one association member by participant: identifiers of one row with different
// serials, of no table of the view, of another context, of other categories, and a row first
// met far beyond the rows in use and reached by them later, each keep a group of their own.
#include "views/VelParticipantGroups.h"

#include <gtest/gtest.h>

#include <vector>

#include "vel/types/VelTypeCategories.h"

namespace {

VelDynamicID Record(int64_t serial, int64_t slot, int64_t row, unsigned context = 7) {
    return VelDynamicID(VelCategoryDataRecord, context, serial, slot << 32 | row);
}

TEST(VelParticipantGroupsTest, EveryParticipantKeepsItsOwnGroup) {
    VelParticipantGroups groups(7, 2);
    std::vector<VelDynamicID> ids = {
        Record(10, 0, 5),         Record(11, 0, 5),
        Record(12, 1, 6000),      Record(13, 2, 0),
        Record(14, 0, 6, 8),      VelDynamicID(VelCategoryDataRecord, 7, 15, -1),
        VelDynamicID(2, 7, 16, 0)};
    for (int64_t row = 0; row < 5000; ++row) ids.push_back(Record(100 + row, 1, row));
    for (size_t i = 0; i < ids.size(); ++i) {
        VelParticipantGroup& group = groups.Add(ids[i]);
        ASSERT_EQ(group.length, 0) << i;
        group.head = static_cast<int>(i);
        group.length = 1;
    }
    int count = 0;
    groups.ForEach([&](const VelParticipantGroup&) { ++count; });
    EXPECT_EQ(count, static_cast<int>(ids.size()));
    for (size_t i = 0; i < ids.size(); ++i) {
        const VelParticipantGroup* group = groups.Find(ids[i]);
        ASSERT_NE(group, nullptr) << i;
        EXPECT_EQ(group->head, static_cast<int>(i)) << i;
        EXPECT_EQ(&groups.Add(ids[i]), group) << i;
    }
    EXPECT_EQ(groups.Find(Record(99, 1, 5999)), nullptr);
    EXPECT_EQ(groups.Find(Record(99, 1, 4000)), nullptr);
    groups.Clear();
    EXPECT_EQ(groups.Find(ids[0]), nullptr);
    EXPECT_EQ(groups.Find(ids[2]), nullptr);
}

}  // namespace
