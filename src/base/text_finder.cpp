// ASCII has no accents, so in a stretch of plain ASCII the raw bytes are searched, and only where other bytes
// stand is the text folded:
//
//     plain ASCII ................ é ... é ...... plain ASCII ................
//     raw bytes             |<- code points ->|   raw bytes
//
// The second part begins as many bytes before the first byte beyond ASCII as an occurrence that holds this
// byte can. An occurrence that lies in the first part is earlier than any in the second, so the order is
// kept.
#include "base/text_finder.h"

#include <algorithm>
#include <array>

#include "base/text.h"
#include "base/text_charset.h"
#include "base/text_utf8.h"

namespace kestrix::text {
namespace {

// A mixed part ends with this many bytes of ASCII in a row. Few, as raw bytes are searched ten times faster;
// not fewer, as changing over costs as much as some code points.
constexpr std::size_t kAsciiAgain = 32;

// Nor is it longer than this: its end is looked for again after each occurrence in it.
constexpr std::size_t kLongestMixed = 4096;

constexpr std::uint32_t kInvalid = 0x110000;  // above all code points; the byte is added

std::size_t mixedEnd(std::string_view text, std::size_t start) {
    std::size_t end = start;
    do {
        end += kAsciiAgain;
    } while (end < text.size() && end - start < kLongestMixed && !isAscii(text.substr(end, kAsciiAgain)));
    return std::min(end, text.size());
}

// One code point of a text as it is compared. `next` is where the one behind it begins.
struct Unit {
    std::uint32_t first;  // as AccentFolds::first
    UChar32 codePoint;
    std::size_t next;
};

Unit unitAt(std::string_view text, std::size_t at, bool ignoreCase, AccentFolds& folds) {
    const char byte = text[at];
    if (isAsciiByte(byte)) {
        const char folded = ignoreCase ? loweredByte(byte) : byte;
        return {static_cast<unsigned char>(folded), byte, at + 1};
    }
    std::size_t next = at;
    const UChar32 codePoint = nextCodePoint(text, next);
    if (codePoint < 0) return {kInvalid + static_cast<unsigned char>(byte), codePoint, next};
    return {folds.first(codePoint), codePoint, next};
}

// Mac OS Roman folded byte by byte: all characters that are compared alike become the same byte.
class MacRomanFolds {
  public:
    static const MacRomanFolds& of(bool ignoreCase) {
        static const MacRomanFolds kFolds[] = {MacRomanFolds(false), MacRomanFolds(true)};
        return kFolds[ignoreCase ? 1 : 0];
    }

    std::optional<char> byteOf(std::uint32_t unit) const {
        const auto* found = std::ranges::find(units_, unit);
        if (found == units_.end()) return std::nullopt;
        return static_cast<char>(found - units_.begin());
    }

    void apply(std::string& bytes) const {
        for (char& byte : bytes) {
            byte = folded_[static_cast<unsigned char>(byte)];
        }
    }

  private:
    explicit MacRomanFolds(bool ignoreCase) {
        for (std::size_t byte = 0; byte < units_.size(); ++byte) {
            const std::string character = decodedFromMacRoman(std::string(1, static_cast<char>(byte)));
            units_[byte] = unitAt(character, 0, ignoreCase, AccentFolds::of(ignoreCase)).first;
            folded_[byte] = byteOf(units_[byte]).value();  // the first one that is compared alike
        }
    }

