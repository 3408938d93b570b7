// One pass over the records of all items. Under the reader's lock a name is looked at where it lies and, if
// it is wanted, noted; between two batches the folders of the noted ones are looked up, and records are made.
#include <algorithm>
#include <chrono>

#include "index/catalog_folders.h"
#include "index/catalog_results.h"
#include "index/content_index_search.h"
#include "shell/logger.h"

namespace kestrix {

namespace {

// A hand-over wakes the merge, so results gather, but not for long: it shall judge while the scan goes on.
constexpr std::size_t kHandOverCount = 512;
constexpr auto kHandOverInterval = std::chrono::milliseconds(500);

class NameScan {
  public:
    NameScan(ContentIndex& index, const QueryContainer& query, bool invisibleItems,
             const NameScanCalls& calls)
        : index_(index),
          calls_(calls),
          folders_(query, index.targetURL().value_or("/"), invisibleItems),
          entries_(query, "", invisibleItems),
          isMounted_(index.isTargetMounted()) {}

    void run() {
        if (!folders_.isInReach()) return;
        index_.db().scan(
            "F", SimpleLMDB::kBatchSize,
            [this](std::string_view, std::string_view record) {
                look(record);
                return true;
            },
            [this] { return betweenBatches(); });
        handOver();
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
        ++looked_;
        if (!entries_.takesName(nameInFSItem(record))) return;
        const auto item = decodeFSItem(record);
        if (!item) return;
        if (entries_.isRuledOut(sizeOf(*item), storedDateTo1970(item->modificationDate),
                                storedDateTo1970(item->creationDate))) {
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

    bool betweenBatches() {
        calls_.examined(looked_);
        looked_ = 0;
        if (!noted_.empty()) {
            index_.db().read([this](const SimpleLMDB::Snapshot& snapshot) { makeResults(snapshot); });
            noted_.clear();
            names_.clear();
        }
        handOverIfDue();
        return !calls_.shouldStop();
    }

    void makeResults(const SimpleLMDB::Snapshot& snapshot) {
        std::size_t nameStart = 0;
        for (const Noted& item : noted_) {
            const std::string_view name =
                std::string_view(names_).substr(nameStart, item.nameEnd - nameStart);
            nameStart = item.nameEnd;
            const CatalogFolders::Folder& folder = folders_.folder(item.parentID, snapshot);
            if (folder.listed)
                found_.push_back(fsItemToSearchResult(viewOf(item, name), folder.path, isMounted_));
        }
    }

    void handOverIfDue() {
        const auto now = std::chrono::steady_clock::now();
        if (found_.empty() || (found_.size() < kHandOverCount && now - lastFlush_ < kHandOverInterval))
            return;
        handOver();
        lastFlush_ = now;
    }

    void handOver() {
        if (!found_.empty()) calls_.results(std::move(found_));
        found_ = {};
    }

    ContentIndex& index_;
    const NameScanCalls& calls_;
    CatalogFolders folders_;
    const EntryRules entries_;
    const bool isMounted_;  // a missing file proves itself missing only if its disk is there

    std::int64_t looked_ = 0;
    std::vector<Noted> noted_;
    std::string names_;
    std::vector<SearchResult> found_;
    std::chrono::steady_clock::time_point lastFlush_;  // long ago: the first hits are not held up
};

}  // namespace

void searchForFSItemNames(ContentIndex& index, const QueryContainer& query, bool invisibleItems,
                          const NameScanCalls& calls) {
    if (Logger::shouldLog) LogFunc("Scanning " + index.localDBFile());
    NameScan(index, query, invisibleItems, calls).run();
}

}  // namespace kestrix
