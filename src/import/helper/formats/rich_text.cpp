#include "import/helper/formats/rich_text.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/text.h"
#include "import/helper/formats/charset.h"
#include "import/helper/formats/document.h"
#include "import/helper/formats/formats.h"

namespace kestrix {
namespace {

using std::string_view;

constexpr std::size_t kDeepest = 2000;
constexpr std::size_t kLongestWord = 32;  // of a control word; the format's own limit
constexpr int kNoNumber = -1'000'000'000;

enum class Action {
    skipGroup,  // the group tells something about the text and is none itself
    lineBreak,
    tab,
    character,      // `value` is the character
    unicode,        // its number is the character
    fallbackSize,   // its number is how many characters for older programs follow each of those
    codePage,       // its number is the document's code page
    fixedCodePage,  // likewise, `value`
    font,
    defaultFont,
    plain,  // back to the default font
    fontTable,
    fontCharset,
    binary,       // its number is how many bytes follow that mean nothing here
    starredText,  // text although its group is marked as one that may be skipped
    aside,        // likewise, and beside the text around it
};

struct Word {
    Action action;
    int value = 0;
};

const std::unordered_map<string_view, Word>& words() {
    static const std::unordered_map<string_view, Word> kWords = {
        {"par", {Action::lineBreak}},
        {"line", {Action::lineBreak}},
        {"sect", {Action::lineBreak}},
        {"page", {Action::lineBreak}},
        {"row", {Action::lineBreak}},
        {"nestrow", {Action::lineBreak}},
        {"column", {Action::lineBreak}},
        {"tab", {Action::tab}},
        {"cell", {Action::tab}},
        {"nestcell", {Action::tab}},
        {"emdash", {Action::character, 0x2014}},
        {"endash", {Action::character, 0x2013}},
        {"lquote", {Action::character, 0x2018}},
        {"rquote", {Action::character, 0x2019}},
        {"ldblquote", {Action::character, 0x201C}},
        {"rdblquote", {Action::character, 0x201D}},
        {"bullet", {Action::character, 0x2022}},
        {"emspace", {Action::character, ' '}},
        {"enspace", {Action::character, ' '}},
        {"qmspace", {Action::character, ' '}},
        {"u", {Action::unicode}},
        {"uc", {Action::fallbackSize}},
        {"ansicpg", {Action::codePage}},
        {"mac", {Action::fixedCodePage, 10000}},
        {"pc", {Action::fixedCodePage, 437}},
        {"pca", {Action::fixedCodePage, 850}},
        {"f", {Action::font}},
        {"deff", {Action::defaultFont}},
        {"plain", {Action::plain}},
        {"fonttbl", {Action::fontTable}},
        {"fcharset", {Action::fontCharset}},
        {"bin", {Action::binary}},
        {"shpinst", {Action::starredText}},
        {"shptxt", {Action::aside}},
        {"annotation", {Action::aside}},
        {"footnote", {Action::aside}},
        {"header", {Action::aside}},
        {"headerl", {Action::aside}},
        {"headerr", {Action::aside}},
        {"headerf", {Action::aside}},
        {"footer", {Action::aside}},
        {"footerl", {Action::aside}},
        {"footerr", {Action::aside}},
        {"footerf", {Action::aside}},
        {"colortbl", {Action::skipGroup}},
        {"stylesheet", {Action::skipGroup}},
        {"info", {Action::skipGroup}},
        {"pict", {Action::skipGroup}},
        {"nonshppict", {Action::skipGroup}},
        {"sp", {Action::skipGroup}},
        {"shprslt", {Action::skipGroup}},  // the shape again, for older programs
        {"deleted", {Action::skipGroup}},
        {"objdata", {Action::skipGroup}},
        {"fldinst", {Action::skipGroup}},
        {"listtable", {Action::skipGroup}},
        {"listoverridetable", {Action::skipGroup}},
        {"revtbl", {Action::skipGroup}},
        {"filetbl", {Action::skipGroup}},
        {"themedata", {Action::skipGroup}},
        {"datastore", {Action::skipGroup}},
        {"xe", {Action::skipGroup}},
        {"tc", {Action::skipGroup}},
        {"fontemb", {Action::skipGroup}},
        {"generator", {Action::skipGroup}},
    };
    return kWords;
}

// The code page of a font's \fcharset; 0 is that of the document.
int codePageOfCharset(int charset) {
    switch (charset) {
        case 77:
            return 10000;
        case 128:
            return 932;
        case 129:
            return 949;
        case 130:
            return 1361;
        case 134:
            return 936;
        case 136:
            return 950;
        case 161:
            return 1253;
        case 162:
            return 1254;
        case 163:
            return 1258;
        case 177:
            return 1255;
        case 178:
            return 1256;
        case 186:
            return 1257;
        case 204:
            return 1251;
        case 222:
            return 874;
        case 238:
            return 1250;
        default:
            return 0;
    }
}

std::string labelOf(int codePage) {
    if (codePage == 10000) return "macintosh";
    return codePage == 65001 ? "utf-8" : "cp" + std::to_string(codePage);
}

int hexValue(char digit) {
    const std::size_t value = string_view("0123456789abcdef0123456789ABCDEF").find(digit);
    return value == string_view::npos ? -1 : static_cast<int>(value % 16);
}

bool isLetter(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}
bool isDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

class RichTextReader {
  public:
    RichTextReader(TextWriter& writer, string_view bytes) : writer_(writer), bytes_(bytes) {}

