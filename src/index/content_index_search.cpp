#include "index/content_index_search.h"

#include <algorithm>

#include "search/content_search.h"
#include "shell/activity.h"
#include "shell/logger.h"
#include "shell/preferences.h"

namespace kestrix {

namespace {

// Stands in the list of activities while words are looked through.
class SearchingCaches {
  public:
    explicit SearchingCaches(ActivityController* activities) : activities_(activities) {
        if (activities_) item_ = activities_->begin("Searching Caches", "", {});
    }
    ~SearchingCaches() {
        if (item_) activities_->remove(item_->id());
    }
    SearchingCaches(const SearchingCaches&) = delete;
    SearchingCaches& operator=(const SearchingCaches&) = delete;

  private:
    ActivityController* activities_;
    std::shared_ptr<ActivityItem> item_;
};

}  // namespace

void ContentIndexSearch::search(std::shared_ptr<const QueryContainer> query,
                                SearchDataSourceDelegate& handler) {
    if (!environment_.namedOutright && !environment_.preferences.boolean("diskCatalogCaching")) return;
    if (!query->whereLocation()) return;
    for (const auto& entry : environment_.manager.cachesForLocations(*query->whereLocation())) {
        if (stopped_ || handler.shouldStop()) return;
        if (!entry.index) {
            tellFailed(entry.info, entry.reason);
            continue;
        }
        try {
            searchIn(*entry.index, *query, handler);
        } catch (const Error& error) {
            tellFailed(entry.info, error.what());
        }
    }
}

void ContentIndexSearch::searchIn(ContentIndex& index, const QueryContainer& query,
                                  SearchDataSourceDelegate& handler) {
    index.mirrorIfNeeded(false);
    const ContentIndex::Session session(index);
    index.scheduleRefreshIfNeeded();
    if (const auto content = query.commandOfType<ContentSearch>())
        return searchContentIfNeeded(index, *content, query, handler);
    searchForFSItemNames(index, query, handler.wantsInvisibleItems(), callsOf(handler));
}

NameScanCalls ContentIndexSearch::callsOf(SearchDataSourceDelegate& handler) {
    return {[this, &handler] { return stopped_ || handler.shouldStop(); },
            [this, &handler](std::vector<SearchResult> results) {
                handler.searchResults(std::move(results), *this);
            },
            [this, &handler](std::int64_t items) {
                if (environment_.itemsSeen) *environment_.itemsSeen += items;
                handler.searchDataSourceProgress(items);
            }};
}

// Files whose words the catalog does not keep are handed over without source, for the command to read. A line
// "cat OR : content dog" wants the files that are named so, too.
void ContentIndexSearch::searchContentIfNeeded(ContentIndex& index, const ContentSearch& content,
                                               const QueryContainer& query,
                                               SearchDataSourceDelegate& handler) {
    const SearchingCaches activity(environment_.activities);
    const DocumentInfo info = index.documentInfo();
    // A dirty catalog lacks the words of files that it knows.
    const ContentIndexMode mode = info.isDirty ? ContentIndexMode::off : info.lastIndexMode;
    NameScanCalls calls = callsOf(handler);
    const bool isAnswered =
        mode != ContentIndexMode::off && searchForContent(index, query, handler.wantsInvisibleItems(), calls);
    const ContentSearchArguments& wanted = content.arguments();
    const bool isToBeRead = !isAnswered || wanted.searchAllFiles ||
                            (wanted.useOCR && mode != ContentIndexMode::ocrAndTextDocuments);
    const bool canBeRead = index.isTargetMounted();
    if (!query.isORCommandSearch() && !(isToBeRead && canBeRead)) return;
    calls.results = [&, tell = calls.results](std::vector<SearchResult> results) {
        if (isToBeRead && canBeRead) {
            for (SearchResult& result : results)
                result.searchResultSuppliedBy = SearchResultSupplier::none;
        } else {
            std::erase_if(results, [&query](const SearchResult& result) {
                return !query.fsItemNameStringIncludesWordsFromQuery(result.path);
            });
        }
        tell(std::move(results));
    };
    searchForFSItemNames(index, query, handler.wantsInvisibleItems(), calls);
}

// One catalog that fails hinders no other.
void ContentIndexSearch::tellFailed(const SavedIndexInfo& catalog, const std::string& reason) const {
    if (Logger::shouldLog) LogFunc("error: " + reason);
    if (environment_.failed) environment_.failed(catalog, reason);
}

}  // namespace kestrix
