// Writes result lists to files.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/error.h"
#include "base/main_queue.h"
#include "base/operation_queue.h"
#include "platform/stored_file.h"
#include "results/result_lines.h"
#include "results/ui_node.h"

namespace kestrix {

// One exported file being written. What stood in its place stays until commit, which replaces it by the whole
// list; without commit nothing has changed. One thread. Every operation throws Error when the disk fails.
class ExportFile {
  public:
    // Writes the header.
    ExportFile(const std::string& path, ResultLinesFormat format);

    void add(const SearchResult& record, std::string_view kind);
    void commit();

  private:
    void writeGathered();

    FileReplacement file_;
    ResultLines lines_;
    std::string gathered_;
};

// Exports a list that is in memory without holding up the main queue, and keeps what the panel shows that
// asks where to. Whoever writes results as they are found uses an ExportFile itself.
class ResultsExporter {
  public:
    using Format = ResultLinesFormat;
    // Without an error the file is complete.
    using Completion = std::function<void(const std::optional<Error>&)>;

    // The main queue outlives this.
    explicit ResultsExporter(MainQueue& mainQueue);

    Format currentFormat() const { return currentFormat_; }
    void setCurrentFormat(Format format) { currentFormat_ = format; }
    // "txt" or "csv", and back.
    static std::string_view fileNameExtension(Format format);
    static std::optional<Format> formatForExtension(std::string_view extension);
    // The file name with the extension of the current format in place of the other's, or added.
    std::string updateFileNameExtension(std::string_view fileName) const;

    // Writes the nodes in their order on a background queue; the completion is called on the main queue. Ends
    // of the exporter wait for files that are being written.
    void exportResults(Format format, UINodes results, std::string output, Completion completion);

  private:
    MainQueue& mainQueue_;
    Format currentFormat_ = Format::text;
    SerialQueue queue_{"Export"};
};

}  // namespace kestrix
