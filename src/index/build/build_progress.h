// What the list of activities says of a build.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/clock.h"
#include "shell/activity.h"

namespace kestrix {

// Stands in the list from its making to its end; tells how many files were seen a few times a second.
// One thread. Does nothing without a list.
class BuildProgress {
  public:
    // `expected`: the files seen by the last finished build. `cancel` is called from the list.
    BuildProgress(ActivityController* activities, Clock& clock, const std::string& catalogName,
                  std::optional<std::int64_t> expected, std::function<void()> cancel);
    ~BuildProgress();
    BuildProgress(const BuildProgress&) = delete;
    BuildProgress& operator=(const BuildProgress&) = delete;

    void seen(std::int64_t files);
    // The same, told at once.
    void tell(std::int64_t files);

  private:
    static constexpr Seconds kInterval{0.2};

    ActivityController* activities_;
    Clock& clock_;
    const std::optional<std::int64_t> expected_;
    std::shared_ptr<ActivityItem> item_;
    SteadyTime lastTold_;
};

}  // namespace kestrix
