// The shipped language over a clock that stands still, with its real commands or with ones that only say what
// they were made of.
#pragma once

#include <gtest/gtest.h>

#include <any>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "base/clock.h"
#include "language/calendar_units.h"
#include "language/commands/date_command_factory.h"
#include "language/commands/regex_command.h"
#include "language/commands/size_command.h"
#include "language/vocabulary.h"

namespace kestrix {

inline VariableLookups sampleLookups() {
    VariableLookups lookups;
    lookups.favouriteFolders = [] { return std::map<std::string, std::string>{{"desk", "/home/desk"}}; };
    lookups.knownTags = [] { return std::vector<std::string>{"Red", "rose"}; };
    lookups.scripts = [] {
        return std::vector<std::pair<std::string, std::string>>{{"tidy", "/s/tidy"},
                                                                {"Tidy up", "/s/tidy up"}};
    };
    return lookups;
}

inline WallTime wallTime(std::int64_t seconds) {
    return WallTime(std::chrono::seconds(seconds));
}

// Dates, sizes and patterns as they are.
inline LanguageParse realLanguage(const Clock& clock) {
    return LanguageParse(
        makeVocabulary(shippedSentences(),
                       {std::make_shared<DateCommandCreator>(clock), std::make_shared<SizeCommandFactory>(),
                        std::make_shared<RegexCommandFactory>()},
                       sampleLookups()));
}

// The one command of a line, which it must take as a whole; nullptr otherwise.
inline std::shared_ptr<Command> onlyCommand(const LanguageParse& language, const std::string& line) {
    const auto words = SentenceComponent::parseWords(line);
    const auto found = language.allMatches(words);
    const bool isWhole = found.commands.size() == 1 && found.commands[0]->commandConsumedParts == words;
    return isWhole ? found.commands.front() : nullptr;
}

}  // namespace kestrix
