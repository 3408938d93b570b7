#include "language/variables.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>

#include "base/text.h"
#include "base/text_numbers.h"
#include "language/calendar_units.h"
#include "language/commands/date_command.h"
#include "language/commands/regex_command.h"
#include "language/commands/size_command.h"
#include "language/date_detector.h"
#include "language/date_helper.h"

namespace kestrix {
namespace {

using Words = std::span<const SentenceComponent>;
using Parsed = std::optional<VariableParserResult>;

constexpr int kFirstYear = 1970;
constexpr int kLastYear = 2999;
constexpr int kLastDay = 31;

template <typename Value>
VariableParserResult oneWord(Value value) {
    return {std::any(std::move(value)), 1};
}

std::optional<int> asInt(std::optional<std::int64_t> number) {
    using Limits = std::numeric_limits<int>;
    if (!number || *number < Limits::min() || *number > Limits::max()) return std::nullopt;
    return static_cast<int>(*number);
}

Parsed readString(Words words) {
    return oneWord(words.front());
}

Parsed readNumberBetween(Words words, int lowest, int highest) {
    const auto number = text::wholeNumber(words.front().textLowered);
    if (!number || *number < lowest || *number > highest) return std::nullopt;
    return oneWord(static_cast<int>(*number));
}

Parsed readInteger(Words words) {
    const std::string& word = words.front().textLowered;
    auto number = text::wholeNumber(word);
    const auto spelled = number ? std::nullopt : text::spelledNumber(word);
    constexpr double kLargest = std::numeric_limits<int>::max();
    if (spelled && std::abs(*spelled) <= kLargest && std::trunc(*spelled) == *spelled)
        number = static_cast<std::int64_t>(*spelled);
    const auto value = asInt(number);
    return value ? std::optional(oneWord(*value)) : std::nullopt;
}

Parsed readMonth(Words words) {
    const auto month = date_helper::monthNumber(words.front().textLowered);
    return month ? std::optional(oneWord(*month)) : std::nullopt;
}

Parsed readTimeUnit(Words words) {
    constexpr std::array<std::pair<std::string_view, CalendarUnit>, 6> kUnits = {
        {{"minute", CalendarUnit::minute},
         {"hour", CalendarUnit::hour},
         {"day", CalendarUnit::day},
         {"week", CalendarUnit::weekOfYear},
         {"month", CalendarUnit::month},
         {"year", CalendarUnit::year}}};
    const std::string_view word = words.front().textLowered;
    for (const auto& [name, unit] : kUnits) {
        const bool isPlural = word.size() == name.size() + 1 && word.ends_with('s');
        if (word == name || (isPlural && word.starts_with(name))) return oneWord(unit);
    }
    return std::nullopt;
}

Parsed readFormattedDate(Words words) {
    const auto dates = DateDetector::simpleDatesInString(words.front().textLowered);
    if (dates.empty()) return std::nullopt;
    return oneWord(DateCommandWhen::day(dates.front()));
}

Parsed readFixedNamedTimeRange(Words words) {
    constexpr std::array<std::pair<std::string_view, WhenType>, 4> kNames = {
        {{"recent", WhenType::recent},
         {"today", WhenType::today},
         {"yesterday", WhenType::yesterday},
         {"tomorrow", WhenType::tomorrow}}};
    for (const auto& [name, when] : kNames) {
        if (words.front().textLowered == name)
            return oneWord(DateCommandWhen{.when = when, .specificDay = {}, .dateRange = {}});
    }
    return std::nullopt;
}

// What is not said is the modification date, and takes no word.
Parsed readDateType(Words words) {
    const std::string_view word = words.front().textLowered;
    if (word == "modified" || word == "changed" || word == "edited")
        return oneWord(DateCommandWhat::modificationDate);
    if (word == "created" || word == "made") return oneWord(DateCommandWhat::creationDate);
    return VariableParserResult{std::any(DateCommandWhat::modificationDate), 0};
}

Parsed readExtension(Words words) {
    const std::string& word = words.front().textLowered;
    if (!word.starts_with('.')) return std::nullopt;
    return oneWord(word.substr(1));
}

Parsed readRegex(Words words) {
    if (!isRegularExpression(words.front().textOriginalCase)) return std::nullopt;
    return oneWord(words.front());
}

bool beginsWith(Words words, Words phrase) {
    return words.size() >= phrase.size() &&
           std::equal(phrase.begin(), phrase.end(), words.begin(),
                      [](const SentenceComponent& wanted, const SentenceComponent& word) {
                          return wanted.textLowered == word.textLowered;
                      });
}

Parsed readWithoutText(Words words) {
    if (words.size() < 2 || words[0].textLowered != "without") return std::nullopt;
    const bool isTag = words[1].textLowered == "tag" || words[1].textLowered == "tags";
    if (isTag && !words[1].wasInQuotes) return std::nullopt;
    return VariableParserResult{std::any(words[1]), 2};
}

Parsed readVarArg(Words words) {
    return VariableParserResult{std::any(SentenceComponents(words.begin(), words.end())), words.size()};
}

// A script is named by its words as they stand, or by one phrase in quotes; the longest name wins.
Parsed readScriptName(Words words, const std::vector<std::pair<std::string, std::string>>& scripts) {
    Parsed best;
    for (const auto& [name, target] : scripts) {
        const SentenceComponents inWords = SentenceComponent::parseWords(name);
        const bool isQuoted = words.front().textLowered == text::lowered(name);
        const std::size_t count = isQuoted ? 1 : inWords.size();
        const bool isNamed = isQuoted || (!inWords.empty() && beginsWith(words, inWords));
        if (isNamed && (!best || count > best->numberOfConsumedWords))
            best = VariableParserResult{std::any(target), count};
    }
    return best;
}

// The first that is longer than the word and begins with it: a whole word needs no completion.
std::optional<std::string> completion(Words words, const std::vector<std::string>& candidates) {
    if (words.empty()) return std::nullopt;
    const std::string& word = words.front().textLowered;
    for (const auto& candidate : candidates) {
        const std::string lowered = text::lowered(candidate);
        if (lowered.size() > word.size() && lowered.starts_with(word)) return candidate;
    }
    return std::nullopt;
}

// Leaves folders and contents to their own sentences, and a half-typed word to the typist.
Parsed readUti(Words words, const std::vector<std::string>& utiWords) {
    const std::string& word = words.front().textLowered;
    if (word == "folder" || word == "content" || completion(words, utiWords)) return std::nullopt;
    return oneWord(word);
}

Parsed readRemembered(Words words, const std::map<std::string, std::string>& folders) {
    const auto found = folders.find(words.front().textLowered);
    if (found == folders.end()) return std::nullopt;
    return oneWord(found->second);
}

template <typename Lookup>
auto askedOf(const Lookup& lookup) {
    using Answer = decltype(lookup());
    return lookup ? lookup() : Answer();
}

template <typename Value>
std::vector<std::string> namesOf(const Value& pairs) {
    std::vector<std::string> names;
    names.reserve(pairs.size());
    for (const auto& [name, value] : pairs)
        names.push_back(name);
    return names;
}

}  // namespace

std::optional<VariableParserResult> readContentSearchFlags(std::span<const SentenceComponent> words) {
    static const std::vector<std::pair<SentenceComponents, std::string>> kPhrases = {
        {SentenceComponent::parseWords("whole words"), "wholeWords"},
        {SentenceComponent::parseWords("all words"), "allWords"},
        {SentenceComponent::parseWords("all files"), "allFiles"},
        {SentenceComponent::parseWords("use OCR"), "useOCR"}};
    std::vector<std::string> flags;
    std::size_t used = 0;
    for (const auto& [phrase, flag] : kPhrases) {
        if (!beginsWith(words.subspan(used), phrase)) continue;
        flags.push_back(flag);
        used += phrase.size();
    }
    return VariableParserResult{std::any(std::move(flags)), used};
}

VariableParsers makeVariableParsers(const VariableLookups& lookups) {
    VariableParsers parsers = {
        {"~string", readString},
        {"~uti", [words = lookups.utiWords](Words input) { return readUti(input, words); }},
        {"~remembered",
         [ask = lookups.favouriteFolders](Words input) { return readRemembered(input, askedOf(ask)); }},
        {"~month", readMonth},
        {"~year", [](Words words) { return readNumberBetween(words, kFirstYear, kLastYear); }},
        {"~day", [](Words words) { return readNumberBetween(words, 1, kLastDay); }},
        {"~timeUnit", readTimeUnit},
        {"~formattedDate", readFormattedDate},
        {"~fixedNamedTimeRange", readFixedNamedTimeRange},
        {"~file size", readFileSize},
        {"~extension", readExtension},
        {"~dateType", readDateType},
        {"~integer", readInteger},
        {"~regexVariable", readRegex},
        {"~scriptName", [ask = lookups.scripts](Words input) { return readScriptName(input, askedOf(ask)); }},
        {"~withoutText", readWithoutText},
        {"~varArg", readVarArg},
    };
    for (auto& [name, parser] : parsers) {
        parser = [read = std::move(parser)](Words words) -> Parsed {
            return words.empty() ? std::nullopt : read(words);
        };
    }
    parsers["~contentSearchFlags"] = readContentSearchFlags;
    return parsers;
}

VariableCompletors makeVariableCompletors(const VariableLookups& lookups) {
    return {
        {"~utiCompletor", [words = lookups.utiWords](Words input) { return completion(input, words); }},
        {"~remembered",
         [ask = lookups.favouriteFolders](Words input) { return completion(input, namesOf(askedOf(ask))); }},
        {"~month", [](Words input) { return completion(input, date_helper::monthNames()); }},
        {"~scriptName",
         [ask = lookups.scripts](Words input) { return completion(input, namesOf(askedOf(ask))); }},
        {"~tagCompletor", [ask = lookups.knownTags](Words input) { return completion(input, askedOf(ask)); }},
    };
}

}  // namespace kestrix
