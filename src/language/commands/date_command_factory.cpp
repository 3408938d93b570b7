#include "language/commands/date_command_factory.h"

#include <algorithm>
#include <array>
#include <utility>

#include "language/calendar_units.h"

namespace kestrix {
namespace {

// A date as a sentence names it; without a year, the last such date is meant.
struct NamedDate {
    int month = 1;  // 13: the month behind December
    int day = 1;
    std::optional<int> year;
};

// What the variables of one sentence gave, by kind.
struct Values {
    std::optional<DateCommandWhat> what;
    std::vector<int> numbers;
    std::vector<DateCommandWhen> whens;
    std::optional<CalendarUnit> unit;

    int number(std::size_t index) const { return numbers.at(index); }
    std::optional<int> numberIfGiven(std::size_t index) const {
        return index < numbers.size() ? std::optional(numbers[index]) : std::nullopt;
    }
};

Values sortedByKind(const CommandArguments& args) {
    Values values;
    for (const auto& value : args) {
        if (const auto* what = std::any_cast<DateCommandWhat>(&value)) values.what = *what;
        if (const auto* number = std::any_cast<int>(&value)) values.numbers.push_back(*number);
        if (const auto* when = std::any_cast<DateCommandWhen>(&value)) values.whens.push_back(*when);
        if (const auto* unit = std::any_cast<CalendarUnit>(&value)) values.unit = *unit;
    }
    return values;
}

std::string flagOf(const CommandFlags& flags, const std::string& key) {
    const auto found = flags.find(key);
    return found == flags.end() ? "" : found->second;
}

DateCommandWhat whatOf(const Values& values, const CommandFlags& flags) {
    if (values.what) return *values.what;
    const std::string flag = flagOf(flags, "what");
    if (flag == "created") return DateCommandWhat::creationDate;
    return flag == "accessed" ? DateCommandWhat::accessDate : DateCommandWhat::modificationDate;
}

// Works out the dates of one command, all as of the same moment.
class Reckoner {
  public:
    using When = std::optional<DateCommandWhen>;

    Reckoner(const Clock& clock, const Values& values, const CommandFlags& flags)
        : clock_(clock), now_(secondsSince1970(clock.now())), values_(values), flags_(flags) {}

    When specificDateRange() const {
        if (values_.whens.size() < 2) return values_.whens.at(0);
        const NumberRange last = rangeOf(1);
        const bool isThrough = flagOf(flags_, "to") == "through";
        return ordered(rangeOf(0).lowerBound, isThrough ? last.upperBound : last.lowerBound);
    }
    When thisTimeUnit() const { return DateCommandWhen::range(intervalOf(values_.unit.value(), now_)); }
    When lastTimeUnit() const {
        const CalendarUnit unit = values_.unit.value();
        return DateCommandWhen::range(intervalOf(unit, adding(unit, -1, now_)));
    }
    When lastNDateUnit() const {
        const int count = values_.number(0);
        if (count < 0) return std::nullopt;
        return DateCommandWhen::range({now_ - count * lengthOf(values_.unit.value()), now_});
    }

    When month() const { return period(monthAt(0), behindMonthAt(0)); }
    When monthYear() const { return period(monthAt(0, yearAt(1)), behindMonthAt(0, yearAt(1))); }
    When monthToMonth() const { return period(monthAt(0), behindMonthAt(1)); }
    When monthYearToMonth() const { return period(monthAt(0, yearAt(1)), behindMonthAt(2)); }
    When monthToMonthYear() const { return period(monthAt(0), behindMonthAt(1, yearAt(2))); }
    When monthYearToMonthYear() const { return period(monthAt(0, yearAt(1)), behindMonthAt(2, yearAt(3))); }
    When monthYearToYear() const { return period(monthAt(0, yearAt(1)), {.year = *yearAt(2) + 1}); }
    When yearMonthToMonth() const { return period(monthAt(1, yearAt(0)), behindMonthAt(2)); }
    When monthDayToMonth() const {
        constexpr int kLeapYear = 2000;
        const NamedDate from{.month = values_.number(0), .day = values_.number(1), .year = {}};
        if (!isCalendarDate({kLeapYear, from.month, from.day})) return std::nullopt;
        return period(from, behindMonthAt(2));
    }
    When yearToYear() const { return period({.year = yearAt(0)}, {.year = *yearAt(1) + 1}); }
    When year() const { return period({.year = yearAt(0)}, {.year = *yearAt(0) + 1}); }

