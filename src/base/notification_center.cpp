#include "base/notification_center.h"

#include <utility>
#include <vector>

namespace kestrix {

NotificationCenter::Observation NotificationCenter::observe(const std::string& name, Handler handler) {
    return observeObject(name, [handler = std::move(handler)](const std::any&) { handler(); });
}

// Entries of ended observations are swept out by the next observe or post under the same name, so that an
// Observation needs no way back to its centre and may outlive it.
NotificationCenter::Observation NotificationCenter::observeObject(const std::string& name,
                                                                  ObjectHandler handler) {
    Observation observation;
    observation.handler_ = std::make_shared<ObjectHandler>(std::move(handler));
    handlers_.modify([&](auto& handlers) {
        auto [at, end] = handlers.equal_range(name);
        while (at != end)
            at = at->second.expired() ? handlers.erase(at) : std::next(at);
        handlers.emplace(name, observation.handler_);
    });
    return observation;
}

void NotificationCenter::post(const std::string& name, std::any object) {
    std::vector<std::weak_ptr<ObjectHandler>> called;
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
    queue_.post([called = std::move(called), object = std::move(object)] {
        for (const auto& each : called) {
            if (auto handler = each.lock()) (*handler)(object);
        }
    });
}

}  // namespace kestrix
