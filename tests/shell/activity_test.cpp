#include "shell/activity.h"

#include <gtest/gtest.h>

#include <thread>

namespace kestrix {
namespace {

// A window that opens and closes as it is told.
struct Window : ActivityView {
    void activitiesChanged() override { ++changes; }
    bool showActivities() override {
        ++shows;
        return !std::exchange(open, true);
    }
    void closeActivities() override { open = false; }

    bool open = false;
    int changes = 0;
    int shows = 0;
};

class ActivityTest : public ::testing::Test {
  protected:
    ActivityTest() { controller.setView(&window); }
    ~ActivityTest() override { controller.setView(nullptr); }

    std::shared_ptr<ActivityItem> begin(const std::string& name, bool autoShow = true) {
        ActivityItem::Options options;
        options.autoShowWindow = autoShow;
        auto item = controller.begin(name, "", options);
        queue.runPending();
        return item;
    }
    void remove(const std::shared_ptr<ActivityItem>& item) {
        controller.remove(item->id());
        queue.runPending();
    }
    void pass(int seconds) {
        for (int second = 0; second < seconds; ++second) {
            clock.advance(Seconds(1));
            queue.runPending();
        }
    }
    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& item : controller.items())
            names.push_back(item->texts().leftText);
        return names;
    }

    ManualClock clock;
    RunLoop queue{clock};
    NotificationCenter notifications{queue};
    Window window;
    ActivityController controller{queue, notifications, clock};
};

TEST_F(ActivityTest, SaveFromAnyThreadShowsOnceTheMainQueueHasRun) {
    std::shared_ptr<ActivityItem> item;
    std::thread([&] { item = controller.begin("walk", "", {}); }).join();
    EXPECT_FALSE(controller.isActivityForID(item->id()));
    queue.runPending();
    EXPECT_TRUE(controller.isActivityForID(item->id()));
}

TEST_F(ActivityTest, ItemsKeepTheOrderOfCreationAndAreReplacedInPlace) {
    const auto walk = begin("walk");
    const auto build = begin("build");
    walk->change([](auto& texts) { texts.leftText = "walk on"; });
    controller.save(walk);
    queue.runPending();
    EXPECT_EQ(names(), (std::vector<std::string>{"walk on", "build"}));
    remove(walk);
    remove(walk);
    EXPECT_EQ(names(), (std::vector<std::string>{"build"}));
}

TEST_F(ActivityTest, SaveAndRemoveAreAnnounced) {
    int announced = 0;
    const auto observation =
        notifications.observe(ActivityController::StatusChangedNotification, [&] { ++announced; });
    const auto item = begin("walk");
    EXPECT_EQ(announced, 1);
    EXPECT_EQ(window.changes, 1);
    remove(item);
    EXPECT_EQ(announced, 2);
    EXPECT_EQ(window.changes, 2);
    EXPECT_EQ(controller.didChangeAt(), clock.now());
}

TEST_F(ActivityTest, TickPublishesOnceWhatWasSaved) {
    begin("walk", false);
    pass(1);
    const WallTime first = clock.now();
    EXPECT_EQ(controller.didChangeAt(), first);
    pass(5);
    EXPECT_EQ(controller.didChangeAt(), first);
    EXPECT_EQ(window.shows, 0) << "it did not ask for the window";
}

TEST_F(ActivityTest, JobThatEndsWithinTwoSecondsNeverOpensTheWindow) {
    const auto item = begin("copy");
    pass(2);
    EXPECT_FALSE(window.open) << "two seconds exactly are not past yet";
    remove(item);
    pass(5);
    EXPECT_EQ(window.shows, 0);
}

TEST_F(ActivityTest, WindowStaysForTheUserWhoOpenedItAndForOtherJobs) {
    window.open = true;
    const auto quiet = begin("quiet", false);
    const auto copy = begin("copy");
    pass(3);
    remove(copy);
    remove(quiet);
    EXPECT_TRUE(window.open);

    window.open = false;
    const auto loud = begin("loud");
    const auto other = begin("other", false);
    pass(3);
    remove(loud);
    EXPECT_TRUE(window.open);
}

TEST_F(ActivityTest, WindowClosedByTheUserStaysClosed) {
    begin("copy");
    pass(3);
    window.open = false;
    controller.windowClosedManually();
    begin("delete");
    pass(5);
    EXPECT_FALSE(window.open);
}

TEST_F(ActivityTest, WindowThatOpenedItselfClosesWithTheLastJobAndTheTimerRestsUntilTheNext) {
    remove(begin("short"));
    const auto item = begin("long");
    pass(3);
    EXPECT_TRUE(window.open);
    remove(item);
    EXPECT_FALSE(window.open);
    const int changes = window.changes;
    pass(5);
    EXPECT_EQ(window.changes, changes);
}

TEST_F(ActivityTest, BlocksThatOutliveTheControllerDoNothing) {
    auto shortLived = std::make_unique<ActivityController>(queue, notifications, clock);
    shortLived->setView(&window);
    shortLived->begin("walk", "", {});
    queue.runPending();
    shortLived->begin("build", "", {});
    shortLived.reset();
    const int changes = window.changes;
    pass(2);
    EXPECT_EQ(window.changes, changes);
}

TEST_F(ActivityTest, CancelIsNotedBeforeTheJobIsAsked) {
    struct Job : ActivityItemCancelProtocol {
        void cancel(ActivityItem& item) override { sawWish = item.hasCanceled(); }
        bool sawWish = false;
    };
    const auto job = std::make_shared<Job>();
    bool functionSawWish = false;
    ActivityItem::Options options;
    options.cancelFunc = [&](ActivityItem& item) { functionSawWish = item.hasCanceled(); };
    const auto byFunction = controller.begin("a", "", options);
    options.cancelTarget = job;
    const auto byTarget = controller.begin("b", "", options);

    byTarget->cancel();
    EXPECT_TRUE(job->sawWish);
    EXPECT_FALSE(functionSawWish);
    byFunction->cancel();
    EXPECT_TRUE(functionSawWish);
}

}  // namespace
}  // namespace kestrix
