#include "index/build/group_writer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

class GroupWriterTest : public ::testing::Test {
  protected:
    GroupWriterTest() { db.open(file); }

    static FSItemView itemOf(FSItemID id, std::string_view name) {
        return {.fsid = id, .parentID = 1 + id / 100, .name = name, .version = 1, .size = 0};
    }
    std::set<FSItemID> stored() const {
        std::set<FSItemID> ids;
        const auto take = [&](std::string_view key, std::string_view record) {
            const auto item = decodeFSItem(record);
            if (item && itemKey(item->fsid) == key) ids.insert(item->fsid);
            return true;
        };
        db.scan("F", 1000, take, [] { return true; });
        return ids;
    }

    TemporaryFolder folder;
    const std::string file = folder.path("group.kxcache");
    SimpleLMDB db;
    ManualClock clock;
};

// Items move when new ones are written around them; those that go in the same group stay away.
TEST_F(GroupWriterTest, KeepsEveryItemOfManyGroupsInFullPages) {
    GroupWriter writer(db, clock, {.mostItems = 4000});
    std::set<FSItemID> expected;
    for (int i = 1; i <= 40'000; ++i) {
        const FSItemID id = writer.nextID();
        writer.add(itemOf(id, "a name of common length"));
        expected.insert(id);
        if (i % 4000 == 500 && i > 4000) {
            writer.remove(itemOf(id / 10, "x"), false);
            expected.erase(id / 10);
            writer.update(itemOf(id / 10 + 1, "another name"));
        }
        if (writer.isDue()) writer.flush();
    }
    writer.flush();
    EXPECT_EQ(stored(), expected);
    EXPECT_LT(std::filesystem::file_size(file) / expected.size(), 110U);
    GroupWriter next(db, clock, {});
    EXPECT_EQ(next.nextID(), 40'001U);
}

TEST_F(GroupWriterTest, WhatIsLeftOutLeavesWhatItWasToReplace) {
    GroupWriter writer(db, clock, {});
    for (int i = 0; i < 3; ++i)
        writer.add(itemOf(writer.nextID(), "name"));
    writer.flush();
    for (const FSItemID old : {1U, 2U})
        writer.replace(itemOf(old, "name"), itemOf(writer.nextID(), "name"), true);
    writer.leaveOut({4});
    writer.flush();
    EXPECT_EQ(stored(), (std::set<FSItemID>{1, 3, 5}));
    EXPECT_EQ(unpackChildList(*db.get("", childrenKey(1))), (std::vector<FSItemID>{1, 3, 5}));
    EXPECT_EQ(writer.deadDocuments(), std::vector<FSItemID>{2});
    EXPECT_EQ(writer.itemsAdded(), 4);
}

TEST_F(GroupWriterTest, AGroupIsDueASecondAfterItsFirstChange) {
    GroupWriter writer(db, clock, {});
    for (int group = 0; group < 2; ++group) {
        clock.advance(Seconds(10));
        writer.add(itemOf(writer.nextID(), "name"));
        EXPECT_FALSE(writer.isDue());
        clock.advance(Seconds(1));
        EXPECT_TRUE(writer.isDue());
        writer.flush();
        EXPECT_FALSE(writer.isDue());
    }
}

TEST_F(GroupWriterTest, ADamagedOrUsedUpCounterIsRefused) {
    db.put(std::vector<ValueGroupKey>{{"abc", "", std::string(kLastAutoIDKey)}});
    EXPECT_THROW(GroupWriter(db, clock, {}), Error);
    db.put(std::vector<ValueGroupKey>{{std::string("\xff\xff\xff\x7f"), "", std::string(kLastAutoIDKey)}});
    GroupWriter writer(db, clock, {});
    EXPECT_THROW(writer.nextID(), Error);
}

}  // namespace
}  // namespace kestrix
