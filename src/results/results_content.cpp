#include "results/results_content.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "base/lock.h"
#include "base/operation_queue.h"
#include "shell/logger.h"

namespace kestrix {
namespace {

// Checks wait for disks and for the content command; two keep a slow one from holding up all others.
constexpr std::size_t kChecksAtOnce = 2;

// The children of the nodes, and theirs, in the order of the list.
void sortChildren(const UINodes& nodes, const NodeOrder& order) {
    for (const UINodePtr& node : nodes) {
        node->modifyChildren([&](UINodes& children) {
            children = UINode::sortNodes(std::move(children), order);
            sortChildren(children, order);
        });
    }
}

void replaceIn(UINodes& nodes, const UINodePtr& old, const UINodePtr& replacement) {
    std::ranges::replace(nodes, old, replacement);
    for (const UINodePtr& node : nodes)
        node->modifyChildren([&](UINodes& children) { replaceIn(children, old, replacement); });
}

}  // namespace

// Operations of the queues refer to this plainly: the queues are the first to go, and wait for what runs.
// Blocks on the main queue, which outlives this, hold it weakly.
class ResultsContent::State : public std::enable_shared_from_this<State> {
  public:
    State(ResultsContentView& view, MainQueue& mainQueue, const Preferences& preferences,
          VisibleCheckEnvironment checks)
        : view_(view), mainQueue_(mainQueue), preferences_(preferences), checks_(std::move(checks)) {}

    // Main queue.
    void addResults(UINodes nodes, Query query) {
        lastQueryContainer_ = std::move(query);
        renewRules();
        if (!nodes.empty()) merge(std::move(nodes), nullptr);
    }
    void merge(UINodes nodes, std::function<void()> onCompletion) {
        resultsMergeQueue_.add([this, nodes = std::move(nodes), onCompletion = std::move(onCompletion),
                                search = search_.load()]() mutable {
            mergeNow(std::move(nodes));
            show(search, std::move(onCompletion));
        });
    }
    void clear() {
        resultsMergeQueue_.cancelAllOperations();
        waiting_.modify([](auto& waiting) { waiting.clear(); });
        ++search_;
        emptyList();
    }
    void stopReading() { ++search_; }
    NodeOrder wantedOrder() const { return wanted_.get(); }
    void sortBy(Column column, bool reversed) {
        wanted_.modify([&](NodeOrder& order) {
            order.column = column;
            order.reversed = reversed;
        });
        resort();
    }
    void breakTiesByPath() {
        wanted_.modify([](NodeOrder& order) { order.tiesByPath = true; });
        resort();
    }
    void resort() {
        renewRules();
        change([this] { sortNow(*resultsContent_); });
    }
    void removeOldestItemsOver(std::size_t max);
    void removeItems(std::vector<std::string> paths);
    void substitute(UINodePtr old, UINodePtr replacement);
    void rowsInView(const UINodes& rows);
    void cancelOperations();
    std::shared_ptr<const UINodes> waitUntilAtRest() {
        checkUpdateQueue_.waitUntilAllOperationsAreFinished();
        resultsMergeQueue_.waitUntilAllOperationsAreFinished();
        return resultsContent_;
    }

  private:
    // Main queue. Does the work on the merge queue, then shows the list.
    template <typename Work>
    void change(Work work) {
        resultsMergeQueue_.add([this, work = std::move(work), search = search_.load()] {
            work();
            show(search, nullptr);
        });
    }
    void emptyList() {
        change([this, search = search_.load()] {
            resultsContentMap_.clear();
            setList({});
            listIsOfSearch_ = search;
        });
    }
    void renewRules() {
        const SortRules rules = SortRules::of(lastQueryContainer_.get(), preferences_);
        wanted_.modify([&](NodeOrder& order) { order.rules = rules; });
    }

    // Merge queue.
    void mergeNow(UINodes nodes);
    void sortNow(UINodes nodes);
    template <typename Leaves>
    void removeNodesThat(Leaves leaves);
    void setList(UINodes nodes) { resultsContent_ = std::make_shared<const UINodes>(std::move(nodes)); }
    void show(int search, std::function<void()> onCompletion);

    // Check queue.
    void checkUpdate(const UINodePtr& node, const Query& query, int search);
    void apply(UINode::VisibleCheckResult result, const UINodePtr& node, int search);

