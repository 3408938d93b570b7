// The one source of time. Everything that asks "what time is it" or waits goes through a Clock, so that tests
// move time instead of sleeping.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

namespace kestrix {

using WallTime = std::chrono::system_clock::time_point;
using SteadyTime = std::chrono::steady_clock::time_point;
using Seconds = std::chrono::duration<double>;

// Threads: all operations may be called from any thread. A clock outlives everything that was given it.
class Clock {
  public:
    virtual ~Clock() = default;

    // The time of day, for dates that are shown or stored.
    virtual WallTime now() const = 0;

    // The time that never goes back, for delays and intervals.
    virtual SteadyTime steadyNow() const = 0;

    // Waits, with `held` locked on entry and on return, until `done` answers true or the steady time reaches
    // `until` (SteadyTime::max(): no limit). `done` is called with the lock held. Whoever makes it true
    // notifies `wakeup`. Returns what `done` answers at the end.
    virtual bool waitUntil(std::unique_lock<std::mutex>& held, std::condition_variable& wakeup,
                           SteadyTime until, const std::function<bool()>& done) = 0;

    // The real clock of this machine.
    static Clock& system();
};

// Whole seconds since 1970 of a time of day, rounded down.
long long secondsSince1970(WallTime time);

// The time `by` after `from`: `from` itself for a negative delay, SteadyTime::max() for one too long to
// count.
SteadyTime later(SteadyTime from, Seconds by);

// A clock that stands still until it is told to move. Waiting threads wake when the time passes their limit.
// Must not be moved by a thread that holds the lock of a waiting one, nor from inside its `done`.
class ManualClock : public Clock {
  public:
    explicit ManualClock(WallTime start = WallTime(std::chrono::seconds(1'000'000'000)));

    WallTime now() const override;
    SteadyTime steadyNow() const override;
    bool waitUntil(std::unique_lock<std::mutex>& held, std::condition_variable& wakeup, SteadyTime until,
                   const std::function<bool()>& done) override;

    // Moves both times on and wakes every waiting thread.
    void advance(Seconds by);
    // Sets the time of day alone, as a user or a time server may.
    void setWallTime(WallTime time);
    // How many threads sleep inside waitUntil just now. One that an advance has woken counts again only when
    // it has looked at the new time and gone back to sleep.
    int waiting() const;

  private:
    struct Waiter {
        std::mutex* mutex;
        std::condition_variable* wakeup;
    };

    mutable std::mutex mutex_;
    WallTime wall_;
    SteadyTime steady_;
    std::vector<const Waiter*> waiters_;
    int waking_ = 0;  // advances that hold pointers taken from waiters_ just now
    std::condition_variable nobodyWakes_;
};

}  // namespace kestrix
