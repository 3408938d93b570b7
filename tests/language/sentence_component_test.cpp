#include "language/sentence_component.h"

#include <gtest/gtest.h>

namespace kestrix {
namespace {

// Each word as "text@start-end", then ":" after a colon, "q" in quotes, "<" prefix, ">" suffix.
std::string shown(const SentenceComponents& words) {
    std::string line;
    for (const auto& word : words) {
        if (!line.empty()) line += " ";
        line += word.textOriginalCase + "@" + std::to_string(word.position.lowerBound) + "-" +
                std::to_string(word.position.upperBound);
        if (word.isAfterAColon) line += ":";
        if (word.wasInQuotes) line += "q";
        if (word.wildcard == SentenceComponent::Wildcard::prefix) line += "<";
        if (word.wildcard == SentenceComponent::Wildcard::suffix) line += ">";
    }
    return line;
}

std::string parsed(std::string_view line) {
    return shown(SentenceComponent::parseWords(line));
}

TEST(SentenceComponent, ColonFlagsTheWordBeingBuiltAndAllThatFollow) {
    EXPECT_EQ(parsed("reports : modified in 2016"), "reports@0-7 modified@10-18: in@19-21: 2016@22-26:");
    EXPECT_EQ(parsed("reports: modified"), "reports@0-8: modified@9-17:");
    EXPECT_EQ(parsed("a:b c"), "ab@0-3: c@4-5:");
    EXPECT_EQ(parsed(" : a : b"), "a@3-4: b@7-8:");
}

TEST(SentenceComponent, QuotesJoinTextBeforeThemAndEndAtTheirClose) {
    EXPECT_EQ(parsed("new \"york city\" : x"), "new@0-3 york city@5-14q x@18-19:");
    EXPECT_EQ(parsed("ab\"c d\"ef"), "abc d@0-6q ef@7-9");
    EXPECT_EQ(parsed("\"  x \" y"), "  x @3-5q y@7-8");
    EXPECT_EQ(parsed("\"abc def"), "abc def@1-8q");
    EXPECT_EQ(parsed("\"a:b\" c"), "a:b@1-4:q c@6-7:");
    EXPECT_EQ(parsed("\"a*b\""), "a*b@1-4q");
}

TEST(SentenceComponent, EscapedQuoteIsALetterThatBeginsNoWord) {
    EXPECT_EQ(parsed("say \\\"hi\\\""), "say@0-3 \"hi\"@6-10");
    EXPECT_EQ(parsed("\\\" x"), "x@3-4");
    EXPECT_EQ(parsed("\"a \\\" b\""), "a \" b@1-7q");
    EXPECT_EQ(parsed("a\\b c\\"), "a\\b@0-3 c\\@4-6");
}

TEST(SentenceComponent, StarMarksTheWordOnItsLeftElseTheOneOnItsRight) {
    EXPECT_EQ(parsed("*foo"), "foo@1-4>");
    EXPECT_EQ(parsed("foo*"), "foo@0-3<");
    EXPECT_EQ(parsed("*foo*"), "foo@1-4<");
    EXPECT_EQ(parsed("foo*bar"), "foo@0-3< bar@4-7");
    EXPECT_EQ(parsed("* foo"), "foo@2-5");
}

TEST(SentenceComponent, LineWithoutLettersHasNoWords) {
    for (const auto* line : {"", "   ", "\"\"", "*", ":", "\" \"", "\\\""})
        EXPECT_EQ(parsed(line), "") << line;
}

TEST(SentenceComponent, PositionsCountPerceivedCharacters) {
    EXPECT_EQ(parsed("e\u0301t\u00e9 👩‍👧 x"), "e\u0301t\u00e9@0-3 👩‍👧@4-5 x@6-7");
    EXPECT_EQ(parsed("a\r\nb"), "a@0-1 b@2-3");
    EXPECT_EQ(parsed("a\u00a0b\u2028c"), "a@0-1 b@2-3 c@4-5");
    EXPECT_EQ(parsed("a\xff\xfe b"), "a\xff\xfe@0-3 b@4-5");
    // A quote with an accent is another character than a quote.
    EXPECT_EQ(parsed("a\"\u0301b"), "a\"\u0301b@0-3");
}

TEST(SentenceComponent, LoweringIsTheSameInEveryLocaleAndKeepsWhatWasTyped) {
    const auto words = SentenceComponent::parseWords("TITLE Ärger OR");
    EXPECT_EQ(words[0].textLowered, "title");
    EXPECT_EQ(words[1].textLowered, "ärger");
    EXPECT_EQ(words[1].textOriginalCase, "Ärger");
    EXPECT_EQ(words[2].textOriginalCase, "OR");
}

// The time limit of the test program fails whatever is not linear.
TEST(SentenceComponent, MegabyteLinesAreReadInOneGo) {
    std::string accents = "a";
    std::string letters;
    while (accents.size() < 1 << 20)
        accents += "\u0301";
    while (letters.size() < 1 << 20)
        letters += "x ";
    EXPECT_EQ(SentenceComponent::parseWords(accents).front().position.upperBound, 1u);
    const auto words = SentenceComponent::parseWords(letters);
    ASSERT_EQ(words.size(), letters.size() / 2);
    EXPECT_EQ(without(words, words).size(), 0u);
    SentenceComponents twice = words;
    appendNewWords(twice, words);
    EXPECT_EQ(twice.size(), words.size());
}

TEST(SentenceComponent, PhraseComesApartIntoWordsThatKnowIt) {
    const auto line = SentenceComponent::parseWords("x \"New York\"");
    const auto expanded = expandedQuotedItems(line);
    EXPECT_EQ(shown(expanded), "x@0-1 new@0-3 york@4-8");
    EXPECT_EQ(expanded[2].parent, SentenceComponents{line[1]});
    EXPECT_TRUE(compare(SentenceComponent::parseWords("x new york"), line));
    EXPECT_TRUE(compare(SentenceComponent::parseWords("x new"), line));
    EXPECT_FALSE(compare(SentenceComponent::parseWords("x old york"), line));
}

TEST(SentenceComponent, SameTextAtAnotherPlaceIsAnotherWord) {
    const auto words = SentenceComponent::parseWords("a b a");
    EXPECT_EQ(shown(without(words, {words[2]})), "a@0-1 b@2-3");
    SentenceComponents some{words[0]};
    appendNewWords(some, {words[2], words[0], words[2]});
    EXPECT_EQ(shown(some), "a@0-1 a@4-5");
    EXPECT_EQ(partLocationsToRanges(some), (std::vector<CharacterRange>{{0, 1}, {4, 1}}));
    EXPECT_FALSE(containsSameWord({words[0], words[1]}, words[2]));
}

}  // namespace
}  // namespace kestrix
