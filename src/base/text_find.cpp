// Finding text with case ignored.
//
// An ASCII needle is sought in the raw bytes. Only two characters outside ASCII become ASCII when lowered,
// the Kelvin sign ("k") and the capital I with a dot ("i" and a combining dot); where one stands before the
// place found, the slow way decides.
//
// The slow way folds one code point of the haystack after the other and compares; it needs no copy of the
// haystack and so no table of offsets. Folding is lowering, with the final sigma read as any other: lowered()
// chooses between the two by what stands around it, and a part of a word must still match.
#include <unicode/uchar.h>

#include <algorithm>
#include <string>

#include "base/ascii_needle.h"
#include "base/text.h"
#include "base/text_utf8.h"

namespace kestrix::text {
namespace {

// Whether something that lowers to ASCII, but is none, stands in the text.
bool holdsHiddenAscii(std::string_view text, std::string_view needle) {
    constexpr std::string_view kKelvin = "\xE2\x84\xAA";
    constexpr std::string_view kCapitalIWithDot = "\xC4\xB0";
    const auto concerns = [&](char letter, std::string_view hidden) {
        return needle.find(letter) != std::string_view::npos && text.find(hidden) != std::string_view::npos;
    };
    return concerns('k', kKelvin) || concerns('i', kCapitalIWithDot);
}

constexpr UChar32 kCapitalIWithDotAbove = 0x130;
constexpr UChar32 kCombiningDotAbove = 0x307;
constexpr UChar32 kFinalSigma = 0x3C2;
constexpr UChar32 kSigma = 0x3C3;

// One code point of a text as it is compared, and where the next one begins.
struct Folded {
    UChar32 first;
    UChar32 second;  // 0 but for the one code point that lowers to two
    std::size_t next;
};

Folded foldAt(std::string_view text, std::size_t offset) {
    if (isAsciiByte(text[offset])) return {loweredByte(text[offset]), 0, offset + 1};
    std::size_t next = offset;
    const UChar32 codePoint = nextCodePoint(text, next);
    // An invalid byte equals only itself: it stands above all code points.
    if (codePoint < 0) return {0x110000 + static_cast<unsigned char>(text[offset]), 0, next};
    if (codePoint == kCapitalIWithDotAbove) return {'i', kCombiningDotAbove, next};
    const UChar32 folded = u_tolower(codePoint);
    return {folded == kFinalSigma ? kSigma : folded, 0, next};
}

void foldInto(std::u32string& folded, std::string_view text) {
    folded.clear();
    for (std::size_t at = 0; at < text.size();) {
        const Folded one = foldAt(text, at);
        folded.push_back(static_cast<char32_t>(one.first));
        if (one.second != 0) folded.push_back(static_cast<char32_t>(one.second));
        at = one.next;
    }
}

// Whether `needle` stands at `at`. It may end within a code point's fold.
bool standsAt(std::string_view haystack, std::size_t at, std::u32string_view needle) {
    while (!needle.empty()) {
        if (at == haystack.size()) return false;
        const Folded one = foldAt(haystack, at);
        if (static_cast<char32_t>(one.first) != needle[0]) return false;
        needle.remove_prefix(1);
        if (one.second != 0 && !needle.empty()) {
            if (static_cast<char32_t>(one.second) != needle[0]) return false;
            needle.remove_prefix(1);
        }
        at = one.next;
    }
    return true;
}

std::size_t findFolded(std::string_view haystack, std::string_view loweredNeedle, std::size_t from) {
    thread_local std::u32string needle;
    foldInto(needle, loweredNeedle);
    const bool beginsOutsideAscii = needle[0] >= 0x80;
    for (std::size_t at = from; at < haystack.size();) {
        if (beginsOutsideAscii && isAsciiByte(haystack[at])) {
            ++at;
            continue;
        }
        const Folded one = foldAt(haystack, at);
        if (static_cast<char32_t>(one.first) == needle[0] && standsAt(haystack, at, needle)) return at;
        at = one.next;
    }
    return std::string_view::npos;
}

}  // namespace

std::size_t findIgnoringCase(std::string_view haystack, std::string_view loweredNeedle, std::size_t from) {
    if (from > haystack.size()) return std::string_view::npos;
    if (loweredNeedle.empty()) return from;
    if (!isAscii(loweredNeedle)) return findFolded(haystack, loweredNeedle, from);
    const std::size_t found = AsciiNeedle(loweredNeedle, true).find(haystack, from);
    const std::string_view before = haystack.substr(from, std::min(found, haystack.size()) - from);
    if (isAscii(before) || !holdsHiddenAscii(before, loweredNeedle)) return found;
    return findFolded(haystack, loweredNeedle, from);
}

}  // namespace kestrix::text
