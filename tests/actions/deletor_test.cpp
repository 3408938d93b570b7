#include "actions/deletor.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <thread>

#include "tests/files/fake_mount_table.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

class DeletorTest : public ::testing::Test, public DeletorView, public ActivityView {
  protected:
    DeletorTest() { activities_.setView(this); }
    ~DeletorTest() override { activities_.setView(nullptr); }

    bool confirm(const Warning& warning) override {
        asked_ = warning.message;
        return answer_;
    }
    void showActivityWindow() override { shown_ = true; }
    void activitiesChanged() override {
        for (const auto& item : activities_.items()) {
            const auto texts = item->texts();
            progress_.push_back(texts.leftText + "|" + texts.rightText);
        }
    }

    // Runs to the end and returns what was announced as gone.
    Texts deleted(const Texts& paths) {
        std::optional<Texts> gone;
        const auto observation = Deletor::itemsDeleted(notifications_, [&](const Texts& announced) {
            gone = announced;
            loop_.quit();
        });
        if (!deletor_.deleteUI(paths, *this)) return {"declined"};
        loop_.run();
        // The job leaves the list behind its announcement, on its own thread.
        while (!activities_.items().empty()) {
            std::this_thread::yield();
            loop_.runPending();
        }
        return *gone;
    }

    TemporaryFolder folder_;
    RunLoop loop_;
    NotificationCenter notifications_{loop_};
    ActivityController activities_{loop_, notifications_};
    GMTrace trace_;
    Texts alerts_;
    GuruMeditation failures_{loop_, trace_,
                             [this](const Error& error, const std::function<std::string()>&) {
                                 alerts_.emplace_back(error.what());
                             },
                             "1"};
    FakeMountTable mounts_;
    bool answer_ = true, shown_ = false;
    std::string asked_;
    Texts progress_;
    Deletor deletor_{{notifications_, activities_, failures_, mounts_}};
};

TEST_F(DeletorTest, WarnsWithTheCountAndDeletesNothingIfDeclined) {
    const Texts files = {folder_.file("one"), folder_.file("two"), folder_.file("three")};
    answer_ = false;
    EXPECT_EQ(deleted(files), Texts{"declined"});
    EXPECT_EQ(asked_, "Are you sure you want to delete “one” and 2 other item(s)?");
    EXPECT_EQ(deleted({files[0]}), Texts{"declined"});
    EXPECT_EQ(asked_, "Are you sure you want to delete “one”?");
    asked_ = "nothing";
    EXPECT_EQ(deleted({}), Texts{"declined"});
    EXPECT_EQ(asked_, "nothing");
    for (const auto& file : files)
        EXPECT_TRUE(fs::exists(file)) << file;
    EXPECT_FALSE(shown_);
}

TEST_F(DeletorTest, WhatCannotGoIsToldAndTheRestGoes) {
    const std::string one = folder_.file("one"), missing = folder_.path("missing");
    folder_.file("tree/deep/file");
    EXPECT_EQ(deleted({one, missing, folder_.path("tree")}), (Texts{one, folder_.path("tree")}));
    EXPECT_EQ(alerts_, Texts{"cannot delete " + missing + ": No such file or directory"});
    EXPECT_TRUE(shown_);
    EXPECT_EQ(progress_.front().substr(0, 19), "Deleting 3 Item(s)|");
    EXPECT_FALSE(fs::exists(folder_.path("tree")));
}

TEST_F(DeletorTest, FolderThatHoldsAMountIsNotTouched) {
    const std::string file = folder_.file("tree/file");
    mounts_.mount(folder_.folder("tree/disk"), "ext4", "/dev/sdb1");
    EXPECT_EQ(deleted({folder_.path("tree"), folder_.path("tree/disk")}), Texts());
    EXPECT_EQ(alerts_.size(), 2u);
    EXPECT_TRUE(fs::exists(file));
    EXPECT_EQ(deleted({file}), Texts{file}) << "beside the mount point";
}

// The clock is asked after each file that went: there the user cancels the job in the list.
class CancellingClock : public ManualClock {
  public:
    SteadyTime steadyNow() const override {
        if (--calls == 0) cancel();
        return ManualClock::steadyNow();
    }
    mutable int calls = 6;
    std::function<void()> cancel;
};

TEST_F(DeletorTest, CancelHalfWayKeepsWhatIsNotReached) {
    for (const char* file : {"one", "tree/a", "tree/b", "tree/c", "tree/d", "two"})
        folder_.file(file);
    CancellingClock clock;
    clock.cancel = [&] {
        loop_.runPending();
        const auto job = activities_.items().front();
        EXPECT_EQ(job->texts().rightText, "2 of 3");
        job->cancel();
    };
    Texts gone;
    const auto observation =
        Deletor::itemsDeleted(notifications_, [&](const Texts& announced) { gone = announced; });
    const DeletorEnvironment environment{notifications_, activities_, failures_, mounts_, clock};
    std::make_shared<DeletorWorker>(Texts{folder_.path("one"), folder_.path("tree"), folder_.path("two")},
                                    environment)
        ->deleteItems();
    loop_.runPending();
    EXPECT_EQ(gone, Texts{folder_.path("one")});
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path("tree")), {}), 1);
    EXPECT_TRUE(fs::exists(folder_.path("two")));
    EXPECT_EQ(alerts_, Texts());
}

}  // namespace
}  // namespace kestrix
