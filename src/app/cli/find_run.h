// One search of the command line, from its start to its exit code.
#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "app/application.h"
#include "app/cli/commands.h"
#include "app/cli/find_request.h"
#include "app/cli/progress_line.h"
#include "base/error.h"
#include "platform/interrupts.h"
#include "results/content_summary.h"
#include "results/results_content.h"
#include "results/results_exporter.h"
#include "results/search_session.h"

namespace kestrix::cli {

// Prints or exports results as they come, or all at the end when they are sorted, in the list that a window
// would show, or counted. An exported file appears only when it is complete. The search ends with its last
// source, with the limit, with an interrupt, or when nobody reads any more; in the last three cases its
// threads may still wind down when run returns, so the application must live on until the process ends.
class FindRun : private SearchSessionView, private ResultsContentView {
  public:
    FindRun(CommandContext& context, FindRequest request);

    // Once. Returns the exit code, with everything printed but the output not closed.
    int run();

  private:
    std::string queryText() override { return request_.line; }
    std::optional<SearchLocation> locationFromPopupIndex() override;
    bool soundexOn() override { return request_.soundex; }
    bool wantsAttributes() override;
    bool wantsFindings() override;
    std::optional<bool> searchInsideSystemAndApps() override;
    void scriptHasStarted(const Query& query) override;
    void searchHasStarted(const Query& query) override;
    void addResults(std::vector<SearchResult> results, const Query& query) override;
    void searchesHaveCompleted(const Query& query) override;
    void queryIsEmpty(const Query& query) override;

    // Only the finished list is printed.
    void displayNodes(std::shared_ptr<const UINodes>) override {}

    SearchSessionEnvironment sessionEnvironment();
    UINodeEnvironment nodeEnvironment();
    bool sorts() const { return request_.sort && !request_.countOnly; }
    void interrupted(int signal);
    void stop();
    void end();
    void take(std::vector<SearchResult>& results);
    void put(SearchResult& result);
    void put(UINode& node);
    void exportRecord(const SearchResult& result);
    void flushSoon();
    void flushNow();
    void noteInHistory();
    void drawProgress();
    void printGathered();
    void printSorted();
    void finishExport();
    void printStats();
    void noteWhatIsNotUnderstood(const QueryContainer& query);
    void noteSlowPatterns();
    void noteFailedCatalog(const std::string& name, const std::string& reason);
    void noteWhyNothing();
    int exitCode();

    CommandContext& context_;
    Application& application_;
    OutputWriter& output_;
    FindRequest request_;

    std::atomic<int> interruptedBy_ = 0;  // the signal's number
    std::mutex mutex_;
    std::condition_variable answered_;
    bool allDone_ = false;  // under mutex_

    std::unique_ptr<SearchEnvironment> searchEnvironment_;
    std::unique_ptr<ResultPrinter> printer_;
    ProgressLine progress_;
    Query query_;
    UINodes gathered_;  // with a sort column
    const VisibleCheckEnvironment summaries_{.collectSummary = collectSummary,
                                             .isStopped = [this] { return interruptedBy_ != 0; }};
    std::unique_ptr<ExportFile> exportFile_;
    std::optional<Error> exportFailure_;
    std::optional<std::string> historyLine_;
    std::optional<SteadyTime> firstResult_;
    std::int64_t found_ = 0;
    int failedCatalogs_ = 0;
    bool ended_ = false;
    bool emptyQuery_ = false;
    bool onlyFilters_ = false;
    std::atomic<bool> ranScript_ = false;
    bool notedUnknownWords_ = false;
    bool flushIsDue_ = false;

    // Declared last: their threads end before anything they use.
    std::shared_ptr<SearchSession> session_;
    std::unique_ptr<InterruptWatcher> interrupts_;
};

}  // namespace kestrix::cli
