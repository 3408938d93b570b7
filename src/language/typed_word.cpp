#include "language/typed_word.h"

#include "base/text.h"

namespace kestrix {
namespace {

bool needsQuotes(std::string_view text) {
    if (text.empty() || text.find_first_of("\"*:") != std::string_view::npos) return true;
    for (std::size_t at = 0; at < text.size();)
        if (text::isWhiteSpaceOrNewline(text::decode(text, at))) return true;
    return false;
}

}  // namespace

std::string typedWord(std::string_view text) {
    return needsQuotes(text) ? typedInQuotes(text) : std::string(text);
}

std::string typedInQuotes(std::string_view text) {
    return '"' + typedWithoutQuotes(text) + (text.ends_with('\\') ? "" : "\"");
}

std::string typedWithoutQuotes(std::string_view text) {
    std::string typed;
    for (const char byte : text) {
        if (byte == '"') typed += '\\';
        typed += byte;
    }
    return typed;
}

}  // namespace kestrix
