#include "app/cli/arguments.h"

#include <algorithm>
#include <charconv>

#include "app/cli/display_text.h"
#include "base/text.h"
#include "language/suggestions.h"

namespace kestrix::cli {
namespace {

template <typename Rows>
void appendNames(std::vector<std::string_view>& names, const Rows& rows) {
    for (const auto& row : rows)
        names.push_back(row.name);
}

template <typename Rows>
std::vector<std::string_view> namesOf(const Rows& rows) {
    std::vector<std::string_view> names;
    appendNames(names, rows);
    return names;
}

std::string joined(std::span<const std::string_view> texts) {
    std::string all;
    for (const std::string_view text : texts) {
        if (!all.empty()) all += ", ";
        all += text;
    }
    return all;
}

std::string suggestion(std::string_view prefix, std::string_view near) {
    return near.empty() ? std::string() : "; did you mean " + std::string(prefix) + std::string(near) + "?";
}

// Walks over what was typed, once.
class Parser {
  public:
    explicit Parser(std::span<const std::string_view> typed) : typed_(typed) {}

    Arguments parse() {
        for (; next_ < typed_.size(); ++next_)
            takeOne(typed_[next_]);
        if (!arguments_.has("help") && !arguments_.has("version")) checkWords();
        return std::move(arguments_);
    }

  private:
    void takeOne(std::string_view text) {
        if (optionsEnded_ || text.size() < 2 || text.front() != '-') return takeWord(text);
        if (text == "--") {
            optionsEnded_ = true;
            arguments_.wordsBeforeDashes = arguments_.words.size();
        } else if (text[1] == '-') {
            takeLongOption(text.substr(2));
        } else if (const OptionSpec* option = text.size() == 2 ? shortOption(text[1]) : nullptr) {
            arguments_.options.push_back({option, {}});
        } else if (!arguments_.command) {
            throw UsageError("there is no option " + inQuotes(text) + "; kestrix --help lists what there is");
        } else {
            takeWord(text);
        }
    }

    void takeWord(std::string_view word) {
        if (!arguments_.command) return takeCommand(word);
        if (!arguments_.command->actions.empty() && !arguments_.action) return takeAction(word);
        arguments_.words.push_back(word);
    }

    void takeCommand(std::string_view word) {
        arguments_.command = commandNamed(word);
        if (arguments_.command) return;
        const auto names = namesOf(allCommands());
        const auto near = nearest(word, names);
        throw UsageError("there is no command " + inQuotes(word) +
                         (near.empty() ? "; kestrix --help lists all" : suggestion("", near)));
    }

    void takeAction(std::string_view word) {
        arguments_.action = actionNamed(*arguments_.command, word);
        if (arguments_.action) return;
        const auto names = namesOf(arguments_.command->actions);
        throw UsageError(std::string(arguments_.command->name) + " has no " + inQuotes(word) + "; it has " +
                         joined(names) + suggestion("", nearest(word, names)));
    }

    void takeLongOption(std::string_view text) {
        const std::size_t equals = text.find('=');
        const std::string_view name = text.substr(0, equals);
        const OptionSpec* option = longOption(name);
        if (!option) throwUnknown(name);
        std::string_view value;
        if (option->kind == ValueKind::none) {
            if (equals != text.npos) throw UsageError("--" + std::string(name) + " takes no value");
        } else if (equals != text.npos) {
            value = text.substr(equals + 1);
        } else if (next_ + 1 < typed_.size()) {
            value = typed_[++next_];
        } else {
            throw UsageError("--" + std::string(name) + " needs a value: --" + std::string(name) + " " +
                             std::string(option->valueName));
        }
        checkValue(*option, value);
        arguments_.options.push_back({option, value});
    }

    // A command that is not built has no options to be checked against: it answers for itself.
    [[noreturn]] void throwUnknown(std::string_view name) const {
        if (arguments_.command && !arguments_.command->built) {
            throw UsageError(std::string(arguments_.command->name) + " is not there yet in this version");
        }
        std::vector<std::string_view> names = namesOf(globalOptions());
        if (arguments_.command) appendNames(names, arguments_.command->options);
        const std::string command = arguments_.command ? " " + std::string(arguments_.command->name) : "";
        const auto near = nearest(name, names);
        throw UsageError(
            "there is no option " + inQuotes("--" + std::string(name)) +
            (near.empty() ? "; kestrix" + command + " --help lists what there is" : suggestion("--", near)));
    }

