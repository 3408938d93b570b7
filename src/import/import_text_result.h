// What an importer makes of a document.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kestrix {

// One page of a document, UTF-8; a document without pages is one page.
struct Page {
    std::string text;
};

struct ImportTextResult {
    std::optional<std::vector<Page>> text;     // what the document says of itself
    std::optional<std::vector<Page>> ocrText;  // what was recognised in pictures; one per page of `text`

    // All pages as one string, each on a line of its own: those of `text` and, with `useOCR`, those of
    // `ocrText` behind them. Nothing if there are no pages.
    std::optional<std::string> allText(bool useOCR) const;
};

}  // namespace kestrix
