#include "base/text_numbers.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/text.h"

namespace kestrix::text {
namespace {

TEST(SpelledNumber, WordsAndDigitsGiveTheirValue) {
    const std::vector<std::pair<std::string, double>> cases = {
        {"10", 10},
        {"-1.5", -1.5},
        {"+7", 7},
        {".5", 0.5},
        {"1,000", 1000},
        {"12,345,678.25", 12345678.25},
        {"zero", 0},
        {"ten", 10},
        {"Twenty One", 21},
        {"twenty-one", 21},
        {"ninety", 90},
        {"one hundred", 100},
        {"two hundred and five", 205},
        {"nine hundred ninety nine", 999},
        {"one thousand and one", 1001},
        {"twelve million three hundred thousand forty", 12300040},
        {"one quadrillion", 1e15},
        {"minus three", -3},
        {"two point five", 2.5}};
    for (const auto& [text, value] : cases)
        EXPECT_EQ(spelledNumber(text), value) << text;
}

TEST(SpelledNumber, WhatIsANumberOnlyInPartIsNone) {
    constexpr std::string_view kNone =
        " |-|.|,|1.2.3|1,00|,100|1000,000|1.0,00|10mb|0x10|1e5|inf|nan|infinity|-inf|--1|one hundred and|"
        "one thousand and|hundred|ten hundred|twenty ten|twenty sixteen|one two|zero one|thousand|"
        "one thousand million|one thousand thousand|two point|two point ten|point five|minus|"
        "minus minus one|one mb|twentyone";
    for (const std::string_view text : splitAt(kNone, '|'))
        EXPECT_EQ(spelledNumber(text), std::nullopt) << text;
    EXPECT_EQ(spelledNumber(""), std::nullopt);
    EXPECT_EQ(spelledNumber(std::string(400, '9')), std::nullopt);
}

TEST(WholeNumber, OnlyDigitsBehindAnOptionalSign) {
    EXPECT_EQ(wholeNumber("+16"), 16);
    EXPECT_EQ(wholeNumber("-9223372036854775808"), INT64_MIN);
    for (const std::string text : {"", "+", "-", "+-1", "1.0", "1 ", " 1", "9223372036854775808", "one"})
        EXPECT_EQ(wholeNumber(text), std::nullopt) << text;
}

}  // namespace
}  // namespace kestrix::text
