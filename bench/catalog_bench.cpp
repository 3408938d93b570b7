// What writing a catalog costs without a disk to read: items go through the groups of a build into a file, as
// a tree of folders of 25 files or as one folder. Four times the items shall take four times as long, to
// write and to scan, and one folder of 200,000 files no more a file than the tree.
#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "index/build/group_writer.h"

namespace kestrix {
namespace {

constexpr FSItemID kTree = 25;

std::string fileOf(std::int64_t items) {
    const auto folder = std::filesystem::temp_directory_path();
    return folder / fmt::format("kestrix-catalog-bench-{}-{}.kxcache", ::getpid(), items);
}

void write(const std::string& file, std::int64_t items, FSItemID filesPerFolder) {
    std::filesystem::remove(file);
    SimpleLMDB db;
    db.open(file);
    GroupWriter writer(db, Clock::system(), {});
    FSItemID parent = kNoParent;
    for (std::int64_t i = 0; i < items; ++i) {
        const FSItemID id = writer.nextID();
        const bool isFolder = i % filesPerFolder == 0;
        const std::string name = fmt::format("quarterly report {}", i);
        writer.add({.fsid = id,
                    .parentID = isFolder ? kNoParent : parent,
                    .type = isFolder ? FSItemType::directory : FSItemType::file,
                    .modificationDate = 700'000'000,
                    .name = name,
                    .version = 1,
                    .size = i});
        if (isFolder) parent = id;
        if (writer.isDue()) writer.flush();
    }
    writer.flush();
}

void writeTree(benchmark::State& state) {
    const std::string file = fileOf(state.range(0));
    for (auto _ : state)
        write(file, state.range(0), kTree);
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.SetLabel(fmt::format("{:.1f} bytes an item", static_cast<double>(std::filesystem::file_size(file)) /
                                                           static_cast<double>(state.range(0))));
    std::filesystem::remove(file);
}
BENCHMARK(writeTree)
    ->Arg(200'000)
    ->Arg(1'000'000)
    ->Arg(4'000'000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void writeOneFolder(benchmark::State& state) {
    const std::string file = fileOf(state.range(0));
    for (auto _ : state)
        write(file, state.range(0), 1'000'000'000);
    state.SetItemsProcessed(state.iterations() * state.range(0));
    std::filesystem::remove(file);
}
BENCHMARK(writeOneFolder)->Arg(200'000)->Unit(benchmark::kMillisecond)->UseRealTime();

void scan(benchmark::State& state) {
    const std::string file = fileOf(state.range(0));
    write(file, state.range(0), kTree);
    SimpleLMDB db;
    db.open(file);
    for (auto _ : state) {
        std::int64_t letters = 0;
        const auto take = [&](std::string_view, std::string_view record) {
            letters += static_cast<std::int64_t>(nameInFSItem(record).size());
            return true;
        };
        db.scan("F", SimpleLMDB::kBatchSize, take, [] { return true; });
        benchmark::DoNotOptimize(letters);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    std::filesystem::remove(file);
}
BENCHMARK(scan)->Arg(1'000'000)->Arg(4'000'000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kestrix
