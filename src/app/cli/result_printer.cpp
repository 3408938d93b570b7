#include "app/cli/result_printer.h"

#include <array>

#include "app/cli/display_text.h"
#include "base/calendar.h"
#include "base/path.h"
#include "base/text.h"

namespace kestrix::cli {
namespace {

// Wide enough for a terabyte less one byte, so that columns stay straight while results stream in.
constexpr std::size_t kSizeWidth = 12;
constexpr std::string_view kUnknownDate = "               -";
constexpr std::string_view kMarkOn = "\x1b[1;31m";
constexpr std::string_view kMarkOff = "\x1b[0m";

void putTwoDigits(char* place, int number) {
    place[0] = static_cast<char>('0' + number / 10 % 10);
    place[1] = static_cast<char>('0' + number % 10);
}

void appendDate(OutputWriter& output, std::int64_t secondsSince1970) {
    if (secondsSince1970 == 0) return output.append(kUnknownDate);
    const LocalTime time = localTime(secondsSince1970);
    if (time.year < 0 || time.year > 9999) return output.append(kUnknownDate);
    char text[] = "0000-00-00 00:00";
    putTwoDigits(text, time.year / 100);
    putTwoDigits(text + 2, time.year);
    putTwoDigits(text + 5, time.month);
    putTwoDigits(text + 8, time.day);
    putTwoDigits(text + 11, time.hour);
    putTwoDigits(text + 14, time.minute);
    output.append(std::string_view(text, sizeof text - 1));
}

constexpr std::array<std::string_view, 7> kColumnTitles = {"name",          "path", "size",       "mod date",
                                                           "creation date", "kind", "parent name"};

}  // namespace

Form formNamed(std::string_view name) {
    if (name == "long") return Form::longForm;
    if (name == "json") return Form::json;
    if (name == "csv") return Form::csv;
    if (name == "text") return Form::text;
    return Form::path;
}

bool needsAttributes(Form form) {
    return form != Form::path;
}

std::string kindOf(const SearchResult& result) {
    if (result.isDirectory) return "Folder";
    const std::string_view extension = path::extension(result.path);
    return extension.empty() ? "File" : text::uppered(extension) + " file";
}

ResultPrinter::ResultPrinter(OutputWriter& output, PrintStyle style)
    : output_(output), style_(std::move(style)) {}

// A tab for text; a comma and a blank for csv.
void ResultPrinter::printHeader() {
    if (style_.form != Form::csv && style_.form != Form::text) return;
    for (std::size_t i = 0; i < kColumnTitles.size(); ++i) {
        if (i > 0) output_.append(style_.form == Form::csv ? ", " : "\t");
        output_.append(kColumnTitles[i]);
    }
    output_.append('\n');
}

void ResultPrinter::print(const SearchResult& result) {
    switch (style_.form) {
        case Form::path:
            printPath(result.path);
            break;
        case Form::longForm:
            printLong(result);
            break;
        case Form::json:
            output_.append(toJson(result));
            output_.append('\n');
            break;
        case Form::csv:
        case Form::text:
            printColumns(result);
            break;
    }
}

void ResultPrinter::printLong(const SearchResult& result) {
    output_.appendNumber(result.size, kSizeWidth);
    output_.append("  ");
    appendDate(output_, result.modDate);
    output_.append("  ");
    printPath(result.path);
}

void ResultPrinter::printColumns(const SearchResult& result) {
    const std::string_view separator = style_.form == Form::csv ? ", " : "\t";
    printColumn(path::lastComponent(result.path));
    output_.append(separator);
    printColumn(result.path);
    output_.append(separator);
    output_.appendNumber(result.size);
    output_.append(separator);
    printColumn(dates_.shortDateAndTime(result.modDate));
    output_.append(separator);
    printColumn(dates_.shortDateAndTime(result.creationDate));
    output_.append(separator);
    printColumn(kindOf(result));
    output_.append(separator);
    printColumn(path::lastComponent(path::parent(result.path)));
    output_.append('\n');
}

// Quotes within a value are left as they are: readers of this form expect no doubling.
void ResultPrinter::printColumn(std::string_view value) {
    const bool needsQuotes = style_.form == Form::csv && value.find(',') != value.npos;
    if (needsQuotes) output_.append('"');
    scratch_.clear();
    if (style_.terminal) {
        appendSafely(scratch_, value);
        output_.append(scratch_);
    } else if (text::isAscii(value)) {
        output_.append(value);
    } else {
        output_.append(text::displayable(value));
    }
    if (needsQuotes) output_.append('"');
}

void ResultPrinter::printPath(std::string_view path) {
    if (style_.terminal && !style_.nulEnds) {
        printForTerminal(path);
    } else {
        output_.append(path);
    }
    output_.append(style_.nulEnds ? '\0' : '\n');
}

// Words are looked for in the name alone, where the search found them.
void ResultPrinter::printForTerminal(std::string_view path) {
    const std::size_t nameStart = path.size() > 1 ? path.rfind('/', path.size() - 2) + 1 : 0;
    const std::string_view name = path.substr(nameStart);
    scratch_.clear();
    appendSafely(scratch_, path.substr(0, nameStart));
    std::size_t done = 0;
    for (const auto& [begin, end] : stretchesOf(name, style_.markedWords)) {
        appendSafely(scratch_, name.substr(done, begin - done));
        scratch_ += kMarkOn;
        appendSafely(scratch_, name.substr(begin, end - begin));
        scratch_ += kMarkOff;
        done = end;
    }
    appendSafely(scratch_, name.substr(done));
    output_.append(scratch_);
}

}  // namespace kestrix::cli
