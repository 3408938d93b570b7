#include "results/ui_node.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "base/error.h"
#include "platform/tags.h"
#include "results/byte_count_text.h"
#include "tests/results/results_fixture.h"

namespace kestrix {
namespace {

using Result = UINode::VisibleCheckResult;
using Texts = std::vector<std::string>;

TEST(ByteCountText, UnitsGrowFinerAndRoundUpIntoTheNext) {
    std::string texts;
    for (const std::uint64_t bytes : {std::uint64_t{0}, std::uint64_t{1}, 999UL, 1499UL, 1500UL, 999'500UL,
                                      3'450'000UL, 999'950'000UL, 5'070'000'000UL, ~std::uint64_t{0}})
        texts += byteCountText(bytes) + ", ";
    EXPECT_EQ(texts, "0 bytes, 1 byte, 999 bytes, 1 KB, 2 KB, 1 MB, 3.5 MB, 1 GB, 5.07 GB, 18.45 EB, ");
}

TEST(UINode, ShowsWhatItsRecordHolds) {
    const NodeWorld world;
    const UINodePtr file = world.node(recordAt("/a\xff/x, y.pdf", 2'500'000, 7));
    EXPECT_EQ(file->displayName(), "x, y.pdf");
    EXPECT_EQ(file->displayPath(), "/a\uFFFD/x, y.pdf");
    EXPECT_EQ(file->displayInside(), "a\uFFFD");
    EXPECT_EQ(file->displayTotalSize(), "2.5 MB");
    EXPECT_EQ(file->kind(), UINode::Kind::file);
    EXPECT_EQ(file->displayKind(), "PDF document");

    const auto kindOf = [&](const char* path, bool isDirectory) {
        const UINodePtr node = world.node(recordAt(path, 0, 0, isDirectory));
        return std::pair(node->kind(), node->displayKind());
    };
    using Kind = UINode::Kind;
    EXPECT_EQ(kindOf("/a.pdf", true), std::pair(Kind::folder, std::string("Folder")));
    EXPECT_EQ(kindOf("/a.framework", true).first, Kind::package);
    EXPECT_EQ(kindOf("/Makefile", false).second, "File");
    EXPECT_EQ(kindOf("/a.qqx", false).second, "QQX file");
}

TEST(UINode, AFolderGivesItsContentsAndAMissingOneAnError) {
    const NodeWorld world;
    const TemporaryFolder folder;
    folder.file("one.txt", "12345");
    folder.folder("two");
    UINodes nodes = UINode::nodesForContentsOfFolder(folder.path(), world.environment);
    std::ranges::sort(nodes, {}, &UINode::path);
    EXPECT_EQ(pathsOf(nodes), (Texts{folder.path("one.txt"), folder.path("two")}));
    EXPECT_EQ(nodes[0]->totalSize(), 5u);
    EXPECT_TRUE(nodes[1]->isDirectory());
    EXPECT_THROW(UINode::nodesForContentsOfFolder(folder.path("three"), world.environment), Error);
    EXPECT_TRUE(
        UINode::nodesForContentsOfFolderIgnoringError(folder.path("three"), world.environment).empty());
    EXPECT_EQ(UINode::forFile(folder.path("one.txt"), world.environment)->totalSize(), 5u);
}

class RowInView : public ::testing::Test {
  protected:
    static Result look(const UINodePtr& row, const VisibleCheckEnvironment& environment = {}) {
        return row->visibleOnScreenChecks(nullptr, environment);
    }
    // A catalog's hit whose lines are still to be collected.
    UINodePtr rowToCollect() {
        SearchResult record = recordAt(folder.file("hit.txt"));
        record.searchResultSuppliedBy = SearchResultSupplier::CompactContentIndex;
        record.tryCollectSummaryLines = true;
        return world.node(std::move(record));
    }

    const NodeWorld world;
    const TemporaryFolder folder;
    QueryWorld queries;
    const QueryContainer query = queries.query("x");
};

TEST_F(RowInView, AMissingFileTakesItsRowAlongOrIsStruckThroughUnlessItsDiskIsAway) {
    SearchResult record = recordAt(folder.file("here"));
    const UINodePtr indifferent = world.node(record);
    record.checkToSeeIfItExists = true;
    const UINodePtr leaving = world.node(record);
    EXPECT_EQ(look(leaving), Result::none);
    std::filesystem::remove(record.path);
    EXPECT_EQ(look(leaving), Result::remove) << "a later look";
    EXPECT_EQ(look(indifferent), Result::none);

    record.checkToSeeIfItExists = false;
    record.strikeThroughDisplayNameIfMissing = true;
    const UINodePtr struck = world.node(record), offline = world.node(record);
    EXPECT_EQ(look(struck), Result::reload);
    EXPECT_TRUE(struck->displayStrikeThroughText());
    EXPECT_EQ(look(struck), Result::none) << "told already";
    EXPECT_EQ(look(offline, {.volumeIsReachable = [](const SearchResult&) { return false; }}), Result::none);
    EXPECT_FALSE(offline->displayStrikeThroughText());
}

TEST_F(RowInView, LabelsAndLinksAreSeenOnlyNow) {
    const std::string path = folder.file("tagged.txt");
    writeTags(path, {"red", "to print"});
    const UINodePtr row = world.node(recordAt(path));
    EXPECT_EQ(row->labels(), Texts{});
    EXPECT_EQ(look(row), Result::none);
    EXPECT_EQ(row->labels(), (Texts{"red", "to print"}));

    std::filesystem::create_symlink(path, folder.path("link"));
    std::filesystem::create_symlink("nowhere", folder.path("dangling"));
    for (const char* name : {"link", "dangling"}) {
        const UINodePtr link = world.node(recordAt(folder.path(name)));
        EXPECT_EQ(look(link), Result::reload) << name;
        EXPECT_EQ(link->displayKind(), "Alias") << name;
    }
}

TEST_F(RowInView, ACatalogHitIsReadForItsSummaryLinesOnce) {
    int calls = 0;
    const VisibleCheckEnvironment environment{
        .collectSummary = [&](const SearchResult&, const QueryContainer&, const IsStopped&) {
            ++calls;
            ContentFindings findings{{"first line", "second line"}, {{"line", {{6, 4}}}}};
            return std::make_shared<const ContentFindings>(std::move(findings));
        }};
    SearchResult complete = recordAt(folder.file("hit.txt"));
    complete.content = std::make_shared<const ContentFindings>(ContentFindings{{"line"}, {}});
    EXPECT_EQ(world.node(complete)->children().size(), 1u);
    EXPECT_EQ(world.node(complete)->visibleOnScreenChecks(&query, environment), Result::none);
    EXPECT_EQ(look(rowToCollect(), environment), Result::none) << "no query";
    EXPECT_EQ(calls, 0);

    const UINodePtr row = rowToCollect();
    EXPECT_EQ(row->visibleOnScreenChecks(&query, environment), Result::reload);
    EXPECT_EQ(row->visibleOnScreenChecks(&query, environment), Result::none);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(row->kind(), UINode::Kind::fileWithContentSummary);
    ASSERT_EQ(row->children().size(), 2u);
    EXPECT_EQ(row->children()[0]->summaryLine(), "first line");
    EXPECT_EQ(row->children()[0]->kind(), UINode::Kind::contentSummary);
    EXPECT_EQ(row->children()[0]->displayWordsToHighlight(), Texts{"line"});
    const SearchResult record = row->suppliedSearchResult();
    EXPECT_FALSE(record.tryCollectSummaryLines);
    EXPECT_EQ(record.content->summaryLines.size(), 2u);
    EXPECT_EQ(record.searchResultSuppliedBy, SearchResultSupplier::CompactContentIndex);
}

}  // namespace
}  // namespace kestrix
