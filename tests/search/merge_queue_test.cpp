#include "search/merge_queue.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "search/search_manager.h"
#include "tests/search/search_fixture.h"

namespace kestrix {
namespace {

using Paths = std::vector<std::string>;
using Slices = std::vector<MergeSlice>;

Paths pathsIn(const Slices& slices) {
    Paths paths;
    for (const MergeSlice& slice : slices) {
        for (const MergePiece& piece : slice.pieces) {
            for (std::size_t at = piece.first; at < piece.last; ++at)
                paths.push_back((*piece.batch)[at].path);
        }
    }
    return paths;
}

class MergeQueueTest : public ::testing::Test {
  protected:
    std::future<Slices> takeInBackground() {
        auto taken = std::async(std::launch::async, [this] { return queue.takeAll(); });
        waitForTaker();
        return taken;
    }
    void waitForTaker() {
        while (clock.waiting() == 0)
            std::this_thread::yield();
    }

    ManualClock clock;
    SearchTiming timing;
    MergeQueue queue{clock, timing};
};

TEST_F(MergeQueueTest, UrgentBatchesOvertakeWhatIsWaiting) {
    queue.append(recordsOf({"/a", "/b"}), false);
    queue.append(recordsOf({"/x", "/y"}), true);
    queue.append(recordsOf({"/c"}), false);
    EXPECT_EQ(queue.itemsWaiting(), 5);
    EXPECT_EQ(pathsIn(queue.takeAll()), (Paths{"/x", "/y", "/a", "/b", "/c"}));
    queue.judged(5);
    EXPECT_EQ(queue.itemsWaiting(), 0);
}

TEST_F(MergeQueueTest, SlicesSpreadLongBatchesAndGatherShortOnes) {
    const auto batchOf = [](std::size_t count) {
        return std::make_shared<std::vector<SearchResult>>(recordsOf(Paths(count, "/a")));
    };
    std::vector<std::size_t> counts, pieces;
    for (const MergeSlice& slice : cutIntoSlices({batchOf(3), batchOf(4), batchOf(25), batchOf(1)}, 10)) {
        counts.push_back(slice.count);
        pieces.push_back(slice.pieces.size());
    }
    EXPECT_EQ(counts, (std::vector<std::size_t>{10, 10, 10, 3}));
    EXPECT_EQ(pieces, (std::vector<std::size_t>{3, 1, 1, 2}));
}

TEST_F(MergeQueueTest, AnArrivalWakesTheTakerAtOnceAndTheNextOnesGather) {
    auto taken = takeInBackground();
    queue.append(recordsOf({"/a"}), false);
    EXPECT_EQ(pathsIn(taken.get()), Paths{"/a"});

    taken = takeInBackground();
    queue.append(recordsOf({"/b"}), false);
    queue.append(recordsOf({"/c"}), false);
    waitForTaker();
    clock.advance(timing.gather);
    EXPECT_EQ(pathsIn(taken.get()), (Paths{"/b", "/c"}));

    taken = takeInBackground();
    queue.append(recordsOf(Paths(MergeQueue::kSliceItems, "/d")), false);
    EXPECT_EQ(taken.get().size(), 1u);
}

TEST_F(MergeQueueTest, ABatchWithinTheGracePeriodIsTakenAndAfterItTheQueueEnds) {
    queue.sourcesHaveEnded();
    auto taken = takeInBackground();
    clock.advance(Seconds(0.4));
    queue.append(recordsOf({"/late"}), false);
    EXPECT_EQ(pathsIn(taken.get()), Paths{"/late"});

    taken = takeInBackground();
    clock.advance(Seconds(0.4));
    EXPECT_EQ(taken.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    clock.advance(Seconds(0.11));
    EXPECT_TRUE(taken.get().empty());
}

TEST_F(MergeQueueTest, WithoutAGracePeriodTheEndOfTheSourcesIsTheEnd) {
    timing.grace = Seconds(0);
    queue.append(recordsOf({"/a"}), false);
    queue.sourcesHaveEnded();
    EXPECT_EQ(pathsIn(queue.takeAll()), Paths{"/a"});
    EXPECT_TRUE(queue.takeAll().empty());
}

TEST_F(MergeQueueTest, AStopLetsTheTakerGoAndKeepsNothing) {
    auto taken = takeInBackground();
    queue.stop();
    EXPECT_TRUE(taken.get().empty());
    queue.append(recordsOf({"/a"}), false);
    EXPECT_EQ(queue.itemsWaiting(), 0);
    EXPECT_TRUE(queue.takeAll().empty());
}

}  // namespace
}  // namespace kestrix
