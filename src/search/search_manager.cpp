// Three background stretches of work belong to a search. The start operation runs the sources, one thread
// each, and waits for them. The loop operation runs the merge. Both hold the manager, so it lives until the
// finish message is out; sources and workers need no hold of their own, as those two wait for them. No lock
// is held while a source, a command or the delegate is called.

#include "search/search_manager.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "base/delay_timer.h"
#include "base/lock.h"
#include "base/operation_queue.h"
#include "search/merge.h"
#include "search/merge_queue.h"

namespace kestrix {

namespace {

using Query = SearchManagerDelegate::Query;

bool contains(const SearchDataSources& sources, const std::shared_ptr<SearchDataSource>& source) {
    return std::ranges::find(sources, source) != sources.end();
}

bool isOfMetadataIndex(const SearchDataSource& source) {
    return source.type() == SearchResultSupplier::spotlight ||
           source.type() == SearchResultSupplier::showAppsCmd;
}

// Commands that judge sizes or dates look at them too, whatever the front end shows.
bool judgesAttributes(const QuerySearchArguments& arguments) {
    return arguments.modificationDate || arguments.creationDate || arguments.fileSize;
}

// Hits in contents are what the user asked for above all; they overtake what is waiting.
bool isUrgent(const SearchDataSource& source) {
    return source.type() == SearchResultSupplier::spotlightContent ||
           source.type() == SearchResultSupplier::CompactContentIndex;
}

SearchDataSources make(const std::function<SearchDataSources()>& maker) {
    return maker ? maker() : SearchDataSources();
}

void append(Locked<SearchDataSources>& to, const SearchDataSources& sources) {
    to.modify([&](SearchDataSources& all) { all.insert(all.end(), sources.begin(), sources.end()); });
}

void askToStop(const SearchDataSources& sources) {
    for (const auto& source : sources)
        source->searchShouldStop();
}

}  // namespace

struct SearchManager::State {
    State(std::weak_ptr<SearchManagerDelegate> to, SearchManagerOptions chosen,
          const SearchEnvironment& environment)
        : delegate(std::move(to)),
          options(chosen),
          mainQueue(environment.mainQueue),
          clock(environment.clock),
          timing(environment.timing),
          makers(environment.makers),
          commandBasedDataSources(make(makers.commandBasedDataSources)),
          attributes(options.attributes),
          numberOfFilesSearchedDelay(timing.progressInterval, clock),
          queue(clock, timing) {}

    void startSources(SearchManager& manager, const SearchDataSources& sources);
    void startStandardSources(SearchManager& manager);
    void sourceHasReturned(const std::shared_ptr<SearchDataSource>& source, const Query& query);
    void cancelSpotlight();
    bool locationsAreClaimed(const QueryContainer& query) const;

    // What is read in a file, as the delegate is told.
    struct Announcement {
        std::string name;
        bool inProgress = false;
        int percentage = 0;
    };

    // Calls the delegate on the main queue, if it is still there then.
    template <typename Call>
    void tell(Call call) {
        mainQueue.post([to = delegate, call = std::move(call)]() mutable {
            if (const auto receiver = to.lock()) call(*receiver);
        });
    }

    const std::weak_ptr<SearchManagerDelegate> delegate;
    const SearchManagerOptions options;
    MainQueue& mainQueue;
    Clock& clock;
    const SearchTiming timing;
    const SearchEnvironment::Makers makers;

    const SearchDataSources commandBasedDataSources;
    Locked<SearchDataSources> fileSystemSearchDataSources;
    Locked<SearchDataSources> allDataSources;       // in start order
    Locked<SearchDataSources> finishedDataSources;  // in finishing order; its lock is taken first
    Locked<Query> currentSearchQuery;

    std::atomic<bool> shouldStop = false;
    std::atomic<bool> searchInProgress = false;
    std::atomic<bool> attributes;
    std::atomic<std::int64_t> numberOfFilesSearched = 0;
    std::atomic<std::int64_t> numberOfResultsReturned = 0;
    DelayTimer numberOfFilesSearchedDelay;
    Locked<std::optional<Announcement>> announcement;  // not told yet

    MergeQueue queue;
    std::unique_ptr<Merge> merge;

