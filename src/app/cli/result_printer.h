// Writes found files in one of the forms of the command line.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/cli/output_writer.h"
#include "files/search_result.h"
#include "results/kind_texts.h"
#include "results/result_lines.h"
#include "results/ui_node.h"

namespace kestrix::cli {

enum class Form { path, longForm, json, csv, text };

// "path", "long", "json", "csv", "text".
Form formNamed(std::string_view name);
// Whether the form shows sizes or dates.
bool needsAttributes(Form form);

struct PrintStyle {
    Form form = Form::path;
    bool nulEnds = false;                    // paths end with NUL and are printed as they are
    bool terminal = false;                   // what is printed must be safe for a terminal
    bool summary = false;                    // summary lines stand under their path
    std::vector<std::string> markedWords{};  // lower case; marked in names of the path and the long form
    bool marksContent = false;               // found words are marked in summary lines
};

// One thread. The path and the long form give a path's true bytes unless the style says that a terminal
// reads them; the others are always valid UTF-8.
class ResultPrinter {
  public:
    // The kinds outlive this.
    ResultPrinter(OutputWriter& output, PrintStyle style, const KindTexts& kinds);

    // The line above all results, where the form has one.
    void printHeader();
    void print(const SearchResult& result);
    // The same, and if the style says so the rows under it.
    void print(const UINode& node);

  private:
    void printLong(const SearchResult& result);
    void printJson(const SearchResult& result);
    void printPath(std::string_view path);
    void printForTerminal(std::string_view path);
    void printSummary(const UINode& line);
    void appendMarked(std::string_view text, const std::vector<std::string>& loweredWords);

    OutputWriter& output_;
    PrintStyle style_;
    const KindTexts& kinds_;
    std::optional<ResultLines> lines_;  // of csv and text
    std::string scratch_;
};

}  // namespace kestrix::cli
