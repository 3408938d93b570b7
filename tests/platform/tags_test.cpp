#include "platform/tags.h"

#include <gtest/gtest.h>
#include <sys/xattr.h>

#include <filesystem>

#include "base/error.h"
#include "platform/extended_attributes.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

using Tags = std::vector<std::string>;

class TagsTest : public testing::Test {
  protected:
    void SetUp() override {
        if (::setxattr(file_.c_str(), "user.xdg.tags", "x", 1, 0) != 0)
            GTEST_SKIP() << "no extended attributes here";
        ::removexattr(file_.c_str(), "user.xdg.tags");
    }
    void putRaw(std::string_view value) {
        ASSERT_EQ(::setxattr(file_.c_str(), "user.xdg.tags", value.data(), value.size(), 0), 0);
    }

    TemporaryFolder folder_;
    std::string file_ = folder_.file("file");
};

TEST_F(TagsTest, WhatIsWrittenIsReadAgainOnFilesAndFolders) {
    const Tags tags{"red", "to do", "\"quoted\"", "\U0001F34E apple", std::string(500, 'x')};
    for (const std::string& path : {file_, folder_.path()}) {
        EXPECT_EQ(readTags(path), Tags());
        writeTags(path, tags);
        EXPECT_EQ(readTags(path), tags);
        writeTags(path, {"blue"});
        EXPECT_EQ(readTags(path), Tags{"blue"});
    }
}

TEST_F(TagsTest, TagsAreTidiedOnTheirWayInAndOut) {
    writeTags(file_, {" red ", "blue", "red"});
    EXPECT_EQ(readTags(file_), (Tags{"red", "blue"}));
    putRaw(", red ,,\tblue,");
    EXPECT_EQ(readTags(file_), (Tags{"red", "blue"}));
    putRaw("");
    EXPECT_EQ(readTags(file_), Tags());
}

TEST_F(TagsTest, NoTagsTakeTheAttributeAway) {
    writeTags(file_, {"red"});
    writeTags(file_, {});
    EXPECT_TRUE(listExtendedAttributes(file_).empty());
    EXPECT_NO_THROW(writeTags(file_, {}));
}

TEST_F(TagsTest, WhatCannotBeStoredIsRefusedAndChangesNothing) {
    writeTags(file_, {"red"});
    EXPECT_THROW(writeTags(file_, {"blue", "a,b"}), Error);
    EXPECT_THROW(writeTags(file_, {"blue", " "}), Error);
    EXPECT_THROW(writeTags(file_, {std::string(100'000, 'x')}), Error);
    EXPECT_EQ(readTags(file_), Tags{"red"});
}

TEST_F(TagsTest, FailuresNameTheFile) {
    EXPECT_EQ(readTags(folder_.path("gone")), Tags());
    try {
        writeTags(folder_.path("gone"), {"red"});
        FAIL();
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), ENOENT);
        EXPECT_NE(std::string(error.what()).find(folder_.path("gone")), std::string::npos) << error.what();
    }
    EXPECT_THROW(writeTags("/proc/version", {"red"}), Error);
    EXPECT_EQ(readTags("/proc/version"), Tags());
}

}  // namespace
}  // namespace kestrix
