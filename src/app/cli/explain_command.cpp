#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "app/cli/commands.h"
#include "app/cli/display_text.h"
#include "base/calendar.h"
#include "base/text.h"
#include "language/commands/date_command.h"
#include "language/commands/size_command.h"
#include "language/commands/word_commands.h"
#include "language/query_explanation.h"
#include "language/suggestions.h"
#include "platform/standard_streams.h"

namespace kestrix::cli {
namespace {

enum class Colour { none, command, error, hint };

std::string listed(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        if (!text.empty()) text += ", ";
        text += inQuotes(word);
    }
    return text;
}

// 12345678 as "12,345,678".
std::string grouped(std::int64_t number) {
    std::string text = fmt::format("{}", number);
    for (auto at = static_cast<std::ptrdiff_t>(text.size()) - 3; at > (number < 0 ? 1 : 0); at -= 3)
        text.insert(static_cast<std::size_t>(at), 1, ',');
    return text;
}

// "12,345,678 bytes (12.3 MB)"
std::string sizeText(std::int64_t bytes) {
    constexpr std::array kUnits = {"", "KB", "MB", "GB", "TB", "PB", "EB"};
    std::string text = grouped(bytes) + (bytes == 1 ? " byte" : " bytes");
    double amount = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (; std::abs(amount) >= 1000 && unit + 1 < kUnits.size(); ++unit)
        amount /= 1000;
    if (unit > 0) text += fmt::format(" ({:.4g} {})", amount, kUnits.at(unit));
    return text;
}

std::string momentText(std::int64_t moment) {
    const LocalTime time = localTime(moment);
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", time.year, time.month, time.day, time.hour,
                       time.minute, time.second);
}

std::string_view nameOf(DateCommandWhat what) {
    constexpr std::array<std::string_view, 3> kNames = {"modified", "created", "accessed"};
    return kNames.at(static_cast<std::size_t>(what));
}

// What a command comes to in numbers; empty for commands without any.
std::string rangeText(const Command& command, const Clock& clock) {
    if (const auto* date = dynamic_cast<const DateCommand*>(&command)) {
        const NumberRange range = date->when().timeIntervalDateRange(clock);
        return fmt::format("{} from {} on, and before {}", nameOf(date->what()), momentText(range.lowerBound),
                           momentText(range.upperBound));
    }
    const auto* size = dynamic_cast<const SizeCommand*>(&command);
    if (!size) return "";
    const auto bytes = FileSizeArgs{size->value(), size->units()}.byteCount().value_or(0);
    const auto band = FileSizeArgs{SizeCommand::unitCompareRange, size->units()}.byteCount().value_or(0);
    switch (size->command()) {
        case SizeCommandType::smallerThan:
            return "less than " + sizeText(bytes);
        case SizeCommandType::greaterThan:
            return "more than " + sizeText(bytes);
        case SizeCommandType::equalTo:
            return fmt::format("more than {} and less than {}", sizeText(bytes), sizeText(bytes + band));
        case SizeCommandType::exactlyEqualTo:
            break;
    }
    return "exactly " + sizeText(bytes);
}

// One fact on one line; facts without words are left out.
class Facts {
  public:
    explicit Facts(bool coloured) : coloured_(coloured) {}

    void add(std::string_view title, const std::string& words) {
        if (!words.empty()) say(fmt::format("{}: {}", title, words));
    }
    void say(std::string_view sentence) {
        text_ += sentence;
        text_ += '\n';
    }
    std::string painted(const std::string& text, Colour colour) const {
        constexpr std::array<std::string_view, 4> kStarts = {"", "\x1b[1;32m", "\x1b[1;31m", "\x1b[33m"};
        if (!coloured_ || colour == Colour::none || text.empty()) return text;
        return fmt::format("{}{}\x1b[0m", kStarts.at(static_cast<std::size_t>(colour)), text);
    }
    const std::string& text() const { return text_; }

  private:
    bool coloured_;
    std::string text_;
};

