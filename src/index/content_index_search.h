// The source that looks through the catalogs of a query's location.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "index/content_index_manager.h"
#include "search/search_data_source.h"

namespace kestrix {

class ContentSearch;

// What a pass over a catalog tells. It ends early when `shouldStop` answers true, which any of its threads
// may ask; `examined` is told how many items each stretch had. The other two are called by any of its
// threads, but one call at a time.
struct NameScanCalls {
    std::function<bool()> shouldStop;
    std::function<void(std::vector<SearchResult>)> results;
    std::function<void(std::int64_t items)> examined;
};

// Looks at every name of every catalog that applies, in place; for a query that looks inside files, at the
// words of those that keep words, and hands the files of the others over to be read. Does nothing while the
// setting "diskCatalogCaching" is off, unless the user named catalogs as the source outright.
class ContentIndexSearch : public SearchDataSource {
  public:
    struct Environment {
        ContentIndexManager& manager;
        Preferences& preferences;
        bool namedOutright = false;
        // A catalog that applies could not be looked through, and why; on the thread of the search.
        std::function<void(const SavedIndexInfo& catalog, const std::string& reason)> failed{};
        ActivityController* activities = nullptr;        // none: nobody is told that words are looked through
        std::atomic<std::int64_t>* itemsSeen = nullptr;  // counts every item whose name was looked at
    };
    explicit ContentIndexSearch(Environment environment) : environment_(std::move(environment)) {}

    std::string debugDescription() const override { return "ContentIndexSearch"; }
    SearchResultSupplier type() const override { return SearchResultSupplier::CompactContentIndex; }
    void search(std::shared_ptr<const QueryContainer> query, SearchDataSourceDelegate& handler) override;
    void searchShouldStop() override { stopped_ = true; }

  private:
    void searchIn(ContentIndex& index, const QueryContainer& query, SearchDataSourceDelegate& handler);
    void searchContentIfNeeded(ContentIndex& index, const ContentSearch& content, const QueryContainer& query,
                               SearchDataSourceDelegate& handler);
    NameScanCalls callsOf(SearchDataSourceDelegate& handler);
    void tellFailed(const SavedIndexInfo& catalog, const std::string& reason) const;

    Environment environment_;
    std::atomic<bool> stopped_ = false;
};

// Scans the names of one open catalog. Handed over are the items that a walk of the query's location would
// hand over if it met what the catalog holds, as records of the catalog, in the order of their keys. Throws
// LMDBError.
void searchForFSItemNames(ContentIndex& index, const QueryContainer& query, bool invisibleItems,
                          const NameScanCalls& calls);

// Hands over the documents whose words, as an open catalog keeps them, answer the query's content commands:
// with their rank, or, where the words leave a doubt and the document can be reached, without source, so that
// the command reads it. False if the words rule nothing out. Throws LMDBError.
bool searchForContent(ContentIndex& index, const QueryContainer& query, bool invisibleItems,
                      const NameScanCalls& calls);

}  // namespace kestrix
