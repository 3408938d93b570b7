#include "actions/script_command.h"

#include <nlohmann/json.hpp>

#include "language/commands/command_values.h"
#include "language/typed_word.h"
#include "language/word_json.h"

namespace kestrix {

namespace {

// As it was typed: quotes where they stood or are needed, the star where it stood.
std::string typedAgain(const SentenceComponent& word) {
    if (word.wildcard == SentenceComponent::Wildcard::prefix)
        return typedWithoutQuotes(word.textOriginalCase) + "*";
    if (word.wildcard == SentenceComponent::Wildcard::suffix)
        return "*" + typedWithoutQuotes(word.textOriginalCase);
    return word.wasInQuotes ? typedInQuotes(word.textOriginalCase) : typedWord(word.textOriginalCase);
}

std::string nameOf(const TargetType& target, const Scripter& scripter) {
    if (const auto* shortcut = std::get_if<ShortcutTarget>(&target)) return shortcut->name;
    const std::string& url = std::get<AppleScriptTarget>(target).url;
    for (const auto& [name, path] : scripter.scripts())
        if (path == url) return name;
    return url;
}

}  // namespace

void ScriptCommand::run(Scripter::Paths targetFiles, Scripter::Completion completion) const {
    if (const auto* shortcut = std::get_if<ShortcutTarget>(&type_)) {
        scripter_.runShortcut(shortcut->name, completion);
        return;
    }
    Scripter::Paths args;
    for (const SentenceComponent& word : varArg_)
        args.push_back(word.textOriginalCase);
    scripter_.runScript(std::get<AppleScriptTarget>(type_).url, std::move(targetFiles), std::move(args),
                        std::move(completion));
}

std::string ScriptCommand::commandToString() const {
    std::string text = "run " + typedWord(name_);
    if (!varArg_.empty()) text += " using";
    for (const SentenceComponent& word : varArg_)
        text += " " + typedAgain(word);
    return text;
}

nlohmann::json ScriptCommand::explainedFields() const {
    nlohmann::json type;
    if (const auto* shortcut = std::get_if<ShortcutTarget>(&type_)) {
        type["shortcut"] = shortcut->name;
    } else {
        type["appleScript"] = std::get<AppleScriptTarget>(type_).url;
    }
    return {{"type", type}, {"varArg", wordsAsJson(varArg_)}};
}

std::shared_ptr<Command> ScriptCommandFactory::create(const std::string&, const CommandArguments& args,
                                                      const CommandFlags&) const {
    const auto* target = firstValue<std::string>(args);
    if (!target || target->empty()) return nullptr;
    TargetType type = ShortcutTarget{*target};
    if (target->front() == '/') type = AppleScriptTarget{*target};
    SentenceComponents words;
    if (const auto* typed = args.size() > 1 ? std::any_cast<SentenceComponents>(&args[1]) : nullptr)
        words = *typed;
    std::string name = nameOf(type, scripter_);
    return std::make_shared<ScriptCommand>(std::move(type), std::move(name), std::move(words), scripter_);
}

}  // namespace kestrix
