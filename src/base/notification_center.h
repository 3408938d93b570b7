// Announcements by name: "this changed", to whoever asked to know.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "base/lock.h"
#include "base/main_queue.h"

namespace kestrix {

// Threads: post and observe from any thread; handlers run on the main queue.
class NotificationCenter {
  public:
    using Handler = std::function<void()>;

    // Keeps a handler registered for as long as it lives. Movable, not copyable.
    class Observation {
      public:
        Observation() = default;
        Observation(Observation&&) = default;
        Observation& operator=(Observation&&) = default;

      private:
        friend class NotificationCenter;
        std::shared_ptr<Handler> handler_;
    };

    explicit NotificationCenter(MainQueue& queue) : queue_(queue) {}

    [[nodiscard]] Observation observe(const std::string& name, Handler handler);

    // Calls every handler observed under the name, later, on the main queue. A handler whose Observation has
    // ended by then is not called.
    void post(const std::string& name);

  private:
    MainQueue& queue_;
    Locked<std::multimap<std::string, std::weak_ptr<Handler>>> handlers_;
};

}  // namespace kestrix
