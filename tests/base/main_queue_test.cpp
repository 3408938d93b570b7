#include "base/main_queue.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "base/notification_center.h"

namespace kestrix {

namespace {

using Log = std::vector<std::string>;

class MainQueueTest : public testing::Test {
  protected:
    MainQueue::Block note(std::string text) {
        return [this, text] { log.push_back(text); };
    }
    void pass(double seconds) {
        clock.advance(Seconds(seconds));
        loop.runPending();
    }

    ManualClock clock;
    RunLoop loop{clock};
    Log log;
};

// The same place in the source for every call.
void performFromOnePlace(GCDAdditions& delayed, double delay, MainQueue::Block block) {
    delayed.cancelPreviousThenPerform(Seconds(delay), std::move(block));
}

}  // namespace

TEST_F(MainQueueTest, BlocksRunInOrderOfDueTimeThenOfPosting) {
    loop.postAfter(Seconds(2), note("two"));
    loop.postAfter(Seconds(1), note("one a"));
    loop.postAfter(Seconds(1), note("one b"));
    loop.post([&] {
        loop.postAfter(Seconds(2), note("two b"));
        loop.post(note("posted"));
        log.push_back("now a");
    });
    loop.post(note("now b"));
    EXPECT_TRUE(log.empty());
    loop.runPending();
    EXPECT_EQ(log, (Log{"now a", "now b", "posted"}));
    pass(2);
    EXPECT_EQ(log, (Log{"now a", "now b", "posted", "one a", "one b", "two", "two b"}));
}

// What a block holds may use the loop while it ends, also when the block is taken back.
TEST_F(MainQueueTest, CancelDropsADelayedBlockAndIgnoresUnknownTickets) {
    std::shared_ptr<void> token(nullptr, [&](void*) { loop.post(note("freed")); });
    const auto ticket = loop.postAfter(Seconds(1), [this, held = std::move(token)] { log.push_back("ran"); });
    loop.postAfter(Seconds(1), note("other"));
    loop.cancel(ticket);
    loop.cancel(ticket);
    loop.cancel(987654);
    pass(1);
    EXPECT_EQ(log, (Log{"freed", "other"}));
}

TEST_F(MainQueueTest, RunWaitsThroughTheClockAndIsWokenByAPost) {
    const auto waitForLoop = [this] {
        while (clock.waiting() == 0)
            std::this_thread::yield();
    };
    loop.postAfter(Seconds(10), note("due"));
    loop.postAfter(Seconds(20), note("too late"));
    std::thread server([&] { loop.run(); });
    waitForLoop();
    clock.advance(Seconds(9));
    clock.advance(Seconds(1));
    waitForLoop();
    loop.post(note("posted"));
    loop.quit();
    server.join();
    EXPECT_EQ(log, (Log{"due", "posted"}));
}

TEST_F(MainQueueTest, QuitLetsRunWhatWasPostedBeforeItAndKeepsTheRest) {
    loop.post([&] {
        loop.post(note("before"));
        loop.quit();
        loop.post(note("after"));
    });
    loop.run();
    EXPECT_EQ(log, Log{"before"});
    loop.quit();
    loop.run();
    EXPECT_EQ(log, (Log{"before", "after"}));
}

TEST_F(MainQueueTest, ManyThreadsMayPostToARunningLoop) {
    RunLoop real;
    int ran = 0;
    std::vector<std::thread> posters;
    for (int thread = 0; thread < 3; ++thread) {
        posters.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                real.post([&] {
                    if (++ran == 1500) real.quit();
                });
                real.cancel(real.postAfter(Seconds(1000), [&] { ran = -1000000; }));
            }
        });
    }
    real.run();
    for (auto& poster : posters)
        poster.join();
    EXPECT_EQ(ran, 1500);
}

TEST_F(MainQueueTest, ASecondDelayedCallFromTheSamePlaceReplacesTheFirst) {
    GCDAdditions delayed(loop);
    auto held = std::make_shared<int>(0);
    performFromOnePlace(delayed, 1, [this, held] { log.push_back("first"); });
    delayed.cancelPreviousThenPerform(Seconds(1), note("elsewhere"));
    pass(0.5);
    performFromOnePlace(delayed, 1, note("second"));
    EXPECT_EQ(held.use_count(), 1) << "a replaced block is freed at once";
    pass(0.5);
    EXPECT_EQ(log, Log{"elsewhere"});
    pass(0.5);
    EXPECT_EQ(log, (Log{"elsewhere", "second"}));
    performFromOnePlace(delayed, 1, note("third"));
    pass(1);
    EXPECT_EQ(log, (Log{"elsewhere", "second", "third"}));
    for (int i = 0; i < 2; ++i)
        delayed.perform(Seconds(1), note("plain"));
    pass(1);
    EXPECT_EQ(log.size(), 5U) << "plain delayed calls do not replace each other";
}

TEST_F(MainQueueTest, DelayedCallsDoNotRunAfterCancelAllOrTheEndOfTheirOwner) {
    auto held = std::make_shared<int>(0);
    {
        GCDAdditions delayed(loop);
        delayed.perform(Seconds(1), [this, held] { log.push_back("cancelled"); });
        delayed.cancelAll();
        EXPECT_EQ(held.use_count(), 1) << "a cancelled block is freed at once";
        delayed.perform(Seconds(0), [this, held] { log.push_back("orphaned"); });
        performFromOnePlace(delayed, 1, [this, held] { log.push_back("orphaned too"); });
    }
    EXPECT_EQ(held.use_count(), 1);
    pass(1);
    EXPECT_EQ(log, Log{});
}

TEST_F(MainQueueTest, NotificationsReachTheObserversOfTheirNameOnTheMainQueue) {
    NotificationCenter center(loop);
    auto first = center.observe("changed", note("first"));
    auto second = center.observe("changed", note("second"));
    auto other = center.observe("other", note("other"));
    center.post("changed");
    center.post("nobody asks");
    EXPECT_TRUE(log.empty());
    loop.runPending();
    EXPECT_EQ(log, (Log{"first", "second"}));
}

TEST_F(MainQueueTest, AnEndedObservationIsNotCalledEvenWhenItsNotificationIsOnTheWay) {
    NotificationCenter center(loop);
    NotificationCenter::Observation second;
    auto first = center.observe("changed", [&] {
        log.push_back("first");
        second = {};
    });
    second = center.observe("changed", note("second"));
    auto moved = std::move(first);
    center.post("changed");
    loop.runPending();
    EXPECT_EQ(log, Log{"first"});
    moved = {};
    center.post("changed");
    loop.runPending();
    EXPECT_EQ(log, Log{"first"});
}

}  // namespace kestrix
