#include "results/results_exporter.h"

#include <utility>

#include "base/path.h"

namespace kestrix {
namespace {

constexpr std::size_t kWrittenAtOnce = std::size_t{256} * 1024;

}  // namespace

ExportFile::ExportFile(const std::string& path, ResultLinesFormat format)
    : file_(path, FileReplacement::Owner::user), lines_(format) {
    lines_.appendHeader(gathered_);
}

void ExportFile::add(const SearchResult& record, std::string_view kind) {
    lines_.appendLine(gathered_, record, kind);
    if (gathered_.size() >= kWrittenAtOnce) writeGathered();
}

void ExportFile::commit() {
    writeGathered();
    file_.commit();
}

void ExportFile::writeGathered() {
    file_.write(gathered_);
    gathered_.clear();
}

ResultsExporter::ResultsExporter(MainQueue& mainQueue) : mainQueue_(mainQueue) {}

std::string_view ResultsExporter::fileNameExtension(Format format) {
    return format == Format::csv ? "csv" : "txt";
}

std::optional<ResultsExporter::Format> ResultsExporter::formatForExtension(std::string_view extension) {
    for (const Format format : {Format::text, Format::csv}) {
        if (extension == fileNameExtension(format)) return format;
    }
    return std::nullopt;
}

std::string ResultsExporter::updateFileNameExtension(std::string_view fileName) const {
    const std::string_view extension = path::extension(fileName);
    if (formatForExtension(extension)) fileName.remove_suffix(extension.size() + 1);
    return std::string(fileName).append(".").append(fileNameExtension(currentFormat_));
}

void ResultsExporter::exportResults(Format format, UINodes results, std::string output,
                                    Completion completion) {
    queue_.add([&queue = mainQueue_, format, results = std::move(results), output = std::move(output),
                completion = std::move(completion)] {
        std::optional<Error> failure;
        try {
            ExportFile file(output, format);
            for (const UINodePtr& node : results)
                file.add(node->record(), node->displayKind());
            file.commit();
        } catch (const Error& error) {
            failure = error;
        }
        queue.post([completion, failure = std::move(failure)] { completion(failure); });
    });
}

}  // namespace kestrix
