#include <gtest/gtest.h>

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "tests/index/catalog_fixture.h"

namespace kestrix {
namespace {

constexpr double kDay = 86'400;

class RefreshTest : public CatalogTest {
  protected:
    RefreshTest() {
        ::setenv("TZ", "UTC", 1);
        environment.startRefresh = [this](std::function<void()> refresh) { started.push_back(refresh); };
        preferences.set("diskCatalogCaching", true);
        clock.setWallTime(noon);
        folder.file("tree/file");
        index = makeIndex();
        index->refresh(false);
    }
    // Whether a refresh starts so many seconds after the last build.
    bool startsAfter(CachingUpdatesTag tag, double seconds) {
        index->setUpdatesEvery(tag);
        clock.setWallTime(noon + std::chrono::milliseconds(std::int64_t(seconds * 1000)));
        const bool starts = index->scheduleRefreshIfNeeded();
        EXPECT_EQ(started.size(), starts ? 1U : 0U);
        started.clear();
        return starts;
    }

    const WallTime noon{std::chrono::seconds(1'000'036'800)};
    std::vector<std::function<void()>> started;
    std::shared_ptr<ContentIndex> index;
};

TEST_F(RefreshTest, StartsWhenTheIntervalHasPassed) {
    using Tag = CachingUpdatesTag;
    const std::vector<std::pair<Tag, double>> days = {
        {Tag::twoDays, 2}, {Tag::threeDays, 3}, {Tag::week, 7}, {Tag::fortnight, 14}, {Tag::month, 31}};
    for (const auto& [tag, count] : days) {
        EXPECT_FALSE(startsAfter(tag, count * kDay));
        EXPECT_TRUE(startsAfter(tag, count * kDay + 1)) << count;
    }
    EXPECT_FALSE(startsAfter(Tag::never, 1000 * kDay));
    EXPECT_FALSE(startsAfter(Tag::day, kDay / 2 - 1));
    EXPECT_TRUE(startsAfter(Tag::day, kDay / 2));
    EXPECT_TRUE(startsAfter(Tag::appRestart, 0));
    EXPECT_FALSE(startsAfter(Tag::appRestart, 1000 * kDay));
}

TEST_F(RefreshTest, TheSettingDecidesForCatalogsWithoutAnIntervalOfTheirOwn) {
    EXPECT_FALSE(startsAfter(CachingUpdatesTag::defaultTiming, 1000 * kDay)) << "nobody has chosen one";
    preferences.set("updateCachesEvery", 500);
    EXPECT_FALSE(startsAfter(CachingUpdatesTag::defaultTiming, 7 * kDay));
    EXPECT_TRUE(startsAfter(CachingUpdatesTag::defaultTiming, 7 * kDay + 1));
    preferences.set("updateCachesEvery", 501);
    EXPECT_FALSE(startsAfter(CachingUpdatesTag::defaultTiming, 1000 * kDay));
    preferences.set("diskCatalogCaching", false);
    EXPECT_FALSE(startsAfter(CachingUpdatesTag::week, 1000 * kDay));
}

// A date that lies ahead must neither start one refresh after another nor hold them up for years.
TEST_F(RefreshTest, AClockThatWasSetBackIsCaughtUpWith) {
    for (const auto tag : {CachingUpdatesTag::day, CachingUpdatesTag::week}) {
        clock.setWallTime(noon + std::chrono::hours(24 * 365));
        index->refresh(false);
        EXPECT_TRUE(startsAfter(tag, 0));
        index->refresh(false);
        EXPECT_FALSE(startsAfter(tag, 10));
    }
    EXPECT_FALSE(startsAfter(CachingUpdatesTag::week, -6 * kDay));
}

TEST_F(RefreshTest, RefreshesWhatItStartedUnlessTheDiskOrTheCatalogIsAway) {
    folder.file("tree/new");
    index->setUpdatesEvery(CachingUpdatesTag::week);
    clock.advance(Seconds(8 * kDay));
    ASSERT_TRUE(index->scheduleRefreshIfNeeded());
    started.front()();
    EXPECT_EQ(index->documentInfo().numberOfFSItems, 2);
    std::filesystem::rename(target, target + "2");
    EXPECT_EQ(index->refresh(true).files, 0);
    EXPECT_EQ(index->documentInfo().numberOfFSItems, 2);
    std::filesystem::rename(target + "2", target);
    std::filesystem::remove(file);
    EXPECT_EQ(index->refresh(true).files, 0);
    EXPECT_FALSE(std::filesystem::exists(file));
}

}  // namespace
}  // namespace kestrix
