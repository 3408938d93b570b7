// Runs the build of a catalog while a person watches.
#pragma once

#include <atomic>
#include <exception>
#include <memory>
#include <optional>
#include <string>

#include "app/cli/commands.h"
#include "app/cli/progress_line.h"
#include "base/operation_queue.h"
#include "index/content_index.h"
#include "platform/interrupts.h"

namespace kestrix::cli {

// The build runs on a thread of its own; the main thread serves the main queue and, on a terminal, shows how
// many files were seen, how fast, and how long it will take where the last build tells how many there are.
// Ctrl-C stops the build, which keeps what it has written. Make one for a command, before any thread is
// started; it may run several builds, one after the other.
class BuildWatch {
  public:
    explicit BuildWatch(CommandContext& context);

    struct Outcome {
        BuildOutcome build;
        double seconds = 0;
    };
    // A build of the catalog's target. Throws Error if it could not begin. A
    // fault on the way has been told by the alert of the application when this returns.
    Outcome run(const std::shared_ptr<ContentIndex>& index, ContentIndexMode mode);

    // The signal that came, if one did: nothing further is to be begun.
    std::optional<int> interruptedBy() const;

  private:
    void interrupted(int signal);
    void draw(SteadyTime started);

    CommandContext& context_;
    ProgressLine progress_;
    std::atomic<int> interruptedBy_ = 0;
    std::optional<MainQueue::Ticket> drawing_;
    InterruptWatcher interrupts_;
    OperationQueue builds_{1, "catalog build"};
};

}  // namespace kestrix::cli
