#include "language/commands/word_commands.h"

#include <gtest/gtest.h>

#include "tests/language/language_fixture.h"

namespace kestrix {
namespace {

class WordCommandsTest : public LanguageWorld {
  protected:
    CommandApplyResult applied(Command& command, std::string path) {
        SearchResult result = resultAt(std::move(path));
        return command.commandImpApply(result, nullptr, empty);
    }
    bool excludes(std::vector<std::string> words, std::string path) {
        NotIncludingWords command(std::move(words));
        return applied(*command.copy(), std::move(path)) == CommandApplyResult::exclude;
    }
    bool fits(std::string_view line, std::string path) {
        WildcardWords command(SentenceComponent::parseWords(line));
        return applied(*command.copy(), std::move(path)) == CommandApplyResult::accept;
    }

    QueryContainer empty = query("");
};

TEST_F(WordCommandsTest, ExcludedWordMayStandAnywhereInTheNameButNotInItsFolders) {
    EXPECT_TRUE(excludes({"-dog"}, "/a/Cat and DOGS.txt"));
    EXPECT_FALSE(excludes({"-dog"}, "/dog/cat.txt"));
    EXPECT_TRUE(excludes({"-x", "-\u00e9"}, "/a/E\u0301.txt"));
    EXPECT_TRUE(excludes({"--a"}, "/x/b-a"));
    EXPECT_FALSE(excludes({"--a"}, "/x/a"));
    EXPECT_FALSE(excludes({"-"}, "/x/a-b"));
}

TEST_F(WordCommandsTest, ExcludedWordsAreWrittenSoThatTheyReadTheSame) {
    for (const auto* line : {"-a -b c", "cat -say\\\"hi\\\" -x\\", "- a", "-a\\\\\""}) {
        const auto command = query(line).commandOfType<NotIncludingWords>();
        ASSERT_TRUE(command) << line;
        const auto again = query(command->commandToString()).commandOfType<NotIncludingWords>();
        ASSERT_TRUE(again) << line;
        EXPECT_EQ(again->rawWords(), command->rawWords()) << line;
    }
}

TEST_F(WordCommandsTest, OneWildcardBindsTheWholeName) {
    EXPECT_TRUE(fits("rep*", "/a/Report 2016"));
    EXPECT_FALSE(fits("rep*", "/a/annual report"));
    EXPECT_FALSE(fits("rep*", "/a/report unreported"));
    EXPECT_TRUE(fits("*.txt", "/a/a b.txt"));
    EXPECT_FALSE(fits("*.txt", "/a/a.txt.bak"));
    EXPECT_TRUE(fits("\u00e9*", "/a/E\u0301t"));
}

TEST_F(WordCommandsTest, SeveralWildcardsBindEachWordOfTheName) {
    EXPECT_TRUE(fits("rep* ann*", "/a/my report annual"));
    EXPECT_FALSE(fits("rep* ann*", "/a/my report unannounced"));
    EXPECT_TRUE(fits("*port *al", "/a/report annual x"));
    EXPECT_FALSE(fits("*port *al", "/a/reports annual"));
    EXPECT_FALSE(fits("rep* *al", "/a/my rep al"));
    EXPECT_TRUE(fits("rep* *al", "/a/rep al"));
}

}  // namespace
}  // namespace kestrix
