// Ctrl-C and its kin as an ordinary call.
#pragma once

#include <functional>
#include <memory>

namespace kestrix {

// While one lives, SIGINT and SIGTERM call `interrupted` (with the signal's number) on a thread of its own
// instead of ending the program. A second signal that finds the first still unanswered after three seconds
// ends the program with 128 + its number. Make it before any other thread starts, so that every thread
// inherits the signal mask; one at a time.
class InterruptWatcher {
  public:
    explicit InterruptWatcher(std::function<void(int signal)> interrupted);
    ~InterruptWatcher();
    InterruptWatcher(const InterruptWatcher&) = delete;
    InterruptWatcher& operator=(const InterruptWatcher&) = delete;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kestrix
