#include "language/name_test.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>
#include <utility>

#include "base/text.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kestrix {
namespace {

// No name of a Linux file system is longer; what is takes the slow way.
constexpr std::size_t kLongestName = 255;
constexpr std::size_t kBlock = 16;

// A short ASCII name with room behind it, so that a search may read a whole block from each of its places.
struct AsciiName {
    char bytes[kLongestName + 1 + kBlock];
    std::size_t size;

    // False if the name is not all ASCII. Works on whole blocks, the zeros behind the name included, and
    // without a branch in the loop, so that the compiler makes vectors of it and leaves no bytes over.
    bool assign(std::string_view name, bool lower) {
        size = name.size();
        name.copy(bytes, size);
        std::memset(bytes + size, 0, kBlock + 1);
        const std::size_t end = (size + kBlock - 1) / kBlock * kBlock;
        const unsigned char letters = lower ? 26 : 0;
        unsigned char all = 0;
        for (std::size_t i = 0; i < end; ++i) {
            const auto byte = static_cast<unsigned char>(bytes[i]);
            all |= byte;
            bytes[i] =
                static_cast<char>(byte + (static_cast<unsigned char>(byte - 'A') < letters ? 0x20 : 0));
        }
        return all < 0x80;
    }

    bool holds(std::string_view needle) const {
#if defined(__SSE2__)
        if (needle.size() >= 2) return holdsByBlocks(needle);
#endif
        return !needle.empty() && std::string_view(bytes, size).find(needle) != std::string_view::npos;
    }

#if defined(__SSE2__)
    // Looks for the needle's first two bytes at sixteen places a step.
    bool holdsByBlocks(std::string_view needle) const {
        if (needle.size() > size) return false;
        const std::size_t places = size - needle.size() + 1;
        const __m128i first = _mm_set1_epi8(needle[0]);
        const __m128i second = _mm_set1_epi8(needle[1]);
        for (std::size_t at = 0; at < places; at += kBlock) {
            const __m128i here = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + at));
            const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + at + 1));
            const __m128i both = _mm_and_si128(_mm_cmpeq_epi8(here, first), _mm_cmpeq_epi8(next, second));
            for (auto mask = static_cast<unsigned>(_mm_movemask_epi8(both)); mask != 0; mask &= mask - 1) {
                const std::size_t place = at + static_cast<std::size_t>(std::countr_zero(mask));
                if (place >= places) return false;
                if (std::memcmp(bytes + place + 2, needle.data() + 2, needle.size() - 2) == 0) return true;
            }
        }
        return false;
    }
#endif
};

// What is left of a byte when upper and lower case are not told apart. A few signs fall together as well.
constexpr std::uint8_t kSmallLetter = 0x20;

// Bytes of file names, the most frequent first, "_" as it becomes with the bit set. What is not listed is
// rarer still.
constexpr std::string_view kFrequentBytes = "e.atinrsolcdmpu\x7Fhg-f1b02y3wkv45876 9xjzq";

// Higher is rarer.
std::size_t rarityOf(std::uint8_t byte) {
    return std::min(kFrequentBytes.find(static_cast<char>(byte)), kFrequentBytes.size());
}

// Gathers, of 16 bytes of a name a step, what mayMatch asks: whether each of the two bytes was there, and
// whether one was beyond ASCII.
#if defined(__SSE2__)
class ByteSearch {
  public:
    ByteSearch(std::uint8_t first, std::uint8_t second)
        : first_(_mm_set1_epi8(static_cast<char>(first))),
          second_(_mm_set1_epi8(static_cast<char>(second))) {}

    void look(std::string_view name) {
        const char* const at = name.data();
        const std::size_t size = name.size();
        if (size >= kBlock) {
            for (std::size_t i = 0; i + kBlock <= size; i += kBlock)
                look(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at + i)));
            look(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at + size - kBlock)));
        } else if (size >= 8) {
            look(_mm_set_epi64x(read<long long>(at), read<long long>(at + size - 8)));
        } else if (size >= 4) {
            look(_mm_set_epi64x(read<int>(at), read<int>(at + size - 4)));
        } else {
            for (std::size_t i = 0; i < size; ++i)
                look(_mm_set1_epi8(at[i]));
        }
    }

    bool sawBoth() const { return _mm_movemask_epi8(sawFirst_) != 0 && _mm_movemask_epi8(sawSecond_) != 0; }
    bool sawBeyondAscii() const { return _mm_movemask_epi8(all_) != 0; }

  private:
    // An int is widened with its sign, which can only make the name look as if it went beyond ASCII when it
    // does.
    template <typename Number>
    static long long read(const char* at) {
        Number number;
        std::memcpy(&number, at, sizeof number);
        return number;
    }

    void look(__m128i block) {
        const __m128i small = _mm_or_si128(block, _mm_set1_epi8(kSmallLetter));
        sawFirst_ = _mm_or_si128(sawFirst_, _mm_cmpeq_epi8(small, first_));
        sawSecond_ = _mm_or_si128(sawSecond_, _mm_cmpeq_epi8(small, second_));
        all_ = _mm_or_si128(all_, block);
    }

    const __m128i first_;
    const __m128i second_;
    __m128i sawFirst_ = _mm_setzero_si128();
    __m128i sawSecond_ = _mm_setzero_si128();
    __m128i all_ = _mm_setzero_si128();
};
#else
class ByteSearch {
  public:
    ByteSearch(std::uint8_t first, std::uint8_t second) : first_(first), second_(second) {}

