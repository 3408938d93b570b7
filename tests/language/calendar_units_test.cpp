#include "language/calendar_units.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace kestrix {
namespace {

class CalendarUnitsTest : public ::testing::Test {
  protected:
    void TearDown() override { setenv("TZ", "UTC", 1); }
};

TEST_F(CalendarUnitsTest, LocalTimeIsThatOfTheCLibraryInEveryFormOfTz) {
    for (const char* zone : {"Europe/Berlin", ":Europe/Berlin", "CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT",
                             "UTC0", "", "<+0330>-3:30", "Australia/Lord_Howe", "Nonsense/Zone"}) {
        setenv("TZ", zone, 1);
        tzset();
        for (std::time_t at = 1'400'000'000; at < 1'480'000'000; at += 5 * 3600 + 17) {
            std::tm fields{};
            localtime_r(&at, &fields);
            ASSERT_EQ(dateOf(at), (CalendarDate{fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday}))
                << zone;
            ASSERT_EQ(timeOf(at), (TimeOfDay{fields.tm_hour, fields.tm_min, fields.tm_sec})) << zone << at;
            // All moments are found again, but for the second of two that clocks show alike.
            const auto again = momentOf(dateOf(at), timeOf(at)).value();
            ASSERT_TRUE(again == at || (again < at && timeOf(again) == timeOf(at))) << zone << ' ' << at;
        }
    }
}

TEST_F(CalendarUnitsTest, ADayBeginsWithItsFirstMoment) {
    setenv("TZ", "America/Havana", 1);  // the hour from midnight comes twice on 6 November 2016
    EXPECT_EQ(startOfDay(1478448000), 1478404800);
    EXPECT_EQ(momentOf({2016, 11, 6}), 1478404800);
    setenv("TZ", "America/Sao_Paulo", 1);  // and not at all on 15 October 2017
    EXPECT_EQ(momentOf({2017, 10, 15}), 1508036400);
    EXPECT_EQ(startOfDay(1508036400 + 3600), 1508036400);
}

TEST_F(CalendarUnitsTest, UnitsAreCountedByTheCalendar) {
    setenv("TZ", "Europe/Berlin", 1);
    const std::int64_t march31 = momentOf({2016, 3, 31}, {12, 0, 0}).value();
    EXPECT_EQ(dateOf(adding(CalendarUnit::month, -1, march31)), (CalendarDate{2016, 2, 29}));
    EXPECT_EQ(dateOf(adding(CalendarUnit::month, -15, march31)), (CalendarDate{2014, 12, 31}));
    EXPECT_EQ(dateOf(adding(CalendarUnit::year, -1, momentOf({2016, 2, 29}).value())),
              (CalendarDate{2015, 2, 28}));
    // The day before had 23 hours.
    const std::int64_t march27 = momentOf({2016, 3, 28}).value() - 23 * 3600;
    EXPECT_EQ(intervalOf(CalendarUnit::day, march31 - 4 * 86'400),
              (NumberRange{march27, march27 + 23 * 3600}));
    EXPECT_EQ(momentOf({2015, 13, 1}), momentOf({2016, 1, 1}));
    EXPECT_EQ(momentOf({2015, -1, 1}), momentOf({2014, 11, 1}));
    EXPECT_EQ(momentOf({2016, 3, 0}), momentOf({2016, 2, 29}));
    EXPECT_EQ(momentOf({2'000'000'000, 1, 1}), std::nullopt);
}

}  // namespace
}  // namespace kestrix
