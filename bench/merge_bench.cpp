// What the merge costs per item, hand-over included: two sources, as a walk has two threads, deliver a
// million records; the delegate only counts. The records are made before the clock starts.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "language/language_parse.h"
#include "search/search_manager.h"

namespace kestrix {
namespace {

constexpr int kItems = 1'000'000;
constexpr int kFilesPerFolder = 8;

using Batches = std::vector<std::vector<SearchResult>>;

// Names of a source tree: eight files to a folder, folders three levels deep.
Batches makeBatches(int first, int count, int batchSize) {
    Batches batches;
    for (int at = first; at < first + count; ++at) {
        if (batches.empty() || static_cast<int>(batches.back().size()) == batchSize) {
            batches.emplace_back().reserve(batchSize);
        }
        const int folder = at / kFilesPerFolder;
        std::string path = "/home/kx/work/project" + std::to_string(folder / 1000) + "/module" +
                           std::to_string(folder / 10 % 100) + "/part" + std::to_string(folder % 10) +
                           "/source_file" + std::to_string(at) + ".cpp";
        batches.back().emplace_back(SearchResultSupplier::fileSystem, DiskKey("disk 1 ext4"), std::move(path),
                                    false, 1000, 0, 0, 0, false, false);
    }
    return batches;
}

class ReadySource : public SearchDataSource {
  public:
    explicit ReadySource(Batches batches) : batches_(std::move(batches)) {}

    std::string debugDescription() const override { return "ReadySource"; }
    SearchResultSupplier type() const override { return SearchResultSupplier::fileSystem; }
    void search(std::shared_ptr<const QueryContainer>, SearchDataSourceDelegate& handler) override {
        for (auto& batch : batches_)
            handler.searchResults(std::move(batch), *this);
    }
    void searchShouldStop() override {}

  private:
    Batches batches_;
};

class Counter : public SearchManagerDelegate {
  public:
    explicit Counter(RunLoop& loop) : loop_(loop) {}

    void searchManagerIsBeginingSearches(const Query&) override {}
    void searchManagerFoundItems(std::vector<SearchResult> items, std::int64_t, const Query&) override {
        count += items.size();
    }
    void searchManagerHasFinishedAllSearches(const Query&) override { loop_.quit(); }
    void searchDataSourceProgress(std::int64_t, std::int64_t) override {}
    void searchErrorOccured(int, const std::string&) override {}
    void searchingInsideFile(const std::string&, bool, int) override {}
    void searchInvalidQuery() override {}

    std::size_t count = 0;

  private:
    RunLoop& loop_;
};

// Argument 0: items per batch. Argument 1: whether every item passes (the word stands in each name) or none.
void mergeAMillion(benchmark::State& state) {
    SettingsStore store("/nonexistent/settings.json");
    Preferences preferences(store);
    const LanguageParse language;
    const auto query = std::make_shared<const QueryContainer>(state.range(1) ? "source" : "nowhere",
                                                              SearchLocation({"/home/kx"}), false,
                                                              QueryEnvironment{preferences, language});
    for (auto _ : state) {
        state.PauseTiming();
        SearchDataSources sources;
        for (int half = 0; half < 2; ++half) {
            sources.push_back(std::make_shared<ReadySource>(
                makeBatches(half * (kItems / 2), kItems / 2, static_cast<int>(state.range(0)))));
        }
        RunLoop loop;
        const auto counter = std::make_shared<Counter>(loop);
        SearchTiming timing;
        timing.grace = Seconds(0);
        const SearchEnvironment environment{loop, Clock::system(), timing, {{}, [&] { return sources; }}};
        auto manager = SearchManager::create(counter, {false, false}, environment);
        state.ResumeTiming();

        manager->searchFor(query);
        loop.run();
        manager->waitUntilEnded();

        state.PauseTiming();
        if (counter->count != (state.range(1) ? kItems : 0)) state.SkipWithError("items are missing");
        manager.reset();
        sources.clear();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(mergeAMillion)
    ->ArgNames({"batch", "pass"})
    ->ArgsProduct({{8, 64, 256, 4096}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

}  // namespace
}  // namespace kestrix
