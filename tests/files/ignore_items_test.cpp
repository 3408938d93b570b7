#include "files/ignore_items.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "base/error.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

using Texts = std::vector<std::string>;

class Ignoring : public testing::Test {
  protected:
    static Texts textsOf(const std::vector<IgnoreItem>& items) {
        Texts texts;
        for (const IgnoreItem& item : items) {
            texts.push_back(item.text);
        }
        return texts;
    }
    IgnoreItems folders(const Texts& texts) {
        preferences_.set("ignoreFolders", texts);
        return IgnoreItems(preferences_);
    }
    bool ignores(const std::string& text, const std::string& path) {
        return folders({text}).includesFolder(path);
    }
    // What another run of the program finds in the file.
    Texts stored(const char* key) {
        SettingsStore other(store_.file());
        return Preferences(other).strings(key);
    }

    TemporaryFolder folder_;
    SettingsStore store_{folder_.path("settings.json")};
    Preferences preferences_{store_};
};

TEST_F(Ignoring, NothingWithoutSettingsOrWithIllTypedOnes) {
    EXPECT_TRUE(IgnoreItems(preferences_).empty());
    preferences_.set("ignoreFolders", "not a list");
    preferences_.set("ignoreExtensions", {1, 2});
    const IgnoreItems items(preferences_);
    EXPECT_TRUE(items.empty());
    EXPECT_FALSE(items.includesFolder("/a/b"));
}

TEST_F(Ignoring, ANameMatchesAWholeComponent) {
    EXPECT_TRUE(ignores("build", "/a/build/b"));
    EXPECT_TRUE(ignores("build", "/a/build2/build"));
    EXPECT_TRUE(ignores("build", "build"));
    EXPECT_FALSE(ignores("build", "/a/build2/b"));
    EXPECT_FALSE(ignores("build", "/a/rebuild/b"));
    EXPECT_FALSE(ignores("build", "/a/Build/b"));
    EXPECT_FALSE(ignores("", "/a/b"));
}

TEST_F(Ignoring, APathMatchesWhereItOccursOrWhereItsLastComponentIsOne) {
    EXPECT_TRUE(ignores("/Volumes/Data/archive", "/Volumes/Data/archive/x"));
    EXPECT_TRUE(ignores("/Volumes/Data/archive", "/mnt/Data/archive/x"));
    EXPECT_TRUE(ignores("x/cache", "/x/cached"));
    EXPECT_TRUE(ignores("x/cache", "/elsewhere/cache/y"));
    EXPECT_FALSE(ignores("x/cache", "/elsewhere/cached/y"));
}

TEST_F(Ignoring, ADiskIsMeantWhereverItIsMounted) {
    EXPECT_EQ(textsOf(folders({"/Volumes/Data/archive", "tmp"}).pathComponents()),
              (Texts{"Data/archive", "tmp"}));
}

TEST_F(Ignoring, AnExtensionIsAddedOnceWithoutItsDotAndSaved) {
    IgnoreItems items(preferences_);
    items.add(".tmp");
    items.add("tmp");
    items.add(".");
    items.add("");
    EXPECT_EQ(stored("ignoreExtensions"), Texts{"tmp"});
    EXPECT_TRUE(items.containsExtension("tmp"));
    EXPECT_FALSE(items.containsExtension("TMP"));
    EXPECT_TRUE(IgnoreItems(preferences_).containsExtension("tmp"));
}

TEST_F(Ignoring, AFolderIsAddedOnceAndSaved) {
    IgnoreItems items(preferences_);
    items.addFolder("/Volumes/Data/old/");
    items.addFolder("Data/old");
    items.addFolder("");
    EXPECT_EQ(stored("ignoreFolders"), Texts{"Data/old"});
    EXPECT_TRUE(items.containsPath("Data/old"));
    EXPECT_FALSE(items.containsPath("old"));
}

TEST_F(Ignoring, EditsDoNotDisturbAListThatIsInUse) {
    IgnoreItems running = folders({"a"});
    IgnoreItems edited(preferences_);
    EXPECT_NE(running.pathComponents()[0].id, edited.pathComponents()[0].id);
    EXPECT_TRUE(edited.remove(edited.pathComponents()[0].id));
    EXPECT_FALSE(edited.remove(running.pathComponents()[0].id));
    EXPECT_EQ(stored("ignoreFolders"), Texts{"a"});
    edited.save();
    EXPECT_EQ(stored("ignoreFolders"), Texts{});
    EXPECT_TRUE(running.includesFolder("/a"));
}

TEST_F(Ignoring, EditsOfTwoProcessesAtOnceAreBothKept) {
    IgnoreItems here = folders({"old", "shared"});
    SettingsStore otherStore(store_.file());
    Preferences otherPreferences(otherStore);
    IgnoreItems there(otherPreferences);
    there.addFolder("theirs");
    here.remove(here.pathComponents().at(0).id);
    here.addFolder("ours");
    EXPECT_EQ(stored("ignoreFolders"), (Texts{"shared", "theirs", "ours"}));
}

TEST_F(Ignoring, RowsOfItemsCanBeEditedAndHeadingsCannot) {
    preferences_.set("ignoreExtensions", {"tmp"});
    IgnoreItems items = folders({"a", "b"});
    const Texts before = textsOf(items.itemsForDisplay());
    ASSERT_EQ(before.size(), 5u);
    for (const std::size_t heading : {0u, 3u, 5u, 99u}) {
        items.changeDisplayItemValue(heading, "changed", true);
    }
    EXPECT_EQ(textsOf(items.itemsForDisplay()), before);
    items.changeDisplayItemValue(2, "c", false);
    EXPECT_EQ(stored("ignoreFolders"), (Texts{"a", "b"}));
    items.changeDisplayItemValue(4, ".bak", true);
    EXPECT_EQ(stored("ignoreFolders"), (Texts{"a", "c"}));
    EXPECT_EQ(stored("ignoreExtensions"), Texts{"bak"});
}

TEST_F(Ignoring, TheFirstRunIsMarked) {
    IgnoreItems::startup(preferences_);
    EXPECT_TRUE(preferences_.boolean("firstIgnoreItemsLoad"));
}

TEST_F(Ignoring, AListThatCannotBeSavedIsReported) {
    SettingsStore store(folder_.file("file") + "/settings.json");
    Preferences preferences(store);
    IgnoreItems items(preferences);
    EXPECT_THROW(items.add("tmp"), Error);
}

}  // namespace
}  // namespace kestrix