    void read() {
        while (at_ < bytes_.size() && !writer_.isFull()) {
            const char byte = bytes_[at_++];
            if (byte == '{') {
                openGroup();
            } else if (byte == '}') {
                closeGroup();
            } else if (byte == '\\') {
                control();
            } else if (byte != '\r' && byte != '\n') {
                putByte(byte);
            }
        }
        flush();
    }

  private:
    struct Group {
        bool isSkipped = false;
        bool isFontTable = false;
        bool isStarred = false;  // the next word decides whether it is skipped
        bool isAside = false;
        int fallbackSize = 1;
        int font = -1;
    };

    void openGroup() {
        flush();
        fallbackLeft_ = 0;
        // Deeper groups go on as the one around them.
        ++depth_;
        if (groups_.size() < kDeepest) groups_.push_back(groups_.back());
        group().isStarred = group().isAside = false;
    }

    void closeGroup() {
        flush();
        fallbackLeft_ = 0;
        if (depth_ == 0) return;
        if (--depth_ >= groups_.size() - 1) return;
        if (group().isAside) writer_.endAside();
        groups_.pop_back();
    }

    void beginAside() {
        flush();
        if (!std::exchange(group().isAside, true)) writer_.beginAside();
    }

    void control() {
        if (at_ == bytes_.size()) return;
        const char symbol = bytes_[at_];
        if (isLetter(symbol)) return controlWord();
        ++at_;
        switch (symbol) {
            case '\'':
                return hexByte();
            case '*':
                group().isStarred = true;
                return;
            case '~':
                return putCharacter(' ');
            case '_':
                return putCharacter('-');
            case '\r':
            case '\n':
                return breakLine();
            case '\\':
            case '{':
            case '}':
                return putByte(symbol);
            default:
                return;
        }
    }

    void hexByte() {
        if (bytes_.size() - at_ < 2) return;
        const int high = hexValue(bytes_[at_]);
        const int low = hexValue(bytes_[at_ + 1]);
        if (high < 0 || low < 0) return;
        at_ += 2;
        putByte(static_cast<char>(high * 16 + low));
    }

    void controlWord() {
        const std::size_t start = at_;
        while (at_ < bytes_.size() && isLetter(bytes_[at_]) && at_ - start < kLongestWord) {
            ++at_;
        }
        const string_view name = bytes_.substr(start, at_ - start);
        const int number = controlNumber();
        if (at_ < bytes_.size() && bytes_[at_] == ' ') ++at_;
        const auto found = words().find(name);
        const bool isStarred = std::exchange(group().isStarred, false);
        if (found != words().end()) {
            const Action action = found->second.action;
            if (isStarred && action != Action::starredText && action != Action::aside)
                group().isSkipped = true;
            act(found->second, number);
        } else if (isStarred) {
            group().isSkipped = true;
        }
    }

    int controlNumber() {
        const bool isNegative = at_ < bytes_.size() && bytes_[at_] == '-';
        std::size_t at = at_ + (isNegative ? 1 : 0);
        if (at >= bytes_.size() || !isDigit(bytes_[at])) return kNoNumber;
        int number = 0;
        for (; at < bytes_.size() && isDigit(bytes_[at]); ++at) {
            number = std::min(number * 10 + (bytes_[at] - '0'), 100'000'000);
        }
        at_ = at;
        return isNegative ? -number : number;
    }

