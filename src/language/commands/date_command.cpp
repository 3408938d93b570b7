#include "language/commands/date_command.h"

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <nlohmann/json.hpp>

#include "files/search_result.h"
#include "language/calendar_units.h"
#include "language/typed_word.h"

namespace kestrix {
namespace {

constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kDay = 86'400;
// The first days of the years 1 and 4001: no file is older or younger.
constexpr std::int64_t kDistantPast = -62'135'596'800;
constexpr std::int64_t kDistantFuture = 64'092'211'200;

const std::string& nameOf(WhenType when) {
    static const std::array<std::string, 8> kNames = {"ever",      "now",      "recent",      "today",
                                                      "yesterday", "tomorrow", "specificDay", "dateRange"};
    return kNames.at(static_cast<std::size_t>(when));
}

std::string nameOf(DateCommandWhat what) {
    constexpr std::array<const char*, 3> kNames = {"modificationDate", "creationDate", "accessDate"};
    return kNames.at(static_cast<std::size_t>(what));
}

std::string verbOf(DateCommandWhat what) {
    constexpr std::array<const char*, 3> kVerbs = {"modified", "created", "accessed"};
    return kVerbs.at(static_cast<std::size_t>(what));
}

std::string isoText(const CalendarDate& date) {
    return fmt::format("{:04}-{:02}-{:02}", date.year, date.month, date.day);
}

std::string isoText(const CalendarDate& date, const TimeOfDay& time) {
    return fmt::format("{}T{:02}:{:02}:{:02}", isoText(date), time.hour, time.minute, time.second);
}

std::string greenwichText(std::int64_t moment) {
    using namespace std::chrono;
    const sys_seconds at{seconds(moment)};
    const auto day = floor<days>(at);
    const year_month_day date(day);
    const hh_mm_ss time(at - day);
    return isoText({static_cast<int>(date.year()), static_cast<int>(static_cast<unsigned>(date.month())),
                    static_cast<int>(static_cast<unsigned>(date.day()))},
                   {static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                    static_cast<int>(time.seconds().count())}) +
           "Z";
}

// The shortest text that is read again as this moment. The second of two equal hours, when clocks are put
// back, can only be told in Greenwich time.
std::string momentText(std::int64_t moment) {
    const CalendarDate date = dateOf(moment);
    if (momentOf(date) == moment) return isoText(date);
    const TimeOfDay time = timeOf(moment);
    const bool isUnique = momentOf(date, time) == moment;
    return typedWord(isUnique ? isoText(date, time) : greenwichText(moment));
}

}  // namespace

DateCommandWhen DateCommandWhen::day(std::int64_t moment) {
    return {.when = WhenType::specificDay, .specificDay = moment, .dateRange = {}};
}

DateCommandWhen DateCommandWhen::range(NumberRange range) {
    return {.when = WhenType::dateRange, .specificDay = {}, .dateRange = range};
}

NumberRange DateCommandWhen::timeIntervalDateRange(const Clock& clock) const {
    const auto now = [&clock] { return std::int64_t{secondsSince1970(clock.now())}; };
    const auto dayAt = [&now](std::int64_t distance) {
        const std::int64_t start = startOfDay(now()) + distance * kDay;
        return NumberRange{start, start + kDay};
    };
    switch (when) {
        case WhenType::ever:
            break;
        case WhenType::now:
            return {now() - kMinute, now()};
        case WhenType::recent:
            return {now() - kHour, now()};
        case WhenType::today:
            return dayAt(0);
        case WhenType::yesterday:
            return dayAt(-1);
        case WhenType::tomorrow:
            return dayAt(1);
        case WhenType::specificDay:
            return {specificDay.value(), *specificDay + kDay};
        case WhenType::dateRange:
            return dateRange.value();
    }
    return {kDistantPast, kDistantFuture};
}

std::string DateCommandWhen::toString() const {
    if (specificDay) return momentText(*specificDay);
    if (dateRange) return momentText(dateRange->lowerBound) + ' ' + momentText(dateRange->upperBound);
    return nameOf(when);
}

std::string DateCommand::commandToString() const {
    return verbOf(what_) + ' ' + when_.toString();
}

std::string DateCommand::commandExample() const {
    const bool hasDates = when_.specificDay || when_.dateRange;
    return verbOf(what_) + ' ' + (hasDates ? "**" : when_.toString());
}

nlohmann::json DateCommand::explainedFields() const {
    const NumberRange range = when_.timeIntervalDateRange(clock_);
    return {{"when", nameOf(when_.when)},
            {"range", nlohmann::json::array({range.lowerBound, range.upperBound})},
            {"what", nameOf(what_)}};
}

CommandApplyResult DateCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                const QueryContainer&) {
    if (what_ == DateCommandWhat::accessDate) return CommandApplyResult::exclude;
    const std::int64_t date =
        what_ == DateCommandWhat::modificationDate ? result.modDate : result.creationDate;
    const bool isInside = when_.timeIntervalDateRange(clock_).contains(date);
    return isInside ? CommandApplyResult::accept : CommandApplyResult::exclude;
}

void DateCommand::commandImpQuerySearchArguments(QuerySearchArguments& arguments) const {
    const NumberRange range = when_.timeIntervalDateRange(clock_);
    if (what_ == DateCommandWhat::modificationDate) arguments.modificationDate = range;
    if (what_ == DateCommandWhat::creationDate) arguments.creationDate = range;
}

}  // namespace kestrix
