// Reads the words of documents ahead of the one that takes them.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "base/operation_queue.h"
#include "import/import_text_tools_xpc.h"
#include "index/build/tree_update.h"

namespace kestrix {

// Threads: one owner; workers read several documents at once and hand their words back in the order in which
// the documents were given. Memory is bounded by how many bytes of documents may be ahead, and by how many
// parts of the words of a long one: its worker waits for the owner to take them.
class DocumentReader {
  public:
    // Once `stop` is true no document is begun any more, and whoever takes one gives up those that are being
    // read: text recognition in one may take an hour.
    DocumentReader(ImportTextToolsXPC& import, bool useOCR, const std::atomic<bool>& stop);
    ~DocumentReader();  // waits for the documents that are being read
    DocumentReader(const DocumentReader&) = delete;
    DocumentReader& operator=(const DocumentReader&) = delete;

    // What is known of a document, or, unless it is the last, a part of its words.
    struct Read {
        TreeUpdate::FileToRead file;
        WordList words{};
        std::optional<Error> error{};
        bool wasBegun = true;  // false because of `stop`, also if it was given up
        bool isLast = true;
    };

    void begin(TreeUpdate::FileToRead file);
    bool isEmpty() const { return ahead_.empty(); }
    // So much is ahead that the next thing to do is to take one.
    bool isFull() const { return ahead_.size() >= kMostAhead || bytesAhead_ >= kMostBytesAhead; }
    bool isNextReady() const;
    // The next of the first one whose last was not taken; waits for it.
    Read take();

  private:
    static constexpr std::size_t kWorkers = 4;  // some of them wait for the helpers
    static constexpr std::chrono::milliseconds kStopTest{100};
    static constexpr std::size_t kMostAhead = 128;
    static constexpr std::uint64_t kMostBytesAhead = 8 << 20;

    static constexpr std::size_t kMostParts = 2;

    struct Job {
        TreeUpdate::FileToRead file;
        std::deque<WordList> parts{};
        std::optional<Error> error{};
        bool wasBegun = true;
        bool done = false;
    };
    void read(Job& job);
    void handOver(Job& job, WordList part);
    void giveUpAll();

    ImportTextToolsXPC& import_;
    const bool useOCR_;
    const std::atomic<bool>& stop_;
    std::deque<std::shared_ptr<Job>> ahead_;  // the owner's
    std::uint64_t bytesAhead_ = 0;
    mutable std::mutex mutex_;  // guards all jobs but their files
    std::condition_variable changed_;
    bool ending_ = false;
    OperationQueue workers_{kWorkers, "document words"};  // last: it ends first
};

}  // namespace kestrix
