// What a search inside files looks for, made ready for many texts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/text_finder.h"
#include "files/search_result.h"

namespace kestrix {

struct ContentOptions {
    bool caseSensitive = false;
    bool wholeWords = false;
    bool allWords = false;  // a text must hold every word, not only one of them
};

// Words to find and words to stay away from. Accents never matter. Immutable. Threads: any.
class ContentWords {
  public:
    // Of more occurrences of one word than this the places are not kept: they would fill the memory, and
    // nobody looks at them.
    static constexpr std::size_t kMostPlaces = 1'000'000;

    // Unless case matters, `words` are lowered; the places stand under the words as they are sought then.
    ContentWords(std::vector<std::string> words, const std::vector<std::string>& wordsToExclude,
                 ContentOptions options);

    struct Found {
        std::int64_t count = 0;  // of all occurrences, above 0
        // If they were asked for; a word without occurrences has an empty list.
        std::map<std::string, std::vector<TextRange>> places;
    };
    // Nothing if the text does not fulfil what is asked. Of a word to be excluded only the first occurrence
    // is looked at, also where it counts only as a whole word.
    std::optional<Found> findIn(std::string_view text, bool keepPlaces) const;

    // False if findIn would find nothing in these bytes, were they decoded from Mac OS Roman: far cheaper
    // than decoding.
    bool canStandInMacRoman(std::string_view bytes) const;

  private:
    struct Word {
        Word(std::string word, text::TextFinder::Case letters)
            : text(std::move(word)), finder(text, letters) {}

        std::string text;
        text::TextFinder finder;
    };

    template <typename Take>
    void forEachOccurrence(const Word& word, std::string_view text, Take take) const;
    bool isStruckBy(const Word& excluded, std::string_view text) const;

    ContentOptions options_;
    std::deque<Word> words_;  // each once
    std::deque<Word> wordsToExclude_;
};

}  // namespace kestrix
