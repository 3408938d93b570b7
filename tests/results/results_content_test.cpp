#include "results/results_content.h"

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

#include "base/operation_queue.h"
#include "tests/results/results_fixture.h"

namespace kestrix {
namespace {

using Paths = std::vector<std::string>;

class ResultsContentTest : public ::testing::Test, public ResultsContentView {
  protected:
    void displayNodes(std::shared_ptr<const UINodes> nodes) override {
        shown = std::move(nodes);
        ++displays;
    }
    void reloadNode(const UINodePtr& node) override { reloaded.push_back(node->path()); }

    // Everything asked for is done and shown.
    void settle() {
        for (int round = 0; round < 3; ++round) {
            content->waitUntilAtRest();
            loop.runPending();
        }
    }
    void add(const Paths& paths) { content->addResults(world.nodes(paths), nullptr); }
    Paths rows() const { return pathsOf(*shown); }

    UINodePtr nodeThatMayVanish(const std::string& path) {
        SearchResult record = recordAt(path);
        record.checkToSeeIfItExists = true;
        return world.node(std::move(record));
    }

    NodeWorld world;
    const TemporaryFolder folder;
    QueryWorld queries;
    RunLoop loop;
    VisibleCheckEnvironment checks;
    std::shared_ptr<const UINodes> shown = std::make_shared<const UINodes>();
    int displays = 0;
    Paths reloaded;
    std::optional<ResultsContent> content{std::in_place, *this, loop, queries.preferences, checks};
};

TEST_F(ResultsContentTest, TheSamePathInTwoBatchesGivesOneRow) {
    add({"/b", "/a", "/b"});
    add({"/c", "/a"});
    settle();
    EXPECT_EQ(rows(), (Paths{"/a", "/b", "/c"}));
    content->removeItemsFromResultsWithPaths({"/a", "/c", "/not there"});
    add({"/a"});
    settle();
    EXPECT_EQ(rows(), (Paths{"/a", "/b"})) << "what was removed may come again";
}

TEST_F(ResultsContentTest, BatchesAndNewOrdersThatCrossLoseNothing) {
    std::mt19937 random(1);
    UINodes all;
    const auto addSome = [&](std::size_t count) {
        UINodes batch;
        for (std::size_t i = 0; i < count; ++i) {
            const std::string name = "file " + std::to_string(random() % 50);
            batch.push_back(
                world.node(recordAt("/" + std::to_string(all.size() + i) + "/" + name, random() % 9)));
        }
        all.insert(all.end(), batch.begin(), batch.end());
        content->addResults(std::move(batch), nullptr);
    };
    for (int round = 0; round < 30; ++round) {
        addSome(random() % 300);
        if (round % 3 == 0) content->sortBy(random() % 2 ? Column::size : Column::name, random() % 2);
        addSome(random() % 20);
        loop.runPending();
    }
    content->sortBy(Column::path, true);
    settle();
    all = UINode::sortNodes(all, {Column::path, true});
    EXPECT_EQ(rows(), pathsOf(all));
    content->sortBy(Column::size, false);
    addSome(5);
    settle();
    EXPECT_EQ(rows(), pathsOf(UINode::sortNodes(all, {Column::size, false})))
        << "equal nodes keep the order they had, and the new ones follow";
}

TEST_F(ResultsContentTest, TheOrderOfTheListIsThatOfItsChildren) {
    const UINodePtr parent = world.node(recordAt("/folder", 0, 0, true));
    parent->setChildren({world.node(recordAt("/folder/2", 1)), world.node(recordAt("/folder/1", 2))});
    content->addResults({parent}, nullptr);
    settle();
    EXPECT_EQ(pathsOf(parent->children()), (Paths{"/folder/1", "/folder/2"}));
    content->sortBy(Column::size, false);
    settle();
    EXPECT_EQ(pathsOf(parent->children()), (Paths{"/folder/2", "/folder/1"}));
}

TEST_F(ResultsContentTest, ANewSearchStartsFromNothingAndShowsNothingOld) {
    add({"/a"});
    content->waitUntilAtRest();
    content->clear();
    add({"/a", "/b"});
    content->waitUntilAtRest();
    loop.runPending();
    EXPECT_EQ(rows(), (Paths{"/a", "/b"}));
    EXPECT_EQ(displays, 2) << "empty, and the new rows; not those of the old search";
}

TEST_F(ResultsContentTest, TheNodesMadeLastStay) {
    for (const char* path : {"/c", "/a", "/d", "/b"}) {
        add({path});
        world.clock.advance(Seconds(1));
    }
    content->removeOldestItemsOver(3);
    settle();
    EXPECT_EQ(rows(), (Paths{"/a", "/b", "/d"}));
    content->removeOldestItemsOver(3);
    add({"/c"});
    settle();
    EXPECT_EQ(rows(), (Paths{"/a", "/b", "/c", "/d"}));
}

TEST_F(ResultsContentTest, ASubstituteTakesTheOldPlaceUntilTheNextMerge) {
    const UINodes nodes = world.nodes({"/a", "/b", "/c"});
    const UINodePtr child = world.node(recordAt("/a/1")), newChild = world.node(recordAt("/a/2"));
    nodes[0]->setChildren({child});
    content->addResults(nodes, nullptr);
    content->substituteItems(nodes[1], world.node(recordAt("/z")));
    content->substituteItems(child, newChild);
    settle();
    EXPECT_EQ(rows(), (Paths{"/a", "/z", "/c"}));
    EXPECT_EQ(nodes[0]->children(), UINodes{newChild});
    add({"/b", "/z"});
    settle();
    EXPECT_EQ(rows(), (Paths{"/a", "/b", "/c", "/z"}));
    content->substituteItems(nodes[2], world.node(recordAt("/a")));
    settle();
    EXPECT_EQ(rows(), (Paths{"/a", "/b", "/z"})) << "a path stands in the list once";
}

TEST_F(ResultsContentTest, RowsInViewAreCheckedAndLeaveWithTheirFiles) {
    const std::string here = folder.file("here");
    std::filesystem::create_symlink(here, folder.path("link"));
    const UINodes nodes = {nodeThatMayVanish(here), nodeThatMayVanish(folder.path("gone")),
                           world.node(recordAt(folder.path("link")))};
    content->addResults(nodes, nullptr);
    content->rowsInView(nodes);
    settle();
    EXPECT_EQ(rows(), (Paths{here, folder.path("link")}));
    EXPECT_EQ(reloaded, Paths{folder.path("link")});
    std::filesystem::remove(here);
    content->rowsInView(*shown);
    settle();
    EXPECT_EQ(rows(), Paths{folder.path("link")});
}

TEST_F(ResultsContentTest, ARowThatLeavesTheViewBeforeItsCheckIsNotChecked) {
    Blocker hold;
    std::atomic<int> checked = 0;
    checks.volumeIsReachable = [&](const SearchResult&) {
        ++checked;
        hold.wait();
        return true;
    };
    content.emplace(*this, loop, queries.preferences, checks);
    UINodes nodes;
    for (const char* name : {"1", "2", "3", "4"}) {
        SearchResult record = recordAt(folder.path(name));
        record.strikeThroughDisplayNameIfMissing = true;
        nodes.push_back(world.node(std::move(record)));
    }
    content->addResults(nodes, nullptr);
    content->rowsInView(nodes);
    while (checked < 2)
        std::this_thread::yield();
    content->rowsInView({nodes[3]});
    hold.release();
    settle();
    EXPECT_EQ(checked, 3);
    EXPECT_FALSE(nodes[2]->displayStrikeThroughText());
    EXPECT_TRUE(nodes[3]->displayStrikeThroughText());
}

TEST_F(ResultsContentTest, AFileThatNobodyWaitsForIsReadNoFurther) {
    std::atomic<int> reading = 0;
    checks.collectSummary = [&](const SearchResult&, const QueryContainer&, const IsStopped& isStopped) {
        ++reading;
        while (!isStopped())
            std::this_thread::yield();
        return std::shared_ptr<const ContentFindings>();
    };
    content.emplace(*this, loop, queries.preferences, checks);
    const auto query = std::make_shared<const QueryContainer>(queries.query("x"));
    for (int round = 1; round <= 2; ++round) {
        SearchResult record = recordAt(folder.file("hit"));
        record.tryCollectSummaryLines = true;
        const UINodes rows = {world.node(std::move(record))};
        content->addResults(rows, query);
        content->rowsInView(rows);
        while (reading < round)
            std::this_thread::yield();
        if (round == 1) content->clear();
    }
    content.reset();
}

TEST_F(ResultsContentTest, StoppingKeepsTheRowsAndTheWantedOrderAndNothingArrivesAfterTheEnd) {
    add({"/a", "/b"});
    settle();
    content->sortBy(Column::name, true);
    content->cancelOperations();
    settle();
    EXPECT_EQ(rows(), (Paths{"/b", "/a"}));
    content->clear();
    content->cancelOperations();
    add({"/c"});
    settle();
    EXPECT_EQ(rows(), Paths{"/c"}) << "rows of the search before do not come back";
    add({"/d"});
    content.reset();
    loop.runPending();
    EXPECT_EQ(rows(), Paths{"/c"});
}

}  // namespace
}  // namespace kestrix
