#include "results/search_session.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "actions/script_command.h"
#include "base/lock.h"
#include "base/operation_queue.h"
#include "language/vocabulary.h"
#include "platform/stored_file.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

using Paths = std::vector<std::string>;

// Delivers one file and, on wish, stays until it is stopped.
class OneFileSource : public SearchDataSource {
  public:
    OneFileSource(std::string path, bool stays) : path_(std::move(path)), stays_(stays) {}

    std::string debugDescription() const override { return "OneFileSource"; }
    SearchResultSupplier type() const override { return SearchResultSupplier::fileSystem; }
    void search(std::shared_ptr<const QueryContainer>, SearchDataSourceDelegate& handler) override {
        SearchResult result;
        result.path = path_;
        handler.searchResults({result}, *this);
        if (stays_) toldToStop_.wait();
    }
    void searchShouldStop() override { toldToStop_.release(); }

  private:
    std::string path_;
    bool stays_;
    Blocker toldToStop_;
};

class FakeView : public SearchSessionView {
  public:
    std::string queryText() override { return line; }
    std::optional<SearchLocation> locationFromPopupIndex() override { return location; }
    void setQueryText(const std::string& text) override { line = text; }
    void selectLocation(const std::string& name) override { selected = name; }
    void clearResults(const Query&) override { rows.clear(); }
    void searchHasStarted(const Query& query) override { started.push_back(query->baseString()); }
    void addResults(std::vector<SearchResult> results, const Query&) override {
        for (const SearchResult& result : results)
            rows.push_back(result.path);
    }
    void searchHasStopped() override { ++stopped; }
    void searchesHaveCompleted(const Query& query) override { completed.push_back(query->baseString()); }
    void queryIsEmpty(const Query&) override { ++empty; }
    void showTitle(const std::string& text) override { title = text; }
    void showProgressText(const std::string& text) override { progressText = text; }
    void showTotal(std::int64_t count) override { total = count; }
    std::vector<std::string> relevantItems() override { return rows; }
    void scriptHasStarted(const Query&) override { ++scripts; }

    std::string line;
    std::optional<SearchLocation> location = SearchLocation({"/home/kx"});
    std::string selected, title, progressText;
    Paths started, completed, rows;
    std::int64_t total = 0;
    int stopped = 0, empty = 0, scripts = 0;
};

class SearchSessionTest : public ::testing::Test {
  protected:
    SearchSessionTest() {
        environment.search.timing.grace = Seconds(0);
        make();
    }
    ~SearchSessionTest() override {
        for (const auto& manager : managers)
            end(manager);
        end(session->currentSearchManager());
    }

    void make() { session = SearchSession::create(view, environment); }

    static void end(const std::shared_ptr<SearchManager>& manager) {
        if (!manager) return;
        manager->stop();
        manager->waitUntilEnded();
    }
    // The present search comes to its own end, and the main queue hears of it.
    void finish() {
        session->currentSearchManager()->waitUntilEnded();
        loop.runPending();
    }
    void pass(double seconds) {
        clock.advance(Seconds(seconds));
        loop.runPending();
    }
    void type(const std::string& line, bool alwaysStart = false) {
        view.line = line;
        if (session->currentSearchManager()) managers.push_back(session->currentSearchManager());
        session->controlTextDidChange(alwaysStart);
        loop.runPending();
    }
    void search(const std::string& line) {
        view.line = line;
        if (session->currentSearchManager()) managers.push_back(session->currentSearchManager());
        session->doSearch();
    }
    void found(const std::string& path, std::int64_t total) {
        SearchResult result;
        result.path = path;
        session->searchManagerFoundItems({result}, total, session->current());
    }

