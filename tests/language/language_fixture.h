// A query language of a few sentences, over real settings, whose commands say what they were made of.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "files/search_result.h"
#include "language/commands/word_commands.h"
#include "language/language_parse.h"
#include "language/query_container.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {

// A clause that does what the test tells it.
class Clause : public Command {
  public:
    explicit Clause(std::string text) : text_(std::move(text)) {}

    std::string_view className() const override { return "Clause"; }
    std::string commandToString() const override { return text_; }
    std::string commandExample() const override { return text_.substr(0, text_.find(' ')) + " **"; }
    CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                       const QueryContainer&) override {
        ++result.contentSearchResultsRank;
        applied.push_back(result.path);
        return answer;
    }
    bool keepsStatePerFile() const override { return copies; }
    std::shared_ptr<Command> copy() const override { return std::make_shared<Clause>(*this); }
    std::vector<std::string> commandImpExtraSearchStrings() const override { return extraWords; }
    std::vector<std::string> commandExtraHighlightStrings() const override { return extraWords; }
    void commandImpQuerySearchArguments(QuerySearchArguments& arguments) const override {
        if (text_ == "anywhere") arguments.checkPathForResults = false;
        if (text_.starts_with("year")) arguments.modificationDate = NumberRange{100, 200};
    }
    bool commandStopsWordBasedSearches() const override { return text_ == "anywhere"; }
    bool isTemplateEqualTo(const Command& other) const override {
        return other.commandExample() == commandExample();
    }

    CommandApplyResult answer = CommandApplyResult::accept;
    bool copies = false;
    std::vector<std::string> extraWords;
    std::vector<std::string> applied;

  private:
    std::string text_;
};

// Makes a Clause whose text is the command's name and its values; CaseSensitive and WholeWords as they are.
class ClauseFactory : public CommandFactory {
  public:
    std::vector<std::string> commandNames() const override {
        return {"year",        "today",         "is",         "isAnything", "inside", "anywhere",
                "textContent", "caseSensitive", "wholeWords", "extension",  "refused"};
    }
    std::shared_ptr<Command> create(const std::string& name, const CommandArguments& args,
                                    const CommandFlags& flags) const override {
        if (name == "refused") return nullptr;
        if (name == "caseSensitive") return std::make_shared<CaseSensitive>();
        if (name == "wholeWords") return std::make_shared<WholeWords>();
        std::string text = name;
        for (const auto& value : args)
            text.append(" ").append(std::any_cast<std::string>(value));
        for (const auto& [key, value] : flags)
            text.append(" ").append(key).append("=").append(value);
        auto clause = std::make_shared<Clause>(text);
        if (name == "extension") clause->extraWords = {std::any_cast<std::string>(args.at(0))};
        if (name == "is") clause->answer = CommandApplyResult::exclude;
        return clause;
    }
};

class LanguageWorld : public ::testing::Test {
  protected:
    static constexpr const char* kSentences =
        "// A line that says nothing.\n"
        "modified today today\n"
        "\n"
        "modified in ~year year/what=modified\n"
        "is ~word is\n"
        "is any thing isAnything\n"
        "inside ~word inside\n"
        "anywhere anywhere\n"
        "content ~word ~contentSearchFlags textContent\n"
        "case sensitive caseSensitive\n"
        "whole words wholeWords\n"
        "ext ~word/~extensions extension\n"
        "refuse me refused\n"
        "not built notBuilt\n";

    static std::optional<VariableParserResult> readWord(std::span<const SentenceComponent> words) {
        return VariableParserResult{words.front().textLowered, 1};
    }
    static std::optional<VariableParserResult> readYear(std::span<const SentenceComponent> words) {
        if (words.front().textLowered.find_first_not_of("0123456789") != std::string::npos)
            return std::nullopt;
        return readWord(words);
    }
    static std::optional<VariableParserResult> readFlags(std::span<const SentenceComponent> words) {
        if (words.front().textLowered != "exactly") return std::nullopt;
        return VariableParserResult{std::nullopt, 1};
    }

    static LanguageParse languageOf(std::string_view sentences) {
        return LanguageParse({.sentences = SentenceTemplate::fromText(sentences),
                              .factories = {std::make_shared<ClauseFactory>()},
                              .variableParsers = {{"~word", readWord},
                                                  {"~year", readYear},
                                                  {"~contentSearchFlags", readFlags}},
                              .variableCompletors = {}});
    }

    QueryContainer query(std::string_view line, bool soundex = false) {
        return QueryContainer(line, std::nullopt, soundex, environment);
    }
    bool finds(std::string_view line, std::string_view name, bool soundex = false) {
        return query(line, soundex).fsItemNameStringIncludesWordsFromQuery(name);
    }
    static SearchResult resultAt(std::string path) {
        SearchResult result;
        result.path = std::move(path);
        return result;
    }
    static bool passes(const QueryContainer& query, std::string path) {
        SearchResult result = resultAt(std::move(path));
        return query.searchResultPassesFiltering(result, nullptr);
    }

    static std::vector<std::string> textsOf(const SentenceComponents& words) {
        std::vector<std::string> list;
        for (const auto& word : words)
            list.push_back(word.textOriginalCase);
        return list;
    }
    static std::vector<std::string> textsOf(const Commands& commands) {
        std::vector<std::string> list;
        for (const auto& command : commands)
            list.push_back(command->commandToString());
        return list;
    }

    TemporaryFolder folder;
    SettingsStore store{folder.path("settings.json")};
    Preferences preferences{store};
    LanguageParse language = languageOf(kSentences);
    QueryEnvironment environment{preferences, language};
};

using Texts = std::vector<std::string>;

}  // namespace kestrix
