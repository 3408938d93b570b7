// The small store: purging 100,000 old fields of 10,000 records, and writing one field durably.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "base/clock.h"
#include "stores/hierarchical_database.h"

namespace kestrix {
namespace {

constexpr int kRecords = 10'000;
constexpr int kFieldsPerRecord = 10;

class StoreFile {
  public:
    StoreFile() {
        std::filesystem::remove_all(folder_);
        store.openStore(folder_ / "store.sqlite");
    }
    ~StoreFile() {
        store.close();
        std::filesystem::remove_all(folder_);
    }

    void fill() {
        store.transaction([this] {
            for (int record = 0; record < kRecords; ++record)
                for (int field = 0; field < kFieldsPerRecord; ++field)
                    store.write(1.5, "field" + std::to_string(field), "key" + std::to_string(record));
        });
    }

    ManualClock clock;
    HierarchicalDatabase store{clock};

  private:
    std::filesystem::path folder_ = std::filesystem::temp_directory_path() / "kestrix-store-bench";
};

void purgeOldFields(benchmark::State& state) {
    StoreFile file;
    for (auto _ : state) {
        state.PauseTiming();
        file.fill();
        file.clock.advance(Seconds(31 * 86'400));
        state.ResumeTiming();
        file.store.purge(30);
    }
    if (!file.store.query("select * from fields").empty()) std::abort();
    state.SetItemsProcessed(state.iterations() * kRecords * kFieldsPerRecord);
}
BENCHMARK(purgeOldFields)->Unit(benchmark::kMillisecond)->Iterations(3);

void writeField(benchmark::State& state) {
    StoreFile file;
    double value = 0;
    for (auto _ : state)
        file.store.write(value += 1, "field", "key");
}
BENCHMARK(writeField)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace kestrix
