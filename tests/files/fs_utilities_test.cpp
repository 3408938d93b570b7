#include "files/fs_utilities.h"

#include <gtest/gtest.h>

namespace kestrix {
namespace {

TEST(FSUtilities, NothingBelowAStartInASystemFolderIsInOne) {
    EXPECT_FALSE(FSUtilities::isInsideOSDirectory("/usr/share/doc/x", "/usr/share/doc"));
    EXPECT_FALSE(FSUtilities::isInsideOSDirectory("/usr/lib", "/usr/"));
    EXPECT_FALSE(FSUtilities::isInsideOSDirectory("/usr", "/usr"));
    EXPECT_FALSE(FSUtilities::isInsideOSDirectory("/mnt/disk/usr", "/mnt/disk"));
}

TEST(FSUtilities, ThePathIsJudgedWholeFromTheRootAndOutsideTheStart) {
    EXPECT_TRUE(FSUtilities::isInsideOSDirectory("/"));
    EXPECT_FALSE(FSUtilities::isInsideOSDirectory("/usr2"));
    EXPECT_TRUE(FSUtilities::isInsideOSDirectory("/usr/lib", "/"));
    EXPECT_TRUE(FSUtilities::isInsideOSDirectory("/usr/lib", "/home"));
    EXPECT_TRUE(FSUtilities::isInsideOSDirectory("/usr/library", "/usr/lib"));
    EXPECT_FALSE(FSUtilities::isInsideOSDirectory("/home/u", "/"));
    EXPECT_TRUE(FSUtilities::isInvisibleOrInsidePackage("/home/.a/b", "/"));
    EXPECT_TRUE(FSUtilities::isInvisibleOrInsidePackage("/home/.ab/c", "/home/.a"));
}

TEST(FSUtilities, HiddenPlacesAndTheInsideOfPackagesAreClosed) {
    for (const char* path : {"/home/u/.config/x", "/home/u/.profile", ".git", "/opt/Mail.app/Contents",
                             "/opt/Mail.APP/x", "/opt/A.framework", "/opt/A.framework/", "/opt/v1.2/.x",
                             "/a/photos.old.photoslibrary/b", "/opt/A.framework/v/x.txt"}) {
        EXPECT_TRUE(FSUtilities::isInvisibleOrInsidePackage(path)) << path;
    }
    for (const char* path : {"", "/", "/home/u/a.txt", "/opt/Mail.app", "/opt/Mail.app/", "/opt/v1.2/a.b.c",
                             "/opt/app/x", "/opt/a./x", "/opt/Mail.app.d/x"}) {
        EXPECT_FALSE(FSUtilities::isInvisibleOrInsidePackage(path)) << path;
    }
}

TEST(FSUtilities, AStartThatIsHiddenOrInAPackageIsAnOrdinaryPlace) {
    EXPECT_FALSE(FSUtilities::isInvisibleOrInsidePackage("/h/.config/app/x", "/h/.config"));
    EXPECT_FALSE(FSUtilities::isInvisibleOrInsidePackage("/h/.config", "/h/.config/"));
    EXPECT_TRUE(FSUtilities::isInvisibleOrInsidePackage("/h/.config/.x", "/h/.config"));
    EXPECT_FALSE(FSUtilities::isInvisibleOrInsidePackage("/o/Mail.app/Contents", "/o/Mail.app"));
    EXPECT_TRUE(FSUtilities::isInvisibleOrInsidePackage("/o/Mail.app/Contents/P.bundle/x", "/o/Mail.app"));
}

// A walk that leaves out closed folders must hand over what the judgement of whole paths lets through.
TEST(FSUtilities, ClosedNamesAgreeWithTheJudgementOfWhatLiesInThem) {
    for (const std::string name :
         {".git", "Mail.app", "A.framework", "v1.2", "plain", "a.", "B.BUNDLE", "app"}) {
        EXPECT_EQ(FSUtilities::isClosedFolderName(name),
                  FSUtilities::isInvisibleOrInsidePackage("/a/" + name + "/child"))
            << name;
    }
}

TEST(FSUtilities, ExtensionsAndHiddenNamesAreThoseOfTheLastComponent) {
    EXPECT_TRUE(FSUtilities::hasPackageExtension("/opt/Mail.app/"));
    EXPECT_FALSE(FSUtilities::hasPackageExtension("/opt/Mail.app/Contents"));
    EXPECT_FALSE(FSUtilities::hasPackageExtension("/opt/.app"));
    EXPECT_TRUE(FSUtilities::isHidden("/a/.b"));
    EXPECT_FALSE(FSUtilities::isHidden("/.a/b"));
}

}  // namespace
}  // namespace kestrix
