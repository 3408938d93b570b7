#include "index/build/word_cache.h"

#include <algorithm>

namespace kestrix {

namespace {

// LMDB's longest key, less the letter in front.
constexpr std::size_t kLongestKey = 510;

// What an entry costs beside its word and postings.
constexpr std::size_t kBytesPerWord = 96;

// Of values in one transaction: its pages lie in memory until they are written.
constexpr std::size_t kBytesPerPart = 24 << 20;
// Words looked up under one reader's lock.
constexpr std::size_t kWordsPerLook = 2048;

void appendNumber(std::string& bytes, std::uint32_t number) {
    for (; number >= 0x80; number >>= 7)
        bytes.push_back(static_cast<char>(number | 0x80));
    bytes.push_back(static_cast<char>(number));
}

std::uint32_t numberAt(std::string_view bytes, std::size_t& at) {
    std::uint32_t number = 0;
    for (unsigned shift = 0;; shift += 7) {
        const auto byte = static_cast<unsigned char>(bytes[at++]);
        number |= static_cast<std::uint32_t>(byte & 0x7F) << shift;
        if (byte < 0x80) return number;
    }
}

}  // namespace

// A document before the last one wraps round, and back again when it is read.
void WordCache::add(FSItemID document, std::string_view word, std::uint32_t ocurrences) {
    if (word.empty() || word.size() > kLongestKey) return;
    Postings& postings = postingsOf(word);
    const std::size_t before = postings.bytes.capacity();
    appendNumber(postings.bytes, document - postings.last);
    appendNumber(postings.bytes, ocurrences);
    postings.last = document;
    bytes_ += postings.bytes.capacity() - before;
}

WordCache::Postings& WordCache::postingsOf(std::string_view word) {
    const auto known = words_.find(word);
    if (known != words_.end()) return known->second;
    bytes_ += kBytesPerWord + word.size();
    return words_[std::string(word)];
}

void WordCache::unpack(const Postings& postings, std::vector<WordCount>& counts) {
    counts.clear();
    FSItemID document = kNoParent;
    for (std::size_t at = 0; at < postings.bytes.size();) {
        const std::uint32_t difference = numberAt(postings.bytes, at);
        const std::uint32_t ocurrences = numberAt(postings.bytes, at);
        document += difference;
        // A long document tells of a word several times.
        if (difference == 0 && !counts.empty()) {
            counts.back().ocurrences += ocurrences;
        } else {
            counts.push_back({document, ocurrences});
        }
    }
}

void WordCache::drain(const SimpleLMDB& db, const DeadDocuments& dead, const TakeWrites& take) {
    std::vector<const Words::value_type*> sorted;
    sorted.reserve(words_.size());
    for (const auto& entry : words_)
        sorted.push_back(&entry);
    std::ranges::sort(sorted, {}, [](const auto* entry) -> const std::string& { return entry->first; });
    std::vector<WordCount> counts;
    for (std::size_t next = 0; next < sorted.size() || next == 0;) {
        std::vector<std::pair<std::string, std::string>> part;
        std::size_t bytes = 0;
        while (next < sorted.size() && bytes < kBytesPerPart) {
            const std::size_t end = std::min(sorted.size(), next + kWordsPerLook);
            db.read([&](const SimpleLMDB::Snapshot& snapshot) {
                for (; next < end && bytes < kBytesPerPart; ++next) {
                    std::string key = "W" + sorted[next]->first;
                    unpack(sorted[next]->second, counts);
                    std::string value = extendedWordContainer(snapshot.get(key), counts, dead);
                    bytes += key.size() + value.size();
                    part.emplace_back(std::move(key), std::move(value));
                }
            });
        }
        std::vector<SimpleLMDB::Write> writes;
        writes.reserve(part.size());
        for (const auto& [key, value] : part)
            writes.push_back({key, value});
        take(writes, next == sorted.size());
        if (next == sorted.size()) break;
    }
    words_.clear();
    bytes_ = 0;
}

}  // namespace kestrix
