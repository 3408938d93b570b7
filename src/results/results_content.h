// The sorted list of the results of one search, for any front end.
//
//   addResults ──▶ merge queue (serial): drop duplicates, sort the batch, merge ──▶ main queue: displayNodes
//   rowsInView ──▶ check queue: visibleOnScreenChecks of each ──▶ main queue: remove the row or redraw it
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/main_queue.h"
#include "results/node_sorting.h"

namespace kestrix {

// What a front end does with the list. All calls come on the main queue.
class ResultsContentView {
  public:
    virtual ~ResultsContentView() = default;

    // The whole list, to be shown in place of the one before. It never changes.
    virtual void displayNodes(std::shared_ptr<const UINodes> nodes) = 0;
    // The row looks different now; it may have got children.
    virtual void reloadNode(const UINodePtr& node) { (void)node; }
};

// Threads: every operation is called on the main queue. List and paths live on a serial queue of their own
// and reach the front end as values. The view, the main queue and the preferences outlive this; what is still
// on its way when this ends never arrives.
class ResultsContent {
  public:
    using Query = std::shared_ptr<const QueryContainer>;

    ResultsContent(ResultsContentView& view, MainQueue& mainQueue, const Preferences& preferences,
                   VisibleCheckEnvironment checks);
    ~ResultsContent();
    ResultsContent(const ResultsContent&) = delete;
    ResultsContent& operator=(const ResultsContent&) = delete;

    // Merges the nodes in and shows the list. A node whose path is in the list already is dropped.
    void addResults(UINodes nodes, Query query);
    // The same for nodes from elsewhere, with a word when they are shown.
    void mergeNode(UINodes nodes, std::function<void()> onCompletion = nullptr);

    // A new search: an empty list. What waits to be merged is dropped.
    void clear();

    Column currentColumn() const;
    bool currentColumnReversed() const;
    // Sorts by another column, the children of each node, too.
    void sortBy(Column column, bool reversed);
    // From now on rows that are equal stand in the order of their paths, for lists that are to come out the
    // same whatever order rows arrive in.
    void breakTiesByPath();
    // Sorts again: settings that bear on the order have changed.
    void resortResults();

    // Keeps the `max` nodes made last.
    void removeOldestItemsOver(std::size_t max);
    void removeItemsFromResultsWithPaths(std::vector<std::string> paths);
    // Puts `replacement` in the place of `old`, in the list and among children.
    void substituteItems(UINodePtr old, UINodePtr replacement);

    // The rows that are in view now, to be handed in at each change and every second or so. Each is checked
    // in the background; one that has left the view before its check starts is not.
    void rowsInView(const UINodes& rows);

    // Drops what waits to be merged and returns when the list is at rest. Rows of this search that are there
    // stay.
    void cancelOperations();
    // Returns when all that was asked for so far is done, with the list as it stands then; calls of the view
    // may still wait on the main queue.
    std::shared_ptr<const UINodes> waitUntilAtRest();

  private:
    class State;
    std::shared_ptr<State> state_;
};

}  // namespace kestrix
