// A catalog of 400,000 items on a tmpfs or disk: the look at its pages, a whole open, a scan that takes
// nothing, one that reads each name, and single look-ups.
#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "index/lmdb/page_check.h"
#include "index/lmdb/simple_lmdb.h"
#include "index/records.h"
#include "platform/mapped_file.h"

namespace kestrix {
namespace {

constexpr FSItemID kItems = 400'000;
constexpr FSItemID kFolderSize = 25;
constexpr FSItemID kGroup = 100'000;

void fillGroup(SimpleLMDB& db, FSItemID first) {
    std::vector<ValueGroupKey> values;
    for (FSItemID id = first; id < first + kGroup; ++id) {
        FSItem item;
        item.fsid = id;
        item.parentID = id / kFolderSize;
        item.type = id % kFolderSize == 0 ? FSItemType::directory : FSItemType::file;
        item.name = fmt::format("holiday picture number {}.jpeg", id * 7);
        item.size = id;
        values.push_back({item.asData(), "", itemKey(id)});
    }
    std::sort(values.begin(), values.end(), [](const auto& a, const auto& b) { return a.key < b.key; });
    db.put(values);
}

const std::string& catalog() {
    static const std::string path = [] {
        std::string made = std::filesystem::temp_directory_path() / "kestrix-scan-bench.kxcache";
        std::filesystem::remove(made);
        SimpleLMDB db;
        db.open(made);
        for (FSItemID first = 1; first < kItems; first += kGroup)
            fillGroup(db, first);
        return made;
    }();
    return path;
}

void checkPages(benchmark::State& state) {
    const MappedFile mapped(catalog());
    for (auto _ : state)
        if (faultOfPages(mapped.bytes())) state.SkipWithError("damaged");
    state.SetLabel(fmt::format("{} pages", mapped.bytes().size() / 4096));
}
BENCHMARK(checkPages)->Unit(benchmark::kMillisecond);

void open(benchmark::State& state) {
    catalog();
    for (auto _ : state) {
        SimpleLMDB db;
        db.open(catalog());
    }
}
BENCHMARK(open)->Unit(benchmark::kMillisecond);

void scan(benchmark::State& state, bool readNames) {
    SimpleLMDB db;
    db.open(catalog());
    std::size_t items = 0;
    const auto take = [&](std::string_view, std::string_view value) {
        items += readNames ? nameInFSItem(value).size() : 1;
        return true;
    };
    for (auto _ : state)
        db.scan("F", SimpleLMDB::kBatchSize, take, [] { return true; });
    benchmark::DoNotOptimize(items);
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK_CAPTURE(scan, takesNothing, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(scan, readsNames, true)->Unit(benchmark::kMillisecond);

void get(benchmark::State& state) {
    SimpleLMDB db;
    db.open(catalog());
    FSItemID id = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(db.get("F", std::to_string(id = id * 48'271 % kItems + 1)));
}
BENCHMARK(get);

}  // namespace
}  // namespace kestrix
