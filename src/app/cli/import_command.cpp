// The text of one file, as a search inside files would see it.
#include <algorithm>
#include <vector>

#include "app/cli/commands.h"
#include "app/cli/display_text.h"
#include "app/cli/progress_line.h"
#include "base/error.h"
#include "base/path.h"
#include "import/import_text_tools_xpc.h"
#include "platform/directory.h"
#include "platform/system_info.h"

namespace kestrix::cli {
namespace {

std::string absolute(std::string_view typed) {
    if (typed.empty()) throw UsageError("there is no \"\"; name a file");
    return typed.front() == '/' ? std::string(typed) : path::join(workingDirectory(), typed);
}

// Why nothing reads a file whose name tells no kind.
std::string refusalOf(const std::string& path) {
    FileAttributes attributes;
    if (readAttributes(path, true, attributes) != 0) return "there is no " + inQuotes(path) + "; name a file";
    if (attributes.type != EntryType::file) return inQuotes(path) + " is no plain file; name a file";
    return "nothing reads files of this kind: " + inQuotes(path) + "; --all takes it as plain text";
}

// A percentage on the terminal while the document is read.
class ShownProgress {
  public:
    explicit ShownProgress(std::string_view name) : name_(name) {}

    ImportProgress handler() {
        return [this](int percent) { line_.show("reading " + name_ + " " + std::to_string(percent) + "%"); };
    }
    void clear() { line_.clear(); }

  private:
    std::string name_;
    ProgressLine line_;
};

int fail(const std::string& why) {
    complain(why);
    return kExitNothing;
}

// The most frequent first, equally frequent ones in the order of their bytes.
void print(const WordCounts& counts, OutputWriter& output) {
    std::vector<std::pair<std::string_view, std::uint32_t>> rows(counts.begin(), counts.end());
    std::ranges::sort(rows, [](const auto& a, const auto& b) {
        return a.second != b.second ? a.second > b.second : a.first < b.first;
    });
    for (const auto& [word, count] : rows) {
        output.appendNumber(count);
        output.append('\t');
        output.append(word);
        output.append('\n');
    }
}

}  // namespace

int runImport(const Arguments& arguments, CommandContext& context) {
    if (arguments.words.size() != 1) throw UsageError("use it as: kestrix import FILE");
    const std::string path = absolute(arguments.words.front());
    ImportTextToolsXPC& service = context.application.importService();
    const bool useOCR = arguments.has("ocr");
    const bool allFiles = arguments.has("all");
    if (service.tools().formatOf(path, allFiles, useOCR) == DocumentFormat::none)
        return fail(refusalOf(path));
    ShownProgress progress(path::lastComponent(path));
    if (arguments.has("words") && !allFiles) {
        const ImportedWords imported = service.wordsFromFile(path, useOCR, progress.handler());
        progress.clear();
        if (imported.error) return fail(imported.error->what());
        print(*imported.words, context.output);
        return kExitFound;
    }
    const ImportedText imported =
        service.textFromFile(path, allFiles, useOCR, kNoLengthLimit, progress.handler());
    progress.clear();
    if (imported.error) return fail(imported.error->what());
    if (arguments.has("words")) {
        WordCounter counter;
        ImportTextTools::countWords(imported.text.value_or(""), counter);
        print(counter.take().counts(), context.output);
    } else {
        context.output.append(imported.text.value_or(""));
    }
    return kExitFound;
}

}  // namespace kestrix::cli
