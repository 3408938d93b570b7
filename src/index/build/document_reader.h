// Reads the words of documents ahead of the one that takes them.
#pragma once

#include <atomic>
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
// the documents were given. Memory is bounded by how many bytes of documents may be ahead.
class DocumentReader {
  public:
    // No document is begun any more once `stop` is true.
    DocumentReader(ImportTextToolsXPC& import, bool useOCR, const std::atomic<bool>& stop);
    ~DocumentReader();  // waits for the documents that are being read
    DocumentReader(const DocumentReader&) = delete;
    DocumentReader& operator=(const DocumentReader&) = delete;

    struct Read {
        TreeUpdate::FileToRead file;
        // Neither: it was not begun, because of `stop`.
        std::optional<WordCounts> words;
        std::optional<Error> error;
    };

    void begin(TreeUpdate::FileToRead file);
    bool isEmpty() const { return ahead_.empty(); }
    // So much is ahead that the next thing to do is to take one.
    bool isFull() const { return ahead_.size() >= kMostAhead || bytesAhead_ >= kMostBytesAhead; }
    bool isNextReady() const;
    // The first one that was begun and not taken; waits for it.
    Read take();

  private:
    static constexpr std::size_t kWorkers = 4;  // two of them mostly wait for the helpers
    static constexpr std::size_t kMostAhead = 128;
    static constexpr std::uint64_t kMostBytesAhead = 8 << 20;

    struct Job {
        Read read;
        bool done = false;
    };
    void read(Job& job);

    // A helper reads one document at a time, and parsing is what takes the time.
    struct Link {
        ImportTextToolsXPC& import;
        int calls = 0;  // guarded by mutex_
    };
    Link& freerLink();

    const std::unique_ptr<ImportTextToolsXPC> second_;
    Link links_[2];
    const bool useOCR_;
    const std::atomic<bool>& stop_;
    std::deque<std::shared_ptr<Job>> ahead_;  // the owner's
    std::uint64_t bytesAhead_ = 0;
    mutable std::mutex mutex_;  // guards `done` of all jobs, and the links' calls
    std::condition_variable finished_;
    OperationQueue workers_{kWorkers, "document words"};  // last: it ends first
};

}  // namespace kestrix
