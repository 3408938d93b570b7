// One sentence that the language understands.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/uuid.h"
#include "language/command.h"
#include "language/sentence_component.h"

namespace kestrix {

// Read from a line such as
//
//     modified in ~year year/what=modified
//
// whose last word names the command, with flags ("key=value", separated by commas) behind a slash, and whose
// other words are keywords, in lower case, or variables. A variable may name a completor behind a slash.
// Double quotes group blanks into one word.
struct SentenceTemplate {
    // Throws Error for a line without words or without a command name.
    static SentenceTemplate fromLine(const std::string& line);

    // Reads a whole template file: lines that begin with "//" or hold a pencil sign (U+270F U+FE0F) are
    // comments. Throws Error whose text names the faulty line by number.
    static std::vector<SentenceTemplate> fromText(std::string_view text);

    std::string debugTemplate;  // the line as read
    Uuid id = Uuid::make();
    SentenceComponents components;   // without the last word
    std::vector<std::string> words;  // their original case
    std::string command;
    std::size_t numberOfKeywords = 0;
    CommandFlags flags;
};

}  // namespace kestrix
