// Many readers or one writer, among the threads of this process.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace kestrix {

// Readers come in together, a writer alone. A writer that waits lets no more readers in, and readers that
// have been relieving one another for some milliseconds are let out to the last: else two threads that read
// batch after batch would keep a writer out for as long as they go on, here or, by the lock on the file that
// the readers share, in another process. Not recursive.
class ReadersGate {
  public:
    // `first` is called for the reader that finds nobody inside, before anyone else gets in; if it throws, so
    // does this, and nobody has come in.
    template <typename First>
    void enter(First first) {
        std::unique_lock hold(mutex_);
        moved_.wait(hold, [this] { return mayEnter(); });
        if (inside_ == 0) {
            first();
            since_ = std::chrono::steady_clock::now();
        }
        ++inside_;
    }
    // `last` is called for the reader that leaves nobody behind.
    template <typename Last>
    void leave(Last last) {
        std::lock_guard hold(mutex_);
        if (--inside_ > 0) return;
        last();
        moved_.notify_all();
    }

    // Keeps everyone else out for as long as it lives.
    class Alone {
      public:
        explicit Alone(ReadersGate& gate) : gate_(gate) {
            std::unique_lock hold(gate_.mutex_);
            ++gate_.waiting_;
            gate_.moved_.wait(hold, [this] { return gate_.inside_ == 0 && !gate_.alone_; });
            --gate_.waiting_;
            gate_.alone_ = true;
        }
        ~Alone() {
            std::lock_guard hold(gate_.mutex_);
            gate_.alone_ = false;
            gate_.moved_.notify_all();
        }
        Alone(const Alone&) = delete;
        Alone& operator=(const Alone&) = delete;

      private:
        ReadersGate& gate_;
    };

  private:
    static constexpr std::chrono::milliseconds kLongestTogether{5};

    bool mayEnter() const {
        if (alone_ || waiting_ > 0) return false;
        return inside_ == 0 || std::chrono::steady_clock::now() - since_ < kLongestTogether;
    }

    std::mutex mutex_;
    std::condition_variable moved_;
    int inside_ = 0;   // readers
    int waiting_ = 0;  // writers
    bool alone_ = false;
    std::chrono::steady_clock::time_point since_;  // when the first of those inside came
};

}  // namespace kestrix
