#include "files/directory_iterator.h"

#include <gtest/gtest.h>

#include <algorithm>
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
    const auto children = DirectoryIterator::urlContentsOfDirectory(folder.path() + "/");
    EXPECT_EQ(children.files, std::vector{folder.path("file")});
    EXPECT_EQ(children.directories, std::vector{folder.path("sub")});
    EXPECT_TRUE(listed("/dev").count("null") == 0);
}

TEST(DirectoryIterator, MakesNoDoubleSlashes) {
    const TemporaryFolder folder;
    folder.file("a");
    EXPECT_EQ(listed(folder.path() + "/").at("a").fullPath, folder.path("a"));
    EXPECT_EQ(listed("/").at("proc").fullPath, "/proc");
    const auto children = DirectoryIterator::urlContentsOfDirectory("/");
    EXPECT_EQ(std::ranges::count(children.directories, "/proc"), 1);
}

TEST(DirectoryIterator, FindsNothingWhereNothingCanBeOpened) {
    const TemporaryFolder folder;
    for (const std::string& path : {std::string(), folder.path("gone"), folder.file("a file")}) {
        EXPECT_TRUE(listed(path).empty());
        EXPECT_TRUE(DirectoryIterator::urlContentsOfDirectory(path).files.empty());
    }
}

TEST(DirectoryIterator, ReadsADirectoryLargerThanItsBuffer) {
    const TemporaryFolder folder;
    constexpr std::size_t kFiles = 1500;
    for (std::size_t number = 0; number < kFiles; ++number) {
        folder.file(std::string(100, 'n') + std::to_string(number));
    }
    EXPECT_EQ(listed(folder.path()).size(), kFiles);
    EXPECT_EQ(DirectoryIterator::urlContentsOfDirectory(folder.path()).files.size(), kFiles);
}

TEST(DirectoryIterator, KeepsNamesThatAreNoText) {
    const TemporaryFolder folder;
    folder.file("a\xff");
    EXPECT_EQ(listed(folder.path()).count("a\xff"), 1u);
}

}  // namespace
}  // namespace kestrix
