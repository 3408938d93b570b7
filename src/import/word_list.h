// The words of a document and how often each stands there, in little memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kestrix {

struct WordHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view word) const { return std::hash<std::string_view>{}(word); }
};
// Word to number of occurrences.
using WordCounts = std::unordered_map<std::string, std::uint32_t, WordHash, std::equal_to<>>;

// For each word its count and its length, 32 bits each in native order, and its text; in no order. So it is
// counted, sent and walked through without another form in between. A word that is there twice has the sum.
class WordList {
  public:
    WordList() = default;
    // Nothing if the bytes, which may come from anywhere, are no such list; no word is empty or has no count.
    static std::optional<WordList> fromBytes(std::string bytes);

    const std::string& bytes() const { return bytes_; }
    std::string takeBytes() { return std::move(bytes_); }
    void add(const WordList& other) { bytes_ += other.bytes_; }

    // Calls `take` with each word, a view into this, and its count.
    template <typename Take>
    void forEach(Take take) const {
        for (std::size_t at = 0; at < bytes_.size();) {
            const std::string_view word = wordAt(at);
            take(word, countAt(at));
            at += kHead + word.size();
        }
    }
    WordCounts counts() const;

  private:
    friend class WordCounter;
    static constexpr std::size_t kHead = 2 * sizeof(std::uint32_t);

    std::uint32_t numberAt(std::size_t at) const {
        std::uint32_t number;
        std::memcpy(&number, bytes_.data() + at, sizeof number);
        return number;
    }
    std::uint32_t countAt(std::size_t at) const { return numberAt(at); }
    std::string_view wordAt(std::size_t at) const {
        return {bytes_.data() + at + kHead, numberAt(at + sizeof(std::uint32_t))};
    }

    std::string bytes_;
};

// Counts words. One thread.
class WordCounter {
  public:
    void count(std::string_view word, std::uint32_t times = 1);
    std::size_t words() const { return words_; }  // different ones
    // Leaves nothing behind.
    WordList take();

  private:
    // Open addressing: where the word's entry stands in the list, behind the first bits of its hash.
    struct Place {
        std::uint32_t hash = 0;
        std::uint32_t entry = kFree;
    };
    static constexpr std::uint32_t kFree = 0xFFFFFFFF;

    Place& placeOf(std::string_view word, std::uint32_t hash);
    void grow();

    WordList list_;
    std::vector<Place> places_;  // a power of two, at most half of them taken
    std::size_t words_ = 0;
};

}  // namespace kestrix
