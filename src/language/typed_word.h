// Text put back into the form in which a line can hold it, so that the tokeniser reads the same text again.
#pragma once

#include <string>
#include <string_view>

namespace kestrix {

// The text as one word of a line: in quotes where the line would otherwise read it as several words, a quote,
// a star or a colon.
std::string typedWord(std::string_view text);

// In quotes. A backslash before the closing quote would take it for text, so behind one the quotes stay open
// up to the end of the line.
std::string typedInQuotes(std::string_view text);

// Without quotes around it, for a word that was typed so and means something else in quotes.
std::string typedWithoutQuotes(std::string_view text);

}  // namespace kestrix