    void act(Word word, int number) {
        switch (word.action) {
            case Action::skipGroup:
                flush();
                group().isSkipped = group().isSkipped || number != 0;  // 0 takes a mark back
                return;
            case Action::lineBreak:
                return breakLine();
            case Action::tab:
                flush();
                if (!group().isSkipped) writer_.tab();
                return;
            case Action::character:
                return putCharacter(static_cast<char32_t>(word.value));
            case Action::unicode:
                return putUnicode(number);
            case Action::fallbackSize:
                group().fallbackSize = std::clamp(number, 0, 100);
                return;
            case Action::binary:
                at_ += std::min<std::size_t>(std::max(number, 0), bytes_.size() - at_);
                return;
            case Action::starredText:
                return;
            case Action::aside:
                return beginAside();
            default:
                return actOnFonts(word, number);
        }
    }

    void actOnFonts(Word word, int number) {
        flush();
        switch (word.action) {
            case Action::codePage:
                codePage_ = number > 0 ? number : codePage_;
                return;
            case Action::fixedCodePage:
                codePage_ = word.value;
                return;
            case Action::font:
                group().font = number;
                return;
            case Action::defaultFont:
                defaultFont_ = group().font = number;
                return;
            case Action::plain:
                group().font = defaultFont_;
                return;
            case Action::fontTable:
                group().isFontTable = group().isSkipped = true;
                return;
            case Action::fontCharset:
                if (group().isFontTable && fontCodePages_.size() < 10'000)
                    fontCodePages_[group().font] = codePageOfCharset(number);
                return;
            default:
                return;
        }
    }

    void breakLine() {
        flush();
        if (!group().isSkipped) writer_.lineBreak();
    }

    // Whether a character stands there for programs that do not know the one before.
    bool isFallback() {
        if (fallbackLeft_ == 0) return false;
        --fallbackLeft_;
        return true;
    }

    void putByte(char byte) {
        if (!isFallback() && !group().isSkipped) pending_.push_back(byte);
    }

    void putCharacter(char32_t codePoint) {
        if (isFallback() || group().isSkipped) return;
        flush();
        std::string text;
        text::append(text, codePoint);
        writer_.words(text);
    }

    // Numbers above 32767 are written as negative ones, characters beyond 16 bits as two halves.
    void putUnicode(int number) {
        fallbackLeft_ = 0;
        const auto unit = static_cast<char32_t>(number) & 0xFFFFU;
        if (number == kNoNumber) return;
        const char32_t high = std::exchange(highHalf_, 0);
        if ((unit & 0xFC00U) == 0xD800) {
            highHalf_ = unit;
        } else if ((unit & 0xFC00U) != 0xDC00) {
            putCharacter(unit);
        } else if (high != 0) {
            putCharacter(0x10000 + ((high & 0x3FFU) << 10U) + (unit & 0x3FFU));
        }
        fallbackLeft_ = group().fallbackSize;
    }

    // Writes the bytes gathered so far, which are all in one code page.
    void flush() {
        if (pending_.empty()) return;
        const auto font = fontCodePages_.find(group().font);
        const int ofFont = font == fontCodePages_.end() ? 0 : font->second;
        writer_.words(text::isAscii(pending_)
                          ? pending_
                          : decodedByLabel(pending_, labelOf(ofFont == 0 ? codePage_ : ofFont)));
        pending_.clear();
    }

    Group& group() { return groups_.back(); }

    TextWriter& writer_;
    string_view bytes_;
    std::size_t at_ = 0;
    std::vector<Group> groups_{Group{}};
    std::size_t depth_ = 0;
    std::string pending_;
    int fallbackLeft_ = 0;
    char32_t highHalf_ = 0;
    int codePage_ = 1252;
    int defaultFont_ = -1;
    std::unordered_map<int, int> fontCodePages_;
};

}  // namespace

void writeRichText(TextWriter& writer, string_view bytes) {
    const std::size_t start = bytes.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    if (start == string_view::npos || bytes.compare(start, 5, "{\\rtf") != 0) {
        failDocument(ImportFailure::damaged, "is no rich text, or damaged");
    }
    RichTextReader(writer, bytes.substr(start)).read();
}

ImportTextResult importRichText(const ImportJob& job) {
    return withDocument(job, kLargestDocument, [&](const std::string& bytes) {
        TextWriter writer(job.maxLength);
        writeRichText(writer, bytes);
        return onePage(writer.take());
    });
}

}  // namespace kestrix
