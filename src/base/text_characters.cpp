#include <unicode/ubrk.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>

#include <algorithm>
#include <memory>
#include <optional>

#include "base/text.h"
#include "base/text_utf8.h"

namespace kestrix::text {
namespace {

struct CloseIterator {
    void operator()(UBreakIterator* iterator) const { ubrk_close(iterator); }
};
using Iterator = std::unique_ptr<UBreakIterator, CloseIterator>;

// Making an iterator costs 122 microseconds, cloning one 0.2, so each thread clones the first one. Null where
// ICU finds no data.
Iterator makeIterator() {
    static const Iterator kFirst = [] {
        UErrorCode status = U_ZERO_ERROR;
        Iterator first(ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &status));
        return U_SUCCESS(status) ? std::move(first) : nullptr;
    }();
    if (!kFirst) return nullptr;
    UErrorCode status = U_ZERO_ERROR;
    Iterator clone(ubrk_clone(kFirst.get(), &status));
    return U_SUCCESS(status) ? std::move(clone) : nullptr;
}

// The iterator of this thread and the text it stands on; both are used again from text to text.
class CharacterBreaker {
  public:
    CharacterBreaker() : iterator_(makeIterator()) {}
    ~CharacterBreaker() {
        iterator_.reset();
        utext_close(&text_);
    }
    CharacterBreaker(const CharacterBreaker&) = delete;
    CharacterBreaker& operator=(const CharacterBreaker&) = delete;

    // False where there is no iterator. `valid` must outlive the calls of next().
    bool start(std::string_view valid) {
        if (!iterator_) return false;
        UErrorCode status = U_ZERO_ERROR;
        utext_openUTF8(&text_, valid.data(), static_cast<int64_t>(valid.size()), &status);
        ubrk_setUText(iterator_.get(), &text_, &status);
        return U_SUCCESS(status);
    }
    std::size_t next() { return static_cast<std::size_t>(ubrk_next(iterator_.get())); }

    // The boundary `count` characters before, or behind, the offset, or the end of the text there.
    std::size_t before(std::size_t offset, std::size_t count) {
        auto at = static_cast<int32_t>(offset);
        for (; count > 0 && at > 0; --count) {
            at = ubrk_preceding(iterator_.get(), at);
        }
        return static_cast<std::size_t>(std::max(at, 0));
    }
    std::size_t behind(std::size_t offset, std::size_t count, std::size_t size) {
        auto at = static_cast<int32_t>(offset);
        for (; count > 0 && at != UBRK_DONE; --count) {
            at = ubrk_following(iterator_.get(), at);
        }
        return at == UBRK_DONE ? size : static_cast<std::size_t>(at);
    }

  private:
    Iterator iterator_;
    UText text_ = UTEXT_INITIALIZER;
};

CharacterBreaker& ownBreaker() {
    thread_local CharacterBreaker breaker;
    return breaker;
}

// Below U+0300, whose bytes begin with 0xCC, only CR LF joins code points.
bool hasOnlySimpleCharacters(std::string_view valid) {
    return std::all_of(valid.begin(), valid.end(),
                       [](char byte) { return static_cast<unsigned char>(byte) < 0xCC; });
}

// Calls `on` with each character of valid UTF-8 until it returns false.
template <typename OnCharacter>
bool walkSimple(std::string_view valid, OnCharacter on) {
    for (std::size_t at = 0; at < valid.size();) {
        const std::size_t start = at;
        nextCodePoint(valid, at);
        if (valid[start] == '\r' && at < valid.size() && valid[at] == '\n') ++at;
        if (!on(valid.substr(start, at - start))) return false;
    }
    return true;
}

template <typename OnCharacter>
bool walkValid(std::string_view valid, OnCharacter on) {
    if (hasOnlySimpleCharacters(valid)) return walkSimple(valid, on);
    CharacterBreaker& breaker = ownBreaker();
    if (!breaker.start(valid)) return walkSimple(valid, on);
    for (std::size_t at = 0; at < valid.size();) {
        const std::size_t end = breaker.next();
        if (!on(valid.substr(at, end - at))) return false;
        at = end;
    }
    return true;
}

template <typename OnCharacter>
void walkCharacters(std::string_view text, OnCharacter on) {
    bool goesOn = true;
    forEachStretch(
        text, [&](std::string_view valid) { goesOn = goesOn && walkValid(valid, on); },
        [&](std::string_view invalid) { goesOn = goesOn && on(invalid); });
}

// What is looked at on one side of an offset: more than that many characters ever take.
constexpr std::size_t kWindowPerCharacter = 64;
constexpr std::size_t kLeastWindow = 1024;

std::size_t windowFor(std::size_t count) {
    return std::max(kLeastWindow, count * kWindowPerCharacter);
}

bool isAsciiAt(std::string_view text, std::size_t at) {
    return at >= text.size() || isAsciiByte(text[at]);
}

// The answers of charactersBefore and charactersBehind if all code points on the way and the two around it
// are ASCII, where CR LF alone are joined.
std::optional<std::size_t> asciiBefore(std::string_view text, std::size_t at, std::size_t count) {
    bool isPlain = isAsciiAt(text, at);
    for (; isPlain && count > 0 && at > 0; --count) {
        --at;
        isPlain = isAsciiByte(text[at]);
        if (text[at] == '\n' && at > 0 && text[at - 1] == '\r') --at;
    }
    if (!isPlain || (at > 0 && !isAsciiByte(text[at - 1]))) return std::nullopt;
    return at;
}

std::optional<std::size_t> asciiBehind(std::string_view text, std::size_t at, std::size_t count) {
    bool isPlain = at == 0 || isAsciiByte(text[at - 1]);
    for (; isPlain && count > 0 && at < text.size(); --count) {
        isPlain = isAsciiByte(text[at]);
        ++at;
        if (text[at - 1] == '\r' && at < text.size() && text[at] == '\n') ++at;
    }
    if (!isPlain || !isAsciiAt(text, at)) return std::nullopt;
    return at;
}

bool isPlainAscii(std::string_view text) {
    return isAscii(text) && text.find('\r') == std::string_view::npos;
}

bool isIn(char32_t codePoint, std::uint32_t categories) {
    return (U_GET_GC_MASK(static_cast<UChar32>(codePoint)) & categories) != 0;
}

// Where the last code point of a text that is not empty begins, if its end is valid UTF-8.
std::size_t lastCodePointStart(std::string_view text) {
    std::size_t start = text.size() - 1;
    while (start > 0 && text.size() - start < U8_MAX_LENGTH && U8_IS_TRAIL(text[start])) {
        --start;
    }
    return start;
}

}  // namespace

