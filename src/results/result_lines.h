// The lines of an exported list: tab-delimited text or comma-separated values.
//
// UTF-8, a header line, then one line a result, each ended by a new line. Columns: name, path, size in bytes,
// date of modification, date of creation, kind, name of the folder that holds it. They are separated by one
// tab in text, and in csv by a comma and a blank. Dates are in the short form of the user's locale with
// commas replaced by blanks, empty where not known. In csv a value that holds a comma stands in double
// quotes, and quotes within a value are left as they are. Nothing else is altered, so a tab in a name adds a
// field to a line of text.
#pragma once

#include <string>
#include <string_view>

#include "base/text_dates.h"
#include "files/search_result.h"

namespace kestrix {

enum class ResultLinesFormat { text, csv };

// The only writer of this form. One thread.
class ResultLines {
  public:
    // Appends bytes so that whoever reads them can bear them.
    using AppendValue = void (*)(std::string& line, std::string_view bytes);

    // Without a way of appending, bytes that are no UTF-8 become U+FFFD.
    explicit ResultLines(ResultLinesFormat format, AppendValue appendValue = nullptr);

    void appendHeader(std::string& out) const;
    // `kind` is the text of the record's kind.
    void appendLine(std::string& out, const SearchResult& record, std::string_view kind);

  private:
    void appendColumn(std::string& out, std::string_view value) const;

    AppendValue appendValue_;
    bool quotesCommas_;
    std::string_view separator_;
    text::ShortDates dates_;
};

}  // namespace kestrix
