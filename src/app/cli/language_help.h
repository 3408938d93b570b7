// The description of the query language, made from the sentences that the program ships.
#pragma once

#include <string>

#include "language/language_parse.h"

namespace kestrix::cli {

// In Markdown. The words, the colon and whatever else no sentence tells come from
// resources/query-language-intro.md; the sentences stand where it has the line "<!-- sentences -->", each
// with an example, under the headings that the comments of the template file give them. A sentence that none
// of the factories of `language` makes a command of is marked as not there yet.
std::string languageHelp(const LanguageParse& language);

}  // namespace kestrix::cli
