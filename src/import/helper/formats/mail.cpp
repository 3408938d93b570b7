#include "import/helper/formats/mail.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <vector>

#include "base/text.h"
#include "base/text_charset.h"
#include "import/helper/formats/charset.h"
#include "import/helper/formats/document.h"
#include "import/helper/formats/formats.h"
#include "import/helper/formats/html_text.h"
#include "import/helper/formats/mime.h"

namespace kestrix {
namespace {

using std::string_view;

// Every level is searched for its boundary, so depth is time.
constexpr int kDeepest = 20;
constexpr std::size_t kMostParts = 5000;
// A boundary has 70 bytes at most; one of thousands is there to be compared at every byte.
constexpr std::size_t kLongestBoundary = 1000;

bool beginsLine(string_view body, std::size_t at) {
    return at == 0 || body[at - 1] == '\n';
}

// Nothing but blanks may stand behind a boundary: that of an outer level often begins like an inner one's.
bool isBoundaryLine(string_view rest) {
    if (rest.starts_with("--")) rest.remove_prefix(2);
    const std::size_t at = rest.find_first_not_of(" \t\r");
    return at == string_view::npos || rest[at] == '\n';
}

// The parts between the lines of the boundary; the text before the first is for programs that know no parts.
// A missing end is the body's end.
std::vector<string_view> partsOf(string_view body, const std::string& boundary) {
    const std::string delimiter = "--" + boundary;
    std::vector<string_view> parts;
    std::size_t start = string_view::npos;
    for (std::size_t at = 0; parts.size() < kMostParts;) {
        at = body.find(delimiter, at);
        if (at == string_view::npos) break;
        if (!beginsLine(body, at) || !isBoundaryLine(body.substr(at + delimiter.size()))) {
            at += delimiter.size();
            continue;
        }
        if (start != string_view::npos) parts.push_back(body.substr(start, at - start));
        at += delimiter.size();
        const bool isLast = body.compare(at, 2, "--") == 0;
        const std::size_t lineEnd = body.find('\n', at);
        if (isLast || lineEnd == string_view::npos) return parts;
        at = start = lineEnd + 1;
    }
    if (start != string_view::npos) parts.push_back(body.substr(start));
    return parts;
}

// Web pages bring their styles and scripts along.
bool isReadable(string_view type) {
    return type.starts_with("text/") && type != "text/css" && type != "text/javascript";
}

class MailReader {
  public:
    MailReader(TextWriter& writer, const std::function<void()>& onPart) : writer_(writer), onPart_(onPart) {}

    // Whether there are fields at all.
    bool message(string_view message, int depth) {
        std::size_t offset = 0;
        const std::vector<MailField> fields = readFields(message, offset);
        for (const string_view name : {"subject", "from", "to", "cc", "date"}) {
            writer_.words(decodedField(fieldValue(fields, name)));
            writer_.lineBreak();
        }
        body(fields, message.substr(offset), depth);
        return !fields.empty();
    }

  private:
    // This and the next two: whether there is any text but the names of what is attached. An appointment is
    // no text of its own, it comes beside one that tells it in words.
    bool part(string_view part, int depth) {
        std::size_t offset = 0;
        const std::vector<MailField> fields = readFields(part, offset);
        return body(fields, part.substr(offset), depth);
    }

    bool body(const std::vector<MailField>& fields, string_view body, int depth) {
        if (depth > kDeepest || writer_.isFull()) return false;
        if (onPart_) onPart_();
        const string_view contentType = fieldValue(fields, "content-type");
        const string_view disposition = fieldValue(fields, "content-disposition");
        const std::string type = contentType.empty() ? "text/plain" : mainValue(contentType);
        const std::string boundary = parameter(contentType, "boundary");
        if (type.starts_with("multipart/") && !boundary.empty() && boundary.size() < kLongestBoundary) {
            return several(partsOf(body, boundary), type == "multipart/alternative", depth);
        }
        std::string name = parameter(disposition, "filename");
        if (name.empty()) name = parameter(contentType, "name");
        std::string memory;
        const string_view encoding = fieldValue(fields, "content-transfer-encoding");
        const std::size_t before = writer_.size();
        if (type == "message/rfc822") {
            message(undoneEncoding(body, encoding, memory), depth + 1);
        } else if (isReadable(type) && mainValue(disposition) != "attachment") {
            text(undoneEncoding(body, encoding, memory), contentType);
        }
        const bool hasText = writer_.size() != before && type != "text/calendar";
        writer_.words(name);
        writer_.lineBreak();
        return hasText;
    }

