#include "language/commands/word_commands.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/path.h"
#include "base/text.h"
#include "files/search_result.h"
#include "language/word_json.h"

namespace kestrix {
namespace {

// Each word is a group of its own, so that any one of them is enough.
NameTestWords anyOf(const std::vector<std::string>& words) {
    NameTestWords test;
    for (const auto& word : words)
        test.orGroups.push_back({word});
    test.anyGroup = true;
    test.localised = false;
    return test;
}

std::vector<std::string> withoutDash(std::vector<std::string> words) {
    for (auto& word : words)
        if (word.starts_with('-')) word.erase(0, 1);
    return words;
}

// Whether the text stands somewhere in the word, though not at the start, or not at the end.
bool isMisplacedPrefix(std::string_view prefix, std::string_view word) {
    return word.find(prefix) != std::string_view::npos && !word.starts_with(prefix);
}
bool isMisplacedSuffix(std::string_view suffix, std::string_view word) {
    return word.find(suffix) != std::string_view::npos && !word.ends_with(suffix);
}

std::vector<std::string> composedTexts(const SentenceComponents& words,
                                       SentenceComponent::Wildcard wildcard) {
    std::vector<std::string> texts;
    for (const auto& word : words)
        if (word.wildcard == wildcard) texts.push_back(text::composed(word.textLowered));
    return texts;
}

}  // namespace

NotIncludingWords::NotIncludingWords(std::vector<std::string> rawWords)
    : rawWords_(std::move(rawWords)), words_(withoutDash(rawWords_)), excluded_(anyOf(words_)) {}

// The words as they can be typed again: a quote within one is a literal quote.
std::string NotIncludingWords::commandToString() const {
    std::string typed;
    for (const auto& word : rawWords_) {
        if (!typed.empty()) typed += ' ';
        for (const char byte : word) {
            if (byte == '"') typed += '\\';
            typed += byte;
        }
    }
    return typed;
}

nlohmann::json NotIncludingWords::explainedFields() const {
    return {{"words", words_}, {"rawWords", rawWords_}};
}

CommandApplyResult NotIncludingWords::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                      const QueryContainer&) {
    return acceptIf(!excluded_.matches(path::lastComponent(result.path)));
}

WildcardWords::WildcardWords(SentenceComponents words)
    : words_(std::move(words)),
      prefixes_(composedTexts(words_, SentenceComponent::Wildcard::prefix)),
      suffixes_(composedTexts(words_, SentenceComponent::Wildcard::suffix)) {}

CommandApplyResult WildcardWords::checkWildCardsFor(std::string_view name) const {
    const std::string composedName = text::composed(name);
    const std::string_view whole = composedName;
    if (prefixes_.size() == 1 && !whole.starts_with(prefixes_.front())) return CommandApplyResult::exclude;
    if (suffixes_.size() == 1 && !whole.ends_with(suffixes_.front())) return CommandApplyResult::exclude;
    for (const auto word : text::splitAt(whole, ' ')) {
        const auto isMisplaced = [word](const auto& misplaced, const auto& texts) {
            return std::any_of(texts.begin(), texts.end(),
                               [&](const std::string& text) { return misplaced(text, word); });
        };
        if (isMisplaced(isMisplacedPrefix, prefixes_) || isMisplaced(isMisplacedSuffix, suffixes_))
            return CommandApplyResult::exclude;
    }
    return CommandApplyResult::accept;
}

nlohmann::json WildcardWords::explainedFields() const {
    return {{"words", wordsAsJson(words_)}, {"prefixes", prefixes_}, {"suffixes", suffixes_}};
}

CommandApplyResult WildcardWords::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                  const QueryContainer&) {
    return checkWildCardsFor(text::lowered(path::lastComponent(result.path)));
}

}  // namespace kestrix
