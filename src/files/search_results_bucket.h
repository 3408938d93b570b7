// Gathers records between two updates of a display.
#pragma once

#include <vector>

#include "base/clock.h"
#include "files/search_result.h"

namespace kestrix {

// Belongs to the main queue; does no locking.
class SearchResultsBucket {
  public:
    // `interval`: how much time must pass between two updates.
    explicit SearchResultsBucket(Clock& clock = Clock::system(), Seconds interval = Seconds(0.5));

    void add(SearchResult result);
    void add(std::vector<SearchResult> results);

    // More than the interval has passed since the last `empty`. True for a new bucket: the first record is
    // not held up.
    bool isTimeToEmpty() const;

    // Hands all records over and notes the time, whether or not there were any.
    std::vector<SearchResult> empty();

    std::size_t count() const { return items_.size(); }

  private:
    Clock& clock_;
    Seconds interval_;
    std::vector<SearchResult> items_;
    SteadyTime lastFlush_;
};

}  // namespace kestrix
