#include "language/commands/folder_commands.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/path.h"
#include "base/text.h"
#include "files/search_result.h"
#include "language/commands/command_values.h"
#include "language/typed_word.h"

namespace kestrix {
namespace {

// Whether the path in lower case holds a lowered, composed text, which is empty nowhere. Plain ASCII is
// searched as it is; beyond it an accent may be written in two ways.
bool holds(std::string_view path, std::string_view wanted) {
    if (wanted.empty()) return false;
    if (text::isAscii(path)) return text::findIgnoringCase(path, wanted) != std::string::npos;
    return text::composed(text::lowered(path)).find(wanted) != std::string::npos;
}

// Whether a component of the path in lower case is the text. The same two ways.
bool hasComponent(std::string_view path, std::string_view wanted) {
    if (!text::isAscii(path)) {
        const std::string lowered = text::composed(text::lowered(path));
        const auto components = path::components(lowered);
        return std::ranges::find(components, wanted) != components.end();
    }
    if (wanted.empty() || wanted.find('/') != std::string_view::npos) return false;
    const auto next = [&](std::size_t from) { return text::findIgnoringCase(path, wanted, from); };
    for (std::size_t at = next(0); at != std::string::npos; at = next(at + 1)) {
        const std::size_t end = at + wanted.size();
        if ((at == 0 || path[at - 1] == '/') && (end == path.size() || path[end] == '/')) return true;
    }
    return false;
}

}  // namespace

FolderTextCommand::FolderTextCommand(std::string insidePath, bool completePathComponent)
    : insidePath_(std::move(insidePath)),
      completePathComponent_(completePathComponent),
      composed_(text::composed(insidePath_)) {}

nlohmann::json FolderTextCommand::explainedFields() const {
    return {{"insidePath", insidePath_}, {"completePathComponent", completePathComponent_}};
}

std::string InsideCommand::commandToString() const {
    return "inside " +
           (completePathComponent() ? typedInQuotes(insidePath()) : typedWithoutQuotes(insidePath()));
}

CommandApplyResult InsideCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                  const QueryContainer&) {
    return acceptIf(completePathComponent() ? hasComponent(result.path, composed())
                                            : holds(path::parent(result.path), composed()));
}

// A dash of the text's own needs one more, as one is dropped.
std::string ExcludeFolderCommand::commandToString() const {
    return "excluding folder " + typedInQuotes((insidePath().starts_with('-') ? "-" : "") + insidePath());
}

CommandApplyResult ExcludeFolderCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                         const QueryContainer&) {
    const std::string_view path = path::withoutTrailingSlash(result.path);
    const std::size_t slash = path.rfind('/');
    return acceptIf(slash == std::string_view::npos || !holds(path.substr(0, slash + 1), composed()));
}

std::string KnownDirectoriesCommand::commandToString() const {
    return (shallow_ ? "remembered only " : "remembered ") + typedWord(name_);
}

std::string KnownDirectoriesCommand::commandExample() const {
    return shallow_ ? "remembered only **" : "remembered **";
}

nlohmann::json KnownDirectoriesCommand::explainedFields() const {
    return {{"directory", directory_ ? nlohmann::json(text::displayable(*directory_)) : nlohmann::json()},
            {"shallow", shallow_}};
}

void KnownDirectoriesCommand::commandImpQuerySearchArguments(QuerySearchArguments& arguments) const {
    arguments.checkPathForResults = false;
}

std::shared_ptr<Command> InsideCommandFactory::create(const std::string& commandName,
                                                      const CommandArguments& args,
                                                      const CommandFlags&) const {
    const auto* word = firstValue<SentenceComponent>(args);
    if (!word || !implementsCommand(commandName)) return nullptr;
    return std::make_shared<InsideCommand>(word->textLowered, word->wasInQuotes);
}

std::shared_ptr<Command> ExcludeFolderFactory::create(const std::string& commandName,
                                                      const CommandArguments& args,
                                                      const CommandFlags&) const {
    const auto* word = firstValue<SentenceComponent>(args);
    if (!word || !implementsCommand(commandName)) return nullptr;
    std::string text = word->textLowered;
    if (text.starts_with('-')) text.erase(0, 1);
    return std::make_shared<ExcludeFolderCommand>(std::move(text), word->wasInQuotes);
}

std::shared_ptr<Command> KnownDirectoriesFactory::create(const std::string& commandName,
                                                         const CommandArguments& args,
                                                         const CommandFlags&) const {
    const auto* directory = firstValue<std::string>(args);
    if (!directory || !implementsCommand(commandName)) return nullptr;
    return std::make_shared<KnownDirectoriesCommand>(*directory, nameOf(*directory),
                                                     commandName == "rememberedShallow");
}

std::string KnownDirectoriesFactory::nameOf(const std::string& directory) const {
    if (favourites_) {
        for (const auto& [name, path] : favourites_())
            if (path == directory) return name;
    }
    return text::lowered(path::lastComponent(directory));
}

}  // namespace kestrix
