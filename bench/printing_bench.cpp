// What one printed result costs the main thread.
#include <benchmark/benchmark.h>

#include "app/cli/result_printer.h"

namespace kestrix::cli {
namespace {

std::vector<SearchResult> manyResults() {
    std::vector<SearchResult> results;
    for (int i = 0; i < 1000; ++i) {
        SearchResult result;
        result.path =
            "/home/somebody/Documents/Projects/2016/Reports/Annual report " + std::to_string(i) + ".pdf";
        result.size = static_cast<std::uint64_t>(i) * 9973;
        result.modDate = 1'450'000'000 + i * 86'400LL;
        results.push_back(std::move(result));
    }
    return results;
}

void printed(benchmark::State& state, Form form) {
    const auto results = manyResults();
    OutputWriter output([](std::string_view bytes, int*) {
        benchmark::DoNotOptimize(bytes.data());
        return WriteOutcome::written;
    });
    PrintStyle style;
    style.form = form;
    const FileTypes types;
    const UTIAssistant names(types);
    const KindTexts kinds(names);
    ResultPrinter printer(output, style, kinds);
    for (auto _ : state) {
        for (const SearchResult& result : results)
            printer.print(result);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(results.size()));
}
BENCHMARK_CAPTURE(printed, path, Form::path);
BENCHMARK_CAPTURE(printed, long_form, Form::longForm);
BENCHMARK_CAPTURE(printed, json, Form::json);
BENCHMARK_CAPTURE(printed, csv, Form::csv);

}  // namespace
}  // namespace kestrix::cli
