#include "import/word_list.h"

#include <limits>
#include <new>

#include "base/bytes.h"

namespace kestrix {
namespace {

constexpr std::size_t kFirstPlaces = 4096;

std::uint32_t hashOf(std::string_view word) {
    return static_cast<std::uint32_t>(WordHash{}(word));
}

std::uint32_t sumOf(std::uint32_t a, std::uint32_t b) {
    constexpr auto kMost = std::numeric_limits<std::uint32_t>::max();
    return b > kMost - a ? kMost : a + b;
}

}  // namespace

std::optional<WordList> WordList::fromBytes(std::string bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        const auto count = safeValueAndIncrement<std::uint32_t>(bytes, at);
        const auto length = safeValueAndIncrement<std::uint32_t>(bytes, at);
        if (!count || *count == 0 || !length || *length == 0 || *length > bytes.size() - at)
            return std::nullopt;
        at += *length;
    }
    WordList list;
    list.bytes_ = std::move(bytes);
    return list;
}

WordCounts WordList::counts() const {
    WordCounts counts;
    forEach([&counts](std::string_view word, std::uint32_t count) {
        std::uint32_t& known = counts[std::string(word)];
        known = sumOf(known, count);
    });
    return counts;
}

void WordCounter::count(std::string_view word, std::uint32_t times) {
    if (2 * words_ >= places_.size()) grow();
    const std::uint32_t hash = hashOf(word);
    Place& place = placeOf(word, hash);
    std::string& bytes = list_.bytes_;
    if (place.entry != kFree) {
        const std::uint32_t sum = sumOf(list_.countAt(place.entry), times);
        std::memcpy(bytes.data() + place.entry, &sum, sizeof sum);
        return;
    }
    if (bytes.size() + WordList::kHead + word.size() >= kFree) throw std::bad_alloc();
    place = {hash, static_cast<std::uint32_t>(bytes.size())};
    ++words_;
    appendValue(bytes, times);
    appendValue(bytes, static_cast<std::uint32_t>(word.size()));
    bytes += word;
}

// The word's place, or the free one that it may take.
WordCounter::Place& WordCounter::placeOf(std::string_view word, std::uint32_t hash) {
    for (std::size_t at = hash;; ++at) {
        Place& place = places_[at & (places_.size() - 1)];
        if (place.entry == kFree) return place;
        if (place.hash == hash && list_.wordAt(place.entry) == word) return place;
    }
}

void WordCounter::grow() {
    const std::vector<Place> before =
        std::exchange(places_, std::vector<Place>(places_.empty() ? kFirstPlaces : 2 * places_.size()));
    for (const Place& taken : before) {
        if (taken.entry != kFree) placeOf(list_.wordAt(taken.entry), taken.hash) = taken;
    }
}

WordList WordCounter::take() {
    words_ = 0;
    places_.clear();
    return std::exchange(list_, {});
}

}  // namespace kestrix
