#include "language/completion.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "base/text.h"
#include "language/sentence_examples.h"
#include "tests/language/vocabulary_fixture.h"

namespace kestrix {
namespace {

using Texts = std::vector<std::string>;

// As if every sentence of the language were built; it makes nothing.
class EveryCommand : public CommandFactory {
  public:
    std::vector<std::string> commandNames() const override { return knownCommandNames(); }
    std::shared_ptr<Command> create(const std::string&, const CommandArguments&,
                                    const CommandFlags&) const override {
        return nullptr;
    }
};

class CompletionTest : public testing::Test {
  protected:
    CompletionTest() {
        lookups_.knownTags = [] { return Texts{"Red", "to print"}; };
    }

    Texts words(const std::string& line) const {
        Texts texts;
        for (const auto& one : continuationsOf(line, language_, lookups_))
            texts.push_back(one.word);
        return texts;
    }
    bool offers(const std::string& line, const std::string& word) const {
        const Texts offered = words(line);
        return std::find(offered.begin(), offered.end(), word) != offered.end();
    }

    VariableLookups lookups_ = sampleLookups();
    LanguageParse language_{makeVocabulary(shippedSentences(), {std::make_shared<EveryCommand>()}, lookups_)};
};

TEST_F(CompletionTest, AnEmptyCommandAreaOffersFirstWordsTheMostUsualFirst) {
    for (const char* line : {":", "report :", "report : "}) {
        const Texts offered = words(line);
        ASSERT_GT(offered.size(), 20u) << line;
        EXPECT_EQ(Texts(offered.begin(), offered.begin() + 4),
                  (Texts{"is", "modified", "created", "bigger"}));
        EXPECT_EQ(std::count(offered.begin(), offered.end(), "is"), 1);
    }
    EXPECT_EQ(words("report"), Texts());
    EXPECT_EQ(words(""), Texts());
}

TEST_F(CompletionTest, AHalfTypedWordIsCompletedAndTheWholeLineKept) {
    const auto continuations = continuationsOf("Report  : bigger than 10mb mod", language_, lookups_);
    EXPECT_EQ(
        continuations,
        (std::vector<Continuation>{{.word = "modified", .line = "Report  : bigger than 10mb modified"}}));
    EXPECT_EQ(continuationsOf("report :", language_, lookups_).front().line, "report : is");
    EXPECT_EQ(words("x : bigger th"), Texts{"than"});
    EXPECT_EQ(words("x : BIG"), Texts{"bigger"});
}

TEST_F(CompletionTest, WhatGoesOnComesBeforeWhatBegins) {
    EXPECT_EQ(words("x : bigger "), Texts{"than"});
    EXPECT_EQ(words("x : bigger than "), Texts()) << "a size is the user's own";
    EXPECT_EQ(words("x : in march ").front(), "to");
    EXPECT_TRUE(offers("x : in march ", "bigger"));
    EXPECT_FALSE(offers("x : in ", "bigger"));
    EXPECT_TRUE(offers("x : last 3 ", "days"));
    EXPECT_TRUE(offers("x : content y ", "is")) << "the flags of a content search may be left out";
}

TEST_F(CompletionTest, ASentenceThatDoesNothingYetIsNotOffered) {
    EXPECT_TRUE(offers("x : ", "by"));
    language_ =
        LanguageParse(makeVocabulary(shippedSentences(), {std::make_shared<SizeCommandFactory>()}, lookups_));
    EXPECT_FALSE(offers("x : ", "by"));
    EXPECT_EQ(words("x : bigger "), Texts{"than"});
}

TEST_F(CompletionTest, UnknownWordsInBetweenDoNotHideTheSentence) {
    EXPECT_EQ(words("x : bluh bigger "), Texts{"than"});
    EXPECT_EQ(words("x : bluh bigger than 10mb smal"), Texts{"smaller"});
}

TEST_F(CompletionTest, ATypingErrorIsOfferedTheNearestWord) {
    EXPECT_EQ(words("x : modifed"), Texts{"modified"});
    EXPECT_EQ(words("x : xyzzy"), Texts());
}

TEST_F(CompletionTest, NamesAreOfferedAsTheyMustBeTyped) {
    EXPECT_EQ(words("x : tag "), (Texts{"Red", "\"to print\""}));
    EXPECT_EQ(words("x : tag to"), Texts{"\"to print\""});
    EXPECT_EQ(continuationsOf("x : tag \"to p", language_, lookups_).front().line, "x : tag \"to print\"");
    EXPECT_EQ(words("x : remembered de"), Texts{"desk"});
    EXPECT_EQ(words("x : in mar"), Texts{"march"});
    EXPECT_TRUE(offers("x : is i", "image"));
    EXPECT_EQ(words("x : run ti"), (Texts{"tidy", "\"Tidy up\""}));
}

TEST_F(CompletionTest, TheFirstNameOfferedIsTheOneOfTheCompletor) {
    const auto firstFor = [this](const std::string& completor, const std::string& half) {
        const auto& completors = language_.vocabulary().variableCompletors;
        return completors.at(completor)(SentenceComponent::parseWords(half)).value_or("");
    };
    EXPECT_EQ(words("x : is v").front(), firstFor("~utiCompletor", "v"));
    EXPECT_EQ(words("x : tag r").front(), firstFor("~tagCompletor", "r"));
    EXPECT_EQ(words("x : remembered only d").front(), firstFor("~remembered", "d"));
    EXPECT_EQ(words("x : between ju").front(), firstFor("~month", "ju"));
    EXPECT_EQ(words("x : run t").front(), firstFor("~scriptName", "t"));
}

TEST_F(CompletionTest, EveryBeginningOfALineIsAnswered) {
    const std::string line =
        "a\"b : tag \"to\\\"p\" *is* :: \\ \xE2\x82 mod\xF0\x9F\x91\xA9\u200D \" in: \xCE\xA3 is";
    for (std::size_t length = 0; length <= line.size(); ++length) {
        for (const auto& one : continuationsOf(line.substr(0, length), language_, lookups_))
            EXPECT_TRUE(one.line.ends_with(one.word)) << one.line;
    }
    std::string longLine = ":";
    for (int i = 0; i < 100'000; ++i)
        longLine += " bigger";
    EXPECT_EQ(words(longLine + " than 1mb modif"), Texts{"modified"});
}

// Typing any sentence word by word, the next keyword is always among what is offered.
TEST_F(CompletionTest, EveryKeywordOfEverySentenceIsOfferedInItsPlace) {
    lookups_.favouriteFolders = [] { return std::map<std::string, std::string>{{"downloads", "/d"}}; };
    lookups_.scripts = [] { return std::vector<std::pair<std::string, std::string>>{{"backup", "/b"}}; };
    language_ =
        LanguageParse(makeVocabulary(shippedSentences(), {std::make_shared<EveryCommand>()}, lookups_));
    std::size_t checked = 0;
    for (const SentenceTemplate& sentence : language_.sentences()) {
        SentenceTemplate part = sentence;
        for (std::size_t place = 0; place < sentence.words.size(); ++place) {
            if (isVariable(sentence.words[place])) continue;
            part.words.assign(sentence.words.begin(), sentence.words.begin() + static_cast<long>(place));
            const std::string before = ": " + exampleOf(part) + (place > 0 ? " " : "");
            EXPECT_TRUE(offers(before, sentence.words[place])) << before << sentence.words[place];
            ++checked;
        }
    }
    EXPECT_GT(checked, 200u);
}

}  // namespace
}  // namespace kestrix
