// Result lists of a hundred thousand rows: making, sorting, merging, and what they weigh; and export.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <array>
#include <random>
#include <string>

#include "results/node_sorting.h"
#include "results/results_exporter.h"

namespace kestrix {
namespace {

constexpr std::size_t kNodes = 100'000;
constexpr std::size_t kBatch = 1'000;

// As they come from a home folder: a few long folders, names that share their beginnings, many extensions.
std::vector<SearchResult> records(std::size_t count, unsigned seed = 1) {
    std::mt19937 random(seed);
    const auto pick = [&](auto... words) {
        const std::array all = {words...};
        return std::string(all[random() % all.size()]);
    };
    std::vector<SearchResult> made;
    made.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        SearchResult record;
        record.path = "/home/somebody/" + pick("Documents", "Pictures", "Projects/boat") + "/" +
                      std::to_string(random() % 5000) + "/" +
                      pick("Annual report ", "IMG_", "invoice-", "notes ", "Überblick ", "main_window_") +
                      std::to_string(random() % 100'000) + pick(".pdf", ".jpg", ".txt", ".cpp", ".odt", "");
        record.size = random() % 10'000'000;
        record.modDate = 1'400'000'000 + static_cast<std::int64_t>(random() % 300'000'000);
        record.creationDate = record.modDate - 1000;
        made.push_back(std::move(record));
    }
    return made;
}

class World {
  public:
    UINodes nodes(std::vector<SearchResult> from) const {
        UINodes made;
        made.reserve(from.size());
        for (SearchResult& record : from)
            made.push_back(std::make_shared<UINode>(std::move(record), environment));
        return made;
    }
    FileTypes types;
    UTIAssistant names{types};
    KindTexts kinds{names};
    UINodeEnvironment environment{kinds, Clock::system(), nullptr};
};

void makingNodes(benchmark::State& state) {
    const World world;
    const auto all = records(kNodes);
    std::size_t weight = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto copy = all;
        const std::size_t before = ::mallinfo2().uordblks;
        state.ResumeTiming();
        UINodes nodes = world.nodes(std::move(copy));
        state.PauseTiming();
        weight = ::mallinfo2().uordblks - before;
        nodes.clear();
        state.ResumeTiming();
    }
    state.counters["bytes_per_node"] = static_cast<double>(weight) / kNodes;
}
BENCHMARK(makingNodes)->Unit(benchmark::kMillisecond);

// Nodes that nobody has sorted yet: their keys are made as well.
void sorting(benchmark::State& state, Column column) {
    const World world;
    const auto all = records(kNodes);
    for (auto _ : state) {
        state.PauseTiming();
        UINodes nodes = world.nodes(all);
        state.ResumeTiming();
        nodes = UINode::sortNodes(std::move(nodes), {column});
        benchmark::DoNotOptimize(nodes.data());
        state.PauseTiming();
        nodes.clear();
        state.ResumeTiming();
    }
}
BENCHMARK_CAPTURE(sorting, name, Column::name)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sorting, size, Column::size)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sorting, kind, Column::kind)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sorting, path, Column::path)->Unit(benchmark::kMillisecond);

void sortingAgain(benchmark::State& state) {
    const World world;
    UINodes nodes = UINode::sortNodes(world.nodes(records(kNodes)), {Column::size});
    for (auto _ : state)
        benchmark::DoNotOptimize(UINode::sortNodes(nodes, {Column::name}));
}
BENCHMARK(sortingAgain)->Unit(benchmark::kMillisecond);

void mergingABatch(benchmark::State& state) {
    const World world;
    const NodeOrder order;
    const UINodes sorted = UINode::sortNodes(world.nodes(records(kNodes)), order);
    for (auto _ : state) {
        state.PauseTiming();
        UINodes batch = world.nodes(records(kBatch, 2));
        state.ResumeTiming();
        benchmark::DoNotOptimize(mergeNodes(sorted, std::move(batch), order));
    }
}
BENCHMARK(mergingABatch)->Unit(benchmark::kMillisecond);

// From the records to the file on the disk, synced; each row is formatted anew.
void exportingAMillionRows(benchmark::State& state, ResultLinesFormat format) {
    const World world;
    const auto all = records(kNodes);
    const std::string path = "/var/tmp/kestrix-results-bench";
    for (auto _ : state) {
        ExportFile file(path, format);
        for (std::size_t round = 0; round < 10; ++round) {
            for (const SearchResult& record : all)
                file.add(record, world.kinds.kindOf(record.path, false).text);
        }
        file.commit();
    }
    removeFile(path);
    state.SetItemsProcessed(state.iterations() * 10 * static_cast<std::int64_t>(kNodes));
}
BENCHMARK_CAPTURE(exportingAMillionRows, csv, ResultLinesFormat::csv)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(exportingAMillionRows, text, ResultLinesFormat::text)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kestrix
