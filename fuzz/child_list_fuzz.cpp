// Any bytes read as a child list, a dead list and a word container; what was read is written so that it reads
// the same again.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "index/records.h"
#include "index/word_container.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace kestrix;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto children = unpackChildList(bytes);
    if (unpackChildList(packChildList(children)) != children) std::abort();
    const std::string dead = packDeadList(unpackDeadList(bytes));
    if (packDeadList(unpackDeadList(dead)) != dead) std::abort();

    auto word = WordContainer::fromData("word", std::string(bytes));
    const auto documents = word.documentIDs();
    auto stored = WordContainer::fromData("word", word.dataToStore());
    if (stored.documentIDs() != documents) std::abort();

    const FSItemID last = documents.empty() ? 0 : documents.rbegin()->first;
    if (last > kLastUsableID - 300) return 0;
    const WordCount added[] = {{last + 1, 1}, {last + 300, 2}};
    auto extended = WordContainer::fromData("word", extendedWordContainer(bytes, added, {}));
    for (const WordCount& count : added)
        word.add(count.document, count.ocurrences);
    if (extended.documentIDs() != word.documentIDs()) std::abort();
    return 0;
}
