#include "search/content_text.h"

#include "base/text.h"

namespace kestrix {
namespace {

constexpr std::string_view kEllipsis = "…";

std::string_view withoutQuotes(std::string_view piece) {
    if (piece.starts_with('"')) piece.remove_prefix(1);
    if (piece.ends_with('"')) piece.remove_suffix(1);
    return piece;
}

bool breaksALine(char32_t codePoint) {
    if (codePoint < 0x80) return codePoint == ' ' || (codePoint >= '\t' && codePoint <= '\r');
    return codePoint == 0x85 || codePoint == 0x2028 || codePoint == 0x2029;
}

bool separatesWords(std::string_view character) {
    for (std::size_t at = 0; at < character.size();) {
        const char32_t codePoint = text::decode(character, at);
        if (!text::isWhiteSpaceOrNewline(codePoint) && !text::isPunctuation(codePoint)) return false;
    }
    return true;
}

std::string_view fromFirstWhiteSpace(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        std::size_t next = at;
        if (text::isWhiteSpaceOrNewline(text::decode(text, next))) return text.substr(at);
        at = next;
    }
    return {};
}

std::string summaryLine(std::string_view text, std::size_t location) {
    const std::size_t start = text::charactersBefore(text, location, kSummaryBefore);
    const std::size_t end = text::charactersBehind(text, location, kSummaryBehind);
    const std::string piece = stripNewLines(text.substr(start, end - start));
    std::string line(kEllipsis);
    line += text::trimmed(fromFirstWhiteSpace(piece));
    line += kEllipsis;
    return line;
}

}  // namespace

std::vector<std::string> searchWordParts(std::string_view text) {
    std::vector<std::string> words;
    for (const std::string_view piece : text::splitAt(text, ',')) {
        words.emplace_back(withoutQuotes(text::trimmed(piece)));
    }
    return words;
}

std::string stripNewLines(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    bool isBehindPiece = false;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t start = at;
        if (breaksALine(text::decode(text, at))) {
            isBehindPiece = !line.empty();
            continue;
        }
        if (isBehindPiece) line += ' ';
        isBehindPiece = false;
        line += text.substr(start, at - start);
    }
    return line;
}

bool isWholeWord(TextRange range, std::string_view text) {
    const std::size_t start = range.location;
    const std::size_t end = start + range.length;
    const std::size_t before = text::charactersBefore(text, start, 1);
    if (!separatesWords(text.substr(before, start - before))) return false;
    return separatesWords(text.substr(end, text::charactersBehind(text, end, 1) - end));
}

std::vector<std::string> summary(std::string_view text, const std::vector<TextRange>& ranges) {
    std::vector<std::string> lines;
    for (const TextRange& range : ranges) {
        if (lines.size() == kMostSummaryLines) break;
        if (range.location < text.size()) lines.push_back(summaryLine(text, range.location));
    }
    return lines;
}

}  // namespace kestrix
