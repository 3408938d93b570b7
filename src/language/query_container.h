// The parsed form of one query line, and the three questions that searches ask it: does this name hold the
// words, does this path lie in the location, does this result pass every filter.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "files/ignore_items.h"
#include "files/search_location.h"
#include "files/search_result.h"
#include "language/command.h"
#include "language/name_test.h"
#include "language/query_search_arguments.h"
#include "language/sentence_component.h"

namespace kestrix {

class LanguageParse;

// What a query needs of the application. Both outlive every query.
struct QueryEnvironment {
    Preferences& preferences;
    const LanguageParse& language;
};

// A value, immutable after construction and read by several threads at once. Copies share their commands.
// Cannot fail: what is not understood stands in unusedCommandAreaWords and invalidCommandAreaWords.
class QueryContainer {
  public:
    // Without a location every path is in the location.
    QueryContainer(std::string_view text, std::optional<SearchLocation> whereLocation, bool soundex,
                   const QueryEnvironment& environment);

    // The parts, in the order in which they are worked out.
    const std::optional<SearchLocation>& whereLocation() const { return whereLocation_; }
    bool soundex() const { return soundex_; }
    bool showAppsFromAnywhere() const { return showAppsFromAnywhere_; }
    // The line with each newline replaced by one blank.
    const std::string& baseString() const { return baseString_; }
    const std::string& baseStringLowercase() const { return baseStringLowercase_; }
    const SentenceComponents& allWords() const { return allWords_; }
    // Every word that a template touched.
    const SentenceComponents& allRecoginsedParts() const { return allRecoginsedParts_; }
    // Words behind the colon that no template touched; that no command kept.
    const SentenceComponents& unusedCommandAreaWords() const { return unusedCommandAreaWords_; }
    const SentenceComponents& invalidCommandAreaWords() const { return invalidCommandAreaWords_; }
    const Commands& commandsFoundInQuery() const { return commandsFoundInQuery_; }
    // All words that no template touched.
    const SentenceComponents& searchWordParts() const { return searchWordParts_; }
    bool includesORStatement() const { return includesORStatement_; }
    // Lower case; what commands add stands at the end.
    const std::vector<std::string>& searchWords() const { return searchWords_; }
    const std::vector<std::string>& searchWordsOriginalCase() const { return searchWordsOriginalCase_; }
    const std::vector<std::vector<std::string>>& orStringGroups() const { return orStringGroups_; }
    const std::vector<std::vector<std::string>>& orStringGroupsOriginalCase() const {
        return orStringGroupsOriginalCase_;
    }
    const std::vector<std::string>& searchWordsHighlightStrings() const {
        return searchWordsHighlightStrings_;
    }
    const std::vector<std::string>& searchWordStringsSoundexValues() const {
        return searchWordStringsSoundexValues_;
    }
    const QuerySearchArguments& querySearchArguments() const { return querySearchArguments_; }
    const IgnoreItems& ignoreList() const { return ignoreList_; }

    // The line, ": ", the commands' texts.
    std::string debugDescription() const;

    // The sources of all commands, in command order.
    std::vector<std::shared_ptr<SearchDataSource>> suppliedDataSources() const;

    // Whether the standard sources have something to look for.
    bool isWordBasedSearch() const;
    // "cat OR : is image": a file that holds the word or satisfies the commands.
    bool isORCommandSearch() const;
    // Neither words nor commands: running it would find nothing.
    bool isEmpty() const { return searchWords_.empty() && commandsFoundInQuery_.empty(); }

    // The first command of this type, or nullptr.
    template <typename Kind>
    std::shared_ptr<Kind> commandOfType() const {
        for (const auto& command : commandsFoundInQuery_) {
            if (auto found = std::dynamic_pointer_cast<Kind>(command)) return found;
        }
        return nullptr;
    }

    bool pathIsInQueryLocation(std::string_view path) const;
    // `name`: a bare file name, or a path whose last component is used.
    bool fsItemNameStringIncludesWordsFromQuery(std::string_view name) const;
    // Applies ignore lists, words and every command; commands may change the result. Those that read contents
    // come last, and only where the result can still pass.
    bool searchResultPassesFiltering(SearchResult& result, SearchDataSourceDelegate* feedback) const;

    // The folders on the way to the result whose names hold search words: paths, in order of the words and
    // places.
    std::vector<std::string> expandedFolderPaths(std::string_view path) const;
    // One directory record for each, with the result's flags passed on; empty if there is none.
    std::vector<SearchResult> expandMatchingItemsForSearchResult(const SearchResult& result) const;
    // The record of one of them; its dates are read from the disk only on wish.
    static SearchResult folderOnTheWay(const SearchResult& result, std::string path, bool attributes);

    // How the front end marks the line, in order: commands, then (on wish) words that were not understood.
    enum class Style { command, error };
    struct StyledRange {
        CharacterRange range;
        Style style;
    };
    std::vector<StyledRange> styleQueryString(bool showErrors) const;

  private:
    void recogniseCommands(const LanguageParse& language);
    void gatherSearchWords();
    void askCommands();
    void prepareNameTest();

    std::optional<SearchLocation> whereLocation_;
    bool soundex_;
    bool showAppsFromAnywhere_;
    std::string baseString_;
    std::string baseStringLowercase_;
    SentenceComponents allWords_;
    SentenceComponents allRecoginsedParts_;
    SentenceComponents unusedCommandAreaWords_;
    SentenceComponents invalidCommandAreaWords_;
    Commands commandsFoundInQuery_;
    SentenceComponents searchWordParts_;
    bool includesORStatement_ = false;
    std::vector<std::string> searchWords_;
    std::vector<std::string> searchWordsOriginalCase_;
    std::vector<std::vector<std::string>> orStringGroups_;
    std::vector<std::vector<std::string>> orStringGroupsOriginalCase_;
    std::vector<std::string> searchWordsHighlightStrings_;
    std::vector<std::string> searchWordStringsSoundexValues_;
    QuerySearchArguments querySearchArguments_;
    IgnoreItems ignoreList_;
    NameTest nameTest_;
    NameTest anyWordTest_;  // for its quick look alone
};

}  // namespace kestrix
