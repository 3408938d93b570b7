// How long a line with commands takes to be understood, and the language to be made.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>
#include <string>

#include "language/commands/date_command_factory.h"
#include "language/commands/folder_commands.h"
#include "language/commands/regex_command.h"
#include "language/commands/simple_factories.h"
#include "language/commands/size_command.h"
#include "language/query_container.h"
#include "language/uti_assistant.h"
#include "language/vocabulary.h"

namespace kestrix {
namespace {

const UTIAssistant& assistant() {
    static const FileTypes kTypes;
    static const UTIAssistant kAssistant(kTypes);
    return kAssistant;
}

LanguageParse makeLanguage(const std::string& sentences) {
    const Clock& clock = Clock::system();
    return LanguageParse(makeVocabulary(
        sentences,
        {std::make_shared<CaseSensitiveFactory>(), std::make_shared<DateCommandCreator>(clock),
         std::make_shared<ExtensionCommandFactory>(), std::make_shared<FileOrFolderCommandFactory>(),
         std::make_shared<InsideCommandFactory>(), std::make_shared<LabelCommandFactory>(),
         std::make_shared<RegexCommandFactory>(), std::make_shared<SizeCommandFactory>(),
         std::make_shared<UTICommandFactory>(assistant()), std::make_shared<WholeWordsFactory>()},
        {}));
}

void makingTheLanguage(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(makeLanguage(std::string(shippedSentences())));
}
BENCHMARK(makingTheLanguage)->Unit(benchmark::kMicrosecond);

// The argument: how many further templates fail at their first word.
void parsingALine(benchmark::State& state) {
    std::string sentences(shippedSentences());
    for (std::int64_t i = 0; i < state.range(0); ++i)
        sentences += "other" + std::to_string(i) + " ~string inside\n";
    const LanguageParse language = makeLanguage(sentences);
    SettingsStore store{std::filesystem::temp_directory_path() / "kestrix-bench-without-settings.json"};
    Preferences preferences{store};
    const QueryEnvironment environment{preferences, language};
    const std::string line = ".m4v : bigger than 10mb modified in 2016 is video inside animals";
    if (QueryContainer(line, std::nullopt, false, environment).commandsFoundInQuery().size() != 4)
        state.SkipWithError("the line was not understood");
    for (auto _ : state)
        benchmark::DoNotOptimize(QueryContainer(line, std::nullopt, false, environment));
}
BENCHMARK(parsingALine)->Arg(0)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

void judgingToday(benchmark::State& state) {
    const DateCommandWhen today{.when = WhenType::today, .specificDay = {}, .dateRange = {}};
    for (auto _ : state)
        benchmark::DoNotOptimize(today.timeIntervalDateRange(Clock::system()));
}
BENCHMARK(judgingToday);

}  // namespace
}  // namespace kestrix