    OperationQueue startQueue{1, "search start"};
    OperationQueue sourceQueue{OperationQueue::kUnlimited, "search sources"};
    OperationQueue loopQueue{1, "merge loop"};
};

void SearchManager::State::startSources(SearchManager& manager, const SearchDataSources& sources) {
    append(allDataSources, sources);
    const Query query = currentSearchQuery.get();
    for (const auto& source : sources) {
        sourceQueue.add([this, &manager, source, query] {
            if (!shouldStop) source->search(query, manager);
            sourceHasReturned(source, query);
        });
    }
}

void SearchManager::State::startStandardSources(SearchManager& manager) {
    searchInProgress = true;
    const SearchDataSources sources = make(makers.standardSources);
    fileSystemSearchDataSources.set(sources);
    startSources(manager, sources);
    // A stop that came before they were entered has missed them.
    if (shouldStop) {
        searchInProgress = false;
        askToStop(sources);
    }
}

void SearchManager::State::sourceHasReturned(const std::shared_ptr<SearchDataSource>& source,
                                             const Query& query) {
    append(finishedDataSources, {source});
    if (shouldStop) return;
    source->searchShouldStop();  // lets it free what it holds
    if (!query->isWordBasedSearch()) return;
    const bool othersRun = finishedDataSources.read([this](const SearchDataSources& finished) {
        return allDataSources.read([&finished](const SearchDataSources& all) {
            return std::ranges::any_of(all, [&finished](const auto& candidate) {
                return !isOfMetadataIndex(*candidate) && !contains(finished, candidate);
            });
        });
    });
    // A metadata index gathers slowly what the others have found already, so it never holds a search open.
    if (!othersRun) cancelSpotlight();
}

void SearchManager::State::cancelSpotlight() {
    for (const auto& source : allDataSources.get()) {
        if (isOfMetadataIndex(*source)) source->searchShouldStop();
    }
}

// Whether a source looks after certain folders by itself; the standard sources stay out then.
bool SearchManager::State::locationsAreClaimed(const QueryContainer& query) const {
    return std::ranges::any_of(allDataSources.get(), [&query](const auto& source) {
        return !source->dataSourceLocations(query).empty();
    });
}

std::shared_ptr<SearchManager> SearchManager::create(std::weak_ptr<SearchManagerDelegate> delegate,
                                                     SearchManagerOptions options,
                                                     const SearchEnvironment& environment) {
    return std::shared_ptr<SearchManager>(new SearchManager(std::move(delegate), options, environment));
}

SearchManager::SearchManager(std::weak_ptr<SearchManagerDelegate> delegate, SearchManagerOptions options,
                             const SearchEnvironment& environment)
    : state_(std::make_unique<State>(std::move(delegate), options, environment)) {}

SearchManager::~SearchManager() = default;

void SearchManager::searchFor(const std::shared_ptr<const QueryContainer>& query) {
    state_->currentSearchQuery.set(query);
    if (judgesAttributes(query->querySearchArguments())) state_->attributes = true;
    state_->merge = std::make_unique<Merge>(
        state_->queue,
        MergeSetup{query, state_->options.searchInsideSystemAndApps, wantsAttributes(), *this, state_->clock,
                   [this](std::vector<SearchResult> survivors) { deliver(std::move(survivors)); }});
    if (const auto delegate = state_->delegate.lock()) delegate->searchManagerIsBeginingSearches(query);
    state_->startQueue.add([self = shared_from_this()] { self->runSources(); });
}

void SearchManager::runSources() {
    const Query query = state_->currentSearchQuery.get();
    for (const auto& command : query->commandsFoundInQuery())
        command->commandsStarting();
    SearchDataSources sources = state_->commandBasedDataSources;
    const SearchDataSources supplied = query->suppliedDataSources();
    sources.insert(sources.end(), supplied.begin(), supplied.end());
    state_->startSources(*this, sources);
    if (query->isWordBasedSearch() && !state_->locationsAreClaimed(*query)) {
        state_->startStandardSources(*this);
    }
    state_->loopQueue.add([self = shared_from_this()] { self->runMerge(); });
    state_->sourceQueue.waitUntilAllOperationsAreFinished();
    state_->queue.sourcesHaveEnded();
}

// The end of a search is the end of this operation, stopped or not.
void SearchManager::runMerge() {
    state_->merge->run();
    state_->searchInProgress = false;
    if (const auto delegate = state_->delegate.lock()) {
        delegate->searchManagerHasFinishedAllSearches(state_->currentSearchQuery.get());
    }
}

void SearchManager::deliver(std::vector<SearchResult> survivors) {
    state_->numberOfResultsReturned += static_cast<std::int64_t>(survivors.size());
    state_->tell([self = shared_from_this(), query = state_->currentSearchQuery.get(),
                  items = std::move(survivors)](SearchManagerDelegate& delegate) mutable {
        delegate.searchManagerFoundItems(std::move(items), self->numberOfResultsReturned(), query);
    });
}

void SearchManager::stop() {
    state_->searchInProgress = false;
    if (state_->shouldStop.exchange(true)) return;
    state_->queue.stop();
    askToStop(state_->fileSystemSearchDataSources.get());
    askToStop(state_->commandBasedDataSources);
    // Sources supplied by commands poll shouldStop. Which command is at work just now is not tracked:
    // commandStop means nothing to an idle one.
    if (const Query query = state_->currentSearchQuery.get()) {
        for (const auto& command : query->commandsFoundInQuery())
            command->commandStop();
    }
}

void SearchManager::userCancel() {
    stop();
    const Query query = state_->currentSearchQuery.get();
    const auto delegate = state_->delegate.lock();
    if (query && delegate) delegate->searchManagerHasFinishedAllSearches(query);
}

void SearchManager::waitUntilEnded() {
    state_->startQueue.waitUntilAllOperationsAreFinished();
    state_->loopQueue.waitUntilAllOperationsAreFinished();
}

bool SearchManager::searchInProgress() const {
    return state_->searchInProgress;
}

std::int64_t SearchManager::numberOfResultsReturned() const {
    return state_->numberOfResultsReturned;
}

std::int64_t SearchManager::numberOfFilesSearched() const {
    return state_->numberOfFilesSearched;
}

bool SearchManager::shouldStop() const {
    return state_->shouldStop;
}

bool SearchManager::wantsInvisibleItems() const {
    return state_->options.searchInsideSystemAndApps;
}

bool SearchManager::wantsAttributes() const {
    return state_->attributes;
}

bool SearchManager::wantsFindings() const {
    return state_->options.findings;
}

void SearchManager::searchResults(std::vector<SearchResult> results, const SearchDataSource& fromDataSource) {
    if (!results.empty()) state_->queue.append(std::move(results), isUrgent(fromDataSource));
}

void SearchManager::searchDataSourceProgress(std::int64_t searchedNumberOfFiles) {
    state_->numberOfFilesSearched += searchedNumberOfFiles;
    if (!state_->numberOfFilesSearchedDelay.hasElapsed()) return;
    state_->tell([files = numberOfFilesSearched(), waiting = state_->queue.itemsWaiting()](
                     SearchManagerDelegate& delegate) { delegate.searchDataSourceProgress(files, waiting); });
}

// The counts of folders stop here: they come per source and disk and have no one total.
void SearchManager::searchDataSourceProgress(const SearchDataSource&, std::int64_t, const std::string&) {}

void SearchManager::searchErrorOccured(int errorNumber, const std::string& onPath) {
    state_->tell([errorNumber, onPath](SearchManagerDelegate& delegate) {
        delegate.searchErrorOccured(errorNumber, onPath);
    });
}

// Small files come and go by the thousand a second: of what is announced within one interval the newest
// counts.
void SearchManager::searchingInsideFile(const std::string& name, bool inProgress, int percentageProgress) {
    const bool isWaiting = state_->announcement.modify([&](std::optional<State::Announcement>& waiting) {
        const bool waited = waiting.has_value();
        waiting = State::Announcement{name, inProgress, percentageProgress};
        return waited;
    });
    if (isWaiting) return;
    state_->mainQueue.postAfter(state_->timing.progressInterval, [waiting = weak_from_this()] {
        const auto self = waiting.lock();
        if (!self) return;
        const auto latest = self->state_->announcement.modify(
            [](std::optional<State::Announcement>& newest) { return std::exchange(newest, std::nullopt); });
        if (const auto to = self->state_->delegate.lock())
            to->searchingInsideFile(latest->name, latest->inProgress, latest->percentage);
    });
}

void SearchManager::searchInvalidQuery() {
    state_->tell([](SearchManagerDelegate& delegate) { delegate.searchInvalidQuery(); });
}

}  // namespace kestrix
