#include "language/date_helper.h"

#include <algorithm>

namespace kestrix::date_helper {
namespace {

constexpr std::size_t kShortName = 3;

const std::vector<std::string>& dayNames() {
    static const std::vector<std::string> kNames = {"monday", "tuesday",  "wednesday", "thursday",
                                                    "friday", "saturday", "sunday"};
    return kNames;
}

std::optional<int> placeOf(const std::vector<std::string>& names, std::string_view word) {
    const auto found = std::find_if(names.begin(), names.end(), [word](std::string_view name) {
        return name == word || name.substr(0, kShortName) == word;
    });
    if (found == names.end()) return std::nullopt;
    return static_cast<int>(found - names.begin());
}

}  // namespace

const std::vector<std::string>& monthNames() {
    static const std::vector<std::string> kNames = {"january",   "february", "march",    "april",
                                                    "may",       "june",     "july",     "august",
                                                    "september", "october",  "november", "december"};
    return kNames;
}

std::optional<int> monthNumber(std::string_view lowered) {
    constexpr int kSeptember = 9;
    if (lowered == "sept") return kSeptember;  // as common as "sep"
    const auto place = placeOf(monthNames(), lowered);
    return place ? std::optional(*place + 1) : std::nullopt;
}

bool isDayOfWeek(std::string_view lowered) {
    return placeOf(dayNames(), lowered).has_value();
}

}  // namespace kestrix::date_helper
