// ISO is tried first: readers that go by the locale take the year of "2016-03-05" for a day.
#include "language/date_detector.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "base/text.h"
#include "language/date_helper.h"

namespace kestrix {
namespace {

using Moment = std::optional<std::int64_t>;

constexpr int kFirstYear = 1600;  // the calendar in use today, everywhere in the West a little later
constexpr int kLastYear = 9999;
constexpr int kSecondsPerHour = 3600;
constexpr int kSecondsPerMinute = 60;

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

// One to four digits and nothing else.
std::optional<int> number(std::string_view text) {
    if (text.empty() || text.size() > 4 || !std::all_of(text.begin(), text.end(), isDigit))
        return std::nullopt;
    int value = 0;
    for (const char digit : text)
        value = value * 10 + (digit - '0');
    return value;
}

std::optional<int> yearOf(std::string_view text) {
    const auto value = number(text);
    if (!value) return std::nullopt;
    if (text.size() == 2) return *value < 70 ? 2000 + *value : 1900 + *value;
    if (text.size() != 4 || *value < kFirstYear) return std::nullopt;
    return value;
}

// A day or month in digits, or a day with the ending of its rank.
std::optional<int> shortNumber(std::string_view text) {
    return text.size() > 2 ? std::nullopt : number(text);
}
std::optional<int> dayOf(std::string_view text) {
    for (const std::string_view ending : {"st", "nd", "rd", "th"}) {
        if (text.ends_with(ending)) return shortNumber(text.substr(0, text.size() - ending.size()));
    }
    return shortNumber(text);
}

std::optional<CalendarDate> dateFrom(std::optional<int> year, std::optional<int> month,
                                     std::optional<int> day) {
    if (!year || !month || !day) return std::nullopt;
    const CalendarDate date{*year, *month, *day};
    return isCalendarDate(date) ? std::optional(date) : std::nullopt;
}

// Reads a text from its front, in pieces of fixed shape.
class Cursor {
  public:
    explicit Cursor(std::string_view text) : text_(text) {}

    bool isAtEnd() const { return text_.empty(); }
    bool take(char expected) {
        if (!text_.starts_with(expected)) return false;
        text_.remove_prefix(1);
        return true;
    }
    std::optional<int> digits(std::size_t count) {
        if (text_.size() < count) return std::nullopt;
        const auto value = number(text_.substr(0, count));
        if (value) text_.remove_prefix(count);
        return value;
    }

