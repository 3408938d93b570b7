#include "language/name_test.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <tuple>
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

// Lowering and composing turn a few other characters into these: the Kelvin sign, the capital I with a dot
// (and, where the language is Lithuanian, those with accents), the Greek question mark and the Greek varia.
// Every other ASCII byte comes from itself, and from nothing else that stands between it and the next one.
bool comesFromItself(std::uint8_t byte) {
    return byte < 0x80 && std::string_view("ki;`").find(static_cast<char>(byte)) == std::string_view::npos;
}

// Gathers, of 16 bytes of a name a step, what mayMatch asks: whether the two bytes stood side by side, or the
// first anywhere if it is alone, and whether a byte was beyond ASCII.
#if defined(__SSE2__)
class ByteSearch {
  public:
    ByteSearch(std::uint8_t first, std::uint8_t second, bool isPair)
        : first_(_mm_set1_epi8(static_cast<char>(first))),
          second_(_mm_set1_epi8(static_cast<char>(second))),
          isAlone_(_mm_set1_epi8(isPair ? 0 : -1)) {}

    // Each two neighbours share a step. Where a name is put together of pieces, some bytes are neighbours
    // that are none; that is allowed.
    void look(std::string_view name) {
        const char* const at = name.data();
        const std::size_t size = name.size();
        if (size >= kBlock) {
            for (std::size_t i = 0; i + kBlock < size; i += kBlock - 1)
                look(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at + i)));
            look(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at + size - kBlock)));
        } else if (size >= 8) {
            look(_mm_set_epi64x(read<long long>(at + size - 8), read<long long>(at)));
        } else if (size >= 4) {
            look(_mm_set_epi64x(read<int>(at + size - 4), read<int>(at)));
        } else if (size > 0) {
            look(_mm_setr_epi8(at[0], at[size / 2], at[size - 1], 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
        }
    }

    bool sawThem() const { return _mm_movemask_epi8(saw_) != 0; }
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
        const __m128i follows = _mm_srli_si128(_mm_cmpeq_epi8(small, second_), 1);
        const __m128i here = _mm_and_si128(_mm_cmpeq_epi8(small, first_), _mm_or_si128(follows, isAlone_));
        saw_ = _mm_or_si128(saw_, here);
        all_ = _mm_or_si128(all_, block);
    }

    const __m128i first_;
    const __m128i second_;
    const __m128i isAlone_;
    __m128i saw_ = _mm_setzero_si128();
    __m128i all_ = _mm_setzero_si128();
};
#else
class ByteSearch {
  public:
    ByteSearch(std::uint8_t first, std::uint8_t second, bool isPair)
        : first_(first), second_(second), isPair_(isPair) {}

    void look(std::string_view name) {
        for (std::size_t i = 0; i < name.size(); ++i) {
            const bool isFollowed = i + 1 < name.size() && small(name[i + 1]) == second_;
            saw_ |= small(name[i]) == first_ && (isFollowed || !isPair_);
            all_ |= static_cast<std::uint8_t>(name[i]);
        }
    }

    bool sawThem() const { return saw_; }
    bool sawBeyondAscii() const { return all_ >= 0x80; }

  private:
    static std::uint8_t small(char byte) { return static_cast<std::uint8_t>(byte) | kSmallLetter; }

    const std::uint8_t first_;
    const std::uint8_t second_;
    const bool isPair_;
    bool saw_ = false;
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
    if (words_.caseSensitive || asciiLowersPlainly_) chooseNeighbours();
}

// A word beyond ASCII gives bytes that no ASCII name holds, so such names are turned down without more ado.
NameTest::Neighbours NameTest::rarestNeighbours(const std::vector<std::string>& words) {
    Neighbours rarest;
    std::tuple<bool, bool, bool, std::size_t> rank;
    const auto consider = [&](char first, char second, bool isPair) {
        Neighbours candidate{static_cast<std::uint8_t>(first | char{kSmallLetter}),
                             static_cast<std::uint8_t>(second | char{kSmallLetter}), isPair};
        candidate.isOfEveryName = comesFromItself(candidate.first) && comesFromItself(candidate.second);
        const bool isBeyondAscii = ((candidate.first | candidate.second) & 0x80) != 0;
        const std::tuple candidateRank(isPair, isBeyondAscii, candidate.isOfEveryName,
                                       rarityOf(candidate.first) + rarityOf(candidate.second) + 1);
        if (candidateRank <= rank) return;
        rank = candidateRank;
        rarest = candidate;
    };
    for (const std::string& word : words) {
        if (word.size() == 1) consider(word[0], word[0], false);
        for (std::size_t i = 1; i < word.size(); ++i)
            consider(word[i - 1], word[i], true);
    }
    return rarest;
}

void NameTest::chooseNeighbours() {
    const auto add = [this](const std::vector<std::string>& words) {
        const Neighbours rarest = rarestNeighbours(words);
        if (rarest == Neighbours()) return false;
        neighbours_.push_back(rarest);
        return true;
    };
    if (!words_.anyGroup) {
        add(words_.words);
    } else if (!std::ranges::all_of(words_.orGroups, add)) {
        neighbours_.clear();
    }
}

bool NameTest::mayMatch(std::string_view name) const {
    if (neighbours_.empty()) return true;
    for (const Neighbours& wanted : neighbours_) {
        ByteSearch search(wanted.first, wanted.second, wanted.isPair);
        search.look(name);
        if (search.sawThem() || (!wanted.isOfEveryName && search.sawBeyondAscii())) return true;
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
