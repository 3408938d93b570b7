// Any bytes tokenise, and the words lie in order within the line.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "base/text.h"
#include "language/sentence_component.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace kestrix;
    const std::string_view line(reinterpret_cast<const char*>(data), size);
    const auto words = SentenceComponent::parseWords(line);
    const std::size_t length = text::characterCount(line);
    std::size_t end = 0;
    for (const auto& word : words) {
        const auto [from, to] = word.position;
        if (word.textOriginalCase.empty() || from < end || to <= from || to > length) std::abort();
        end = to;
    }
    if (expandedQuotedItems(words).size() < words.size() && !compare(words, words)) std::abort();
    return 0;
}
