// Ctrl-C and its kin as an ordinary call.
#pragma once

#include <functional>
#include <memory>

namespace kestrix {

// While one lives, SIGINT and SIGTERM call `interrupted` (with the signal's number) on a thread of its own
// instead of ending the program. A second signal, whether or not the first call has returned, ends the
// program at once with 128 + its number. A signal that was ignored when the watcher was made stays ignored.
// Make it before any other thread starts, so that every thread inherits the signal mask (so do child
// processes: whoever starts one clears it); one at a time.
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