    ResultsContentView& view_;
    MainQueue& mainQueue_;
    const Preferences& preferences_;
    const VisibleCheckEnvironment checks_;

    // Main queue.
    Query lastQueryContainer_;

    // Written on the main queue. The number of the present search: what belongs to one before is not shown
    // any more, and nothing is read for it.
    std::atomic<int> search_ = 0;
    Locked<NodeOrder> wanted_;
    Locked<std::unordered_set<UINodePtr>> waiting_;

    // Merge queue.
    std::shared_ptr<const UINodes> resultsContent_ = std::make_shared<const UINodes>();
    std::unordered_set<std::string_view> resultsContentMap_;  // paths of the nodes, which hold the texts
    NodeOrder order_;                                         // in which the list stands
    int listIsOfSearch_ = 0;                                  // the search whose rows these are

    // False: something was changed since the list was sorted. Also cleared on the main queue.
    std::atomic<bool> isInOrder_ = true;

    OperationQueue checkUpdateQueue_{kChecksAtOnce, "checkUpdateQueue"};
    SerialQueue resultsMergeQueue_{"resultsMergeQueue"};
};

// A list that stands in the wanted order takes the batch in place by place; otherwise everything is sorted.
void ResultsContent::State::mergeNow(UINodes nodes) {
    std::erase_if(nodes,
                  [&](const UINodePtr& node) { return !resultsContentMap_.insert(node->path()).second; });
    const NodeOrder order = wanted_.get();
    if (isInOrder_ && order == order_) {
        sortChildren(nodes, order);
        setList(mergeNodes(*resultsContent_, std::move(nodes), order));
    } else {
        nodes.insert(nodes.begin(), resultsContent_->begin(), resultsContent_->end());
        sortNow(std::move(nodes));
    }
    if (Logger::shouldLog) LogFunc("rows in the list: " + std::to_string(resultsContent_->size()));
}

void ResultsContent::State::sortNow(UINodes nodes) {
    order_ = wanted_.get();
    isInOrder_ = true;
    nodes = UINode::sortNodes(std::move(nodes), order_);
    sortChildren(nodes, order_);
    setList(std::move(nodes));
}

// The map goes first: its texts belong to the nodes.
template <typename Leaves>
void ResultsContent::State::removeNodesThat(Leaves leaves) {
    UINodes kept;
    kept.reserve(resultsContent_->size());
    for (const UINodePtr& node : *resultsContent_) {
        if (leaves(node)) {
            resultsContentMap_.erase(node->path());
        } else {
            kept.push_back(node);
        }
    }
    setList(std::move(kept));
}

void ResultsContent::State::show(int search, std::function<void()> onCompletion) {
    mainQueue_.post(
        [weak = weak_from_this(), search, nodes = resultsContent_, onCompletion = std::move(onCompletion)] {
            const auto self = weak.lock();
            if (!self || search != self->search_) return;
            self->view_.displayNodes(nodes);
            if (onCompletion) onCompletion();
        });
}

void ResultsContent::State::removeOldestItemsOver(std::size_t max) {
    change([this, max] {
        if (resultsContent_->size() <= max) return;
        UINodes byAge = *resultsContent_;
        std::ranges::stable_sort(byAge, std::ranges::greater(), &UINode::nodeCreated);
        const auto oldest = byAge.begin() + static_cast<std::ptrdiff_t>(max);
        const std::unordered_set<UINodePtr> leaving(oldest, byAge.end());
        removeNodesThat([&](const UINodePtr& node) { return leaving.contains(node); });
    });
}

void ResultsContent::State::removeItems(std::vector<std::string> paths) {
    change([this, paths = std::unordered_set<std::string>(std::make_move_iterator(paths.begin()),
                                                          std::make_move_iterator(paths.end()))] {
        removeNodesThat([&](const UINodePtr& node) { return paths.contains(node->path()); });
    });
}

// The list may not be in order afterwards, which the next merge puts right. A replacement whose path is there
// already is a duplicate like any other.
void ResultsContent::State::substitute(UINodePtr old, UINodePtr replacement) {
    change([this, old = std::move(old), replacement = std::move(replacement)] {
        UINodes nodes = *resultsContent_;
        const bool isListed = std::ranges::find(nodes, old) != nodes.end();
        if (isListed) {
            resultsContentMap_.erase(old->path());
            if (!resultsContentMap_.insert(replacement->path()).second) std::erase(nodes, old);
        }
        replaceIn(nodes, old, replacement);
        isInOrder_ = false;
        setList(std::move(nodes));
    });
}

void ResultsContent::State::rowsInView(const UINodes& rows) {
    const std::unordered_set<UINodePtr> inView(rows.begin(), rows.end());
    UINodes added;
    waiting_.modify([&](auto& waiting) {
        std::erase_if(waiting, [&](const UINodePtr& node) { return !inView.contains(node); });
        std::ranges::copy_if(rows, std::back_inserter(added),
                             [&](const UINodePtr& node) { return waiting.insert(node).second; });
    });
    for (const UINodePtr& node : added) {
        checkUpdateQueue_.add([this, node, query = lastQueryContainer_, search = search_.load()] {
            checkUpdate(node, query, search);
        });
    }
}

void ResultsContent::State::checkUpdate(const UINodePtr& node, const Query& query, int search) {
    const bool isStillInView = waiting_.modify([&](auto& waiting) { return waiting.erase(node) > 0; });
    if (!isStillInView) return;
    VisibleCheckEnvironment checks = checks_;
    checks.isStopped = [this, search] { return search != search_; };
    const auto result = node->visibleOnScreenChecks(query.get(), checks);
    if (result == UINode::VisibleCheckResult::none) return;
    mainQueue_.post([weak = weak_from_this(), result, node, search] {
        if (const auto self = weak.lock()) self->apply(result, node, search);
    });
}

// Main queue. What a check found may have changed the kind, by which the list may be sorted.
void ResultsContent::State::apply(UINode::VisibleCheckResult result, const UINodePtr& node, int search) {
    if (search != search_) return;
    if (result == UINode::VisibleCheckResult::remove) return removeItems({node->path()});
    if (wantedOrder().column == Column::kind) isInOrder_ = false;
    view_.reloadNode(node);
}

// Rows of an earlier search are not kept, and an order that was asked for is not given up with the rows.
void ResultsContent::State::cancelOperations() {
    resultsMergeQueue_.cancelAllOperations();
    resultsMergeQueue_.waitUntilAllOperationsAreFinished();
    if (listIsOfSearch_ != search_) emptyList();
    if (order_ != wanted_.get()) resort();
}

ResultsContent::ResultsContent(ResultsContentView& view, MainQueue& mainQueue, const Preferences& preferences,
                               VisibleCheckEnvironment checks)
    : state_(std::make_shared<State>(view, mainQueue, preferences, std::move(checks))) {}

// Rather than until a document is read to its end, this waits until its reader looks up.
ResultsContent::~ResultsContent() {
    state_->stopReading();
}

void ResultsContent::addResults(UINodes nodes, Query query) {
    state_->addResults(std::move(nodes), std::move(query));
}

void ResultsContent::mergeNode(UINodes nodes, std::function<void()> onCompletion) {
    state_->merge(std::move(nodes), std::move(onCompletion));
}

void ResultsContent::clear() {
    state_->clear();
}

Column ResultsContent::currentColumn() const {
    return state_->wantedOrder().column;
}

bool ResultsContent::currentColumnReversed() const {
    return state_->wantedOrder().reversed;
}

void ResultsContent::sortBy(Column column, bool reversed) {
    state_->sortBy(column, reversed);
}

void ResultsContent::breakTiesByPath() {
    state_->breakTiesByPath();
}

void ResultsContent::resortResults() {
    state_->resort();
}

void ResultsContent::removeOldestItemsOver(std::size_t max) {
    state_->removeOldestItemsOver(max);
}

void ResultsContent::removeItemsFromResultsWithPaths(std::vector<std::string> paths) {
    state_->removeItems(std::move(paths));
}

void ResultsContent::substituteItems(UINodePtr old, UINodePtr replacement) {
    state_->substitute(std::move(old), std::move(replacement));
}

void ResultsContent::rowsInView(const UINodes& rows) {
    state_->rowsInView(rows);
}

void ResultsContent::cancelOperations() {
    state_->cancelOperations();
}

std::shared_ptr<const UINodes> ResultsContent::waitUntilAtRest() {
    return state_->waitUntilAtRest();
}

}  // namespace kestrix
