#include "platform/stored_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <memory>
#include <set>
#include <thread>
#include <vector>

#include "base/error.h"
#include "tests/platform/child_process.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

std::set<std::string> namesIn(const std::string& folder) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.insert(entry.path().filename());
    return names;
}

bool knowsNamelessFiles(const std::string& folder) {
    const int file = ::open(folder.c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, 0600);
    if (file >= 0) ::close(file);
    return file >= 0;
}

mode_t modeOf(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

// The errno of the Error that `work` throws, whose words must name `path`; 0 if it throws none.
template <typename Work>
int failureOf(const std::string& path, Work work) {
    try {
        work();
    } catch (const Error& error) {
        EXPECT_NE(std::string(error.what()).find(path), std::string::npos) << error.what();
        return error.code();
    }
    return 0;
}

TEST(StoredFile, AFileIsReadWholeAMissingOneIsNoneAndAnythingElseThrows) {
    TemporaryFolder folder;
    const std::string big(300'001, 'b');
    EXPECT_EQ(readWholeFile(folder.file("big", big)), big);
    EXPECT_EQ(readWholeFile(folder.file("empty")), "");
    EXPECT_EQ(readWholeFile(folder.path("absent")), std::nullopt);
    EXPECT_FALSE(readWholeFile("/proc/self/mountinfo")->empty()) << "a file that tells no size";
    EXPECT_EQ(failureOf(folder.path(), [&] { readWholeFile(folder.path()); }), EISDIR);
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(failureOf("pipe", [&] { readWholeFile(folder.path("pipe")); }), EINVAL) << "and does not wait";
    EXPECT_EQ(failureOf("/dev/zero", [] { readWholeFile("/dev/zero"); }), EINVAL);
}

TEST(StoredFile, AReplacementKeepsTheModeAndLeavesNothingBesideIt) {
    TemporaryFolder folder;
    replaceFile(folder.path("new"), "first");
    EXPECT_EQ(modeOf(folder.path("new")), 0600u);
    ::chmod(folder.path("new").c_str(), 0664);
    replaceFile(folder.path("new"), std::string(1'000'000, 'x'));
    EXPECT_EQ(modeOf(folder.path("new")), 0664u);
    EXPECT_EQ(readWholeFile(folder.path("new")), std::string(1'000'000, 'x'));
    EXPECT_EQ(namesIn(folder.path()), std::set<std::string>{"new"});
}

TEST(StoredFile, WhatIsWrittenInPiecesCountsOnlyWhenItIsComplete) {
    TemporaryFolder folder;
    const std::string path = folder.file("list", "old");
    {
        FileReplacement abandoned(path, FileReplacement::Owner::user);
        abandoned.write("half");
    }
    EXPECT_EQ(readWholeFile(path), "old");
    FileReplacement file(path, FileReplacement::Owner::user);
    file.write("one ");
    file.write("two");
    EXPECT_EQ(readWholeFile(path), "old");
    EXPECT_EQ(namesIn(folder.path()).size(), knowsNamelessFiles(folder.path()) ? 1U : 2U);
    file.commit();
    EXPECT_EQ(readWholeFile(path), "one two");
    EXPECT_EQ(namesIn(folder.path()), std::set<std::string>{"list"});
}

TEST(StoredFile, AFileOfTheUsersHasTheUsualModeAndIsRefusedWhenProtected) {
    TemporaryFolder folder;
    const mode_t before = ::umask(027);
    FileReplacement(folder.path("new"), FileReplacement::Owner::user).commit();
    ::umask(before);
    EXPECT_EQ(modeOf(folder.path("new")), 0640u);
    const std::string locked = folder.file("locked");
    ::chmod(locked.c_str(), 0444);
    ::chmod(folder.path().c_str(), 0777);
    EXPECT_TRUE(holdsForOrdinaryUser([&] {
        return failureOf(locked, [&] { FileReplacement(locked, FileReplacement::Owner::user); }) == EACCES;
    }));
}

TEST(StoredFile, ALinkStaysALinkAndItsTargetIsReplaced) {
    TemporaryFolder folder;
    folder.file("dots/real", "old");
    ASSERT_EQ(::symlink("dots/second", folder.path("first").c_str()), 0);
    ASSERT_EQ(::symlink("real", folder.path("dots/second").c_str()), 0);
    ASSERT_EQ(::symlink("dots/later", folder.path("dangling").c_str()), 0);
    ASSERT_EQ(::symlink("loop", folder.path("loop").c_str()), 0);

    replaceFile(folder.path("first"), "new");
    replaceFile(folder.path("dangling"), "made");

    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("first")));
    EXPECT_EQ(readWholeFile(folder.path("dots/real")), "new");
    EXPECT_EQ(readWholeFile(folder.path("dots/later")), "made");
    EXPECT_EQ(failureOf("loop", [&] { replaceFile(folder.path("loop"), ""); }), ELOOP);
}

