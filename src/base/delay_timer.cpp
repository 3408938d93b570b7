#include "base/delay_timer.h"

namespace kestrix {

DelayTimer::DelayTimer(Seconds interval, Clock& clock)
    : interval_(interval), clock_(clock), last_(clock.steadyNow()) {}

bool DelayTimer::hasElapsed() {
    const SteadyTime now = clock_.steadyNow();
    return last_.modify([&](SteadyTime& last) {
        if (!(now - last > interval_)) return false;
        last = now;
        return true;
    });
}

}  // namespace kestrix
