#include "language/sentence_template.h"

#include <fmt/format.h>

#include "base/error.h"
#include "base/text.h"

namespace kestrix {
namespace {

constexpr const char* kDomain = "SentenceTemplate";
constexpr std::string_view kPencil = "\u270F\uFE0F";

CommandFlags readFlags(std::string_view text) {
    CommandFlags flags;
    for (const auto pair : text::splitAt(text, ',')) {
        const auto sides = text::splitAt(pair, '=');
        if (sides.size() == 2) flags[std::string(sides[0])] = std::string(sides[1]);
    }
    return flags;
}

bool isComment(std::string_view line) {
    return line.starts_with("//") || line.find(kPencil) != std::string_view::npos;
}

}  // namespace

SentenceTemplate SentenceTemplate::fromLine(const std::string& line) {
    SentenceTemplate made;
    made.debugTemplate = line;
    made.components = SentenceComponent::parseWords(line);
    if (made.components.empty()) throw Error(kDomain, 0, "a sentence template holds no words");

    const std::string commandPart = std::move(made.components.back().textOriginalCase);
    made.components.pop_back();
    const auto pieces = text::splitAt(commandPart, '/');
    if (pieces.empty())
        throw Error(kDomain, 0, fmt::format("the sentence template \"{}\" names no command", line));
    made.command = pieces.front();
    if (commandPart.find('/') != std::string::npos) made.flags = readFlags(pieces.back());

    for (const auto& component : made.components)
        made.words.push_back(component.textOriginalCase);
    made.numberOfKeywords = made.words.size();
    return made;
}

std::vector<SentenceTemplate> SentenceTemplate::fromText(std::string_view text) {
    std::vector<SentenceTemplate> templates;
    std::size_t number = 0;
    for (std::size_t start = 0; start < text.size(); ++number) {
        const auto end = std::min(text.find('\n', start), text.size());
        const auto line = text.substr(start, end - start);
        start = end + 1;
        if (line.empty() || isComment(line)) continue;
        try {
            templates.push_back(fromLine(std::string(line)));
        } catch (const Error& error) {
            throw Error(kDomain, static_cast<int>(number + 1),
                        fmt::format("line {}: {}", number + 1, error.what()));
        }
    }
    return templates;
}

}  // namespace kestrix
