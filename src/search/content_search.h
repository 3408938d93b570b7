// Clauses that look inside files: `content "yearly total"`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/lock.h"
#include "import/import_text_tools_xpc.h"
#include "language/command.h"
#include "language/language_parse.h"
#include "search/content_words.h"

namespace kestrix {

// What a clause says.
struct ContentSearchArguments {
    std::string contentString;    // the words, with commas between; as typed
    std::string excludingString;  // words that no text may hold, in lower case; or empty
    bool allWords = false;
    bool wholeWords = false;
    bool useOCR = false;
    bool searchAllFiles = false;  // also files of types without importer
};

// Accepts files whose text holds the words. Brings no source: every file that the standard sources find is
// read, unless its type has no importer or a catalog has read it before. The command keeps nothing about a
// file but the names of those that are being read. An accepted record gets its rank, the number of all
// occurrences, and its findings if `feedback` wants them (places in bytes of the text as it was imported).
//
// Without "case sensitive" in the query case does not matter; accents never do. A file that cannot be read
// does not match, and nobody is told.
//
// Plain text is read on the calling threads, several at once, and is given up at the next megabyte when the
// search stops. Other documents go through the import service, one at a time; commandStop cancels them.
class ContentSearch : public Command {
  public:
    // The import service outlives the command.
    ContentSearch(ContentSearchArguments arguments, ImportTextToolsXPC& import);

    const ContentSearchArguments& arguments() const { return arguments_; }
    const std::vector<std::string>& wordsToSearchFor() const { return wordsToSearchFor_; }
    const std::vector<std::string>& wordsToExclude() const { return wordsToExclude_; }
    bool wholeWords() const { return arguments_.wholeWords; }
    bool allWords() const { return arguments_.allWords; }

    // Whether white space, punctuation or the text's end stand on both sides of the range.
    static bool isWholeWord(TextRange range, std::string_view source);

    std::string_view className() const override { return "ContentSearch"; }
    std::string commandToString() const override;
    std::string commandExample() const override;
    nlohmann::json explainedFields() const override;
    CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate* feedback,
                                       const QueryContainer& query) override;
    bool readsContents() const override { return true; }
    std::shared_ptr<Command> copy() const override;
    void commandStop() override;
    // The same kind of clause: both exclude words, or neither does.
    bool isTemplateEqualTo(const Command& realCommand) const override;

  private:
    std::string commandToText(const std::string& typedText) const;
    bool plainTextIncludes(SearchResult& result, const ContentWords& words,
                           SearchDataSourceDelegate* feedback) const;
    bool documentIncludes(SearchResult& result, const ContentWords& words,
                          SearchDataSourceDelegate* feedback);
    static bool take(SearchResult& result, std::string_view text, const ContentWords& words,
                     const SearchDataSourceDelegate* feedback);

    const ContentSearchArguments arguments_;
    const std::vector<std::string> wordsToSearchFor_;
    const std::vector<std::string> wordsToExclude_;
    ImportTextToolsXPC& import_;
    const ContentWords ignoringCase_;
    const ContentWords caseSensitive_;
    Locked<std::vector<std::string>> currentFiles_;  // that the import service reads, or is about to
};

// "textContent": a SentenceComponent; with the template's flag "without" a second one; then the flags that
// the user typed, std::vector<std::string>. Both kinds of flags: allWords, wholeWords, useOCR, allFiles.
class ContentSearchFactory : public CommandFactory {
  public:
    explicit ContentSearchFactory(ImportTextToolsXPC& import) : import_(import) {}

    std::vector<std::string> commandNames() const override { return {"textContent"}; }
    std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments& args,
                                    const CommandFlags& flags) const override;

    // Reads the flags at the front of the words: the parser of the variable ~contentSearchFlags.
    static std::optional<VariableParserResult> contentSearchVariable(
        std::span<const SentenceComponent> input);

  private:
    ImportTextToolsXPC& import_;
};

}  // namespace kestrix
