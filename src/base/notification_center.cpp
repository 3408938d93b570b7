#include "base/notification_center.h"

#include <utility>
#include <vector>

namespace kestrix {

// Entries of ended observations are swept out by the next observe or post under the same name, so that an
// Observation needs no way back to its centre and may outlive it.
NotificationCenter::Observation NotificationCenter::observe(const std::string& name, Handler handler) {
    Observation observation;
    observation.handler_ = std::make_shared<Handler>(std::move(handler));
    handlers_.modify([&](auto& handlers) {
        auto [at, end] = handlers.equal_range(name);
        while (at != end)
            at = at->second.expired() ? handlers.erase(at) : std::next(at);
        handlers.emplace(name, observation.handler_);
    });
    return observation;
}

void NotificationCenter::post(const std::string& name) {
    std::vector<std::weak_ptr<Handler>> called;
    handlers_.modify([&](auto& handlers) {
        auto [at, end] = handlers.equal_range(name);
        while (at != end) {
            if (at->second.expired()) {
                at = handlers.erase(at);
            } else {
                called.push_back(at->second);
                ++at;
            }
        }
    });
    if (called.empty()) return;
    queue_.post([called = std::move(called)] {
        for (const auto& each : called) {
            if (auto handler = each.lock()) (*handler)();
        }
    });
}

}  // namespace kestrix
