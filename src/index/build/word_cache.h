// The words of documents on their way into a catalog.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "import/word_list.h"
#include "index/lmdb/simple_lmdb.h"
#include "index/word_container.h"

namespace kestrix {

// Gathers which documents hold which words, and puts them into the containers of a catalog. Each container
// that is touched is written whole, so the more is gathered the less is written: postings are kept as the
// difference from the document before and the count, in groups of seven bits, which is two bytes for most.
// One thread.
class WordCache {
  public:
    static constexpr std::size_t kMostBytes = 48 << 20;
    static constexpr std::size_t kMostWords = 100'000;

    // So often does the document hold the word; said again, it adds up. A word that is too long for a key is
    // left out.
    void add(FSItemID document, std::string_view word, std::uint32_t ocurrences);

    bool isEmpty() const { return words_.empty(); }
    bool isFull() const { return words_.size() > kMostWords || bytes_ >= kMostBytes; }

    // So full that it must be emptied in the middle of a folder, or of a document.
    bool isOverfull() const { return words_.size() > 2 * kMostWords || bytes_ >= kMostBytes / 4 * 5; }

    // Hands over the containers of all words, in key order and in parts of some megabytes, each as writes
    // that live as long as the call; `isLast` comes with the last part, also if it is empty. The cache is
    // empty afterwards. Must not be called with a lock of the file held.
    using TakeWrites = std::function<void(std::span<const SimpleLMDB::Write> writes, bool isLast)>;
    void drain(const SimpleLMDB& db, const DeadDocuments& dead, const TakeWrites& take);

  private:
    struct Postings {
        std::string bytes;
        FSItemID last = kNoParent;  // the document of the last one
    };
    using Words = std::unordered_map<std::string, Postings, WordHash, std::equal_to<>>;

    Postings& postingsOf(std::string_view word);
    static void unpack(const Postings& postings, std::vector<WordCount>& counts);

    Words words_;
    std::size_t bytes_ = 0;
};

}  // namespace kestrix
