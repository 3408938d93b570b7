#include "search/known_directories_search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "language/commands/folder_commands.h"
#include "language/language_parse.h"
#include "search/search_manager.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

class Collector : public NullSearchDataSourceDelegate {
  public:
    bool wantsInvisibleItems() const override { return invisible; }
    void searchResults(std::vector<SearchResult> batch, const SearchDataSource&) override {
        for (SearchResult& result : batch)
            results.push_back(std::move(result));
    }

    bool invisible = false;
    std::vector<SearchResult> results;
};

// A standard source that tells whether it was started.
class Walker : public SearchDataSource {
  public:
    explicit Walker(std::atomic<int>& starts) : starts_(starts) {}
    std::string debugDescription() const override { return "Walker"; }
    SearchResultSupplier type() const override { return SearchResultSupplier::fileSystem; }
    void search(std::shared_ptr<const QueryContainer>, SearchDataSourceDelegate&) override { ++starts_; }
    void searchShouldStop() override {}

  private:
    std::atomic<int>& starts_;
};

class Window : public SearchManagerDelegate {
  public:
    explicit Window(RunLoop& loop) : loop_(loop) {}
    void searchManagerIsBeginingSearches(const Query&) override {}
    void searchManagerFoundItems(std::vector<SearchResult> items, std::int64_t, const Query&) override {
        for (const SearchResult& item : items)
            names.push_back(std::filesystem::path(item.path).filename());
        std::ranges::sort(names);
    }
    void searchManagerHasFinishedAllSearches(const Query&) override { loop_.quit(); }
    void searchDataSourceProgress(std::int64_t, std::int64_t) override {}
    void searchErrorOccured(int, const std::string&) override {}
    void searchingInsideFile(const std::string&, bool, int) override {}
    void searchInvalidQuery() override {}

    std::vector<std::string> names;

  private:
    RunLoop& loop_;
};

class KnownDirectoriesSearchTest : public ::testing::Test {
  protected:
    using Names = std::vector<std::string>;

    std::shared_ptr<const QueryContainer> query(std::string_view line) {
        return std::make_shared<QueryContainer>(line, SearchLocation(Names{"/nowhere"}), false,
                                                QueryEnvironment{preferences_, language_});
    }
    // Sorted names of what the source finds in the favourite.
    Names found(std::string_view line) {
        collector_.results.clear();
        KnownDirectoriesSearch().search(query(line), collector_);
        Names names;
        for (const SearchResult& result : collector_.results)
            names.push_back(std::filesystem::path(result.path).filename());
        std::ranges::sort(names);
        return names;
    }

    TemporaryFolder folder_;
    TemporaryFolder settings_;
    std::string favourite_ = folder_.folder("docs");
    SettingsStore store_{settings_.path("settings.json")};
    Preferences preferences_{store_};
    LanguageParse language_{
        {.sentences = SentenceTemplate::fromText("~docs remembered\nonly ~docs rememberedShallow\n"),
         .factories = {std::make_shared<KnownDirectoriesFactory>(nullptr)},
         .variableParsers = {{"~docs",
                              [this](std::span<const SentenceComponent> words)
                                  -> std::optional<VariableParserResult> {
                                  if (words.front().textLowered != "docs") return std::nullopt;
                                  return VariableParserResult{favourite_, 1};
                              }}},
         .variableCompletors = {}}};
    Collector collector_;
};

TEST_F(KnownDirectoriesSearchTest, ListsWhatLiesInTheFolderItself) {
    folder_.file("docs/report.txt", "12345");
    folder_.file("docs/sub/deeper.txt");
    folder_.file("docs/.hidden");
    folder_.file("elsewhere.txt");
    for (const auto* line : {": docs", ": only docs"})
        EXPECT_EQ(found(line), (Names{"report.txt", "sub"})) << line;
    for (const SearchResult& result : collector_.results) {
        const bool isReport = result.path == folder_.path("docs/report.txt");
        EXPECT_EQ(result.isDirectory, !isReport);
        EXPECT_EQ(result.size, isReport ? 5u : 0u);
        EXPECT_GT(result.modDate, 0);
        EXPECT_EQ(result.searchResultSuppliedBy, SearchResultSupplier::KnownDirectoriesSearch);
    }
}

TEST_F(KnownDirectoriesSearchTest, DoesNothingForOtherQueriesAndMissingFolders) {
    folder_.file("docs/x");
    EXPECT_EQ(found("docs"), Names{});
    EXPECT_EQ(KnownDirectoriesSearch().dataSourceLocations(*query("docs")), Names{});
    EXPECT_EQ(KnownDirectoriesSearch().dataSourceLocations(*query(": docs")), Names{favourite_});
    favourite_ = folder_.path("gone");
    EXPECT_EQ(found(": docs"), Names{});
    favourite_.clear();
    EXPECT_EQ(KnownDirectoriesSearch().dataSourceLocations(*query(": docs")), Names{});
}

TEST_F(KnownDirectoriesSearchTest, SpecialFoldersAreReadWhenTheyAreNamed) {
    favourite_ = folder_.folder(".config/Tool.app");
    folder_.file(".config/Tool.app/x");
    folder_.file(".config/Tool.app/.y");
    folder_.folder(".config/Tool.app/A.framework");
    EXPECT_EQ(found(": docs"), Names{"x"});
    EXPECT_TRUE(collector_.results.at(0).ignoreSearchLocation);
    collector_.invisible = true;
    EXPECT_EQ(found(": docs"), (Names{"A.framework", "x"}));
}

TEST_F(KnownDirectoriesSearchTest, StopsWhenToldTo) {
    folder_.file("docs/x");
    KnownDirectoriesSearch source;
    source.searchShouldStop();
    source.search(query(": docs"), collector_);
    EXPECT_TRUE(collector_.results.empty());
}

TEST_F(KnownDirectoriesSearchTest, ASearchReadsTheFavouriteOnceAndStartsNoWalk) {
    folder_.file("docs/report");
    folder_.file("docs/other");
    std::atomic<int> walks = 0;
    RunLoop loop;
    SearchEnvironment environment{loop, Clock::system(), {.grace = Seconds(0)}, {}};
    environment.makers.commandBasedDataSources = [] {
        return SearchDataSources{std::make_shared<KnownDirectoriesSearch>()};
    };
    environment.makers.standardSources = [&] { return SearchDataSources{std::make_shared<Walker>(walks)}; };
    const auto window = std::make_shared<Window>(loop);
    const auto manager = SearchManager::create(window, {}, environment);
    manager->searchFor(query("report : docs"));
    loop.run();
    manager->waitUntilEnded();
    EXPECT_EQ(window->names, Names{"report"});
    EXPECT_EQ(walks, 0);
}

}  // namespace
}  // namespace kestrix
