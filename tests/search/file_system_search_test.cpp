#include "search/file_system_search.h"

#include <filesystem>
#include <set>

#include "base/path.h"
#include "language/commands/simple_factories.h"
#include "search/walk.h"
#include "tests/search/search_fixture.h"

namespace kestrix {
namespace {

class WalkTest : public ::testing::Test {
  protected:
    // Relative paths of what a walk of `start` finds.
    std::set<std::string> find(const std::string& line, std::vector<std::string> starts = {}) {
        if (starts.empty()) starts = {folder_.path()};
        DiskInfoManager disks(mounts_, loop_);
        auto query = std::make_shared<QueryContainer>(line, SearchLocation(starts), false,
                                                      QueryEnvironment{preferences_, language_});
        counters_ = std::make_unique<WalkCounters>();
        auto source = std::make_shared<FileSystemSearch>(WalkEnvironment{disks, nullptr, counters_.get()});
        source->search(query, collector_);
        std::set<std::string> found;
        for (const SearchResult& result : collector_.results.get()) {
            found.insert(result.path.substr(folder_.path().size() + 1));
        }
        EXPECT_EQ(found.size(), collector_.results.get().size()) << "something was found twice";
        return found;
    }

    using Set = std::set<std::string>;

    TemporaryFolder folder_;
    TemporaryFolder settings_;
    SettingsStore store_{settings_.path("settings.json")};
    Preferences preferences_{store_};
    LanguageParse language_{
        {.sentences = SentenceTemplate::fromText("depth ~number maxDepth\n"),
         .factories = {std::make_shared<MaxDepthFactory>()},
         .variableParsers = {{"~number",
                              [](std::span<const SentenceComponent> words) {
                                  return VariableParserResult{std::stoi(words.front().textLowered), 1};
                              }}},
         .variableCompletors = {}}};
    RunLoop loop_;
    FakeMounts mounts_;
    Collector collector_;
    std::unique_ptr<WalkCounters> counters_;
};

TEST_F(WalkTest, TellsSizeAndDatesOnlyWhenAsked) {
    folder_.file("x", "12345");
    find("x");
    const SearchResult with = collector_.results.get().at(0);
    EXPECT_EQ(with.size, 5u);
    EXPECT_GT(with.modDate, 0);
    EXPECT_FALSE(with.isDirectory);
    collector_.results.set({});
    collector_.attributes = false;
    find("x");
    EXPECT_EQ(collector_.results.get().at(0).size, 0u);
}

// The walk itself hands over what lies in the last folder that it enters; the command judges.
TEST_F(WalkTest, DoesNotEnterFoldersThatLieTooDeep) {
    folder_.file("a/b/x");
    folder_.file("a/b/c/x");
    folder_.file("a/x c");
    const auto depthOfRoot = path::components(folder_.path()).size();
    const auto limited = [&](std::size_t depth) {
        collector_.results.set({});
        return find(std::string("x : depth ").append(std::to_string(depth)));
    };
    EXPECT_EQ(limited(depthOfRoot + 2), (Set{"a/b/x", "a/x c"}));
    EXPECT_EQ(counters_->entries, 5);
    EXPECT_EQ(limited(depthOfRoot + 1), (Set{"a/x c"}));
    EXPECT_EQ(limited(1), Set{}) << "the start itself is read all the same";
    EXPECT_EQ(counters_->entries, 1);
    EXPECT_EQ(limited(0), (Set{"a/b/x", "a/b/c/x", "a/x c"}));
}

TEST_F(WalkTest, FindsStrangeNamesUnderTheirTrueBytes) {
    const Set names = {"x\nnewline", "x \"quoted\"", "x\x01\x7f", "x\xff\xfe bytes", std::string(255, 'x')};
    for (const std::string& name : names) {
        folder_.file(name);
    }
    EXPECT_EQ(find("x"), names);
}

TEST_F(WalkTest, WalksDeeperThanAPathMayBeLong) {
    OpenDirectory parent;
    ASSERT_EQ(parent.open(folder_.path()), 0);
    std::string relative;
    const std::string name(100, 'd');
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder_.path());
    for (int depth = 0; depth < 60; ++depth) {
        std::filesystem::create_directory(name);
        std::filesystem::current_path(name);
        relative += name + "/";
    }
    std::ofstream("x at the end");
    std::filesystem::current_path(before);
    EXPECT_EQ(find("x"), (Set{relative + "x at the end"}));
}

// More folders pending at once than are kept open, so that families are closed and opened again.
TEST_F(WalkTest, FindsFilesAndFoldersAtEveryDepthOfATreeWiderThanItsOpenFolders) {
    EXPECT_EQ(find("x", {folder_.path("gone")}), Set{});
    folder_.folder("f1/g/Xs");
    Set expected = {"f1/g/Xs"};
    for (int i = 0; i < 300; ++i) {
        const std::string place = "f" + std::to_string(i) + "/g/h/x" + std::to_string(i);
        folder_.file(place);
        expected.insert(place);
    }
    EXPECT_EQ(find("x"), expected);
    EXPECT_EQ(counters_->directories, 901);
    EXPECT_EQ(counters_->unreadable, 0);
}

TEST_F(WalkTest, SharesOneFolderWithVeryManyChildren) {
    for (int i = 0; i < 1000; ++i) {
        folder_.folder("many/n" + std::to_string(i));
    }
    folder_.file("many/n999/x");
    EXPECT_EQ(find("x"), (Set{"many/n999/x"}));
    EXPECT_EQ(find("n").size(), 1002u);  // the x of before, too, and "many"
}

TEST_F(WalkTest, StaysOutOfBackupsAndOfMountsThatAreNotItsOwn) {
    for (const char* place : {"Backups.backupdb/x", "net/x", "proc/x", "disk/x", "target/x", "loop/x"}) {
        folder_.file(place);
    }
    mounts_.table.push_back({folder_.path("net"), "/", "nfs4", "server:/share", 2});
    mounts_.table.push_back({folder_.path("proc"), "/", "proc", "proc", 3});
    mounts_.table.push_back({folder_.path("disk"), "/", "xfs", "/dev/sdb1", 4});
    mounts_.table.push_back({folder_.path("target"), "/", "xfs", "/dev/sdc1", 5});
    mounts_.table.push_back({folder_.path("loop"), folder_.path(), "ext4", "/dev/sda1", 1});
    EXPECT_EQ(find("x"), (Set{"disk/x", "target/x"}));
    collector_.results.set({});
    EXPECT_EQ(find("x", {folder_.path(), folder_.path("target")}), (Set{"disk/x", "target/x"}));
    for (const SearchResult& result : collector_.results.get()) {
        const bool onDisk = result.path == folder_.path("disk/x");
        EXPECT_EQ(result.diskKey.text().substr(0, 5) == "disk ", onDisk) << result.diskKey.text();
    }
}

TEST_F(WalkTest, CountsFoldersThatCannotBeReadAndGoesOn) {
    folder_.file("closed/x");
    folder_.file("open/x");
    std::filesystem::permissions(folder_.path("closed"), std::filesystem::perms::none);
    const Set found = find("x");
    std::filesystem::permissions(folder_.path("closed"), std::filesystem::perms::owner_all);
    if (found.contains("closed/x")) GTEST_SKIP() << "this user may read everything";
    EXPECT_EQ(found, (Set{"open/x"}));
    EXPECT_EQ(counters_->unreadable, 1);
}

TEST_F(WalkTest, StopsSoonAfterItIsToldTo) {
    for (int i = 0; i < 200; ++i) {
        folder_.file(std::to_string(i) + "/g/x");
    }
    collector_.stopAtFirst = true;
    EXPECT_LT(find("x").size(), 200u);
}

}  // namespace
}  // namespace kestrix
