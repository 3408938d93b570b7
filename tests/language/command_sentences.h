// The real commands behind sentences of their own, for tests that read lines and judge files.
#pragma once

#include <gtest/gtest.h>

#include <charconv>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "language/commands/folder_commands.h"
#include "language/commands/simple_factories.h"
#include "language/language_parse.h"
#include "language/query_container.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {

class CommandWorld : public ::testing::Test {
  protected:
    static constexpr const char* kSentences =
        "~extension extension\n"
        "not ~extension extensionNot\n"
        "is file isFile\n"
        "is folder isFolder\n"
        "is ~uti uti\n"
        "tag ~string label\n"
        "without tag ~string labelExcluding\n"
        "case sensitive caseSensitive\n"
        "whole words wholeWords\n"
        "show all files showAllFiles\n"
        "max depth ~integer maxDepth\n"
        "max name length ~integer nameMaxLength\n"
        "min name length ~integer nameMinLength\n"
        "max path length ~integer pathMaxLength\n"
        "min path length ~integer pathMinLength\n"
        "inside ~string inside\n"
        "excluding folder ~string excludingFolder\n"
        "remembered ~remembered remembered\n"
        "remembered only ~remembered rememberedShallow\n";

    using Words = std::span<const SentenceComponent>;
    using Read = std::optional<VariableParserResult>;

    LanguageParse makeLanguage() {
        const auto readExtension = [](Words words) -> Read {
            const std::string& text = words.front().textLowered;
            if (!text.starts_with('.')) return std::nullopt;
            return VariableParserResult{text.substr(1), 1};
        };
        const auto readInteger = [](Words words) -> Read {
            const std::string& text = words.front().textLowered;
            int value = 0;
            if (std::from_chars(text.data(), text.data() + text.size(), value).ec != std::errc())
                return std::nullopt;
            return VariableParserResult{value, 1};
        };
        const auto readUTI = [](Words words) -> Read {
            const std::string& text = words.front().textLowered;
            if (text == "folder" || text == "file") return std::nullopt;
            return VariableParserResult{text, 1};
        };
        const auto readFavourite = [this](Words words) -> Read {
            const auto found = favourites.find(words.front().textLowered);
            if (found == favourites.end()) return std::nullopt;
            return VariableParserResult{found->second, 1};
        };
        return LanguageParse(
            {.sentences = SentenceTemplate::fromText(kSentences),
             .factories =
                 {std::make_shared<CaseSensitiveFactory>(), std::make_shared<ExcludeFolderFactory>(),
                  std::make_shared<ExtensionCommandFactory>(), std::make_shared<FileOrFolderCommandFactory>(),
                  std::make_shared<InsideCommandFactory>(),
                  std::make_shared<KnownDirectoriesFactory>([this] { return favourites; }),
                  std::make_shared<LabelCommandFactory>(), std::make_shared<NameLengthCommandFactory>(),
                  std::make_shared<PathLengthCommandFactory>(), std::make_shared<MaxDepthFactory>(),
                  std::make_shared<ShowAllFilesFactory>(), std::make_shared<UTICommandFactory>(assistant),
                  std::make_shared<WholeWordsFactory>()},
             .variableParsers = {{"~extension", readExtension},
                                 {"~integer", readInteger},
                                 {"~uti", readUTI},
                                 {"~remembered", readFavourite},
                                 {"~string",
                                  [](Words words) -> Read {
                                      return VariableParserResult{words.front(), 1};
                                  }}},
             .variableCompletors = {}});
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
        return command(line)->commandImpApply(result, nullptr, query(""));
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
