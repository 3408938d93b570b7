// One search, from its query to its last result.
//
//     sources (a thread each)      merge loop            3 workers                    main queue
//     searchResults(batch) ──▶ queuedResults ──▶ slices of batches ──▶ judged ──▶ searchManagerFoundItems
//
// Sources only append under a lock. The loop takes everything that waits and hands it to the workers in
// slices; a worker expands, de-duplicates and filters each item; survivors of a slice reach the delegate in
// one call.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/clock.h"
#include "base/main_queue.h"
#include "search/search_data_source.h"

namespace kestrix {

// How long the merge waits for what. The defaults are those of a desktop session.
struct SearchTiming {
    // How often an idle merge looks for batches; an arrival wakes it at once.
    Seconds poll = Seconds(0.25);
    // How long after the end of the last source a late batch is still waited for. A source that has returned
    // has delivered everything, so one-shot front ends pass zero.
    Seconds grace = Seconds(0.5);
    // Progress reaches the delegate at most once in this time.
    Seconds progressInterval = Seconds(0.2);
    // After each round of the merge, arrivals gather this long or until they fill a slice: waking threads for
    // every handful of items would cost more than judging them.
    Seconds gather = Seconds(0.002);
};

// Receives one search. All calls come on the main queue, but for searchManagerIsBeginingSearches (the thread
// of searchFor) and searchManagerHasFinishedAllSearches (a background thread; after userCancel also the
// caller's, so it can come twice).
class SearchManagerDelegate {
  public:
    using Query = std::shared_ptr<const QueryContainer>;

    virtual ~SearchManagerDelegate() = default;

    virtual void searchManagerIsBeginingSearches(const Query& query) = 0;
    virtual void searchManagerFoundItems(std::vector<SearchResult> items,
                                         std::int64_t totalNumberOfResultsReturnedSoFar,
                                         const Query& forQuery) = 0;
    virtual void searchManagerHasFinishedAllSearches(const Query& query) = 0;
    virtual void searchDataSourceProgress(std::int64_t searchedNumberOfFiles,
                                          std::int64_t itemsWaitingInQueue) = 0;
    virtual void searchErrorOccured(int errorNumber, const std::string& onPath) = 0;
    virtual void searchingInsideFile(const std::string& name, bool inProgress, int percentageProgress) = 0;
    virtual void searchInvalidQuery() = 0;
};

// What every search of an application shares. Whatever it refers to outlives every search.
struct SearchEnvironment {
    // What the sources of one search are made for.
    struct Makers {
        // Run in every search, whatever the query.
        std::function<SearchDataSources()> commandBasedDataSources;
        // The standard sources of a word-based search, in the order in which they start.
        std::function<SearchDataSources()> standardSources;
    };

    MainQueue& mainQueue;
    Clock& clock;
    SearchTiming timing;
    Makers makers;
};

struct SearchManagerOptions {
    bool searchInsideSystemAndApps = false;
    // See SearchDataSourceDelegate::wantsAttributes.
    bool attributes = true;
    // See SearchDataSourceDelegate::wantsFindings.
    bool findings = true;
};

// Used for exactly one search. Its own background work keeps it alive until the finish message is out, so the
// owner may drop it at any time. The delegate is held weakly; once it has gone its calls are left out.
class SearchManager : public SearchDataSourceDelegate, public std::enable_shared_from_this<SearchManager> {
  public:
    static std::shared_ptr<SearchManager> create(std::weak_ptr<SearchManagerDelegate> delegate,
                                                 SearchManagerOptions options,
                                                 const SearchEnvironment& environment);
    ~SearchManager() override;

    // Starts the search and returns at once. To be called once.
    void searchFor(const std::shared_ptr<const QueryContainer>& query);

    // Ends the search from any thread; the finish message follows when the workers have ended.
    void stop();

    // stop, and the finish message at once on this thread; the one of the end follows all the same.
    void userCancel();

    // Blocks until nothing of this search runs any more: after stop, sources may go on for a moment when the
    // finish message is out already. Whoever ends what the search was given waits here first. Any thread but
    // those of the search itself.
    void waitUntilEnded();

    bool searchInProgress() const;
    std::int64_t numberOfResultsReturned() const;
    std::int64_t numberOfFilesSearched() const;

    bool shouldStop() const override;
    bool wantsInvisibleItems() const override;
    bool wantsAttributes() const override;
    bool wantsFindings() const override;
    void searchResults(std::vector<SearchResult> results, const SearchDataSource& fromDataSource) override;
    void searchDataSourceProgress(std::int64_t searchedNumberOfFiles) override;
    void searchDataSourceProgress(const SearchDataSource& source,
                                  std::int64_t searchedInsideNumberOfDirectories,
                                  const std::string& disk) override;
    void searchErrorOccured(int errorNumber, const std::string& onPath) override;
    void searchingInsideFile(const std::string& name, bool inProgress, int percentageProgress) override;
    void searchInvalidQuery() override;

  private:
    SearchManager(std::weak_ptr<SearchManagerDelegate> delegate, SearchManagerOptions options,
                  const SearchEnvironment& environment);

    void runSources();
    void runMerge();
    void deliver(std::vector<SearchResult> survivors);

    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kestrix
