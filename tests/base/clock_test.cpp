#include "base/clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <thread>

#include "base/delay_timer.h"

namespace kestrix {

using namespace std::chrono_literals;

TEST(Clock, SecondsSince1970AreRoundedDown) {
    EXPECT_EQ(secondsSince1970(WallTime(1999ms)), 1);
    EXPECT_EQ(secondsSince1970(WallTime(-1ms)), -1);
}

TEST(Clock, LaterNeverGoesBackAndNeverOverflows) {
    const SteadyTime start(10s);
    EXPECT_EQ(later(start, Seconds(0.3)), start + 300ms);
    EXPECT_EQ(later(start, Seconds(-5)), start);
    EXPECT_EQ(later(start, Seconds(std::numeric_limits<double>::quiet_NaN())), start);
    EXPECT_EQ(later(start, Seconds(1e18)), SteadyTime::max());
}

TEST(Clock, TheSystemClockWaitsForWhatIsDoneAndForTheTime) {
    std::mutex mutex;
    std::condition_variable wakeup;
    std::unique_lock held(mutex);
    const auto never = [] { return false; };
    Clock& clock = Clock::system();
    EXPECT_FALSE(clock.waitUntil(held, wakeup, SteadyTime(), never));
    const SteadyTime soon = clock.steadyNow() + 5ms;
    EXPECT_FALSE(clock.waitUntil(held, wakeup, soon, never));
    EXPECT_GE(clock.steadyNow(), soon);

    bool done = false;
    std::thread other([&] {
        std::lock_guard hold(mutex);
        done = true;
        wakeup.notify_all();
    });
    EXPECT_TRUE(clock.waitUntil(held, wakeup, SteadyTime::max(), [&] { return done; }));
    EXPECT_TRUE(held.owns_lock());
    other.join();
}

TEST(ManualClock, StandsStillUntilItIsMoved) {
    ManualClock clock(WallTime(100s));
    const SteadyTime start = clock.steadyNow();
    clock.advance(Seconds(1.5));
    EXPECT_EQ(clock.now(), WallTime(101500ms));
    EXPECT_EQ(clock.steadyNow(), start + 1500ms);
    clock.setWallTime(WallTime(50s));
    EXPECT_EQ(clock.now(), WallTime(50s));
    EXPECT_EQ(clock.steadyNow(), start + 1500ms);
}

// Every step must wake the waiter: a lost one leaves both threads standing. The waiter's lock and condition
// variable live only for one wait, so an advance that used them afterwards would be seen by the sanitizers.
TEST(ManualClock, NoAdvanceIsLostByAThreadThatIsAboutToWait) {
    ManualClock clock;
    const SteadyTime start = clock.steadyNow();
    constexpr int kSteps = 3000;
    std::thread waiter([&] {
        for (int step = 1; step <= kSteps; ++step) {
            std::mutex mutex;
            std::condition_variable wakeup;
            std::unique_lock held(mutex);
            EXPECT_FALSE(clock.waitUntil(held, wakeup, start + step * 1s, [] { return false; }));
        }
    });
    for (int step = 1; step <= kSteps; ++step) {
        while (clock.waiting() == 0) {
        }
        clock.advance(1s);
    }
    waiter.join();
    EXPECT_EQ(clock.waiting(), 0);
}

TEST(ManualClock, AWaiterSleepsOnWhileItsTimeHasNotCome) {
    ManualClock clock;
    std::mutex mutex;
    std::condition_variable wakeup;
    bool done = false;
    std::atomic<bool> returned = false;
    std::thread waiter([&] {
        std::unique_lock held(mutex);
        EXPECT_TRUE(clock.waitUntil(held, wakeup, clock.steadyNow() + 10s, [&] { return done; }));
        returned = true;
    });
    while (clock.waiting() == 0)
        std::this_thread::yield();
    clock.advance(9s);
    while (clock.waiting() == 0)
        std::this_thread::yield();
    EXPECT_FALSE(returned) << "it looked at the new time and went back to sleep";
    {
        std::lock_guard hold(mutex);
        done = true;
        wakeup.notify_all();
    }
    waiter.join();
}

TEST(DelayTimer, OpensOnceWhenMoreThanTheIntervalHasPassed) {
    ManualClock clock;
    DelayTimer timer(Seconds(0.2), clock);
    EXPECT_FALSE(timer.hasElapsed());
    clock.advance(Seconds(0.2));
    EXPECT_FALSE(timer.hasElapsed()) << "the interval itself is not more than the interval";
    clock.advance(Seconds(0.3));
    EXPECT_TRUE(timer.hasElapsed());
    EXPECT_FALSE(timer.hasElapsed());
    clock.advance(Seconds(0.15));
    EXPECT_FALSE(timer.hasElapsed()) << "the interval starts anew with the true answer";
}

}  // namespace kestrix
