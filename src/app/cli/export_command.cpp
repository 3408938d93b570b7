// What a line finds, as a file.
#include "app/cli/commands.h"
#include "app/cli/display_text.h"
#include "app/cli/find_run.h"
#include "base/path.h"
#include "base/text.h"

namespace kestrix::cli {
namespace {

ResultLinesFormat formatOf(const Arguments& arguments, std::string_view path) {
    if (const auto named = arguments.value("format")) {
        return *named == "csv" ? ResultLinesFormat::csv : ResultLinesFormat::text;
    }
    const auto format = ResultsExporter::formatForExtension(text::lowered(path::extension(path)));
    if (format) return *format;
    throw UsageError("--to: " + inQuotes(path) +
                     " ends neither in .csv nor in .txt; add --format csv or text");
}

}  // namespace

int runExport(const Arguments& arguments, CommandContext& context) {
    const auto path = arguments.value("to");
    if (!path || arguments.words.empty()) {
        throw UsageError("export needs a line and a file, such as: kestrix export report --to reports.csv");
    }
    FindRequest request = resolveFind(arguments);
    request.exportTo = ExportTarget{std::string(*path), formatOf(arguments, *path)};
    return FindRun(context, std::move(request)).run();
}

}  // namespace kestrix::cli