    // The year may be given behind day and month; without one it is this year or the last.
    When dayMonth() const {
        const bool isMonthFirst = flagOf(flags_, "order") == "month";
        const int day = values_.number(isMonthFirst ? 1 : 0);
        const int month = values_.number(isMonthFirst ? 0 : 1);
        if (const auto year = values_.numberIfGiven(2)) return wholeDay({*year, month, day});
        const int thisYear = dateOf(now_).year;
        const auto inThisYear = wholeDay({thisYear, month, day});
        const bool hasBegun = inThisYear && inThisYear->dateRange->lowerBound <= now_;
        return hasBegun ? inThisYear : wholeDay({thisYear - 1, month, day});
    }

    When afterDate() const { return untilNow(rangeOf(0).lowerBound); }
    When afterYear() const { return untilNow(beginning({.year = *yearAt(0) + (isSince() ? 0 : 1)}).moment); }
    When afterMonth() const {
        const auto year = values_.numberIfGiven(1);
        return untilNow(beginning(isSince() ? monthAt(0, year) : behindMonthAt(0, year)).moment);
    }
    When beforeDate() const { return since1970(rangeOf(0).lowerBound); }
    When beforeYear() const { return since1970(end({.year = yearAt(0)}, first())); }
    When beforeMonth() const { return since1970(end(monthAt(0, values_.numberIfGiven(1)), first())); }

  private:
    struct Beginning {
        std::int64_t moment;
        bool wasAhead;  // and has been moved back
    };

    // Seconds; month and year are seven times their length, and "last 2 months" reaches back 420 days.
    static std::int64_t lengthOf(CalendarUnit unit) {
        switch (unit) {
            case CalendarUnit::minute:
                return 60;
            case CalendarUnit::hour:
                return 3600;
            case CalendarUnit::day:
                return 86'400;
            case CalendarUnit::weekOfYear:
                return 604'800;
            case CalendarUnit::month:
                return 18'144'000;
            case CalendarUnit::year:
                break;
        }
        return 220'752'000;
    }

    std::optional<int> yearAt(std::size_t index) const { return values_.number(index); }
    NamedDate monthAt(std::size_t index, std::optional<int> year = {}) const {
        return {.month = values_.number(index), .day = 1, .year = year};
    }
    NamedDate behindMonthAt(std::size_t index, std::optional<int> year = {}) const {
        return {.month = values_.number(index) + 1, .day = 1, .year = year};
    }
    NumberRange rangeOf(std::size_t index) const {
        return values_.whens.at(index).timeIntervalDateRange(clock_);
    }
    bool isSince() const { return flagOf(flags_, "from") == "start"; }

    std::int64_t momentIn(const NamedDate& date, int year) const {
        return momentOf({year, date.month, date.day}).value_or(now_);
    }
    int yearOf(const NamedDate& date) const { return date.year.value_or(dateOf(now_).year); }

    Beginning beginning(const NamedDate& date) const {
        const std::int64_t moment = momentIn(date, yearOf(date));
        if (moment <= now_) return {moment, false};
        return {momentIn(date, yearOf(date) - 1), true};
    }

    std::int64_t end(const NamedDate& date, const Beginning& from) const {
        const std::int64_t moment = momentIn(date, yearOf(date));
        if (moment <= now_) return moment;
        const std::int64_t earlier = momentIn(date, yearOf(date) - 1);
        const bool mayMove = !date.year || from.wasAhead;
        return mayMove && earlier > from.moment ? earlier : moment;
    }

