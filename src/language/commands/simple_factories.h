// The makers of the commands in simple_commands.h, and of the two that only mark a query. Like all factories
// they answer nullptr where a sentence brings a value of another kind than it should.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "language/commands/command_values.h"
#include "language/commands/simple_commands.h"
#include "language/commands/word_commands.h"
#include "language/uti_assistant.h"

namespace kestrix {

// Makes a command that only marks its query; its sentence has no values.
template <typename Mark>
class MarkFactory : public CommandFactory {
  public:
    std::vector<std::string> commandNames() const override { return {Mark::kCommandName}; }
    std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments&,
                                    const CommandFlags&) const override {
        return implementsCommand(commandName) ? std::make_shared<Mark>() : nullptr;
    }
};
using CaseSensitiveFactory = MarkFactory<CaseSensitive>;
using ShowAllFilesFactory = MarkFactory<ShowAllFiles>;
using WholeWordsFactory = MarkFactory<WholeWords>;

// Makes a command that counts characters: an integer.
template <typename Length>
class LengthFactory : public CommandFactory {
  public:
    std::vector<std::string> commandNames() const override { return {Length::kMaxName, Length::kMinName}; }
    std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments& args,
                                    const CommandFlags&) const override {
        const auto count = firstInteger(args);
        if (!count || !implementsCommand(commandName)) return nullptr;
        const bool isMax = commandName == Length::kMaxName;
        return std::make_shared<Length>(*count, isMax ? LengthChoice::max : LengthChoice::min);
    }
};
using NameLengthCommandFactory = LengthFactory<NameLengthCommand>;
using PathLengthCommandFactory = LengthFactory<PathLengthCommand>;

// "extension" and "extensionNot": a string.
class ExtensionCommandFactory : public CommandFactory {
  public:
    std::vector<std::string> commandNames() const override { return {"extension", "extensionNot"}; }
    std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments& args,
                                    const CommandFlags& flags) const override;
};

// "isFile" and "isFolder", without values.
class FileOrFolderCommandFactory : public CommandFactory {
  public:
    std::vector<std::string> commandNames() const override { return {"isFile", "isFolder"}; }
    std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments& args,
                                    const CommandFlags& flags) const override;
};

// "label" and "labelExcluding": a SentenceComponent.
class LabelCommandFactory : public CommandFactory {
  public:
    std::vector<std::string> commandNames() const override { return {"label", "labelExcluding"}; }
    std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments& args,
                                    const CommandFlags& flags) const override;
};

// "maxDepth": an integer; anything else counts as 0, which limits nothing.
class MaxDepthFactory : public CommandFactory {
  public:
    std::vector<std::string> commandNames() const override { return {"maxDepth"}; }
    std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments& args,
                                    const CommandFlags& flags) const override;
};

// "uti": a string in lower case.
class UTICommandFactory : public CommandFactory {
  public:
    // The assistant outlives the factory and all its commands.
    explicit UTICommandFactory(const UTIAssistant& assistant) : assistant_(assistant) {}

    std::vector<std::string> commandNames() const override { return {"uti"}; }
    std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments& args,
                                    const CommandFlags& flags) const override;

  private:
    const UTIAssistant& assistant_;
};

}  // namespace kestrix
