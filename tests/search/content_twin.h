// A slow and simple twin of summary, for tests and fuzzing: all of the text's characters in a list.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "search/content_text.h"

namespace kestrix {

inline std::string summaryLineSlowly(std::string_view text, std::size_t location) {
    std::vector<std::size_t> starts;
    std::size_t at = 0;
    for (const std::string_view character : text::characters(text)) {
        starts.push_back(at);
        at += character.size();
    }
    starts.push_back(text.size());
    // A hit within a character has that character's start before it, and its end behind.
    const auto firstNotBefore = std::ranges::lower_bound(starts, location) - starts.begin();
    const auto firstBehind = std::ranges::upper_bound(starts, location) - starts.begin();
    const std::size_t start =
        starts[static_cast<std::size_t>(std::max<std::ptrdiff_t>(firstNotBefore - 75, 0))];
    const auto last = std::min<std::size_t>(static_cast<std::size_t>(firstBehind) + 99, starts.size() - 1);
    const std::string piece = stripNewLines(text.substr(start, starts[last] - start));
    std::size_t cut = 0;
    while (cut < piece.size()) {
        std::size_t next = cut;
        if (text::isWhiteSpaceOrNewline(text::decode(piece, next))) break;
        cut = next;
    }
    return "…" + std::string(text::trimmed(std::string_view(piece).substr(cut))) + "…";
}

}  // namespace kestrix
