// The queue on which all state of the user interface lives.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <source_location>
#include <string>

#include "base/clock.h"

namespace kestrix {

// Blocks posted here run one at a time, in the order of their due times, and never inside post.
// Threads: post, postAfter and cancel from any thread; the blocks run on the one thread that serves the
// queue.
class MainQueue {
  public:
    using Block = std::function<void()>;
    using Ticket = std::uint64_t;

    virtual ~MainQueue() = default;

    // Runs the block as soon as the ones before it have run.
    virtual void post(Block block) = 0;

    // Runs the block when `delay` has passed. The ticket takes it back with cancel.
    virtual Ticket postAfter(Seconds delay, Block block) = 0;

    // Drops a delayed block if it has not started; unknown tickets are ignored.
    virtual void cancel(Ticket ticket) = 0;
};

// A main queue that is served by whichever thread calls run. The command line runs it on its main thread;
// tests run it where they stand.
class RunLoop : public MainQueue {
  public:
    explicit RunLoop(Clock& clock = Clock::system()) : clock_(clock) {}

    void post(Block block) override;
    Ticket postAfter(Seconds delay, Block block) override;
    void cancel(Ticket ticket) override;

    // Serves blocks on this thread until quit is called. What was posted before quit and is due still runs.
    void run();

    // Runs everything that is due now, and what that posts without delay, then returns.
    void runPending();

    // Makes run return. Any thread; a later run serves again.
    void quit();

  private:
    // All three with mutex_ held; serveDue lets go of it around each block.
    void serveDue(std::unique_lock<std::mutex>& hold, bool endsWithQuit);
    bool takeDue(Block& block, Ticket before);
    SteadyTime earliest() const;

    Clock& clock_;
    std::mutex mutex_;
    std::condition_variable wakeup_;
    // Keyed by due time, then ticket, so that equal times keep their order of posting.
    std::map<std::pair<SteadyTime, Ticket>, Block> blocks_;
    Ticket nextTicket_ = 1;
    bool quit_ = false;
    Ticket firstAfterQuit_ = 0;  // what was posted since quit was called waits for the next run
};

// Delayed calls on a main queue, keyed by the place in the source that asks for them.
// Threads: any. Lives no longer than its main queue; what has not run when it ends never runs.
class GCDAdditions {
  public:
    explicit GCDAdditions(MainQueue& queue);
    ~GCDAdditions();
    GCDAdditions(const GCDAdditions&) = delete;
    GCDAdditions& operator=(const GCDAdditions&) = delete;

    // Runs the block after the delay. A second call from the same source file and line cancels the first if
    // that has not run yet.
    void cancelPreviousThenPerform(Seconds afterDelay, MainQueue::Block block,
                                   std::source_location where = std::source_location::current());

    // Runs the block after the delay; never cancels another.
    void perform(Seconds afterDelay, MainQueue::Block block);

    // Takes back everything that has not run.
    void cancelAll();

  private:
    struct State;
    void postCall(std::uint64_t call, Seconds afterDelay, MainQueue::Block block);

    MainQueue& queue_;
    std::shared_ptr<State> state_;
};

}  // namespace kestrix
