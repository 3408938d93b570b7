// Writes found files in one of the forms of the command line.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "app/cli/output_writer.h"
#include "base/text_dates.h"
#include "files/search_result.h"

namespace kestrix::cli {

enum class Form { path, longForm, json, csv, text };

// "path", "long", "json", "csv", "text".
Form formNamed(std::string_view name);
// Whether the form shows sizes or dates.
bool needsAttributes(Form form);

// The kind of a result in words: "Folder", "PDF file", "File".
std::string kindOf(const SearchResult& result);

struct PrintStyle {
    Form form = Form::path;
    bool nulEnds = false;                    // paths end with NUL and are printed as they are
    bool terminal = false;                   // what is printed must be safe for a terminal
    std::vector<std::string> markedWords{};  // lower case; marked in names of the path and the long form
};

// One thread. The path and the long form give a path's true bytes unless the style says that a terminal
// reads them; the others are always valid UTF-8.
class ResultPrinter {
  public:
    ResultPrinter(OutputWriter& output, PrintStyle style);

    // The line above all results, where the form has one.
    void printHeader();
    void print(const SearchResult& result);

  private:
    void printLong(const SearchResult& result);
    void printColumns(const SearchResult& result);
    void printColumn(std::string_view value);
    void printPath(std::string_view path);
    void printForTerminal(std::string_view path);

    OutputWriter& output_;
    PrintStyle style_;
    std::string scratch_;
    text::ShortDates dates_;
};

}  // namespace kestrix::cli
