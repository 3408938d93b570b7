#include "base/ascii_needle.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

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

int frequencyOf(char byte) {
    return kFrequency[static_cast<unsigned char>(byte)];
}

bool isSmallLetter(char byte) {
    return static_cast<unsigned char>(byte - 'a') < 26;
}

#if defined(__SSE2__)
constexpr std::size_t kBlock = 16;

// Which of sixteen bytes are the wanted one, its case bit set or not.
struct WantedByte {
    WantedByte(char byte, char caseBit) : byte_(_mm_set1_epi8(byte)), caseBit_(_mm_set1_epi8(caseBit)) {}
    __m128i in(const char* bytes) const {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
        return _mm_cmpeq_epi8(_mm_or_si128(block, caseBit_), byte_);
    }

    __m128i byte_;
    __m128i caseBit_;
};
#endif

}  // namespace

AsciiNeedle::AsciiNeedle(std::string_view word, bool ignoreCase) : bytes_(word), ignoreCase_(ignoreCase) {
    // A word of one byte has itself as second.
    int rarestFrequency = frequencyOf(bytes_[0]);
    int secondFrequency = 256;
    for (std::size_t i = 1; i < bytes_.size(); ++i) {
        const int frequency = frequencyOf(bytes_[i]);
        if (frequency < rarestFrequency) {
            second_ = std::exchange(rarest_, i);
            secondFrequency = std::exchange(rarestFrequency, frequency);
        } else if (frequency < secondFrequency) {
            second_ = i;
            secondFrequency = frequency;
        }
    }
    rarestBit_ = caseBitOf(bytes_[rarest_]);
    secondBit_ = caseBitOf(bytes_[second_]);
}

// A letter is met in both cases by setting the bit that tells them apart.
char AsciiNeedle::caseBitOf(char byte) const {
    return ignoreCase_ && isSmallLetter(byte) ? 0x20 : 0;
}

bool AsciiNeedle::standsAt(const char* place) const {
    if (!ignoreCase_) return std::memcmp(place, bytes_.data(), bytes_.size()) == 0;
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
        if (loweredByte(place[i]) != bytes_[i]) return false;
    }
    return true;
}

std::size_t AsciiNeedle::find(std::string_view haystack, std::size_t from) const {
    if (haystack.size() - from < bytes_.size()) return std::string_view::npos;
    const std::size_t places = haystack.size() - bytes_.size() + 1;
    std::size_t at = from;
#if defined(__SSE2__)
    const WantedByte rarest(bytes_[rarest_], rarestBit_);
    const WantedByte second(bytes_[second_], secondBit_);
    for (; at < places && places - from >= kBlock; at += kBlock) {
        // The last step goes over some places again.
        at = std::min(at, places - kBlock);
        const char* const block = haystack.data() + at;
        const __m128i both = _mm_and_si128(rarest.in(block + rarest_), second.in(block + second_));
        for (auto mask = static_cast<unsigned>(_mm_movemask_epi8(both)); mask != 0; mask &= mask - 1) {
            const auto place = static_cast<std::size_t>(std::countr_zero(mask));
            if (standsAt(block + place)) return at + place;
        }
    }
#endif
    for (; at < places; ++at) {
        const char byte = static_cast<char>(haystack[at + rarest_] | rarestBit_);
        if (byte == bytes_[rarest_] && standsAt(&haystack[at])) return at;
    }
    return std::string_view::npos;
}

}  // namespace kestrix::text
