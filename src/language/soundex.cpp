#include "language/soundex.h"

#include "base/text.h"

namespace kestrix {
namespace {

// '0': a letter without a sound of its own, and everything that is no letter.
char codeOf(std::string_view character) {
    if (character.size() != 1) return '0';
    switch (character.front()) {
        case 'R':
            return '6';
        case 'M':
        case 'N':
            return '5';
        case 'L':
            return '4';
        case 'T':
        case 'D':
            return '3';
        case 'C':
        case 'S':
        case 'K':
        case 'G':
        case 'J':
        case 'Q':
        case 'X':
        case 'Z':
            return '2';
        case 'B':
        case 'P':
        case 'F':
        case 'V':
            return '1';
        default:
            return '0';
    }
}

bool isVowel(std::string_view character) {
    return character.size() == 1 &&
           std::string_view("AEIOU").find(character.front()) != std::string_view::npos;
}

constexpr std::size_t kDigits = 3;
// No letter has this code: whatever follows counts anew.
constexpr char kAfterVowel = '-';

// `characterAt(i)` gives the i-th of `count` characters, in upper case.
template <typename CharacterAt>
std::string valueOf(std::size_t count, CharacterAt characterAt) {
    if (count < 2) return {};
    std::string value(characterAt(0));
    char last = codeOf(characterAt(0));
    std::size_t digits = 0;
    for (std::size_t at = 1; at < count && digits < kDigits; ++at) {
        const std::string_view character = characterAt(at);
        const char code = codeOf(character);
        if (code != '0' && code != last) {
            value += code;
            last = code;
            ++digits;
        }
        // H, W, Y and the like leave the last code standing: the letters around them count once.
        if (isVowel(character)) last = kAfterVowel;
    }
    value.append(kDigits - digits, '0');
    return value;
}

}  // namespace

std::string Soundex::value(std::string_view text) {
    const std::string upper = text::uppered(text::trimmed(text));
    const std::string_view view = upper;
    if (text::isAscii(view) && view.find("\r\n") == std::string_view::npos)
        return valueOf(view.size(), [view](std::size_t at) { return view.substr(at, 1); });
    const auto characters = text::characters(view);
    return valueOf(characters.size(), [&characters](std::size_t at) { return characters[at]; });
}

}  // namespace kestrix
