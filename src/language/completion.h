// How a half-typed line can go on.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "language/language_parse.h"
#include "language/variables.h"

namespace kestrix {

struct Continuation {
    std::string word;  // as it is typed, in quotes where need be
    std::string line;  // the whole line with it

    bool operator==(const Continuation&) const = default;
};

// What may stand at the end of the line: the next words of the sentence that is being typed, and the first
// words of another one where that is complete. The last word counts as half typed unless the line ends with a
// blank or a colon. The usual ones come first; where nothing begins with what was typed, the nearest words
// do. Empty outside the command area, and where only a value of the user's own can follow. Cannot fail.
std::vector<Continuation> continuationsOf(std::string_view line, const LanguageParse& language,
                                          const VariableLookups& lookups);

}  // namespace kestrix
