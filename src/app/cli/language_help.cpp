// A block of comments above sentences is a heading, up to its first colon or semicolon, and a paragraph. A
// block that ends its first sentence with a full stop before any of the two is a paragraph only, and one with
// no sentences behind it speaks to whoever edits the file.
//
// Sentences that differ in their first word alone and mean the same share one row.
#include "app/cli/language_help.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "language/sentence_examples.h"
#include "language/vocabulary.h"

namespace kestrix {

std::string_view queryLanguageIntroduction();  // made by the build from resources/query-language-intro.md

namespace cli {
namespace {

struct Row {
    std::vector<std::string> beginnings;
    SentenceTemplate sentence;  // the first one
};

struct Section {
    std::string comment;  // one line
    std::vector<Row> rows;
};

bool meansTheSame(const SentenceTemplate& a, const SentenceTemplate& b) {
    return a.command == b.command && a.flags == b.flags && a.words.size() == b.words.size() &&
           std::equal(a.words.begin() + 1, a.words.end(), b.words.begin() + 1);
}

void add(Section& section, const SentenceTemplate& sentence) {
    const std::string& first = sentence.words.front();
    const auto row = std::find_if(section.rows.begin(), section.rows.end(), [&sentence](const Row& each) {
        return !isVariable(each.sentence.words.front()) && !isVariable(sentence.words.front()) &&
               meansTheSame(each.sentence, sentence);
    });
    if (row == section.rows.end()) {
        section.rows.push_back({{first}, sentence});
    } else {
        row->beginnings.push_back(first);
    }
}

std::vector<Section> sections(std::string_view sentences) {
    std::vector<Section> all(1);
    bool inComment = false;
    for (std::size_t start = 0; start < sentences.size();) {
        const std::size_t end = std::min(sentences.find('\n', start), sentences.size());
        const std::string_view line = sentences.substr(start, end - start);
        start = end + 1;
        if (!line.starts_with("//")) {
            inComment = false;
            if (!line.empty()) add(all.back(), SentenceTemplate::fromLine(std::string(line)));
            continue;
        }
        if (!inComment) all.emplace_back();
        inComment = true;
        std::string& comment = all.back().comment;
        if (!comment.empty()) comment += ' ';
        comment += text::trimmed(line.substr(2));
    }
    std::erase_if(all, [](const Section& section) { return section.rows.empty(); });
    return all;
}

// Behind the comment's own full stop stands what the file's editor must know.
std::string titleOf(const Section& section) {
    const std::size_t end = section.comment.find_first_of(":;.");
    const bool isParagraph = end != std::string::npos && section.comment[end] == '.';
    return isParagraph ? "" : section.comment.substr(0, end);
}

std::string paragraphOf(const Section& section) {
    const std::size_t titleEnd = titleOf(section).size();
    std::string text =
        section.comment.substr(titleEnd == 0 ? 0 : std::min(titleEnd + 1, section.comment.size()));
    text = text::withFirstCharacterUpper(text::trimmed(text));
    if (!text.empty() && !text.ends_with('.')) text += '.';
    return text;
}

// The upright stroke parts the columns of a table.
std::string cell(std::string text) {
    for (std::size_t at = text.find('|'); at != std::string::npos; at = text.find('|', at + 2))
        text.insert(at, 1, '\\');
    return '`' + text + '`';
}

bool isBuilt(const std::string& command, const LanguageParse& language) {
    const auto& factories = language.vocabulary().factories;
    return std::any_of(factories.begin(), factories.end(),
                       [&command](const auto& factory) { return factory->implementsCommand(command); });
}

std::string rowText(const Row& row, const LanguageParse& language) {
    SentenceTemplate shown = row.sentence;
    shown.words.front() = fmt::format("{}", fmt::join(row.beginnings, "|"));
    const std::string sentence =
        row.beginnings.size() > 1 ? shownSentence(shown) : shownSentence(row.sentence);
    return fmt::format("| {} | {}{} |\n", cell(sentence), cell(": " + exampleOf(row.sentence)),
                       isBuilt(row.sentence.command, language) ? "" : " *not there yet*");
}

std::string tables(const LanguageParse& language) {
    std::string text;
    for (const Section& section : sections(shippedSentences())) {
        if (const std::string title = titleOf(section); !title.empty())
            text += fmt::format("### {}\n\n", title);
        if (const std::string paragraph = paragraphOf(section); !paragraph.empty())
            text += paragraph + "\n\n";
        text += "| You say | For example |\n|---|---|\n";
        for (const Row& row : section.rows)
            text += rowText(row, language);
        text += '\n';
    }
    return text;
}

}  // namespace

std::string languageHelp(const LanguageParse& language) {
    constexpr std::string_view kMark = "<!-- sentences -->\n\n";
    const std::string_view introduction = queryLanguageIntroduction();
    const std::size_t at = std::min(introduction.find(kMark), introduction.size());
    std::string text(introduction.substr(0, at));
    text += tables(language);
    if (at < introduction.size()) text += introduction.substr(at + kMark.size());
    return text;
}

}  // namespace cli
}  // namespace kestrix
