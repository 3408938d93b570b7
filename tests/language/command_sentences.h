// The shipped language with all commands of this folder, for tests that read lines and judge files.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "language/commands/folder_commands.h"
#include "language/commands/simple_factories.h"
#include "language/query_container.h"
#include "tests/language/vocabulary_fixture.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {

class CommandWorld : public ::testing::Test {
  protected:
    LanguageParse makeLanguage() {
        VariableLookups lookups = sampleLookups();
        lookups.favouriteFolders = [this] { return favourites; };
        lookups.scripts = [] { return std::vector<std::pair<std::string, std::string>>{{"backup", "/b"}}; };
        return LanguageParse(makeVocabulary(
            shippedSentences(),
            {std::make_shared<CaseSensitiveFactory>(), std::make_shared<DateCommandCreator>(Clock::system()),
             std::make_shared<ExcludeFolderFactory>(), std::make_shared<ExtensionCommandFactory>(),
             std::make_shared<FileOrFolderCommandFactory>(), std::make_shared<InsideCommandFactory>(),
             std::make_shared<KnownDirectoriesFactory>(lookups.favouriteFolders),
             std::make_shared<LabelCommandFactory>(), std::make_shared<NameLengthCommandFactory>(),
             std::make_shared<PathLengthCommandFactory>(), std::make_shared<MaxDepthFactory>(),
             std::make_shared<RegexCommandFactory>(), std::make_shared<SizeCommandFactory>(),
             std::make_shared<ShowAllFilesFactory>(), std::make_shared<UTICommandFactory>(assistant),
             std::make_shared<WholeWordsFactory>()},
            lookups));
    }

    QueryContainer query(std::string_view line) {
        return QueryContainer(line, std::nullopt, false, environment);
    }
    // The only command of a line.
    std::shared_ptr<Command> command(std::string_view line) {
        const auto commands = query(line).commandsFoundInQuery();
        EXPECT_EQ(commands.size(), 1u) << line;
        return commands.empty() ? nullptr : commands.front();
    }
    CommandApplyResult applied(std::string_view line, std::string path, bool isDirectory = false) {
        SearchResult result;
        result.path = std::move(path);
        result.isDirectory = isDirectory;
        const auto judge = command(line);
        return judge ? judge->commandImpApply(result, nullptr, query("")) : CommandApplyResult::skip;
    }
    bool accepts(std::string_view line, std::string path, bool isDirectory = false) {
        return applied(line, std::move(path), isDirectory) == CommandApplyResult::accept;
    }

    TemporaryFolder folder;
    FileTypes types;
    UTIAssistant assistant{types};
    std::map<std::string, std::string> favourites;
    SettingsStore store{folder.path("settings.json")};
    Preferences preferences{store};
    LanguageParse language = makeLanguage();
    QueryEnvironment environment{preferences, language};
};

}  // namespace kestrix