    TemporaryFolder folder;
    SettingsStore store{folder.path("settings.json")};
    Preferences preferences{store};
    LanguageParse language;
    ManualClock clock;
    RunLoop loop{clock};
    // A search asks for them on a thread of its own, one that was replaced perhaps late.
    Locked<std::string> fileToFind{"/home/kx/cat"};
    std::atomic<bool> sourceStays = false;
    SearchEnvironment searches{loop, clock, {}, {{}, [this] {
                                                     return SearchDataSources{std::make_shared<OneFileSource>(
                                                         fileToFind.get(), sourceStays)};
                                                 }}};
    Paths history;
    SearchSessionEnvironment environment{
        searches, {preferences, language}, [this](const std::string& line) { history.push_back(line); }, {}};
    FakeView view;
    std::shared_ptr<SearchSession> session;
    std::vector<std::shared_ptr<SearchManager>> managers;
};

TEST_F(SearchSessionTest, TypingQuicklyStartsOneSearchAfterTheLastKeyOrAtOnceByHand) {
    type("cat");
    pass(0.5);
    type("cats\nand dogs");
    pass(0.5);
    EXPECT_TRUE(view.started.empty());
    pass(0.17);
    EXPECT_EQ(view.started, Paths{"cats"});
    EXPECT_EQ(view.title, "Find \u201Ccats\u201D");
    type("cat");
    search("cat");
    pass(1);
    EXPECT_EQ(view.started, (Paths{"cats", "cat"}));

    session->changeCurrentSearchTextAndSearch("bird\nmore", "", false);
    EXPECT_EQ(view.line + view.selected, "bird");
    pass(1);
    managers.push_back(session->currentSearchManager());
    session->changeCurrentSearchTextAndSearch("dog", "home", true);
    EXPECT_EQ(view.selected, "home");
    pass(0.67);
    EXPECT_EQ(view.started, (Paths{"cats", "cat", "dog"}));
}

TEST_F(SearchSessionTest, ASearchEndsWithItsRowsAndOneCompletion) {
    search("cat");
    finish();
    EXPECT_EQ(view.rows, Paths{"/home/kx/cat"});
    EXPECT_EQ(view.total, 1);
    EXPECT_EQ(view.completed, Paths{"cat"});
    EXPECT_EQ(view.stopped, 1);
}

TEST_F(SearchSessionTest, WithoutAutomaticStartAnEditOnlyStopsWhatRuns) {
    sourceStays = true;
    search("cat");
    preferences.set("startSearchesAutomatically", false);
    type("cats");
    EXPECT_TRUE(session->currentSearchManager()->shouldStop());
    EXPECT_EQ(view.completed.front(), "cat");
    pass(10);
    EXPECT_EQ(view.started, Paths{"cat"});

    type("cats", true);
    pass(0.67);
    EXPECT_EQ(view.started, (Paths{"cat", "cats"}));
}

TEST_F(SearchSessionTest, ALocationThatIsNotThereIsTriedAgainUntilItIs) {
    view.location.reset();
    search("cat");
    EXPECT_EQ(view.progressText, "Waiting for disk to become available. Search will start shortly.");
    pass(5);
    EXPECT_TRUE(view.started.empty());
    view.location = SearchLocation({"/home/kx"});
    pass(4.9);
    EXPECT_TRUE(view.started.empty());
    pass(0.2);
    EXPECT_EQ(view.started, Paths{"cat"});
}

TEST_F(SearchSessionTest, NothingOfAReplacedSearchReachesTheNewList) {
    sourceStays = true;
    search("cat");
    const auto old = session->current();
    found("/home/kx/cat1", 1);
    found("/home/kx/cat2", 2);  // waits in the bucket
    sourceStays = false;
    fileToFind.set("/home/kx/dog");
    search("dog");
    managers.back()->waitUntilEnded();
    session->searchManagerFoundItems({SearchResult()}, 7, old);
    finish();
    EXPECT_EQ(view.rows, Paths{"/home/kx/dog"});
    EXPECT_EQ(view.total, 1);
    EXPECT_EQ(view.completed, Paths{"dog"});
}

