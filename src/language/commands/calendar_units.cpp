// ICU's calendar behind one small class per thread. The default zone of ICU is one for the process and read
// only once; here the zone is found anew when the text of TZ differs from that of the calendar at hand, so
// that the answers follow what the C library would say.
#include "language/calendar_units.h"

#include <unicode/calendar.h>
#include <unicode/gregocal.h>
#include <unicode/smpdtfmt.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>

namespace kestrix {
namespace {

// Half a million years either way: inside what the calendar can count.
constexpr std::int64_t kFarthest = 15'000'000'000'000;

std::string zoneText() {
    const char* const text = std::getenv("TZ");
    return text ? text : "\1";  // no TZ at all differs from an empty one
}

std::unique_ptr<icu::Calendar> makeCalendar() {
    // Finding the zone empties a buffer of the library that all threads share.
    static std::mutex mutex;
    const std::lock_guard guard(mutex);
    UErrorCode status = U_ZERO_ERROR;
    auto made = std::make_unique<icu::GregorianCalendar>(icu::TimeZone::detectHostTimeZone(),
                                                         icu::Locale::getDefault(), status);
    if (U_FAILURE(status)) {
        status = U_ZERO_ERROR;
        made = std::make_unique<icu::GregorianCalendar>(icu::TimeZone::getGMT()->clone(), status);
    }
    made->setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
    return made;
}

class LocalCalendar {
  public:
    // The one of this thread, for the zone of now.
    static LocalCalendar& current() {
        thread_local LocalCalendar calendar;
        calendar.followZone();
        return calendar;
    }

    std::optional<std::int64_t> momentOf(const CalendarDate& date, const TimeOfDay& time) {
        calendar_->clear();
        calendar_->set(UCAL_EXTENDED_YEAR, date.year);
        calendar_->set(UCAL_MONTH, date.month - 1);
        calendar_->set(UCAL_DATE, date.day);
        calendar_->set(UCAL_HOUR_OF_DAY, time.hour);
        calendar_->set(UCAL_MINUTE, time.minute);
        calendar_->set(UCAL_SECOND, time.second);
        return readTime();
    }

    int field(std::int64_t moment, UCalendarDateFields which) {
        setTime(moment);
        UErrorCode status = U_ZERO_ERROR;
        return calendar_->get(which, status);
    }

    CalendarDate dateOf(std::int64_t moment) {
        return {field(moment, UCAL_EXTENDED_YEAR), field(moment, UCAL_MONTH) + 1, field(moment, UCAL_DATE)};
    }

    std::int64_t adding(UCalendarDateFields which, int count, std::int64_t moment) {
        setTime(moment);
        UErrorCode status = U_ZERO_ERROR;
        calendar_->add(which, count, status);
        return readTime().value_or(moment);
    }

    int daysSinceWeekBegan(std::int64_t moment) {
        UErrorCode status = U_ZERO_ERROR;
        return (field(moment, UCAL_DAY_OF_WEEK) - calendar_->getFirstDayOfWeek(status) + 7) % 7;
    }

    NumberRange day = {0, 0};  // the last one asked about

  private:
    void followZone() {
        std::string text = zoneText();
        if (calendar_ && text == zone_) return;
        zone_ = std::move(text);
        calendar_ = makeCalendar();
        day = {0, 0};
    }

    void setTime(std::int64_t moment) {
        UErrorCode status = U_ZERO_ERROR;
        calendar_->setTime(static_cast<double>(std::clamp(moment, -kFarthest, kFarthest)) * 1000, status);
    }

    std::optional<std::int64_t> readTime() {
        UErrorCode status = U_ZERO_ERROR;
        const double milliseconds = calendar_->getTime(status);
        if (U_FAILURE(status)) return std::nullopt;
        return static_cast<std::int64_t>(milliseconds / 1000);
    }

    std::string zone_;
    std::unique_ptr<icu::Calendar> calendar_;
};

UCalendarDateFields fieldOf(CalendarUnit unit) {
    switch (unit) {
        case CalendarUnit::minute:
            return UCAL_MINUTE;
        case CalendarUnit::hour:
            return UCAL_HOUR_OF_DAY;
        case CalendarUnit::day:
            return UCAL_DATE;
        case CalendarUnit::weekOfYear:
            return UCAL_WEEK_OF_YEAR;
        case CalendarUnit::month:
            return UCAL_MONTH;
        case CalendarUnit::year:
            break;
    }
    return UCAL_YEAR;
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

}  // namespace

bool isCalendarDate(const CalendarDate& date) {
    constexpr std::array<int, 13> kDays = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (date.month < 1 || date.month > 12 || date.day < 1) return false;
    const bool isLeap = date.year % 4 == 0 && (date.year % 100 != 0 || date.year % 400 == 0);
    const int days = kDays[static_cast<std::size_t>(date.month)] + (date.month == 2 && isLeap ? 1 : 0);
    return date.day <= days;
}

std::optional<std::int64_t> momentOf(const CalendarDate& date, const TimeOfDay& time) {
    return LocalCalendar::current().momentOf(date, time);
}

CalendarDate dateOf(std::int64_t moment) {
    return LocalCalendar::current().dateOf(moment);
}

TimeOfDay timeOf(std::int64_t moment) {
    LocalCalendar& calendar = LocalCalendar::current();
    return {calendar.field(moment, UCAL_HOUR_OF_DAY), calendar.field(moment, UCAL_MINUTE),
            calendar.field(moment, UCAL_SECOND)};
}

std::int64_t startOfDay(std::int64_t moment) {
    LocalCalendar& calendar = LocalCalendar::current();
    if (!calendar.day.contains(moment)) {
        CalendarDate date = calendar.dateOf(moment);
        const std::int64_t start = calendar.momentOf(date, {}).value_or(moment);
        ++date.day;
        calendar.day = {start, calendar.momentOf(date, {}).value_or(moment)};
    }
    return calendar.day.lowerBound;
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
            date.day -= LocalCalendar::current().daysSinceWeekBegan(moment);
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
    return LocalCalendar::current().adding(fieldOf(unit), count, moment);
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
