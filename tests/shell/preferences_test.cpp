#include "shell/preferences.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "base/main_queue.h"
#include "platform/stored_file.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

using Json = nlohmann::json;

class PreferencesTest : public ::testing::Test {
  protected:
    std::optional<std::string> written() const { return readWholeFile(store.file()); }
    int announcedSinceLastAsked() {
        queue.runPending();
        return std::exchange(announced, 0);
    }

    TemporaryFolder folder;
    ManualClock clock;
    RunLoop queue{clock};
    NotificationCenter notifications{queue};
    SettingsStore store{folder.path("settings.json")};
    Preferences preferences{store, &notifications};
    int announced = 0;
    NotificationCenter::Observation observation =
        preferences.preferencesDidChangeNotification([this] { ++announced; });
};

TEST_F(PreferencesTest, FreshStoreAnswersWithDefaultsAndStoresNoneOfThem) {
    EXPECT_TRUE(preferences.boolean("nettworkDiskCachingOnly"));
    EXPECT_FALSE(preferences.boolean("allowNetworkSearches"));
    EXPECT_EQ(preferences.integer("updateCachesEvery"), 500);
    EXPECT_EQ(preferences.real("iconSizeSlider"), 290.0);
    EXPECT_EQ(preferences.string("lastSearchlocationPopupSelectedItemName"), "in home");
    EXPECT_EQ(preferences.keys().size(), 36u);
    EXPECT_EQ(preferences.value("noSuchKey"), std::nullopt);
    EXPECT_FALSE(preferences.hasStoredValue("historyEnabled"));
    EXPECT_EQ(written(), std::nullopt);
}

TEST_F(PreferencesTest, StoredValueCoversItsDefaultUntilUnset) {
    preferences.set("historyMaxCount", 3);
    EXPECT_EQ(preferences.integer("historyMaxCount"), 3);
    EXPECT_TRUE(preferences.unset("historyMaxCount"));
    EXPECT_EQ(preferences.integer("historyMaxCount"), 20);
    preferences.modify("historyMaxCount", [](Json& value) { EXPECT_TRUE(value.is_null()) << "no default"; });
    EXPECT_FALSE(preferences.unset("historyMaxCount"));
}

TEST_F(PreferencesTest, ValueOfAWrongTypeCountsAsItsDefault) {
    for (const Json& wrong : {Json("7"), Json(7.5), Json(true), Json::array(), Json(18446744073709551615u)}) {
        preferences.set("historyMaxCount", wrong);
        EXPECT_EQ(preferences.integer("historyMaxCount"), 20) << wrong;
    }
    preferences.set("historyEnabled", 0);
    EXPECT_TRUE(preferences.boolean("historyEnabled"));
    preferences.set("iconSizeSlider", 300);
    EXPECT_EQ(preferences.real("iconSizeSlider"), 300.0) << "a whole number is a real one too";
    preferences.set("someList", {"a", 1, nullptr, "b"});
    EXPECT_EQ(preferences.strings("someList"), (std::vector<std::string>{"a", "b"}));
}

TEST_F(PreferencesTest, EachChangeIsAnnouncedAndNoOther) {
    preferences.set("listTextSize", 14);
    EXPECT_EQ(announcedSinceLastAsked(), 1);
    preferences.modify("listTextSize", [](Json& value) { value = value.get<int>() + 1; });
    EXPECT_EQ(announcedSinceLastAsked(), 1);
    preferences.modify("listTextSize", [](Json&) {});
    EXPECT_EQ(announcedSinceLastAsked(), 0);
    preferences.unset("listTextSize");
    EXPECT_EQ(announcedSinceLastAsked(), 1);
    preferences.unset("listTextSize");
    EXPECT_EQ(announcedSinceLastAsked(), 0);
}

TEST_F(PreferencesTest, StartupWritesWhatIsMissingAndKeepsWhatTheUserChose) {
    preferences.startup("41");
    EXPECT_EQ(preferences.value("showInMenuBar"), Json(true));
    EXPECT_EQ(preferences.value("bringToFrontHotKey"), Json(false));

    preferences.set("showInMenuBar", false);
    preferences.startup("41");
    EXPECT_EQ(preferences.value("showInMenuBar"), Json(false));
    std::filesystem::remove(store.file());
    preferences.startup("41");
    EXPECT_EQ(written(), std::nullopt) << "there was nothing to write";
}

TEST_F(PreferencesTest, NewBuildIsNotedOnceAndAnUnreadableBuildNumberChangesNothing) {
    const auto isNewAtLaunch = [&](const std::string& build) {
        Preferences launch(store);
        launch.startup(build);
        return launch.isNewVersion();
    };
    EXPECT_TRUE(isNewAtLaunch("41"));
    EXPECT_FALSE(isNewAtLaunch("41"));
    EXPECT_TRUE(isNewAtLaunch("42"));
    for (const char* unreadable : {"", "abc", "43b", "4.3", " 43"}) {
        EXPECT_FALSE(isNewAtLaunch(unreadable)) << unreadable;
    }
    EXPECT_FALSE(isNewAtLaunch("42"));
}

TEST_F(PreferencesTest, AnyUnknownViewStyleIsAutomatic) {
    EXPECT_EQ(preferences.resultsViewStyle(), 2);
    for (const auto& [stored, style] : {std::pair{0, 0}, {1, 1}, {2, 2}, {3, 2}, {7, 2}, {-1, 2}}) {
        preferences.set("resultsViewStyle", stored);
        EXPECT_EQ(preferences.resultsViewStyle(), style) << stored;
    }
}

TEST_F(PreferencesTest, ArrayKeepsTheNewestWithoutDoubles) {
    PreferencesArray array(preferences, "someList", 3);
    for (const char* element : {"a", "b", "a", "c", "d"})
        array.add(element);
    EXPECT_EQ(array.contents(), (std::vector<std::string>{"a", "c", "d"}));
    EXPECT_EQ(written(), std::nullopt) << "nothing is stored before save";

    array.save();
    PreferencesArray other(preferences, "someList", 3);
    other.load();
    EXPECT_EQ(other.contents(), array.contents());
}

TEST_F(PreferencesTest, TwoArraysThatAddAndSaveKeepEachOthersElements) {
    SettingsStore otherStore(store.file());
    Preferences otherPreferences(otherStore);
    PreferencesArray mine(preferences, "someList", 3);
    PreferencesArray theirs(otherPreferences, "someList", 3);
    mine.load();
    theirs.load();
    mine.addAndSave("a");
    theirs.addAndSave("b");
    mine.addAndSave("c");
    EXPECT_EQ(mine.contents(), (std::vector<std::string>{"a", "b", "c"}));
}

}  // namespace
}  // namespace kestrix
