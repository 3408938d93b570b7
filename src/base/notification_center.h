// Announcements by name: "this changed", to whoever asked to know.
#pragma once

#include <any>
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
    // Gets what was posted along; empty if nothing was.
    using ObjectHandler = std::function<void(const std::any& object)>;

    // Keeps a handler registered for as long as it lives. Movable, not copyable.
    class Observation {
      public:
        Observation() = default;
        Observation(Observation&&) = default;
        Observation& operator=(Observation&&) = default;

      private:
        friend class NotificationCenter;
        std::shared_ptr<ObjectHandler> handler_;
    };

    explicit NotificationCenter(MainQueue& queue) : queue_(queue) {}

    [[nodiscard]] Observation observe(const std::string& name, Handler handler);
    [[nodiscard]] Observation observeObject(const std::string& name, ObjectHandler handler);

    // Calls every handler observed under the name, later, on the main queue. A handler whose Observation has
    // ended by then is not called. `object` is what the announcement is about, of a type that belongs to the
    // name.
    void post(const std::string& name, std::any object = {});

  private:
    MainQueue& queue_;
    Locked<std::multimap<std::string, std::weak_ptr<ObjectHandler>>> handlers_;
};

}  // namespace kestrix
