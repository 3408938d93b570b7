#include "language/commands/simple_commands.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/path.h"
#include "base/text.h"
#include "files/search_result.h"
#include "language/typed_word.h"
#include "platform/extended_attributes.h"
#include "platform/tags.h"

namespace kestrix {
namespace {

// Whether `text` in lower case equals `lowered`, without a copy where both are plain ASCII.
bool equalsLowered(std::string_view text, std::string_view lowered) {
    if (!text::isAscii(text)) return text::lowered(text) == lowered;
    return std::ranges::equal(text, lowered, [](char byte, char wanted) {
        return (byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte | 0x20) : byte) == wanted;
    });
}

// As many as path::components gives, counted without making them.
std::int64_t componentCount(std::string_view path) {
    std::int64_t count = 0;
    for (std::size_t at = 0; at < path.size();) {
        const std::size_t slash = std::min(path.find('/', at), path.size());
        if (slash > at) ++count;
        at = slash + 1;
    }
    return count;
}

std::string_view nameOf(LengthChoice choice) {
    return choice == LengthChoice::max ? "max" : "min";
}

}  // namespace

ExtensionCommand::ExtensionCommand(std::string extension, bool isNot)
    : wantedFileNameExtension_(std::move(extension)), not_(isNot) {}

// One leading dot is dropped when a word is read as an extension, and one more when the command is made of
// it; that only shows with an extension that begins with a dot itself.
std::string ExtensionCommand::commandToString() const {
    const std::string dots = wantedFileNameExtension_.starts_with('.') ? ".." : ".";
    return (not_ ? "not " : "") + typedWord(dots + wantedFileNameExtension_);
}

nlohmann::json ExtensionCommand::explainedFields() const {
    return {{"wantedFileNameExtension", wantedFileNameExtension_}, {"not", not_}};
}

CommandApplyResult ExtensionCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                     const QueryContainer&) {
    const std::string_view extension = path::extension(result.path);
    if (extension.empty()) return CommandApplyResult::skip;
    return acceptIf(equalsLowered(extension, wantedFileNameExtension_) != not_);
}

std::vector<std::string> ExtensionCommand::commandImpExtraSearchStrings() const {
    if (not_) return {};
    return {wantedFileNameExtension_};
}

UTICommand::UTICommand(std::string wantedUTI, const UTIAssistant& assistant)
    : wantedUTI_(std::move(wantedUTI)), assistant_(assistant) {}

std::string UTICommand::commandToString() const {
    return "is " + typedWord(wantedUTI_);
}

nlohmann::json UTICommand::explainedFields() const {
    return {{"wantedUTI", wantedUTI_}};
}

CommandApplyResult UTICommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                               const QueryContainer&) {
    if (wantedUTI_ == (result.isDirectory ? "folder" : "file")) return CommandApplyResult::accept;
    const std::string_view extension = path::extension(result.path);
    if (extension.empty()) return CommandApplyResult::exclude;
    if (wantedUTI_ == "app") return acceptIf(extension == "app");
    const auto type = assistant_.types().forExtension(extension);
    return acceptIf(type && (result.isDirectory ? isWanted(*type) : isWanted(*type, result.path)));
}

// A file is opened only where its content decides: source trees are full of files whose extension leaves
// their type open, and most words mean both types or neither.
bool UTICommand::isWanted(FileTypeId type, const std::string& path) {
    const bool wanted = isWanted(type);
    const auto alternative = assistant_.types().alternativeTo(type);
    if (!alternative || isWanted(*alternative) == wanted) return wanted;
    return assistant_.types().ofFile(path) == type ? wanted : !wanted;
}

bool UTICommand::isWanted(FileTypeId type) {
    // Not in the constructor: a line is parsed at every keystroke, and few of them are searched for.
    std::call_once(firstFile_,
                   [this] { verdicts_ = std::vector<std::atomic<Verdict>>(assistant_.types().count()); });
    std::atomic<Verdict>& verdict = verdicts_[type];
    Verdict known = verdict.load(std::memory_order_relaxed);
    if (known == unknown) {
        known = judge(type) ? yes : no;
        verdict.store(known, std::memory_order_relaxed);
    }
    return known == yes;
}

bool UTICommand::judge(FileTypeId type) const {
    const std::string_view special = UTIAssistant::specialCaseToUTI(wantedUTI_);
    if (!special.empty() && assistant_.types().conforms(type, special)) return true;
    return assistant_.utiInformationIncludesWord(type, wantedUTI_);
}

std::shared_ptr<Command> UTICommand::copy() const {
    return std::make_shared<UTICommand>(wantedUTI_, assistant_);
}

bool UTICommand::isTemplateEqualTo(const Command& other) const {
    const auto* same = dynamic_cast<const UTICommand*>(&other);
    return same && same->wantedUTI_ == wantedUTI_;
}

std::string FileOrFolderCommand::commandToString() const {
    return type_ == FileOrFolderType::file ? "is file" : "is folder";
}

nlohmann::json FileOrFolderCommand::explainedFields() const {
    return {{"type", type_ == FileOrFolderType::file ? "file" : "folder"}};
}

CommandApplyResult FileOrFolderCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                        const QueryContainer&) {
    if (result.isDirectory && result.path.ends_with(".app")) return CommandApplyResult::exclude;
    return acceptIf(result.isDirectory == (type_ == FileOrFolderType::folder));
}

std::string LabelCommand::commandToString() const {
    return (notTag_ ? "without tag " : "tag ") + typedWord(labelName_);
}

nlohmann::json LabelCommand::explainedFields() const {
    return {{"labelName", labelName_}, {"notTag", notTag_}};
}

CommandApplyResult LabelCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                 const QueryContainer&) {
    if (listExtendedAttributes(result.path).empty()) return acceptIf(notTag_);
    const std::vector<std::string> tags = readTags(result.path);
    if (tags.empty()) return CommandApplyResult::exclude;
    std::string names;
    for (const std::string& tag : tags) {
        if (!names.empty()) names += ' ';
        names += tag;
    }
    const std::string lowered = text::composed(text::lowered(names));
    const bool isThere = !labelName_.empty() && lowered.find(text::composed(labelName_)) != std::string::npos;
    return acceptIf(isThere != notTag_);
}

bool MaxDepth::letsEnterChildrenOf(std::string_view folder) const {
    return maxDepth_ < 1 || componentCount(folder) + 1 <= maxDepth_;
}

std::string MaxDepth::commandToString() const {
    return "max depth " + std::to_string(maxDepth_);
}

nlohmann::json MaxDepth::explainedFields() const {
    return {{"maxDepth", maxDepth_}};
}

CommandApplyResult MaxDepth::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                             const QueryContainer&) {
    // As many folders are above a file as its own folder has components.
    return acceptIf(maxDepth_ < 1 || maxDepth_ >= componentCount(result.path) - 1);
}

std::string LengthCommand::sentence(std::string_view count) const {
    return std::string(nameOf(choice_)).append(" ").append(what_).append(" length ").append(count);
}

nlohmann::json LengthCommand::explainedFields() const {
    return {{"count", count_}, {"choice", nameOf(choice_)}};
}

CommandApplyResult LengthCommand::judge(std::string_view text) const {
    const auto length = static_cast<std::int64_t>(text::characterCount(text));
    return acceptIf(choice_ == LengthChoice::max ? length < count_ : length > count_);
}

CommandApplyResult NameLengthCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                      const QueryContainer&) {
    return judge(path::lastComponent(result.path));
}

CommandApplyResult PathLengthCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                      const QueryContainer&) {
    return judge(result.path);
}

}  // namespace kestrix
