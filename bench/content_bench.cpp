// Searching in texts that are in memory already: plain ASCII, with an accent now and then, in another script,
// in Mac OS Roman; and the lines around hits.
#include <benchmark/benchmark.h>

#include <string>

#include "base/text_finder.h"
#include "search/content_text.h"
#include "search/content_words.h"

namespace kestrix {
namespace {

constexpr std::size_t kLength = std::size_t{1} << 20;

std::string repeated(std::string_view piece) {
    std::string text;
    while (text.size() < kLength) {
        text += piece;
    }
    return text;
}

const std::string kProse = repeated(
    "The quick brown fox jumps over the lazy dog, and then, as every year, it totals what it has seen.\n");
const std::string kAccents = repeated(
    "Der schnelle braune Fuchs springt über den faulen Hund, und dann zählt er, was er im Jahr gesehen "
    "hat.\n");
const std::string kCyrillic =
    repeated("Съешь же ещё этих мягких французских булок, да выпей чаю, а потом сосчитай всё за год.\n");
const std::string kMacRoman = repeated(
    "D\x8Ej\x88 vu, dit-elle, et compta le total de l'ann\x8E"
    "e.\n");

void find(benchmark::State& state, const std::string& text, const std::string& words) {
    const ContentWords sought({words}, {}, {});
    for (auto _ : state) {
        benchmark::DoNotOptimize(sought.findIn(text, true));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK_CAPTURE(find, rareInAscii, kProse, "yearly total");
BENCHMARK_CAPTURE(find, frequentInAscii, kProse, "year");
BENCHMARK_CAPTURE(find, rareWithAccents, kAccents, "yearly total");
BENCHMARK_CAPTURE(find, accentedWord, kAccents, "zahlte");
BENCHMARK_CAPTURE(find, asciiInCyrillic, kCyrillic, "yearly total");
BENCHMARK_CAPTURE(find, cyrillicWord, kCyrillic, "чайник");

void findInMacRoman(benchmark::State& state) {
    const ContentWords sought({"yearly total"}, {}, {});
    for (auto _ : state) {
        benchmark::DoNotOptimize(sought.canStandInMacRoman(kMacRoman));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kMacRoman.size()));
}
BENCHMARK(findInMacRoman);

void makeLines(benchmark::State& state, const std::string& text) {
    std::vector<TextRange> ranges;
    for (std::size_t at = 0; at < 1'000; ++at) {
        ranges.push_back({text.find('\n', at * 1'000) + 1, 1});
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(summary(text, ranges));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(ranges.size()));
}
BENCHMARK_CAPTURE(makeLines, ascii, kProse);
BENCHMARK_CAPTURE(makeLines, accents, kAccents);

}  // namespace
}  // namespace kestrix
