// Text as people see it, over ICU: case, characters, classes, order. All text is UTF-8; bytes that are not
// valid UTF-8 are kept as they are and count as one character each. Every operation has a fast path for plain
// ASCII. Threads: any.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kestrix::text {

// Whether all bytes are below 0x80.
bool isAscii(std::string_view text);

// Lower case by the rules of Unicode alone, the same in every locale.
std::string lowered(std::string_view text);

// Lower case by the rules of the user's locale (a Turkish "I" becomes a dotless one).
std::string loweredLocalised(std::string_view text);

// First character in upper case (locale-free), the rest as it is.
std::string withFirstCharacterUpper(std::string_view text);

// Upper case, locale-free.
std::string uppered(std::string_view text);

// Composed form (NFC), so that an accent typed as one code point is found where a name holds two. Returns the
// text itself when it is composed already.
std::string composed(std::string_view text);

// User-perceived characters (extended grapheme clusters, UAX #29), CR LF being one.
std::size_t characterCount(std::string_view text);

// The characters in order, as views into `text`.
std::vector<std::string_view> characters(std::string_view text);

// The offset `count` characters before or behind an offset, or the text's start or end if there are fewer.
// The text is valid UTF-8. One character of more than a thousand bytes may count as several.
std::size_t charactersBefore(std::string_view text, std::size_t offset, std::size_t count);
std::size_t charactersBehind(std::string_view text, std::size_t offset, std::size_t count);

// The code point at a byte offset; moves the offset behind it. An invalid byte gives U+FFFD and moves on by
// one.
char32_t decode(std::string_view text, std::size_t& offset);
void append(std::string& text, char32_t codePoint);

// White_Space of Unicode: blanks, tabs and line ends.
bool isWhiteSpaceOrNewline(char32_t codePoint);
// General categories P* and S*.
bool isPunctuation(char32_t codePoint);
bool isSymbol(char32_t codePoint);

// Without white space and newlines at both ends.
std::string_view trimmed(std::string_view text);

// Pieces between separators, empty ones omitted; views into `text`.
template <typename IsSeparator>
std::vector<std::string_view> split(std::string_view text, IsSeparator isSeparator);
std::vector<std::string_view> splitAt(std::string_view text, char separator);

// A key whose bytes order as people order names: numbers by value ("file2" before "file10"), case and accents
// only to break ties, by the user's locale. Equal keys are told apart by the bytes of the texts.
std::string collationKey(std::string_view text);

// Less than, equal to or greater than zero, as collationKey orders. For many texts make keys once instead.
int naturalCompare(std::string_view a, std::string_view b);

bool isValidUtf8(std::string_view text);
// Valid UTF-8: each byte that is not part of a valid sequence becomes U+FFFD.
std::string displayable(std::string_view bytes);

// Byte offset of the first place at or after `from` where `needle` stands in `haystack`, case ignored in
// ASCII and elsewhere, or npos. `needle` must be lowered already.
std::size_t findIgnoringCase(std::string_view haystack, std::string_view loweredNeedle, std::size_t from = 0);

template <typename IsSeparator>
std::vector<std::string_view> split(std::string_view text, IsSeparator isSeparator) {
    std::vector<std::string_view> pieces;
    std::size_t start = 0;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t next = at;
        if (isSeparator(decode(text, next))) {
            if (at > start) pieces.push_back(text.substr(start, at - start));
            start = next;
        }
        at = next;
    }
    if (text.size() > start) pieces.push_back(text.substr(start));
    return pieces;
}

}  // namespace kestrix::text