  private:
    std::string_view text_;
};

// "14:30" or "14:30:15"; the colons may be missing, as a line drops those outside quotes.
std::optional<TimeOfDay> readTime(Cursor& cursor) {
    const auto hour = cursor.digits(2);
    if (!hour || *hour > 23) return std::nullopt;
    cursor.take(':');
    const auto minute = cursor.digits(2);
    if (!minute || *minute > 59) return std::nullopt;
    const bool hasColon = cursor.take(':');
    const auto second = cursor.digits(2);
    if (!second) return hasColon ? std::nullopt : std::optional(TimeOfDay{*hour, *minute, 0});
    if (*second > 59) return std::nullopt;
    return TimeOfDay{*hour, *minute, *second};
}

// Seconds east of Greenwich: "z", "+01", "+0100" or "+01:00".
std::optional<int> readZone(Cursor& cursor) {
    if (cursor.take('z')) return 0;
    const bool isEast = cursor.take('+');
    if (!isEast && !cursor.take('-')) return std::nullopt;
    const auto hours = cursor.digits(2);
    if (!hours || *hours > 23) return std::nullopt;
    const bool isLonger = cursor.take(':') || !cursor.isAtEnd();
    const auto minutes = isLonger ? cursor.digits(2) : 0;
    if (!minutes || *minutes > 59) return std::nullopt;
    const int offset = *hours * kSecondsPerHour + *minutes * kSecondsPerMinute;
    return isEast ? offset : -offset;
}

std::int64_t greenwichMoment(const CalendarDate& date, const TimeOfDay& time) {
    using namespace std::chrono;
    const sys_days day = year(date.year) / date.month / date.day;
    const auto moment = day + hours(time.hour) + minutes(time.minute) + seconds(time.second);
    return duration_cast<seconds>(moment.time_since_epoch()).count();
}

Moment readIso(std::string_view text) {
    Cursor cursor(text);
    const auto year = cursor.digits(4);
    if (!year || *year < kFirstYear || !cursor.take('-')) return std::nullopt;
    const auto month = cursor.digits(2);
    if (!month || !cursor.take('-')) return std::nullopt;
    const auto date = dateFrom(year, month, cursor.digits(2));
    if (!date || cursor.isAtEnd()) return date ? momentOf(*date) : std::nullopt;
    if (!cursor.take('t') && !cursor.take(' ')) return std::nullopt;
    const auto time = readTime(cursor);
    if (!time || cursor.isAtEnd()) return time ? momentOf(*date, *time) : std::nullopt;
    const auto offset = readZone(cursor);
    if (!offset || !cursor.isAtEnd()) return std::nullopt;
    const std::int64_t moment = greenwichMoment(*date, *time) - *offset;
    const int localYear = dateOf(moment).year;
    const bool isWritable = localYear >= kFirstYear && localYear <= kLastYear;
    return isWritable ? Moment(moment) : std::nullopt;
}

// Three numbers with the same sign between them. The order matters only where it is not plain: a year in
// front and the points of the continent each have one of their own.
std::optional<CalendarDate> readNumbers(std::string_view text, const std::function<DateOrder()>& order) {
    const auto sign = text.find_first_of("/.-");
    if (sign == std::string_view::npos) return std::nullopt;
    const auto pieces = text::splitAt(text, text[sign]);
    const bool isWhole = std::count(text.begin(), text.end(), text[sign]) == 2;
    if (pieces.size() != 3 || !isWhole) return std::nullopt;
    if (pieces[0].size() == 4)
        return dateFrom(yearOf(pieces[0]), shortNumber(pieces[1]), shortNumber(pieces[2]));
    const auto first = shortNumber(pieces[0]);
    const auto second = shortNumber(pieces[1]);
    const auto year = yearOf(pieces[2]);
    const auto dayFirst = dateFrom(year, second, first);
    if (text[sign] == '.') return dayFirst;
    const auto monthFirst = dateFrom(year, first, second);
    if (!dayFirst || !monthFirst) return dayFirst ? dayFirst : monthFirst;
    return order() == DateOrder::monthFirst ? monthFirst : dayFirst;
}

// A month by name, with day and year around it.
std::optional<CalendarDate> readNamed(std::string_view text) {
    if (text::isPunctuation(static_cast<unsigned char>(text.front()))) return std::nullopt;
    auto pieces = text::split(text, [](char32_t each) {
        return each == '-' || each == '/' || each == ',' || each == '.' || text::isWhiteSpaceOrNewline(each);
    });
    if (pieces.size() == 4 && date_helper::isDayOfWeek(pieces.front())) pieces.erase(pieces.begin());
    if (pieces.size() == 4 && pieces[1] == "of") pieces.erase(pieces.begin() + 1);
    if (pieces.size() != 3) return std::nullopt;
    if (const auto month = date_helper::monthNumber(pieces[0]))
        return dateFrom(yearOf(pieces[2]), month, dayOf(pieces[1]));
    const auto month = date_helper::monthNumber(pieces[1]);
    const bool isYearFirst = pieces[0].size() == 4 && number(pieces[0]);
    return isYearFirst ? dateFrom(yearOf(pieces[0]), month, dayOf(pieces[2]))
                       : dateFrom(yearOf(pieces[2]), month, dayOf(pieces[0]));
}

Moment readDate(std::string_view text, const std::function<DateOrder()>& order) {
    if (std::none_of(text.begin(), text.end(), isDigit)) return std::nullopt;
    if (const Moment moment = readIso(text)) return moment;
    auto date = readNumbers(text, order);
    if (!date) date = readNamed(text);
    return date ? momentOf(*date) : std::nullopt;
}

std::vector<std::int64_t> asList(const Moment& moment) {
    return moment ? std::vector{*moment} : std::vector<std::int64_t>();
}

}  // namespace

std::vector<std::int64_t> DateDetector::simpleDatesInString(std::string_view text) {
    return asList(readDate(
        text, [] { return localeWritesMonthFirst() ? DateOrder::monthFirst : DateOrder::dayFirst; }));
}

std::vector<std::int64_t> DateDetector::simpleDatesInString(std::string_view text, DateOrder order) {
    return asList(readDate(text, [order] { return order; }));
}

}  // namespace kestrix
