// Finding text with case ignored.
//
// An ASCII needle is sought in the raw bytes, by its two rarest bytes at once, sixteen places a step. Only
// two characters outside ASCII become ASCII when lowered, the Kelvin sign ("k") and the capital I with a dot
// ("i" and a combining dot); where one stands before the place found, the slow way decides.
//
// The slow way folds one code point of the haystack after the other and compares; it needs no copy of the
// haystack and so no table of offsets. Folding is lowering, with the final sigma read as any other: lowered()
// chooses between the two by what stands around it, and a part of a word must still match.
#include <unicode/uchar.h>

#include <algorithm>
#include <array>
#include <bit>
#include <string>
#include <utility>

#include "base/text.h"
#include "base/text_utf8.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kestrix::text {
namespace {

// From the most frequent bytes of names, paths and prose down; what is not listed is rarer still.
constexpr std::array<unsigned char, 256> kFrequency = [] {
    std::array<unsigned char, 256> frequency{};
    constexpr std::string_view kMostFrequentFirst = " etaoinsrlh/dcumpgf.ybw-vk_10x,2j3q5z4689\n7()'";
    for (std::size_t i = 0; i < kMostFrequentFirst.size(); ++i) {
        frequency[static_cast<unsigned char>(kMostFrequentFirst[i])] = static_cast<unsigned char>(200 - i);
    }
    return frequency;
}();

bool isSmallLetter(char byte) {
    return static_cast<unsigned char>(byte - 'a') < 26;
}

// An ASCII needle with two of its offsets to look at first. A letter is met in both cases by setting the bit
// that tells them apart.
struct AsciiNeedle {
    explicit AsciiNeedle(std::string_view lowered) : bytes(lowered) {
        // A needle of one byte has itself as second.
        int rarestFrequency = frequencyAt(0);
        int secondFrequency = 256;
        for (std::size_t i = 1; i < bytes.size(); ++i) {
            const int frequency = frequencyAt(i);
            if (frequency < rarestFrequency) {
                second = std::exchange(rarest, i);
                secondFrequency = std::exchange(rarestFrequency, frequency);
            } else if (frequency < secondFrequency) {
                second = i;
                secondFrequency = frequency;
            }
        }
        rarestBit = caseBit(bytes[rarest]);
        secondBit = caseBit(bytes[second]);
    }

    int frequencyAt(std::size_t i) const { return kFrequency[static_cast<unsigned char>(bytes[i])]; }
    static char caseBit(char byte) { return isSmallLetter(byte) ? 0x20 : 0; }

    bool standsAt(const char* place) const {
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            if (loweredByte(place[i]) != bytes[i]) return false;
        }
        return true;
    }

    std::string_view bytes;
    std::size_t rarest = 0;
    std::size_t second = 0;
    char rarestBit = 0;
    char secondBit = 0;
};

#if defined(__SSE2__)
constexpr std::size_t kBlock = 16;

__m128i candidates(const char* bytes, char caseBit, char wanted) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    return _mm_cmpeq_epi8(_mm_or_si128(block, _mm_set1_epi8(caseBit)), _mm_set1_epi8(wanted));
}

// The place of the needle among kBlock places from `at` on, or npos.
std::size_t findInBlock(std::string_view haystack, std::size_t at, const AsciiNeedle& needle) {
    const __m128i both = _mm_and_si128(
        candidates(&haystack[at + needle.rarest], needle.rarestBit, needle.bytes[needle.rarest]),
        candidates(&haystack[at + needle.second], needle.secondBit, needle.bytes[needle.second]));
    for (auto mask = static_cast<unsigned>(_mm_movemask_epi8(both)); mask != 0; mask &= mask - 1) {
        const std::size_t place = at + static_cast<std::size_t>(std::countr_zero(mask));
        if (needle.standsAt(&haystack[place])) return place;
    }
    return std::string_view::npos;
}
#endif

std::size_t findAscii(std::string_view haystack, std::string_view loweredNeedle, std::size_t from) {
    if (haystack.size() - from < loweredNeedle.size()) return std::string_view::npos;
    const AsciiNeedle needle(loweredNeedle);
    const std::size_t places = haystack.size() - loweredNeedle.size() + 1;
    std::size_t at = from;
#if defined(__SSE2__)
    for (; places - at >= kBlock; at += kBlock) {
        const std::size_t found = findInBlock(haystack, at, needle);
        if (found != std::string_view::npos) return found;
    }
    // The rest in one step that goes over some places again.
    if (at < places && places - from >= kBlock) return findInBlock(haystack, places - kBlock, needle);
#endif
    for (; at < places; ++at) {
        const char byte = static_cast<char>(haystack[at + needle.rarest] | needle.rarestBit);
        if (byte == loweredNeedle[needle.rarest] && needle.standsAt(&haystack[at])) return at;
    }
    return std::string_view::npos;
}

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
    const std::size_t found = findAscii(haystack, loweredNeedle, from);
    const std::string_view before = haystack.substr(from, std::min(found, haystack.size()) - from);
    if (isAscii(before) || !holdsHiddenAscii(before, loweredNeedle)) return found;
    return findFolded(haystack, loweredNeedle, from);
}

}  // namespace kestrix::text
