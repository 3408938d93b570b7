// Finding words in a text and making lines around them, against the slow twins. The first byte says how, the
// second where the input is cut into word and text.
#include <cstdlib>
#include <string>

#include "base/text.h"
#include "search/content_text.h"
#include "search/content_words.h"
#include "tests/base/text_twin.h"
#include "tests/search/content_twin.h"

namespace {

using namespace kestrix;

void demand(bool holds) {
    if (!holds) std::abort();
}

void check(std::string_view word, std::string_view text, bool ignoreCase, bool wholeWords) {
    const text::TextFinder finder(
        word, ignoreCase ? text::TextFinder::Case::ignored : text::TextFinder::Case::exact);
    text::TextFinder::Occurrences search(finder, text);
    const auto expected = occurrencesSlowly(text, word, ignoreCase);
    for (const text::Stretch& stretch : expected) {
        demand(search.next() == stretch);
    }
    demand(!search.next());
    demand(finder.isIn(text) == !expected.empty());
    finder.isInMacRoman(text);

    // Lines are made of valid texts alone.
    const std::string valid = text::displayable(text);
    const ContentWords words(searchWordParts(word), {},
                             {.caseSensitive = !ignoreCase, .wholeWords = wholeWords});
    const auto found = words.findIn(valid, true);
    if (!found) return;
    std::int64_t count = 0;
    for (const auto& [sought, places] : found->places) {
        count += static_cast<std::int64_t>(places.size());
        const auto lines = summary(valid, places);
        demand(lines.size() <= kMostSummaryLines && lines.size() <= places.size());
        for (const std::string& line : lines) {
            demand(text::isValidUtf8(line));
        }
        if (!places.empty() && valid.size() < 512)
            demand(lines.front() == summaryLineSlowly(valid, places.front().location));
    }
    demand(count == found->count && count > 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    if (size < 2) return 0;
    const std::string_view rest(reinterpret_cast<const char*>(data) + 2, size - 2);
    const std::size_t cut = data[1] % 32U;
    if (cut > rest.size()) return 0;
    check(rest.substr(0, cut), rest.substr(cut), (data[0] & 1U) != 0, (data[0] & 2U) != 0);
    return 0;
}
