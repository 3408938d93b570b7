#include "stores/recents.h"

#include "tests/stores/stores_fixture.h"

namespace kestrix {
namespace {

using namespace std::chrono_literals;
using Paths = std::vector<std::string>;

struct OneDisk : MountTable {
    std::vector<Mount> mounts() const override { return {{"/mnt/disk", "/", "ext4", "/dev/sdb1", 2}}; }
    std::shared_ptr<void> watch(std::function<void()>) override { return nullptr; }
};

Paths numbered(int first, int last) {
    Paths paths;
    for (int number = first; number <= last; ++number)
        paths.push_back("/f" + std::to_string(number));
    return paths;
}

class RecentsTest : public StoresTest {
  protected:
    void add(const Paths& paths, bool save = true) { recents.addPopularItem(paths, save); }
    Paths paths() const {
        Paths paths;
        for (const auto& item : recents.items())
            paths.push_back(item.path);
        return paths;
    }

    OneDisk mounts;
    RecentItems recents{preferences, notifications, mounts, clock};
    NotificationCenter::Observation observation = count(RecentItems::DidChangeNotification);
};

TEST_F(RecentsTest, ItemIsStoredWithWholeSecondsAndKeepsItsPlaceWhenSeenAgain) {
    clock.setWallTime(WallTime(1'700'000'000'900ms));
    add({"/a/", "/b"});
    clock.advance(60s);
    add({"/a"});
    EXPECT_EQ(stored("recentSmartItems"), Json::array({{{"path", "/a"}, {"lastSeen", 1'700'000'060}},
                                                       {{"path", "/b"}, {"lastSeen", 1'700'000'000}}}));
    EXPECT_EQ(announced(), 2);
}

TEST_F(RecentsTest, RootsHiddenNamesAndWhatIsNoTextAreLeftOut) {
    add({"/", "/mnt/disk", "/mnt/disk/", "/home/.hidden", "", "/a\xff"});
    EXPECT_EQ(paths(), Paths());
    EXPECT_EQ(announced(), 0);
    add({"/mnt/disk/file", "/.config/file"});
    EXPECT_EQ(paths(), (Paths{"/mnt/disk/file", "/.config/file"}));
}

TEST_F(RecentsTest, ListGrowsDuringADayAndFallsBackWithTheFirstSaveOfTheNext) {
    add(numbered(1, 25));
    clock.advance(1s);
    add({"/f3"});
    EXPECT_EQ(paths().size(), 25u);

    clock.advance(24h);
    add({"/new"}, false);
    EXPECT_EQ(paths().size(), 26u) << "nothing is purged without a save";
    EXPECT_EQ(stored("recentSmartItems").size(), 25u);
    add({});
    Paths expected{"/new", "/f3", "/f1", "/f2"};
    for (auto& path : numbered(4, 19))
        expected.push_back(path);
    EXPECT_EQ(paths(), expected);
    EXPECT_EQ(stored("recentSmartLastPurge"), secondsSince1970(clock.now()));

    add(numbered(30, 40));
    EXPECT_EQ(paths().size(), 31u) << "once a day";
}

TEST_F(RecentsTest, ItemsOfTwoProcessesAreKeptAndRemovedOneByOneOrAllTogether) {
    RecentItems other(otherPreferences, notifications, mounts, clock);
    add({"/a"});
    EXPECT_EQ(other.items().size(), 1u);
    other.addPopularItem({"/b"}, true);
    add({"/c"});
    add({"/d"}, false);
    EXPECT_EQ(paths(), (Paths{"/a", "/b", "/c", "/d"}));
    announced();
    EXPECT_TRUE(recents.remove("/a"));
    EXPECT_TRUE(recents.remove("/d"));
    EXPECT_FALSE(recents.remove("/e"));
    EXPECT_EQ(paths(), (Paths{"/b", "/c"}));
    recents.clear();
    EXPECT_EQ(paths(), Paths());
    EXPECT_EQ(announced(), 3);
}

TEST_F(RecentsTest, MalformedEntriesAreLeftOut) {
    preferences.set("recentSmartItems", withSpoiltEntries({{"path", "/a"}, {"lastSeen", 1}}));
    EXPECT_EQ(paths(), (Paths{"/a"}));
}

TEST_F(RecentsTest, ShowingAndHidingTheListIsAnnouncedAsItsChange) {
    recents.startup();
    preferences.set("sidebarShouldShowPopular", true);
    EXPECT_EQ(announced(), 1);
    preferences.set("sidebarShouldShowHistory", true);
    EXPECT_EQ(announced(), 0);
    preferences.unset("sidebarShouldShowPopular");
    EXPECT_EQ(announced(), 1);
}

TEST_F(RecentsTest, LocationsKeepAsManyAsTheSettingSays) {
    preferences.set("recentItemsMaxCount", 2);
    RecentLocations locations(preferences);
    for (const char* path : {"/a", "/b", "/a", "/c"})
        locations.addAndSave(path);
    RecentLocations read(otherPreferences);
    read.load();
    EXPECT_EQ(read.contents(), (Paths{"/a", "/c"}));
    preferences.set("recentItemsMaxCount", -1);
    RecentLocations none(preferences);
    none.addAndSave("/d");
    EXPECT_EQ(none.contents(), Paths());
}

}  // namespace
}  // namespace kestrix
