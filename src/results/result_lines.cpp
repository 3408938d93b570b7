#include "results/result_lines.h"

#include <array>
#include <charconv>
#include <cstdint>

#include "base/path.h"
#include "base/text.h"

namespace kestrix {
namespace {

constexpr std::array<std::string_view, 7> kColumns = {"name",          "path", "size",       "mod date",
                                                      "creation date", "kind", "parent name"};

void appendDisplayable(std::string& line, std::string_view bytes) {
    if (text::isValidUtf8(bytes)) {
        line += bytes;
    } else {
        line += text::displayable(bytes);
    }
}

void appendNumber(std::string& line, std::uint64_t number) {
    char digits[20];
    line.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

}  // namespace

ResultLines::ResultLines(ResultLinesFormat format, AppendValue appendValue)
    : appendValue_(appendValue ? appendValue : appendDisplayable),
      quotesCommas_(format == ResultLinesFormat::csv),
      separator_(quotesCommas_ ? ", " : "\t") {}

void ResultLines::appendHeader(std::string& out) const {
    for (const std::string_view column : kColumns) {
        if (column != kColumns.front()) out += separator_;
        out += column;
    }
    out += '\n';
}

// Neither a number nor a date holds a comma.
void ResultLines::appendLine(std::string& out, const SearchResult& record, std::string_view kind) {
    appendColumn(out, path::lastComponent(record.path));
    out += separator_;
    appendColumn(out, record.path);
    out += separator_;
    appendNumber(out, record.size);
    out += separator_;
    dates_.appendShortDateAndTime(out, record.modDate);
    out += separator_;
    dates_.appendShortDateAndTime(out, record.creationDate);
    out += separator_;
    appendColumn(out, kind);
    out += separator_;
    appendColumn(out, path::lastComponent(path::parent(record.path)));
    out += '\n';
}

// Quotes within a value are left as they are: readers of this form expect no doubling.
void ResultLines::appendColumn(std::string& out, std::string_view value) const {
    const bool needsQuotes = quotesCommas_ && value.find(',') != value.npos;
    if (needsQuotes) out += '"';
    appendValue_(out, value);
    if (needsQuotes) out += '"';
}

}  // namespace kestrix