    void look(std::string_view name) {
        for (const char byte : name) {
            const auto small = static_cast<std::uint8_t>(byte) | kSmallLetter;
            sawFirst_ |= small == first_;
            sawSecond_ |= small == second_;
            all_ |= static_cast<std::uint8_t>(byte);
        }
    }

    bool sawBoth() const { return sawFirst_ && sawSecond_; }
    bool sawBeyondAscii() const { return all_ >= 0x80; }

  private:
    const std::uint8_t first_;
    const std::uint8_t second_;
    bool sawFirst_ = false;
    bool sawSecond_ = false;
    std::uint8_t all_ = 0;
};
#endif

bool separatesWords(char32_t codePoint) {
    return text::isWhiteSpaceOrNewline(codePoint) || text::isPunctuation(codePoint) ||
           text::isSymbol(codePoint);
}

}  // namespace

NameTest::NameTest(NameTestWords words) : words_(std::move(words)) {
    for (auto& word : words_.words)
        word = text::composed(word);
    for (auto& group : words_.orGroups)
        for (auto& word : group)
            word = text::composed(word);
    asciiLowersPlainly_ = !words_.localised || text::loweredLocalised("I") == "i";
    if (words_.caseSensitive || asciiLowersPlainly_) chooseRareBytes();
}

// A word beyond ASCII gives bytes that no ASCII name holds, so such names are turned down without more ado.
void NameTest::chooseRareBytes() {
    const auto add = [this](const std::vector<std::string>& words) {
        std::string bytes;
        for (const std::string& word : words)
            bytes += word;
        for (char& byte : bytes)
            byte = static_cast<char>(static_cast<std::uint8_t>(byte) | kSmallLetter);
        std::ranges::sort(bytes, std::greater(), [](char byte) {
            const auto value = static_cast<std::uint8_t>(byte);
            return std::pair(rarityOf(value), value);
        });
        bytes.erase(std::unique(bytes.begin(), bytes.end()), bytes.end());
        if (bytes.empty()) return false;
        rareBytes_.push_back({static_cast<std::uint8_t>(bytes.front()),
                              static_cast<std::uint8_t>(bytes[bytes.size() > 1 ? 1 : 0])});
        return true;
    };
    if (!words_.anyGroup) {
        add(words_.words);
    } else if (!std::ranges::all_of(words_.orGroups, add)) {
        rareBytes_.clear();
    }
}

bool NameTest::mayMatch(std::string_view name) const {
    if (rareBytes_.empty()) return true;
    for (const RareBytes& wanted : rareBytes_) {
        ByteSearch search(wanted.first, wanted.second);
        search.look(name);
        if (search.sawBoth() || search.sawBeyondAscii()) return true;
    }
    return false;
}

template <typename IsFound>
bool NameTest::holdsWords(IsFound isFound) const {
    if (!words_.anyGroup) return std::all_of(words_.words.begin(), words_.words.end(), isFound);
    return std::any_of(words_.orGroups.begin(), words_.orGroups.end(), [&isFound](const auto& group) {
        return std::all_of(group.begin(), group.end(), isFound);
    });
}

bool NameTest::matches(std::string_view name) const {
    if (words_.wholeWords) return matchesWholeWords(name);
    if (name.size() <= kLongestName && (words_.caseSensitive || asciiLowersPlainly_)) {
        AsciiName ascii;
        if (ascii.assign(name, !words_.caseSensitive))
            return holdsWords([&ascii](const std::string& word) { return ascii.holds(word); });
    }
    const std::string haystack = prepared(name);
    return holdsWords([&haystack](const std::string& word) {
        return !word.empty() && haystack.find(word) != std::string::npos;
    });
}

std::string NameTest::prepared(std::string_view text) const {
    if (words_.caseSensitive) return text::composed(text);
    return text::composed(words_.localised ? text::loweredLocalised(text) : text::lowered(text));
}

bool NameTest::matchesWholeWords(std::string_view name) const {
    std::vector<std::string> pieces;
    for (const auto piece : text::split(name, separatesWords))
        pieces.push_back(prepared(piece));
    return holdsWords([&pieces](const std::string& word) {
        return std::find(pieces.begin(), pieces.end(), word) != pieces.end();
    });
}

}  // namespace kestrix
