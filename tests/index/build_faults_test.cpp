// What goes wrong during a build, and what is left then.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <thread>

#include "tests/index/catalog_fixture.h"

namespace kestrix {
namespace {

namespace fs = std::filesystem;

using BuildFaultsTest = CatalogTest;

TEST_F(BuildFaultsTest, KilledAtAnyMomentTheFileIsSoundAndTheNextBuildCompletesIt) {
    makeTree(30, 6);
    std::mt19937 random(7);
    int finished = 0;
    for (int round = 0; round < 50; ++round) {
        if (round % 10 == 0) {
            fs::remove(file);
            makeIndex()->saveDocumentInfo();
        }
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            const auto index = makeIndex();
            buildInGroups(*index, 2);
            ::_exit(0);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 60'000));
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        finished += WIFEXITED(status) ? 1 : 0;
        ASSERT_EQ(faults(), Faults());
    }
    EXPECT_LT(finished, 50);
    const auto index = makeIndex();
    EXPECT_FALSE(index->build({target}, false, ContentIndexMode::off).fault);
    expectSame(*index, onDisk());
}

TEST_F(BuildFaultsTest, AFullMapEndsTheBuildAndKeepsWhatWasWritten) {
    makeTree(20, 40);
    environment.mapSize = 96 * 1024;
    {
        const auto index = makeIndex();
        const auto outcome = buildInGroups(*index, 100);
        EXPECT_NE(outcome.fault.value_or("").find(file), std::string::npos);
        EXPECT_EQ(index->state(), ContentIndexLMDBState::none);
        EXPECT_FALSE(index->documentInfo().numberOfFSItems);
    }
    EXPECT_EQ(faults(), Faults());
    environment.mapSize = SimpleLMDB::Options().mapSize;
    const auto index = makeIndex();
    EXPECT_LT(index->build({target}, false, ContentIndexMode::off).written, 20 * 40);
    expectSame(*index, onDisk());
}

TEST_F(BuildFaultsTest, OneBuildsAtATime) {
    makeTree(1, 1);
    const auto index = makeIndex();
    const auto other = makeIndex();
    std::string refusal;
    clock.atTick(1, [&] {
        for (const auto& second : {index, other}) {
            try {
                second->build({target}, false, ContentIndexMode::off);
            } catch (const Error& error) {
                refusal += std::string(error.what()) + "\n";
            }
        }
    });
    EXPECT_FALSE(index->build({target}, false, ContentIndexMode::off).fault);
    EXPECT_EQ(refusal,
              "the catalog \"tree\" is being updated already\n"
              "the catalog \"tree\" is being updated by another process\n");
    EXPECT_FALSE(other->build({target}, false, ContentIndexMode::off).fault);
    expectSame(*other, onDisk());
}

TEST_F(BuildFaultsTest, ACanceledBuildKeepsWhatItHas) {
    makeTree(40, 5);
    const auto index = makeIndex();
    clock.atTick(3, [&] { index->cancelBuild(); });
    const auto outcome = buildInGroups(*index, 1);
    EXPECT_TRUE(outcome.canceled);
    EXPECT_FALSE(outcome.fault);
    EXPECT_LT(outcome.written, static_cast<std::int64_t>(onDisk().size()));
    EXPECT_FALSE(index->documentInfo().numberOfFSItems);
    EXPECT_EQ(faults(), Faults());
    clock.onTick = nullptr;
    // Who ends all builds ends those too that have not begun.
    environment.buildsEnd = true;
    EXPECT_EQ(index->build({target}, false, ContentIndexMode::off).files, 0);
    EXPECT_TRUE(index->build({target}, false, ContentIndexMode::off).canceled);
    environment.buildsEnd = false;
    EXPECT_FALSE(index->build({target}, false, ContentIndexMode::off).canceled);
    expectSame(*index, onDisk());
}

TEST_F(BuildFaultsTest, ATargetThatGoesAwayIsAFault) {
    makeTree(3, 3);
    const auto index = makeIndex();
    EXPECT_EQ(index->build({target + "/nowhere"}, false, ContentIndexMode::off).fault,
              "cannot read " + target + "/nowhere: No such file or directory");
    clock.atTick(4, [&] { fs::remove_all(target); });
    EXPECT_EQ(index->build({target}, false, ContentIndexMode::off).fault,
              target + " went away while it was read: No such file or directory");
    fs::create_directory(target);
    clock.atTick(4, [&] {
        fs::rename(target, target + "2");
        fs::create_directory(target);
    });
    EXPECT_EQ(index->build({target}, false, ContentIndexMode::off).fault,
              target + " was exchanged while it was read");
}

// An item without its parent would have a path that is not on the disk.
TEST_F(BuildFaultsTest, ASearchDuringABuildSeesParentsWithTheirItems) {
    makeTree(15, 6);
    const auto index = makeIndex();
    const Contents disk = onDisk();
    std::atomic<bool> ended = false;
    std::atomic<int> looks = 0;
    std::thread searcher([&] {
        const ContentIndex::Session session(*index);
        do {
            for (const auto& [path, entry] : contentsOf(*index))
                ASSERT_TRUE(disk.contains(path)) << path;
            ++looks;
        } while (!ended);
    });
    clock.atTick(1, [&] {
        while (looks == 0)
            std::this_thread::yield();
    });
    EXPECT_FALSE(buildInGroups(*index, 3).fault);
    ended = true;
    searcher.join();
    EXPECT_GT(looks, 1);
    expectSame(*index, onDisk());
}

}  // namespace
}  // namespace kestrix
