#include "base/calendar.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <thread>

namespace kestrix {

// gtest shows a failed comparison by these fields.
void PrintTo(const LocalTime& time, std::ostream* out) {
    *out << time.year << '-' << time.month << '-' << time.day << ' ' << time.hour << ':' << time.minute << ':'
         << time.second;
}

namespace {

// Runs `check` in a time zone, on a thread of its own: what an older thread remembers of another zone stays.
template <typename Check>
void inZone(const char* zone, Check check) {
    const char* old = std::getenv("TZ");
    const std::optional<std::string> before = old ? std::optional<std::string>(old) : std::nullopt;
    setenv("TZ", zone, 1);
    tzset();
    std::thread(check).join();
    if (before) {
        setenv("TZ", before->c_str(), 1);
    } else {
        unsetenv("TZ");
    }
    tzset();
}

LocalTime fromLibrary(int64_t seconds) {
    const std::time_t moment = seconds;
    std::tm fields{};
    localtime_r(&moment, &fields);
    return {fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday,
            fields.tm_hour,        fields.tm_min,     fields.tm_sec};
}

void compareAround(int64_t middle, int64_t reach, int64_t step) {
    for (int64_t at = middle - reach; at <= middle + reach; at += step) {
        ASSERT_EQ(localTime(at), fromLibrary(at)) << at;
    }
}

}  // namespace

TEST(Calendar, AgreesWithTheLibraryAtAnyTimeInAnyZone) {
    for (const char* zone :
         {"Europe/Berlin", "America/New_York", "Australia/Lord_Howe", "Asia/Kathmandu", "UTC"}) {
        SCOPED_TRACE(zone);
        inZone(zone, [] {
            std::mt19937_64 random(1);
            std::uniform_int_distribution<int64_t> anyTime(-5'000'000'000, 10'000'000'000);
            for (int i = 0; i < 100'000; ++i) {
                const int64_t at = anyTime(random);
                ASSERT_EQ(localTime(at), fromLibrary(at)) << at;
            }
            compareAround(0, 3 * 86'400, 61);
        });
    }
}

// The last two are the ends of local mean time, which lie inside a quarter of an hour.
TEST(Calendar, IsRightToTheSecondWhereTheOffsetChanges) {
    inZone("Europe/Berlin", [] {
        compareAround(1'711'846'800, 4000, 1);   // 2024-03-31, clocks go forward
        compareAround(1'729'990'800, 4000, 1);   // 2024-10-27, clocks go back
        compareAround(-2'422'054'408, 4000, 1);  // 1893-04-01
    });
    inZone("America/New_York", [] {
        compareAround(1'710'054'000, 4000, 1);   // 2024-03-10
        compareAround(1'730'613'600, 4000, 1);   // 2024-11-03
        compareAround(-2'717'650'800, 4000, 1);  // 1883-11-18
    });
}

TEST(Calendar, TimesBeyondAllYearsAreNoFault) {
    EXPECT_GT(localTime(std::numeric_limits<int64_t>::max()).year, 1'900'000'000);
    EXPECT_LT(localTime(std::numeric_limits<int64_t>::min()).year, -1'900'000'000);
}

TEST(Calendar, ADayEndsAtLocalMidnight) {
    inZone("America/New_York", [] {
        constexpr int64_t kMidnight = 1'720'065'600;  // 2024-07-04 00:00 there
        EXPECT_FALSE(sameLocalDay(kMidnight - 1, kMidnight));
        EXPECT_TRUE(sameLocalDay(kMidnight, kMidnight + 86'399));
        EXPECT_FALSE(sameLocalDay(kMidnight, kMidnight + 86'400));
    });
}

}  // namespace kestrix
