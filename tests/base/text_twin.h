// A slow and simple twin of findIgnoringCase, for tests and fuzzing.
#pragma once

#include <unicode/uchar.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"

namespace kestrix {

// Each code point's fold with the offset where the code point begins. A byte that is not valid UTF-8 is
// negative.
inline std::vector<std::pair<long, std::size_t>> foldedSlowly(std::string_view text) {
    std::vector<std::pair<long, std::size_t>> folded;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t start = at;
        const char32_t codePoint = text::decode(text, at);
        if (codePoint == U'\uFFFD' && at == start + 1) {
            folded.emplace_back(-1L - static_cast<unsigned char>(text[start]), start);
        } else if (codePoint == U'İ') {
            folded.emplace_back('i', start);
            folded.emplace_back(0x307, std::string_view::npos);
        } else {
            const long lower = u_tolower(static_cast<UChar32>(codePoint));
            folded.emplace_back(lower == U'ς' ? U'σ' : lower, start);
        }
    }
    return folded;
}

inline std::size_t findIgnoringCaseSlowly(std::string_view haystack, std::string_view needle,
                                          std::size_t from) {
    if (from > haystack.size()) return std::string_view::npos;
    if (needle.empty()) return from;
    const auto hay = foldedSlowly(haystack.substr(from));
    const auto wanted = foldedSlowly(needle);
    for (std::size_t i = 0; i + wanted.size() <= hay.size(); ++i) {
        std::size_t equal = 0;
        while (equal < wanted.size() && hay[i + equal].first == wanted[equal].first) {
            ++equal;
        }
        if (equal == wanted.size() && hay[i].second != std::string_view::npos) return from + hay[i].second;
    }
    return std::string_view::npos;
}

}  // namespace kestrix
