#include "search/content_text.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

#include "search/content_words.h"
#include "tests/search/content_twin.h"

namespace kestrix {
namespace {

using Words = std::vector<std::string>;

TEST(SearchWordParts, StandBetweenCommasWithoutBlanksAndOnePairOfQuotes) {
    EXPECT_EQ(searchWordParts("red, \"dark blue\""), (Words{"red", "dark blue"}));
    EXPECT_EQ(searchWordParts(",, yearly total \n,\"\"a\""), (Words{"yearly total", "\"a"}));
    EXPECT_TRUE(searchWordParts("").empty());
}

TEST(IsWholeWord, WhiteSpaceAndPunctuationEndWordsAndSymbolsDoNot) {
    const auto isWhole = [](std::string_view text) { return isWholeWord({text.find("cat"), 3}, text); };
    for (const char* text : {"cat", "a cat,", "(cat)", "\r\ncat\r\n", "“cat”", "_cat-"}) {
        EXPECT_TRUE(isWhole(text)) << text;
    }
    for (const char* text :
         {"concatenate", "cat$", "+cat", "cat,\u0301", "écat", "cat\u200D", "\u0600 cat"}) {
        EXPECT_FALSE(isWhole(text)) << text;
    }
}

TEST(Summary, OneLineAHitUpToAThousandAndOneWithoutTheCutWordInFront) {
    const std::string text =
        std::string(80, 'x') + "yz before\n\n\tthe hit  and\r\nmore" + std::string(200, '.');
    const TextRange hit{text.find("hit"), 3};
    EXPECT_EQ(summary(text, {hit, hit}), Words(2, "…before the hit and more" + std::string(87, '.') + "…"));
    EXPECT_EQ(summary("word", {{0, 4}, {4, 0}}), Words{"……"});
    EXPECT_EQ(summary("a b c", std::vector<TextRange>(2000, {2, 1})).size(), 1001U);
}

TEST(Summary, AgreesWithTheSlowTwinOnRandomTexts) {
    constexpr std::array<std::string_view, 14> kPieces = {
        " ", "word ", "x", "\n", "\r\n", "\t", "é", "e\u0301", "中", "👩\u200D👧", "🇩🇪", "\u00A0", "가", "\r"};
    std::mt19937 random(3);
    for (int round = 0; round < 3'000; ++round) {
        std::string text;
        const std::size_t alphabet = round % 3 == 0 ? 6 : kPieces.size();
        for (std::size_t length = random() % 500; length > 0; --length) {
            text += kPieces[random() % alphabet];
        }
        std::size_t location = random() % (text.size() + 1);
        while (location > 0 && location < text.size() && (text[location] & 0xC0) == 0x80) {
            --location;
        }
        if (location == text.size()) continue;
        ASSERT_EQ(summary(text, {{location, 1}}), Words{summaryLineSlowly(text, location)})
            << text << " at " << location;
    }
}

TEST(ContentWords, OneWordIsEnoughUnlessAllAreWanted) {
    const ContentWords any({"Red", "blue", "red"}, {}, {});
    const auto found = any.findIn("a red rose, Réd", true);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->count, 2);
    EXPECT_EQ(found->places,
              (std::map<std::string, std::vector<TextRange>>{{"blue", {}}, {"red", {{2, 3}, {12, 4}}}}));
    EXPECT_TRUE(any.findIn("red", false)->places.empty());
    EXPECT_FALSE(any.findIn("green", true));
}

TEST(ContentWords, OfAnExcludedWordOnlyTheFirstOccurrenceIsLookedAt) {
    const ContentWords anywhere({"red"}, {"cat"}, {});
    EXPECT_FALSE(anywhere.findIn("red concatenated", false));
    const ContentWords whole({"red"}, {"cat"}, {.wholeWords = true});
    EXPECT_TRUE(whole.findIn("red concat cat", false));
    EXPECT_FALSE(whole.findIn("red cat concat", false));
    EXPECT_FALSE(whole.findIn("reds cat", false));
    const ContentWords exact({"Red"}, {"blue"}, {.caseSensitive = true});
    EXPECT_TRUE(exact.findIn("Réd Blue", false));
    EXPECT_FALSE(exact.findIn("Red blue", false));
}

}  // namespace
}  // namespace kestrix
