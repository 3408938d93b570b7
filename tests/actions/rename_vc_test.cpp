#include "actions/rename_vc.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "base/error.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

namespace fs = std::filesystem;

class RenameTest : public ::testing::Test {
  protected:
    // What renaming the file that is asked for failed with; empty if it did not.
    std::string failureOf(const std::string& newName) {
        try {
            rename_.rename(newName);
        } catch (const Error& failure) {
            return failure.what();
        }
        return "";
    }
    std::string nameAsked() const {
        const auto question = rename_.askToRename();
        return question ? question->name + "|" + question->position + "|" + question->stopButton : "closed";
    }

    TemporaryFolder folder_;
    RunLoop loop_;
    NotificationCenter notifications_{loop_};
    RenameVC rename_{notifications_};
    std::vector<RenameVC::Renamed> announced_;
    NotificationCenter::Observation observation_ = RenameVC::itemsRenamed(
        notifications_,
        [this](const auto& pairs) { announced_.insert(announced_.end(), pairs.begin(), pairs.end()); });
};

TEST_F(RenameTest, FilesAreAskedForOneByOneAndEachRenamingIsAnnounced) {
    const std::string one = folder_.file("one"), two = folder_.file("two \xff");
    rename_.show({one, two});
    EXPECT_EQ(rename_.askToRename()->title, "Rename \"one\"");
    EXPECT_EQ(nameAsked(), "one|1 of 2|Stop");
    rename_.rename("1");
    EXPECT_EQ(nameAsked(), "two \xff|2 of 2|Stop");
    rename_.rename("two \xff");
    EXPECT_EQ(nameAsked(), "closed");
    loop_.runPending();
    EXPECT_EQ(announced_, (std::vector<RenameVC::Renamed>{{one, folder_.path("1")}}));
    EXPECT_TRUE(fs::exists(folder_.path("1")) && fs::exists(two) && !fs::exists(one));
    rename_.show({two});
    EXPECT_EQ(nameAsked(), "two \xff||Cancel");
}

TEST_F(RenameTest, FailureStopsTheSequenceAndChangesNothing) {
    const std::string file = folder_.file("file", "mine"), other = folder_.file("other", "kept");
    const std::string behind = folder_.file("behind");
    const auto refused = [&](const std::string& newName) {
        rename_.show({file, behind});
        const std::string failure = failureOf(newName);
        EXPECT_EQ(nameAsked(), "closed");
        return failure.substr(std::min(failure.size(), ("cannot rename " + file + ": ").size()));
    };
    EXPECT_EQ(refused("other"), "there is a \"other\" already");
    EXPECT_EQ(refused(""), "the new name is no name");
    EXPECT_EQ(refused(".."), "the new name is no name");
    EXPECT_EQ(refused("a/b"), "the new name \"a/b\" holds a slash; files are not moved");
    EXPECT_EQ(refused(std::string(300, 'x')), "File name too long");
    fs::create_hard_link(file, folder_.path("File"));
    EXPECT_EQ(refused("File"), "there is a \"File\" already")
        << "a second name of the same file is in the way too";
    fs::remove(file);
    EXPECT_EQ(refused("new"), "No such file or directory");
    loop_.runPending();
    EXPECT_TRUE(announced_.empty());
    EXPECT_EQ(fs::file_size(other), 4u);
}

TEST_F(RenameTest, FilesInARenamedFolderAreFollowed) {
    const std::string file = folder_.file("folder/file"), beside = folder_.file("folder2");
    rename_.show({folder_.path("folder"), file, beside});
    rename_.rename("moved");
    rename_.rename("FILE");
    EXPECT_TRUE(fs::exists(folder_.path("moved/FILE")) && !fs::exists(folder_.path("moved/file")));
    EXPECT_EQ(rename_.itemsLeft(), std::vector{beside});
}

}  // namespace
}  // namespace kestrix
