#include "app/cli/find_run.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

#include "app/cli/catalog_actions.h"
#include "app/cli/display_text.h"
#include "base/error.h"
#include "base/text.h"
#include "language/commands/regex_command.h"
#include "language/suggestions.h"
#include "platform/system_info.h"
#include "results/presence.h"

namespace kestrix::cli {
namespace {

constexpr Seconds kFlushInterval = Seconds(0.5);
constexpr Seconds kProgressDelay = Seconds(0.5);
constexpr Seconds kProgressInterval = Seconds(0.1);

// The settings are written once the first results have had their chance: a write that reaches the disk costs
// a millisecond here and many on slow disks.
constexpr Seconds kHistoryDelay = Seconds(0.05);

// How long an interrupted search may take to end in order. It takes longer only when a write to standard
// output is stuck in a full pipe.
constexpr Seconds kInterruptPatience = Seconds(2);

// 130 for Ctrl-C, as shells count.
int exitCodeOf(int signal) {
    return 128 + signal;
}

double milliseconds(SteadyTime from, SteadyTime to) {
    return std::chrono::duration<double, std::milli>(to - from).count();
}

}  // namespace

// The watcher comes first: every thread that is made later inherits its signal mask.
FindRun::FindRun(CommandContext& context, FindRequest request)
    : context_(context),
      application_(context.application),
      output_(context.output),
      request_(std::move(request)),
      interrupts_(std::make_unique<InterruptWatcher>([this](int signal) { interrupted(signal); })) {}

int FindRun::run() {
    if (!request_.missingPlaces.empty()) demandKnownPlaces(request_, application_.catalogs());
    if (const auto& target = request_.exportTo) {
        exportFile_ = std::make_unique<ExportFile>(target->path, target->format);
    }
    session_ = SearchSession::create(*this, sessionEnvironment());
    MainQueue& queue = application_.mainQueue();
    if (request_.entersHistory) queue.postAfter(kHistoryDelay, [this] { noteInHistory(); });
    if (progress_.isPossible()) queue.postAfter(kProgressDelay, [this] { drawProgress(); });
    session_->doSearch();
    if (!ended_) application_.mainQueue().run();
    progress_.clear();
    printGathered();
    finishExport();
    output_.flush();
    noteInHistory();
    noteSlowPatterns();
    if (request_.stats) printStats();
    const int code = exitCode();
    std::lock_guard hold(mutex_);
    allDone_ = true;
    answered_.notify_all();
    return code;
}

SearchSessionEnvironment FindRun::sessionEnvironment() {
    SearchPlan plan;
    plan.walk = request_.walk;
    plan.metadata = request_.metadata;
    plan.catalogs = request_.catalogs;
    plan.catalogsNamedOutright = request_.catalogsNamedOutright;
    plan.catalogFailed = [this](const SavedIndexInfo& catalog, const std::string& reason) {
        application_.mainQueue().post(
            [this, name = catalog.displayName, reason] { noteFailedCatalog(name, reason); });
    };
    plan.showActivities = progress_.isPossible();
    plan.timing.grace = Seconds(0);
    SearchSessionTiming timing;
    timing.startSearchDelay = Seconds(0);
    timing.historyDelay = Seconds(0);
    timing.flushInterval = Seconds(0);
    std::function<void(const std::string&)> addQueryToHistory;
    if (request_.entersHistory) addQueryToHistory = [this](const std::string& line) { historyLine_ = line; };
    searchEnvironment_ = std::make_unique<SearchEnvironment>(application_.searchEnvironment(plan));
    return {*searchEnvironment_, application_.queryEnvironment(request_.line), std::move(addQueryToHistory),
            timing};
}

UINodeEnvironment FindRun::nodeEnvironment() {
    return {application_.kindTexts(), application_.clock()};
}

std::optional<SearchLocation> FindRun::locationFromPopupIndex() {
    return locationOf(request_, application_.disks(), application_.folders().home);
}

bool FindRun::wantsAttributes() {
    return needsAttributes(request_);
}

bool FindRun::wantsFindings() {
    return request_.summary;
}

std::optional<bool> FindRun::searchInsideSystemAndApps() {
    return request_.insideSystem ? std::optional(true) : std::nullopt;
}

// There are no rows here to run it over. Its failure is told on the main queue before the end comes there.
void FindRun::scriptHasStarted(const Query&) {
    ranScript_ = true;
    MainQueue& queue = application_.mainQueue();
    queue.post([this, &queue] {
        application_.scripter().waitUntilAllHaveEnded();
        queue.post([this] { end(); });
    });
}

void FindRun::searchHasStarted(const Query& query) {
    PrintStyle style;
    style.form = request_.form;
    style.nulEnds = request_.nulEnds;
    style.terminal = isTerminal(StandardStream::output);
    style.summary = request_.summary;
    style.marksContent = style.terminal && colourIsWelcome();
    if (style.marksContent) {
        for (const std::string& word : query->searchWordsHighlightStrings()) {
            style.markedWords.push_back(text::lowered(word));
        }
    }
    printer_ = std::make_unique<ResultPrinter>(output_, std::move(style), application_.kindTexts());
    if (!request_.countOnly && !exportFile_) printer_->printHeader();
    const Commands& commands = query->commandsFoundInQuery();
    onlyFilters_ = !query->isWordBasedSearch() &&
                   std::all_of(commands.begin(), commands.end(),
                               [](const auto& command) { return command->commandIsOnlyAFilter(); });
    query_ = query;
    noteWhatIsNotUnderstood(*query);
}

// The first stretch only: one line does not make a correction, and explain has them all.
void FindRun::noteWhatIsNotUnderstood(const QueryContainer& query) {
    if (query.invalidCommandAreaWords().empty()) return;
    const auto stretches = unknownStretches(query, application_.language());
    const UnknownStretch& first = stretches.front();
    notedUnknownWords_ = true;
    complain((first.isKnownSentence ? "without meaning as a command: " : "not understood as a command: ") +
             inQuotes(asTyped(first.words)) +
             (first.suggestion ? "; did you mean " + inQuotes(*first.suggestion) + "?"
                               : "; kestrix explain shows how the line is read"));
}

// A name that was given up is one that the pattern may well match, so the user is told.
void FindRun::noteSlowPatterns() {
    if (!query_) return;
    for (const auto& command : query_->commandsFoundInQuery()) {
        const auto* const pattern = dynamic_cast<const RegexCommand*>(command.get());
        if (!pattern || !pattern->exceededItsBound()) continue;
        complain("the pattern " + inQuotes(pattern->regex()) +
                 " takes too long on some names; these count as not matched");
    }
}

void FindRun::noteFailedCatalog(const std::string& name, const std::string& reason) {
    if (ended_) return;
    ++failedCatalogs_;
    progress_.clear();
    complain("the catalog " + inQuotes(name) + " was not searched: " + reason + "; " + adviceOn(name));
}

void FindRun::addResults(std::vector<SearchResult> results, const Query&) {
    if (ended_ || results.empty()) return;
    progress_.clear();
    const bool areFirst = !firstResult_;
    if (areFirst) firstResult_ = application_.clock().steadyNow();
    take(results);
    if (areFirst) {
        flushNow();
    } else if (output_.hasGathered()) {
        flushSoon();
    }
    const bool isFull = request_.limit && found_ >= *request_.limit && !sorts();
    if (isFull || !output_.isOpen()) stop();
}

void FindRun::take(std::vector<SearchResult>& results) {
    std::erase_if(results, [](const SearchResult& result) {
        return result.checkToSeeIfItExists && hasGone(result.path);
    });
    if (request_.limit && !sorts()) {
        const auto room = static_cast<std::size_t>(*request_.limit - found_);
        if (results.size() > room) results.resize(room);
    }
    found_ += static_cast<std::int64_t>(results.size());
    if (request_.countOnly) return;
    if (sorts()) {
        for (SearchResult& result : results)
            gathered_.push_back(std::make_shared<UINode>(std::move(result), nodeEnvironment()));
        return;
    }
    for (SearchResult& result : results)
        put(result);
}

// Only summary lines are worth a node here: it costs more than the line that is printed.
void FindRun::put(SearchResult& result) {
    if (exportFile_) return exportRecord(result);
    if (!request_.summary) return printer_->print(result);
    UINode node(std::move(result), nodeEnvironment());
    put(node);
}

// What a catalog knows to hold the words has not been read yet.
void FindRun::put(UINode& node) {
    if (exportFile_) return exportRecord(node.record());
    if (request_.summary) node.collectContentIfNeeded(query_.get(), summaries_);
    printer_->print(node);
}

// A file that cannot be written is no reason to go on searching.
void FindRun::exportRecord(const SearchResult& result) {
    if (exportFailure_) return;
    try {
        exportFile_->add(result, application_.kindTexts().kindOf(result.path, result.isDirectory).text);
    } catch (const Error& failure) {
        exportFailure_ = failure;
        stop();
    }
}

void FindRun::flushSoon() {
    if (flushIsDue_) return;
    flushIsDue_ = true;
    application_.mainQueue().postAfter(kFlushInterval, [this] {
        flushIsDue_ = false;
        if (!ended_) flushNow();
    });
}

void FindRun::flushNow() {
    progress_.clear();
    output_.flush();
    if (!output_.isOpen()) stop();
}

void FindRun::searchesHaveCompleted(const Query&) {
    end();
}

void FindRun::queryIsEmpty(const Query& query) {
    emptyQuery_ = true;
    if (query) noteWhatIsNotUnderstood(*query);
    end();
}

// On the watcher's thread. Ending the process here is the way out when the main thread hangs in a write that
// nobody reads.
void FindRun::interrupted(int signal) {
    interruptedBy_ = signal;
    // The main thread is waiting for the script, if there is one, and hears of nothing until it has ended.
    if (ranScript_) application_.scripter().stop();
    application_.mainQueue().post([this] { stop(); });
    Clock& clock = application_.clock();
    std::unique_lock hold(mutex_);
    const bool done = clock.waitUntil(hold, answered_, later(clock.steadyNow(), kInterruptPatience),
                                      [this] { return allDone_; });
    if (!done) std::_Exit(exitCodeOf(signal));
}

void FindRun::stop() {
    if (ended_) return;
    ended_ = true;
    session_->stopSearch();
    application_.mainQueue().quit();
}

void FindRun::end() {
    if (ended_) return;
    ended_ = true;
    application_.mainQueue().quit();
}

// A line that cannot be kept is no reason to fail a search that works.
void FindRun::noteInHistory() {
    if (!historyLine_) return;
    const std::string line = std::move(*historyLine_);
    historyLine_.reset();
    try {
        application_.noteLaunch();
        application_.history().addQuery(line);
    } catch (const Error& error) {
        progress_.clear();
        complain(std::string("the line is not in the history: ") + error.what());
    }
}

void FindRun::drawProgress() {
    if (ended_) return;
    const WalkCounters& counters = application_.walkCounters();
    std::string text = "Searching";
    const auto items = application_.activities().items();
    if (!items.empty()) {
        const ActivityItem::Texts texts = items.back()->texts();
        text = texts.leftText + (texts.rightText.empty() ? "" : ": " + texts.rightText);
    }
    progress_.show(fmt::format("{} - {} entries in {} folders, {} found", text,
                               counters.entries + application_.itemsSeen(), counters.directories.load(),
                               found_));
    application_.mainQueue().postAfter(kProgressInterval, [this] { drawProgress(); });
}

// What is printed only when the search is through: an interrupted one keeps to what stands there already.
void FindRun::printGathered() {
    if (interruptedBy_ != 0 || emptyQuery_ || ranScript_) return;
    if (request_.countOnly) {
        output_.appendNumber(static_cast<std::uint64_t>(found_));
        output_.append('\n');
        return;
    }
    if (sorts()) printSorted();
}

// Nobody looks at the list before the end, so it takes all rows at once: with batches merged while the search
// went on, 200,000 sorted rows took a third longer on two busy cores.
void FindRun::printSorted() {
    ResultsContentView& view = *this;
    ResultsContent list(view, application_.mainQueue(), application_.preferences(), {});
    list.breakTiesByPath();
    list.sortBy(*request_.sort, request_.reverse);
    list.addResults(std::move(gathered_), query_);
    const auto sorted = list.waitUntilAtRest();
    std::size_t room = sorted->size();
    if (request_.limit) room = std::min(room, static_cast<std::size_t>(*request_.limit));
    for (const UINodePtr& node : *sorted) {
        if (room-- == 0 || !output_.isOpen() || interruptedBy_ != 0) return;
        put(*node);
    }
}

// What was interrupted, or never searched, leaves the old file as it is.
void FindRun::finishExport() {
    if (!exportFile_ || exportFailure_ || interruptedBy_ != 0 || emptyQuery_ || ranScript_) return;
    try {
        exportFile_->commit();
    } catch (const Error& failure) {
        exportFailure_ = failure;
    }
}

void FindRun::printStats() {
    const WalkCounters& counters = application_.walkCounters();
    const std::int64_t directories = counters.directories;
    std::string text = fmt::format("results             {}\n", found_);
    text +=
        fmt::format("files seen          {}\n", std::max<std::int64_t>(counters.entries - directories, 0));
    text += fmt::format("folders seen        {}\n", directories);
    text += fmt::format("folders unreadable  {}\n", counters.unreadable.load());
    text += fmt::format("catalog items seen  {}\n", application_.itemsSeen());
    if (firstResult_) {
        text += fmt::format("first result after  {:.1f} ms\n", milliseconds(context_.started, *firstResult_));
    }
    text += fmt::format("total time          {:.1f} ms\n",
                        milliseconds(context_.started, application_.clock().steadyNow()));
    text += fmt::format("peak memory         {:.1f} MB\n", static_cast<double>(peakMemory()) / 1e6);
    writeTo(StandardStream::error, text);
}

void FindRun::noteWhyNothing() {
    if (onlyFilters_)
        return complain("nothing to look for: the line only leaves names out; add a word to find");
    const bool asksCatalogsAlone = request_.catalogsNamedOutright && !request_.walk;
    if (asksCatalogsAlone && application_.catalogs().cachesForLocations(*locationFromPopupIndex()).empty())
        complain("no catalog knows the place; kestrix catalog add makes one");
}

int FindRun::exitCode() {
    if (interruptedBy_ != 0) return exitCodeOf(interruptedBy_);
    if (ranScript_) return application_.scripter().failuresSoFar() > 0 ? kExitFailure : kExitFound;
    if (exportFailure_) {
        complain(exportFailure_->what());
        return kExitFailure;
    }
    if (emptyQuery_) {
        if (!notedUnknownWords_) complain("nothing to look for: the line is empty; give at least one word");
        return kExitNothing;
    }
    if (found_ == 0) noteWhyNothing();
    const std::int64_t unreadable = application_.walkCounters().unreadable;
    if (request_.strict && unreadable > 0) {
        complain(fmt::format("{} {} could not be read", unreadable, unreadable == 1 ? "folder" : "folders"));
        return kExitFailure;
    }
    if (request_.strict && failedCatalogs_ > 0) return kExitFailure;
    return found_ > 0 ? kExitFound : kExitNothing;
}

int runFind(const Arguments& arguments, CommandContext& context) {
    return FindRun(context, resolveFind(arguments)).run();
}

}  // namespace kestrix::cli
