#include "base/text_words.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <array>
#include <string>

#include "base/text.h"
#include "base/text_utf8.h"

namespace kestrix::text {
namespace {

// What a byte is to this file; of bytes beyond ASCII the code point decides.
enum ByteClass : unsigned char { kLetter = 0, kCapital = 1, kTrimmed = 2, kSeparator = 4, kBeyondAscii = 8 };

constexpr std::array<unsigned char, 256> kByteClasses = [] {
    std::array<unsigned char, 256> classes{};
    for (int byte = 0; byte < 256; ++byte) {
        const bool isDigit = byte >= '0' && byte <= '9';
        const bool isCapital = byte >= 'A' && byte <= 'Z';
        const bool isSmall = byte >= 'a' && byte <= 'z';
        auto& kind = classes[static_cast<std::size_t>(byte)];
        if (byte >= 0x80) {
            kind = kBeyondAscii;
        } else if (byte <= ' ' || byte == 0x7F) {
            kind = kSeparator;
        } else if (isCapital) {
            kind = kCapital;
        } else if (!isDigit && !isSmall) {
            kind = kTrimmed;  // in ASCII all the rest is punctuation or a symbol
        }
    }
    return classes;
}();

unsigned char classOf(char byte) {
    return kByteClasses[static_cast<unsigned char>(byte)];
}

bool isSeparator(char32_t codePoint) {
    constexpr std::uint32_t kCategories = U_GC_CC_MASK | U_GC_CF_MASK | U_GC_CN_MASK | U_GC_Z_MASK;
    if (codePoint >= 0xE000 && codePoint <= 0xF8FF) return true;
    return (U_GET_GC_MASK(static_cast<UChar32>(codePoint)) & kCategories) != 0;
}

bool isTrimmed(char32_t codePoint) {
    return (U_GET_GC_MASK(static_cast<UChar32>(codePoint)) & (U_GC_P_MASK | U_GC_S_MASK)) != 0;
}

// A piece and the classes of all its bytes.
struct Piece {
    std::size_t end;
    unsigned char classes;
};

Piece pieceFrom(std::string_view text, std::size_t start) {
    unsigned char classes = 0;
    std::size_t at = start;
    while (at < text.size()) {
        const unsigned char kind = classOf(text[at]);
        if (kind == kSeparator) break;
        if (kind == kBeyondAscii) {
            std::size_t next = at;
            if (isSeparator(decode(text, next))) break;
            at = next;
        } else {
            ++at;
        }
        classes |= kind;
    }
    return {at, classes};
}

std::string_view trimmedAscii(std::string_view piece) {
    while (!piece.empty() && classOf(piece.front()) == kTrimmed) {
        piece.remove_prefix(1);
    }
    while (!piece.empty() && classOf(piece.back()) == kTrimmed) {
        piece.remove_suffix(1);
    }
    return piece;
}

// The first and the last code point that is kept bound the word.
std::string_view trimmedUnicode(std::string_view piece) {
    std::size_t first = piece.size();
    std::size_t end = 0;
    for (std::size_t at = 0; at < piece.size();) {
        const std::size_t start = at;
        if (isTrimmed(decode(piece, at))) continue;
        first = std::min(first, start);
        end = at;
    }
    return first < end ? piece.substr(first, end - first) : std::string_view();
}

}  // namespace

void forEachWord(std::string_view text, const std::function<void(std::string_view word)>& on) {
    std::array<char, kLongestWord> small;
    std::string lowerCase;
    const auto tell = [&](std::string_view piece, unsigned char classes) {
        if ((classes & kBeyondAscii) != 0) {
            lowerCase = lowered(piece);
            const std::string_view word = trimmedUnicode(lowerCase);
            if (word.empty()) return;
            // No character is shorter than a byte.
            if (word.size() > kLongestWord && characterCount(word) > kLongestWord) return;
            on(word);
            return;
        }
        const std::string_view word = (classes & kTrimmed) != 0 ? trimmedAscii(piece) : piece;
        if (word.empty() || word.size() > kLongestWord) return;
        if ((classes & kCapital) == 0) {
            on(word);
            return;
        }
        for (std::size_t i = 0; i < word.size(); ++i) {
            small[i] = loweredByte(word[i]);
        }
        on({small.data(), word.size()});
    };
    for (std::size_t at = 0; at < text.size();) {
        const Piece piece = pieceFrom(text, at);
        if (piece.end > at) tell(text.substr(at, piece.end - at), piece.classes);
        at = piece.end;
        if (at < text.size()) decode(text, at);
    }
}

std::vector<WordPiece> wordPieces(std::string_view text) {
    std::vector<WordPiece> pieces;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = pieceFrom(text, at).end;
        if (end > at) {
            const std::string whole = lowered(text.substr(at, end - at));
            const std::string_view word = trimmedUnicode(whole);
            pieces.push_back({std::string(word), word.size() < whole.size()});
        }
        at = end;
        if (at < text.size()) decode(text, at);
    }
    return pieces;
}

}  // namespace kestrix::text
