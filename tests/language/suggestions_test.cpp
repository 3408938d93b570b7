// What is said about sentences: examples, suggestions, and the texts of their commands.
#include "language/suggestions.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "language/commands/folder_commands.h"
#include "language/commands/simple_factories.h"
#include "language/query_explanation.h"
#include "language/sentence_examples.h"
#include "tests/language/vocabulary_fixture.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

class SentencesTest : public testing::Test {
  protected:
    static VariableLookups lookups() {
        VariableLookups lookups = sampleLookups();
        lookups.favouriteFolders = [] {
            return std::map<std::string, std::string>{{"downloads", "/home/d"}};
        };
        lookups.scripts = [] { return std::vector<std::pair<std::string, std::string>>{{"backup", "/b"}}; };
        return lookups;
    }
    LanguageParse wholeLanguage() {
        return LanguageParse(makeVocabulary(
            shippedSentences(),
            {std::make_shared<CaseSensitiveFactory>(), std::make_shared<DateCommandCreator>(Clock::system()),
             std::make_shared<ExcludeFolderFactory>(), std::make_shared<ExtensionCommandFactory>(),
             std::make_shared<FileOrFolderCommandFactory>(), std::make_shared<InsideCommandFactory>(),
             std::make_shared<KnownDirectoriesFactory>(lookups().favouriteFolders),
             std::make_shared<LabelCommandFactory>(), std::make_shared<NameLengthCommandFactory>(),
             std::make_shared<PathLengthCommandFactory>(), std::make_shared<MaxDepthFactory>(),
             std::make_shared<RegexCommandFactory>(), std::make_shared<SizeCommandFactory>(),
             std::make_shared<ShowAllFilesFactory>(), std::make_shared<UTICommandFactory>(assistant_),
             std::make_shared<WholeWordsFactory>()},
            lookups()));
    }
    QueryContainer query(const std::string& line) {
        return QueryContainer(line, std::nullopt, false, {preferences_, language_});
    }
    // What programs are told of the line's one command; null if there is none or there are more.
    nlohmann::json explained(const std::string& line) {
        auto commands = nlohmann::json::parse(explanationAsJson(query(line)))["commands"];
        if (commands.size() != 1) return nullptr;
        commands[0].erase("consumed");
        // Excluding a folder is the same with quotes and without.
        if (commands[0]["class"] == "ExcludeFolderCommand") commands[0].erase("completePathComponent");
        return commands[0];
    }
    // "words -> suggestion", one for each stretch; "=" for a sentence that is known.
    std::vector<std::string> remarks(const std::string& line) {
        std::vector<std::string> texts;
        for (const auto& stretch : unknownStretches(query(line), language_))
            texts.push_back(asTyped(stretch.words) + (stretch.isKnownSentence ? " =" : "") + " -> " +
                            stretch.suggestion.value_or(""));
        return texts;
    }

    TemporaryFolder folder_;
    SettingsStore store_{folder_.path("settings.json")};
    Preferences preferences_{store_};
    FileTypes types_;
    UTIAssistant assistant_{types_};
    LanguageParse language_ = wholeLanguage();
};

using Texts = std::vector<std::string>;

TEST_F(SentencesTest, EveryExampleIsItsSentenceAndTheTextOfItsCommandReadsAsTheSameCommand) {
    std::size_t commands = 0;
    for (const SentenceTemplate& sentence : language_.sentences()) {
        const std::string example = ": " + exampleOf(sentence);
        const QueryContainer read = query(example);
        EXPECT_TRUE(read.unusedCommandAreaWords().empty()) << example;
        if (read.commandsFoundInQuery().empty()) continue;
        ++commands;
        EXPECT_TRUE(read.invalidCommandAreaWords().empty()) << example;
        const auto first = explained(example);
        ASSERT_FALSE(first.is_null()) << example;
        // "recent" moves on with the clock.
        if (first.value("when", "") == "recent") continue;
        EXPECT_EQ(explained(": " + first.at("text").get<std::string>()), first) << example;
    }
    EXPECT_GT(commands, 150u);
}

TEST_F(SentencesTest, AMisspeltSentenceIsMendedWithTheTypedValues) {
    EXPECT_EQ(remarks(": biger than 10mb"), Texts{"biger than 10mb -> bigger than 10mb"});
    EXPECT_EQ(remarks(": tga red"), Texts{"tga red -> tag red"});
    EXPECT_EQ(remarks(": exluding folder \"my things\""),
              Texts{"exluding folder \"my things\" -> excluding folder \"my things\""});
    EXPECT_EQ(remarks(": biger"), Texts{"biger -> bigger than SIZE"});
    EXPECT_EQ(remarks(": recnt"), Texts{"recnt -> recent"});
    EXPECT_EQ(remarks(": modifed in march"), Texts{"modifed -> modified in march"});
    EXPECT_EQ(remarks(": inside"), Texts{"inside = -> inside NAME"});
}

TEST_F(SentencesTest, WhatIsNearNothingAndWhatIsKnownAlreadyGetsNoSuggestion) {
    EXPECT_EQ(remarks(": bluh"), Texts{"bluh -> "});
    EXPECT_EQ(remarks(": bluh blah is image"), Texts{"bluh blah -> "});
    EXPECT_EQ(remarks(": by sarah"), Texts{"by sarah = -> "});
    EXPECT_EQ(remarks(": size 99999999 yb"), Texts{"size 99999999 yb = -> "});
    EXPECT_EQ(remarks("biger : is image"), Texts());
}

TEST_F(SentencesTest, EachMistakeOfALineIsToldByItself) {
    EXPECT_EQ(
        remarks(": biger than 10mb foo by joe is image tga red"),
        (Texts{"biger than 10mb -> bigger than 10mb", "foo -> ", "by joe = -> ", "tga red -> tag red"}));
}

TEST_F(SentencesTest, ALineOfManyUnknownWordsIsAnswered) {
    std::string line = ":";
    for (int i = 0; i < 50'000; ++i)
        line += " xyzzy modifed";
    EXPECT_FALSE(remarks(line).empty());
}

}  // namespace
}  // namespace kestrix
