#include "language/commands/simple_factories.h"

#include "base/text.h"

namespace kestrix {

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

std::shared_ptr<Command> MaxDepthFactory::create(const std::string& commandName, const CommandArguments& args,
                                                 const CommandFlags&) const {
    if (!implementsCommand(commandName)) return nullptr;
    return std::make_shared<MaxDepth>(firstInteger(args).value_or(0));
}

std::shared_ptr<Command> UTICommandFactory::create(const std::string& commandName,
                                                   const CommandArguments& args, const CommandFlags&) const {
    const auto* word = firstValue<std::string>(args);
    if (!word || !implementsCommand(commandName)) return nullptr;
    return std::make_shared<UTICommand>(*word, assistant_);
}

}  // namespace kestrix
