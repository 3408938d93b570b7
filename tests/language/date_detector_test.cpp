#include "language/date_detector.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

namespace kestrix {
namespace {

using Moments = std::vector<std::int64_t>;

class DateDetectorTest : public ::testing::Test {
  protected:
    void SetUp() override { setenv("TZ", "Europe/Berlin", 1); }
    void TearDown() override { setenv("TZ", "UTC", 1); }

    static constexpr std::int64_t kFifthOfMarch = 1457132400;  // 2016, midnight in Berlin
};

TEST_F(DateDetectorTest, AllUsualFormsMeanTheSameDay) {
    for (const std::string text : {"2016-03-05",
                                   "2016/03/05",
                                   "2016/3/5",
                                   "2016.3.5",
                                   "5.3.2016",
                                   "05.03.16",
                                   "5-mar-2016",
                                   "march-5-2016",
                                   "5 march 2016",
                                   "5th of march 2016",
                                   "march 5, 2016",
                                   "mar 5th, 2016",
                                   "sat, 5 mar 2016",
                                   "2016 march 5",
                                   "2016-mar-05",
                                   "5/march/2016",
                                   "saturday march 5 2016",
                                   "5.march.2016",
                                   "2016-03-05t00:00",
                                   "2016-03-05 00:00:00",
                                   "2016-03-04t23:00z",
                                   "2016-03-05t000000",
                                   "2016-03-05t01:30+02:30",
                                   "2016-03-04t15:00-0800",
                                   "2016-03-05t00:00:00+01"})
        EXPECT_EQ(DateDetector::simpleDatesInString(text, DateOrder::dayFirst), Moments{kFifthOfMarch})
            << text;
}

TEST_F(DateDetectorTest, TheLocaleSaysWhetherTheDayComesFirst) {
    for (const std::string text : {"5/3/2016", "05-03-2016", "5/3/16"})
        EXPECT_EQ(DateDetector::simpleDatesInString(text, DateOrder::dayFirst), Moments{kFifthOfMarch})
            << text;
    for (const std::string text : {"3/5/2016", "03-05-2016", "3/5/16"})
        EXPECT_EQ(DateDetector::simpleDatesInString(text, DateOrder::monthFirst), Moments{kFifthOfMarch})
            << text;
    // Only one of the two is a date.
    EXPECT_EQ(DateDetector::simpleDatesInString("25/3/2016", DateOrder::monthFirst),
              DateDetector::simpleDatesInString("3/25/2016", DateOrder::dayFirst));
    EXPECT_EQ(DateDetector::simpleDatesInString("25/3/2016", DateOrder::monthFirst).size(), 1u);
}

TEST_F(DateDetectorTest, ATimeIsLocalUnlessItsZoneIsGiven) {
    EXPECT_EQ(DateDetector::simpleDatesInString("2016-07-01t14:30:15"), Moments{1467376215});
    EXPECT_EQ(DateDetector::simpleDatesInString("2016-07-01t14:30:15z"), Moments{1467376215 + 7200});
    // In the hour that is left out, the moment as far behind the change.
    EXPECT_EQ(DateDetector::simpleDatesInString("2016-03-27t02:30"), Moments{1459042200});
}

TEST_F(DateDetectorTest, WhatTheCalendarDoesNotHaveIsNoDate) {
    for (const std::string text : {"",
                                   "march",
                                   "2016",
                                   "5",
                                   "march 2016",
                                   "5 march",
                                   "today",
                                   "2015-02-29",
                                   "1900-02-29",
                                   "2016-13-01",
                                   "2016-00-10",
                                   "2016-01-00",
                                   "2016-01-32",
                                   "0000-01-01",
                                   "1599-12-31",
                                   "32.1.2016",
                                   "1.13.2016",
                                   "13/13/2016",
                                   "31 april 2016",
                                   "2016-03-05t24:00",
                                   "2016-03-05t10",
                                   "2016-03-05t10:60",
                                   "2016-03-05t10:",
                                   "2016-03-05t10:00+",
                                   "2016-03-05t10:00+24:00",
                                   "2016-03-05 x",
                                   "x2016-03-05",
                                   "2016-03-05-06",
                                   "1/2/3/2016",
                                   "1//2016",
                                   "5/3-2016",
                                   "1.2.3",
                                   "5 march 20160",
                                   "-5 march 2016",
                                   "5 march 16.5",
                                   "10.0.0.1",
                                   "99999-01-01",
                                   "9999-12-31t23:59:59-23:59",
                                   "1600-01-01t00:00+23:59"})
        EXPECT_EQ(DateDetector::simpleDatesInString(text, DateOrder::dayFirst), Moments()) << text;
    EXPECT_EQ(DateDetector::simpleDatesInString("2016-02-29").size(), 1u);
    EXPECT_EQ(DateDetector::simpleDatesInString("2000-02-29").size(), 1u);
    EXPECT_EQ(DateDetector::simpleDatesInString("9999-12-31").size(), 1u);
}

}  // namespace
}  // namespace kestrix
