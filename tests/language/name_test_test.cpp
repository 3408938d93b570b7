#include "language/name_test.h"

#include <gtest/gtest.h>

#include "base/text.h"
#include "base/text_locale.h"

namespace kestrix {
namespace {

bool holds(std::vector<std::string> words, std::string_view name) {
    return NameTest({.words = std::move(words)}).matches(name);
}

TEST(NameTest, EveryWordStandsSomewhereInTheName) {
    EXPECT_TRUE(holds({"port", "2016"}, "Annual REPORT 2016.pdf"));
    EXPECT_FALSE(holds({"port", "2017"}, "Annual REPORT 2016.pdf"));
    EXPECT_TRUE(holds({}, "anything"));
    EXPECT_TRUE(holds({"x"}, "X"));
    EXPECT_FALSE(holds({"xy"}, "x"));
    EXPECT_FALSE(holds({""}, "x"));
}

// The search goes by blocks of sixteen from a buffer of fixed size: every length, place and size of word.
TEST(NameTest, WordIsFoundAtEachPlaceOfNamesOfEachLength) {
    for (std::size_t size = 1; size <= 300; size += size < 40 || size > 250 ? 1 : 37) {
        for (std::size_t wordSize : {1u, 2u, 3u, 17u, 40u}) {
            for (std::size_t at = 0; at + wordSize <= size; ++at) {
                std::string name(size, 'B');
                name.replace(at, wordSize, std::string(wordSize - 1, 'A') + "C");
                const std::string word = std::string(wordSize - 1, 'a') + "c";
                ASSERT_TRUE(holds({word}, name)) << name;
                ASSERT_FALSE(holds({word + "d"}, name)) << name;
                // What lies beyond the end of a name is not part of it.
                ASSERT_EQ(holds({word}, std::string_view(name).substr(0, at + wordSize - 1)), false);
            }
        }
    }
}

TEST(NameTest, OnlyLettersAreLowered) {
    EXPECT_TRUE(holds({"@[`{"}, "x@[`{"));
    EXPECT_FALSE(holds({"`"}, "@"));
    EXPECT_FALSE(holds({"{"}, "["));
}

TEST(NameTest, AccentsMeetInEitherForm) {
    EXPECT_TRUE(holds({"caf\u00e9"}, "CAFE\u0301.txt"));
    EXPECT_TRUE(holds({"cafe\u0301"}, "Caf\u00c9.txt"));
    EXPECT_FALSE(holds({"cafe"}, "Cafe\u0301.txt"));
    EXPECT_TRUE(holds({"straße"}, "Hauptstraße"));
    EXPECT_TRUE(holds({"txt"}, "\xff\xfe.TXT"));
    EXPECT_TRUE(holds({"\xff"}, "a\xff.txt"));
    EXPECT_TRUE(holds({"ö", "x"}, std::string(400, 'x') + "Ö"));
}

TEST(NameTest, WholeWordsEqualPiecesBetweenBlanksPunctuationAndSymbols) {
    const NameTest test({.words = {"cat"}, .wholeWords = true});
    for (const auto* name : {"Cat", "a_cat.txt", "my\u00a0cat", "1+cat=2", "«cat»"})
        EXPECT_TRUE(test.matches(name)) << name;
    for (const auto* name : {"cats", "concat.txt", ""})
        EXPECT_FALSE(test.matches(name)) << name;
}

// Every shape of the words, against names of each length and kind, with the sought bytes at each place.
TEST(NameTest, TheQuickLookNeverTurnsDownWhatMatches) {
    const std::vector<NameTest> tests = {
        NameTest({.words = {"zq"}}),
        NameTest({.words = {"_", "t_x"}}),
        NameTest({.words = {"\u00e9z"}}),
        NameTest({.words = {"k"}}),
        NameTest({.words = {"z", "b"}}),
        NameTest({.words = {"Zq"}, .caseSensitive = true}),
        NameTest({.words = {"zq"}, .wholeWords = true}),
        NameTest({.orGroups = {{"zq", "x"}, {"\u00e9"}}, .anyGroup = true}),
    };
    int matched = 0, turnedDown = 0;
    for (const char* piece :
         {"zq", "Zq", "ZQ x", "T_X", "e\u0301z", "\u00c9Z", "\u212a", "k", "b", ".zq.", "\u00e9zq"}) {
        for (std::size_t size = 0; size <= 40; ++size) {
            for (std::size_t at : {std::size_t{0}, size / 2, size}) {
                const std::string name = std::string(at, 'b') + piece + std::string(size - at, 'b');
                for (const NameTest& test : tests) {
                    const bool may = test.mayMatch(name);
                    turnedDown += !may;
                    if (!test.matches(name)) continue;
                    ++matched;
                    ASSERT_TRUE(may) << name;
                }
            }
        }
    }
    EXPECT_GT(matched, 500);
    EXPECT_GT(turnedDown, 500);
}

TEST(NameTest, TheQuickLookAsksForNeighbours) {
    const NameTest test({.words = {"report"}});
    for (const char* name : {"open.txt", "o.p", "op", "a much longer name, with o at the end of p"})
        EXPECT_FALSE(test.mayMatch(name)) << name;
    EXPECT_FALSE(test.mayMatch("Übersicht.pdf"));
}

// An ASCII byte that a name holds only once it is lowered and composed must not be missed in the name itself.
TEST(NameTest, TheQuickLookKnowsEveryCharacterThatBecomesAscii) {
    std::vector<NameTest> tests;
    tests.reserve(0x80);
    for (int byte = 0; byte < 0x80; ++byte)
        tests.emplace_back(NameTestWords{.words = {std::string(1, static_cast<char>(byte))}});
    int met = 0;
    for (char32_t codePoint = 0x80; codePoint <= 0x10ffff; ++codePoint) {
        if (codePoint >= 0xd800 && codePoint < 0xe000) continue;
        std::string name;
        text::append(name, codePoint);
        for (const char* language : {"", "lt"}) {
            for (const char byte : text::composed(text::loweredFor(name, language))) {
                if (byte < 0) continue;
                ++met;
                ASSERT_TRUE(tests[static_cast<std::size_t>(byte)].mayMatch(name)) << byte << " in " << name;
            }
        }
    }
    EXPECT_GE(met, 8);
}

}  // namespace
}  // namespace kestrix
