#include "base/text_utf8.h"

#include <cstdint>
#include <cstring>

#include "base/text.h"

namespace kestrix::text {
namespace {

constexpr std::uint64_t kHighBits = 0x8080808080808080;

std::uint64_t word(const char* bytes) {
    std::uint64_t value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

}  // namespace

bool isAscii(std::string_view text) {
    const char* at = text.data();
    std::size_t left = text.size();
    for (; left >= 32; left -= 32, at += 32) {
        if ((word(at) | word(at + 8) | word(at + 16) | word(at + 24)) & kHighBits) return false;
    }
    for (; left >= 8; left -= 8, at += 8) {
        if (word(at) & kHighBits) return false;
    }
    unsigned char all = 0;
    for (; left != 0; --left, ++at) {
        all |= static_cast<unsigned char>(*at);
    }
    return all < 0x80;
}

std::size_t firstBeyondAscii(std::string_view text, std::size_t from) {
    const char* const start = text.data();
    for (; text.size() - from >= 32; from += 32) {
        const char* const at = start + from;
        if ((word(at) | word(at + 8) | word(at + 16) | word(at + 24)) & kHighBits) break;
    }
    while (text.size() - from >= 8 && (word(start + from) & kHighBits) == 0) {
        from += 8;
    }
    while (from < text.size() && isAsciiByte(text[from])) {
        ++from;
    }
    return from;
}

std::size_t validEnd(std::string_view text, std::size_t from) {
    while (from < text.size()) {
        from = firstBeyondAscii(text, from);
        const std::size_t start = from;
        if (from < text.size() && nextCodePoint(text, from) < 0) return start;
    }
    return text.size();
}

char32_t decode(std::string_view text, std::size_t& offset) {
    if (isAsciiByte(text[offset])) return static_cast<char32_t>(text[offset++]);
    const UChar32 codePoint = nextCodePoint(text, offset);
    return codePoint < 0 ? U'\uFFFD' : static_cast<char32_t>(codePoint);
}

void append(std::string& text, char32_t codePoint) {
    if (codePoint < 0x80) {
        text.push_back(static_cast<char>(codePoint));
        return;
    }
    if (codePoint > 0x10FFFF || U_IS_SURROGATE(codePoint)) codePoint = U'\uFFFD';
    char bytes[U8_MAX_LENGTH];
    std::size_t length = 0;
    U8_APPEND_UNSAFE(bytes, length, codePoint);
    text.append(bytes, length);
}

bool isValidUtf8(std::string_view text) {
    return validEnd(text, 0) == text.size();
}

std::string displayable(std::string_view bytes) {
    std::string shown;
    shown.reserve(bytes.size());
    forEachStretch(
        bytes, [&shown](std::string_view valid) { shown += valid; },
        [&shown](std::string_view) { shown += "\xEF\xBF\xBD"; });
    return shown;
}

}  // namespace kestrix::text
