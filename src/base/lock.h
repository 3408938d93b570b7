// Lock and Locked<T>: what threads share sits behind one of these.
#pragma once

#include <mutex>
#include <utility>

namespace kestrix {

// A binary semaphore that starts free. Not recursive; whoever took it gives it back. Usable with
// std::lock_guard and std::unique_lock.
class Lock {
  public:
    Lock() = default;
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    void lock() { mutex_.lock(); }
    bool try_lock() { return mutex_.try_lock(); }
    void unlock() { mutex_.unlock(); }

  private:
    std::mutex mutex_;
};

// A value that is reached only under its own lock. The function given to read or modify runs with the lock
// held: keep it short, and never call foreign code from it.
template <typename T>
class Locked {
  public:
    Locked() = default;
    explicit Locked(T value) : value_(std::move(value)) {}

    // A copy of the value.
    T get() const {
        std::lock_guard hold(lock_);
        return value_;
    }

    void set(T value) {
        std::lock_guard hold(lock_);
        value_ = std::move(value);
    }

    // Calls use(const T&) and returns what it returns.
    template <typename Use>
    auto read(Use&& use) const {
        std::lock_guard hold(lock_);
        return use(static_cast<const T&>(value_));
    }

    // Calls change(T&) and returns what it returns.
    template <typename Change>
    auto modify(Change&& change) {
        std::lock_guard hold(lock_);
        return change(value_);
    }

  private:
    mutable Lock lock_;
    T value_{};
};

}  // namespace kestrix
