// Queues of operations on background threads.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <source_location>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "base/lock.h"

namespace kestrix {

using Operation = std::function<void()>;

// Runs operations in the order in which they were added, at most `maxConcurrent` at a time, on threads of its
// own that are made when first needed and kept until the queue ends. Threads: every operation may be called
// from any thread, waiting included, but an operation must not wait for its own queue. Failures: an operation
// must not throw; one that does is a programming error and ends the program. Destruction resumes a suspended
// queue, drops what has not started and waits for what has. An operation may hold the last reference to its
// own queue: the last worker then ends the queue's state by itself.
class OperationQueue {
  public:
    // Width without a limit: every operation that is added while all threads are busy gets a new one.
    static constexpr std::size_t kUnlimited = 0;

    explicit OperationQueue(std::size_t maxConcurrent, std::string_view name = "",
                            std::source_location where = std::source_location::current());
    virtual ~OperationQueue();
    OperationQueue(const OperationQueue&) = delete;
    OperationQueue& operator=(const OperationQueue&) = delete;

    // Adds an operation; never blocks.
    virtual void add(Operation operation);

    // Drops every operation that has not started. Those that run go on.
    void cancelAllOperations();

    // Blocks until nothing is queued or running. A suspended queue with something in it blocks until it is
    // resumed.
    void waitUntilAllOperationsAreFinished();

    // While suspended, no queued operation starts.
    void setSuspended(bool suspended);

    // The given name and the place of creation: "name file.cpp:12".
    const std::string& name() const;

  protected:
    // What destruction does. A derived class calls it first in its own destructor, because until it returns
    // an operation that still runs may add to the queue. What is added after it is dropped.
    void end();

  private:
    struct State;
    std::shared_ptr<State> state_;
};

// An operation queue of width one: operations never overlap and keep their order.
class SerialQueue : public OperationQueue {
  public:
    explicit SerialQueue(std::string_view name = "",
                         std::source_location where = std::source_location::current())
        : OperationQueue(1, name, where) {}
    ~SerialQueue() override { end(); }
};

// An operation queue that counts the operations it has not finished yet, queued and running. Cancelled
// operations stop counting when they are dropped.
class TrackableOperationQueue : public OperationQueue {
  public:
    using OperationQueue::OperationQueue;
    ~TrackableOperationQueue() override { end(); }

    void add(Operation operation) override;
    int activeOperations() const { return active_->get(); }

  private:
    std::shared_ptr<Locked<int>> active_ = std::make_shared<Locked<int>>(0);
};

// Holds callers back until another thread lets them go; from then on it holds nobody. A suspended queue with
// one empty operation in it.
class Blocker {
  public:
    explicit Blocker(std::source_location where = std::source_location::current());

    // Blocks until release has been called.
    void wait() { queue_.waitUntilAllOperationsAreFinished(); }
    void release() { queue_.setSuspended(false); }

  private:
    OperationQueue queue_;
};

}  // namespace kestrix