std::size_t characterCount(std::string_view text) {
    if (isPlainAscii(text)) return text.size();
    std::size_t count = 0;
    walkCharacters(text, [&count](std::string_view) { return ++count != 0; });
    return count;
}

std::vector<std::string_view> characters(std::string_view text) {
    std::vector<std::string_view> all;
    all.reserve(text.size());
    if (isPlainAscii(text)) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            all.push_back(text.substr(i, 1));
        }
        return all;
    }
    walkCharacters(text, [&all](std::string_view character) {
        all.push_back(character);
        return true;
    });
    return all;
}

std::size_t charactersBefore(std::string_view text, std::size_t offset, std::size_t count) {
    if (const auto plain = asciiBefore(text, offset, count)) return *plain;
    std::size_t start = offset - std::min(offset, windowFor(count));
    while (start > 0 && U8_IS_TRAIL(text[start])) {
        --start;
    }
    // What follows decides whether the last character goes on.
    CharacterBreaker& breaker = ownBreaker();
    if (!breaker.start(text.substr(start, offset - start + kLeastWindow))) return start;
    return start + breaker.before(offset - start, count);
}

std::size_t charactersBehind(std::string_view text, std::size_t offset, std::size_t count) {
    if (const auto plain = asciiBehind(text, offset, count)) return *plain;
    std::size_t start = offset - std::min(offset, kLeastWindow);
    while (start > 0 && U8_IS_TRAIL(text[start])) {
        --start;
    }
    std::size_t end = offset + std::min(text.size() - offset, windowFor(count));
    while (end < text.size() && U8_IS_TRAIL(text[end])) {
        ++end;
    }
    CharacterBreaker& breaker = ownBreaker();
    if (!breaker.start(text.substr(start, end - start))) return end;
    return start + breaker.behind(offset - start, count, end - start);
}

std::string withFirstCharacterUpper(std::string_view text) {
    std::string_view first;
    if (text.size() >= 2 && isAscii(text.substr(0, 2))) {
        first = text.substr(0, 1);
    } else {
        walkCharacters(text, [&first](std::string_view character) {
            first = character;
            return false;
        });
    }
    std::string result = uppered(first);
    result += text.substr(first.size());
    return result;
}

bool isWhiteSpaceOrNewline(char32_t codePoint) {
    if (codePoint < 0x80) return codePoint == ' ' || (codePoint >= '\t' && codePoint <= '\r');
    return u_isUWhiteSpace(static_cast<UChar32>(codePoint));
}

bool isPunctuation(char32_t codePoint) {
    return isIn(codePoint, U_GC_P_MASK);
}

bool isSymbol(char32_t codePoint) {
    return isIn(codePoint, U_GC_S_MASK);
}

std::string_view trimmed(std::string_view text) {
    for (std::size_t next = 0; !text.empty() && isWhiteSpaceOrNewline(decode(text, next)); next = 0) {
        text.remove_prefix(next);
    }
    while (!text.empty()) {
        const std::size_t start = lastCodePointStart(text);
        std::size_t next = start;
        if (!isWhiteSpaceOrNewline(decode(text, next)) || next != text.size()) break;
        text = text.substr(0, start);
    }
    return text;
}

std::vector<std::string_view> splitAt(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find(separator, start), text.size());
        if (end > start) pieces.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return pieces;
}

}  // namespace kestrix::text
