// Both judgements run once for each result, so they allocate nothing and look at as few bytes as they can.
#include "files/fs_utilities.h"

#include "base/path.h"
#include "platform/system_rules.h"

namespace kestrix {

namespace {

constexpr std::string_view kFramework = "framework";

// The text after the last dot of a name that holds one.
std::string_view extensionOf(std::string_view name) {
    return name.substr(name.rfind('.') + 1);
}

// Whether the start takes anything off the path: "/" is no named place, and what does not lie below the start
// has none.
bool isNamedStart(std::string_view path, std::string_view start) {
    return !start.empty() && start != "/" && path::isOrIsBelow(path, start);
}

}  // namespace

// A start outside the system folders may still have one below it, so the path is judged whole then.
bool FSUtilities::isInsideOSDirectory(std::string_view path, std::string_view start) {
    path = path::withoutTrailingSlash(path);
    start = path::withoutTrailingSlash(start);
    if (isNamedStart(path, start)) {
        return path.size() > start.size() && isInSystemFolder(path) && !isInSystemFolder(start);
    }
    return path == "/" || isInSystemFolder(path);
}

// Jumps from dot to dot: a component without one is neither hidden nor a package, and most have none.
bool FSUtilities::isInvisibleOrInsidePackage(std::string_view path, std::string_view start) {
    path = path::withoutTrailingSlash(path);
    start = path::withoutTrailingSlash(start);
    if (isNamedStart(path, start)) path.remove_prefix(start.size());
    std::size_t end = 0;
    for (std::size_t dot = path.find('.'); dot != std::string_view::npos; dot = path.find('.', end)) {
        if (dot == 0 || path[dot - 1] == '/') return true;
        end = std::min(path.find('/', dot), path.size());
        const std::string_view extension = extensionOf(path.substr(dot, end - dot));
        if (extension == kFramework) return true;
        if (end < path.size() && isPackageExtension(extension)) return true;
    }
    return false;
}

bool FSUtilities::isClosedFolderName(std::string_view name) {
    if (name.find('.') == std::string_view::npos) return false;
    if (isInvisibleName(name)) return true;
    const std::string_view extension = extensionOf(name);
    return extension == kFramework || isPackageExtension(extension);
}

bool FSUtilities::isHidden(std::string_view path) {
    return isInvisibleName(path::lastComponent(path));
}

bool FSUtilities::hasPackageExtension(std::string_view path) {
    return isPackageExtension(path::extension(path));
}

}  // namespace kestrix
