// Names of months and days of the week as the language has them: in English, in lower case.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrix::date_helper {

// 1 to 12 for "march" or "mar"; nothing for any other word.
std::optional<int> monthNumber(std::string_view lowered);

// The twelve full names, January first.
const std::vector<std::string>& monthNames();

// Whether it is "saturday" or "sat".
bool isDayOfWeek(std::string_view lowered);

}  // namespace kestrix::date_helper
