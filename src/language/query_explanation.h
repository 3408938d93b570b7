// How a line was read, as one JSON object for programs.
#pragma once

#include <string>

#include "language/query_container.h"

namespace kestrix {

// Keys: words, searchWords, searchWordParts, orStringGroups, includesOR, isORCommandSearch,
// isWordBasedSearch, highlight, soundex, commands, unused, invalid, arguments. A word has text, original,
// start, end, afterColon, quoted and wildcard (none, prefix, suffix). A command has class, text, consumed and
// its own fields. Arguments are word, modificationDate, creationDate, fileSize and checkPathForResults; an
// unset one is null, a range a pair of numbers. Indented by two blanks, without a newline at the end.
std::string explanationAsJson(const QueryContainer& query);

}  // namespace kestrix
