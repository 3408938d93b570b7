#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <random>
#include <set>

#include "files/directory_iterator.h"
#include "tests/index/catalog_fixture.h"

namespace kestrix {
namespace {

namespace fs = std::filesystem;

using BuildTest = CatalogTest;

TEST_F(BuildTest, IdentifiersFollowTheStackWhateverTheThreadsDo) {
    makeTree();
    std::map<FSItemID, std::string> expected;
    FSItemID last = 0;
    for (std::vector<std::string> stack = {target}; !stack.empty();) {
        const std::string taken = stack.back();
        stack.pop_back();
        if (taken != target) expected[++last] = taken.substr(target.size() + 1);
        for (const FSItemAndAttrs& item : DirectoryIterator().contentsOfDirectoryAtPath(taken).items) {
            if (item.isDirectory)
                stack.push_back(item.fullPath);
            else
                expected[++last] = item.fullPath.substr(target.size() + 1);
        }
    }
    for (const std::size_t groupSize : {1, 7, 1000}) {
        fs::remove(file);
        const auto index = makeIndex();
        const auto outcome = buildInGroups(*index, groupSize);
        EXPECT_EQ(outcome.written, last);
        const ContentIndex::Session session(*index);
        EXPECT_EQ(pathsOf(*index), expected);
        EXPECT_EQ(faults(), Faults());
    }
}

TEST_F(BuildTest, LeavesOutWhatACatalogDoesNotHold) {
    folder.file("tree/with:colon/inside");
    folder.file("tree/with\nbreak");
    folder.file("tree/Windows/kept.txt");
    folder.file("tree/Windows/System32/dropped.dll");
    folder.file("tree/Windows.old/x/dropped.dll");
    folder.file("tree/Backups.backupdb/dropped");
    folder.file("tree/server/dropped");
    folder.file("tree/Volumes/kept");
    ASSERT_EQ(::mkfifo(folder.path("tree/pipe").c_str(), 0600), 0);
    fs::create_symlink(target, folder.path("tree/link"));
    mounts.mount(target + "/server", "nfs4", "server:/share");
    const auto index = makeIndex();
    index->build({target}, false, ContentIndexMode::off);
    Contents expected = onDisk();
    std::erase_if(expected, [](const auto& entry) {
        return entry.first.find_first_of(":\n") != std::string::npos ||
               entry.first.find("dropped") != std::string::npos || entry.first == "Windows/System32" ||
               entry.first == "Windows.old/x";
    });
    EXPECT_EQ(expected.size(), 7U);
    expectSame(*index, expected);
}

// What has gone stays, with the dates it had; all else is as on the disk.
TEST_F(BuildTest, UpdatesAgreeWithTheDiskAfterRandomChanges) {
    makeTree();
    const auto index = makeIndex();
    std::mt19937 random(4);
    Contents known;
    for (int round = 0; round < 25; ++round) {
        for (int change = 0; change < 6; ++change) {
            const std::string path =
                folder.path("tree/d" + std::to_string(random() % 5) + "/n" + std::to_string(random() % 4));
            switch (random() % 4) {
                case 0:
                    fs::remove_all(path);
                    break;
                case 1:
                    if (!fs::is_regular_file(path)) fs::remove_all(path);
                    std::ofstream(path) << std::string(random() % 50, 'y');
                    fs::last_write_time(
                        path, fs::file_time_type::clock::now() + std::chrono::hours(random() % 1000));
                    break;
                case 2:
                    if (fs::is_regular_file(path)) fs::remove(path);
                    fs::create_directories(path + "/sub");
                    std::ofstream(path + "/sub/file");
                    break;
                default:
                    break;
            }
        }
        buildInGroups(*index, 1 + random() % 20);
        const Contents now = onDisk();
        for (const auto& [path, entry] : now) {
            if (known.contains(path) && known[path].isFile != entry.isFile)
                std::erase_if(known, [&](const auto& old) { return old.first.starts_with(path + "/"); });
            known[path] = entry;
        }
        expectSame(*index, known);
        EXPECT_EQ(buildInGroups(*index, 5).written, 0);
        if (HasFailure()) return;
    }
}

TEST_F(BuildTest, NamesThatAreNotTextAreKeptOnceEach) {
    for (const char* name : {"tree/a\xff", "tree/b\xfe", "tree/c\xfd/inside", "tree/Unknown"})
        folder.file(name);
    const auto index = makeIndex();
    EXPECT_EQ(index->build({target}, false, ContentIndexMode::off).written, 5);
    EXPECT_EQ(index->build({target}, false, ContentIndexMode::off).written, 0);
    EXPECT_EQ(faults(), Faults());
}

TEST_F(BuildTest, AFolderBelowTheTargetCanBeUpdatedAlone) {
    makeTree();
    const auto index = makeIndex();
    const std::string inner = target + "/d1/e1/deep";
    index->build({inner, target + "/d1", target + "/d1/e1"}, false, ContentIndexMode::off);
    Contents expected = onDisk();
    std::erase_if(expected,
                  [](const auto& entry) { return entry.first != "d1" && !entry.first.starts_with("d1/"); });
    expectSame(*index, expected);
    EXPECT_EQ(index->build({inner}, false, ContentIndexMode::off).written, 0);
    EXPECT_TRUE(index->build({folder.path()}, false, ContentIndexMode::off).fault);
}

TEST_F(BuildTest, TellsHowFarItIs) {
    makeTree();
    const auto index = makeIndex();
    index->setDisplayName("My Tree");
    std::set<std::pair<std::string, std::string>> texts;
    clock.onTick = [&] {
        clock.advance(Seconds(1));
        queue.runPending();
        for (const auto& item : activities.items())
            texts.emplace(item->texts().leftText, item->texts().rightText);
    };
    const std::int64_t files = index->build({target}, false, ContentIndexMode::off).files;
    EXPECT_TRUE(texts.contains({"Caching \"My Tree\"", ""}));
    EXPECT_TRUE(texts.contains({fmt::format("Cached {} items.", files), fmt::format("{} files", files)}));
    index->build({target}, false, ContentIndexMode::off);
    EXPECT_TRUE(texts.contains(
        {fmt::format("Cached {0} of {0} items. 100%.", files), fmt::format("{} files/100%", files)}));
    clock.onTick = nullptr;
    queue.runPending();
    EXPECT_TRUE(activities.items().empty());
    EXPECT_EQ(index->documentInfo().numberOfFSItems, files);
}

}  // namespace
}  // namespace kestrix
