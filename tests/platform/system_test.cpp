// Tables and facts of this platform.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "base/error.h"
#include "platform/extended_attributes.h"
#include "platform/system_info.h"
#include "platform/system_rules.h"
#include "platform/user_folders.h"
#include "tests/platform/child_process.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

TEST(SystemRules, SystemFoldersHoldWhatLiesInThemByWholeComponents) {
    for (const char* path : {"/usr", "/usr/share/doc", "/lost+found/x", "/tmp/a", "/var", "/boot/grub"}) {
        EXPECT_TRUE(isInSystemFolder(path)) << path;
    }
    for (const char* path :
         {"/usr2", "/", "", "/home/usr", "/opt", "/srv", "/mnt", "/media/x", "usr", "/Usr"}) {
        EXPECT_FALSE(isInSystemFolder(path)) << path;
    }
}

TEST(SystemRules, TheFolderOfRootIsASystemFolderForOthersOnly) {
    EXPECT_TRUE(holdsForOrdinaryUser([] { return isInSystemFolder("/root/x") && isInSystemFolder("/usr"); }));
    if (::geteuid() == 0) {
        EXPECT_FALSE(isInSystemFolder("/root/x"));
        EXPECT_TRUE(isInSystemFolder("/var"));
    }
}

TEST(SystemRules, PackagesAreKnownByExtensionInAnyCase) {
    for (const char* extension : {"app", "APP", "PhotosLibrary", "xpc", "action", "migratedphotolibrary"}) {
        EXPECT_TRUE(isPackageExtension(extension)) << extension;
    }
    for (const char* extension :
         {"", "ap", "apps", ".app", "lproj", "txt", "a very long extension, too long"}) {
        EXPECT_FALSE(isPackageExtension(extension)) << extension;
    }
}

