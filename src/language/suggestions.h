// What was probably meant by words that the language does not know.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "language/language_parse.h"
#include "language/query_container.h"

namespace kestrix {

// Letters put in, left out, replaced, or swapped with a neighbour, in bytes.
std::size_t editDistance(std::string_view a, std::string_view b);

struct Suggestion {
    std::string text;
    std::size_t words = 0;     // how many of the typed words it would stand for
    std::size_t sentence = 0;  // its place in the language
    bool isNew = false;        // it is not what was typed
};

// The sentence whose keywords are nearest to the beginning of the words, with what was typed in place of its
// variables and, where nothing was, their names: "bigger than 10mb" for "biger than 10mb", "bigger than SIZE"
// for "biger". The first `unknown` words are to be explained; those behind may belong to the same sentence.
// Nothing if no sentence is near.
std::optional<Suggestion> nearestSentence(const LanguageParse& language,
                                          std::span<const SentenceComponent> words, std::size_t unknown);

// The words in one line, as they were typed but for the blanks between them.
std::string asTyped(std::span<const SentenceComponent> words);

// Words behind the colon that stand together and made no command: those that one suggestion would mend, those
// that a sentence touched, or those that nothing is known of.
struct UnknownStretch {
    SentenceComponents words;
    bool isKnownSentence = false;  // a sentence touched all of them, and yet it means nothing
    bool isNotThereYet = false;    // they are a sentence that is only recognised in this version
    std::optional<std::string> suggestion;
};

// In the order of the line.
std::vector<UnknownStretch> unknownStretches(const QueryContainer& query, const LanguageParse& language);

}  // namespace kestrix
