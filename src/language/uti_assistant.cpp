#include "language/uti_assistant.h"

#include <algorithm>
#include <vector>

#include "base/path.h"
#include "base/text.h"
#include "platform/system_rules.h"

namespace kestrix {
namespace {

template <std::size_t count>
std::string_view otherSide(const std::array<UTIAssistant::WordPair, count>& pairs, std::string_view word) {
    const auto found = std::ranges::find(pairs, word, &UTIAssistant::WordPair::first);
    return found == pairs.end() ? std::string_view() : found->second;
}

// The empty text is found nowhere.
bool holds(std::string_view text, std::string_view word) {
    return !word.empty() && text.find(word) != std::string_view::npos;
}

// What the makers of well-known identifiers put before every name says nothing about the type.
std::string_view withoutMaker(std::string_view identifier) {
    for (const std::string_view prefix : {"com.apple.", "public."})
        if (identifier.starts_with(prefix)) identifier.remove_prefix(prefix.size());
    return identifier;
}

}  // namespace

std::string_view UTIAssistant::specialCaseToUTI(std::string_view word) {
    return otherSide(kSpecialCaseToUTI, word);
}

std::string_view UTIAssistant::utiSubstitution(std::string_view word) {
    return otherSide(kUtiSubstitutions, word);
}

// The lock is held for the dictionary alone: a description may have to be read from disk.
std::optional<std::string> UTIAssistant::kindStringForExtension(std::string_view extension) const {
    if (extension.empty()) return std::nullopt;
    std::optional<std::string> kind;
    const bool isKnown = kindStringCache_.read([&](const auto& cache) {
        const auto found = cache.find(extension);
        if (found != cache.end()) kind = found->second;
        return found != cache.end();
    });
    if (isKnown) return kind;

    if (const auto type = types_.forExtension(extension)) {
        const std::string& description = types_.describe(*type).description;
        if (!description.empty()) kind = text::withFirstCharacterUpper(description);
    }
    kindStringCache_.modify([&](auto& cache) { cache.emplace(extension, kind); });
    return kind;
}

std::optional<std::string> UTIAssistant::finderKindStringForFile(const std::string& path,
                                                                 bool isDirectory) const {
    const std::string_view extension = path::extension(path);
    if (isDirectory) return isPackageExtension(extension) ? kindStringForExtension(extension) : "Folder";
    const auto type = types_.ofFile(path);
    if (!type || type == types_.forExtension(extension)) return kindStringForExtension(extension);
    return text::withFirstCharacterUpper(types_.describe(*type).description);
}

bool UTIAssistant::utiInformationIncludesWord(std::string_view extension, std::string_view word) const {
    if (word == "app") return extension == "app";
    const auto type = types_.forExtension(extension);
    return type && utiInformationIncludesWord(*type, word);
}

// The kind string is the description, so that it is among what is gathered here.
bool UTIAssistant::utiInformationIncludesWord(FileTypeId type, std::string_view word) const {
    const std::string_view substitute = utiSubstitution(word);
    const auto mentions = [&](const std::string& information) {
        const std::string lowered = text::lowered(information);
        const std::string_view bare = withoutMaker(lowered);
        return holds(bare, word) || holds(bare, substitute);
    };
    const FileType& described = types_.describe(type);
    const auto anyMentions = [&](const std::vector<std::string>& list) {
        return std::ranges::any_of(list, mentions);
    };
    return mentions(described.identifier) || mentions(described.description) ||
           anyMentions(described.otherNames) || anyMentions(described.parents) ||
           anyMentions(described.extensions) || anyMentions(described.mimeTypes);
}

}  // namespace kestrix
