// The first line of the input is a query, the rest a path: whatever both hold, the container answers, and the
// same on a second asking.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include "language/language_parse.h"
#include "language/query_container.h"
#include "language/query_explanation.h"

namespace {

using namespace kestrix;

// A few sentences, so that the matching has something to do.
LanguageParse makeLanguage() {
    const auto readOne = [](std::span<const SentenceComponent> words) {
        return std::optional(VariableParserResult{words.front().textLowered, 1});
    };
    return LanguageParse(
        {.sentences = SentenceTemplate::fromText("is ~word is\nin the ~word in\nx ~word y z\n"),
         .factories = {},
         .variableParsers = {{"~word", readOne}},
         .variableCompletors = {}});
}

struct World {
    SettingsStore store{std::filesystem::temp_directory_path() / "kestrix-fuzz-without-settings.json"};
    Preferences preferences{store};
    LanguageParse language = makeLanguage();
    QueryEnvironment environment{preferences, language};
};

void askAll(const QueryContainer& query, const std::string& path) {
    SearchResult result;
    result.path = path;
    const bool passes = query.searchResultPassesFiltering(result, nullptr);
    if (query.searchResultPassesFiltering(result, nullptr) != passes) std::abort();
    query.fsItemNameStringIncludesWordsFromQuery(path);
    query.pathIsInQueryLocation(path);
    for (const auto& folder : query.expandedFolderPaths(path))
        if (!path.starts_with(folder)) std::abort();
    query.styleQueryString(true);
    explanationAsJson(query);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const World kWorld;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const auto lineEnd = std::min(input.find('\n'), input.size());
    const std::string path = "/" + std::string(input.substr(std::min(lineEnd + 1, input.size())));
    for (const bool soundex : {false, true}) {
        askAll(QueryContainer(input.substr(0, lineEnd), SearchLocation(std::vector<std::string>{"/a"}),
                              soundex, kWorld.environment),
               path);
    }
    return 0;
}
