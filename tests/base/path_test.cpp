#include "base/path.h"

#include <gtest/gtest.h>

namespace kestrix {
namespace {

using Views = std::vector<std::string_view>;

TEST(Path, ExtensionIsBehindTheLastDotOfTheLastComponent) {
    EXPECT_EQ(path::extension("/a/b.tar.gz"), "gz");
    EXPECT_EQ(path::extension("/a.b/c.app/"), "app");
    EXPECT_EQ(path::extension("..a"), "a");
    for (const std::string_view without : {"a.", ".profile", "/x/.profile", "/a.b/c", "", "/", "..", "."}) {
        EXPECT_EQ(path::extension(without), "") << without;
    }
}

TEST(Path, ComponentsAreNeverEmptyAndClimbingEndsAboveTheRoot) {
    EXPECT_EQ(path::components("//a/b//c/"), (Views{"a", "b", "c"}));
    EXPECT_EQ(path::components("/"), Views{});
    EXPECT_EQ(path::lastComponent("/a/b//"), "b");
    EXPECT_EQ(path::lastComponent("///"), "/");
    EXPECT_EQ(path::lastComponent(""), "");
    EXPECT_EQ(path::parent("/a/b/"), "/a");
    EXPECT_EQ(path::parent("/a//b"), "/a");
    EXPECT_EQ(path::parent("/a"), "/");
    EXPECT_EQ(path::parent("/"), "");
    EXPECT_EQ(path::parent("a"), "");
    EXPECT_EQ(path::parent("a/b"), "a");
}

TEST(Path, JoinDoublesNoSlash) {
    EXPECT_EQ(path::join("/a", "b"), "/a/b");
    EXPECT_EQ(path::join("/a/", "/b/c"), "/a/b/c");
    EXPECT_EQ(path::join("/", "b"), "/b");
    EXPECT_EQ(path::join("", "b"), "b");
    EXPECT_EQ(path::join("/a", ""), "/a");
}

TEST(Path, BelowIsByWholeComponents) {
    EXPECT_TRUE(path::isOrIsBelow("/usr", "/usr"));
    EXPECT_TRUE(path::isOrIsBelow("/usr/", "/usr"));
    EXPECT_TRUE(path::isOrIsBelow("/usr/a", "/usr/"));
    EXPECT_TRUE(path::isOrIsBelow("/usr", "/"));
    EXPECT_TRUE(path::isOrIsBelow("/", "/"));
    EXPECT_FALSE(path::isOrIsBelow("/usr2", "/usr"));
    EXPECT_FALSE(path::isOrIsBelow("/us", "/usr"));
    EXPECT_FALSE(path::isOrIsBelow("usr", "/"));
    EXPECT_FALSE(path::isOrIsBelow("/usr", ""));
}

TEST(Path, NormalizedTakesDotsOutByTextAlone) {
    EXPECT_EQ(path::normalized("/a/./b//../c/", "/w"), "/a/c");
    EXPECT_EQ(path::normalized("../x", "/w/v"), "/w/x");
    EXPECT_EQ(path::normalized("", "/w/"), "/w");
    EXPECT_EQ(path::normalized("/../..", "/w"), "/");
    EXPECT_EQ(path::normalized("../../../x", "/w"), "/x");
    EXPECT_EQ(path::normalized("/a/..b/...", "/w"), "/a/..b/...");
}

}  // namespace
}  // namespace kestrix
