#include "app/cli/display_text.h"

#include <algorithm>

#include "base/text.h"
#include "platform/standard_streams.h"

namespace kestrix::cli {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
constexpr std::size_t kLongestQuote = 200;

bool isPlainAscii(std::string_view bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
}

// The signs from U+202A and U+2066 on can make "gpj.exe" out of "exe.jpg"; U+2028 and U+2029 end a line.
bool disturbsTerminal(char32_t c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x200E || c == 0x200F || c == 0x061C ||
           (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

}  // namespace

void appendSafely(std::string& text, std::string_view bytes) {
    if (isPlainAscii(bytes)) {
        text += bytes;
        return;
    }
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t start = at;
        const char32_t c = text::decode(bytes, at);
        if (c == '\n') {
            text += "\\n";
        } else if (c == '\t') {
            text += "\\t";
        } else if (c == 0xFFFD || disturbsTerminal(c)) {
            text += kReplacement;
        } else {
            text += bytes.substr(start, at - start);
        }
    }
}

std::string inQuotes(std::string_view bytes) {
    std::string text = "\"";
    appendSafely(text, bytes.substr(0, kLongestQuote));
    text += bytes.size() > kLongestQuote ? "...\"" : "\"";
    return text;
}

void complain(std::string_view message) {
    std::string line = "kestrix: ";
    appendSafely(line, message);
    line += '\n';
    writeTo(StandardStream::error, line);
}

Stretches stretchesOf(std::string_view name, const std::vector<std::string>& loweredWords) {
    Stretches found;
    for (const std::string& word : loweredWords) {
        if (word.empty()) continue;
        for (std::size_t at = text::findIgnoringCase(name, word); at != name.npos;) {
            const std::size_t end = std::min(at + word.size(), name.size());
            found.emplace_back(at, end);
            at = text::findIgnoringCase(name, word, end);
        }
    }
    std::sort(found.begin(), found.end());
    Stretches merged;
    for (const auto& stretch : found) {
        if (merged.empty() || merged.back().second < stretch.first) {
            merged.push_back(stretch);
        } else {
            merged.back().second = std::max(merged.back().second, stretch.second);
        }
    }
    return merged;
}

}  // namespace kestrix::cli
