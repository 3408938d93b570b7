// Bytes of names made fit for a person's terminal, and the program's one-line messages.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestrix::cli {

// Appends `bytes` so that a terminal shows them and does nothing else: a new line becomes "\n", tabs "\t",
// other control characters, signs that turn the direction of writing and bytes that are no UTF-8 become
// U+FFFD.
void appendSafely(std::string& text, std::string_view bytes);

// In double quotes, safe, and cut off when very long: for messages.
std::string inQuotes(std::string_view bytes);

// Writes "kestrix: ", the message and a new line to standard error, in one piece. What would break the line
// is made safe.
void complain(std::string_view message);

// Where any of the words stands in `name`, case ignored: sorted stretches (begin, end) in bytes, none
// touching the next. The words are in lower case.
using Stretches = std::vector<std::pair<std::size_t, std::size_t>>;
Stretches stretchesOf(std::string_view name, const std::vector<std::string>& loweredWords);

}  // namespace kestrix::cli
