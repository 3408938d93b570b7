#include "language/sentence_examples.h"

#include <algorithm>
#include <array>
#include <map>

namespace kestrix {
namespace {

struct Sample {
    std::string_view variable;
    std::string_view shown;
    // One for each place in a sentence where the variable can stand again: the second month of a range is a
    // later one.
    std::array<std::string_view, 2> examples;
};

constexpr std::array<Sample, 18> kSamples = {{
    {"~string", "NAME", {"report", "letter"}},
    {"~uti", "KIND", {"image", "pdf"}},
    {"~remembered", "FAVOURITE", {"downloads", "desktop"}},
    {"~month", "MONTH", {"march", "may"}},
    {"~year", "YEAR", {"2016", "2018"}},
    {"~day", "DAY", {"5", "9"}},
    {"~timeUnit", "UNIT", {"week", "month"}},
    {"~formattedDate", "DATE", {"2016-03-05", "2016-04-01"}},
    {"~fixedNamedTimeRange", "today|yesterday|recent|tomorrow", {"today", "yesterday"}},
    {"~file size", "SIZE", {"10mb", "20mb"}},
    {"~extension", ".EXTENSION", {".pdf", ".txt"}},
    {"~dateType", "[modified|created]", {"modified", "created"}},
    {"~integer", "NUMBER", {"3", "20"}},
    {"~regexVariable", "PATTERN", {"^img_", "[0-9]$"}},
    {"~scriptName", "SCRIPT", {"backup", "tidy"}},
    {"~contentSearchFlags", "[whole words] [all words] [all files] [use ocr]", {"whole words", "all files"}},
    {"~withoutText", "without WORD", {"without draft", "without copy"}},
    {"~varArg", "WORDS", {"large copies", "one more"}},
}};

// What people call by name differs from sentence to sentence.
std::string_view nameFor(std::string_view command) {
    static const std::map<std::string_view, std::string_view> kNames = {
        {"inside", "animals"},     {"excludingFolder", "node_modules"},
        {"label", "red"},          {"labelExcluding", "red"},
        {"author", "sarah"},       {"textContent", "\"yearly total\""},
        {"ImageVision", "candle"}, {"ImageVisionAllItems", "candle"}};
    const auto found = kNames.find(command);
    return found == kNames.end() ? "report" : found->second;
}

const Sample* sampleFor(std::string_view variable) {
    const auto found = std::find_if(kSamples.begin(), kSamples.end(),
                                    [variable](const Sample& each) { return each.variable == variable; });
    return found == kSamples.end() ? nullptr : &*found;
}

void appendWord(std::string& text, std::string_view word) {
    if (!text.empty()) text += ' ';
    text += word;
}

}  // namespace

std::string_view variableNameOf(std::string_view templateWord) {
    const auto slash = templateWord.find('/');
    const bool isOnly = slash != std::string_view::npos && slash == templateWord.rfind('/');
    return isOnly ? templateWord.substr(0, slash) : templateWord;
}

const std::vector<std::string>& wordsOfVariable(std::string_view variable) {
    static const std::map<std::string_view, std::vector<std::string>> kWords = {
        {"~fixedNamedTimeRange", {"today", "yesterday", "recent", "tomorrow"}},
        {"~timeUnit", {"week", "month", "year", "day", "hour", "minute"}},
        {"~dateType", {"modified", "created", "changed", "edited", "made"}},
        {"~withoutText", {"without"}}};
    static const std::vector<std::string> kNone;
    const auto found = kWords.find(variable);
    return found == kWords.end() ? kNone : found->second;
}

std::string shownWord(std::string_view templateWord) {
    if (!isVariable(templateWord)) return std::string(templateWord);
    const std::string_view variable = variableNameOf(templateWord);
    const Sample* const sample = sampleFor(variable);
    return std::string(sample ? sample->shown : variable);
}

std::string shownSentence(const SentenceTemplate& sentence) {
    std::string text;
    for (const auto& word : sentence.words)
        appendWord(text, shownWord(word));
    return text;
}

std::string exampleOf(const SentenceTemplate& sentence) {
    std::string text;
    std::map<std::string_view, std::size_t> seen;
    for (const auto& word : sentence.words) {
        const Sample* const sample = isVariable(word) ? sampleFor(variableNameOf(word)) : nullptr;
        if (!sample) {
            appendWord(text, word);
            continue;
        }
        const std::size_t place = std::min<std::size_t>(seen[sample->variable]++, 1);
        const bool isName = sample->variable == "~string";
        const bool isPlural = sample->variable == "~timeUnit" && seen.contains("~integer");
        appendWord(text, isName ? nameFor(sentence.command) : sample->examples.at(place));
        if (isPlural) text += 's';
    }
    return text;
}

}  // namespace kestrix
