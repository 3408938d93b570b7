// What a search inside files does with typed words and with the text of a file. Threads: any.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "files/search_result.h"
#include "language/typed_word.h"

namespace kestrix {

// The words of a typed text: its pieces between commas, trimmed, without the quotes around them. A word may
// hold blanks.
std::vector<std::string> searchWordParts(std::string_view text);

// With a backslash before each double quote.
inline std::string escapeQuotes(std::string_view text) {
    return typedWithoutQuotes(text);
}

// On one line: runs of newlines, tabs and blanks become one blank, those at the ends none.
std::string stripNewLines(std::string_view text);

// Whether white space, punctuation or the text's end stand on both sides of the range. Symbols ("$") belong
// to words.
bool isWholeWord(TextRange range, std::string_view text);

// One line for each range, in the order given: what stands around it, without the cut word at the front, in
// ellipses. A range that begins at the text's end gives none. The text is valid UTF-8; lengths are in
// characters as people count them, and end where the text does.
inline constexpr std::size_t kMostSummaryLines = 1001;
inline constexpr std::size_t kSummaryBefore = 75;
inline constexpr std::size_t kSummaryBehind = 100;
std::vector<std::string> summary(std::string_view text, const std::vector<TextRange>& ranges);

}  // namespace kestrix
