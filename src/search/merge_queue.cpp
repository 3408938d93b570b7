// The taker is woken by arrivals, and that must not become the price of the merge: a walk hands over a few
// names per folder, and waking a thread costs more than judging them. So the first arrival after a pause
// wakes the taker at once, and after each take it lets arrivals gather until they fill a slice or a short
// while has passed. A slow trickle costs some hundred wake-ups a second, a flood one per slice.

#include "search/merge_queue.h"

#include <algorithm>
#include <utility>

#include "search/search_manager.h"

namespace kestrix {

MergeQueue::MergeQueue(Clock& clock, const SearchTiming& timing) : clock_(clock), timing_(timing) {}

void MergeQueue::append(std::vector<SearchResult> batch, bool urgent) {
    const std::size_t count = batch.size();
    auto shared = std::make_shared<std::vector<SearchResult>>(std::move(batch));
    bool wake = false;
    {
        std::lock_guard hold(mutex_);
        if (stopped_) return;
        if (urgent) {
            batches_.push_front(std::move(shared));
        } else {
            batches_.push_back(std::move(shared));
        }
        queued_ += count;
        itemsWaiting_ += static_cast<std::int64_t>(count);
        wake = wakeFrom_ > 0 && queued_ >= wakeFrom_;
        if (wake) wakeFrom_ = 0;  // one wake-up is enough
    }
    if (wake) wakeup_.notify_one();
}

void MergeQueue::sourcesHaveEnded() {
    {
        std::lock_guard hold(mutex_);
        ended_ = true;
    }
    wakeup_.notify_one();
}

void MergeQueue::stop() {
    {
        std::lock_guard hold(mutex_);
        stopped_ = true;
    }
    wakeup_.notify_one();
}

std::vector<MergeSlice> MergeQueue::takeAll() {
    std::deque<Batch> taken;
    {
        std::unique_lock held(mutex_);
        gather(held);
        if (!waitForArrivals(held)) return {};
        taken.swap(batches_);
        queued_ = 0;
        lastTake_ = clock_.steadyNow();
    }
    return cutIntoSlices(taken, kSliceItems);
}

void MergeQueue::gather(std::unique_lock<std::mutex>& held) {
    if (lastTake_ == SteadyTime::min() || timing_.gather <= Seconds(0)) return;
    wakeTakerFrom(held, kSliceItems, later(lastTake_, timing_.gather));
}

// Whether there is something to take. The look at the queue and the look at the end of the sources happen
// under one lock, so a batch that was appended before the end is never missed, even without a grace period.
bool MergeQueue::waitForArrivals(std::unique_lock<std::mutex>& held) {
    while (!stopped_ && batches_.empty() && !ended_) {
        wakeTakerFrom(held, 1, later(clock_.steadyNow(), timing_.poll));
    }
    if (!stopped_ && batches_.empty() && timing_.grace > Seconds(0)) {
        const SteadyTime limit = later(clock_.steadyNow(), timing_.grace);
        clock_.waitUntil(held, wakeup_, limit, [this] {
            wakeFrom_ = 1;
            return stopped_ || !batches_.empty();
        });
        wakeFrom_ = 0;
    }
    return !stopped_ && !batches_.empty();
}

void MergeQueue::wakeTakerFrom(std::unique_lock<std::mutex>& held, std::size_t items, SteadyTime until) {
    clock_.waitUntil(held, wakeup_, until, [this, items] {
        wakeFrom_ = items;
        return stopped_ || ended_ || queued_ >= items;
    });
    wakeFrom_ = 0;
}

std::vector<MergeSlice> cutIntoSlices(const std::deque<std::shared_ptr<std::vector<SearchResult>>>& batches,
                                      std::size_t limit) {
    std::vector<MergeSlice> slices;
    for (const auto& batch : batches) {
        for (std::size_t first = 0; first < batch->size();) {
            if (slices.empty() || slices.back().count == limit) slices.emplace_back();
            MergeSlice& slice = slices.back();
            const std::size_t last = std::min(batch->size(), first + (limit - slice.count));
            slice.pieces.push_back({batch, first, last});
            slice.count += last - first;
            first = last;
        }
    }
    return slices;
}

}  // namespace kestrix
