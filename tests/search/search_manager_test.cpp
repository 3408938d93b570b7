#include "search/search_manager.h"

#include <algorithm>
#include <set>

#include "tests/search/search_fixture.h"

namespace kestrix {
namespace {

using Paths = std::vector<std::string>;

// Every look at it finds it later than the last one.
class HurryingClock : public Clock {
  public:
    WallTime now() const override { return system().now(); }
    SteadyTime steadyNow() const override { return SteadyTime(std::chrono::seconds(++looks_)); }
    bool waitUntil(std::unique_lock<std::mutex>& held, std::condition_variable& wakeup, SteadyTime,
                   const std::function<bool()>& done) override {
        return system().waitUntil(held, wakeup, SteadyTime::max(), done);
    }

  private:
    mutable std::atomic<int> looks_ = 0;
};

TEST_F(SearchTest, WhatTwoSourcesDeliverAtOnceArrivesOnceAndTheFinishOnce) {
    std::set<std::string> expected;
    std::vector<std::vector<SearchResult>> batches;
    for (int batch = 0; batch < 400; ++batch) {
        auto& items = batches.emplace_back();
        for (int item = 0; item < batch % 40 + 1; ++item) {
            items.push_back(recordOf("/home/kx/d" + std::to_string(batch) + "/cat" + std::to_string(item)));
            expected.insert(items.back().path);
        }
        items.push_back(recordOf("/home/kx/d" + std::to_string(batch) + "/dog"));
    }
    search(query("cat"), {delivering(batches), delivering(batches)});

    Paths found = receiver->paths();
    std::ranges::sort(found);
    EXPECT_EQ(found, Paths(expected.begin(), expected.end()));
    EXPECT_EQ(receiver->lastTotal, static_cast<std::int64_t>(expected.size()));
    EXPECT_EQ(receiver->begun, 1);
    EXPECT_EQ(receiver->finished, 1);
    EXPECT_FALSE(manager->searchInProgress());
}

TEST_F(SearchTest, TheFirstRecordOfAPathDecidesEvenIfItFails) {
    SearchResult late = recordOf("/usr/cat");
    late.ignoreSearchLocation = true;
    search(query("cat"), {delivering({{recordOf("/home/kx/cat", 1), recordOf("/home/kx/cat", 2)},
                                      {recordOf("/usr/cat"), late}})});

    ASSERT_EQ(receiver->paths(), Paths{"/home/kx/cat"});
    EXPECT_EQ(receiver->calls[0][0].size, 1u);
    EXPECT_EQ(manager->numberOfResultsReturned(), 1);
}

TEST_F(SearchTest, AnItemArrivesInOneCallWithTheFoldersItExpandsTo) {
    const std::string file = folder.file("cats/old cat/cat.txt");
    SearchResult item = recordOf(file);
    item.ignoreSearchLocation = true;
    item.checkToSeeIfItExists = true;
    search(query("cat"), {delivering({{item}})});

    ASSERT_EQ(receiver->calls.size(), 1u);
    const auto items = receiver->calls[0];
    EXPECT_EQ(pathsOf(items), (Paths{file, folder.path("cats"), folder.path("cats/old cat")}));
    EXPECT_EQ(receiver->lastTotal, 3);
    for (std::size_t at : {1, 2}) {
        EXPECT_TRUE(items[at].isDirectory && items[at].ignoreSearchLocation &&
                    items[at].checkToSeeIfItExists);
        EXPECT_NE(items[at].modDate, 0);
    }

    options.attributes = false;
    receiver = std::make_shared<Receiver>(loop);
    search(query("cat"), {delivering({{item}})});
    ASSERT_EQ(receiver->paths().size(), 3u);
    const SearchResult& bare = receiver->calls[0][1];
    EXPECT_EQ(bare.modDate, 0) << "nobody looks at the dates, so the folder is not read";
    EXPECT_EQ(bare.diskKey, items[1].diskKey);
}

TEST_F(SearchTest, SystemFoldersAndHiddenPlacesAreLeftOutUnlessTheyWereMeant) {
    SearchResult meant = recordOf("/usr/lib/cat");
    meant.ignoreSearchLocation = true;
    const std::vector<SearchResult> items = {meant, recordOf("/usr/bin/cat"), recordOf("/home/kx/.git/cat"),
                                             recordOf("/home/kx/cat")};
    search(query("cat"), {delivering({items})});
    EXPECT_EQ(receiver->paths(), (Paths{"/usr/lib/cat", "/home/kx/cat"}));

    receiver = std::make_shared<Receiver>(loop);
    options.searchInsideSystemAndApps = true;
    search(query("cat"), {delivering({items})});
    EXPECT_EQ(receiver->paths(), pathsOf(items));
}

TEST_F(SearchTest, StopEndsASearchWhoseSourcesWaitAndNothingArrivesAfterwards) {
    const auto source = std::make_shared<FakeSource>([](FakeSource& self, SearchDataSourceDelegate& handler) {
        self.toldToStop.wait();
        handler.searchResults(recordsOf({"/home/kx/cat"}), self);
    });
    make({source});
    manager->searchFor(query("cat"));
    manager->stop();
    manager->stop();
    finish();
    EXPECT_TRUE(receiver->calls.empty());
    EXPECT_EQ(receiver->finished, 1);
    EXPECT_TRUE(manager->shouldStop());
}

TEST_F(SearchTest, UserCancelTellsOfTheEndAtOnceAndAgainWhenItComes) {
    Blocker hold;
    make({std::make_shared<FakeSource>([&hold](FakeSource&, SearchDataSourceDelegate&) { hold.wait(); })});
    manager->searchFor(query("cat"));
    manager->userCancel();
    EXPECT_GE(receiver->finished, 1);
    hold.release();
    finish();
    EXPECT_EQ(receiver->finished, 2);
}

TEST_F(SearchTest, AStopBeforeTheStartStillBringsTheFinish) {
    const auto source = delivering({recordsOf({"/home/kx/cat"})});
    make({source});
    manager->stop();
    manager->searchFor(query("cat"));
    finish();
    EXPECT_EQ(receiver->finished, 1);
    EXPECT_FALSE(source->started);
}

TEST_F(SearchTest, StandardSourcesStayOutWhenThereIsNothingForThemOrAnotherClaimsTheFolders) {
    const auto standard = delivering({recordsOf({"/home/kx/cat"})});
    const auto always = delivering({recordsOf({"/home/kx/dog"})});
    make({standard}, {always});
    manager->searchFor(query("-cat"));
    finish();
    EXPECT_FALSE(standard->started);
    EXPECT_EQ(receiver->paths(), Paths{"/home/kx/dog"});

    const auto claiming = std::make_shared<FakeSource>(nullptr);
    claiming->locations = {"/home/kx"};
    make({standard}, {claiming});
    manager->searchFor(query("cat"));
    finish();
    EXPECT_TRUE(claiming->started);
    EXPECT_FALSE(standard->started);
    EXPECT_EQ(receiver->finished, 2);
}

TEST_F(SearchTest, AMetadataIndexNeverHoldsASearchOpen) {
    const auto waiting = [](FakeSource& self, SearchDataSourceDelegate&) { self.toldToStop.wait(); };
    make({delivering({recordsOf({"/home/kx/cat"})}),
          std::make_shared<FakeSource>(waiting, SearchResultSupplier::spotlight)});
    manager->searchFor(query("cat"));
    finish();
    EXPECT_EQ(receiver->paths(), Paths{"/home/kx/cat"});
    EXPECT_EQ(receiver->finished, 1);
}

TEST_F(SearchTest, ASearchLivesToItsEndWithoutItsOwnerAndWithoutADelegate) {
    for (int round = 0; round < 50; ++round) {
        Blocker hold;
        make({std::make_shared<FakeSource>([&hold](FakeSource& self, SearchDataSourceDelegate& handler) {
            hold.wait();
            handler.searchResults(recordsOf({"/home/kx/cat"}), self);
        })});
        manager->searchFor(query("cat"));
        manager.reset();
        hold.release();
        loop.run();  // until the finish
        loop.runPending();
        EXPECT_EQ(receiver->finished, round + 1);
    }
    EXPECT_EQ(receiver->paths().size(), 50u);

    make({delivering({recordsOf({"/home/kx/cat"})})});
    manager->searchFor(query("cat"));
    receiver.reset();
    finish();
    EXPECT_EQ(manager->numberOfResultsReturned(), 1);
}

TEST_F(SearchTest, ProgressComesAtMostOncePerInterval) {
    ManualClock still;
    clock = &still;
    search(query("cat"),
           {std::make_shared<FakeSource>([&still](FakeSource&, SearchDataSourceDelegate& handler) {
               handler.searchDataSourceProgress(10);
               still.advance(Seconds(0.3));
               handler.searchDataSourceProgress(20);
               handler.searchDataSourceProgress(30);
               handler.searchErrorOccured(13, "/home/kx/closed");
               handler.searchInvalidQuery();
           })});
    EXPECT_EQ(receiver->progress, (std::vector<std::pair<std::int64_t, std::int64_t>>{{30, 0}}));
    EXPECT_EQ(manager->numberOfFilesSearched(), 60);
    EXPECT_EQ(receiver->errors, (std::vector<std::pair<int, std::string>>{{13, "/home/kx/closed"}}));
    EXPECT_EQ(receiver->invalid, 1);
    clock = &Clock::system();
    manager.reset();
}

// Every item counts as slow here, so the slice is shared out down to single items.
TEST_F(SearchTest, ASliceThatTakesLongIsSharedOutWithoutLossAndDeliversAsItGoes) {
    HurryingClock hurrying;
    clock = &hurrying;
    std::vector<SearchResult> batch;
    std::vector<Paths> expected;
    for (int at = 0; at < 200; ++at) {
        const std::string home = "/home/kx/a cat " + std::to_string(1000 + at);
        batch.push_back(recordOf(home + "/cat"));
        expected.push_back({home + "/cat", home});
    }
    search(query("cat -dog"), {delivering({batch})});

    std::vector<Paths> calls;
    for (const auto& call : receiver->calls)
        calls.push_back(pathsOf(call));
    std::ranges::sort(calls);
    EXPECT_EQ(calls, expected);
    clock = &Clock::system();
    manager.reset();
}

}  // namespace
}  // namespace kestrix
