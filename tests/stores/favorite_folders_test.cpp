#include "stores/favorite_folders.h"

#include "tests/stores/stores_fixture.h"

namespace kestrix {
namespace {

using Pairs = std::vector<FavoriteFolders::Pair>;

class FavoriteFoldersTest : public StoresTest {
  protected:
    FavoriteFolders favorites{preferences, notifications, "/home/u"};
    NotificationCenter::Observation observation = count(FavoriteFolders::DidChangeNotification);
};

TEST_F(FavoriteFoldersTest, KeyIsTheFirstWordOfTheNameWithACounterWhileTaken) {
    EXPECT_EQ(favorites.add("/p/My Photos"), "my");
    EXPECT_EQ(favorites.add("/p/My Films/"), "my-1");
    EXPECT_EQ(favorites.add("/q/MY"), "my-2");
    EXPECT_EQ(favorites.add("/p/Big-Data"), "big-data");
    EXPECT_EQ(favorites.add("/q/Big-Data"), "big-1");
    EXPECT_EQ(favorites.add("/p/\xC3\x84pfel rot"), "\xC3\xA4pfel");
    EXPECT_EQ(favorites.add("/p/ blank first"), "blank");
    EXPECT_EQ(favorites.add("/p/tab\tbehind"), "tab");
    EXPECT_EQ(favorites.keyFolderPairs().at("my-1"), "/p/My Films/");
    EXPECT_THROW(favorites.add("/a\xff"), Error);
    EXPECT_THROW(favorites.add(""), Error);
    EXPECT_EQ(announced(), 8);
}

TEST_F(FavoriteFoldersTest, PairsOfTwoProcessesAreStoredAsAnObjectAndShownSorted) {
    FavoriteFolders other(otherPreferences, notifications, "/home/u");
    favorites.add("/z");
    EXPECT_EQ(other.sortedPairs().size(), 1u);
    other.add("/b/z");
    favorites.add("/a");
    EXPECT_EQ(stored("RememberedFolders"), (Json{{"a", "/a"}, {"z", "/z"}, {"z-1", "/b/z"}}));
    EXPECT_EQ(favorites.sortedPairs(), (Pairs{{"a", "/a"}, {"z", "/z"}, {"z-1", "/b/z"}}));
    preferences.set("RememberedFolders", Json{{"a", "/a"}, {"b", 7}});
    EXPECT_EQ(favorites.sortedPairs(), (Pairs{{"a", "/a"}}));
    preferences.set("RememberedFolders", "damaged");
    EXPECT_EQ(favorites.sortedPairs(), Pairs());
}

TEST_F(FavoriteFoldersTest, FirstLaunchAddsDesktopAndDownloadsAndLaterOnesLeaveTheUsersChoice) {
    favorites.startup();
    EXPECT_EQ(favorites.sortedPairs(),
              (Pairs{{"desktop", "/home/u/Desktop/"}, {"downloads", "/home/u/Downloads/"}}));
    EXPECT_EQ(favorites.downloadsName(), "downloads");
    favorites.remove("desktop");
    favorites.startup();
    EXPECT_EQ(favorites.sortedPairs(), (Pairs{{"downloads", "/home/u/Downloads/"}}));
    std::filesystem::remove(store.file());
    favorites.startup();
    EXPECT_FALSE(std::filesystem::exists(store.file())) << "a usual launch writes nothing";
}

TEST_F(FavoriteFoldersTest, DownloadsAreFoundByKeyBeforePathAndNeverAddedTwice) {
    EXPECT_EQ(favorites.downloadsName(), std::nullopt);
    favorites.add("/a/Downloads");
    favorites.add("/b/dl");
    EXPECT_EQ(favorites.downloadsName(), "downloads");
    preferences.set("RememberedFoldersDownloadsFolderName", "dl");
    EXPECT_EQ(favorites.downloadsName(), "dl");
    favorites.ensureDownloadsExists();
    EXPECT_EQ(favorites.sortedPairs().size(), 2u);
    preferences.unset("RememberedFolders");
    preferences.set("RememberedFoldersDownloadsFolderName", "unknown");
    favorites.startup();
    favorites.startup();
    EXPECT_EQ(favorites.sortedPairs().size(), 2u) << "the desktop and one folder of downloads";
}

TEST_F(FavoriteFoldersTest, ItemsAreChangedAndDeletedByKeyAndByIndexAndNeverIntoEachOther) {
    for (const char* path : {"/a", "/b", "/c", "/d"})
        favorites.add(path);
    announced();
    EXPECT_TRUE(favorites.deleteDisplayItem(2));
    EXPECT_FALSE(favorites.deleteDisplayItem(3));
    EXPECT_TRUE(favorites.remove("d"));
    EXPECT_FALSE(favorites.remove("d"));
    EXPECT_TRUE(favorites.change("a", "Work ", "/w"));
    EXPECT_TRUE(favorites.changeDisplayItem(0, "b", "/b2"));
    EXPECT_FALSE(favorites.change("none", "x", "/x"));
    EXPECT_FALSE(favorites.changeDisplayItem(2, "x", "/x"));
    for (const char* bad : {"work", "two words", "two\nlines", "", " "})
        EXPECT_THROW(favorites.change("b", bad, "/b2"), Error) << bad;
    EXPECT_EQ(favorites.sortedPairs(), (Pairs{{"b", "/b2"}, {"work", "/w"}}));
    EXPECT_EQ(announced(), 4);
}

}  // namespace
}  // namespace kestrix