    void checkValue(const OptionSpec& option, std::string_view value) const {
        const std::string name = "--" + std::string(option.name);
        if (option.kind == ValueKind::choice &&
            std::find(option.values.begin(), option.values.end(), value) == option.values.end()) {
            throw UsageError(name + " knows no " + inQuotes(value) + "; it is one of " +
                             joined(option.values) + suggestion("", nearest(value, option.values)));
        }
        if (option.kind == ValueKind::number) {
            std::int64_t number = 0;
            const auto read = std::from_chars(value.data(), value.data() + value.size(), number);
            if (read.ec != std::errc() || read.ptr != value.data() + value.size() || number < 1) {
                throw UsageError(name + " needs a whole number from 1 on, not " + inQuotes(value));
            }
        }
        if (option.kind == ValueKind::path && value.empty()) throw UsageError(name + " needs a path");
    }

    void checkWords() {
        const CommandSpec* command = arguments_.command;
        if (!command || !command->built) return;
        if (!command->actions.empty()) return checkOperands(*command);
        if (!command->takesWords && !arguments_.words.empty()) {
            throw UsageError(std::string(command->name) + " takes no words; leave out " +
                             inQuotes(arguments_.words.front()));
        }
    }

    void checkOperands(const CommandSpec& command) {
        if (!arguments_.action) {
            if (command.usualAction.empty()) {
                throw UsageError(std::string(command.name) + " needs one of " +
                                 joined(namesOf(command.actions)));
            }
            arguments_.action = actionNamed(command, command.usualAction);
        }
        const ActionSpec& action = *arguments_.action;
        checkOptionsOf(action);
        const std::size_t count = arguments_.words.size();
        if (count >= action.fewest && count <= action.most) return;
        throw UsageError("use it as: kestrix " + std::string(command.name) + " " + std::string(action.name) +
                         (action.operands.empty() ? "" : " " + std::string(action.operands)));
    }

    // What an action would not heed, it does not take.
    void checkOptionsOf(const ActionSpec& action) const {
        for (const Arguments::Given& given : arguments_.options) {
            const auto& actions = given.option->actions;
            if (actions.empty() || std::ranges::find(actions, action.name) != actions.end()) continue;
            throw UsageError("--" + std::string(given.option->name) + " goes with " +
                             std::string(arguments_.command->name) + " " + joined(actions));
        }
    }

    template <typename Matches>
    const OptionSpec* optionWhere(Matches matches) const {
        if (arguments_.command) {
            for (const OptionSpec& option : arguments_.command->options) {
                if (matches(option)) return &option;
            }
        }
        for (const OptionSpec& option : globalOptions()) {
            if (matches(option)) return &option;
        }
        return nullptr;
    }
    const OptionSpec* longOption(std::string_view name) const {
        return optionWhere([&](const OptionSpec& option) { return option.name == name; });
    }
    const OptionSpec* shortOption(char letter) const {
        return optionWhere([&](const OptionSpec& option) { return option.shortName == letter; });
    }

    std::span<const std::string_view> typed_;
    std::size_t next_ = 0;
    bool optionsEnded_ = false;
    Arguments arguments_;
};

}  // namespace

bool Arguments::has(std::string_view option) const {
    return value(option).has_value();
}

std::optional<std::string_view> Arguments::value(std::string_view option) const {
    const auto found = std::find_if(options.rbegin(), options.rend(),
                                    [&](const Given& given) { return given.option->name == option; });
    return found == options.rend() ? std::nullopt : std::optional(found->value);
}

std::vector<std::string_view> Arguments::values(std::string_view option) const {
    std::vector<std::string_view> found;
    for (const Given& given : options) {
        if (given.option->name == option) found.push_back(given.value);
    }
    return found;
}

std::string Arguments::line() const {
    std::string line;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i > 0) line += ' ';
        line += words[i];
    }
    return line;
}

Arguments parseArguments(std::span<const std::string_view> typed) {
    return Parser(typed).parse();
}

void demandUtf8(std::string_view text, std::string_view what) {
    if (!text::isValidUtf8(text))
        throw UsageError(std::string(what) + " must be valid UTF-8, and this is not: " + inQuotes(text));
}

// A third of the letters may be wrong, and one of a few; a beginning of three letters is near, too. The cap
// keeps a megabyte of nonsense from being measured letter by letter.
std::string_view nearest(std::string_view typed, std::span<const std::string_view> candidates) {
    std::string_view best;
    std::size_t bestDistance = std::max<std::size_t>(typed.size() / 3, 1) + 1;
    if (typed.size() < 2 || typed.size() > 40) return best;
    for (const std::string_view candidate : candidates) {
        const bool isBeginning = typed.size() >= 3 && candidate.starts_with(typed);
        const std::size_t distance = isBeginning ? 1 : editDistance(typed, candidate);
        if (distance < bestDistance) best = candidate, bestDistance = distance;
    }
    return best;
}

}  // namespace kestrix::cli
