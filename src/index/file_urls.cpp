#include <array>
#include <charconv>

#include "index/records.h"

namespace kestrix {

namespace {

constexpr std::string_view kHere[] = {"file:///", "file://localhost/"};
constexpr std::string_view kStandsForItself = "-._~!$&'()*+,=:@/";

bool standsForItself(char byte) {
    return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
           kStandsForItself.find(byte) != std::string_view::npos;
}

// The byte that two hexadecimal digits stand for; nothing for anything else, and for 0, which no path holds.
std::optional<char> byteOfDigits(std::string_view digits) {
    unsigned value = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, fault] = std::from_chars(digits.data(), end, value, 16);
    if (digits.size() != 2 || fault != std::errc() || stop != end || value == 0) return std::nullopt;
    return static_cast<char>(value);
}

std::optional<std::string> withoutEscapes(std::string_view text) {
    std::string plain;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '?' || text[at] == '#' || text[at] == '\0') return std::nullopt;
        if (text[at] != '%') {
            plain += text[at];
            continue;
        }
        const auto byte = byteOfDigits(text.substr(at + 1, 2));
        if (!byte) return std::nullopt;
        plain += *byte;
        at += 2;
    }
    return plain;
}

}  // namespace

std::string fileUrlOf(std::string_view path, bool isDirectory) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string url = "file://";
    for (const char byte : path) {
        const auto value = static_cast<unsigned char>(byte);
        if (standsForItself(byte)) {
            url += byte;
        } else {
            url.append({'%', kDigits[value >> 4], kDigits[value & 15]});
        }
    }
    if (isDirectory && !path.ends_with('/')) url += '/';
    return url;
}

std::optional<std::string> pathOfFileUrl(std::string_view url) {
    for (const std::string_view here : kHere) {
        if (!url.starts_with(here)) continue;
        auto path = withoutEscapes(url.substr(here.size() - 1));
        while (path && path->size() > 1 && path->ends_with('/'))
            path->pop_back();
        return path;
    }
    return std::nullopt;
}

}  // namespace kestrix
