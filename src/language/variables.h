// The variables of sentence templates, and what completes a half-typed one. docs and templates name them with
// their tilde; a parser looks only at the front of the words.
//
// The types of their values:
//     ~string, ~regexVariable                SentenceComponent
//     ~uti, ~remembered, ~extension, ~scriptName      std::string
//     ~month, ~year, ~day, ~integer          int
//     ~timeUnit                              CalendarUnit
//     ~formattedDate, ~fixedNamedTimeRange   DateCommandWhen
//     ~dateType                              DateCommandWhat
//     ~file size                             FileSizeArgs
//     ~contentSearchFlags                    std::vector<std::string>: wholeWords, allWords, allFiles, useOCR
//     ~withoutText                           SentenceComponent
//     ~varArg                                SentenceComponents
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "language/language_parse.h"

namespace kestrix {

// What the variables ask of the rest of the application, each time anew. Called on any thread on which a line
// is parsed; one that is empty has nothing to offer.
struct VariableLookups {
    std::function<std::map<std::string, std::string>()> favouriteFolders;  // name to path
    std::function<std::vector<std::string>()> knownTags;
    std::function<std::vector<std::pair<std::string, std::string>>()> scripts;  // name to target
    std::vector<std::string> utiWords = {"video", "movie", "audio", "text",
                                         "image"};  // whole classes of types
};

using VariableParsers = decltype(LanguageParse::Vocabulary::variableParsers);
using VariableCompletors = decltype(LanguageParse::Vocabulary::variableCompletors);

// ~contentSearchFlags. Each flag may be left out, their order is fixed; matches also where there is none.
std::optional<VariableParserResult> readContentSearchFlags(std::span<const SentenceComponent> words);

// All of them. `~withoutText` is "without" and the word behind it, unless that is "tag" or "tags", which
// begin a sentence of their own.
VariableParsers makeVariableParsers(const VariableLookups& lookups);
VariableCompletors makeVariableCompletors(const VariableLookups& lookups);

}  // namespace kestrix