TEST_F(SearchSessionTest, TheLateEndOfAReplacedSearchLeavesTheWaitingRowsTheirTimer) {
    sourceStays = true;
    search("cat");
    const auto old = session->current();
    search("dog");
    found("/home/kx/dog1", 1);
    session->searchManagerHasFinishedAllSearches(old);
    loop.runPending();
    found("/home/kx/dog2", 2);
    pass(0.3);
    pass(0.3);
    EXPECT_EQ(view.rows.back(), "/home/kx/dog2");
    EXPECT_TRUE(view.completed.empty());
}

TEST_F(SearchSessionTest, RowsReachTheViewAtMostTwiceASecond) {
    sourceStays = true;
    search("cat");
    found("/a", 1);
    EXPECT_EQ(view.rows, Paths{"/a"});
    found("/b", 2);
    pass(0.25);
    EXPECT_EQ(view.rows, Paths{"/a"});
    pass(0.25);
    pass(0.25);
    ASSERT_GE(view.rows.size(), 2u);
    EXPECT_EQ(view.rows[1], "/b");

    environment.timing.flushInterval = Seconds(0);
    managers.push_back(session->currentSearchManager());
    make();
    search("dog");
    found("/c", 1);
    found("/d", 2);
    EXPECT_EQ(view.rows, (Paths{"/c", "/d"})) << "without an interval each arrival is shown at once";
}

TEST_F(SearchSessionTest, AStoppedSearchShowsNothingMoreAndEndsAtOnce) {
    sourceStays = true;
    search("cat");
    session->stopSearch();
    found("/late", 1);
    pass(1);
    EXPECT_TRUE(view.rows.empty());
    EXPECT_EQ(view.completed.front(), "cat");
    EXPECT_FALSE(session->cancel(true));
    EXPECT_FALSE(session->cancel(false));
    EXPECT_TRUE(session->cancel(true));
    EXPECT_FALSE(session->cancel(true));
}

TEST_F(SearchSessionTest, AnEmptyLineRunsNothingButStopsAndClears) {
    sourceStays = true;
    search("cat");
    found("/a", 1);
    search(" ");
    EXPECT_TRUE(managers.back()->shouldStop());
    EXPECT_EQ(session->currentSearchManager(), nullptr);
    EXPECT_TRUE(view.rows.empty());
    EXPECT_EQ(view.empty, 1);
}

TEST_F(SearchSessionTest, ALineThatNamesAScriptRunsItOverTheRowsAndSearchesNothing) {
    const std::string script = folder.file("scripts/note.shell", "printf '%s|' \"$@\" > \"$0.got\"\n");
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    Scripter scripter(folder.path("scripts"));
    VariableLookups lookups;
    lookups.scripts = [&] { return scripter.scripts(); };
    language = LanguageParse(makeVocabulary("run ~scriptName using ~varArg scriptCommand\n",
                                            {std::make_shared<ScriptCommandFactory>(scripter)}, lookups));
    sourceStays = true;
    search("cat");
    found("/home/kx/a cat", 1);
    search("dog : run note using care");
    loop.runPending();
    scripter.waitUntilAllHaveEnded();
    EXPECT_EQ(readWholeFile(script + ".got"), "/home/kx/a cat|care|");
    EXPECT_TRUE(managers.back()->shouldStop());
    EXPECT_EQ(session->currentSearchManager(), nullptr);
    EXPECT_EQ(view.rows, Paths{"/home/kx/a cat"});
    EXPECT_EQ(view.started, Paths{"cat"});
    EXPECT_EQ(view.scripts, 1);
    pass(5);
    EXPECT_EQ(history, Paths{"dog : run note using care"});
}

TEST_F(SearchSessionTest, ALineEntersTheHistoryOnlyIfItIsLeftStanding) {
    search("ca");
    pass(4.9);
    search("cat");
    pass(4.9);
    EXPECT_TRUE(history.empty());
    pass(0.2);
    EXPECT_EQ(history, Paths{"cat"});

    environment.timing.historyDelay = Seconds(0);
    managers.push_back(session->currentSearchManager());
    make();
    search("dog");
    EXPECT_EQ(history, (Paths{"cat", "dog"}));
}

}  // namespace
}  // namespace kestrix
