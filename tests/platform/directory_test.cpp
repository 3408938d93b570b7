#include "platform/directory.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>

#include "tests/platform/child_process.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

using Listing = std::map<std::string, EntryType>;

class DirectoryTest : public testing::Test {
  protected:
    Listing list(const OpenDirectory& directory) {
        Listing listing;
        reader_.start(directory);
        for (DirectoryEntry entry; reader_.next(entry);) {
            EXPECT_EQ(std::strlen(entry.name.data()), entry.name.size());
            EXPECT_TRUE(listing.emplace(entry.name, entry.type).second) << entry.name << " came twice";
        }
        return listing;
    }

    Listing list(const std::string& path) {
        OpenDirectory directory;
        EXPECT_EQ(directory.open(path), 0);
        return list(directory);
    }

    TemporaryFolder folder_;
    DirectoryReader reader_;
};

TEST_F(DirectoryTest, EveryKindOfEntryIsListedWithItsOwnType) {
    folder_.file("plain.txt");
    folder_.folder("sub");
    ASSERT_EQ(::symlink("sub", folder_.path("link").c_str()), 0);
    ASSERT_EQ(::mkfifo(folder_.path("pipe").c_str(), 0600), 0);
    const int server = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    folder_.path("socket").copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(server, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ::close(server);

    EXPECT_EQ(list(folder_.path()), (Listing{{"plain.txt", EntryType::file},
                                             {"sub", EntryType::directory},
                                             {"link", EntryType::other},
                                             {"pipe", EntryType::other},
                                             {"socket", EntryType::other}}));
    EXPECT_EQ(reader_.error(), 0);
}

TEST_F(DirectoryTest, NamesOfEveryLengthAndAnyBytesComeWhole) {
    Listing expected;
    for (std::size_t length = 1; length <= 255; ++length) {
        expected[std::string(length, 'x')] = EntryType::file;
    }
    for (const char* name :
         {"...", "..a", ".a", "line\nbreak", "\xff\xfe bad", "\x01", "\x80\x80\x80\x80\x80"}) {
        expected[name] = EntryType::file;
    }
    for (const auto& [name, type] : expected)
        folder_.file(name);

    EXPECT_EQ(list(folder_.path()), expected);
}

TEST_F(DirectoryTest, AFolderOfManyBuffersIsListedWholeAndTheReaderCanBeUsedAgain) {
    constexpr int kFiles = 8'000;
    for (int number = 0; number < kFiles; ++number) {
        const std::string name = folder_.path("a file with a name of some length " + std::to_string(number));
        ::close(::open(name.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
    }
    EXPECT_EQ(list(folder_.path()).size(), kFiles);
    EXPECT_EQ(list(folder_.folder("empty")), Listing());
    EXPECT_EQ(list(folder_.path()).size(), kFiles + 1);
}

TEST_F(DirectoryTest, AReaderLeftHalfwayStartsAfreshOnTheNextFolder) {
    for (int number = 0; number < 5'000; ++number)
        folder_.file("many/" + std::to_string(number));
    folder_.file("few/only");
    OpenDirectory many;
    ASSERT_EQ(many.open(folder_.path("many")), 0);
    reader_.start(many);
    DirectoryEntry entry;
    ASSERT_TRUE(reader_.next(entry));

    EXPECT_EQ(list(folder_.path("few")), (Listing{{"only", EntryType::file}}));
}

TEST_F(DirectoryTest, AListingThatFailsEndsWithItsErrno) {
    OpenDirectory removed;
    ASSERT_EQ(removed.open(folder_.folder("gone")), 0);
    ::rmdir(folder_.path("gone").c_str());
    EXPECT_EQ(list(removed), Listing());
    EXPECT_EQ(reader_.error(), ENOENT);

    EXPECT_EQ(list(OpenDirectory()), Listing());
    EXPECT_EQ(reader_.error(), EBADF);

    EXPECT_EQ(list(folder_.path()), Listing());
    EXPECT_EQ(reader_.error(), 0) << "an old failure must not stick";
}

TEST_F(DirectoryTest, WhatCannotBeOpenedTellsWhy) {
    folder_.folder("sub");
    folder_.file("plain");
    ASSERT_EQ(::symlink("sub", folder_.path("link").c_str()), 0);
    ASSERT_EQ(::symlink("nowhere", folder_.path("dangling").c_str()), 0);
    ASSERT_EQ(::mkfifo(folder_.path("pipe").c_str(), 0600), 0);
    OpenDirectory parent;
    ASSERT_EQ(parent.open(folder_.path()), 0);

    OpenDirectory opened;
    EXPECT_EQ(opened.openAt(parent, "plain"), ENOTDIR);
    EXPECT_EQ(opened.openAt(parent, "pipe"), ENOTDIR);
    EXPECT_EQ(opened.openAt(parent, "absent"), ENOENT);
    EXPECT_EQ(opened.openAt(parent, "link"), ELOOP);
    EXPECT_EQ(opened.openAt(parent, "dangling"), ELOOP);
    EXPECT_EQ(opened.open(folder_.path("plain")), ENOTDIR);
    EXPECT_EQ(opened.open(std::string(4096, 'x')), ENAMETOOLONG);
    EXPECT_FALSE(opened.isOpen());
    EXPECT_EQ(opened.open(folder_.path("link")), 0) << "a path outright follows links";
    EXPECT_EQ(opened.openAt(parent, "absent"), ENOENT);
    EXPECT_TRUE(opened.isOpen()) << "a failure leaves what was open";
}

TEST_F(DirectoryTest, AnUnreadableFolderTellsEacces) {
    ASSERT_EQ(::chmod(folder_.folder("secret").c_str(), 0), 0);
    EXPECT_TRUE(holdsForOrdinaryUser([&] { return OpenDirectory().open(folder_.path("secret")) == EACCES; }));
}

TEST_F(DirectoryTest, FoldersDeeperThanAnyPathAreReachedOneByOne) {
    const std::string name(50, 'd');
    OpenDirectory current;
    ASSERT_EQ(current.open(folder_.path()), 0);
    for (int level = 0; level < 300; ++level) {
        ASSERT_EQ(::mkdirat(current.descriptor(), name.c_str(), 0700), 0);
        ASSERT_EQ(current.openAt(current, name.c_str()), 0);
    }
    const int bottom = ::openat(current.descriptor(), "bottom", O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    ASSERT_EQ(::write(bottom, "12345", 5), 5);
    ::close(bottom);

    EXPECT_EQ(list(current), (Listing{{"bottom", EntryType::file}}));
    FileAttributes attributes;
    EXPECT_EQ(current.attributesOf("bottom", attributes), 0);
    EXPECT_EQ(attributes.size, 5u);
}

TEST_F(DirectoryTest, AttributesAreThoseThatStatTells) {
    const std::string path = folder_.file("data", "hello");
    const timespec times[] = {{1'000'000'000, 5}, {-7, 999'999'999}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);

    FileAttributes attributes;
    ASSERT_EQ(readAttributes(path, false, attributes), 0);
    EXPECT_EQ(attributes.type, EntryType::file);
    EXPECT_EQ(attributes.size, 5u);
    EXPECT_EQ(attributes.accessed, (Timestamp{1'000'000'000, 5}));
    EXPECT_EQ(attributes.modified, (Timestamp{-7, 999'999'999}));
    EXPECT_EQ(attributes.device, status.st_dev);
    EXPECT_EQ(attributes.inode, status.st_ino);
    // Either not known or the moment of its making, never one of the times set above.
    EXPECT_TRUE(attributes.created == Timestamp{} || attributes.created.seconds > 1'700'000'000);
}

TEST_F(DirectoryTest, ALinkIsFollowedOnlyWhenAskedAndAFailureLeavesTheAttributes) {
    folder_.folder("sub");
    ASSERT_EQ(::symlink("sub", folder_.path("link").c_str()), 0);
    OpenDirectory parent;
    ASSERT_EQ(parent.open(folder_.path()), 0);

    FileAttributes attributes;
    EXPECT_EQ(readAttributes(folder_.path("link"), false, attributes), 0);
    EXPECT_EQ(attributes.type, EntryType::other);
    EXPECT_EQ(parent.attributesOf("link", attributes), 0);
    EXPECT_EQ(attributes.type, EntryType::other);
    EXPECT_EQ(readAttributes(folder_.path("link"), true, attributes), 0);
    EXPECT_EQ(attributes.type, EntryType::directory);
    EXPECT_EQ(readAttributes(folder_.path("absent"), true, attributes), ENOENT);
    EXPECT_EQ(parent.attributesOf("absent", attributes), ENOENT);
    EXPECT_EQ(attributes.type, EntryType::directory);
}

}  // namespace
}  // namespace kestrix
