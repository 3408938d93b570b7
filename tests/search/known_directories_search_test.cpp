#include "search/known_directories_search.h"

#include <algorithm>
#include <filesystem>

#include "language/commands/folder_commands.h"
#include "tests/search/search_fixture.h"

namespace kestrix {
namespace {

class KnownDirectoriesSearchTest : public SearchTest {
  protected:
    using Names = std::vector<std::string>;

    KnownDirectoriesSearchTest() {
        const auto docs =
            [this](std::span<const SentenceComponent> words) -> std::optional<VariableParserResult> {
            if (words.front().textLowered != "docs") return std::nullopt;
            return VariableParserResult{favourite_, 1};
        };
        language = LanguageParse(
            {.sentences = SentenceTemplate::fromText("~docs remembered\nonly ~docs rememberedShallow\n"),
             .factories = {std::make_shared<KnownDirectoriesFactory>(nullptr)},
             .variableParsers = {{"~docs", docs}},
             .variableCompletors = {}});
    }
    std::shared_ptr<const QueryContainer> ask(const std::string& line) {
        return query(line, SearchLocation(Names{"/nowhere"}));
    }
    // Sorted names of what the source finds in the favourite.
    Names found(const std::string& line) {
        collector_.results.set({});
        KnownDirectoriesSearch().search(ask(line), collector_);
        Names names;
        for (const SearchResult& result : collector_.results.get())
            names.push_back(std::filesystem::path(result.path).filename());
        std::ranges::sort(names);
        return names;
    }

    std::string favourite_ = folder.folder("docs");
    Collector collector_;
};

TEST_F(KnownDirectoriesSearchTest, ListsWhatLiesInTheFolderItself) {
    folder.file("docs/report.txt", "12345");
    folder.file("docs/sub/deeper.txt");
    folder.file("docs/.hidden");
    folder.file("elsewhere.txt");
    for (const auto* line : {": docs", ": only docs"})
        EXPECT_EQ(found(line), (Names{"report.txt", "sub"})) << line;
    for (const SearchResult& result : collector_.results.get()) {
        const bool isReport = result.path == folder.path("docs/report.txt");
        EXPECT_EQ(result.isDirectory, !isReport);
        EXPECT_EQ(result.size, isReport ? 5u : 0u);
        EXPECT_GT(result.modDate, 0);
        EXPECT_EQ(result.searchResultSuppliedBy, SearchResultSupplier::KnownDirectoriesSearch);
    }
}

TEST_F(KnownDirectoriesSearchTest, DoesNothingForOtherQueriesAndMissingFolders) {
    folder.file("docs/x");
    EXPECT_EQ(found("docs"), Names{});
    EXPECT_EQ(KnownDirectoriesSearch().dataSourceLocations(*ask("docs")), Names{});
    EXPECT_EQ(KnownDirectoriesSearch().dataSourceLocations(*ask(": docs")), Names{favourite_});
    favourite_ = folder.path("gone");
    EXPECT_EQ(found(": docs"), Names{});
    favourite_.clear();
    EXPECT_EQ(KnownDirectoriesSearch().dataSourceLocations(*ask(": docs")), Names{});
}

TEST_F(KnownDirectoriesSearchTest, SpecialFoldersAreReadWhenTheyAreNamed) {
    favourite_ = folder.folder(".config/Tool.app");
    folder.file(".config/Tool.app/x");
    folder.file(".config/Tool.app/.y");
    folder.folder(".config/Tool.app/A.framework");
    EXPECT_EQ(found(": docs"), Names{"x"});
    EXPECT_TRUE(collector_.results.get().at(0).ignoreSearchLocation);
    collector_.invisible = true;
    EXPECT_EQ(found(": docs"), (Names{"A.framework", "x"}));
}

TEST_F(KnownDirectoriesSearchTest, ASearchReadsTheFavouriteOnceAndStartsNoWalkUnlessItIsStopped) {
    folder.file("docs/report");
    folder.file("docs/other");
    const auto walk = std::make_shared<FakeSource>(nullptr);
    SearchEnvironment environment{loop, *clock, {.grace = Seconds(0)}, {}};
    environment.makers = {[] { return SearchDataSources{std::make_shared<KnownDirectoriesSearch>()}; },
                          [&] { return SearchDataSources{walk}; }};
    manager = SearchManager::create(receiver, options, environment);
    manager->searchFor(ask("report : docs"));
    finish();
    EXPECT_EQ(receiver->paths(), Names{folder.path("docs/report")});
    EXPECT_FALSE(walk->started);

    KnownDirectoriesSearch stopped;
    stopped.searchShouldStop();
    stopped.search(ask(": docs"), collector_);
    EXPECT_TRUE(collector_.results.get().empty());
}

}  // namespace
}  // namespace kestrix
