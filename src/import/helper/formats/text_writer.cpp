#include "import/helper/formats/text_writer.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/text.h"
#include "import/helper/formats/document.h"

namespace kestrix {
namespace {

bool isControl(char byte) {
    return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F;
}

bool isAsciiBlank(char byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

// Characters that stand in a text for the eye alone.
std::size_t invisibleAt(std::string_view text, std::size_t at) {
    for (const std::string_view mark : {"\u00AD", "\u200B", "\u200C", "\u200D", "\u2060", "\uFEFF"}) {
        if (text.compare(at, mark.size(), mark) == 0) return mark.size();
    }
    return 0;
}

// White space outside ASCII that text processors and web pages write.
std::size_t wideBlankAt(std::string_view text, std::size_t at) {
    for (const std::string_view mark : {"\u00A0", "\u0085", "\u2002", "\u2003", "\u2007", "\u2009", "\u2028",
                                        "\u2029", "\u202F", "\u3000"}) {
        if (text.compare(at, mark.size(), mark) == 0) return mark.size();
    }
    return 0;
}

// Only these bytes begin one of the characters above.
constexpr bool mayBeSpecial(char byte) {
    return byte == '\xC2' || byte == '\xE2' || byte == '\xE3' || byte == '\xEF';
}

constexpr std::array<bool, 256> kPlain = [] {
    std::array<bool, 256> plain{};
    for (std::size_t byte = ' ' + 1; byte < plain.size(); ++byte)
        plain[byte] = byte != 0x7F && !mayBeSpecial(static_cast<char>(byte));
    return plain;
}();

bool isPlain(char byte) {
    return kPlain[static_cast<unsigned char>(byte)];
}

std::size_t characterSize(char lead) {
    const auto byte = static_cast<unsigned char>(lead);
    return byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

// At most `length` bytes, without the first bytes of a character whose last are missing.
void cutWhole(std::string& text, std::size_t length) {
    if (text.size() < length || length == 0) return text.resize(std::min(text.size(), length));
    std::size_t lead = length - 1;
    while (lead > 0 && (static_cast<unsigned char>(text[lead]) & 0xC0U) == 0x80) {
        --lead;
    }
    text.resize(lead + characterSize(text[lead]) > length ? lead : length);
}

}  // namespace

void TextWriter::put(std::string_view piece) {
    if (piece.empty() || isFull()) return;
    if (pending_ != 0) text_.push_back(std::exchange(pending_, 0));
    if (text_.size() + piece.size() > kMostText) {
        failDocument(ImportFailure::tooLarge,
                     "holds more than " + std::to_string(kMostText >> 20) + " MB of text");
    }
    text_ += piece;
}

// Words with one blank between each two go as one piece.
void TextWriter::words(std::string_view utf8) {
    for (std::size_t at = 0; at < utf8.size();) {
        const std::size_t start = at;
        while (at < utf8.size() && isPlain(utf8[at])) {
            ++at;
            if (at + 1 < utf8.size() && utf8[at] == ' ' && isPlain(utf8[at + 1])) ++at;
        }
        if (at > start) put(utf8.substr(start, at - start));
        if (at == utf8.size()) return;
        if (isAsciiBlank(utf8[at])) {
            blank();
            ++at;
        } else {
            at += clean(utf8, at);
        }
    }
}

// Deals with one character that is more than a plain byte; returns its bytes.
std::size_t TextWriter::clean(std::string_view text, std::size_t at) {
    if (isControl(text[at])) {
        blank();
        return 1;
    }
    if (const std::size_t size = invisibleAt(text, at)) return size;
    if (const std::size_t size = wideBlankAt(text, at)) {
        blank();
        return size;
    }
    put(text.substr(at, 1));
    return 1;
}

void TextWriter::lines(std::string_view utf8) {
    for (std::size_t at = 0; at < utf8.size();) {
        const std::size_t start = at;
        while (at < utf8.size() && (isPlain(utf8[at]) || utf8[at] == ' ' || utf8[at] == '\t')) {
            ++at;
        }
        if (at > start) put(utf8.substr(start, at - start));
        if (at == utf8.size()) return;
        if (utf8[at] == '\r' || utf8[at] == '\n') {
            pending_ = 0;
            at += utf8.compare(at, 2, "\r\n") == 0 ? 2 : 1;
            put("\n");
        } else {
            at += clean(utf8, at);
        }
    }
}

void TextWriter::lineBreak() {
    pending_ = 0;
    if (!atLineStart()) put("\n");
    if (asides_ == 0) putAside();
}

void TextWriter::putAside() {
    if (!atLineStart() || aside_.empty()) return;
    put(std::exchange(aside_, {}));
}

void TextWriter::beginAside() {
    if (asides_++ > 0) return lineBreak();
    std::swap(text_, aside_);
    std::swap(pending_, asidePending_);
}

void TextWriter::endAside() {
    lineBreak();
    if (--asides_ > 0) return;
    std::swap(text_, aside_);
    std::swap(pending_, asidePending_);
    putAside();
}

void TextWriter::tab() {
    if (!atLineStart()) pending_ = '\t';
}

void TextWriter::blank() {
    if (!atLineStart() && pending_ == 0) pending_ = ' ';
}

std::string TextWriter::take() {
    while (asides_ > 0)
        endAside();
    lineBreak();
    std::string text = std::exchange(text_, {});
    pending_ = 0;
    cutWhole(text, maxLength_);
    while (!text.empty() && isAsciiBlank(text.back())) {
        text.pop_back();
    }
    if (!text::isValidUtf8(text)) {
        text = text::displayable(text);
        cutWhole(text, maxLength_);
    }
    return text;
}

}  // namespace kestrix
