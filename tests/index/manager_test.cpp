// The list of catalogs: names, several processes, damage, and the refreshes of the clock.
#include <fmt/format.h>

#include <atomic>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "index/timed_refreshes.h"
#include "tests/index/manager_fixture.h"

namespace kestrix {
namespace {

class ManagerTest : public ManagedCatalogTest {
  protected:
    std::vector<std::string> names(const ContentIndexManager& of) const {
        std::vector<std::string> all;
        for (const auto& entry : of.entries())
            all.push_back(entry.info.displayName + (entry.index ? "" : "!"));
        return all;
    }

    std::vector<std::string> cachesFor(const std::vector<std::string>& places) const {
        std::vector<std::string> all;
        for (const auto& entry : manager->cachesForLocations(SearchLocation(places)))
            all.push_back(entry.info.displayName);
        return all;
    }

    const std::string one = folder.folder("one"), two = folder.folder("two"),
                      deep = folder.folder("one/deep");
};

TEST_F(ManagerTest, FileNamesAreCountedUpToNinetyNine) {
    const std::string catalogs = folder.folder("catalogs") + "/";
    EXPECT_EQ(manager->newLocalIndex(one), catalogs + "one.kxcache");
    folder.file("catalogs/one.kxcache");
    folder.file("catalogs/one-1.kxcache");
    EXPECT_EQ(manager->newLocalIndex(one), catalogs + "one-2.kxcache");
    EXPECT_EQ(manager->newLocalIndex(one, true), catalogs + "one.kxcache");
    for (int number = 2; number <= 99; ++number)
        folder.file(fmt::format("catalogs/one-{}.kxcache", number));
    EXPECT_THROW(manager->newLocalIndex(one), Error);
}

TEST_F(ManagerTest, ACatalogThatCannotBeMadeLeavesNothingBehind) {
    const std::string mirror = folder.path("mirror");
    {
        SimpleLMDB db;
        db.open(mirror);
        db.put(std::vector<ValueGroupKey>{{"no description", "", std::string(kDocumentInfoKey)}});
    }
    EXPECT_THROW(manager->add(one, std::nullopt, mirror), Error);
    EXPECT_EQ(manager->newLocalIndex(one), folder.path("catalogs/one.kxcache"));
}

TEST_F(ManagerTest, ALocationHasTheCatalogsThatAreHoldOrLieInItsFolders) {
    manager->add(one, std::nullopt, std::nullopt);
    manager->add(deep, std::nullopt, std::nullopt);
    manager->add(two, std::nullopt, std::nullopt);
    EXPECT_EQ(cachesFor({one}), (std::vector<std::string>{"one", "deep"}));
    EXPECT_EQ(cachesFor({deep + "/below"}), (std::vector<std::string>{"one", "deep"}));
    EXPECT_EQ(cachesFor({folder.path()}), (std::vector<std::string>{"one", "deep", "two"}));
    EXPECT_EQ(cachesFor({one + "x"}), std::vector<std::string>{});
    const auto offline = manager->named("two")->index;
    const SearchLocation location({SearchTarget::offline(offline), SearchTarget::url(folder.path())});
    EXPECT_EQ(manager->cachesForLocations(location).front().index, offline);
    EXPECT_EQ(manager->cachesForLocations(location).size(), 3u);
    EXPECT_TRUE(manager->holdsTarget(two + "/gone/now"));
    EXPECT_FALSE(manager->holdsTarget(folder.path()));
}

TEST_F(ManagerTest, AFolderHasOneCatalogUnlessAnotherNameIsGiven) {
    manager->add(one, std::nullopt, std::nullopt);
    EXPECT_THROW(manager->add(one, std::nullopt, std::nullopt), Error);
    EXPECT_THROW(manager->add(two, "one", std::nullopt), Error);
    EXPECT_THROW(manager->add(folder.folder("with:colon"), std::nullopt, std::nullopt), Error);
    const auto index = manager->add(one, "second", std::nullopt);
    manager->add(folder.folder("other/one"), std::nullopt, std::nullopt);
    EXPECT_EQ(names(*manager), (std::vector<std::string>{"one", "second", "one-2"}));
    for (const std::string& name : {std::string("second"), std::string("one-1"), index->id().text()})
        EXPECT_EQ(manager->named(name)->index, index) << name;
    EXPECT_FALSE(manager->named("absent"));
}

TEST_F(ManagerTest, WhatTwoProcessesAddAndRemoveIsNotLost) {
    SettingsStore otherStore(folder.path("settings.json"));
    Preferences otherPreferences(otherStore);
    const auto other = makeManager(otherPreferences);
    manager->add(one, std::nullopt, std::nullopt);
    EXPECT_EQ(names(*other), std::vector<std::string>{"one"});
    manager->add(deep, std::nullopt, std::nullopt);
    other->add(two, std::nullopt, std::nullopt);
    manager->save();
    store.reload();
    manager->reload();
    EXPECT_EQ(names(*manager), (std::vector<std::string>{"one", "deep", "two"}));
    other->remove(*other->named("one"));
    manager->save();
    store.reload();
    manager->reload();
    EXPECT_EQ(names(*manager), (std::vector<std::string>{"deep", "two"}));
    EXPECT_FALSE(std::filesystem::exists(folder.path("catalogs/one.kxcache")));
}

TEST_F(ManagerTest, AFileThatCannotBeUsedHindersNoOther) {
    for (const char* name : {"missing", "empty", "junk", "sound"})
        manager->add(folder.folder(name), std::nullopt, std::nullopt);
    std::filesystem::remove(folder.path("catalogs/missing.kxcache"));
    folder.file("catalogs/empty.kxcache");
    folder.file("catalogs/junk.kxcache", std::string(20'000, 'j'));
    manager = makeManager(preferences);
    EXPECT_EQ(names(*manager), (std::vector<std::string>{"missing!", "empty!", "junk!", "sound"}));
    EXPECT_FALSE(std::filesystem::exists(folder.path("catalogs/missing.kxcache")));
    manager->remove(*manager->named("empty"));
    EXPECT_EQ(names(*manager), (std::vector<std::string>{"missing!", "junk!", "sound"}));
}

TEST_F(ManagerTest, RecordsThatAreNotUnderstoodAreKeptAsTheyAre) {
    manager->add(one, std::nullopt, std::nullopt);
    auto list = *store.get("SavedIndexInfo");
    list[0]["updatesEvery"] = 12345;
    list.push_back("of a newer version");
    store.set("SavedIndexInfo", list);
    manager = makeManager(preferences);
    EXPECT_EQ(manager->entries().at(0).index->updatesEvery(), CachingUpdatesTag::defaultTiming);
    manager->add(two, std::nullopt, std::nullopt);
    const auto after = *store.get("SavedIndexInfo");
    ASSERT_EQ(after.size(), 3u);
    EXPECT_EQ(after[0]["updatesEvery"], 12345);
    EXPECT_EQ(after[1], "of a newer version");
}

TEST_F(ManagerTest, AnOlderStoresCatalogsAreListedUntilThereIsAList) {
    store.set("FSCompactIndexesManagerMetaData",
              nlohmann::json::array({{{"id", "AB"},
                                      {"cacheFileName", "old.idx"},
                                      {"diskURL", "file:///media/old%20disk/"},
                                      {"contentIndex", true},
                                      {"updatesEvery", 500}}}));
    folder.file("catalogs/old.idx", "something else");
    EXPECT_EQ(names(*manager), std::vector<std::string>{"old disk!"});
    manager->add(one, std::nullopt, std::nullopt);
    manager = makeManager(preferences);
    EXPECT_EQ(names(*manager), (std::vector<std::string>{"old disk!", "one"}));
}

// The machine's zone is whatever it is, so the time is set as the moment whose minute is to be met.
TEST_F(ManagerTest, TheSetTimeOfDayStartsOnePass) {
    manager->add(one, std::nullopt, std::nullopt);
    folder.file("one/file.txt");
    std::atomic<int> refreshes = 0;
    manager->setRefreshed([&](const ContentIndex&, const BuildOutcome&) { ++refreshes; });
    const std::int64_t due = secondsSince1970(clock.now()) + 3600;
    preferences.set("fileContentCachingTimeUpdatesEnabled", true);
    preferences.set("fileContentCachingUpdateTime", due - 10 * 86'400);
    const auto index = manager->named("one")->index;
    const auto isQueuedAfter = [&](int seconds) {
        clock.advance(Seconds(seconds));
        loop.runPending();
        manager->startScheduldedRefreshIfNeeded();
        return index->state() == ContentIndexLMDBState::waitingToBuild;
    };
    EXPECT_FALSE(isQueuedAfter(3540));
    EXPECT_TRUE(isQueuedAfter(60));
    manager->performNextTimedIndexRefresh();
    for (int tries = 0; refreshes == 0 && tries < 5000; ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_FALSE(isQueuedAfter(20)) << "the same minute";
    EXPECT_FALSE(isQueuedAfter(7200));
    EXPECT_EQ(refreshes, 1);
    EXPECT_EQ(index->documentInfo().numberOfFSItems, 1);
}

}  // namespace
}  // namespace kestrix
