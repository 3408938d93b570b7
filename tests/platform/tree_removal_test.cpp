#include "platform/tree_removal.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <vector>

#include "tests/platform/child_process.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

namespace fs = std::filesystem;

struct Removal {
    explicit Removal(const std::string& path, int mostEntries = 1 << 30) {
        RemovalWatch watch;
        watch.shouldStop = [&] { return removed == mostEntries; };
        watch.removed = [&] { ++removed; };
        watch.failed = [&](const Error& failure) { failures.emplace_back(failure.what()); };
        outcome = removeTree(path, watch);
    }

    RemovalOutcome outcome;
    int removed = 0;
    std::vector<std::string> failures;
};

using Failures = std::vector<std::string>;

TEST(TreeRemoval, FolderGoesWholeAndLinksInItLeadNowhere) {
    const TemporaryFolder folder;
    const std::string outside = folder.file("outside/kept");
    folder.file("gone/deep/deeper/file");
    folder.file("gone/.hidden \xff\n");
    folder.folder("gone/empty");
    fs::create_symlink(folder.path("outside"), folder.path("gone/folder link"));
    fs::create_symlink(outside, folder.path("gone/file link"));
    ASSERT_EQ(::mkfifo(folder.path("gone/pipe").c_str(), 0600), 0);
    const Removal removal(folder.path("gone"));
    EXPECT_EQ(removal.outcome, RemovalOutcome::removed);
    EXPECT_EQ(removal.removed, 9);
    EXPECT_FALSE(fs::exists(folder.path("gone")));
    EXPECT_TRUE(fs::exists(outside));

    fs::create_directory_symlink(folder.path("outside"), folder.path("link"));
    EXPECT_EQ(Removal(folder.path("link")).outcome, RemovalOutcome::removed);
    EXPECT_FALSE(fs::is_symlink(folder.path("link")));
    EXPECT_TRUE(fs::exists(outside));
}

TEST(TreeRemoval, WhatIsMissingOrHasNoNameOfItsOwnIsRefused) {
    const TemporaryFolder folder;
    const std::string missing = folder.path("missing");
    EXPECT_EQ(Removal(missing).failures,
              Failures{"cannot delete " + missing + ": No such file or directory"});
    for (const std::string& path : {std::string("/"), std::string(), folder.path("."), folder.path("..")}) {
        const Removal removal(path);
        EXPECT_EQ(removal.outcome, RemovalOutcome::failed) << path;
        EXPECT_EQ(removal.failures.size(), 1u) << path;
    }
    EXPECT_TRUE(fs::exists(folder.path()));
}

TEST(TreeRemoval, StopLeavesWhatWasNotReached) {
    const TemporaryFolder folder;
    for (int file = 0; file < 10; ++file)
        folder.file("tree/" + std::to_string(file));
    const Removal removal(folder.path("tree"), 4);
    EXPECT_EQ(removal.outcome, RemovalOutcome::stopped);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path("tree")), {}), 6);
}

TEST(TreeRemoval, FailuresAreToldOnceAndTheRestGoes) {
    const TemporaryFolder folder;
    const std::string locked = folder.path("tree/locked"), unreadable = folder.path("tree/unreadable");
    folder.file("tree/locked/stays");
    folder.file("tree/unreadable/stays");
    folder.folder("tree/unreadable but empty");
    folder.file("tree/goes/too");
    fs::permissions(folder.path(), fs::perms::all);
    for (const auto& entry : fs::recursive_directory_iterator(folder.path("tree")))
        fs::permissions(entry.path(), fs::perms::all);
    fs::permissions(folder.path("tree"), fs::perms::all);
    fs::permissions(locked, fs::perms::others_read | fs::perms::others_exec);
    fs::permissions(unreadable, fs::perms::none);
    fs::permissions(folder.path("tree/unreadable but empty"), fs::perms::none);
    EXPECT_TRUE(holdsForOrdinaryUser([&] {
        Removal removal(folder.path("tree"));
        std::sort(removal.failures.begin(), removal.failures.end());
        return removal.outcome == RemovalOutcome::failed &&
               removal.failures == Failures{"cannot delete " + locked + "/stays: Permission denied",
                                            "cannot delete " + unreadable + ": Permission denied"};
    }));
    EXPECT_FALSE(fs::exists(folder.path("tree/goes")));
    EXPECT_FALSE(fs::exists(folder.path("tree/unreadable but empty")));
    EXPECT_TRUE(fs::exists(unreadable + "/stays"));
}

TEST(TreeRemoval, NothingOnAnotherMountGoes) {
    if (::geteuid() != 0) GTEST_SKIP() << "mounting needs root";
    const TemporaryFolder folder;
    const std::string bound = folder.folder("tree/bound"), disk = folder.folder("tree/disk");
    const std::string kept = folder.file("elsewhere/kept");
    folder.file("tree/goes");
    EXPECT_TRUE(holdsWithOwnMounts([&] {
        ::mount(folder.path("elsewhere").c_str(), bound.c_str(), nullptr, MS_BIND, nullptr);
        ::mount("none", disk.c_str(), "tmpfs", 0, nullptr);
        folder.file("tree/disk/kept");
        Removal removal(folder.path("tree"));
        std::sort(removal.failures.begin(), removal.failures.end());
        const std::string reason = ": another file system is mounted there";
        return removal.failures ==
                   Failures{"cannot delete " + bound + reason, "cannot delete " + disk + reason} &&
               Removal(disk).outcome == RemovalOutcome::failed && fs::exists(disk + "/kept");
    }));
    EXPECT_TRUE(fs::exists(kept));
    EXPECT_FALSE(fs::exists(folder.path("tree/goes")));
}

// Deeper than files may be open and than a path may be long.
TEST(TreeRemoval, DepthIsNoLimit) {
    const TemporaryFolder folder;
    EXPECT_TRUE(holdsInChild([&] {
        const rlimit few{128, 128};
        if (::setrlimit(RLIMIT_NOFILE, &few) != 0 || ::chdir(folder.path().c_str()) != 0) return false;
        for (int depth = 0; depth < 3000; ++depth)
            if (::mkdir("folder", 0700) != 0 || ::chdir("folder") != 0) return false;
        return Removal(folder.path("folder")).removed == 3000;
    }));
    EXPECT_FALSE(fs::exists(folder.path("folder")));
}

}  // namespace
}  // namespace kestrix
