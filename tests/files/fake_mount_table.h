// A mount table that a test fills.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/mounts.h"

namespace kestrix {

class FakeMountTable : public MountTable {
  public:
    void mount(std::string mountPoint, std::string fileSystem, std::string device, std::string root = "/") {
        table_.push_back({.mountPoint = std::move(mountPoint),
                          .root = std::move(root),
                          .fileSystem = std::move(fileSystem),
                          .device = std::move(device),
                          .deviceId = table_.size() + 1});
    }

    // Tells the watchers, as the real table does after each change.
    void announce() {
        if (const auto watcher = watcher_.lock()) (*watcher)();
    }
    bool isWatched() const { return !watcher_.expired(); }
    int reads() const { return reads_; }

    std::vector<Mount> mounts() const override {
        ++reads_;
        return table_;
    }
    std::shared_ptr<void> watch(std::function<void()> changed) override {
        auto watcher = std::make_shared<std::function<void()>>(std::move(changed));
        watcher_ = watcher;
        return watcher;
    }

  private:
    std::vector<Mount> table_;
    std::weak_ptr<std::function<void()>> watcher_;
    mutable int reads_ = 0;
};

}  // namespace kestrix
