// The refreshes that the clock asks for, one catalog at a time. Internal to ContentIndexManager.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "base/clock.h"
#include "base/main_queue.h"
#include "base/operation_queue.h"
#include "index/content_index.h"

namespace kestrix {

// Threads: the main queue's, but for `stop`. The queue, the clock and the settings outlive it.
class TimedRefreshes : public std::enable_shared_from_this<TimedRefreshes> {
  public:
    // How often the time of day is looked at: more than once a minute, since hour and minute are compared.
    static constexpr Seconds kPeriod = Seconds(20);

    using Indexes = std::function<std::vector<std::shared_ptr<ContentIndex>>()>;

    TimedRefreshes(Preferences& preferences, Clock& clock, MainQueue& mainQueue, Indexes indexes);

    // From now on, every period: both operations below.
    void start();

    // If "fileContentCachingTimeUpdatesEnabled" is on, no pass is under way and it is the hour and minute of
    // "fileContentCachingUpdateTime", all catalogs are queued. That setting is text, "03:30", or a date in
    // seconds since 1970 of which the time of day counts; "fileContentCachingUpdateLastTime" keeps when the
    // last pass began, so that a minute starts one pass.
    void startScheduldedRefreshIfNeeded();
    // Refreshes the next queued catalog in the background, unless one is being refreshed.
    void performNext();

    // No further refresh is started. Any thread.
    void stop();

  private:
    void tick();

    Preferences& preferences_;
    Clock& clock_;
    MainQueue& mainQueue_;
    const Indexes indexes_;
    std::atomic<bool> stopped_ = false;
    std::vector<std::shared_ptr<ContentIndex>> timedRefreshIndexes_;  // the first one is next
    std::shared_ptr<ContentIndex> timedRefreshCurrentIndex_;
    OperationQueue operations_{1, "timed refreshes"};
};

}  // namespace kestrix
