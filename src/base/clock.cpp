#include "base/clock.h"

namespace kestrix {

namespace {

class SystemClock : public Clock {
  public:
    WallTime now() const override { return std::chrono::system_clock::now(); }
    SteadyTime steadyNow() const override { return std::chrono::steady_clock::now(); }

    // A wait without a limit is a call of its own: a library that lacks a wait on the steady clock converts
    // the limit to the time of day, and the farthest time overflows there.
    bool waitUntil(std::unique_lock<std::mutex>& held, std::condition_variable& wakeup, SteadyTime until,
                   const std::function<bool()>& done) override {
        if (until == SteadyTime::max()) {
            wakeup.wait(held, done);
            return true;
        }
        return wakeup.wait_until(held, until, done);
    }
};

// A delay of more than thirty years is as good as none ending, and its nanoseconds may not fit.
constexpr Seconds kForever{1e9};

}  // namespace

Clock& Clock::system() {
    static SystemClock clock;
    return clock;
}

long long secondsSince1970(WallTime time) {
    return std::chrono::floor<std::chrono::seconds>(time.time_since_epoch()).count();
}

SteadyTime later(SteadyTime from, Seconds by) {
    if (!(by > Seconds::zero())) return from;
    if (by > kForever) return SteadyTime::max();
    return from + std::chrono::round<SteadyTime::duration>(by);
}

ManualClock::ManualClock(WallTime start) : wall_(start) {}

WallTime ManualClock::now() const {
    std::lock_guard hold(mutex_);
    return wall_;
}

SteadyTime ManualClock::steadyNow() const {
    std::lock_guard hold(mutex_);
    return steady_;
}

// Two locks meet here: the caller's, which `held` owns, and the clock's own. They nest only in that order.
// A waiter reads the time and enters the list in one step, so an advance is either seen by it or sees it.
// Having slept, it lets its caller's lock go for a moment: an advance in progress needs that lock to wake it,
// and it must not leave while an advance still holds its pointers.
bool ManualClock::waitUntil(std::unique_lock<std::mutex>& held, std::condition_variable& wakeup,
                            SteadyTime until, const std::function<bool()>& done) {
    const Waiter self{held.mutex(), &wakeup};
    while (!done()) {
        {
            std::lock_guard hold(mutex_);
            if (steady_ >= until) return false;
            waiters_.push_back(&self);
        }
        wakeup.wait(held);
        held.unlock();
        {
            std::unique_lock hold(mutex_);
            nobodyWakes_.wait(hold, [this] { return waking_ == 0; });
            std::erase(waiters_, &self);
        }
        held.lock();
    }
    return true;
}

// Having held a waiter's lock once, we know that it is asleep and not between its look at the time and its
// sleep: the notification cannot be lost.
void ManualClock::advance(Seconds by) {
    std::vector<const Waiter*> woken;
    {
        std::lock_guard hold(mutex_);
        steady_ += std::chrono::round<SteadyTime::duration>(by);
        wall_ += std::chrono::round<WallTime::duration>(by);
        woken.swap(waiters_);
        ++waking_;
    }
    for (const Waiter* waiter : woken) {
        { std::lock_guard asleep(*waiter->mutex); }
        waiter->wakeup->notify_all();
    }
    std::lock_guard hold(mutex_);
    --waking_;
    nobodyWakes_.notify_all();
}

void ManualClock::setWallTime(WallTime time) {
    std::lock_guard hold(mutex_);
    wall_ = time;
}

int ManualClock::waiting() const {
    std::lock_guard hold(mutex_);
    return static_cast<int>(waiters_.size());
}

}  // namespace kestrix
