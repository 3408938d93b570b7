// The description of the query language, made from the sentences that the program ships.
#pragma once

#include <string>

namespace kestrix::cli {

// In Markdown. The words, the colon and whatever else no sentence tells come from
// resources/query-language-intro.md; the sentences stand where it has the line "<!-- sentences -->", each
// with an example, under the headings that the comments of the template file give them.
std::string languageHelp();

}  // namespace kestrix::cli
