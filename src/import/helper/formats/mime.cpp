#include "import/helper/formats/mime.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/text.h"
#include "import/helper/formats/charset.h"

namespace kestrix {
namespace {

using std::string_view;

constexpr std::size_t kMostFields = 2000;
constexpr string_view kBlanks = " \t\r\n";

// A line without its end; the offset moves behind that.
string_view nextLine(string_view text, std::size_t& offset) {
    const std::size_t end = std::min(text.find('\n', offset), text.size());
    string_view line = text.substr(offset, end - offset);
    if (line.ends_with('\r')) line.remove_suffix(1);
    offset = std::min(end + 1, text.size());
    return line;
}

int hexValue(char digit) {
    const std::size_t value = string_view("0123456789abcdef0123456789ABCDEF").find(digit);
    return value == string_view::npos ? -1 : static_cast<int>(value % 16);
}

// Two hexadecimal digits behind `mark` are a byte.
std::string undoneHex(string_view text, char mark) {
    std::string bytes;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool isCode = text[at] == mark && text.size() - at > 2 && hexValue(text[at + 1]) >= 0 &&
                            hexValue(text[at + 2]) >= 0;
        bytes += isCode ? static_cast<char>(hexValue(text[at + 1]) * 16 + hexValue(text[at + 2])) : text[at];
        at += isCode ? 2 : 0;
    }
    return bytes;
}

std::string undoneQuotedPrintable(string_view body) {
    std::string joined;
    for (std::size_t at = 0; at < body.size();) {
        string_view line = nextLine(body, at);
        const std::size_t last = line.find_last_not_of(" \t");
        line = line.substr(0, last == string_view::npos ? 0 : last + 1);
        const bool goesOn = line.ends_with('=');
        joined += goesOn ? line.substr(0, line.size() - 1) : line;
        if (!goesOn) joined += '\n';
    }
    return undoneHex(joined, '=');
}

std::string undoneBase64(string_view text) {
    static constexpr string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    static const std::array<signed char, 256> kValues = [] {
        std::array<signed char, 256> values;
        values.fill(-1);
        for (std::size_t i = 0; i < kDigits.size(); ++i) {
            values[static_cast<unsigned char>(kDigits[i])] = static_cast<signed char>(i);
        }
        return values;
    }();
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    unsigned bits = 0;
    unsigned count = 0;
    for (const char digit : text) {
        const signed char value = kValues[static_cast<unsigned char>(digit)];
        if (digit == '=') bits = count = 0;
        if (value < 0) continue;
        bits = bits << 6U | static_cast<unsigned>(value);
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes.push_back(static_cast<char>(bits >> count));
    }
    return bytes;
}

// No line of a mail is longer, and no word spans several.
constexpr std::size_t kLongestEncodedWord = 1000;

// "=?charset?B?text?=" taken apart; `size` 0 if there is none at that place.
struct EncodedWord {
    std::size_t size = 0;
    string_view charset;
    std::string bytes;
};

EncodedWord encodedWordAt(string_view value, std::size_t at) {
    if (value.compare(at, 2, "=?") != 0) return {};
    value = value.substr(at, kLongestEncodedWord);
    const std::size_t charsetEnd = value.find('?', 2);
    if (charsetEnd == string_view::npos || value.size() - charsetEnd < 3 || value[charsetEnd + 2] != '?')
        return {};
    const std::size_t end = value.find("?=", charsetEnd + 3);
    if (end == string_view::npos) return {};
    const string_view charset = value.substr(2, charsetEnd - 2);
    std::string text(value.substr(charsetEnd + 3, end - charsetEnd - 3));
    const char way = value[charsetEnd + 1];
    EncodedWord word{end + 2, charset.substr(0, charset.find('*')), {}};
    if (way == 'B' || way == 'b') {
        word.bytes = undoneBase64(text);
    } else if (way == 'Q' || way == 'q') {
        std::replace(text.begin(), text.end(), '_', ' ');
        word.bytes = undoneHex(text, '=');
    } else {
        return {};
    }
    return word;
}

bool isField(string_view line) {
    const std::size_t colon = line.find(':');
    return colon != string_view::npos && colon != 0 &&
           line.substr(0, colon).find_first_of(" \t") == string_view::npos;
}

// One parameter of a field; moves `rest` behind it.
std::pair<std::string, std::string> nextParameter(string_view& rest) {
    rest.remove_prefix(std::min(rest.find_first_not_of(" \t\r\n;"), rest.size()));
    const std::size_t nameEnd = std::min(rest.find_first_of("=;"), rest.size());
    std::pair<std::string, std::string> found{text::lowered(text::trimmed(rest.substr(0, nameEnd))), {}};
    rest.remove_prefix(nameEnd);
    if (!rest.starts_with('=')) return found;
    rest.remove_prefix(std::min(rest.find_first_not_of(kBlanks, 1), rest.size()));
    if (!rest.starts_with('"')) {
        const std::size_t end = std::min(rest.find(';'), rest.size());
        found.second = text::trimmed(rest.substr(0, end));
        rest.remove_prefix(end);
        return found;
    }
    std::size_t at = 1;
    for (; at < rest.size() && rest[at] != '"'; ++at) {
        if (rest[at] == '\\' && at + 1 < rest.size()) ++at;
        found.second += rest[at];
    }
    rest.remove_prefix(std::min(at + 1, rest.size()));
    return found;
}

}  // namespace