class UserFoldersTest : public testing::Test {
  protected:
    // The folders in an environment of only these variables, as "settings data cache".
    static std::string withEnvironment(std::initializer_list<std::pair<const char*, const char*>> variables) {
        for (const char* name :
             {"KESTRIX_HOME", "HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
            ::unsetenv(name);
        }
        for (const auto& [name, value] : variables)
            ::setenv(name, value, 1);
        const UserFolders folders = UserFolders::fromEnvironment();
        return folders.settingsFile + " " + folders.data + " " + folders.cache;
    }

    void TearDown() override { ::setenv("HOME", home_.c_str(), 1); }

    const std::string home_ = ::getenv("HOME") == nullptr ? "" : ::getenv("HOME");
};

TEST_F(UserFoldersTest, TheUsualPlacesLieBelowHome) {
    EXPECT_EQ(withEnvironment({{"HOME", "/h/u/"}}),
              "/h/u/.config/kestrix/settings.json /h/u/.local/share/kestrix /h/u/.cache/kestrix");
    const passwd* entry = ::getpwuid(::getuid());
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(UserFolders::fromEnvironment().home, entry->pw_dir) << "not that of $HOME";
    const std::string without = withEnvironment({});
    EXPECT_EQ(without.substr(0, without.find(' ')),
              entry->pw_dir + std::string("/.config/kestrix/settings.json"));
}

TEST_F(UserFoldersTest, SharedDataLiesInTheUsersFolderFirst) {
    using Folders = std::vector<std::string>;
    withEnvironment({{"HOME", "/h"}, {"KESTRIX_HOME", "/own"}});
    ::unsetenv("XDG_DATA_DIRS");
    EXPECT_EQ(sharedDataFolders(), (Folders{"/h/.local/share", "/usr/local/share", "/usr/share"}));
    ::setenv("XDG_DATA_HOME", "/d/", 1);
    ::setenv("XDG_DATA_DIRS", "/a/:relative::/b", 1);
    EXPECT_EQ(sharedDataFolders(), (Folders{"/d", "/a", "/b"}));
    ::unsetenv("XDG_DATA_DIRS");
}

TEST_F(UserFoldersTest, BaseDirectoriesCountOnlyWhenAbsolute) {
    EXPECT_EQ(withEnvironment({{"HOME", "/h"},
                               {"XDG_CONFIG_HOME", "/c/"},
                               {"XDG_DATA_HOME", "relative/data"},
                               {"XDG_CACHE_HOME", ""}}),
              "/c/kestrix/settings.json /h/.local/share/kestrix /h/.cache/kestrix");
}

TEST_F(UserFoldersTest, OneFolderHoldsAllWhenNamed) {
    const std::string here = workingDirectory();
    EXPECT_EQ(withEnvironment({{"KESTRIX_HOME", "/k/x/"}, {"XDG_CONFIG_HOME", "/c"}}),
              "/k/x/settings.json /k/x/data /k/x/cache");
    EXPECT_EQ(withEnvironment({{"KESTRIX_HOME", "./sub/../k"}}),
              here + "/k/settings.json " + here + "/k/data " + here + "/k/cache");
    EXPECT_EQ(withEnvironment({{"KESTRIX_HOME", ""}, {"HOME", "/h"}}).substr(0, 11), "/h/.config/");
}

TEST(SystemInfo, FactsAreThoseOfThisProcess) {
    EXPECT_EQ(operatingSystemVersion().substr(0, 6), "Linux ");
    EXPECT_EQ(operatingSystemVersion().find_first_of("\"\\\n"), std::string::npos);
    EXPECT_NE(processorArchitecture(), "");
    EXPECT_GE(processorCount(), 1);
    EXPECT_EQ(processName(), "kestrix_platform_test");
}

TEST(SystemInfo, PeakMemoryGrowsWithWhatIsTouched) {
    EXPECT_TRUE(holdsInChild([] {
        const std::size_t before = peakMemory();
        constexpr std::size_t kSize = 64 << 20;
        const std::string touched(kSize, 'x');
        return before > 0 && before < (std::size_t{4} << 30) && peakMemory() >= before + kSize / 2 &&
               touched.back() == 'x';
    }));
}

TEST(SystemInfo, PathsAreResolvedAndALostWorkingDirectoryThrows) {
    TemporaryFolder folder;
    folder.file("a/file");
    ASSERT_EQ(::symlink("a", folder.path("link").c_str()), 0);
    EXPECT_EQ(resolvedPath(folder.path("link/../link/file")), folder.path("a/file"));
    EXPECT_EQ(resolvedPath(folder.path("absent")), "");
    EXPECT_TRUE(holdsInChild([&] {
        if (::chdir(folder.path("link").c_str()) != 0 || workingDirectory() != folder.path("a")) return false;
        std::filesystem::remove_all(folder.path("a"));
        try {
            workingDirectory();
        } catch (const Error& error) {
            return error.code() == ENOENT;
        }
        return false;
    }));
}

TEST(SystemInfo, ReservingDescriptorsUsesNoneUp) {
    const int before = ::dup(STDIN_FILENO);
    ::close(before);
    reserveDescriptors(512);
    const int after = ::dup(STDIN_FILENO);
    ::close(after);
    EXPECT_EQ(after, before);
    EXPECT_EQ(::fcntl(511, F_GETFD), -1);
}

TEST(ExtendedAttributes, OnlyThoseOfTheUserAreListed) {
    TemporaryFolder folder;
    const std::string file = folder.file("f");
    EXPECT_TRUE(listExtendedAttributes(file).empty());
    EXPECT_TRUE(listExtendedAttributes(folder.path("absent")).empty());
    if (::setxattr(file.c_str(), "user.xdg.tags", "a,b", 3, 0) != 0) GTEST_SKIP() << "not kept here";
    ASSERT_EQ(::setxattr(file.c_str(), "user.empty", "", 0, 0), 0);
    if (::geteuid() == 0) ::setxattr(file.c_str(), "trusted.ours", "x", 1, 0);
    ASSERT_EQ(::symlink("f", folder.path("link").c_str()), 0);

    auto names = listExtendedAttributes(folder.path("link"));
    std::ranges::sort(names);
    EXPECT_EQ(names, (std::vector<std::string>{"user.empty", "user.xdg.tags"}));
}

}  // namespace
}  // namespace kestrix
