#include "base/operation_queue.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <set>

namespace kestrix {

namespace {

// Threads that come to it wait until it is opened; a test waits until so many have come.
class Gate {
  public:
    void come() {
        std::lock_guard hold(mutex_);
        ++came_;
        changed_.notify_all();
    }
    void pass() {
        come();
        std::unique_lock hold(mutex_);
        changed_.wait(hold, [&] { return open_; });
    }
    // False if fewer came within a time that only a fault can use up.
    bool waitFor(int count) {
        std::unique_lock hold(mutex_);
        return changed_.wait_for(hold, std::chrono::seconds(20), [&] { return came_ >= count; });
    }
    void open() {
        std::lock_guard hold(mutex_);
        open_ = true;
        changed_.notify_all();
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int came_ = 0;
    bool open_ = false;
};

}  // namespace

// The vector has no lock: the thread sanitizer fails if two operations overlap.
TEST(OperationQueue, SerialQueueKeepsOrderAndNeverOverlaps) {
    SerialQueue queue;
    std::vector<int> ran;
    std::vector<int> expected;
    for (int i = 0; i < 2000; ++i) {
        queue.add([&ran, i] { ran.push_back(i); });
        expected.push_back(i);
    }
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(ran, expected);
}

TEST(OperationQueue, UsesItsWholeWidthAndNoMore) {
    for (const auto& [width, expected] : {std::pair{std::size_t{3}, 3}, {OperationQueue::kUnlimited, 20}}) {
        OperationQueue queue(width);
        Gate gate;
        std::atomic<int> running = 0;
        std::atomic<int> most = 0;
        for (int i = 0; i < 20; ++i) {
            queue.add([&] {
                const int now = ++running;
                int seen = most;
                while (now > seen && !most.compare_exchange_weak(seen, now)) {
                }
                gate.pass();
                --running;
            });
        }
        EXPECT_TRUE(gate.waitFor(expected));
        gate.open();
        queue.waitUntilAllOperationsAreFinished();
        EXPECT_EQ(most, expected);
    }
}

TEST(OperationQueue, AnIdleThreadIsUsedAgain) {
    for (std::size_t width : {std::size_t{4}, OperationQueue::kUnlimited}) {
        OperationQueue queue(width);
        std::set<std::thread::id> threads;
        for (int i = 0; i < 100; ++i) {
            queue.add([&] { threads.insert(std::this_thread::get_id()); });
            queue.waitUntilAllOperationsAreFinished();
        }
        EXPECT_EQ(threads.size(), 1u) << "width " << width;
    }
}

TEST(OperationQueue, CancelDropsOnlyWhatHasNotStarted) {
    SerialQueue queue;
    Gate gate;
    std::vector<int> ran;
    queue.add([&] {
        gate.pass();
        ran.push_back(1);
    });
    queue.add([&] { ran.push_back(2); });
    ASSERT_TRUE(gate.waitFor(1));
    queue.cancelAllOperations();
    queue.add([&] { ran.push_back(3); });
    gate.open();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(ran, (std::vector<int>{1, 3}));
}

TEST(OperationQueue, CancellingTheLastOperationLetsWaitersGo) {
    for (int round = 0; round < 50; ++round) {
        OperationQueue queue(1);
        queue.setSuspended(true);
        queue.add([] { FAIL() << "a cancelled operation ran"; });
        Gate waiting;
        Gate finished;
        std::thread waiter([&] {
            waiting.come();
            queue.waitUntilAllOperationsAreFinished();
            finished.come();
        });
        ASSERT_TRUE(waiting.waitFor(1));
        for (int i = 0; i < 20; ++i)
            std::this_thread::yield();  // most rounds cancel under a sleeping waiter
        queue.cancelAllOperations();
        const bool letGo = finished.waitFor(1);
        queue.setSuspended(false);
        queue.add([] {});  // frees a forgotten waiter
        waiter.join();
        ASSERT_TRUE(letGo);
    }
}

TEST(OperationQueue, ASuspendedQueueStartsNothingUntilItIsResumed) {
    OperationQueue queue(3);
    Gate gate;
    std::atomic<bool> resumed = false;
    std::atomic<int> early = 0;
    queue.add([] {});
    queue.waitUntilAllOperationsAreFinished();
    queue.setSuspended(true);
    for (int i = 0; i < 3; ++i) {
        queue.add([&] {
            if (!resumed) ++early;
            gate.pass();
        });
    }
    resumed = true;
    queue.setSuspended(false);
    EXPECT_TRUE(gate.waitFor(3)) << "resuming wakes the idle thread and uses the whole width at once";
    gate.open();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(early, 0);
}

TEST(OperationQueue, BlockerHoldsCallersUntilItIsReleased) {
    Blocker blocker;
    std::atomic<bool> released = false;
    std::vector<std::future<bool>> callers;
    for (int i = 0; i < 3; ++i) {
        callers.push_back(std::async(std::launch::async, [&] {
            blocker.wait();
            return released.load();
        }));
    }
    released = true;
    blocker.release();
    for (auto& caller : callers)
        EXPECT_TRUE(caller.get());
    blocker.wait();
}

TEST(OperationQueue, DestructionDropsWhatWaitsAndFinishesWhatRuns) {
    Gate gate;
    std::vector<int> ran;
    Gate dropped;
    std::shared_ptr<void> token(nullptr, [&](void*) { dropped.come(); });
    auto queue = std::make_unique<SerialQueue>();
    queue->add([&] {
        gate.pass();
        EXPECT_TRUE(dropped.waitFor(1));
        ran.push_back(1);
    });
    queue->add([&ran, held = std::move(token)] { ran.push_back(2); });
    ASSERT_TRUE(gate.waitFor(1));
    gate.open();
    queue.reset();
    EXPECT_EQ(ran, std::vector<int>{1});

    OperationQueue suspended(1);
    suspended.setSuspended(true);
    suspended.add([] { FAIL() << "a dropped operation ran"; });
}

TEST(OperationQueue, ARunningOperationMayAddWhileTheQueueIsDestroyed) {
    for (int round = 0; round < 50; ++round) {
        auto queue = std::make_unique<TrackableOperationQueue>(1);
        Gate started;
        std::atomic<bool> ending = false;
        queue->add([&, raw = queue.get()] {
            started.come();
            while (!ending)
                raw->add([] {});
            for (int i = 0; i < 100; ++i)
                raw->add([] {});
        });
        ASSERT_TRUE(started.waitFor(1));
        ending = true;
        queue.reset();
    }
}

TEST(OperationQueue, AnOperationMayHoldTheLastReferenceToItsQueue) {
    for (int round = 0; round < 100; ++round) {
        Gate gate;
        Gate freed;
        Gate dropped;
        Gate otherEnded;
        std::shared_ptr<OperationQueue> queue(new OperationQueue(2), [&](OperationQueue* last) {
            delete last;
            freed.come();
        });
        std::shared_ptr<void> token(nullptr, [&](void*) { dropped.come(); });
        queue->add([&] {
            gate.pass();
            otherEnded.come();
        });
        ASSERT_TRUE(gate.waitFor(1));
        OperationQueue* raw = queue.get();
        raw->setSuspended(true);
        raw->add([last = std::move(queue)] {});
        raw->add([held = std::move(token)] {});
        raw->setSuspended(false);
        EXPECT_TRUE(freed.waitFor(1)) << "without waiting for the other operation, which still runs";
        EXPECT_TRUE(dropped.waitFor(1)) << "both threads are busy, so what is queued goes with the queue";
        gate.open();
        EXPECT_TRUE(otherEnded.waitFor(1));
    }
}

TEST(OperationQueue, WaitReturnsOnlyWhenOperationsAndWhatTheyHoldAreGone) {
    OperationQueue queue(3);
    auto held = std::make_shared<int>(0);
    for (int round = 0; round < 500; ++round) {
        for (int i = 0; i < 5; ++i)
            queue.add([held] {});
        queue.waitUntilAllOperationsAreFinished();
        ASSERT_EQ(held.use_count(), 1);
    }
}

// Each adder waits for its own work amid that of the others, while one more thread stops and starts the
// queue.
TEST(OperationQueue, ManyThreadsMayAddWaitAndSuspendAtOnce) {
    OperationQueue queue(3);
    std::atomic<bool> over = false;
    std::thread switcher([&] {
        while (!over) {
            queue.setSuspended(true);
            queue.setSuspended(false);
        }
    });
    std::vector<std::thread> adders;
    for (int thread = 0; thread < 3; ++thread) {
        adders.emplace_back([&] {
            std::atomic<int> ran = 0;
            for (int i = 1; i <= 300; ++i) {
                queue.add([&] { ++ran; });
                if (i % 10 != 0) continue;
                queue.waitUntilAllOperationsAreFinished();
                EXPECT_EQ(ran, i);
            }
        });
    }
    for (auto& adder : adders)
        adder.join();
    over = true;
    switcher.join();
}

TEST(OperationQueue, TrackableQueueCountsQueuedAndRunningButNotDropped) {
    TrackableOperationQueue queue(1);
    Gate gate;
    EXPECT_EQ(queue.activeOperations(), 0);
    queue.add([&] { gate.pass(); });
    queue.add([] {});
    queue.add([] {});
    ASSERT_TRUE(gate.waitFor(1));
    EXPECT_EQ(queue.activeOperations(), 3);
    queue.cancelAllOperations();
    EXPECT_EQ(queue.activeOperations(), 1);
    gate.open();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(queue.activeOperations(), 0);
}

TEST(OperationQueue, NameTellsThePlaceOfCreation) {
    OperationQueue named(1, "walk");
    const auto line = std::to_string(std::source_location::current().line() - 1);
    EXPECT_EQ(named.name(), "walk operation_queue_test.cpp:" + line);
    EXPECT_EQ(SerialQueue().name().substr(0, 25), "operation_queue_test.cpp:");
}

}  // namespace kestrix
