#include "language/commands/simple_factories.h"

#include "base/text.h"
#include "language/commands/command_values.h"
#include "language/commands/simple_commands.h"
#include "language/commands/word_commands.h"

namespace kestrix {
namespace {

// A command that counts characters, for the two names that a factory knows.
template <typename LengthCommand>
std::shared_ptr<Command> lengthCommand(const std::string& commandName, const CommandArguments& args,
                                       std::string_view maxName, std::string_view minName) {
    const auto count = firstInteger(args);
    if (!count || (commandName != maxName && commandName != minName)) return nullptr;
    return std::make_shared<LengthCommand>(*count,
                                           commandName == maxName ? LengthChoice::max : LengthChoice::min);
}

// A command without values, for the one name that a factory knows.
template <typename Mark>
std::shared_ptr<Command> mark(const CommandFactory& factory, const std::string& commandName) {
    return factory.implementsCommand(commandName) ? std::make_shared<Mark>() : nullptr;
}

}  // namespace

std::shared_ptr<Command> CaseSensitiveFactory::create(const std::string& commandName, const CommandArguments&,
                                                      const CommandFlags&) const {
    return mark<CaseSensitive>(*this, commandName);
}

std::shared_ptr<Command> ExtensionCommandFactory::create(const std::string& commandName,
                                                         const CommandArguments& args,
                                                         const CommandFlags&) const {
    const auto* value = firstValue<std::string>(args);
    if (!value || !implementsCommand(commandName)) return nullptr;
    std::string extension = text::lowered(*value);
    if (extension.starts_with('.')) extension.erase(0, 1);
    return std::make_shared<ExtensionCommand>(std::move(extension), commandName != "extension");
}

std::shared_ptr<Command> FileOrFolderCommandFactory::create(const std::string& commandName,
                                                            const CommandArguments&,
                                                            const CommandFlags&) const {
    if (commandName == "isFile") return std::make_shared<FileOrFolderCommand>(FileOrFolderType::file);
    if (commandName == "isFolder") return std::make_shared<FileOrFolderCommand>(FileOrFolderType::folder);
    return nullptr;
}

std::shared_ptr<Command> LabelCommandFactory::create(const std::string& commandName,
                                                     const CommandArguments& args,
                                                     const CommandFlags&) const {
    const auto* word = firstValue<SentenceComponent>(args);
    if (!word || !implementsCommand(commandName)) return nullptr;
    return std::make_shared<LabelCommand>(word->textLowered, commandName == "labelExcluding");
}

std::shared_ptr<Command> NameLengthCommandFactory::create(const std::string& commandName,
                                                          const CommandArguments& args,
                                                          const CommandFlags&) const {
    return lengthCommand<NameLengthCommand>(commandName, args, "nameMaxLength", "nameMinLength");
}

std::shared_ptr<Command> PathLengthCommandFactory::create(const std::string& commandName,
                                                          const CommandArguments& args,
                                                          const CommandFlags&) const {
    return lengthCommand<PathLengthCommand>(commandName, args, "pathMaxLength", "pathMinLength");
}

std::shared_ptr<Command> MaxDepthFactory::create(const std::string& commandName, const CommandArguments& args,
                                                 const CommandFlags&) const {
    if (!implementsCommand(commandName)) return nullptr;
    return std::make_shared<MaxDepth>(firstInteger(args).value_or(0));
}

std::shared_ptr<Command> ShowAllFilesFactory::create(const std::string& commandName, const CommandArguments&,
                                                     const CommandFlags&) const {
    return mark<ShowAllFiles>(*this, commandName);
}

std::shared_ptr<Command> UTICommandFactory::create(const std::string& commandName,
                                                   const CommandArguments& args, const CommandFlags&) const {
    const auto* word = firstValue<std::string>(args);
    if (!word || !implementsCommand(commandName)) return nullptr;
    return std::make_shared<UTICommand>(*word, assistant_);
}

std::shared_ptr<Command> WholeWordsFactory::create(const std::string& commandName, const CommandArguments&,
                                                   const CommandFlags&) const {
    return mark<WholeWords>(*this, commandName);
}

}  // namespace kestrix
