// Over the C library's time zones, so that a range agrees with the times that listings show, also for a TZ
// that spells out its rules ("CET-1CEST"), which ICU does not read. Only the first day of the week comes from
// ICU, which knows the locales and would cost a third of a millisecond for each line about dates.
#include "language/calendar_units.h"

#include <unicode/calendar.h>
#include <unicode/smpdtfmt.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <mutex>
#include <string>

namespace kestrix {
namespace {

constexpr std::int64_t kDay = 86'400;
// About fifteen thousand years either way: every date inside fits the types of <chrono>.
constexpr std::int64_t kFarthest = 473'000'000'000;
constexpr int kFarthestYear = 15'000;

bool isLeapYear(int year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

int daysOf(int month, int year) {
    constexpr std::array<int, 13> kDays = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return kDays.at(static_cast<std::size_t>(month)) + (month == 2 && isLeapYear(year) ? 1 : 0);
}

// Month 13 becomes January of the next year.
CalendarDate withMonthInYear(CalendarDate date) {
    const int monthsBefore = date.month - 1;
    const int years = monthsBefore >= 0 ? monthsBefore / 12 : (monthsBefore - 11) / 12;
    return {date.year + years, monthsBefore - years * 12 + 1, date.day};
}

// The seconds between 1970 and the date, both by the same clock.
std::int64_t secondsOf(const CalendarDate& date, const TimeOfDay& time) {
    using namespace std::chrono;
    const sys_days first = year(date.year) / month(static_cast<unsigned>(date.month)) / day(1);
    const std::int64_t days = first.time_since_epoch().count() + date.day - 1;
    return days * kDay + time.hour * 3600 + time.minute * 60 + time.second;
}

// The C library reads TZ anew only when told to, and then for all threads. Returns a number of its own for
// each change of TZ that this thread has followed; the text is compared at each question.
unsigned followZone() {
    static std::mutex mutex;
    thread_local std::string followed;
    thread_local unsigned changes = 0;
    const char* const text = std::getenv("TZ");  // NOLINT(concurrency-mt-unsafe): nothing here sets it
    const std::string_view wanted = text ? text : "\1";  // no TZ at all differs from an empty one
    if (changes == 0 || wanted != followed) {
        const std::lock_guard guard(mutex);
        tzset();
        followed = wanted;
        ++changes;
    }
    return changes;
}

struct Fields {
    CalendarDate date;
    TimeOfDay time;
    std::int64_t offset;  // what local clocks show more than Greenwich
};

Fields fieldsOf(std::int64_t moment) {
    const std::time_t at = std::clamp(moment, -kFarthest, kFarthest);
    std::tm fields{};
    if (!localtime_r(&at, &fields)) return {};
    const CalendarDate date{fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday};
    const TimeOfDay time{fields.tm_hour, fields.tm_min, fields.tm_sec};
    return {date, time, secondsOf(date, time) - at};
}

// A local time has the distance from Greenwich of the day before or of the day after; where clocks change
// between, it may have both or neither.
std::int64_t momentOfLocal(std::int64_t localSeconds) {
    const std::int64_t before = fieldsOf(localSeconds - kDay).offset;
    const std::int64_t after = fieldsOf(localSeconds + kDay).offset;
    for (const std::int64_t offset : {before, after}) {
        if (fieldsOf(localSeconds - offset).offset == offset) return localSeconds - offset;
    }
    return localSeconds - before;
}

std::int64_t midnight(const CalendarDate& date, std::int64_t otherwise) {
    return momentOf(date).value_or(otherwise);
}

// Minutes and hours begin where the clock shows them, whatever the zone's distance from Greenwich.
NumberRange partOfDay(std::int64_t moment, std::int64_t length) {
    const TimeOfDay time = timeOf(moment);
    const std::int64_t start = moment - (time.minute * 60 + time.second) % length;
    return {start, start + length};
}

int daysSinceWeekBegan(const CalendarDate& date) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(status));
    // Both count from 1 for Sunday on; 1 January 1970 was a Thursday.
    const int firstDay = calendar && U_SUCCESS(status) ? calendar->getFirstDayOfWeek(status) : UCAL_SUNDAY;
    const auto days = static_cast<int>(secondsOf(date, {}) / kDay);
    const int dayOfWeek = ((days + UCAL_THURSDAY - 1) % 7 + 7) % 7 + 1;
    return (dayOfWeek - firstDay + 7) % 7;
}

}  // namespace

