// What one file costs each of the commands that judge without a look at the disk, and what it costs to load
// the types.
#include <benchmark/benchmark.h>

#include <array>
#include <filesystem>
#include <string>

#include "language/commands/folder_commands.h"
#include "language/commands/simple_commands.h"
#include "language/language_parse.h"
#include "language/query_container.h"

namespace kestrix {
namespace {

struct World {
    SettingsStore store{std::filesystem::temp_directory_path() / "kestrix-bench-without-settings.json"};
    Preferences preferences{store};
    LanguageParse language;
    QueryContainer query{"", std::nullopt, false, QueryEnvironment{preferences, language}};
    FileTypes types;
    UTIAssistant assistant{types};
    std::array<SearchResult, 8> results;

    World() {
        const char* const names[] = {"main.cpp",   "IMG_2041.JPG", "README",       "notes.md",
                                     "index.html", "photo.png",    "x.1234567890", "archive.tar.gz"};
        for (std::size_t i = 0; i < results.size(); ++i)
            results[i].path = std::string("/home/somebody/projects/some project/src/").append(names[i]);
    }
};

World& world() {
    static World kWorld;
    return kWorld;
}

void judge(benchmark::State& state, Command& command) {
    std::size_t at = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(
            command.commandImpApply(world().results[at++ % world().results.size()], nullptr, world().query));
}

void isImage(benchmark::State& state) {
    static UTICommand kCommand("image", world().assistant);
    judge(state, kCommand);
}
BENCHMARK(isImage)->Threads(1)->Threads(2);

void extension(benchmark::State& state) {
    ExtensionCommand command("jpg", false);
    judge(state, command);
}
BENCHMARK(extension);

void maxDepth(benchmark::State& state) {
    MaxDepth command(6);
    judge(state, command);
}
BENCHMARK(maxDepth);

void nameLength(benchmark::State& state) {
    NameLengthCommand command(20, LengthChoice::max);
    judge(state, command);
}
BENCHMARK(nameLength);

void inside(benchmark::State& state) {
    InsideCommand command("animals", state.range(0) != 0);
    judge(state, command);
}
BENCHMARK(inside)->Arg(0)->Arg(1);

void loadTypes(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(FileTypes().count());
}
BENCHMARK(loadTypes)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kestrix
