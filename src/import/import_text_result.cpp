#include "import/import_text_result.h"

namespace kestrix {
namespace {

void append(std::string& all, const std::optional<std::vector<Page>>& pages) {
    if (!pages) return;
    for (const Page& page : *pages) {
        if (!all.empty() && all.back() != '\n') all += '\n';
        all += page.text;
    }
}

bool hasPages(const std::optional<std::vector<Page>>& pages) {
    return pages && !pages->empty();
}

}  // namespace

std::optional<std::string> ImportTextResult::allText(bool useOCR) const {
    const bool withRecognised = useOCR && hasPages(ocrText);
    if (!hasPages(text) && !withRecognised) return std::nullopt;
    std::string all;
    append(all, text);
    if (withRecognised) append(all, ocrText);
    return all;
}

}  // namespace kestrix
