#include "base/text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/text_locale.h"

namespace kestrix {
namespace {

using Views = std::vector<std::string_view>;

TEST(Text, IsAsciiSeesAHighByteAtEveryPlace) {
    for (std::size_t length = 0; length < 80; ++length) {
        std::string text(length, 'a');
        EXPECT_TRUE(text::isAscii(text));
        for (char& byte : text) {
            byte = '\x80';
            EXPECT_FALSE(text::isAscii(text));
            byte = 'a';
        }
    }
}

TEST(Text, LoweredAndUpperedKnowUnicodeAndKeepInvalidBytes) {
    EXPECT_EQ(text::lowered("@AZ[`az{ 19"), "@az[`az{ 19");
    EXPECT_EQ(text::lowered("ÄÖ ΟΔΟΣ ПРИВЕТ"), "äö οδος привет");
    EXPECT_EQ(text::lowered("İI"), "i̇i");
    EXPECT_EQ(text::lowered("A\xFF\xC3\xC4Ä\xE2\x82"), "a\xFF\xC3\xC4ä\xE2\x82");
    EXPECT_EQ(text::uppered("`az{"), "`AZ{");
    EXPECT_EQ(text::uppered("straße\x80"), "STRASSE\x80");
}

TEST(Text, LocalisedLowerCaseFollowsTheLanguage) {
    EXPECT_EQ(text::loweredFor("IÌ", "de"), "iì");
    EXPECT_EQ(text::loweredFor("TITLE", "tr"), "tıtle");
    EXPECT_EQ(text::loweredFor("İI", "az"), "iı");
    EXPECT_EQ(text::loweredFor("Ì", "lt"), "i̇̀");
}

// Sets a variable of the environment for one test.
class Variable {
  public:
    Variable(const char* name, const char* value) : name_(name) {
        if (const char* before = std::getenv(name)) before_ = before;
        setenv(name, value, 1);
    }
    ~Variable() {
        if (before_) setenv(name_, before_->c_str(), 1);
        if (!before_) unsetenv(name_);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

  private:
    const char* name_;
    std::optional<std::string> before_;
};

TEST(Text, TheLocaleIsThatOfTheCategoryUnlessAllIsSet) {
    const Variable language("LANG", "de_DE.UTF-8");
    const Variable type("LC_CTYPE", "tr_TR.UTF-8");
    const Variable order("LC_COLLATE", "");
    {
        const Variable all("LC_ALL", "");
        EXPECT_EQ(text::userLocale("LC_CTYPE"), "tr_TR");
        EXPECT_EQ(text::userLocale("LC_COLLATE"), "de_DE");
    }
    for (const char* plain : {"C", "POSIX", "C.UTF-8"}) {
        const Variable all("LC_ALL", plain);
        EXPECT_EQ(text::userLocale("LC_CTYPE"), "");
    }
}

TEST(Text, OnlyTheFirstCharacterBecomesUpper) {
    EXPECT_EQ(text::withFirstCharacterUpper(""), "");
    EXPECT_EQ(text::withFirstCharacterUpper("x"), "X");
    EXPECT_EQ(text::withFirstCharacterUpper("any ONE"), "Any ONE");
    EXPECT_EQ(text::withFirstCharacterUpper("e\u0301té"), "E\u0301té");
    EXPECT_EQ(text::withFirstCharacterUpper("éa"), "Éa");
    EXPECT_EQ(text::withFirstCharacterUpper("\xC3 a"), "\xC3 a");
}

TEST(Text, ComposedJoinsAccentsOnlyWhereItCan) {
    EXPECT_EQ(text::composed("plain é"), "plain é");
    EXPECT_EQ(text::composed("e\u0301\xFF e\u0301"), "é\xFF é");
    EXPECT_EQ(text::composed("\u1112\u1161\u11AB"), "한");
    EXPECT_EQ(text::composed("\xCC"), "\xCC");
}

TEST(Text, CharactersAreWhatPeopleSee) {
    EXPECT_EQ(text::characters("a\r\nb\n\r"), (Views{"a", "\r\n", "b", "\n", "\r"}));
    EXPECT_EQ(text::characters("é\r\nx"), (Views{"é", "\r\n", "x"}));
    EXPECT_EQ(text::characters("ae\u0301b"), (Views{"a", "e\u0301", "b"}));
    EXPECT_EQ(text::characters("👩‍👩‍👧🇩🇪🇫🇷각"),
              (Views{"👩‍👩‍👧", "🇩🇪", "🇫🇷", "각"}));
    EXPECT_EQ(text::characterCount("👩‍👩‍👧🇩🇪🇫🇷각"), 4U);
    EXPECT_EQ(text::characterCount("plain\n"), 6U);
    EXPECT_TRUE(text::characters("").empty());
    EXPECT_EQ(text::characters("x\xE2\x82y\u0301"), (Views{"x", "\xE2", "\x82", "y\u0301"}));
    EXPECT_EQ(text::characters("\xED\xA0\x80"), (Views{"\xED", "\xA0", "\x80"}));
}

TEST(Text, EachThreadHasItsOwnBreaker) {
    std::vector<std::thread> threads;
    std::vector<std::size_t> counts(4);
    for (std::size_t& count : counts) {
        threads.emplace_back([&count] {
            for (int i = 0; i < 200; ++i) {
                count += text::characterCount("ne\u0301e 👩‍👩‍👧");
                count += text::naturalCompare("é2", "É10") < 0 ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counts, std::vector<std::size_t>(4, 200 * 6));
}

TEST(Text, AppendTakesBackWhatDecodeGivesOneInvalidByteAtATime) {
    for (const char32_t codePoint : {U'a', U'é', U'€', U'😀', U'\U0010FFFF'}) {
        std::string bytes;
        text::append(bytes, codePoint);
        std::size_t offset = 0;
        EXPECT_EQ(text::decode(bytes, offset), codePoint);
        EXPECT_EQ(offset, bytes.size());
    }
    std::string bytes;
    text::append(bytes, char32_t{0xD800});
    text::append(bytes, char32_t{0x110000});
    EXPECT_EQ(bytes, "\uFFFD\uFFFD");
    std::size_t offset = 1;
    EXPECT_EQ(text::decode("a\xE2\x82", offset), U'\uFFFD');
    EXPECT_EQ(offset, 2U);
}

TEST(Text, ClassesFollowUnicodeNotTheCLibrary) {
    EXPECT_TRUE(text::isWhiteSpaceOrNewline(U'\u0085') && text::isWhiteSpaceOrNewline(U'\u3000'));
    EXPECT_TRUE(text::isWhiteSpaceOrNewline('\v') && text::isWhiteSpaceOrNewline(' '));
    EXPECT_FALSE(text::isWhiteSpaceOrNewline(U'\u200B') || text::isWhiteSpaceOrNewline('\x1C'));
    EXPECT_TRUE(text::isPunctuation('!') && text::isPunctuation(U'«') && text::isPunctuation('_'));
    EXPECT_FALSE(text::isPunctuation('+') || text::isPunctuation('$') || text::isPunctuation('a'));
    EXPECT_TRUE(text::isSymbol('+') && text::isSymbol('$') && text::isSymbol(U'€') && text::isSymbol('^'));
    EXPECT_FALSE(text::isSymbol('!') || text::isSymbol('1'));
}

TEST(Text, TrimmedStopsAtTheFirstOtherCharacterAndSplitLeavesEmptyPiecesOut) {
    EXPECT_EQ(text::trimmed(" \t\u3000 a b\u2003\r\n"), "a b");
    EXPECT_EQ(text::trimmed(" \u00A0 "), "");
    EXPECT_EQ(text::trimmed(" \xA0 "), "\xA0");
    EXPECT_EQ(text::trimmed(" é\u0085"), "é");
    EXPECT_EQ(text::splitAt(",a,,bc,", ','), (Views{"a", "bc"}));
    EXPECT_EQ(text::split("\u3000a é\n", text::isWhiteSpaceOrNewline), (Views{"a", "é"}));
}

TEST(Text, DisplayableReplacesEachInvalidByte) {
    EXPECT_EQ(text::displayable("aé\xFF\xE2\x82z"), "aé\uFFFD\uFFFD\uFFFDz");
    EXPECT_TRUE(text::isValidUtf8("aé 12345678 €"));
    EXPECT_FALSE(text::isValidUtf8("12345678\xC0\xAF"));
    EXPECT_FALSE(text::isValidUtf8("\xF4\x90\x80\x80"));
}

}  // namespace
}  // namespace kestrix
