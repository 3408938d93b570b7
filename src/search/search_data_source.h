// The small language between everything that finds files and the merge that judges them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "files/search_result.h"
#include "language/query_container.h"

namespace kestrix {

class SearchDataSourceDelegate;

// Looks through one kind of place for the files of a query.
class SearchDataSource {
  public:
    virtual ~SearchDataSource() = default;

    virtual std::string debugDescription() const = 0;

    // By it the manager gives some sources priority, and finds those it may cancel early.
    virtual SearchResultSupplier type() const = 0;

    // Folders that this source claims for itself; any keeps the standard sources from running.
    virtual std::vector<std::string> dataSourceLocations(const QueryContainer&) const { return {}; }

    // Runs the whole search; returning is the message that this source has finished. Called once, on a
    // background thread; may block as long as it likes. Throws nothing: a source that fails returns.
    virtual void search(std::shared_ptr<const QueryContainer> query, SearchDataSourceDelegate& handler) = 0;

    // Asks a running search to end early. Any thread, must not block; also called after a normal finish.
    virtual void searchShouldStop() = 0;
};

using SearchDataSources = std::vector<std::shared_ptr<SearchDataSource>>;

// What a source reports to. It outlives the search that it was handed to.
// Threads: every operation may be called from any thread, and from several at once. None of them waits for
// the merge.
class SearchDataSourceDelegate {
  public:
    virtual ~SearchDataSourceDelegate() = default;

    // Sources poll it between units of work.
    virtual bool shouldStop() const = 0;
    // Walk into hidden folders, system folders and packages.
    virtual bool wantsInvisibleItems() const = 0;
    // Size and dates of the records will be looked at. A source for which they cost extra may leave them 0
    // otherwise.
    virtual bool wantsAttributes() const { return true; }
    // The findings in contents will be looked at. A command may leave them out otherwise, but for the rank.
    virtual bool wantsFindings() const { return true; }

    virtual void searchResults(std::vector<SearchResult> results, const SearchDataSource& fromDataSource) = 0;
    // A delta: files examined since the last such call.
    virtual void searchDataSourceProgress(std::int64_t searchedNumberOfFiles) = 0;
    // A running total: directories seen on that disk.
    virtual void searchDataSourceProgress(const SearchDataSource& source,
                                          std::int64_t searchedInsideNumberOfDirectories,
                                          const std::string& disk) = 0;
    virtual void searchErrorOccured(int errorNumber, const std::string& onPath) = 0;
    // A content source announces the file that it is reading; `inProgress` false clears the announcement.
    virtual void searchingInsideFile(const std::string& name, bool inProgress, int percentageProgress) = 0;
    // The source cannot run this query.
    virtual void searchInvalidQuery() = 0;
};

// Stands in where nobody listens.
class NullSearchDataSourceDelegate : public SearchDataSourceDelegate {
  public:
    bool shouldStop() const override { return false; }
    bool wantsInvisibleItems() const override { return false; }
    bool pathIsOfInterest(std::string_view) const { return true; }

    void searchResults(std::vector<SearchResult>, const SearchDataSource&) override {}
    void searchDataSourceProgress(std::int64_t) override {}
    void searchDataSourceProgress(const SearchDataSource&, std::int64_t, const std::string&) override {}
    void searchErrorOccured(int, const std::string&) override {}
    void searchingInsideFile(const std::string&, bool, int) override {}
    void searchInvalidQuery() override {}
};

}  // namespace kestrix
