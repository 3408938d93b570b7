// The words of any bytes: each keeps the rules for words, and counting gives as many as listing.
#include <cstdlib>
#include <numeric>

#include "base/text.h"
#include "base/text_charset.h"
#include "base/text_words.h"
#include "import/import_text_tools.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    using namespace kestrix;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto words = ImportTextTools::wordsFromText(bytes);
    for (const std::string& word : words) {
        if (word.empty() || text::characterCount(word) > text::kLongestWord) std::abort();
        if (text::trimmed(word) != word) std::abort();
    }
    WordCounter counter;
    ImportTextTools::countWords(bytes, counter);
    const WordCounts counts = counter.take().counts();
    const auto total = std::accumulate(counts.begin(), counts.end(), std::size_t{0},
                                       [](std::size_t sum, const auto& row) { return sum + row.second; });
    if (total != words.size()) std::abort();
    if (!text::isValidUtf8(text::decodedFromMacRoman(bytes))) std::abort();
    return 0;
}
