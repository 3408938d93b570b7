#include "base/calendar.h"

#include <algorithm>
#include <array>
#include <ctime>

namespace kestrix {

namespace {

constexpr int64_t kSecondsPerDay = 86'400;
// Zones change their offset on quarters of an hour, seen from Greenwich, since they left local mean time.
constexpr int64_t kBucketSeconds = 900;
// Two thousand million years either way: every such year fits an int, here and in the C library.
constexpr int64_t kFarthest = 63'000'000'000'000'000;

int64_t floorDivide(int64_t value, int64_t by) {
    const int64_t quotient = value / by;
    return value % by < 0 ? quotient - 1 : quotient;
}

// Days since 1970 of a date of the Gregorian calendar, and back. A year is counted from March, so that the
// leap day is its last; 400 such years are 146,097 days, and 719,468 days lie before 1970.
int64_t daysFromDate(int64_t year, int month, int day) {
    if (month <= 2) --year;
    const int64_t era = floorDivide(year, 400);
    const int64_t yearOfEra = year - era * 400;
    const int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    return era * 146'097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719'468;
}

void setDate(LocalTime& time, int64_t days) {
    days += 719'468;
    const int64_t era = floorDivide(days, 146'097);
    const int64_t dayOfEra = days - era * 146'097;
    const int64_t yearOfEra = (dayOfEra - dayOfEra / 1'460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    time.day = static_cast<int>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1);
    time.month = static_cast<int>(monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9);
    time.year = static_cast<int>(yearOfEra + era * 400 + (time.month <= 2 ? 1 : 0));
}

// What local clocks show more than Greenwich, in seconds, as the C library has it.
int64_t askOffset(int64_t seconds) {
    const std::time_t moment = seconds;
    std::tm fields{};
    if (!localtime_r(&moment, &fields)) return 0;
    const int64_t days = daysFromDate(int64_t{fields.tm_year} + 1900, fields.tm_mon + 1, fields.tm_mday);
    return days * kSecondsPerDay + fields.tm_hour * 3600 + fields.tm_min * 60 + fields.tm_sec - seconds;
}

// What a stretch of time shows more than Greenwich, unless that changes inside it.
struct Remembered {
    int64_t bucket = INT64_MIN;  // a number that no bucket has
    int32_t offset = 0;
    bool changesInside = false;
};

// A direct-mapped table of stretches, one a thread.
template <int64_t kSeconds, std::size_t kCount>
struct Stretches {
    const Remembered& at(int64_t seconds) {
        const int64_t bucket = floorDivide(seconds, kSeconds);
        Remembered& entry = entries[static_cast<std::size_t>(bucket) % kCount];
        if (entry.bucket != bucket) {
            const int64_t first = bucket * kSeconds;
            const int64_t offset = askOffset(first);
            entry = {bucket, static_cast<int32_t>(offset), askOffset(first + kSeconds - 1) != offset};
        }
        return entry;
    }

    std::array<Remembered, kCount> entries{};
};

// The dates of a long listing are spread over years, so whole weeks are remembered first: 12 days are well
// below the shortest time for which any zone has ever moved its clocks there and back again, so equal ends
// mean that nothing happens between them. 512 of them reach over 17 years.
constinit thread_local Stretches<1 << 20, 512> weeks;
constinit thread_local Stretches<kBucketSeconds, 64> quarters;

// The last changes from local mean time, around 1900, came at any second: a quarter of an hour that ends with
// another offset than it began with is asked about each time.
int64_t offsetAt(int64_t seconds) {
    const Remembered& week = weeks.at(seconds);
    if (!week.changesInside) return week.offset;
    const Remembered& quarter = quarters.at(seconds);
    return quarter.changesInside ? askOffset(seconds) : quarter.offset;
}

}  // namespace

int64_t localSeconds(int64_t secondsSince1970) {
    const int64_t seconds = std::clamp(secondsSince1970, -kFarthest, kFarthest);
    return seconds + offsetAt(seconds);
}

LocalTime localTime(int64_t secondsSince1970) {
    const int64_t local = localSeconds(secondsSince1970);
    const int64_t days = floorDivide(local, kSecondsPerDay);
    const int inDay = static_cast<int>(local - days * kSecondsPerDay);
    LocalTime time;
    setDate(time, days);
    time.hour = inDay / 3600;
    time.minute = inDay / 60 % 60;
    time.second = inDay % 60;
    return time;
}

bool sameLocalDay(int64_t a, int64_t b) {
    return floorDivide(localSeconds(a), kSecondsPerDay) == floorDivide(localSeconds(b), kSecondsPerDay);
}

}  // namespace kestrix
