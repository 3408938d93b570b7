#include "stores/history.h"

#include "base/uuid.h"
#include "tests/stores/stores_fixture.h"

namespace kestrix {
namespace {

using Queries = std::vector<std::string>;

class HistoryTest : public StoresTest {
  protected:
    static bool hasColon(const std::string& text) { return text.find(':') != std::string::npos; }

    void add(const Queries& queries) {
        for (const auto& query : queries)
            history.addQuery(query);
    }

    HistoryController history{preferences, notifications, hasColon, clock};
    NotificationCenter::Observation observation = count(HistoryController::HistoryChangedNotification);
};

TEST_F(HistoryTest, QueryIsNotedTrimmedWithAllItsFieldsAndCommandsAreNot) {
    clock.setWallTime(WallTime(std::chrono::milliseconds(1'700'000'000'250)));
    add({" \n big cat\t", "cat : is image", "", " \t\n", "cat \xff"});
    const auto items = history.items();
    ASSERT_EQ(items.size(), 1u);
    EXPECT_TRUE(Uuid::parse(items[0].id));
    EXPECT_EQ(items[0].url, std::nullopt);
    EXPECT_EQ(stored("history"), Json::array({{{"id", items[0].id},
                                               {"type", 0},
                                               {"queryString", "big cat"},
                                               {"url", ""},
                                               {"performedDate", 1'700'000'000.25}}}));
    EXPECT_EQ(announced(), 1);
    preferences.set("historyEnabled", false);
    add({"cat"});
    EXPECT_EQ(history.items(), items);
}

TEST_F(HistoryTest, RepeatedQueryMovesToTheEndAndTheListExceedsItsMaximumByOneAtMost) {
    preferences.set("historyMaxCount", 3);
    add({"a", "b", "c", "a "});
    EXPECT_EQ(history.queries(), (Queries{"b", "c", "a"}));
    add({"d"});
    EXPECT_EQ(history.queries(), (Queries{"b", "c", "a", "d"}));
    add({"e"});
    EXPECT_EQ(history.queries(), (Queries{"c", "a", "d", "e"}));
    preferences.set("historyMaxCount", -1);
    add({"f"});
    EXPECT_EQ(history.queries(), (Queries{"f"}));
}

TEST_F(HistoryTest, EntryWithAMissingKeyOrAWrongTypeIsDropped) {
    const Json good = {
        {"id", "1"}, {"type", 1}, {"queryString", "cat"}, {"url", "file:///a"}, {"performedDate", 7}};
    Json all = withSpoiltEntries(good);
    all.push_back(good);
    all.back()["type"] = 2;
    preferences.set("history", all);
    const HistoryItem item{"1", HistoryItem::HistoryType::opened, "cat", "file:///a", 7};
    EXPECT_EQ(history.items(), std::vector<HistoryItem>{item});
    EXPECT_EQ(history.queries(), Queries()) << "what was opened is no query";

    preferences.set("history", "damaged");
    EXPECT_EQ(history.items(), std::vector<HistoryItem>());
    add({"cat"});
    EXPECT_EQ(history.queries(), (Queries{"cat"}));
}

TEST_F(HistoryTest, ItemsOfTwoProcessesAreKeptAndRemovedOneByOneOrAllTogether) {
    HistoryController other(otherPreferences, notifications, hasColon, clock);
    add({"a"});
    EXPECT_EQ(other.queries(), (Queries{"a"}));
    other.addQuery("b");
    add({"c"});
    announced();
    EXPECT_TRUE(history.remove(history.items()[1].id));
    EXPECT_FALSE(history.remove("no such id"));
    EXPECT_EQ(history.queries(), (Queries{"a", "c"}));
    history.clear();
    EXPECT_EQ(history.queries(), Queries());
    EXPECT_EQ(announced(), 2);
}

}  // namespace
}  // namespace kestrix
