// Days, weeks, months and years as the user's calendar has them: Gregorian, in the time zone of the process
// (TZ or the system's), with the first day of the week of the user's locale. Moments are whole seconds since
// 1970. Threads: any. A change of TZ is noticed by the next question.
#pragma once

#include <cstdint>
#include <optional>

#include "language/query_search_arguments.h"

namespace kestrix {

enum class CalendarUnit { minute, hour, day, weekOfYear, month, year };

// A date of the calendar. In questions, month and day may lie outside their bounds and then count on: month
// 13 is January of the next year.
struct CalendarDate {
    int year = 1970;
    int month = 1;  // 1 to 12
    int day = 1;    // 1 to 31
    bool operator==(const CalendarDate&) const = default;
};

struct TimeOfDay {
    int hour = 0;
    int minute = 0;
    int second = 0;
    bool operator==(const TimeOfDay&) const = default;
};

// Whether there is such a day.
bool isCalendarDate(const CalendarDate& date);

// The moment of a local time, or of midnight. Where clocks were put forward over it, the moment as far behind
// the change; where they were put back, the first of the two. Nothing if the calendar cannot tell.
std::optional<std::int64_t> momentOf(const CalendarDate& date, const TimeOfDay& time = {});

// What the local clock and calendar show.
CalendarDate dateOf(std::int64_t moment);
TimeOfDay timeOf(std::int64_t moment);

// The first moment of the local day; a day asked about again costs no reckoning.
std::int64_t startOfDay(std::int64_t moment);

// The whole unit that holds the moment.
NumberRange intervalOf(CalendarUnit unit, std::int64_t moment);

// The moment so many units later (earlier for a negative count); a month without that day ends sooner.
std::int64_t adding(CalendarUnit unit, int count, std::int64_t moment);

// Whether the user's locale writes the month before the day: 3/5/2016 is 5 March.
bool localeWritesMonthFirst();

}  // namespace kestrix
