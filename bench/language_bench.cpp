// How long a line takes to be understood, and a name to be judged.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>
#include <vector>

#include "language/language_parse.h"
#include "language/query_container.h"

namespace kestrix {
namespace {

struct World {
    SettingsStore store{std::filesystem::temp_directory_path() / "kestrix-bench-without-settings.json"};
    Preferences preferences{store};
    LanguageParse language;
    QueryEnvironment environment{preferences, language};
};

const World& world() {
    static const World kWorld;
    return kWorld;
}

void queryOfTenWords(benchmark::State& state) {
    const std::string line = "quarterly report -draft fin* 2016 : modified in 2016 is document";
    for (auto _ : state) {
        benchmark::DoNotOptimize(QueryContainer(line, std::nullopt, false, world().environment));
    }
}
BENCHMARK(queryOfTenWords);

std::string nameOf(std::size_t size) {
    std::string name;
    while (name.size() < size)
        name += "Quarterly Report of the Rain 2024 ";
    name.resize(size);
    return name;
}

// The words: one or three, of which only the last is not in the name.
NameTest testOf(std::int64_t words) {
    const std::vector<std::string> all = {"quar", "rte", "ranch"};
    return NameTest({.words = std::vector<std::string>(all.end() - words, all.end())});
}

void asciiName(benchmark::State& state) {
    const std::string name = nameOf(static_cast<std::size_t>(state.range(0)));
    const NameTest test = testOf(state.range(1));
    for (auto _ : state) {
        benchmark::DoNotOptimize(test.matches(name));
    }
}
BENCHMARK(asciiName)->ArgsProduct({{8, 16, 32, 64, 128, 255}, {1, 3}})->ArgNames({"length", "words"});

void foreignName(benchmark::State& state) {
    const std::string name = "Übersicht der Verträge – März.docx";
    const NameTest test = testOf(1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(test.matches(name));
    }
}
BENCHMARK(foreignName);

void nameByContainer(benchmark::State& state) {
    const QueryContainer query("report 2016", std::nullopt, false, world().environment);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            query.fsItemNameStringIncludesWordsFromQuery("Quarterly Report 2024-Q3 (final).docx"));
    }
}
BENCHMARK(nameByContainer);

}  // namespace
}  // namespace kestrix
