// A gate that opens at most once per interval, for progress reports and other things that must not come too
// often.
#pragma once

#include "base/clock.h"
#include "base/lock.h"

namespace kestrix {

// Threads: any.
class DelayTimer {
  public:
    explicit DelayTimer(Seconds interval, Clock& clock = Clock::system());

    // True if more than the interval has passed since the last true answer (at first: since the timer was
    // made); the interval then starts anew.
    bool hasElapsed();

  private:
    Seconds interval_;
    Clock& clock_;
    Locked<SteadyTime> last_;
};

}  // namespace kestrix