    std::array<std::uint32_t, 256> units_{};
    std::array<char, 256> folded_{};
};

constexpr std::size_t kMacRomanPart = 16384;

// Behind the accents that stand at `end`: they belong to the character before.
std::size_t behindAccents(std::string_view text, std::size_t end, AccentFolds& folds) {
    while (end < text.size() && !isAsciiByte(text[end])) {
        const Unit unit = unitAt(text, end, false, folds);
        if (unit.first != AccentFolds::kDropped) break;
        end = unit.next;
    }
    return end;
}

}  // namespace

TextFinder::TextFinder(std::string_view word, Case letters)
    : ignoreCase_(letters == Case::ignored), folds_(AccentFolds::of(ignoreCase_)) {
    for (std::size_t at = 0; at < word.size();) {
        const Unit unit = unitAt(word, at, ignoreCase_, folds_);
        at = unit.next;
        if (unit.first & AccentFolds::kMore) {
            const auto all = folds_.all(unit.codePoint);
            units_.insert(units_.end(), all.begin(), all.end());
        } else if (unit.first != AccentFolds::kDropped) {
            units_.push_back(unit.first);
        }
    }
    const bool isPlain = std::ranges::all_of(units_, [](std::uint32_t unit) { return unit < 0x80; });
    if (units_.empty() || !isPlain) return;
    ascii_.assign(units_.begin(), units_.end());
    needle_.emplace(ascii_, ignoreCase_);
}

bool TextFinder::isIn(std::string_view text) const {
    return Occurrences(*this, text).next().has_value();
}

bool TextFinder::isInMacRoman(std::string_view bytes) const {
    const MacRomanFolds& folds = MacRomanFolds::of(ignoreCase_);
    std::string word;
    for (const std::uint32_t unit : units_) {
        const auto byte = folds.byteOf(unit);
        if (!byte) return false;
        word += *byte;
    }
    if (word.empty()) return false;
    const AsciiNeedle needle(word, false);
    std::string part;
    // Parts overlap by what an occurrence may have begun before.
    for (std::size_t at = 0; at < bytes.size(); at += kMacRomanPart) {
        part = bytes.substr(at, kMacRomanPart + word.size() - 1);
        folds.apply(part);
        if (needle.find(part, 0) != std::string_view::npos) return true;
    }
    return false;
}

// Where an occurrence that begins at `at` ends, if there is one. It may not end within the fold of a code
// point: a Korean syllable is not found in a longer one.
std::optional<std::size_t> TextFinder::endIfAt(std::string_view text, std::size_t at) const {
    for (std::size_t matched = 0; matched < units_.size();) {
        if (at == text.size()) return std::nullopt;
        const Unit unit = unitAt(text, at, ignoreCase_, folds_);
        at = unit.next;
        if (unit.first == units_[matched]) {
            ++matched;
        } else if (unit.first == AccentFolds::kDropped) {
            if (matched == 0) return std::nullopt;
        } else if ((unit.first ^ units_[matched]) == AccentFolds::kMore) {
            const auto all = folds_.all(unit.codePoint);
            if (units_.size() - matched < all.size()) return std::nullopt;
            if (!std::equal(all.begin(), all.end(), &units_[matched])) return std::nullopt;
            matched += all.size();
        } else {
            return std::nullopt;
        }
    }
    return behindAccents(text, at, folds_);
}

std::optional<Stretch> TextFinder::Occurrences::next() {
    if (finder_.units_.empty()) return std::nullopt;
    while (at_ < text_.size()) {
        if (mixed_ <= at_) mixed_ = firstBeyondAscii(text_, at_);
        if (const auto found = nextInAscii()) return found;
        if (mixed_ == text_.size()) break;
        if (const auto found = nextInMixed()) return found;
    }
    at_ = text_.size();
    return std::nullopt;
}

std::optional<Stretch> TextFinder::Occurrences::nextInAscii() {
    if (!finder_.needle_) return std::nullopt;
    const std::size_t start = finder_.needle_->find(text_.substr(0, mixed_), at_);
    if (start == std::string_view::npos) return std::nullopt;
    at_ = behindAccents(text_, start + finder_.ascii_.size(), finder_.folds_);
    return Stretch{start, at_};
}

std::optional<Stretch> TextFinder::Occurrences::nextInMixed() {
    const std::size_t end = mixedEnd(text_, mixed_);
    const std::size_t most = finder_.units_.size() - 1;
    std::size_t at = std::max(at_, mixed_ - std::min(mixed_, most));
    while (at < end) {
        const Unit unit = unitAt(text_, at, finder_.ignoreCase_, finder_.folds_);
        if ((unit.first & ~AccentFolds::kMore) == finder_.units_[0]) {
            if (const auto found = finder_.endIfAt(text_, at)) {
                at_ = *found;
                return Stretch{at, at_};
            }
        }
        at = unit.next;
    }
    at_ = at;
    return std::nullopt;
}

}  // namespace kestrix::text
