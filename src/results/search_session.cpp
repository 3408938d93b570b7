#include "results/search_session.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "actions/script_command.h"
#include "shell/logger.h"

namespace kestrix {

namespace {

std::string trimAtNewLine(const std::string& text) {
    return text.substr(0, text.find_first_of("\r\n"));
}

}  // namespace

std::shared_ptr<SearchSession> SearchSession::create(SearchSessionView& view,
                                                     const SearchSessionEnvironment& environment) {
    return std::shared_ptr<SearchSession>(new SearchSession(view, environment));
}

SearchSession::SearchSession(SearchSessionView& view, const SearchSessionEnvironment& environment)
    : view_(view), environment_(environment), delayed_(environment.search.mainQueue) {
    renewBucket();
    environment_.query.preferences.registerDefault("startSearchesAutomatically", true);
}

SearchSession::~SearchSession() {
    stopFlushTimer();
    if (currentSearchManager_) currentSearchManager_->stop();
}

void SearchSession::doSearch() {
    ++scheduledSearch_;  // one that is still to come has been overtaken
    auto location = view_.locationFromPopupIndex();
    if (!location) {
        view_.showProgressText("Waiting for disk to become available. Search will start shortly.");
        scheduleSearch(environment_.timing.waitForDisk);
        return;
    }
    const std::string line = view_.queryText();
    current_ = std::make_shared<const QueryContainer>(line, std::move(location), view_.soundexOn(),
                                                      environment_.query);
    dropCurrentSearch();
    rememberLine(line);
    if (runScriptInstead()) return;
    view_.clearResults(current_);
    if (current_->isEmpty()) {
        view_.queryIsEmpty(current_);
        return;
    }
    const bool inside = view_.searchInsideSystemAndApps().value_or(
        environment_.query.preferences.boolean("searchInsideSystemAndApps"));
    currentSearchManager_ = SearchManager::create(
        weak_from_this(), {inside, view_.wantsAttributes(), view_.wantsFindings()}, environment_.search);
    currentSearchManager_->searchFor(current_);
}

// The script is run later, on the main queue: the view hears first that no search is on its way.
bool SearchSession::runScriptInstead() {
    auto script = current_->commandOfType<ScriptCommand>();
    if (!script) return false;
    environment_.search.mainQueue.post(
        [script = std::move(script), items = view_.relevantItems()] { script->run(items); });
    view_.scriptHasStarted(current_);
    return true;
}

// Does not wait: the old manager winds down by itself. What it delivers from now on bears another query.
void SearchSession::dropCurrentSearch() {
    if (currentSearchManager_) currentSearchManager_->stop();
    currentSearchManager_.reset();
    lastTotalNumberOfResultsReturned_ = 0;
    renewBucket();
    stopFlushTimer();
}

// A new one lets the first row of a search through at once.
void SearchSession::renewBucket() {
    finalResults_.emplace(environment_.search.clock, environment_.timing.flushInterval);
}

// A line enters the history only if it was left standing for a while; one typed on top of it takes its place.
void SearchSession::rememberLine(const std::string& line) {
    if (!environment_.addQueryToHistory) return;
    if (environment_.timing.historyDelay <= Seconds(0)) {
        environment_.addQueryToHistory(line);
        return;
    }
    delayed_.cancelPreviousThenPerform(environment_.timing.historyDelay,
                                       [this, line] { environment_.addQueryToHistory(line); });
}

void SearchSession::scheduleSearch(Seconds delay) {
    delayed_.cancelPreviousThenPerform(delay, [this, number = ++scheduledSearch_] {
        if (number == scheduledSearch_) doSearch();
    });
}

void SearchSession::controlTextDidChange(bool alwaysStartSearch) {
    const std::string line = view_.queryText();
    const std::string trimmed = trimAtNewLine(line);
    if (trimmed != line) view_.setQueryText(trimmed);
    cancelOperation();
    if (!alwaysStartSearch && !environment_.query.preferences.boolean("startSearchesAutomatically")) return;
    scheduleSearch(environment_.timing.startSearchDelay);
}

void SearchSession::changeCurrentSearchTextAndSearch(const std::string& query,
                                                     const std::string& locationName, bool performSearch) {
    if (!locationName.empty()) view_.selectLocation(locationName);
    view_.setQueryText(trimAtNewLine(query));
    if (performSearch) controlTextDidChange(true);
}

void SearchSession::cancelOperation() {
    if (currentSearchManager_) currentSearchManager_->userCancel();
}

bool SearchSession::cancel(bool byKeyPress) {
    if (byKeyPress) ++stopCounter_;
    const bool moveFocus = stopCounter_ == 2;
    if (moveFocus) stopCounter_ = 0;
    cancelOperation();
    return moveFocus;
}

void SearchSession::searchManagerIsBeginingSearches(const Query& query) {
    view_.searchHasStarted(query);
    if (!query->baseStringLowercase().empty()) {
        view_.showTitle("Find \u201C" + query->baseStringLowercase() + "\u201D");
    }
    startFlushTimer();
}

void SearchSession::searchManagerFoundItems(std::vector<SearchResult> items,
                                            std::int64_t totalNumberOfResultsReturnedSoFar,
                                            const Query& forQuery) {
    if (forQuery != current_) return;
    lastTotalNumberOfResultsReturned_ = totalNumberOfResultsReturnedSoFar;
    finalResults_->add(std::move(items));
    if (isTimeToFlush()) flushResults();
}

bool SearchSession::isTimeToFlush() const {
    return environment_.timing.flushInterval <= Seconds(0) || finalResults_->isTimeToEmpty();
}

// Looks after rows that wait while no further ones come.
void SearchSession::startFlushTimer() {
    stopFlushTimer();
    if (environment_.timing.flushInterval <= Seconds(0)) return;
    finalResultsFlushTimer_ =
        environment_.search.mainQueue.postAfter(environment_.timing.flushTick, [session = weak_from_this()] {
            const auto self = session.lock();
            if (!self) return;
            if (self->isTimeToFlush()) self->flushResults();
            self->startFlushTimer();
        });
}

void SearchSession::stopFlushTimer() {
    if (finalResultsFlushTimer_) environment_.search.mainQueue.cancel(*finalResultsFlushTimer_);
    finalResultsFlushTimer_.reset();
}

void SearchSession::flushResults() {
    if (!current_) return;
    std::vector<SearchResult> items = finalResults_->empty();
    if (items.empty()) return;
    if (Logger::shouldLog) LogFunc("rows: " + std::to_string(items.size()));
    // What a stopped search still delivers never reaches a list.
    if (!currentSearchManager_ || currentSearchManager_->shouldStop()) return;
    view_.addResults(std::move(items), current_);
    view_.showTotal(lastTotalNumberOfResultsReturned_);
}

void SearchSession::searchManagerHasFinishedAllSearches(const Query& query) {
    environment_.search.mainQueue.post([session = weak_from_this(), query] {
        if (const auto self = session.lock()) self->finished(query);
    });
}

// Can come twice for one search, and late for one that was replaced: that one leaves the timer and the
// display of the new search alone.
void SearchSession::finished(const Query& query) {
    if (query == current_) stopFlushTimer();
    flushResults();
    view_.searchHasStopped();
    if (!current_ || current_->baseString() == query->baseString()) view_.searchesHaveCompleted(query);
}

void SearchSession::searchDataSourceProgress(std::int64_t searchedNumberOfFiles,
                                             std::int64_t itemsWaitingInQueue) {
    view_.showProgress(searchedNumberOfFiles, itemsWaitingInQueue);
}

void SearchSession::searchErrorOccured(int errorNumber, const std::string& onPath) {
    view_.searchErrorOccured(errorNumber, onPath);
}

void SearchSession::searchingInsideFile(const std::string& name, bool inProgress, int percentageProgress) {
    view_.searchingInsideFile(name, inProgress, percentageProgress);
}

// The search goes on: other sources may understand the query.
void SearchSession::searchInvalidQuery() {
    view_.searchInvalidQuery();
    view_.showProgressText("Invalid Query Text");
}

}  // namespace kestrix
