#include "results/kind_texts.h"

#include <utility>

#include "base/path.h"
#include "base/text.h"
#include "files/fs_utilities.h"

namespace kestrix {
namespace {

KindTexts::Kind kindCalled(std::string name) {
    std::string key = text::collationKey(name);
    return {std::move(name), std::move(key)};
}

}  // namespace

const KindTexts::Kind& KindTexts::kindOf(std::string_view path, bool isDirectory) const {
    const std::string_view extension = path::extension(path);
    if (!isDirectory) {
        static const Kind kFile = kindCalled("File");
        return extension.empty() ? kFile : kindOfExtension(extension, " file");
    }
    static const Kind kFolder = kindCalled("Folder");
    return FSUtilities::hasPackageExtension(path) ? kindOfExtension(extension, " package") : kFolder;
}

// The same extension may stand for a package and, on a file, for something that nobody knows; so the ending
// belongs to the key. No extension holds a slash.
const KindTexts::Kind& KindTexts::kindOfExtension(std::string_view extension, std::string_view ending) const {
    std::string key(extension);
    if (ending != " file") key += '/';
    const Kind* known = kinds_.read([&](const auto& kinds) {
        const auto found = kinds.find(key);
        return found == kinds.end() ? nullptr : found->second.get();
    });
    if (known) return *known;
    auto name = typeNames_.kindStringForExtension(extension);
    if (!name) name = text::displayable(text::uppered(extension)).append(ending);
    auto kind = std::make_unique<const Kind>(kindCalled(std::move(*name)));
    return *kinds_.modify(
        [&](auto& kinds) { return kinds.try_emplace(std::move(key), std::move(kind)).first->second.get(); });
}

const KindTexts::Kind& KindTexts::alias() {
    static const Kind kAlias = kindCalled("Alias");
    return kAlias;
}

const KindTexts::Kind& KindTexts::none() {
    static const Kind kNone;
    return kNone;
}

}  // namespace kestrix
