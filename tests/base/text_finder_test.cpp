#include "base/text_finder.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>

#include "base/text_charset.h"
#include "tests/base/text_twin.h"

namespace kestrix {
namespace {

using text::Stretch;
using Case = text::TextFinder::Case;

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
}

TEST(TextFinder, OccurrencesDoNotOverlapAndHoldTheirAccents) {
    EXPECT_EQ(occurrences("aaaaa", "aa"), (std::vector<Stretch>{{0, 2}, {2, 4}}));
    EXPECT_EQ(occurrences("aa\u0301aa\u0300\u0327", "aa"), (std::vector<Stretch>{{0, 4}, {4, 10}}));
}

TEST(TextFinder, NothingIsFoundOfNothing) {
    EXPECT_TRUE(occurrences("abc", "").empty());
    EXPECT_TRUE(occurrences("a\u0301", "\u0301").empty());
    EXPECT_TRUE(occurrences("", "a").empty());
}

TEST(TextFinder, ASyllableIsNotFoundInALongerOne) {
    EXPECT_TRUE(occurrences("각", "가").empty());
    EXPECT_EQ(occurrences("\u1100\u1161나", "가나"), (std::vector<Stretch>{{0, 9}}));
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
    constexpr std::array<std::string_view, 25> kPieces = {std::string_view("\0", 1),
                                                          "a",
                                                          "A",
                                                          "e",
                                                          "E",
                                                          "k",
                                                          " ",
                                                          "é",
                                                          "É",
                                                          "e\u0301",
                                                          "a\u0327\u0301",
                                                          "\u212A",
                                                          "ſ",
                                                          "s",
                                                          "\u0301",
                                                          "\u0344",
                                                          "\u1161",
                                                          "가",
                                                          "각",
                                                          "σ",
                                                          "ς",
                                                          "Σ",
                                                          "\u1E9B",
                                                          "\xC3",
                                                          "😀"};
    std::mt19937 random(7);
    const auto text = [&](std::size_t length, std::size_t alphabet) {
        std::string made;
        for (std::size_t i = 0; i < length; ++i) {
            made += kPieces[random() % alphabet];
            if (random() % 16 == 0) made.append(random() % 70, 'x');
        }
        return made;
    };
    for (int round = 0; round < 10'000; ++round) {
        const std::size_t alphabet = round % 2 == 0 ? 11 : kPieces.size();
        const std::string haystack = text(random() % (round % 50 == 0 ? 4000 : 60), alphabet);
        const std::string word = text(1 + random() % 4, round % 3 == 0 ? 7 : alphabet);
        const bool ignoreCase = round % 5 != 0;
        ASSERT_EQ(occurrences(haystack, word, ignoreCase ? Case::ignored : Case::exact),
                  occurrencesSlowly(haystack, word, ignoreCase))
            << haystack << " / " << word;
    }
}

}  // namespace
}  // namespace kestrix
