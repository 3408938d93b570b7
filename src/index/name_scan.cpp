// One pass over the records of all items, by two threads that share out ranges of keys. Under the reader's
// lock a name is looked at where it lies and, if it is wanted, noted; between two batches the folders of the
// noted ones are looked up, and records are made.
#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <iterator>
#include <mutex>
#include <utility>

#include "base/operation_queue.h"
#include "index/catalog_folders.h"
#include "index/catalog_results.h"
#include "index/content_index_search.h"
#include "shell/logger.h"

namespace kestrix {

namespace {

// A hand-over wakes the merge, so results gather, but not for long: it shall judge while the scan goes on.
constexpr std::size_t kHandOverCount = 512;
constexpr auto kHandOverInterval = std::chrono::milliseconds(500);

// A catalog with fewer records is scanned before a second thread would have begun.
constexpr std::int64_t kWorthAHelper = 20'000;

// Between them they hold every key of the family. Identifiers are dense from 1, so however many there are,
// none of the ranges holds more than about a ninth of them, and most far less.
std::vector<SimpleLMDB::KeyRange> rangesOfItems(const SimpleLMDB& db) {
    if (db.stats().entries < kWorthAHelper) return {{"F", "G"}};
    std::vector<SimpleLMDB::KeyRange> ranges;
    std::string first = "F";
    for (int digits = 10; digits < 100; ++digits) {
        std::string end = fmt::format("F{}", digits);
        ranges.push_back({std::exchange(first, end), end});
    }
    ranges.push_back({first, "G"});
    return ranges;
}

using Batch = std::vector<SearchResult>;

// Hands results over in the order of the keys, whoever finds them first, and one call at a time. What lies
// ahead of a range that is still being scanned is kept; that is never much, as ranges are begun in order.
// Threads: any.
class ResultsInOrder {
  public:
    ResultsInOrder(const NameScanCalls& calls, std::size_t ranges) : calls_(calls), ahead_(ranges) {}

    void add(std::size_t range, std::int64_t examined, Batch found) {
        std::lock_guard hold(mutex_);
        calls_.examined(examined);
        if (found.empty()) return handOverIfDue();
        (range == current_ ? ready_ : ahead_[range].found).push_back(std::move(found));
        handOverIfDue();
    }
    void end(std::size_t range) {
        std::lock_guard hold(mutex_);
        ahead_[range].ended = true;
        while (current_ < ahead_.size() && ahead_[current_].ended) {
            if (++current_ < ahead_.size())
                std::ranges::move(ahead_[current_].found, std::back_inserter(ready_));
        }
        handOverIfDue();
    }
    void handOver() {
        for (Batch& batch : ready_)
            calls_.results(std::move(batch));
        ready_.clear();
    }

  private:
    struct Range {
        std::vector<Batch> found;
        bool ended = false;
    };

    void handOverIfDue() {
        std::size_t count = 0;
        for (const Batch& batch : ready_)
            count += batch.size();
        const auto now = std::chrono::steady_clock::now();
        if (count == 0 || (count < kHandOverCount && now - last_ < kHandOverInterval)) return;
        handOver();
        last_ = now;
    }

    const NameScanCalls& calls_;
    std::mutex mutex_;
    std::vector<Range> ahead_;
    std::size_t current_ = 0;  // all before it have ended
    std::vector<Batch> ready_;
    std::chrono::steady_clock::time_point last_;  // long ago: the first hits are not held up
};

// What the threads of one scan share; only `results` and the two atomics change.
struct SharedScan {
    const SimpleLMDB& db;
    const QueryContainer& query;
    const bool invisibleItems;
    const std::string target;
    const bool isMounted;  // a missing file proves itself missing only if its disk is there
    const NameScanCalls& calls;
    const std::vector<SimpleLMDB::KeyRange> ranges = rangesOfItems(db);
    std::atomic<std::size_t> next = 0;
    std::atomic<bool> failed = false;
    ResultsInOrder results{calls, ranges.size()};
};

// One thread's share.
class NameScan {
  public:
    explicit NameScan(SharedScan& scan)
        : scan_(scan),
          folders_(scan.query, scan.target, scan.invisibleItems),
          entries_(scan.query, "", scan.invisibleItems) {}

