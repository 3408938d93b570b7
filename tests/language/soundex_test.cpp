#include "language/soundex.h"

#include <gtest/gtest.h>

namespace kestrix {
namespace {

TEST(Soundex, LikeSoundsShareAValue) {
    EXPECT_EQ(Soundex::value("Robert"), "R163");
    EXPECT_EQ(Soundex::value("rupert"), "R163");
    EXPECT_EQ(Soundex::value("ab"), "A100");
    EXPECT_EQ(Soundex::value("Ashcraft"), "A261");
    EXPECT_EQ(Soundex::value("Tymczak"), "T522");
    EXPECT_EQ(Soundex::value("Pfister"), "P236");
    EXPECT_EQ(Soundex::value("Washington"), "W252");
}

TEST(Soundex, FewerThanTwoCharactersHaveNoValue) {
    for (const auto* text : {"", "A", " a \n", "e\u0301"})
        EXPECT_EQ(Soundex::value(text), "") << text;
}

TEST(Soundex, FirstCharacterIsKeptWhateverItIs) {
    EXPECT_EQ(Soundex::value("7up"), "7100");
    EXPECT_EQ(Soundex::value("élan"), "É450");
    EXPECT_EQ(Soundex::value("e\u0301lan"), "E\u0301450");
    // In upper case the sharp s is two letters.
    EXPECT_EQ(Soundex::value("ß"), "S000");
}

}  // namespace
}  // namespace kestrix
