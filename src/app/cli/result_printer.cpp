#include "app/cli/result_printer.h"

#include <utility>

#include "app/cli/display_text.h"
#include "base/calendar.h"
#include "base/text.h"
#include "results/byte_count_text.h"
#include "results/presence.h"

namespace kestrix::cli {
namespace {

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

// Whether what a catalog found is still there, in words; empty where it is.
std::string_view absenceOf(const SearchResult& result) {
    switch (presenceOf(result)) {
        case Presence::missing:
            return "missing";
        case Presence::offline:
            return "offline";
        default:
            return {};
    }
}

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

ResultPrinter::ResultPrinter(OutputWriter& output, PrintStyle style, const KindTexts& kinds)
    : output_(output), style_(std::move(style)), kinds_(kinds) {
    if (style_.form != Form::csv && style_.form != Form::text) return;
    lines_.emplace(style_.form == Form::csv ? ResultLinesFormat::csv : ResultLinesFormat::text,
                   style_.terminal ? appendSafely : nullptr);
}

void ResultPrinter::printHeader() {
    if (!lines_) return;
    scratch_.clear();
    lines_->appendHeader(scratch_);
    output_.append(scratch_);
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
            printJson(result);
            break;
        case Form::csv:
        case Form::text:
            scratch_.clear();
            lines_->appendLine(scratch_, result, kinds_.kindOf(result.path, result.isDirectory).text);
            output_.append(scratch_);
            break;
    }
}

void ResultPrinter::print(const UINode& node) {
    print(node.record());
    if (!style_.summary) return;
    for (const UINodePtr& row : node.children()) {
        if (row->summaryLine()) printSummary(*row);
    }
}

void ResultPrinter::printLong(const SearchResult& result) {
    constexpr std::string_view kBlanks = "         ";
    static_assert(kBlanks.size() == kLongestByteCount);
    const std::string size = byteCountText(result.size);
    output_.append(kBlanks.substr(size.size()));
    output_.append(size);
    output_.append("  ");
    appendDate(output_, result.modDate);
    output_.append("  ");
    if (const std::string_view absence = absenceOf(result); !absence.empty()) {
        output_.append('[');
        output_.append(absence);
        output_.append("] ");
    }
    printPath(result.path);
}

void ResultPrinter::printJson(const SearchResult& result) {
    std::string json = toJson(result);
    if (const std::string_view absence = absenceOf(result); !absence.empty()) {
        json.pop_back();
        json.append(R"(,"presence":")").append(absence).append(R"("})");
    }
    output_.append(json);
    output_.append('\n');
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
    scratch_.clear();
    appendSafely(scratch_, path.substr(0, nameStart));
    appendMarked(path.substr(nameStart), style_.markedWords);
    output_.append(scratch_);
}

void ResultPrinter::printSummary(const UINode& line) {
    scratch_ = "  ";
    if (style_.terminal) {
        std::vector<std::string> words;
        if (style_.marksContent) {
            for (const std::string& word : line.displayWordsToHighlight())
                words.push_back(text::lowered(word));
        }
        appendMarked(*line.summaryLine(), words);
    } else {
        scratch_ += *line.summaryLine();
    }
    scratch_ += '\n';
    output_.append(scratch_);
}

void ResultPrinter::appendMarked(std::string_view text, const std::vector<std::string>& loweredWords) {
    std::size_t done = 0;
    for (const auto& [begin, end] : stretchesOf(text, loweredWords)) {
        appendSafely(scratch_, text.substr(done, begin - done));
        scratch_ += kMarkOn;
        appendSafely(scratch_, text.substr(begin, end - begin));
        scratch_ += kMarkOff;
        done = end;
    }
    appendSafely(scratch_, text.substr(done));
}

}  // namespace kestrix::cli
