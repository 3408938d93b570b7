#include "base/base64.h"

#include <cstdint>

namespace kestrix {

namespace {

constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string base64(std::string_view bytes) {
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::string_view group = bytes.substr(at, 3);
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < 3; ++i)
            bits = bits << 8 | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0U);
        for (std::size_t i = 0; i < 4; ++i)
            text += i <= group.size() ? kLetters[bits >> (18 - 6 * i) & 63] : '=';
    }
    return text;
}

std::optional<std::string> bytesOfBase64(std::string_view text) {
    std::string bytes;
    std::string_view letters = text;
    for (int padding = 0; padding < 2 && letters.ends_with('='); ++padding)
        letters.remove_suffix(1);
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < letters.size(); ++i) {
        const std::size_t value = kLetters.find(letters[i]);
        if (value == std::string_view::npos) return std::nullopt;
        bits = bits << 6 | static_cast<std::uint32_t>(value);
        if (i % 4 != 0) bytes += static_cast<char>(bits >> (6 - i % 4 * 2) & 255);
    }
    // The last letter of a short group and the padding must be as they were written.
    if (base64(bytes) != text) return std::nullopt;
    return bytes;
}

}  // namespace kestrix
