#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>

#include "base/text.h"
#include "tests/base/text_twin.h"

namespace kestrix {
namespace {

constexpr std::size_t kNowhere = std::string_view::npos;

TEST(FindIgnoringCase, FindsInAsciiFromAnOffset) {
    EXPECT_EQ(text::findIgnoringCase("Report.TXT", "txt"), 7U);
    EXPECT_EQ(text::findIgnoringCase("abcABC", "abc", 1), 3U);
    EXPECT_EQ(text::findIgnoringCase("abc", "abcd"), kNowhere);
    EXPECT_EQ(text::findIgnoringCase("abc", "", 3), 3U);
    EXPECT_EQ(text::findIgnoringCase("abc", "", 4), kNowhere);
    EXPECT_EQ(text::findIgnoringCase("a[b{c", "{"), 3U);
}

TEST(FindIgnoringCase, OffsetsAreThoseOfTheTextAsItIs) {
    // Lowered, the first character takes three bytes instead of two, the Kelvin sign one instead of three.
    EXPECT_EQ(text::findIgnoringCase("Ⱥ ÄB", "äb"), 3U);
    EXPECT_EQ(text::findIgnoringCase("\u212A ÄB", "äb"), 4U);
    EXPECT_EQ(text::findIgnoringCase("xx\u212Aelvin kelvin", "kelvin"), 2U);
    EXPECT_EQ(text::findIgnoringCase("zİstanbul", text::lowered("İSTANBUL")), 1U);
    EXPECT_EQ(text::findIgnoringCase("zİ", "i"), 1U);
}

TEST(FindIgnoringCase, FinalSigmaIsASigma) {
    EXPECT_EQ(text::findIgnoringCase("η ΟΔΟΣΑ", text::lowered("ΟΔΟΣ")), 3U);
    EXPECT_EQ(text::findIgnoringCase("οδος", "οδοσ"), 0U);
}

TEST(FindIgnoringCase, InvalidBytesEqualOnlyThemselves) {
    EXPECT_EQ(text::findIgnoringCase("é\xC3z", "\xC3"), 2U);
    EXPECT_EQ(text::findIgnoringCase("\xFE\xFF", "\xFF"), 1U);
    EXPECT_EQ(text::findIgnoringCase("é", "\xC3"), kNowhere);
}

TEST(FindIgnoringCase, AgreesWithTheSlowTwinOnRandomTexts) {
    constexpr std::array<std::string_view, 18> kPieces = {"a", "A",      "b", "B",      "k", "K",
                                                          "i", "I",      "é", "É",      "σ", "ς",
                                                          "Σ", "\u212A", "İ", "\u0307", "Ⱥ", "\xC3"};
    std::mt19937 random(4);
    const auto text = [&](std::size_t length, std::size_t alphabet) {
        std::string made;
        for (std::size_t i = 0; i < length; ++i) {
            made += kPieces[random() % alphabet];
        }
        return made;
    };
    for (int round = 0; round < 40'000; ++round) {
        const std::size_t alphabet = round % 2 == 0 ? 4 : kPieces.size();
        const std::string haystack = text(random() % 70, alphabet);
        const std::string needle = text::lowered(text(1 + random() % (round % 3 == 0 ? 7 : 2), alphabet));
        std::size_t from = haystack.empty() ? 0 : random() % haystack.size();
        while (from > 0 && (haystack[from] & 0xC0) == 0x80) {
            --from;
        }
        ASSERT_EQ(text::findIgnoringCase(haystack, needle, from),
                  findIgnoringCaseSlowly(haystack, needle, from))
            << haystack << " / " << needle << " from " << from;
    }
}

}  // namespace
}  // namespace kestrix
