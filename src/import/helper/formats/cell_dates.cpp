#include "import/helper/formats/cell_dates.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>

namespace kestrix {
namespace {

// The formats that every program knows by number.
bool isKnownDateFormat(std::string_view id) {
    int number = 0;
    std::from_chars(id.data(), id.data() + id.size(), number);
    return (number >= 14 && number <= 22) || (number >= 27 && number <= 36) ||
           (number >= 45 && number <= 47) || (number >= 50 && number <= 58);
}

// Whether a format as 'dd\. mmm "of" yyyy' or '[Red]0.00 "days"' has fields of a date outside of what is
// quoted and of what stands in brackets, like colours.
bool showsDate(std::string_view code) {
    for (std::size_t at = 0; at < code.size(); ++at) {
        const char byte = code[at];
        if (byte == '"' || byte == '[') {
            at = std::min(code.find(byte == '"' ? '"' : ']', at + 1), code.size());
        } else if (byte == '\\' || byte == '_' || byte == '*') {
            ++at;
        } else if (std::string_view("dmyhsDMYHS").find(byte) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

std::string timeText(long seconds) {
    const std::string text = fmt::format("{:02}:{:02}", seconds / 3600, seconds / 60 % 60);
    return seconds % 60 == 0 ? text : fmt::format("{}:{:02}", text, seconds % 60);
}

}  // namespace

void CellStyles::startElement(std::string_view name, const std::vector<Attribute>& attributes) {
    const std::string_view id = attribute(attributes, "numFmtId");
    if (name == "numFmt" && showsDate(attribute(attributes, "formatCode"))) dateFormats_.emplace(id);
    inCells_ = inCells_ || name == "cellXfs";
    if (inCells_ && name == "xf")
        areDates_.push_back(isKnownDateFormat(id) || dateFormats_.contains(std::string(id)));
}

void CellStyles::endElement(std::string_view name) {
    if (name == "cellXfs") inCells_ = false;
}

bool CellStyles::isDate(std::string_view style) const {
    std::size_t index = 0;
    const auto parsed = std::from_chars(style.data(), style.data() + style.size(), index);
    return parsed.ec == std::errc{} && index < areDates_.size() && areDates_[index];
}

std::string dateText(double number, DateSystem system) {
    using namespace std::chrono;
    constexpr double kEnd = 2'958'466;  // of the year 9999
    constexpr long kDaySeconds = 86'400;
    if (!(number >= 0 && number < kEnd)) return {};
    const long total = std::lround(number * kDaySeconds);
    const long day = total / kDaySeconds;
    std::string time = timeText(total % kDaySeconds);
    if (day == 0) return time;
    // The elder system counts a 29th of February in 1900, which never was.
    const sys_days first = system == DateSystem::from1904 ? sys_days{1904y / January / 1}
                           : day < 60                     ? sys_days{1899y / December / 31}
                                                          : sys_days{1899y / December / 30};
    const year_month_day date(first + days(day));
    const std::string text =
        fmt::format("{:04}-{:02}-{:02}", static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                    static_cast<unsigned>(date.day()));
    return total % kDaySeconds == 0 ? text : text + ' ' + time;
}

}  // namespace kestrix
