#include "files/search_results_bucket.h"

#include <iterator>
#include <utility>

namespace kestrix {

namespace {

SteadyTime::duration asTicks(Seconds seconds) {
    return std::chrono::duration_cast<SteadyTime::duration>(seconds);
}

// How long ago beyond the interval a new bucket says it was emptied; anything above zero would do.
constexpr Seconds kOverdue = Seconds(0.5);

}  // namespace

SearchResultsBucket::SearchResultsBucket(Clock& clock, Seconds interval)
    : clock_(clock), interval_(interval), lastFlush_(clock.steadyNow() - asTicks(interval + kOverdue)) {}

void SearchResultsBucket::add(SearchResult result) {
    items_.push_back(std::move(result));
}

void SearchResultsBucket::add(std::vector<SearchResult> results) {
    items_.insert(items_.end(), std::make_move_iterator(results.begin()),
                  std::make_move_iterator(results.end()));
}

bool SearchResultsBucket::isTimeToEmpty() const {
    return clock_.steadyNow() - lastFlush_ > asTicks(interval_);
}

// The bucket keeps its room: it fills to much the same height again until the next update.
std::vector<SearchResult> SearchResultsBucket::empty() {
    std::vector<SearchResult> taken(std::make_move_iterator(items_.begin()),
                                    std::make_move_iterator(items_.end()));
    items_.clear();
    lastFlush_ = clock_.steadyNow();
    return taken;
}

}  // namespace kestrix
