// Local calendar fields of a moment, cheap enough to be asked for every line of a long listing.
#pragma once

#include <cstdint>

namespace kestrix {

struct LocalTime {
    int year = 1970;  // with century
    int month = 1;    // 1 to 12
    int day = 1;      // 1 to 31
    int hour = 0;
    int minute = 0;
    int second = 0;

    bool operator==(const LocalTime&) const = default;
};

// The fields of `secondsSince1970` in the time zone of the process (TZ or the system's). Any thread;
// remembers the zone's offset over stretches of time, a thread each, so that neighbouring times cost no call
// of the C library. A change of TZ while the process runs is not noticed by threads that have asked before.
LocalTime localTime(int64_t secondsSince1970);

// The moment at which clocks in Greenwich show what local clocks show at the given one. Times too far off for
// any calendar are brought to its ends.
int64_t localSeconds(int64_t secondsSince1970);

// Whether two moments lie on the same local day.
bool sameLocalDay(int64_t a, int64_t b);

}  // namespace kestrix
