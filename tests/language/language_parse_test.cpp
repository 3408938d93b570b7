#include "language/language_parse.h"

#include <gtest/gtest.h>

#include "base/error.h"
#include "tests/language/language_fixture.h"

namespace kestrix {
namespace {

TEST(SentenceTemplate, LastWordNamesTheCommandAndItsFlags) {
    const auto sentence =
        SentenceTemplate::fromLine("Made in \"~file size\" year/x/what=a,odd,foo=bar,what=b");
    EXPECT_EQ(sentence.words, (Texts{"Made", "in", "~file size"}));
    EXPECT_EQ(sentence.components.size(), 3u);
    EXPECT_EQ(sentence.numberOfKeywords, 3u);
    EXPECT_EQ(sentence.command, "year");
    EXPECT_EQ(sentence.flags, (CommandFlags{{"what", "b"}, {"foo", "bar"}}));
}

TEST(SentenceTemplate, CommentsAndEmptyLinesAreNoTemplates) {
    const auto sentences = SentenceTemplate::fromText("//a b\n\nx one\nold \u270F\uFE0F two\n // three");
    ASSERT_EQ(sentences.size(), 2u);
    EXPECT_EQ(sentences[0].command, "one");
    EXPECT_EQ(sentences[1].command, "three");
    EXPECT_TRUE(SentenceTemplate::fromText("").empty());
}

TEST(SentenceTemplate, FaultyLineIsNamedByItsNumber) {
    for (const std::string fault : {"   ", "word /"}) {
        try {
            SentenceTemplate::fromText("x one\n\n" + fault + "\ny two");
            FAIL() << fault;
        } catch (const Error& error) {
            EXPECT_NE(std::string(error.what()).find("line 3"), std::string::npos) << error.what();
        }
    }
}

class LanguageParseTest : public LanguageWorld {
  protected:
    struct Read {
        Texts commands;
        Texts words;
        bool operator==(const Read&) const = default;
        friend void PrintTo(const Read& read, std::ostream* out) {
            *out << ::testing::PrintToString(read.commands) << ::testing::PrintToString(read.words);
        }
    };
    static Read read(const LanguageParse& parse, std::string_view line) {
        const auto result = parse.allMatches(SentenceComponent::parseWords(line));
        return {textsOf(result.commands), textsOf(result.words)};
    }
    Read read(std::string_view line) const { return read(language, line); }
};

TEST_F(LanguageParseTest, CommandsFollowEachOtherInAnyOrder) {
    EXPECT_EQ(read("modified in 2016 is image"),
              (Read{{"year 2016 what=modified", "is image"}, {"modified", "in", "2016", "is", "image"}}));
    EXPECT_EQ(read("IS image Modified today").commands, (Texts{"is image", "today"}));
}

TEST_F(LanguageParseTest, WordThatBeginsNoTemplateIsPassedOver) {
    EXPECT_EQ(read("foo is image bar"), (Read{{"is image"}, {"is", "image"}}));
    EXPECT_EQ(read(LanguageParse(), "is image"), (Read{{}, {}}));
    EXPECT_EQ(read(""), (Read{{}, {}}));
}

TEST_F(LanguageParseTest, TemplateWithMoreWordsWinsThenTheFirst) {
    EXPECT_EQ(read("is any thing").commands, Texts{"isAnything"});
    const auto equals = languageOf("is ~word is\nis image isAnything\n");
    EXPECT_EQ(read(equals, "is image").commands, Texts{"is image"});
}

TEST_F(LanguageParseTest, TemplateThatFailsMidwayLeavesItsWordsRecognised) {
    EXPECT_EQ(read("inside"), (Read{{}, {"inside"}}));
    EXPECT_EQ(read("modified in spring"), (Read{{}, {"modified", "in"}}));
}

TEST_F(LanguageParseTest, CommandKeepsWordsThatOtherTemplatesTouched) {
    // "is image" matches, the longer template goes on to "large" and fails at "x".
    const auto parse = languageOf("is ~word is\nis image large wide isAnything\n");
    const auto result = parse.allMatches(SentenceComponent::parseWords("is image large x"));
    ASSERT_EQ(result.commands.size(), 1u);
    EXPECT_EQ(textsOf(result.commands[0]->commandConsumedParts), (Texts{"is", "image", "large"}));
}

TEST_F(LanguageParseTest, FlagsOfAContentSearchMayBeMissing) {
    EXPECT_EQ(read("content tax"), (Read{{"textContent tax"}, {"content", "tax"}}));
    EXPECT_EQ(read("content tax exactly is image"),
              (Read{{"textContent tax", "is image"}, {"content", "tax", "exactly", "is", "image"}}));
    EXPECT_EQ(read("content tax is image").commands, (Texts{"textContent tax", "is image"}));
    EXPECT_EQ(read("content"), (Read{{}, {"content"}}));
}

TEST_F(LanguageParseTest, VariableMayNameACompletor) {
    EXPECT_EQ(read("ext txt").commands, Texts{"extension txt"});
}

TEST_F(LanguageParseTest, WordsOfACommandThatNobodyMakesAreRecognised) {
    EXPECT_EQ(read("refuse me"), (Read{{}, {"refuse", "me"}}));
    EXPECT_EQ(read("not built is x"), (Read{{"is x"}, {"not", "built", "is", "x"}}));
}

TEST_F(LanguageParseTest, MegabyteOfWordsIsMatchedInOneGo) {
    std::string line;
    while (line.size() < 1 << 20)
        line += "x not ";
    EXPECT_EQ(read(line).words.size(), line.size() / 6);
}

}  // namespace
}  // namespace kestrix
