// The logic between a query line and a live result list: when a search starts, what replaces what, how
// batches become rows. Serves every front end; it knows no window.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/main_queue.h"
#include "files/search_results_bucket.h"
#include "search/search_manager.h"
#include "shell/preferences.h"

namespace kestrix {

// The front end of one session. All calls come on the main queue.
class SearchSessionView {
  public:
    using Query = std::shared_ptr<const QueryContainer>;

    virtual ~SearchSessionView() = default;

    // What to search for and where, asked at each start. No location: its disk is not there yet.
    virtual std::string queryText() = 0;
    virtual std::optional<SearchLocation> locationFromPopupIndex() = 0;
    virtual bool soundexOn() { return false; }
    virtual bool wantsAttributes() { return true; }
    virtual bool wantsFindings() { return true; }
    // Front ends that let their user override "searchInsideSystemAndApps" for one search answer here.
    virtual std::optional<bool> searchInsideSystemAndApps() { return std::nullopt; }
    // The line and the location were set from outside (history, saved searches, scripts).
    virtual void setQueryText(const std::string&) {}
    virtual void selectLocation(const std::string& locationName) { (void)locationName; }

    // What a script is to be run over: the selected rows, or all if none is selected. Paths.
    virtual std::vector<std::string> relevantItems() { return {}; }
    // The line ran a script: no search starts and the rows stay.
    virtual void scriptHasStarted(const Query&) {}

    virtual void clearResults(const Query&) {}
    virtual void searchHasStarted(const Query&) {}
    // New rows, in the order of their arrival.
    virtual void addResults(std::vector<SearchResult> results, const Query& query) = 0;
    virtual void searchHasStopped() {}
    // All sources of the query on show are through. Can come twice for a search that was stopped.
    virtual void searchesHaveCompleted(const Query&) {}
    // Nothing to search for: neither words nor commands.
    virtual void queryIsEmpty(const Query&) {}

    virtual void showTitle(const std::string&) {}
    virtual void showProgressText(const std::string&) {}
    virtual void showProgress(std::int64_t searchedNumberOfFiles, std::int64_t itemsWaitingInQueue) {
        (void)searchedNumberOfFiles, (void)itemsWaitingInQueue;
    }
    virtual void showTotal(std::int64_t) {}
    virtual void searchErrorOccured(int errorNumber, const std::string& onPath) {
        (void)errorNumber, (void)onPath;
    }
    virtual void searchingInsideFile(const std::string& name, bool inProgress, int percentage) {
        (void)name, (void)inProgress, (void)percentage;
    }
    virtual void searchInvalidQuery() {}
};

// How long a session waits for what. The defaults are those of a window with a person typing into it; a
// one-shot front end passes zero for what it does not want to wait for.
struct SearchSessionTiming {
    Seconds startSearchDelay = Seconds(0.66);  // from the last key to the start
    Seconds historyDelay = Seconds(5.0);       // how long a query must stand to enter the history
    Seconds waitForDisk = Seconds(5.0);        // until a location that is not there is tried again
    Seconds flushInterval = Seconds(0.5);      // rows reach the view at most this often
    Seconds flushTick = Seconds(0.25);         // how often waiting rows are looked after
};

// Whatever it refers to outlives the session.
struct SearchSessionEnvironment {
    SearchEnvironment& search;
    QueryEnvironment query;
    // Puts a line into the history; an empty function leaves it out.
    std::function<void(const std::string& line)> addQueryToHistory;
    SearchSessionTiming timing;
};

// All state belongs to the main queue, and every operation is called there. At most one search runs; a new
// one stops the old one without waiting for it, and what the old one still delivers is dropped. Made with
// create; the view must live until the session is dropped.
class SearchSession : public SearchManagerDelegate, public std::enable_shared_from_this<SearchSession> {
  public:
    static std::shared_ptr<SearchSession> create(SearchSessionView& view,
                                                 const SearchSessionEnvironment& environment);
    ~SearchSession() override;

    // Builds the query from what the view shows and starts the search, replacing a running one.
    void doSearch();
    void performSearch() { doSearch(); }
    void startSearchAction() { doSearch(); }

    // The line was edited: stops what runs, and starts a search after the delay, unless the setting
    // "startSearchesAutomatically" is false and `alwaysStartSearch` is not set.
    void controlTextDidChange(bool alwaysStartSearch);
    // Sets line (up to its first new line) and, unless empty, location from outside.
    void changeCurrentSearchTextAndSearch(const std::string& query, const std::string& locationName,
                                          bool performSearch);

    // Stops at once; the view hears of the end before this returns or soon after. Rows that are there stay.
    void stopSearch() { cancelOperation(); }
    void cancelOperation();
    // The Escape key or the stop button. True when a second key press in a row should move the focus to the
    // line.
    bool cancel(bool byKeyPress);

    std::shared_ptr<const QueryContainer> current() const { return current_; }
    std::shared_ptr<SearchManager> currentSearchManager() const { return currentSearchManager_; }
    std::int64_t lastTotalNumberOfResultsReturned() const { return lastTotalNumberOfResultsReturned_; }

    void searchManagerIsBeginingSearches(const Query& query) override;
    void searchManagerFoundItems(std::vector<SearchResult> items,
                                 std::int64_t totalNumberOfResultsReturnedSoFar,
                                 const Query& forQuery) override;
    void searchManagerHasFinishedAllSearches(const Query& query) override;
    void searchDataSourceProgress(std::int64_t searchedNumberOfFiles,
                                  std::int64_t itemsWaitingInQueue) override;
    void searchErrorOccured(int errorNumber, const std::string& onPath) override;
    void searchingInsideFile(const std::string& name, bool inProgress, int percentageProgress) override;
    void searchInvalidQuery() override;

  private:
    SearchSession(SearchSessionView& view, const SearchSessionEnvironment& environment);

    void dropCurrentSearch();
    bool runScriptInstead();
    void renewBucket();
    void rememberLine(const std::string& line);
    void scheduleSearch(Seconds delay);
    bool isTimeToFlush() const;
    void flushResults();
    void startFlushTimer();
    void stopFlushTimer();
    void finished(const Query& query);

    SearchSessionView& view_;
    SearchSessionEnvironment environment_;
    GCDAdditions delayed_;
    std::shared_ptr<const QueryContainer> current_;
    std::shared_ptr<SearchManager> currentSearchManager_;
    std::optional<SearchResultsBucket> finalResults_;  // always there; a new one for each search
    std::optional<MainQueue::Ticket> finalResultsFlushTimer_;
    std::int64_t lastTotalNumberOfResultsReturned_ = 0;
    int stopCounter_ = 0;
    int scheduledSearch_ = 0;  // number of the latest start that was scheduled or made
};

}  // namespace kestrix
