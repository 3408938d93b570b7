// Where the batches of all sources wait for the merge.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "base/clock.h"
#include "files/search_result.h"

namespace kestrix {

struct SearchTiming;

// A stretch of one batch. Batches stay whole however many slices they are spread over, so no record is moved
// before it is judged.
struct MergePiece {
    std::shared_ptr<std::vector<SearchResult>> batch;
    std::size_t first = 0;
    std::size_t last = 0;  // one past the end
};

// What one worker judges in one go.
struct MergeSlice {
    std::vector<MergePiece> pieces;
    std::size_t count = 0;
};

// Many threads append, one takes. Order: by arrival, but urgent batches come first, the latest of them
// foremost.
class MergeQueue {
  public:
    // Enough to make the hand-over between threads cheap, few enough to keep three workers busy.
    static constexpr std::size_t kSliceItems = 256;

    MergeQueue(Clock& clock, const SearchTiming& timing);

    // Never waits for the taker. Nothing is kept once the queue has been stopped.
    void append(std::vector<SearchResult> batch, bool urgent);

    // Nothing more is expected; a batch that comes all the same within the grace period is still taken.
    void sourcesHaveEnded();
    // The taker is let go at once.
    void stop();

    // Waits for batches and takes everything that is there, cut into slices. Empty when the queue has been
    // stopped, or when the sources have ended and the grace period has passed without an arrival.
    std::vector<MergeSlice> takeAll();

    // Items that have been appended and not reported as judged.
    std::int64_t itemsWaiting() const { return itemsWaiting_; }
    void judged(std::size_t items) { itemsWaiting_ -= static_cast<std::int64_t>(items); }

  private:
    using Batch = std::shared_ptr<std::vector<SearchResult>>;

    bool waitForArrivals(std::unique_lock<std::mutex>& held);
    void gather(std::unique_lock<std::mutex>& held);
    void wakeTakerFrom(std::unique_lock<std::mutex>& held, std::size_t items, SteadyTime until);

    Clock& clock_;
    const SearchTiming& timing_;
    std::mutex mutex_;
    std::condition_variable wakeup_;
    std::deque<Batch> batches_;
    std::size_t queued_ = 0;    // items in batches_
    std::size_t wakeFrom_ = 0;  // the taker sleeps until so many items are queued; 0: it is not asleep
    bool ended_ = false;
    bool stopped_ = false;
    SteadyTime lastTake_ = SteadyTime::min();
    std::atomic<std::int64_t> itemsWaiting_ = 0;
};

// Cuts batches into slices of at most `limit` items, in order: a long batch is spread over several slices,
// short ones share one.
std::vector<MergeSlice> cutIntoSlices(const std::deque<std::shared_ptr<std::vector<SearchResult>>>& batches,
                                      std::size_t limit);

}  // namespace kestrix
