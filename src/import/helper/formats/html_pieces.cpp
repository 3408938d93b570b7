#include "import/helper/formats/html_pieces.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "base/text.h"

namespace kestrix {
namespace {

using std::string_view;

constexpr std::size_t kPieceBytes = std::size_t{256} << 10;
constexpr std::size_t kDeepest = 200;
// No name of an element that matters is longer.
constexpr std::size_t kLongestName = 12;

// A shorter one is not worth its mark.
constexpr std::size_t kShortestStretch = 16;

// From here on a cut may fall anywhere between two elements.
constexpr std::size_t kLargestPiece = std::size_t{4} << 20;

// Their content is nothing to see: the parser need not have it.
constexpr std::array<string_view, 6> kUnseen = {"script", "style",   "noscript",
                                                "iframe", "noembed", "noframes"};
// Their content is text, whatever it looks like.
constexpr std::array<string_view, 3> kRawText = {"textarea", "title", "xmp"};
// A cut would change what their content means.
constexpr std::array<string_view, 7> kWhole = {"pre", "template", "select", "svg", "math", "head", "listing"};
// Never open for longer than their parent, so that they need no count; or never open at all.
constexpr std::array<string_view, 38> kUncounted = {
    "html",  "head",     "body",  "p",      "li",       "dt",       "dd",      "tr",     "td",    "th",
    "tbody", "thead",    "tfoot", "option", "optgroup", "rp",       "rt",      "area",   "base",  "br",
    "col",   "colgroup", "embed", "hr",     "img",      "input",    "link",    "meta",   "param", "source",
    "track", "wbr",      "frame", "keygen", "command",  "basefont", "bgsound", "caption"};
constexpr std::array<string_view, 26> kLineStarts = {
    "p",          "div", "li", "tr",      "h1",     "h2",     "h3",    "h4",      "h5",
    "h6",         "ul",  "ol", "dl",      "dt",     "dd",     "table", "section", "article",
    "blockquote", "br",  "hr", "address", "header", "footer", "nav",   "main"};

template <std::size_t Size>
bool isIn(const std::array<string_view, Size>& names, string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool isLetter(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

bool endsName(char byte) {
    return byte == '>' || byte == '/' || static_cast<unsigned char>(byte) <= ' ';
}

// Offset of the end tag `</name`, in any case, or the page's end.
std::size_t endTagAt(string_view page, std::size_t at, string_view name) {
    for (; (at = page.find("</", at)) != string_view::npos; at += 2) {
        if (text::lowered(page.substr(at + 2, name.size())) == name) return at;
    }
    return page.size();
}

bool isBlank(char byte) {
    return static_cast<unsigned char>(byte) <= ' ';
}

// Behind the `&` at `at` and what may belong to the name of a character.
std::size_t behindReference(string_view page, std::size_t at) {
    for (++at; at < page.size(); ++at) {
        const char byte = page[at];
        if (!isLetter(byte) && byte != '#' && (byte < '0' || byte > '9')) break;
    }
    return at < page.size() && page[at] == ';' ? at + 1 : at;
}

}  // namespace

HtmlPieces::HtmlPieces(string_view page)
    : page_(page), hasMarks_(page.find(kMark) == string_view::npos && page.find('\0') == string_view::npos) {}

HtmlPieces::Tag HtmlPieces::readTag(std::size_t at) const {
    Tag tag;
    tag.isEnd = page_[at + 1] == '/';
    const std::size_t start = at + (tag.isEnd ? 2 : 1);
    tag.nameEnd = start;
    while (tag.nameEnd < page_.size() && !endsName(page_[tag.nameEnd])) {
        ++tag.nameEnd;
    }
    tag.name = text::lowered(page_.substr(start, std::min(tag.nameEnd - start, kLongestName + 1)));
    passAttributes(tag);
    return tag;
}

// A quote means something where a value begins, and a slash where none is.
void HtmlPieces::passAttributes(Tag& tag) const {
    enum class Place { name, beforeValue, value } place = Place::name;
    std::size_t at = tag.nameEnd;
    for (; at < page_.size() && page_[at] != '>'; ++at) {
        const char byte = page_[at];
        tag.isEmpty = byte == '/' && place == Place::name;
        if (isBlank(byte)) {
            if (place == Place::value) place = Place::name;
        } else if (place == Place::name) {
            if (byte == '=') place = Place::beforeValue;
        } else if (place == Place::beforeValue && (byte == '"' || byte == '\'')) {
            at = std::min(page_.find(byte, at + 1), page_.size() - 1);
            place = Place::name;
        } else {
            place = Place::value;
        }
    }
    tag.end = std::min(at + 1, page_.size());
}

std::size_t HtmlPieces::behindComment(std::size_t at) const {
    const string_view closing = page_.compare(at, 4, "<!--") == 0 ? "-->" : ">";
    const std::size_t end = page_.find(closing, at);
    return end == string_view::npos ? page_.size() : end + closing.size();
}

void HtmlPieces::copyTo(std::size_t end, std::string& piece) {
    piece.append(page_, at_, end - at_);
    at_ = end;
}

void HtmlPieces::putTag(const Tag& tag, std::string& piece) {
    copyTo(tag.nameEnd, piece);
    piece += tag.isEmpty ? "/>" : ">";
    at_ = tag.end;
}

// The parser changes references to characters; white space at both ends can decide where a text belongs.
void HtmlPieces::copyText(std::size_t end, std::string& piece) {
    while (hasMarks_ && at_ < end) {
        const string_view text = page_.substr(at_, end - at_);
        const std::size_t stop = at_ + std::min(text.find('&'), text.size());
        while (at_ < stop && isBlank(page_[at_]))
            piece.push_back(page_[at_++]);
        std::size_t last = stop;
        while (last > at_ && isBlank(page_[last - 1]))
            --last;
        if (last - at_ >= kShortestStretch) {
            putStretch(page_.substr(at_, last - at_), piece);
            at_ = last;
        }
        copyTo(stop < end ? std::min(end, behindReference(page_, stop)) : end, piece);
    }
    copyTo(end, piece);
}

void HtmlPieces::putStretch(string_view stretch, std::string& piece) {
    piece += kMark;
    piece += std::to_string(stretches_.size());
    piece += kMarkEnd;
    stretches_.push_back(stretch);
}

// The stretch of the mark at an offset; the text goes on behind it. What a reference made is no mark.
string_view HtmlPieces::stretchOf(string_view& text, std::size_t mark) const {
    const string_view begun = text.substr(mark, kMark.size());
    text.remove_prefix(mark + kMark.size());
    std::size_t number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    const auto digits = static_cast<std::size_t>(read.ptr - text.data());
    const bool isMark = digits > 0 && text.substr(digits).starts_with(kMarkEnd);
    if (!isMark || number >= stretches_.size()) return begun;
    text.remove_prefix(digits + kMarkEnd.size());
    return stretches_[number];
}

void HtmlPieces::openElement(const Tag& tag, std::string& piece) {
    tables_ += tag.name == "table" ? 1 : 0;
    whole_ += isIn(kWhole, tag.name) ? 1 : 0;
    if (tag.isEmpty && (isIn(kUnseen, tag.name) || isIn(kRawText, tag.name))) {
        at_ = tag.end;
        return;
    }
    if (isIn(kUnseen, tag.name)) {
        at_ = endTagAt(page_, tag.end, tag.name);
        return;
    }
    const bool isRaw = isIn(kRawText, tag.name);
    if (isRaw || isIn(kUncounted, tag.name) || ++depth_ <= kDeepest) {
        putTag(tag, piece);
        if (isRaw) copyTo(endTagAt(page_, tag.end, tag.name), piece);
        return;
    }
    if (isIn(kLineStarts, tag.name)) piece += "<br>";
    at_ = tag.end;
}

void HtmlPieces::closeElement(const Tag& tag, std::string& piece) {
    if (tag.name == "table" && tables_ > 0) --tables_;
    if (isIn(kWhole, tag.name) && whole_ > 0) --whole_;
    const bool isCounted =
        !isIn(kUncounted, tag.name) && !isIn(kRawText, tag.name) && !isIn(kUnseen, tag.name);
    if (isCounted && depth_ > kDeepest) {
        --depth_;
        if (isIn(kLineStarts, tag.name)) piece += "<br>";
        at_ = tag.end;
        return;
    }
    if (isCounted && depth_ > 0) --depth_;
    putTag(tag, piece);
}

bool HtmlPieces::mayCutBefore(const Tag& tag, const std::string& piece) const {
    if (piece.size() >= kLargestPiece) return true;
    return piece.size() >= kPieceBytes && !tag.isEnd && whole_ == 0 && isIn(kLineStarts, tag.name);
}

bool HtmlPieces::next(std::string& piece) {
    if (at_ == page_.size()) return false;
    depth_ = 0;
    stretches_.clear();
    piece = tables_ > 0 ? "<table>" : "";
    while (at_ < page_.size()) {
        const std::size_t tagAt = std::min(page_.find('<', at_), page_.size());
        copyText(tagAt, piece);
        if (tagAt + 1 >= page_.size()) {
            copyTo(page_.size(), piece);
        } else if (page_[tagAt + 1] == '!' || page_[tagAt + 1] == '?') {
            copyTo(behindComment(tagAt), piece);
        } else if (isLetter(page_[tagAt + 1]) || page_[tagAt + 1] == '/') {
            const Tag tag = readTag(tagAt);
            if (mayCutBefore(tag, piece)) return true;
            tag.isEnd ? closeElement(tag, piece) : openElement(tag, piece);
        } else {
            copyTo(tagAt + 1, piece);
        }
    }
    return true;
}

}  // namespace kestrix
