#include "search/content_search.h"

#include <algorithm>
#include <any>
#include <new>
#include <nlohmann/json.hpp>
#include <utility>

#include "base/path.h"
#include "language/commands/word_commands.h"
#include "language/query_container.h"
#include "language/typed_word.h"
#include "language/variables.h"
#include "search/content_text.h"
#include "search/search_data_source.h"
#include "shell/logger.h"

namespace kestrix {
namespace {

// Announces the reading of one file, from its making to its end.
class Announcement {
  public:
    Announcement(SearchDataSourceDelegate* feedback, const std::string& path) : feedback_(feedback) {
        if (!feedback_) return;
        name_ = path::lastComponent(path);
        feedback_->searchDataSourceProgress(1);
        feedback_->searchingInsideFile(name_, true, 0);
    }
    ~Announcement() {
        if (feedback_) feedback_->searchingInsideFile(name_, false, 100);
    }
    Announcement(const Announcement&) = delete;
    Announcement& operator=(const Announcement&) = delete;

  private:
    SearchDataSourceDelegate* feedback_;
    std::string name_;
};

bool isAnsweredByIndex(const SearchResult& result) {
    return result.searchResultSuppliedBy == SearchResultSupplier::CompactContentIndex ||
           result.searchResultSuppliedBy == SearchResultSupplier::spotlightContent;
}

std::vector<TextRange> allOf(const std::map<std::string, std::vector<TextRange>>& places) {
    std::vector<TextRange> all;
    for (const auto& [word, ranges] : places) {
        all.insert(all.end(), ranges.begin(), ranges.end());
    }
    return all;
}

template <typename Value>
const Value* valueAt(const CommandArguments& args, std::size_t index) {
    return index < args.size() ? std::any_cast<Value>(&args[index]) : nullptr;
}

}  // namespace

ContentSearch::ContentSearch(ContentSearchArguments arguments, ImportTextToolsXPC& import)
    : arguments_(std::move(arguments)),
      wordsToSearchFor_(searchWordParts(arguments_.contentString)),
      wordsToExclude_(searchWordParts(arguments_.excludingString)),
      import_(import),
      ignoringCase_(wordsToSearchFor_, wordsToExclude_,
                    {.wholeWords = arguments_.wholeWords, .allWords = arguments_.allWords}),
      caseSensitive_(
          wordsToSearchFor_, wordsToExclude_,
          {.caseSensitive = true, .wholeWords = arguments_.wholeWords, .allWords = arguments_.allWords}) {}

bool ContentSearch::isWholeWord(TextRange range, std::string_view source) {
    return kestrix::isWholeWord(range, source);
}

std::string ContentSearch::commandToString() const {
    return commandToText(typedInQuotes(arguments_.contentString));
}

std::string ContentSearch::commandExample() const {
    return commandToText("\"**" + escapeQuotes(arguments_.contentString) + "**\"");
}

std::string ContentSearch::commandToText(const std::string& typedText) const {
    std::string text = "content " + typedText;
    if (!arguments_.excludingString.empty()) text += " without " + typedInQuotes(arguments_.excludingString);
    if (arguments_.wholeWords) text += " whole words";
    if (arguments_.allWords) text += " all words";
    if (arguments_.searchAllFiles) text += " all files";
    if (arguments_.useOCR) text += " use OCR";
    return text;
}

nlohmann::json ContentSearch::explainedFields() const {
    return {{"wordsToSearchForString", arguments_.contentString},
            {"wordsToExcludeString", arguments_.excludingString},
            {"wordsToSearchFor", wordsToSearchFor_},
            {"wordsToExclude", wordsToExclude_},
            {"searchAllFiles", arguments_.searchAllFiles},
            {"wholeWords", arguments_.wholeWords},
            {"allWords", arguments_.allWords},
            {"useOCR", arguments_.useOCR}};
}

CommandApplyResult ContentSearch::commandImpApply(SearchResult& result, SearchDataSourceDelegate* feedback,
                                                  const QueryContainer& query) {
    if (result.isDirectory) return CommandApplyResult::exclude;
    if (isAnsweredByIndex(result)) {
        result.tryCollectSummaryLines = true;
        if (Logger::shouldLog) LogFunc(std::string(path::lastComponent(result.path)) + " ignore");
        return CommandApplyResult::accept;
    }
    const DocumentFormat format =
        import_.tools().formatOf(result.path, arguments_.searchAllFiles, arguments_.useOCR);
    if (format == DocumentFormat::none) return CommandApplyResult::exclude;
    const Announcement announcement(feedback, result.path);
    const ContentWords& words = query.commandOfType<CaseSensitive>() ? caseSensitive_ : ignoringCase_;
    const bool isIn = format == DocumentFormat::rawText ? plainTextIncludes(result, words, feedback)
                                                        : documentIncludes(result, words, feedback);
    return isIn ? CommandApplyResult::accept : CommandApplyResult::exclude;
}

bool ContentSearch::plainTextIncludes(SearchResult& result, const ContentWords& words,
                                      SearchDataSourceDelegate* feedback) const {
    // Used again from file to file.
    thread_local PlainText file;
    try {
        file.read(result.path, kNoLengthLimit, [feedback] { return feedback && feedback->shouldStop(); });
        if (!file.isUtf8() && !words.canStandInMacRoman(file.bytes())) return false;
        return take(result, file.text(), words, feedback);
    } catch (const Error&) {
        return false;
    } catch (const std::bad_alloc&) {
        return false;  // of a very large file that is not UTF-8
    }
}

bool ContentSearch::documentIncludes(SearchResult& result, const ContentWords& words,
                                     SearchDataSourceDelegate* feedback) {
    const std::string& path = result.path;
    currentFiles_.modify([&path](auto& files) { files.push_back(path); });
    const std::string name(path::lastComponent(path));
    const auto announce = [&](int percent) {
        if (feedback) feedback->searchingInsideFile(name, true, percent);
    };
    const auto isStopped = [feedback] { return feedback && feedback->shouldStop(); };
    const ImportedText imported = import_.textFromFile(path, arguments_.searchAllFiles, arguments_.useOCR,
                                                       kNoLengthLimit, announce, isStopped);
    currentFiles_.modify([&path](auto& files) { files.erase(std::ranges::find(files, path)); });
    return imported.text && take(result, *imported.text, words, feedback);
}

// Puts into the result what the words are found at, if they are.
bool ContentSearch::take(SearchResult& result, std::string_view text, const ContentWords& words,
                         const SearchDataSourceDelegate* feedback) {
    const bool keepPlaces = !feedback || feedback->wantsFindings();
    auto found = words.findIn(text, keepPlaces);
    if (!found) return false;
    result.tryCollectSummaryLines = true;
    result.contentSearchResultsRank = found->count;
    if (keepPlaces) {
        if (Logger::shouldLog) LogFunc("Summary: " + std::string(path::lastComponent(result.path)));
        auto lines = summary(text, allOf(found->places));
        result.content = std::make_shared<const ContentFindings>(
            ContentFindings{std::move(lines), std::move(found->places)});
    }
    return true;
}

std::shared_ptr<Command> ContentSearch::copy() const {
    return std::make_shared<ContentSearch>(arguments_, import_);
}

void ContentSearch::commandStop() {
    for (const std::string& path : currentFiles_.get()) {
        import_.sendCancelFor(path);
    }
}

bool ContentSearch::isTemplateEqualTo(const Command& realCommand) const {
    const auto* other = dynamic_cast<const ContentSearch*>(&realCommand);
    return other && wordsToExclude_.empty() == other->wordsToExclude_.empty();
}

std::shared_ptr<Command> ContentSearchFactory::create(const std::string& commandName,
                                                      const CommandArguments& args,
                                                      const CommandFlags& flags) const {
    const auto* text = valueAt<SentenceComponent>(args, 0);
    if (!text || !implementsCommand(commandName)) return nullptr;
    std::vector<std::string> chosen;
    for (const auto& [flag, value] : flags) {
        if (value == "1") chosen.push_back(flag);
    }
    const auto isChosen = [&chosen](std::string_view flag) {
        return std::ranges::find(chosen, flag) != chosen.end();
    };
    const bool excludes = isChosen("without");
    const auto* excluded = excludes ? valueAt<SentenceComponent>(args, 1) : nullptr;
    if (excludes && !excluded) return nullptr;
    if (const auto* typed = valueAt<std::vector<std::string>>(args, excludes ? 2 : 1))
        chosen.insert(chosen.end(), typed->begin(), typed->end());
    return std::make_shared<ContentSearch>(
        ContentSearchArguments{.contentString = text->textOriginalCase,
                               .excludingString = excluded ? excluded->textLowered : std::string(),
                               .allWords = isChosen("allWords"),
                               .wholeWords = isChosen("wholeWords"),
                               .useOCR = isChosen("useOCR"),
                               .searchAllFiles = isChosen("allFiles")},
        import_);
}

std::optional<VariableParserResult> ContentSearchFactory::contentSearchVariable(
    std::span<const SentenceComponent> input) {
    return readContentSearchFlags(input);
}

}  // namespace kestrix