    bool isInReach() const { return folders_.isInReach(); }

    void run() {
        for (std::size_t range; !stopped_ && (range = scan_.next++) < scan_.ranges.size();) {
            scan_.db.scan(
                scan_.ranges[range], SimpleLMDB::kBatchSize,
                [this](std::string_view, std::string_view record) {
                    look(record);
                    return true;
                },
                [this, range] { return betweenBatches(range); });
            scan_.results.end(range);
        }
    }

  private:
    // A wanted item, its name in names_.
    struct Noted {
        FSItemID parentID;
        FSItemType type;
        std::int32_t creationDate;
        std::int32_t modificationDate;
        std::int64_t size;
        std::size_t nameEnd;
    };

    void look(std::string_view record) {
        const std::string_view name = nameInFSItem(record);
        if (name.empty()) return;  // the last identifier that was given out
        ++looked_;
        if (!entries_.takesName(name)) return;
        const auto item = decodeFSItem(record);
        if (!item) return;
        if (entries_.isRuledOut(sizeOf(*item), modDateOf(*item), creationDateOf(*item))) {
            return;
        }
        names_.append(item->name);
        noted_.push_back({item->parentID, item->type, item->creationDate, item->modificationDate, item->size,
                          names_.size()});
    }

    static FSItemView viewOf(const Noted& item, std::string_view name) {
        return {.parentID = item.parentID,
                .type = item.type,
                .creationDate = item.creationDate,
                .modificationDate = item.modificationDate,
                .name = name,
                .size = item.size};
    }

    bool betweenBatches(std::size_t range) {
        if (!noted_.empty()) {
            scan_.db.read([this](const SimpleLMDB::Snapshot& snapshot) { makeResults(snapshot); });
            noted_.clear();
            names_.clear();
        }
        scan_.results.add(range, std::exchange(looked_, 0), std::exchange(found_, {}));
        stopped_ = scan_.failed || scan_.calls.shouldStop();
        return !stopped_;
    }

    void makeResults(const SimpleLMDB::Snapshot& snapshot) {
        found_.reserve(noted_.size());
        std::size_t nameStart = 0;
        for (const Noted& item : noted_) {
            const std::string_view name =
                std::string_view(names_).substr(nameStart, item.nameEnd - nameStart);
            nameStart = item.nameEnd;
            const CatalogFolders::Folder& folder = folders_.folder(item.parentID, snapshot);
            if (folder.listed)
                found_.push_back(fsItemToSearchResult(viewOf(item, name), folder.path, scan_.isMounted));
        }
    }

    SharedScan& scan_;
    CatalogFolders folders_;
    const EntryRules entries_;

    bool stopped_ = false;
    std::int64_t looked_ = 0;
    std::vector<Noted> noted_;
    std::string names_;
    Batch found_;
};

}  // namespace

void searchForFSItemNames(ContentIndex& index, const QueryContainer& query, bool invisibleItems,
                          const NameScanCalls& calls) {
    if (Logger::shouldLog) LogFunc("Scanning " + index.localDBFile());
    SharedScan scan{
        index.db(), query, invisibleItems, index.targetURL().value_or("/"), index.isTargetMounted(), calls};
    NameScan mine(scan);
    if (!mine.isInReach()) return;
    std::exception_ptr helpersFault;
    {
        OperationQueue helper(1, "catalog scan");
        if (scan.ranges.size() > 1) {
            helper.add([&] {
                try {
                    NameScan(scan).run();
                } catch (...) {
                    helpersFault = std::current_exception();
                    scan.failed = true;
                }
            });
        }
        try {
            mine.run();
        } catch (...) {
            scan.failed = true;
            throw;
        }
        helper.waitUntilAllOperationsAreFinished();
    }
    if (helpersFault) std::rethrow_exception(helpersFault);
    scan.results.handOver();
}

}  // namespace kestrix
