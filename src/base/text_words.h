// The words of a text, as they are counted in catalogs.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrix::text {

inline constexpr std::size_t kLongestWord = 32;  // characters, as people count them

// Calls `on` with each word in order, repeated ones included; the view is valid during the call. Words are
// the pieces between white space, control and format characters (a byte order mark, a soft hyphen), code
// points that are assigned to nothing and the private ones of the first plane; lowered by the rules of
// Unicode alone; without punctuation and symbols at both ends. Empty and longer ones than kLongestWord are
// left out.
//
// Bytes that are not valid UTF-8 count as U+FFFD. ASCII goes at several hundred megabytes a second. Threads:
// any.
void forEachWord(std::string_view text, const std::function<void(std::string_view word)>& on);

// A stretch between separators, as it is counted, and whether punctuation or symbols were taken off its ends.
// Unlike words, pieces may be empty and of any length.
struct WordPiece {
    std::string word;
    bool isTrimmed = false;
};
std::vector<WordPiece> wordPieces(std::string_view text);

}  // namespace kestrix::text
