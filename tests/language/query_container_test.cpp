#include "language/query_container.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/language/language_fixture.h"

namespace kestrix {
namespace {

using Groups = std::vector<Texts>;

class QueryContainerTest : public LanguageWorld {
  protected:
    std::shared_ptr<Clause> clauseOf(const QueryContainer& query) { return query.commandOfType<Clause>(); }
};

TEST_F(QueryContainerTest, WordsBehindTheColonAreCommandsAndNeverSearchWords) {
    const auto read = query("Foo bar\n: is image bluh inside");
    EXPECT_EQ(read.baseString(), "Foo bar : is image bluh inside");
    EXPECT_EQ(read.searchWords(), (Texts{"foo", "bar"}));
    EXPECT_EQ(read.searchWordsOriginalCase(), (Texts{"Foo", "bar"}));
    EXPECT_EQ(textsOf(read.commandsFoundInQuery()), Texts{"is image"});
    EXPECT_EQ(textsOf(read.allRecoginsedParts()), (Texts{"is", "image", "inside"}));
    EXPECT_EQ(textsOf(read.searchWordParts()), (Texts{"Foo", "bar", "bluh"}));
    EXPECT_EQ(textsOf(read.unusedCommandAreaWords()), Texts{"bluh"});
    EXPECT_EQ(textsOf(read.invalidCommandAreaWords()), (Texts{"bluh", "inside"}));
    EXPECT_EQ(read.debugDescription(), "Foo bar : is image bluh inside: is image");
}

TEST_F(QueryContainerTest, SentenceThatNobodyMakesIsInvalidButNotUnused) {
    const auto read = query(": not built refuse me");
    EXPECT_TRUE(read.unusedCommandAreaWords().empty());
    EXPECT_EQ(textsOf(read.invalidCommandAreaWords()), (Texts{"not", "built", "refuse", "me"}));
    EXPECT_TRUE(read.isEmpty());
}

TEST_F(QueryContainerTest, DashAndStarMakeCommandsOfTheirOwn) {
    const auto read = query("-Draft rep* \"-x\" report");
    EXPECT_EQ(read.searchWords(), (Texts{"rep", "-x", "report"}));
    EXPECT_EQ(read.commandOfType<NotIncludingWords>()->words(), Texts{"draft"});
    EXPECT_EQ(read.commandOfType<WildcardWords>()->prefixes(), Texts{"rep"});
    EXPECT_EQ(query("-foo*").commandOfType<WildcardWords>(), nullptr);
}

TEST_F(QueryContainerTest, OperatorCutsTheWordsIntoGroups) {
    const auto read = query("Foo x OR Bar");
    EXPECT_TRUE(read.includesORStatement());
    EXPECT_EQ(read.searchWords(), (Texts{"foo", "x", "bar"}));
    EXPECT_EQ(read.orStringGroups(), (Groups{{"foo", "x"}, {"bar"}}));
    EXPECT_EQ(read.orStringGroupsOriginalCase(), (Groups{{"Foo", "x"}, {"Bar"}}));
    for (const auto* line : {"OR foo", "foo OR", "OR OR foo OR"})
        EXPECT_EQ(query(line).orStringGroups(), Groups{{"foo"}}) << line;
    for (const auto* line : {"foo or bar", "foo \"OR\" bar"}) {
        EXPECT_EQ(query(line).searchWords().size(), 3u) << line;
        EXPECT_FALSE(query(line).includesORStatement()) << line;
    }
    EXPECT_FALSE(finds("OR", "or"));
}

TEST_F(QueryContainerTest, OperatorAtTheEndMeansWordsOrCommands) {
    EXPECT_TRUE(query("cat OR : is image").isORCommandSearch());
    EXPECT_FALSE(query("cat OR dog : is image").isORCommandSearch());
    EXPECT_FALSE(query("cat OR : bluh").isORCommandSearch());
    EXPECT_FALSE(query("cat : is image").isORCommandSearch());
    // The clause "is" of these tests excludes everything, "inside" nothing.
    EXPECT_TRUE(passes(query("cat OR : is image"), "/x/cat"));
    EXPECT_FALSE(passes(query("cat OR : is image"), "/x/dog"));
    EXPECT_TRUE(passes(query("cat OR : inside y"), "/x/dog"));
}

TEST_F(QueryContainerTest, SearchIsWordBasedUnlessFiltersAreAllThereIs) {
    EXPECT_TRUE(query("a").isWordBasedSearch());
    EXPECT_TRUE(query(": modified today").isWordBasedSearch());
    EXPECT_FALSE(query("a : anywhere").isWordBasedSearch());
    for (const auto* line : {"", "-a", ": case sensitive", ": bluh", "OR"})
        EXPECT_FALSE(query(line).isWordBasedSearch()) << line;
    EXPECT_TRUE(finds(": modified today", "whatever"));
}

TEST_F(QueryContainerTest, CommandsAddWordsMarksAndArguments) {
    const auto read = query("Foo : ext m4v modified in 2016");
    EXPECT_EQ(read.searchWords(), (Texts{"foo", "m4v"}));
    EXPECT_EQ(read.searchWordsOriginalCase(), Texts{"Foo"});
    EXPECT_EQ(read.searchWordsHighlightStrings(), (Texts{"foo", "m4v"}));
    EXPECT_EQ(read.searchWordStringsSoundexValues(), (Texts{"F000", "M100"}));
    EXPECT_EQ(read.querySearchArguments().word, "foo");
    EXPECT_EQ(read.querySearchArguments().modificationDate, (NumberRange{100, 200}));
    EXPECT_EQ(query(": ext m4v").querySearchArguments().word, "m4v");
    EXPECT_EQ(query("").querySearchArguments().word, std::nullopt);
}

TEST_F(QueryContainerTest, CaseAndWholeWordsBindTheNameTest) {
    EXPECT_TRUE(finds("cat : whole words", "/concat/my-CAT.txt"));
    // Words that commands add take part in lower case alone.
    EXPECT_TRUE(finds("A : ext m4v case sensitive", "A"));
}

TEST_F(QueryContainerTest, SoundAsksForAnyOneWordOfTheName) {
    EXPECT_TRUE(finds("rupert unheard", "Letter to Robert.txt", true));
    EXPECT_FALSE(finds("rupert", "Letter to Roger.txt", true));
    EXPECT_FALSE(finds("a", "a b c.d", true));
    EXPECT_FALSE(finds("", "name", true));
    EXPECT_TRUE(finds("Rupert : case sensitive whole words", "robert", true));
}

TEST_F(QueryContainerTest, IgnoreListsComeFirst) {
    preferences.set("ignoreFolders", nlohmann::json{"node_modules"});
    preferences.set("ignoreExtensions", nlohmann::json{"bak"});
    const auto read = query("a : inside x");
    EXPECT_FALSE(passes(read, "/p/node_modules/a.txt"));
    EXPECT_FALSE(passes(read, "/p/a.bak"));
    EXPECT_TRUE(clauseOf(read)->applied.empty());
    EXPECT_TRUE(passes(read, "/p/a.txt"));
}

TEST_F(QueryContainerTest, EveryCommandIsAppliedAndMayChangeTheResult) {
    const auto read = query("zzz : is image inside x");
    SearchResult result = resultAt("/p/a");
    EXPECT_FALSE(read.searchResultPassesFiltering(result, nullptr));
    EXPECT_EQ(result.contentSearchResultsRank, 2);
    clauseOf(read)->answer = CommandApplyResult::skip;
    EXPECT_TRUE(passes(read, "/p/zzz"));
}

TEST_F(QueryContainerTest, CommandWithStatePerFileIsAppliedAsACopy) {
    const auto read = query(": inside x");
    clauseOf(read)->copies = true;
    EXPECT_TRUE(passes(read, "/p/a"));
    EXPECT_TRUE(clauseOf(read)->applied.empty());
}

TEST_F(QueryContainerTest, LocationIsAskedUnlessACommandTookOver) {
    const SearchLocation location(Texts{"/home/u"});
    const auto isIn = [&](std::string_view line, std::string_view path) {
        return QueryContainer(line, location, false, environment).pathIsInQueryLocation(path);
    };
    EXPECT_TRUE(isIn("a", "/home/u/a"));
    EXPECT_FALSE(isIn("a", "/opt/a"));
    EXPECT_TRUE(isIn("a : anywhere", "/opt/a"));
    EXPECT_TRUE(query("a").pathIsInQueryLocation("/opt/a"));
    preferences.set("showAppsFoundAnywhere", true);
    EXPECT_TRUE(isIn("Mail", "/opt/MAIL.app"));
    EXPECT_TRUE(isIn("mail.x", "/opt/Mail.2.app"));
    EXPECT_FALSE(isIn("Mail x", "/opt/Mail.app"));
    EXPECT_FALSE(isIn("Mail", "/opt/Mail.APP"));
    preferences.set("showAppsFoundAnywhere", false);
    EXPECT_FALSE(isIn("Mail", "/opt/Mail.app"));
}

TEST_F(QueryContainerTest, FoldersOnTheWayWhoseNamesHoldWordsAreGiven) {
    EXPECT_EQ(query("an cat").expandedFolderPaths("/Banana/x/CATalog/an.txt"),
              (Texts{"/Banana", "/Banana", "/Banana/x/CATalog"}));
    EXPECT_TRUE(query("an").expandedFolderPaths("/x/an").empty());
    EXPECT_TRUE(query("").expandedFolderPaths("/x/an").empty());
    EXPECT_EQ(query("é/b").expandedFolderPaths("/aÉ/b/c/d"), Texts{"/aÉ/b"});

    folder.folder("Zoo");
    SearchResult result = resultAt(folder.path("Zoo/file"));
    result.searchResultSuppliedBy = SearchResultSupplier::fileSystem;
    result.checkToSeeIfItExists = result.ignoreSearchLocation = true;
    const auto folders = query("zoo").expandMatchingItemsForSearchResult(result);
    ASSERT_EQ(folders.size(), 1u);
    EXPECT_EQ(folders[0].path, folder.path("Zoo"));
    EXPECT_TRUE(folders[0].isDirectory);
    EXPECT_TRUE(folders[0].checkToSeeIfItExists && folders[0].ignoreSearchLocation);
    EXPECT_GT(folders[0].modDate, 0);
}

TEST_F(QueryContainerTest, LineIsStyledByCommandsThenErrors) {
    const auto styled = query("é : is image bluh").styleQueryString(true);
    ASSERT_EQ(styled.size(), 3u);
    EXPECT_EQ(styled[1].range, (CharacterRange{7, 5}));
    EXPECT_EQ(styled[1].style, QueryContainer::Style::command);
    EXPECT_EQ(styled[2].range, (CharacterRange{13, 4}));
    EXPECT_EQ(styled[2].style, QueryContainer::Style::error);
    EXPECT_EQ(query("é : is image bluh").styleQueryString(false).size(), 2u);
}

TEST_F(QueryContainerTest, MegabyteLinesAreReadInOneGo) {
    std::string line;
    while (line.size() < 1 << 20)
        line += line.size() == 1 << 19 ? ": " : "x ";
    EXPECT_EQ(query(line).searchWords().size() + query(line).unusedCommandAreaWords().size(),
              line.size() / 2 - 1);
}

}  // namespace
}  // namespace kestrix
