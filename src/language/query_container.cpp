#include "language/query_container.h"

#include <algorithm>

#include "base/path.h"
#include "base/text.h"
#include "language/commands/word_commands.h"
#include "language/language_parse.h"
#include "language/soundex.h"

namespace kestrix {
namespace {

std::string withoutNewlines(std::string_view text) {
    std::string line(text);
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line;
}

bool isOROperator(const SentenceComponent& word) {
    return word.textOriginalCase == "OR" && !word.wasInQuotes && !word.isAfterAColon;
}

bool isExclusion(const SentenceComponent& word) {
    return word.textLowered.starts_with('-') && !word.wasInQuotes;
}

std::string_view upToFirstDot(std::string_view text) {
    return text.substr(0, text.find('.'));
}

template <typename Predicate>
SentenceComponents filtered(const SentenceComponents& words, Predicate predicate) {
    SentenceComponents kept;
    std::copy_if(words.begin(), words.end(), std::back_inserter(kept), predicate);
    return kept;
}

std::vector<std::string> texts(const SentenceComponents& words, std::string SentenceComponent::*text) {
    std::vector<std::string> list;
    list.reserve(words.size());
    for (const auto& word : words)
        list.push_back(word.*text);
    return list;
}

// The texts between OR operators, empty groups left out.
std::vector<std::vector<std::string>> groupTexts(const SentenceComponents& words,
                                                 std::string SentenceComponent::*text) {
    std::vector<std::vector<std::string>> groups;
    bool isInGroup = false;
    for (const auto& word : words) {
        if (isOROperator(word)) {
            isInGroup = false;
            continue;
        }
        if (!isInGroup) groups.emplace_back();
        isInGroup = true;
        groups.back().push_back(word.*text);
    }
    return groups;
}

void append(std::vector<std::string>& list, std::vector<std::string> added) {
    std::move(added.begin(), added.end(), std::back_inserter(list));
}

}  // namespace

QueryContainer::QueryContainer(std::string_view text, std::optional<SearchLocation> whereLocation,
                               bool soundex, const QueryEnvironment& environment)
    : whereLocation_(std::move(whereLocation)),
      soundex_(soundex),
      showAppsFromAnywhere_(environment.preferences.boolean("showAppsFoundAnywhere")),
      baseString_(withoutNewlines(text)),
      baseStringLowercase_(text::lowered(baseString_)),
      allWords_(SentenceComponent::parseWords(baseString_)),
      ignoreList_(environment.preferences) {
    recogniseCommands(environment.language);
    gatherSearchWords();
    askCommands();
    prepareNameTest();
}

void QueryContainer::recogniseCommands(const LanguageParse& language) {
    // The colon's flag is never taken back, so the words that have it are the end of the line.
    const auto commandArea = filtered(allWords_, [](const auto& word) { return word.isAfterAColon; });
    auto found = language.allMatches(commandArea);
    commandsFoundInQuery_ = std::move(found.commands);
    appendNewWords(allRecoginsedParts_, found.words);
    unusedCommandAreaWords_ = without(commandArea, allRecoginsedParts_);

    SentenceComponents consumed;
    for (const auto& command : commandsFoundInQuery_)
        consumed.insert(consumed.end(), command->commandConsumedParts.begin(),
                        command->commandConsumedParts.end());
    invalidCommandAreaWords_ = without(commandArea, consumed);
}

void QueryContainer::gatherSearchWords() {
    searchWordParts_ = without(allWords_, allRecoginsedParts_);
    const auto excluded =
        filtered(searchWordParts_, [](const auto& word) { return !word.isAfterAColon && isExclusion(word); });
    const auto positive = filtered(
        searchWordParts_, [](const auto& word) { return !word.isAfterAColon && !isExclusion(word); });
    if (!excluded.empty())
        commandsFoundInQuery_.push_back(
            std::make_shared<NotIncludingWords>(texts(excluded, &SentenceComponent::textLowered)));
    auto wildcards = filtered(
        positive, [](const auto& word) { return word.wildcard != SentenceComponent::Wildcard::none; });
    if (!wildcards.empty()) commandsFoundInQuery_.push_back(std::make_shared<WildcardWords>(wildcards));

    const auto words = filtered(positive, [](const auto& word) { return !isOROperator(word); });
    searchWords_ = texts(words, &SentenceComponent::textLowered);
    searchWordsOriginalCase_ = texts(words, &SentenceComponent::textOriginalCase);
    includesORStatement_ = words.size() < positive.size();
    if (includesORStatement_) {
        orStringGroups_ = groupTexts(positive, &SentenceComponent::textLowered);
        orStringGroupsOriginalCase_ = groupTexts(positive, &SentenceComponent::textOriginalCase);
    }
}

void QueryContainer::askCommands() {
    searchWordsHighlightStrings_ = searchWords_;
    for (const auto& command : commandsFoundInQuery_) {
        append(searchWords_, command->commandImpExtraSearchStrings());
        append(searchWordsHighlightStrings_, command->commandExtraHighlightStrings());
    }
    for (const auto& command : commandsFoundInQuery_)
        command->commandImpQuerySearchArguments(querySearchArguments_);
    if (!querySearchArguments_.word && !searchWords_.empty())
        querySearchArguments_.word = searchWords_.front();
    for (const auto& word : searchWords_)
        searchWordStringsSoundexValues_.push_back(Soundex::value(word));
}

void QueryContainer::prepareNameTest() {
    const bool caseSensitive = commandOfType<CaseSensitive>() != nullptr;
    NameTestWords words;
    words.words = caseSensitive ? searchWordsOriginalCase_ : searchWords_;
    words.orGroups = caseSensitive ? orStringGroupsOriginalCase_ : orStringGroups_;
    words.anyGroup = includesORStatement_;
    words.caseSensitive = caseSensitive;
    words.wholeWords = commandOfType<WholeWords>() != nullptr;
    nameTest_ = NameTest(std::move(words));

    NameTestWords anyWord{.anyGroup = true, .localised = false};
    for (const auto& word : searchWords_)
        anyWord.orGroups.push_back({word});
    anyWordTest_ = NameTest(std::move(anyWord));
}

std::string QueryContainer::debugDescription() const {
    std::string description = baseString_ + ": ";
    for (const auto& command : commandsFoundInQuery_)
        description += command->commandToString();
    return description;
}

std::vector<std::shared_ptr<SearchDataSource>> QueryContainer::suppliedDataSources() const {
    std::vector<std::shared_ptr<SearchDataSource>> sources;
    for (const auto& command : commandsFoundInQuery_) {
        auto supplied = command->suppliedDataSources();
        std::move(supplied.begin(), supplied.end(), std::back_inserter(sources));
    }
    return sources;
}

bool QueryContainer::isWordBasedSearch() const {
    const auto& commands = commandsFoundInQuery_;
    if (std::any_of(commands.begin(), commands.end(),
                    [](const auto& command) { return command->commandStopsWordBasedSearches(); }))
        return false;
    return !searchWords_.empty() || !std::all_of(commands.begin(), commands.end(), [](const auto& command) {
        return command->commandIsOnlyAFilter();
    });
}

bool QueryContainer::isORCommandSearch() const {
    return includesORStatement_ && !searchWordParts_.empty() && isOROperator(searchWordParts_.back());
}

bool QueryContainer::pathIsInQueryLocation(std::string_view path) const {
    // An application whose name is the whole line is found wherever it is.
    if (showAppsFromAnywhere_ && path::extension(path) == "app") {
        const std::string name = text::lowered(path::lastComponent(path));
        if (upToFirstDot(name) == upToFirstDot(baseStringLowercase_)) return true;
    }
    return !whereLocation_ || !querySearchArguments_.checkPathForResults ||
           whereLocation_->pathIsInLocation(path);
}

bool QueryContainer::fsItemNameStringIncludesWordsFromQuery(std::string_view name) const {
    if (!soundex_) return nameTest_.mayMatch(name) && nameTest_.matches(path::lastComponent(name));

    const auto bareName = path::lastComponent(name);
    const auto& wanted = searchWordStringsSoundexValues_;
    const auto separates = [](char32_t codePoint) {
        return codePoint == U' ' || codePoint == U'.' || codePoint == U'/';
    };
    for (const auto piece : text::split(bareName, separates)) {
        // A word of one letter has no value and sounds like nothing.
        const std::string value = Soundex::value(piece);
        if (!value.empty() && std::find(wanted.begin(), wanted.end(), value) != wanted.end()) return true;
    }
    return false;
}

bool QueryContainer::searchResultPassesFiltering(SearchResult& result,
                                                 SearchDataSourceDelegate* feedback) const {
    if (!ignoreList_.empty() && (ignoreList_.includesFolder(result.path) ||
                                 ignoreList_.containsExtension(path::extension(result.path))))
        return false;
    const bool wordsMatch = fsItemNameStringIncludesWordsFromQuery(path::lastComponent(result.path));
    bool isExcluded = false;
    const auto applyThose = [&](bool readingContents) {
        for (const auto& command : commandsFoundInQuery_) {
            if (command->readsContents() != readingContents) continue;
            const auto applied = command->keepsStatePerFile() ? command->copy() : command;
            if (applied->commandImpApply(result, feedback, *this) == CommandApplyResult::exclude)
                isExcluded = true;
        }
    };
    const auto passes = [&] {
        return isORCommandSearch() ? wordsMatch || !isExcluded : wordsMatch && !isExcluded;
    };
    // Applied whatever the others said: some add to the result.
    applyThose(false);
    if (!passes()) return false;
    applyThose(true);
    return passes();
}

// One folder is given as often as words stand in its name: the merge judges each path only once.
std::vector<std::string> QueryContainer::expandedFolderPaths(std::string_view path) const {
    const std::string_view folder = path::parent(path);
    if (!anyWordTest_.mayMatch(folder)) return {};
    const std::string parent = std::string(folder) + "/";
    std::vector<std::string> folders;
    for (const auto& word : searchWords_) {
        if (word.empty()) continue;
        std::size_t from = 0;
        while (from < parent.size()) {
            const auto hit = text::findIgnoringCase(parent, word, from);
            if (hit == std::string::npos) break;
            // A hit can differ from the word in length, but only a word with a slash can hit one.
            const bool hasSlash = word.find('/') != std::string::npos;
            const auto slash = parent.find('/', hasSlash ? hit + word.size() : hit);
            if (slash != std::string::npos) folders.push_back(parent.substr(0, slash));
            from = hit + word.size();
        }
    }
    return folders;
}

std::vector<SearchResult> QueryContainer::expandMatchingItemsForSearchResult(
    const SearchResult& result) const {
    std::vector<SearchResult> folders;
    for (auto& path : expandedFolderPaths(result.path))
        folders.push_back(folderOnTheWay(result, std::move(path), true));
    return folders;
}

SearchResult QueryContainer::folderOnTheWay(const SearchResult& result, std::string path, bool attributes) {
    SearchResult folder;
    folder.searchResultSuppliedBy = result.searchResultSuppliedBy;
    folder.diskKey = DiskKey("");
    folder.path = std::move(path);
    folder.isDirectory = true;
    folder.checkToSeeIfItExists = result.checkToSeeIfItExists;
    folder.ignoreSearchLocation = result.ignoreSearchLocation;
    if (attributes) folder.readAttributesFromDisk();
    return folder;
}

std::vector<QueryContainer::StyledRange> QueryContainer::styleQueryString(bool showErrors) const {
    std::vector<StyledRange> styled;
    for (const auto& range : partLocationsToRanges(allRecoginsedParts_))
        styled.push_back({range, Style::command});
    if (!showErrors) return styled;
    for (const auto& range : partLocationsToRanges(unusedCommandAreaWords_))
        styled.push_back({range, Style::error});
    return styled;
}

}  // namespace kestrix
