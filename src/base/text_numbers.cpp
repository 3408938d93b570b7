// A number in words is read as people build it: below a hundred, then hundreds, then groups that each end in
// a greater power of a thousand than the next. A year said in two halves ("twenty sixteen") is refused: as a
// size or a count it would be a guess. ICU's reader takes 24 ms to make, which is more than a whole search
// should cost.
#include "base/text_numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <span>
#include <string>
#include <vector>

#include "base/text.h"

namespace kestrix::text {
namespace {

constexpr std::array<std::string_view, 20> kSmall = {
    "zero",     "one",     "two",     "three",     "four",     "five",    "six",
    "seven",    "eight",   "nine",    "ten",       "eleven",   "twelve",  "thirteen",
    "fourteen", "fifteen", "sixteen", "seventeen", "eighteen", "nineteen"};
constexpr std::array<std::string_view, 10> kTens = {"",      "",      "twenty",  "thirty", "forty",
                                                    "fifty", "sixty", "seventy", "eighty", "ninety"};
constexpr std::array<std::string_view, 6> kPowers = {"",        "thousand", "million",
                                                     "billion", "trillion", "quadrillion"};

template <std::size_t kCount>
std::optional<int> placeOf(const std::array<std::string_view, kCount>& list, std::string_view word) {
    const auto found = std::find(list.begin(), list.end(), word);
    if (word.empty() || found == list.end()) return std::nullopt;
    return static_cast<int>(found - list.begin());
}

// Takes words from the front; what is left at the end is not part of a number.
class SpelledReader {
  public:
    explicit SpelledReader(std::span<const std::string_view> words) : words_(words) {}

    std::optional<double> read() {
        const bool isNegative = take("minus");
        auto value = readWhole();
        if (value && take("point")) value = withFraction(*value);
        if (!value || !words_.empty()) return std::nullopt;
        return isNegative ? -*value : *value;
    }

  private:
    bool take(std::string_view word) {
        if (words_.empty() || words_.front() != word) return false;
        words_ = words_.subspan(1);
        return true;
    }

    template <std::size_t kCount>
    std::optional<int> takeFrom(const std::array<std::string_view, kCount>& list) {
        if (words_.empty()) return std::nullopt;
        const auto place = placeOf(list, words_.front());
        if (place) words_ = words_.subspan(1);
        return place;
    }

    std::optional<int> belowHundred() {
        if (const auto tens = takeFrom(kTens)) {
            const auto unit = words_.empty() ? std::nullopt : placeOf(kSmall, words_.front());
            if (!unit || *unit == 0 || *unit > 9) return *tens * 10;
            words_ = words_.subspan(1);
            return *tens * 10 + *unit;
        }
        return takeFrom(kSmall);
    }

    // One to three digits' worth; "and" must be followed by more.
    std::optional<int> belowThousand() {
        const auto first = belowHundred();
        if (!first || *first == 0 || *first > 9 || !take("hundred")) return first;
        const bool goesOn = take("and");
        const auto rest = belowHundred();
        if (goesOn && !rest) return std::nullopt;
        return *first * 100 + rest.value_or(0);
    }

    std::optional<double> readWhole() {
        double sum = 0;
        int lastPower = static_cast<int>(kPowers.size());
        for (bool isFirst = true;; isFirst = false) {
            const bool goesOn = !isFirst && take("and");
            const bool isMissing = words_.empty() || words_.front() == "point";
            if (isMissing && !isFirst && !goesOn) return sum;
            const auto group = belowThousand();
            if (!group || (*group == 0 && !isFirst)) return std::nullopt;
            const int power = takeFrom(kPowers).value_or(0);
            if (power >= lastPower) return std::nullopt;
            sum += *group * std::pow(1000.0, power);
            if (power == 0) return sum;
            lastPower = power;
        }
    }

    std::optional<double> withFraction(double whole) {
        if (words_.empty()) return std::nullopt;
        double scale = 0.1;
        for (; !words_.empty(); scale /= 10) {
            const auto digit = takeFrom(kSmall);
            if (!digit || *digit > 9) return std::nullopt;
            whole += *digit * scale;
        }
        return whole;
    }

    std::span<const std::string_view> words_;
};

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

// Digits with commas between groups of three lose the commas; nothing if the commas stand elsewhere.
std::optional<std::string> withoutGrouping(std::string_view digits) {
    const auto whole = digits.substr(0, digits.find('.'));
    if (digits.find(',') == std::string_view::npos) return std::string(digits);
    if (whole.size() % 4 == 0) return std::nullopt;  // four digits in front
    std::string plain;
    for (std::size_t at = 0; at < whole.size(); ++at) {
        const bool isCommaPlace = at > 0 && (whole.size() - at) % 4 == 0;
        if (isCommaPlace != (whole[at] == ',')) return std::nullopt;
        if (!isCommaPlace) plain += whole[at];
    }
    return plain.append(digits.substr(whole.size()));
}

std::optional<double> readDigits(std::string_view text) {
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+')) text.remove_prefix(1);
    const bool isPlain = std::all_of(text.begin(), text.end(),
                                     [](char each) { return isDigit(each) || each == '.' || each == ','; });
    if (!isPlain || std::none_of(text.begin(), text.end(), isDigit)) return std::nullopt;
    const auto plain = withoutGrouping(text);
    if (!plain) return std::nullopt;
    double value = 0;
    const char* const end = plain->data() + plain->size();
    const auto read = std::from_chars(plain->data(), end, value, std::chars_format::fixed);
    if (read.ec != std::errc() || read.ptr != end || !std::isfinite(value)) return std::nullopt;
    return isNegative ? -value : value;
}

}  // namespace

std::optional<double> spelledNumber(std::string_view text) {
    if (const auto value = readDigits(text)) return value;
    const std::string lower = lowered(text);
    const auto words = split(lower, [](char32_t each) { return each == '-' || isWhiteSpaceOrNewline(each); });
    return SpelledReader(words).read();
}

std::optional<std::int64_t> wholeNumber(std::string_view text) {
    if (text.size() > 1 && text[0] == '+' && isDigit(text[1])) text.remove_prefix(1);
    std::int64_t value = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, value);
    if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
    return value;
}

}  // namespace kestrix::text