    bool several(const std::vector<string_view>& parts, bool areVersions, int depth) {
        bool hasText = false;
        if (!areVersions) {
            for (const string_view one : parts) {
                hasText = part(one, depth + 1) || hasText;
            }
            return hasText;
        }
        for (auto one = parts.rbegin(); one != parts.rend() && !hasText; ++one) {
            hasText = part(*one, depth + 1);
        }
        return hasText;
    }

    void text(string_view bytes, string_view contentType) {
        const std::string charset = parameter(contentType, "charset");
        if (mainValue(contentType) == "text/html") {
            writeHtml(writer_, decodedPage(bytes, charset));
        } else if (text::lowered(parameter(contentType, "format")) == "flowed") {
            const bool isSign = text::lowered(parameter(contentType, "delsp")) == "yes";
            writer_.lines(
                joinedFlow(decodedByLabel(bytes, charset), isSign ? FlowBlank::sign : FlowBlank::text));
        } else {
            writer_.lines(decodedByLabel(bytes, charset));
        }
        writer_.lineBreak();
    }

    TextWriter& writer_;
    const std::function<void()>& onPart_;
};

// Without what may stand in front of the first field: a byte order mark, empty lines, and the line by which a
// mailbox of many messages parts them.
string_view fromFirstField(string_view message) {
    message.remove_prefix(std::min(message.find_first_not_of("\r\n\xEF\xBB\xBF"), message.size()));
    if (message.starts_with("From "))
        message.remove_prefix(std::min(message.find('\n'), message.size() - 1) + 1);
    return message;
}

bool isMail(string_view message) {
    message = fromFirstField(message);
    std::size_t offset = 0;
    return !readFields(message, offset).empty();
}

ImportTextResult mailText(const ImportJob& job, string_view message) {
    TextWriter writer(job.maxLength);
    writeMail(writer, message, [&job] { failIfCancelled(job); });
    return onePage(writer.take());
}

}  // namespace

void writeMail(TextWriter& writer, string_view message, const std::function<void()>& onPart) {
    if (!MailReader(writer, onPart).message(fromFirstField(message), 0)) {
        failDocument(ImportFailure::damaged, "is no mail message, or damaged");
    }
}

string_view messageInEnvelope(string_view bytes) {
    const std::size_t lineEnd = bytes.find('\n');
    if (lineEnd == string_view::npos) return bytes;
    const string_view line = text::trimmed(bytes.substr(0, lineEnd));
    std::size_t size = 0;
    const auto parsed = std::from_chars(line.data(), line.data() + line.size(), size);
    if (parsed.ec != std::errc{} || parsed.ptr != line.data() + line.size()) return bytes;
    return bytes.substr(lineEnd + 1, size);
}

ImportTextResult importMail(const ImportJob& job) {
    return withDocument(job, kLargestDocument / 2,
                        [&](const std::string& bytes) { return mailText(job, bytes); });
}

// Nothing but its name makes a file one of these, so one without a message is taken for the text it is.
ImportTextResult importAppleMail(const ImportJob& job) {
    return withDocument(job, kLargestDocument / 2, [&](const std::string& bytes) {
        const string_view message = messageInEnvelope(bytes);
        if (isMail(message)) return mailText(job, message);
        TextWriter writer(job.maxLength);
        writer.lines(text::isValidUtf8(bytes) ? bytes : text::decodedFromMacRoman(bytes));
        return onePage(writer.take());
    });
}

}  // namespace kestrix
