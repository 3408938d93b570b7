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

// A batch that comes into an empty bucket is the usual case where every arrival is shown at once: it passes
// through as it is.
void SearchResultsBucket::add(std::vector<SearchResult> results) {
    if (items_.empty()) {
        items_ = std::move(results);
        return;
    }
    items_.insert(items_.end(), std::make_move_iterator(results.begin()),
                  std::make_move_iterator(results.end()));
}

bool SearchResultsBucket::isTimeToEmpty() const {
    return clock_.steadyNow() - lastFlush_ > asTicks(interval_);
}

std::vector<SearchResult> SearchResultsBucket::empty() {
    lastFlush_ = clock_.steadyNow();
    return std::exchange(items_, {});
}

}  // namespace kestrix
