#include "language/vocabulary.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

#include "base/error.h"
#include "base/text.h"
#include "platform/stored_file.h"

namespace kestrix {
namespace {

constexpr const char* kDomain = "Vocabulary";

std::size_t lineOf(const SentenceTemplate& sentence, std::string_view sentences) {
    std::size_t number = 1;
    for (std::size_t start = 0; start < sentences.size(); ++number) {
        const auto end = std::min(sentences.find('\n', start), sentences.size());
        if (sentences.substr(start, end - start) == sentence.debugTemplate) break;
        start = end + 1;
    }
    return number;
}

std::string faultOfWord(const SentenceComponent& word, const LanguageParse::Vocabulary& vocabulary) {
    const std::string& text = word.textOriginalCase;
    if (word.wildcard != SentenceComponent::Wildcard::none)
        return fmt::format("\"{}\" has a star, which no template may hold", text);
    if (!text.starts_with('~')) {
        return text == word.textLowered ? "" : fmt::format("the keyword \"{}\" must be in lower case", text);
    }
    const auto pieces = text::splitAt(text, '/');
    const bool hasCompletor = pieces.size() == 2;
    if (!vocabulary.variableParsers.contains(hasCompletor ? pieces[0] : std::string_view(text)))
        return fmt::format("\"{}\" is no variable", text);
    if (hasCompletor && !vocabulary.variableCompletors.contains(pieces[1]))
        return fmt::format("\"{}\" is no completor", pieces[1]);
    return "";
}

std::string faultOf(const SentenceTemplate& sentence, const LanguageParse::Vocabulary& vocabulary) {
    if (sentence.words.empty()) return "the sentence has no words before its command";
    const auto& names = knownCommandNames();
    if (std::find(names.begin(), names.end(), sentence.command) == names.end())
        return fmt::format("\"{}\" is no command", sentence.command);
    for (const auto& word : sentence.components) {
        if (std::string fault = faultOfWord(word, vocabulary); !fault.empty()) return fault;
    }
    return "";
}

}  // namespace

std::string sentencesPath() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here changes the environment
    const char* const path = std::getenv("KESTRIX_SENTENCES");
    return path ? path : "";
}

std::string sentencesInForce() {
    const std::string path = sentencesPath();
    if (path.empty()) return std::string(shippedSentences());
    auto text = readWholeFile(path);
    if (!text) throw Error(kDomain, 0, fmt::format("{}: there is no such file of sentences", path));
    return std::move(*text);
}

const std::vector<std::string>& knownCommandNames() {
    static const std::vector<std::string> kNames = {"caseSensitive",
                                                    "textContent",
                                                    "specificDateRange",
                                                    "thisTimeUnit",
                                                    "lastTimeUnit",
                                                    "lastNDateUnit",
                                                    "month",
                                                    "monthYear",
                                                    "monthToMonth",
                                                    "monthYearToMonth",
                                                    "monthToMonthYear",
                                                    "monthYearToMonthYear",
                                                    "monthYearToYear",
                                                    "yearMonthToMonth",
                                                    "monthDayToMonth",
                                                    "yearToYear",
                                                    "year",
                                                    "afterDate",
                                                    "afterYear",
                                                    "afterMonth",
                                                    "beforeDate",
                                                    "beforeYear",
                                                    "beforeMonth",
                                                    "dayMonth",
                                                    "excludingFolder",
                                                    "extension",
                                                    "extensionNot",
                                                    "isFile",
                                                    "isFolder",
                                                    "ImageVision",
                                                    "ImageVisionAllItems",
                                                    "inside",
                                                    "remembered",
                                                    "rememberedShallow",
                                                    "label",
                                                    "labelExcluding",
                                                    "nameMaxLength",
                                                    "nameMinLength",
                                                    "mailSearch",
                                                    "pathMaxLength",
                                                    "pathMinLength",
                                                    "maxDepth",
                                                    "regex",
                                                    "scriptCommand",
                                                    "filesBiggerThan",
                                                    "filesSmallerThan",
                                                    "filesEqualTo",
                                                    "filesExactlyEqualTo",
                                                    "listGames",
                                                    "listApps",
                                                    "showAllFiles",
                                                    "spotlightMetadata",
                                                    "author",
                                                    "spotlightUserQuery",
                                                    "uti",
                                                    "wholeWords"};
    return kNames;
}

LanguageParse::Vocabulary makeVocabulary(std::string_view sentences,
                                         std::vector<std::shared_ptr<const CommandFactory>> factories,
                                         const VariableLookups& lookups) {
    LanguageParse::Vocabulary vocabulary{.sentences = SentenceTemplate::fromText(sentences),
                                         .factories = std::move(factories),
                                         .variableParsers = makeVariableParsers(lookups),
                                         .variableCompletors = makeVariableCompletors(lookups)};
    for (const auto& sentence : vocabulary.sentences) {
        const std::string fault = faultOf(sentence, vocabulary);
        if (fault.empty()) continue;
        const std::size_t line = lineOf(sentence, sentences);
        throw Error(kDomain, static_cast<int>(line), fmt::format("line {}: {}", line, fault));
    }
    return vocabulary;
}

}  // namespace kestrix
