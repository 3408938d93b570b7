// Walking over text that may hold bytes which are not valid UTF-8. For the text*.cpp files alone.
#pragma once

#include <unicode/utf8.h>

#include <cstddef>
#include <string_view>

namespace kestrix::text {

// ICU counts in 32 bits; a longer valid stretch is handled in parts of about this size.
inline constexpr std::size_t kLongestStretch = std::size_t{1} << 28;

inline constexpr bool isAsciiByte(char byte) {
    return static_cast<unsigned char>(byte) < 0x80;
}

inline constexpr char loweredByte(char byte) {
    return static_cast<unsigned char>(byte - 'A') < 26 ? static_cast<char>(byte | 0x20) : byte;
}

// The code point at the offset, which moves behind it; negative for an invalid byte, which is passed alone.
inline UChar32 nextCodePoint(std::string_view text, std::size_t& offset) {
    const std::size_t start = offset;
    UChar32 codePoint;
    // NOLINTNEXTLINE(bugprone-inc-dec-in-conditions): the macro's own way
    U8_NEXT(text.data(), offset, text.size(), codePoint);
    if (codePoint < 0) offset = start + 1;
    return codePoint;
}

// The offset of the first byte at or behind `from` that is not ASCII, or the text's end.
std::size_t firstBeyondAscii(std::string_view text, std::size_t from);

// The offset of the first byte at or behind `from` that is no part of valid UTF-8, or the text's end.
std::size_t validEnd(std::string_view text, std::size_t from);

// Calls onValid with each stretch of valid UTF-8 and onInvalid with each byte between, in order.
template <typename OnValid, typename OnInvalid>
void forEachStretch(std::string_view text, OnValid onValid, OnInvalid onInvalid) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = validEnd(text, at);
        for (; end - at > kLongestStretch;) {
            std::size_t cut = at + kLongestStretch;
            while (U8_IS_TRAIL(text[cut])) {
                --cut;
            }
            onValid(text.substr(at, cut - at));
            at = cut;
        }
        if (end > at) onValid(text.substr(at, end - at));
        if (end < text.size()) onInvalid(text.substr(end, 1));
        at = end + 1;
    }
}

}  // namespace kestrix::text