std::vector<MailField> readFields(string_view message, std::size_t& offset) {
    std::vector<MailField> fields;
    while (offset < message.size()) {
        std::size_t next = offset;
        const string_view line = nextLine(message, next);
        const bool goesOn = !fields.empty() && !line.empty() && (line.front() == ' ' || line.front() == '\t');
        if (!goesOn && !line.empty() && !isField(line)) break;
        offset = next;
        if (line.empty()) break;
        if (goesOn) {
            fields.back().value += line;
        } else if (fields.size() < kMostFields) {
            const std::size_t colon = line.find(':');
            fields.push_back(
                {text::lowered(line.substr(0, colon)), std::string(text::trimmed(line.substr(colon + 1)))});
        }
    }
    return fields;
}

string_view fieldValue(const std::vector<MailField>& fields, string_view name) {
    const auto found = std::find_if(fields.begin(), fields.end(),
                                    [name](const MailField& field) { return field.name == name; });
    return found == fields.end() ? string_view{} : string_view(found->value);
}

std::string decodedField(string_view value) {
    std::string text;
    std::string bytes;  // of encoded words that follow one another: a character may be split between them
    std::string charset;
    const auto flush = [&] {
        if (!bytes.empty()) text += decodedByLabel(bytes, charset);
        bytes.clear();
    };
    for (std::size_t at = 0; at < value.size();) {
        // White space between two encoded words is no part of the text.
        const std::size_t wordAt =
            bytes.empty() ? at : std::min(value.find_first_not_of(kBlanks, at), value.size());
        EncodedWord word = encodedWordAt(value, wordAt);
        if (word.size != 0) {
            if (word.charset != charset) flush();
            charset = word.charset;
            bytes += word.bytes;
            at = wordAt + word.size;
            continue;
        }
        flush();
        const std::size_t end = std::min(value.find("=?", at + 1), value.size());
        text += decodedByLabel(value.substr(at, end - at), {});
        at = end;
    }
    flush();
    return text;
}

std::string joinedFlow(string_view text, FlowBlank blank) {
    std::string joined;
    std::size_t quotesBefore = 0;
    bool goesOn = false;
    for (std::size_t at = 0; at < text.size();) {
        const string_view line = nextLine(text, at);
        const std::size_t quotes = std::min(line.find_first_not_of('>'), line.size());
        const bool isJoined = goesOn && quotes == quotesBefore;
        string_view added = isJoined ? line.substr(quotes) : line;
        // Behind the quotes a blank protects what begins with one.
        if (isJoined && added.starts_with(' ')) added.remove_prefix(1);
        if (!joined.empty() && !isJoined) joined += '\n';
        if (isJoined && blank == FlowBlank::sign && joined.ends_with(' ')) joined.pop_back();
        joined += added;
        // Two dashes and a blank are the line above a signature.
        goesOn = line.ends_with(' ') && line != "-- ";
        quotesBefore = quotes;
    }
    return joined;
}

std::string mainValue(string_view value) {
    return text::lowered(text::trimmed(value.substr(0, value.find(';'))));
}

std::string parameter(string_view value, string_view name) {
    std::string joined;
    bool isExtended = false;
    string_view rest = value.substr(std::min(value.find(';'), value.size()));
    for (int count = 0; !rest.empty() && count < 100; ++count) {
        const auto [found, text] = nextParameter(rest);
        if (found == name) return decodedField(text);
        if (!found.starts_with(name) || found.size() == name.size() || found[name.size()] != '*') continue;
        isExtended = isExtended || found.ends_with('*');
        joined += text;
    }
    if (!isExtended) return decodedField(joined);
    const std::size_t first = joined.find('\'');
    const std::size_t second = first == std::string::npos ? first : joined.find('\'', first + 1);
    if (second == std::string::npos) return undoneHex(joined, '%');
    return decodedByLabel(undoneHex(string_view(joined).substr(second + 1), '%'),
                          string_view(joined).substr(0, first));
}

string_view undoneEncoding(string_view body, string_view encoding, std::string& memory) {
    const std::string way = text::lowered(text::trimmed(encoding));
    if (way == "base64") return memory = undoneBase64(body);
    if (way == "quoted-printable") return memory = undoneQuotedPrintable(body);
    return body;
}

}  // namespace kestrix
