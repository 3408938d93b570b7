#include "search/content_words.h"

#include <algorithm>

#include "base/text.h"
#include "search/content_text.h"

namespace kestrix {

using text::TextFinder;

ContentWords::ContentWords(std::vector<std::string> words, const std::vector<std::string>& wordsToExclude,
                           ContentOptions options)
    : options_(options) {
    const auto letters = options_.caseSensitive ? TextFinder::Case::exact : TextFinder::Case::ignored;
    for (std::string& word : words) {
        std::string sought = options_.caseSensitive ? std::move(word) : text::lowered(word);
        const auto isKnown = [&sought](const Word& other) { return other.text == sought; };
        if (std::ranges::none_of(words_, isKnown)) words_.emplace_back(std::move(sought), letters);
    }
    for (const std::string& word : wordsToExclude) {
        wordsToExclude_.emplace_back(word, letters);
    }
}

std::optional<ContentWords::Found> ContentWords::findIn(std::string_view text, bool keepPlaces) const {
    Found found;
    for (const Word& word : words_) {
        const std::int64_t before = found.count;
        std::vector<TextRange> places;
        forEachOccurrence(word, text, [&](TextRange range) {
            ++found.count;
            if (keepPlaces && places.size() < kMostPlaces) places.push_back(range);
        });
        if (options_.allWords && found.count == before) return std::nullopt;
        if (keepPlaces) found.places.emplace(word.text, std::move(places));
    }
    if (found.count == 0) return std::nullopt;
    const auto strikes = [&](const Word& excluded) { return isStruckBy(excluded, text); };
    if (std::ranges::any_of(wordsToExclude_, strikes)) return std::nullopt;
    return found;
}

template <typename Take>
void ContentWords::forEachOccurrence(const Word& word, std::string_view text, Take take) const {
    TextFinder::Occurrences search(word.finder, text);
    while (const auto occurrence = search.next()) {
        const TextRange range{occurrence->start, occurrence->end - occurrence->start};
        if (!options_.wholeWords || isWholeWord(range, text)) take(range);
    }
}

bool ContentWords::isStruckBy(const Word& excluded, std::string_view text) const {
    const auto first = TextFinder::Occurrences(excluded.finder, text).next();
    if (!first) return false;
    return !options_.wholeWords || isWholeWord({first->start, first->end - first->start}, text);
}

bool ContentWords::canStandInMacRoman(std::string_view bytes) const {
    const auto isIn = [bytes](const Word& word) { return word.finder.isInMacRoman(bytes); };
    return options_.allWords ? std::ranges::all_of(words_, isIn) : std::ranges::any_of(words_, isIn);
}

}  // namespace kestrix
