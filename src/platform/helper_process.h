// A program of our own that runs beside this one and talks to it by messages.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "platform/descriptor.h"
#include "platform/message_socket.h"

namespace kestrix {

// The number under which a helper finds its end of the socket.
inline constexpr int kHelperSocket = 3;

// Ends a wait from another thread, also one that has not begun yet.
class WakeUp {
  public:
    // Throws Error (POSIX).
    WakeUp();

    void wake() const;   // any thread
    void clear() const;  // by the one who waits
    int descriptor() const { return event_.get(); }

  private:
    Descriptor event_;
};

// How a helper ended.
struct HelperEnd {
    bool outOfTime = false;      // of the processor time it is given
    std::string cause;           // "exit code 1", "signal 11 (Segmentation fault)"
    std::size_t peakMemory = 0;  // bytes resident at most
};

// Started by its path with no shell in between. It has nothing of this process but one end of a socket and
// the environment that is given, reads and prints nothing, and leads a process group of its own, so that a
// Ctrl-C in the terminal is this program's to pass on. Threads: one at a time. Destruction kills it and waits
// for its end.
class HelperProcess {
  public:
    // `environment`: "NAME=value" each. Throws Error (POSIX) that names the program.
    HelperProcess(const std::string& program, const std::vector<std::string>& environment);
    ~HelperProcess();
    HelperProcess(const HelperProcess&) = delete;
    HelperProcess& operator=(const HelperProcess&) = delete;

    const MessageSocket& socket() const { return socket_; }

    struct Wait {
        bool message = false;  // there is something to receive, or its end of the socket is closed
        bool ended = false;
        bool woken = false;
    };
    // Blocks until one of them is so, or the time is over (then none is).
    Wait wait(const WakeUp& wakeUp, std::chrono::milliseconds timeout) const;

    // Waits for its end, which it is given so long for and is then killed. To be called once.
    HelperEnd end(std::chrono::milliseconds patience);

  private:
    MessageSocket socket_;
    Descriptor ended_;
    int id_ = 0;  // 0: it has been waited for
};

}  // namespace kestrix