    // A month without a year is the last such month before an end that has one ("march to may 2016"), and an
    // end without a year is the first behind its start ("november to february", in December).
    When period(const NamedDate& from, const NamedDate& to) const {
        const Beginning begun = beginning(from);
        std::int64_t start = begun.moment;
        std::int64_t until = end(to, begun);
        if (start >= until && !from.year && to.year) {
            const int lastYear = dateOf(until - 1).year;
            start = momentIn(from, lastYear);
            if (start >= until) start = momentIn(from, lastYear - 1);
        } else if (start >= until && !to.year) {
            until = momentIn(to, yearOf(to) + 1);
        }
        return ordered(start, until);
    }

    static When ordered(std::int64_t from, std::int64_t to) {
        if (from >= to) return std::nullopt;
        return DateCommandWhen::range({from, to});
    }
    static When wholeDay(const CalendarDate& date) {
        if (!isCalendarDate(date)) return std::nullopt;
        const auto from = momentOf(date);
        const auto to = momentOf({date.year, date.month, date.day + 1});
        return from && to ? ordered(*from, *to) : std::nullopt;
    }

    // Nothing lies behind now or before 1970: the range is then empty, and right.
    When untilNow(std::int64_t from) const { return DateCommandWhen::range({from, std::max(from, now_)}); }
    Beginning first() const { return beginning({.year = 1970}); }
    When since1970(std::int64_t to) const {
        const std::int64_t from = first().moment;
        return DateCommandWhen::range({from, std::max(from, to)});
    }

    const Clock& clock_;
    std::int64_t now_;
    const Values& values_;
    const CommandFlags& flags_;
};

struct Way {
    const char* name;
    Reckoner::When (Reckoner::*reckon)() const;
};

constexpr std::array<Way, 22> kWays = {{
    {"specificDateRange", &Reckoner::specificDateRange},
    {"thisTimeUnit", &Reckoner::thisTimeUnit},
    {"lastTimeUnit", &Reckoner::lastTimeUnit},
    {"lastNDateUnit", &Reckoner::lastNDateUnit},
    {"month", &Reckoner::month},
    {"monthYear", &Reckoner::monthYear},
    {"monthToMonth", &Reckoner::monthToMonth},
    {"monthYearToMonth", &Reckoner::monthYearToMonth},
    {"monthToMonthYear", &Reckoner::monthToMonthYear},
    {"monthYearToMonthYear", &Reckoner::monthYearToMonthYear},
    {"monthYearToYear", &Reckoner::monthYearToYear},
    {"yearMonthToMonth", &Reckoner::yearMonthToMonth},
    {"monthDayToMonth", &Reckoner::monthDayToMonth},
    {"yearToYear", &Reckoner::yearToYear},
    {"year", &Reckoner::year},
    {"afterDate", &Reckoner::afterDate},
    {"afterYear", &Reckoner::afterYear},
    {"afterMonth", &Reckoner::afterMonth},
    {"beforeDate", &Reckoner::beforeDate},
    {"beforeYear", &Reckoner::beforeYear},
    {"beforeMonth", &Reckoner::beforeMonth},
    {"dayMonth", &Reckoner::dayMonth},
}};

}  // namespace

std::vector<std::string> DateCommandCreator::commandNames() const {
    std::vector<std::string> names;
    names.reserve(kWays.size());
    for (const auto& way : kWays)
        names.emplace_back(way.name);
    return names;
}

std::shared_ptr<Command> DateCommandCreator::create(const std::string& commandName,
                                                    const CommandArguments& args,
                                                    const CommandFlags& flags) const {
    const auto way = std::find_if(kWays.begin(), kWays.end(),
                                  [&commandName](const Way& each) { return commandName == each.name; });
    if (way == kWays.end()) return nullptr;
    const Values values = sortedByKind(args);
    // A sentence that lacks a value its command needs makes no command, like one whose dates make no range.
    try {
        const auto when = (Reckoner(clock_, values, flags).*way->reckon)();
        return when ? std::make_shared<DateCommand>(clock_, *when, whatOf(values, flags)) : nullptr;
    } catch (const std::out_of_range&) {
        return nullptr;
    } catch (const std::bad_optional_access&) {
        return nullptr;
    }
}

}  // namespace kestrix
