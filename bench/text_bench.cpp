// Text operations on names and on long text, ASCII and not.
#include "base/text.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace kestrix {
namespace {

const std::string kName = "Quarterly Report 2024-Q3 (final).docx";
const std::string kForeignName = "Übersicht der Verträge – März.docx";

std::string prose(std::string_view sentence) {
    std::string text;
    while (text.size() < 1 << 20) {
        text += sentence;
    }
    return text;
}

const std::string& asciiProse() {
    static const std::string kText = prose("The quick brown fox jumps over the lazy dog, and then again. ");
    return kText;
}

const std::string& cyrillicProse() {
    static const std::string kText = prose("Съешь же ещё этих мягких французских булок, да выпей чаю. ");
    return kText;
}

void findIn(benchmark::State& state, const std::string& text, const std::string& needle) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(text::findIgnoringCase(text, needle));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK_CAPTURE(findIn, asciiName, kName, "final");
BENCHMARK_CAPTURE(findIn, asciiNameMiss, kName, "invoice");
BENCHMARK_CAPTURE(findIn, foreignName, kForeignName, "verträge");
BENCHMARK_CAPTURE(findIn, asciiText, asciiProse(), "foxes");
BENCHMARK_CAPTURE(findIn, asciiTextWithK, asciiProse(), "kestrel");
BENCHMARK_CAPTURE(findIn, asciiInCyrillicText, cyrillicProse(), "kestrel");
BENCHMARK_CAPTURE(findIn, cyrillicText, cyrillicProse(), "чайник");

template <typename Operation>
void apply(benchmark::State& state, Operation operation, const std::string& text) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(operation(text));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK_CAPTURE(apply, loweredName, text::lowered, kName);
BENCHMARK_CAPTURE(apply, loweredForeignName, text::lowered, kForeignName);
BENCHMARK_CAPTURE(apply, loweredText, text::lowered, asciiProse());
BENCHMARK_CAPTURE(apply, loweredCyrillicText, text::lowered, cyrillicProse());
BENCHMARK_CAPTURE(apply, isAsciiText, text::isAscii, asciiProse());
BENCHMARK_CAPTURE(apply, isValidCyrillicText, text::isValidUtf8, cyrillicProse());
BENCHMARK_CAPTURE(apply, composedForeignName, text::composed, kForeignName);
BENCHMARK_CAPTURE(apply, countOfName, text::characterCount, kName);
BENCHMARK_CAPTURE(apply, countOfForeignName, text::characterCount, kForeignName);
BENCHMARK_CAPTURE(apply, keyOfName, text::collationKey, kName);
BENCHMARK_CAPTURE(apply, keyOfForeignName, text::collationKey, kForeignName);

void sortNames(benchmark::State& state) {
    std::mt19937 random(1);
    std::vector<std::string> names(100'000);
    for (std::string& name : names) {
        name =
            "Report " + std::to_string(random() % 1'000'000) + (random() % 8 == 0 ? " über.txt" : " of.txt");
    }
    for (auto _ : state) {
        std::vector<std::string> keys(names.size());
        std::transform(names.begin(), names.end(), keys.begin(), text::collationKey);
        std::sort(keys.begin(), keys.end());
        benchmark::DoNotOptimize(keys.data());
    }
}
BENCHMARK(sortNames)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kestrix