TEST(StoredFile, AFailedReplacementLeavesTheFileAndNoTemporary) {
    TemporaryFolder folder;
    const std::string file = folder.file("settings", "old");
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(failureOf("pipe", [&] { replaceFile(folder.path("pipe"), "x"); }), EINVAL);
    EXPECT_EQ(failureOf(folder.path(), [&] { replaceFile(folder.path(), "x"); }), EISDIR);
    EXPECT_EQ(failureOf("absent", [&] { replaceFile(folder.path("absent/file"), "x"); }), ENOENT);
    EXPECT_TRUE(holdsInChild([&] {  // the disk is full after 100 bytes
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{100, 100};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        return failureOf("settings", [&] { replaceFile(file, std::string(5'000, 'x')); }) == EFBIG;
    }));
    EXPECT_EQ(readWholeFile(file), "old");
    EXPECT_EQ(namesIn(folder.path()), (std::set<std::string>{"settings", "pipe"}));
}

TEST(StoredFile, FoldersAreMadeWithThoseAboveForTheirOwnerAlone) {
    TemporaryFolder folder;
    makeFolder(folder.path("a/b/c"));
    makeFolder(folder.path("a/b/c/"));
    EXPECT_EQ(modeOf(folder.path("a/b")), 0700u);
    EXPECT_TRUE(std::filesystem::is_directory(folder.path("a/b/c")));
    folder.file("plain");
    EXPECT_EQ(failureOf("plain", [&] { makeFolder(folder.path("plain")); }), EEXIST);
    EXPECT_EQ(failureOf("plain", [&] { makeFolder(folder.path("plain/below")); }), ENOTDIR);
    EXPECT_EQ(failureOf("", [] { makeFolder(""); }), ENOENT);
}

TEST(StoredFile, RemovingAMissingFileIsNoFailureRenamingOneIsAndAppendingAddsAtTheEnd) {
    TemporaryFolder folder;
    folder.file("here", "x");
    renameFile(folder.path("here"), folder.path("there"));
    EXPECT_EQ(namesIn(folder.path()), std::set<std::string>{"there"});
    appendToFile(folder.path("there"), "y");
    EXPECT_EQ(readWholeFile(folder.path("there")), "xy");
    EXPECT_EQ(failureOf("absent/log", [&] { appendToFile(folder.path("absent/log"), "x"); }), ENOENT);
    removeFile(folder.path("there"));
    removeFile(folder.path("there"));
    EXPECT_EQ(failureOf("there", [&] { renameFile(folder.path("there"), folder.path("x")); }), ENOENT);
    EXPECT_NE(failureOf(folder.path(), [&] { removeFile(folder.path()); }), 0);
}

TEST(StoredFile, SettingAsideTakesTheFirstFreeName) {
    TemporaryFolder folder;
    folder.file("s.json.damaged-1", "earlier");
    EXPECT_EQ(setAside(folder.file("s.json", "bad")), folder.path("s.json.damaged-2"));
    EXPECT_EQ(readWholeFile(folder.path("s.json.damaged-1")), "earlier");
    EXPECT_EQ(readWholeFile(folder.path("s.json.damaged-2")), "bad");
    EXPECT_EQ(failureOf("s.json", [&] { setAside(folder.path("s.json")); }), ENOENT);
}

TEST(FileLock, ThreadsAndProcessesExcludeEachOther) {
    TemporaryFolder folder;
    const std::string counter = folder.path("not/yet/there/counter");
    constexpr int kRounds = 50;
    const auto count = [&] {
        for (int round = 0; round < kRounds; ++round) {
            const FileLock lock(counter);
            const int before = std::stoi(readWholeFile(counter).value_or("0"));
            removeFile(counter);  // whoever comes in between would start from nothing
            appendToFile(counter, std::to_string(before + 1));
        }
        return true;
    };
    ChildProcess third(count);
    {
        const std::jthread first(count);
        const std::jthread second(count);
    }
    EXPECT_TRUE(third.holds());
    EXPECT_EQ(readWholeFile(counter), std::to_string(3 * kRounds));
}

TEST(FileLock, ItIsFreeAgainAlsoWhileAChildHoldsACopyOfIt) {
    TemporaryFolder folder;
    int pipeEnds[2];
    ASSERT_EQ(::pipe(pipeEnds), 0);
    auto lock = std::make_unique<FileLock>(folder.path("x"));
    ChildProcess child([&] {
        ::close(pipeEnds[1]);
        char byte;
        return ::read(pipeEnds[0], &byte, 1) == 0;  // until the parent closes its end
    });
    lock.reset();
    const FileLock again(folder.path("x"));
    ::close(pipeEnds[1]);
    EXPECT_TRUE(child.holds());
    ::close(pipeEnds[0]);
}

}  // namespace
}  // namespace kestrix
