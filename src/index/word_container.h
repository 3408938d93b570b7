// Which documents hold one word, and how often: the value of a "W" key.
//
//     0    4  a, length of the next field, unsigned little-endian
//     4    a  document identifiers, ascending, differential, then storePacked (base/number_buffer.h)
//     4+a  4  b, length of the next field
//     8+a  b  how often, one unsigned 16-bit little-endian number a document, in the same order
//
// A reader pairs the two lists up to the shorter one.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "index/records.h"

namespace kestrix {

// One thread at a time.
class WordContainer {
  public:
    static constexpr std::uint16_t kMostOccurrences = 65'535;
    using DocumentIDs = std::map<FSItemID, std::uint16_t>;

    // One document, its count as it is, at most kMostOccurrences.
    WordContainer(std::string word, FSItemID firstDocumentID, std::uint64_t ocurrences);
    // What was read from a catalog, decoded when it is first needed.
    static WordContainer fromData(std::string word, std::string loadedData);

    const std::string& word() const { return word_; }

    // Decodes what was read, once. Bytes that make no sense end it with what was found so far.
    void load();

    // A document known here gets the sum. A new one gets one more than it says, which is how word counts have
    // always been kept beside the first document's. Never above kMostOccurrences.
    void add(FSItemID fileID, std::uint64_t ocurrences);
    void remove(FSItemID fileID);

    // Loaded first.
    const DocumentIDs& documentIDs();
    std::string dataToStore();

  private:
    explicit WordContainer(std::string word) : word_(std::move(word)) {}

    std::string word_;
    std::optional<std::string> loadedData_;
    DocumentIDs documentIDs_;
};

// The two lists of a container's bytes as they are; nothing if a length does not fit. For whoever only looks.
struct WordContainerLists {
    std::vector<FSItemID> documents;
    std::vector<std::uint16_t> counts;
};
std::optional<WordContainerLists> listsOfWordContainer(std::string_view bytes);

struct WordCount {
    FSItemID document = kNoParent;
    std::uint32_t ocurrences = 0;
};
// By identifier, whether the document was removed.
using DeadDocuments = std::vector<bool>;

// The bytes of a container after `added` were added to it one by one, removed documents taken out: what
// WordContainer would make of it. `stored`: the bytes so far; none: the word is new, and the first of `added`
// begins it. Documents behind the last one of a sound container are appended without decoding it: one pass
// over its bytes tells the sum of the differences and the last run.
std::string extendedWordContainer(std::optional<std::string_view> stored, std::span<const WordCount> added,
                                  const DeadDocuments& dead);

}  // namespace kestrix
