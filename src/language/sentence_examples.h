// Sentence templates as people read them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "language/sentence_template.h"

namespace kestrix {

// The name of the variable in a template's word, without its completor: "~string" of "~string/~tagCompletor".
std::string_view variableNameOf(std::string_view templateWord);
inline bool isVariable(std::string_view templateWord) {
    return templateWord.starts_with('~');
}

// The words that a variable with a short list of them takes: "today", "yesterday" ... Empty for all others.
const std::vector<std::string>& wordsOfVariable(std::string_view variable);

// A template's word for people: a keyword as it is, a variable as "MONTH", in brackets if it may be left out.
std::string shownWord(std::string_view templateWord);

// "bigger than SIZE"
std::string shownSentence(const SentenceTemplate& sentence);
// "bigger than 10mb": something that can be typed and is the whole sentence. Names of favourites and scripts
// are made up.
std::string exampleOf(const SentenceTemplate& sentence);

}  // namespace kestrix
