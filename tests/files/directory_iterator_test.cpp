#include "files/directory_iterator.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

namespace fs = std::filesystem;

std::map<std::string, FSItemAndAttrs> listed(const std::string& path) {
    const auto listing = DirectoryIterator().contentsOfDirectoryAtPath(path);
    EXPECT_EQ(listing.errorNumber, 0);
    std::map<std::string, FSItemAndAttrs> items;
    for (const FSItemAndAttrs& item : listing.items) {
        EXPECT_TRUE(items.emplace(item.name, item).second) << item.name;
    }
    return items;
}

TEST(DirectoryIterator, TellsFilesAndFoldersWithTheirAttributes) {
    const TemporaryFolder folder;
    folder.file("a.txt", "1234");
    folder.folder("sub");
    const auto items = listed(folder.path());
    ASSERT_EQ(items.size(), 2u);
    const FSItemAndAttrs& file = items.at("a.txt");
    EXPECT_EQ(file.fullPath, folder.path("a.txt"));
    EXPECT_FALSE(file.isDirectory);
    EXPECT_EQ(file.size(), 4);
    EXPECT_GT(file.modifyTime.seconds, 0);
    EXPECT_GT(file.accessTime.seconds, 0);
    EXPECT_TRUE(items.at("sub").isDirectory);
    EXPECT_EQ(file.fileSystem, items.at("sub").fileSystem);
    EXPECT_NE(file.object, items.at("sub").object);
}

TEST(DirectoryIterator, LeavesOutWhatIsNeitherFileNorFolder) {
    const TemporaryFolder folder;
    folder.file("file");
    folder.folder("sub");
    fs::create_symlink(folder.path("file"), folder.path("link"));
    fs::create_directory_symlink(folder.path("sub"), folder.path("link to sub"));
    fs::create_symlink("nowhere", folder.path("broken"));
    EXPECT_EQ(listed(folder.path()).size(), 2u);
    EXPECT_TRUE(listed("/dev").count("null") == 0);
}

TEST(DirectoryIterator, MakesNoDoubleSlashesAndFindsNothingWhereNothingCanBeOpened) {
    const TemporaryFolder folder;
    folder.file("a\xff");
    EXPECT_EQ(listed(folder.path() + "/").at("a\xff").fullPath, folder.path("a\xff"));
    EXPECT_EQ(listed("/").at("proc").fullPath, "/proc");
    for (const std::string& path : {std::string(), folder.path("gone"), folder.path("a\xff")})
        EXPECT_TRUE(listed(path).empty());
}

}  // namespace
}  // namespace kestrix
