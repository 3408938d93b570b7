// Slow and simple twins of findIgnoringCase and TextFinder, for tests and fuzzing.
#pragma once

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"
#include "base/text_finder.h"

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

// A unit of a text that is decomposed whole and has lost its accents, and the code point that it comes from.
struct AccentlessUnit {
    long unit;
    text::Stretch from;
};

inline std::vector<AccentlessUnit> accentless(std::string_view text, bool ignoreCase) {
    UErrorCode status = U_ZERO_ERROR;
    const auto* const nfd = icu::Normalizer2::getNFDInstance(status);
    std::vector<AccentlessUnit> units;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t start = at;
        const char32_t codePoint = text::decode(text, at);
        const text::Stretch from{start, at};
        if (codePoint == U'\uFFFD' && at == start + 1) {
            units.push_back({-1L - static_cast<unsigned char>(text[start]), from});
            continue;
        }
        const auto decomposed = nfd->normalize(icu::UnicodeString(static_cast<UChar32>(codePoint)), status);
        for (int i = 0; i < decomposed.length(); i = decomposed.moveIndex32(i, 1)) {
            const UChar32 one = decomposed.char32At(i);
            if (u_charType(one) == U_NON_SPACING_MARK) continue;
            units.push_back({ignoreCase ? u_foldCase(one, U_FOLD_CASE_DEFAULT) : one, from});
        }
    }
    return units;
}

inline std::vector<text::Stretch> occurrencesSlowly(std::string_view text, std::string_view word,
                                                    bool ignoreCase) {
    const auto units = accentless(text, ignoreCase);
    const auto wanted = accentless(word, ignoreCase);
    std::vector<text::Stretch> found;
    for (std::size_t i = 0; !wanted.empty() && i + wanted.size() <= units.size(); ++i) {
        std::size_t equal = 0;
        while (equal < wanted.size() && units[i + equal].unit == wanted[equal].unit) {
            ++equal;
        }
        const std::size_t behind = i + equal;
        if (equal < wanted.size() || (i > 0 && units[i - 1].from == units[i].from)) continue;
        if (behind < units.size() && units[behind].from == units[behind - 1].from) continue;
        // Dropped code points up to the next unit are accents of the last one.
        found.push_back(
            {units[i].from.start, behind < units.size() ? units[behind].from.start : text.size()});
        i = behind - 1;
    }
    return found;
}

}  // namespace kestrix
