// Numbers as people type them: in digits or spelled out in English.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kestrix::text {

// The number that the whole text stands for: "10", "-1.5", "1,000", "ten", "twenty one", "two hundred and
// five", "minus three", "two point five". Nothing for a text that is a number only in part, for a number that
// breaks off ("one hundred and"), and for one too large to hold. Never infinite. Case does not matter; words
// are parted by blanks or hyphens.
std::optional<double> spelledNumber(std::string_view text);

// A whole number in base 10 with an optional sign, and nothing else.
std::optional<std::int64_t> wholeNumber(std::string_view text);

}  // namespace kestrix::text
