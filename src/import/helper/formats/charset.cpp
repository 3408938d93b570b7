#include "import/helper/formats/charset.h"

#include <algorithm>
#include <array>

#include "base/text.h"
#include "base/text_charset.h"

namespace kestrix {
namespace {

constexpr const char* kWestern = "windows-1252";
constexpr std::size_t kHeadBytes = 4096;

struct Mark {
    std::string_view bytes;
    const char* charset;
};
constexpr std::array<Mark, 3> kMarks = {
    {{"\xEF\xBB\xBF", "UTF-8"}, {"\xFE\xFF", "UTF-16BE"}, {"\xFF\xFE", "UTF-16LE"}}};

bool isLabelByte(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') || byte == '-' || byte == '_' ||
           byte == ':' || byte == '.';
}

// The word behind `key`, an equals sign and perhaps a quote; empty if there is none.
std::string_view valueBehind(std::string_view text, std::string_view key) {
    for (std::size_t at = text.find(key); at != std::string_view::npos; at = text.find(key, at)) {
        at += key.size();
        std::size_t start = std::min(text.find_first_not_of(" \t\r\n", at), text.size());
        if (start == text.size() || text[start] != '=') continue;
        start = std::min(text.find_first_not_of(" \t\r\n\"'", start + 1), text.size());
        std::size_t end = start;
        while (end < text.size() && isLabelByte(text[end])) {
            ++end;
        }
        if (end > start) return text.substr(start, end - start);
    }
    return {};
}

// What the page says of itself. A page that can be read so far is not in UTF-16, whatever it says.
std::string ownLabel(std::string_view bytes) {
    const std::string head = text::lowered(bytes.substr(0, kHeadBytes));
    std::string_view label;
    if (head.starts_with("<?xml"))
        label = valueBehind(std::string_view(head).substr(0, head.find("?>")), "encoding");
    for (std::size_t at = head.find("<meta"); at != std::string::npos && label.empty();
         at = head.find("<meta", at + 1)) {
        label = valueBehind(std::string_view(head).substr(at, head.find('>', at) - at), "charset");
    }
    return label.starts_with("utf-16") ? "utf-8" : std::string(label);
}

bool isWestern(std::string_view loweredLabel) {
    constexpr std::array<std::string_view, 8> kLabels = {
        "ascii", "us-ascii", "iso-8859-1", "iso8859-1", "latin1", "iso_8859-1", "cp1252", "ansi_x3.4-1968"};
    return std::find(kLabels.begin(), kLabels.end(), loweredLabel) != kLabels.end();
}

// Web pages and mails call the larger encodings of their systems by the names of the smaller ones that these
// contain, and web browsers read them so.
struct Alias {
    std::string_view label;
    const char* charset;
};
constexpr std::array<Alias, 4> kAliases = {{{"gb2312", "gb18030"},
                                            {"euc-kr", "windows-949"},
                                            {"iso-8859-9", "windows-1254"},
                                            {"iso-8859-11", "windows-874"}}};

std::string charsetOf(const std::string& label) {
    const auto* const alias =
        std::find_if(kAliases.begin(), kAliases.end(), [&](const Alias& one) { return one.label == label; });
    return alias == kAliases.end() ? label : alias->charset;
}

}  // namespace

std::string decodedByLabel(std::string_view bytes, std::string_view label) {
    const std::string name = text::lowered(text::trimmed(label));
    if (text::isAscii(bytes) && (isWestern(name) || name == "utf-8")) return std::string(bytes);
    if (name == "utf-8" || name == "utf8") return text::displayable(bytes);
    if (isWestern(name)) return *text::decodedFrom(bytes, kWestern);
    if (auto decoded = text::decodedFrom(bytes, charsetOf(name))) return *std::move(decoded);
    return text::isValidUtf8(bytes) ? std::string(bytes) : *text::decodedFrom(bytes, kWestern);
}

std::string decodedPage(std::string_view bytes, std::string_view label) {
    for (const Mark& mark : kMarks) {
        if (bytes.starts_with(mark.bytes))
            return decodedByLabel(bytes.substr(mark.bytes.size()), mark.charset);
    }
    if (!text::isAscii(bytes) && text::isValidUtf8(bytes)) return std::string(bytes);
    return decodedByLabel(bytes, label.empty() ? ownLabel(bytes) : std::string(label));
}

}  // namespace kestrix
