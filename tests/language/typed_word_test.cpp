#include "language/typed_word.h"

#include <gtest/gtest.h>

#include "language/sentence_component.h"

namespace kestrix {
namespace {

TEST(TypedWord, ReadsAgainAsOneWordOfTheSameTextAndQuoting) {
    for (const auto* text : {"plain", "two words", "a:b", "*a*", "say \"hi\"", "a\"b", "\\\"", "c:\\dir\\",
                             "a b\\", "tab\there", "\u00a0x", "caf\u00e9", "-x", "\xff"}) {
        const auto quoted = SentenceComponent::parseWords(typedInQuotes(text));
        ASSERT_EQ(quoted.size(), 1u) << text;
        EXPECT_EQ(quoted.front().textOriginalCase, text);
        EXPECT_TRUE(quoted.front().wasInQuotes) << text;
        const auto word = SentenceComponent::parseWords(typedWord(text));
        ASSERT_EQ(word.size(), 1u) << text;
        EXPECT_EQ(word.front().textOriginalCase, text);
    }
    for (const auto* text : {"plain", "a\"b", "a\\", "x\\\"y"}) {
        const auto bare = SentenceComponent::parseWords(typedWithoutQuotes(text) + " next");
        ASSERT_EQ(bare.size(), 2u) << text;
        EXPECT_EQ(bare.front().textOriginalCase, text);
        EXPECT_FALSE(bare.front().wasInQuotes) << text;
    }
}

}  // namespace
}  // namespace kestrix
