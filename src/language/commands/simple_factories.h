// The makers of the commands in simple_commands.h, and of the two that only mark a query. Like all factories
// they answer nullptr where a sentence brings a value of another kind than it should.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "language/command.h"
#include "language/uti_assistant.h"

namespace kestrix {

// "caseSensitive", without values.
class CaseSensitiveFactory : public CommandFactory {
  public:
    std::vector<std::string> commandNames() const override { return {"caseSensitive"}; }
    std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments& args,
                                    const CommandFlags& flags) const override;
};

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

// "nameMaxLength" and "nameMinLength": an integer.
class NameLengthCommandFactory : public CommandFactory {
  public:
    std::vector<std::string> commandNames() const override { return {"nameMaxLength", "nameMinLength"}; }
    std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments& args,
                                    const CommandFlags& flags) const override;
};

// "pathMaxLength" and "pathMinLength": an integer.
class PathLengthCommandFactory : public CommandFactory {
  public:
    std::vector<std::string> commandNames() const override { return {"pathMaxLength", "pathMinLength"}; }
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

// "showAllFiles", without values.
class ShowAllFilesFactory : public CommandFactory {
  public:
    std::vector<std::string> commandNames() const override { return {"showAllFiles"}; }
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

// "wholeWords", without values.
class WholeWordsFactory : public CommandFactory {
  public:
    std::vector<std::string> commandNames() const override { return {"wholeWords"}; }
    std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments& args,
                                    const CommandFlags& flags) const override;
};

}  // namespace kestrix
