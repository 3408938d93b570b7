// What a found file becomes when it reaches a result list.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/clock.h"
#include "base/lock.h"
#include "files/search_result.h"
#include "language/query_container.h"
#include "results/kind_texts.h"

namespace kestrix {

class UINode;
struct NodeOrder;  // results/node_sorting.h
struct SortRules;
// Shared by the list, by what a front end shows of it and by the checks of rows in view.
using UINodePtr = std::shared_ptr<UINode>;
using UINodes = std::vector<UINodePtr>;
using UINodeWords = std::shared_ptr<const std::vector<std::string>>;

using IsStopped = std::function<bool()>;
// Reads the file of a record for the content command of the query, and returns what it found; nullptr for
// nothing. May block for long, though not once `isStopped`, which may be empty, says so; called on background
// threads, from several at once. See content_summary.h.
using SummaryCollector = std::function<std::shared_ptr<const ContentFindings>(
    const SearchResult& record, const QueryContainer& query, const IsStopped& isStopped)>;

// What the nodes of one list are made with. Kinds and clock outlive the nodes.
struct UINodeEnvironment {
    const KindTexts& kinds;
    const Clock& clock;
    UINodeWords wordsToHighlight{};  // of the query; none for nullptr
};

// What the checks of rows in view need. All of it may be called on background threads.
struct VisibleCheckEnvironment {
    // Whether the disk that a record lies on is there now; an empty function: every disk is.
    std::function<bool(const SearchResult& record)> volumeIsReachable{};
    // Empty: rows get no summary lines but those their record brings along.
    SummaryCollector collectSummary{};
    // Whether nobody waits for the lines any more.
    IsStopped isStopped{};
};

// One row: a file, a folder, or one summary line under a file. Making one touches no file and takes a
// fraction of a microsecond; texts are made when they are asked for, and what needs a look at the disk waits
// until the row comes into view. Threads: what a node is made of never changes. What the checks of a row in
// view change (kind, strike-through, labels, children, findings) is behind the node's lock or atomic, so that
// all operations may be called from any thread, but for sorting: one thread at a time sorts a node.
class UINode {
  public:
    enum class Kind : std::uint8_t { file, folder, fileWithContentSummary, contentSummary, package };
    enum class VisibleCheckResult { remove, reload, none };

    UINode(SearchResult searchResult, const UINodeEnvironment& environment);
    // A child row that shows one line of the text of a file.
    UINode(std::string summaryLine, UINodeWords wordsToHighlight, const UINodeEnvironment& environment);
    UINode(const UINode&) = delete;
    UINode& operator=(const UINode&) = delete;

    // A node for a path, with what the file system tells now; what cannot be read is 0.
    static UINodePtr forFile(std::string path, const UINodeEnvironment& environment);

    // Nodes for what lies in a folder, in the file system's order. The first throws Error if it cannot be
    // read, the second returns what it could read.
    static UINodes nodesForContentsOfFolder(const std::string& path, const UINodeEnvironment& environment);
    static UINodes nodesForContentsOfFolderIgnoringError(const std::string& path,
                                                         const UINodeEnvironment& environment);

    // The nodes in that order; see node_sorting.h.
    static UINodes sortNodes(UINodes nodes, const NodeOrder& order);
    // A folder is worth -1000 and a name (without its extension) that begins with the query -500, as far as
    // the rules say so. Lower comes first.
    static int sortScore(std::string_view path, const SortRules& rules, bool isFolder);

    const Uuid& id() const { return id_; }
    WallTime nodeCreated() const { return nodeCreated_; }
    // The file's true bytes; empty for a summary line.
    const std::string& path() const { return record_.path; }
    bool isDirectory() const { return record_.isDirectory; }
    std::uint64_t totalSize() const { return record_.size; }
    std::int64_t modificationDate() const { return record_.modDate; }  // seconds since 1970
    std::int64_t creationDate() const { return record_.creationDate; }
    std::int64_t contentSearchResultsRank() const { return record_.contentSearchResultsRank; }
    bool deleteFromResultsIfMissing() const { return record_.checkToSeeIfItExists; }
    // The text of a summary line; none for other rows.
    const std::optional<std::string>& summaryLine() const { return summaryLine_; }
    const std::vector<std::string>& displayWordsToHighlight() const;

    // What the row shows, always valid UTF-8.
    std::string displayName() const;
    std::string displayPath() const;
    std::string displayInside() const;  // the name of the folder that holds the file
    std::string displayTotalSize() const;
    const std::string& displayKind() const { return displayedKind().text; }
    bool displayStrikeThroughText() const { return displayStrikeThroughText_; }
    Kind kind() const { return kind_; }
    // The tags of the file; none before the row has been in view.
    std::vector<std::string> labels() const;

    // The record the node was made from, as it was then.
    const SearchResult& record() const { return record_; }
    // The same with the findings that were collected since.
    SearchResult suppliedSearchResult() const;
    // Whether the summary lines are still to be collected.
    bool tryCollectSummaryLines() const { return tryCollectSummaryLines_; }
    // The rows under this one, in their order.
    UINodes children() const;
    void setChildren(UINodes children);
    // Calls change(UINodes&) with the lock held.
    template <typename Change>
    auto modifyChildren(Change&& change) {
        return details_.modify([&](Details& details) { return change(details.children); });
    }

    // When the row comes into view, and at each look at the rows in view from then on. Reads the file system
    // and, for hits whose lines are still to be collected, the file: for background threads. `query` may be
    // nullptr: no lines are collected then. `remove`: the row is to go; `reload`: it is to be drawn anew.
    VisibleCheckResult visibleOnScreenChecks(const QueryContainer* query,
                                             const VisibleCheckEnvironment& environment);

    // Gives the row the summary lines that are still to be collected; whether it got any. Part of the checks
    // above; for front ends that show rows without a view of them, too.
    bool collectContentIfNeeded(const QueryContainer* query, const VisibleCheckEnvironment& environment);

    // The key of the name that sorting compares, made when first asked for and kept.
    const std::string& nameSortKey() const;
    const KindTexts::Kind& displayedKind() const;

  private:
    struct Details {
        std::shared_ptr<const ContentFindings> findings;
        UINodes children;
        std::vector<std::string> labels;
    };

    bool strikeThroughIfMissing(const VisibleCheckEnvironment& environment);
    void readLabels();
    bool noteAlias();
    void takeFindings(std::shared_ptr<const ContentFindings> findings);

    SearchResult record_;  // never changes; findings collected later stand in details_
    Uuid id_ = Uuid::make();
    WallTime nodeCreated_;
    UINodeWords wordsToHighlight_;
    std::optional<std::string> summaryLine_;
    const KindTexts& kinds_;
    const Clock& clock_;
    mutable std::atomic<const KindTexts::Kind*> displayedKind_ = nullptr;
    std::atomic<Kind> kind_;
    std::atomic<bool> hasLoadedAdditionalDetails_ = false;
    std::atomic<bool> tryCollectSummaryLines_;
    std::atomic<bool> displayStrikeThroughText_ = false;
    mutable std::string nameSortKey_;
    mutable Locked<Details> details_;
};

}  // namespace kestrix