bool isCalendarDate(const CalendarDate& date) {
    return date.month >= 1 && date.month <= 12 && date.day >= 1 && date.day <= daysOf(date.month, date.year);
}

std::optional<std::int64_t> momentOf(const CalendarDate& date, const TimeOfDay& time) {
    const CalendarDate inYear = withMonthInYear(date);
    if (inYear.year < -kFarthestYear || inYear.year > kFarthestYear) return std::nullopt;
    followZone();
    return momentOfLocal(secondsOf(inYear, time));
}

CalendarDate dateOf(std::int64_t moment) {
    followZone();
    return fieldsOf(moment).date;
}

TimeOfDay timeOf(std::int64_t moment) {
    followZone();
    return fieldsOf(moment).time;
}

std::int64_t startOfDay(std::int64_t moment) {
    thread_local NumberRange lastDay = {0, 0};
    thread_local unsigned zoneOfLastDay = 0;
    const unsigned zone = followZone();
    if (zone != zoneOfLastDay || !lastDay.contains(moment)) {
        lastDay = intervalOf(CalendarUnit::day, moment);
        zoneOfLastDay = zone;
    }
    return lastDay.lowerBound;
}

NumberRange intervalOf(CalendarUnit unit, std::int64_t moment) {
    CalendarDate date = dateOf(moment);
    switch (unit) {
        case CalendarUnit::minute:
            return partOfDay(moment, 60);
        case CalendarUnit::hour:
            return partOfDay(moment, 3600);
        case CalendarUnit::day:
            break;
        case CalendarUnit::weekOfYear:
            date.day -= daysSinceWeekBegan(date);
            return {midnight(date, moment), midnight({date.year, date.month, date.day + 7}, moment)};
        case CalendarUnit::month:
            return {midnight({date.year, date.month, 1}, moment),
                    midnight({date.year, date.month + 1, 1}, moment)};
        case CalendarUnit::year:
            return {midnight({date.year, 1, 1}, moment), midnight({date.year + 1, 1, 1}, moment)};
    }
    return {midnight(date, moment), midnight({date.year, date.month, date.day + 1}, moment)};
}

std::int64_t adding(CalendarUnit unit, int count, std::int64_t moment) {
    CalendarDate date = dateOf(moment);
    switch (unit) {
        case CalendarUnit::minute:
            return moment + std::int64_t{60} * count;
        case CalendarUnit::hour:
            return moment + std::int64_t{3600} * count;
        case CalendarUnit::day:
            date.day += count;
            break;
        case CalendarUnit::weekOfYear:
            date.day += 7 * count;
            break;
        case CalendarUnit::month:
            date = withMonthInYear({date.year, date.month + count, date.day});
            date.day = std::min(date.day, daysOf(date.month, date.year));
            break;
        case CalendarUnit::year:
            date.year += count;
            date.day = std::min(date.day, daysOf(date.month, date.year));
            break;
    }
    return momentOf(date, timeOf(moment)).value_or(moment);
}

bool localeWritesMonthFirst() {
    static const bool kMonthFirst = [] {
        const std::unique_ptr<icu::DateFormat> format(
            icu::DateFormat::createDateInstance(icu::DateFormat::kShort));
        const auto* const simple = dynamic_cast<const icu::SimpleDateFormat*>(format.get());
        if (!simple) return false;
        icu::UnicodeString pattern;
        simple->toPattern(pattern);
        return pattern.indexOf(u'M') < pattern.indexOf(u'd');
    }();
    return kMonthFirst;
}

}  // namespace kestrix