// The line with its commands, and what is no command, in colours.
std::string paintedLine(const QueryContainer& query, const Facts& facts) {
    const auto characters = text::characters(query.baseString());
    std::vector<Colour> colours(characters.size(), Colour::none);
    for (const auto& [range, style] : query.styleQueryString(true)) {
        const bool isError = style == QueryContainer::Style::error;
        for (std::size_t i = range.location; i < std::min(range.location + range.length, colours.size()); ++i)
            colours[i] = isError ? Colour::error : Colour::command;
    }
    std::string line;
    for (std::size_t i = 0; i < characters.size();) {
        const Colour colour = colours[i];
        std::string piece;
        for (; i < characters.size() && colours[i] == colour; ++i)
            appendSafely(piece, characters[i]);
        line += facts.painted(piece, colour);
    }
    return '"' + line + '"';
}

void addWords(const QueryContainer& query, Facts& facts) {
    if (query.soundex()) {
        facts.add("A word of the name sounds like each of", listed(query.searchWords()));
        return;
    }
    if (!query.includesORStatement()) {
        facts.add("The name holds all of", listed(query.searchWords()));
        return;
    }
    std::string_view title = "The name holds all of";
    for (const auto& group : query.orStringGroups()) {
        facts.add(title, listed(group));
        title = "or all of";
    }
}

void addCommand(const Command& command, const Clock& clock, Facts& facts) {
    const std::string typed = inQuotes(asTyped(command.commandConsumedParts));
    const std::string meaning = inQuotes(command.commandToString());
    std::string text = facts.painted(typed, Colour::command);
    if (meaning != typed) text += ", read as " + meaning;
    facts.add("Command", text);
    if (const std::string range = rangeText(command, clock); !range.empty()) facts.say("    " + range);
}

void addCommands(const QueryContainer& query, const Clock& clock, Facts& facts) {
    for (const auto& command : query.commandsFoundInQuery()) {
        if (const auto excluded = std::dynamic_pointer_cast<NotIncludingWords>(command)) {
            facts.add("The name holds none of", listed(excluded->words()));
        } else if (const auto wildcards = std::dynamic_pointer_cast<WildcardWords>(command)) {
            facts.add("The name, or a word of it, begins with", listed(wildcards->prefixes()));
            facts.add("The name, or a word of it, ends with", listed(wildcards->suffixes()));
        } else {
            addCommand(*command, clock, facts);
        }
    }
    if (query.isORCommandSearch() && !query.commandsFoundInQuery().empty())
        facts.say("One of the two is enough: the words in the name, or the commands.");
}

std::string_view titleOf(const UnknownStretch& stretch) {
    if (stretch.isNotThereYet) return "Not there yet in this version";
    return stretch.isKnownSentence ? "Known, but without meaning here" : "Not known as a command";
}

void addUnknown(const QueryContainer& query, const LanguageParse& language, Facts& facts) {
    for (const UnknownStretch& stretch : unknownStretches(query, language)) {
        std::string text = facts.painted(inQuotes(asTyped(stretch.words)), Colour::error);
        if (stretch.suggestion)
            text += "; did you mean " + facts.painted(inQuotes(*stretch.suggestion), Colour::hint) + "?";
        facts.add(titleOf(stretch), text);
    }
}

std::string explanationInWords(const QueryContainer& query, Application& application, bool coloured) {
    Facts facts(coloured);
    if (!query.baseString().empty()) facts.add("Line", paintedLine(query, facts));
    addWords(query, facts);
    addCommands(query, application.clock(), facts);
    if (!query.invalidCommandAreaWords().empty()) addUnknown(query, application.language(), facts);
    const Commands& commands = query.commandsFoundInQuery();
    const bool hasSourceOfItsOwn = std::any_of(commands.begin(), commands.end(), [](const auto& command) {
        return command->commandStopsWordBasedSearches();
    });
    if (query.isEmpty()) {
        facts.say("There is nothing to look for.");
    } else if (!query.isWordBasedSearch() && !hasSourceOfItsOwn) {
        facts.say("There is no word to look for: the disks are not searched.");
    }
    return facts.text();
}

}  // namespace

int runExplain(const Arguments& arguments, CommandContext& context) {
    if (arguments.words.empty())
        throw UsageError("explain needs a line, such as: kestrix explain 'report -draft'");
    const QueryContainer query(arguments.line(), std::nullopt, arguments.has("soundex"),
                               context.application.queryEnvironment(arguments.line()));
    const bool coloured = isTerminal(StandardStream::output) && colourIsWelcome();
    context.output.append(arguments.has("json") ? explanationAsJson(query) + "\n"
                                                : explanationInWords(query, context.application, coloured));
    return kExitFound;
}

}  // namespace kestrix::cli
