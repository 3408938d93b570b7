// Any bytes tokenise; the words lie in order within the line and are told apart by place and text.
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
    // No two words are the same, which the matching of sentences relies on.
    SentenceComponents once = words;
    appendNewWords(once, words);
    SentenceComponents distinct;
    appendNewWords(distinct, words);
    if (once.size() != words.size() || distinct.size() != words.size()) std::abort();
    if (!without(words, words).empty()) std::abort();
    expandedQuotedItems(words);
    return 0;
}
