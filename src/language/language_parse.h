// The language of the command area: templates matched against the words behind the colon.
#pragma once

#include <any>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "language/command.h"
#include "language/sentence_template.h"

namespace kestrix {

struct VariableParserResult {
    std::optional<std::any> value;  // nothing: the template gets no argument for it
    std::size_t numberOfConsumedWords = 0;
};

struct CommandRecogniserResult {
    Commands commands;
    SentenceComponents words;  // every word that a template touched
};

// Immutable once made; any thread may match. One lives as long as the application.
class LanguageParse {
  public:
    // Looks at the front of the remaining words; nothing means that the variable does not match there.
    // `words` is never empty, but for variables that say they take an empty list.
    using VariableParser =
        std::function<std::optional<VariableParserResult>(std::span<const SentenceComponent> words)>;
    using VariableCompletor =
        std::function<std::optional<std::string>(std::span<const SentenceComponent> words)>;

    struct Vocabulary {
        std::vector<SentenceTemplate> sentences;  // in file order
        std::vector<std::shared_ptr<const CommandFactory>>
            factories;  // the first that knows a command makes it
        std::map<std::string, VariableParser, std::less<>> variableParsers;
        std::map<std::string, VariableCompletor, std::less<>> variableCompletors;
    };

    // An empty language, to which every word behind the colon is unknown.
    LanguageParse() = default;
    explicit LanguageParse(Vocabulary vocabulary);

    // Finds the commands in the words behind the colon, one after another, in any order, with unknown words
    // between them. Of the templates that match at one place the one with the most words wins, then the first
    // in the file. The words are of one line, so that no two are the same.
    CommandRecogniserResult allMatches(const SentenceComponents& inputWords) const;

    const std::vector<SentenceTemplate>& sentences() const { return vocabulary_.sentences; }
    const Vocabulary& vocabulary() const { return vocabulary_; }
    // Whether a command is made of the sentence at that place; some are only recognised in this version.
    bool makesCommandOf(std::size_t sentence) const { return makers_[sentence] != nullptr; }

  private:
    struct Attempt;
    struct Round;

    // Finds the one command at the front of the words, which are not empty.
    Round doesMatch(std::span<const SentenceComponent> words) const;
    Attempt attemptAt(std::size_t index, std::span<const SentenceComponent> words) const;
    const std::vector<std::size_t>& thoseThatMayBeginWith(const std::string& word) const;
    void indexFirstWords();

    Vocabulary vocabulary_;
    // For each word of each template its variable's parser; empty for a keyword.
    std::vector<std::vector<VariableParser>> parsers_;
    // For each template the factory that makes its command, or nullptr.
    std::vector<const CommandFactory*> makers_;
    // The places of the templates that may match at a word, in file order: of those that begin with that
    // keyword and those that begin with a variable; and of the latter alone, for any other word.
    std::unordered_map<std::string, std::vector<std::size_t>> byKeyword_;
    std::vector<std::size_t> byVariable_;
};

}  // namespace kestrix
