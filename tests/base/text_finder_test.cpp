#include "base/text_finder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "base/text_charset.h"
#include "tests/base/text_twin.h"

namespace kestrix {
namespace {

using namespace std::string_view_literals;
using text::Stretch;
using Case = text::TextFinder::Case;

// So many of the pieces that stand between the bars.
std::string randomText(std::mt19937& random, std::string_view pieces, std::size_t length,
                       std::size_t alphabet) {
    const auto all = text::splitAt(pieces, '|');
    std::string made;
    for (std::size_t i = 0; i < length; ++i)
        made += all[random() % std::min(alphabet, all.size())];
    return made;
}

std::vector<Stretch> occurrences(std::string_view text, std::string_view word, Case letters = Case::ignored) {
    const text::TextFinder finder(word, letters);
    text::TextFinder::Occurrences search(finder, text);
    std::vector<Stretch> all;
    while (const auto found = search.next()) {
        all.push_back(*found);
    }
    return all;
}

TEST(TextFinder, AccentsNeverMatterAndCaseOnWish) {
    const std::string text = "Café cafe CAFE\u0301 \u212Aelvin";
    EXPECT_EQ(occurrences(text, "cafe"), (std::vector<Stretch>{{0, 5}, {6, 10}, {11, 17}}));
    EXPECT_EQ(occurrences(text, "café", Case::exact), (std::vector<Stretch>{{6, 10}}));
    EXPECT_EQ(occurrences(text, "KELVIN").size(), 1U);
    EXPECT_EQ(occurrences("ΟΔΟΣ ὁδός", "οδος"), (std::vector<Stretch>{{0, 8}, {9, 18}}));
    EXPECT_EQ(occurrences("aa\u0301aa\u0300\u0327", "aa"), (std::vector<Stretch>{{0, 4}, {4, 10}}));
    EXPECT_TRUE(occurrences("a\u0301", "\u0301").empty());
    EXPECT_TRUE(occurrences("각", "가").empty()) << "a syllable is not found in a longer one";
}

TEST(TextFinder, MacRomanIsSearchedAsIfItWereDecoded) {
    std::mt19937 random(9);
    const auto bytes = [&](std::size_t length) {
        constexpr std::string_view kBytes = "aAeE\x87\x88\xE7\x8E\x83 \xBD\xAD=\xC9\x80";
        std::string made;
        while (made.size() < length) {
            made += kBytes[random() % kBytes.size()];
        }
        return made;
    };
    int hits = 0;
    for (int round = 0; round < 4'000; ++round) {
        const std::string text = bytes(round % 100 == 0 ? 40'000 : 1 + random() % 40);
        const std::string word = text::decodedFromMacRoman(bytes(1 + random() % (round % 100 == 0 ? 5 : 3)));
        const text::TextFinder finder(word, round % 2 == 0 ? Case::ignored : Case::exact);
        const bool isIn = finder.isIn(text::decodedFromMacRoman(text));
        ASSERT_EQ(finder.isInMacRoman(text), isIn) << word;
        hits += isIn ? 1 : 0;
    }
    EXPECT_GT(hits, 500);
    EXPECT_FALSE(text::TextFinder("и", Case::ignored).isInMacRoman("\x87"));
}

// Texts of few letters are full of near misses; runs of x make parts of plain ASCII longer than the blocks in
// which bytes are looked at, and bring mixed parts to their greatest length.
TEST(TextFinder, AgreesWithTheSlowTwinOnRandomTexts) {
    constexpr auto kPieces =
        "a|A|e|E|k| |é|É|e\u0301|a\u0327\u0301|\u212A|ſ|s|\u0301|\u0344|\u1161|가|각|σ|ς|Σ|\u1E9B|\xC3|😀|\0|"
        "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx"sv;
    std::mt19937 random(7);
    for (int round = 0; round < 10'000; ++round) {
        const std::size_t alphabet = round % 2 == 0 ? 11 : 100;
        std::string haystack =
            randomText(random, kPieces, random() % (round % 50 == 0 ? 4000 : 60), alphabet);
        haystack.insert(haystack.size() / 2, random() % 200, 'x');
        const std::string word = randomText(random, kPieces, 1 + random() % 4, round % 3 == 0 ? 7 : alphabet);
        const bool ignoreCase = round % 5 != 0;
        ASSERT_EQ(occurrences(haystack, word, ignoreCase ? Case::ignored : Case::exact),
                  occurrencesSlowly(haystack, word, ignoreCase))
            << haystack << " / " << word;
    }
}

TEST(FindIgnoringCase, OffsetsAreThoseOfTheTextAsItIs) {
    EXPECT_EQ(text::findIgnoringCase("abcABC", "abc", 1), 3U);
    EXPECT_EQ(text::findIgnoringCase("abc", "", 3), 3U);
    EXPECT_EQ(text::findIgnoringCase("abc", "", 4), std::string_view::npos);
    // Lowered, the first character takes three bytes instead of two, the Kelvin sign one instead of three.
    EXPECT_EQ(text::findIgnoringCase("Ⱥ ÄB", "äb"), 3U);
    EXPECT_EQ(text::findIgnoringCase("\u212A ÄB", "äb"), 4U);
    EXPECT_EQ(text::findIgnoringCase("zİstanbul", text::lowered("İSTANBUL")), 1U);
    EXPECT_EQ(text::findIgnoringCase("οδος", "οδοσ"), 0U);
    EXPECT_EQ(text::findIgnoringCase("é\xC3z", "\xC3"), 2U);
}

TEST(FindIgnoringCase, AgreesWithTheSlowTwinOnRandomTexts) {
    constexpr auto kPieces = "a|A|b|B|k|K|i|I|é|É|σ|ς|Σ|\u212A|İ|\u0307|Ⱥ|\xC3|[|{"sv;
    std::mt19937 random(4);
    for (int round = 0; round < 40'000; ++round) {
        const std::size_t alphabet = round % 2 == 0 ? 4 : 100;
        const std::string haystack = randomText(random, kPieces, random() % 70, alphabet);
        const std::size_t length = 1 + random() % (round % 3 == 0 ? 7 : 2);
        const std::string needle = text::lowered(randomText(random, kPieces, length, alphabet));
        std::size_t from = haystack.empty() ? 0 : random() % haystack.size();
        while (from > 0 && (haystack[from] & 0xC0) == 0x80)
            --from;
        ASSERT_EQ(text::findIgnoringCase(haystack, needle, from),
                  findIgnoringCaseSlowly(haystack, needle, from))
            << haystack << " / " << needle << " from " << from;
    }
}

}  // namespace
}  // namespace kestrix
