#include "platform/user_folders.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "base/path.h"
#include "platform/system_info.h"

namespace kestrix {

namespace {

std::string environmentValue(const char* name) {
    const char* value = ::secure_getenv(name);
    return value == nullptr ? std::string() : value;
}

// The base directory rules: a path there must be absolute, or it is to be ignored.
std::string absoluteValue(const char* name, const std::string& fallback) {
    const std::string value = environmentValue(name);
    return value.starts_with('/') ? std::string(path::withoutTrailingSlash(value)) : fallback;
}

std::string homeOfPasswordDatabase() {
    std::vector<char> buffer(16'384);
    passwd entry{};
    passwd* found = nullptr;
    int result = 0;
    while ((result = ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found)) == ERANGE) {
        buffer.resize(buffer.size() * 2);
    }
    if (result != 0 || found == nullptr || found->pw_dir == nullptr || found->pw_dir[0] != '/') return {};
    return std::string(path::withoutTrailingSlash(found->pw_dir));
}

}  // namespace

UserFolders UserFolders::fromEnvironment() {
    UserFolders folders;
    folders.home = homeOfPasswordDatabase();
    // The base directories hang on $HOME, also where the password database tells another home.
    const std::string shellHome = absoluteValue("HOME", folders.home.empty() ? "/" : folders.home);
    if (folders.home.empty()) folders.home = shellHome;

    const std::string own = environmentValue("KESTRIX_HOME");
    if (!own.empty()) {
        const std::string base =
            own.starts_with('/') ? path::normalized(own, "/") : path::normalized(own, workingDirectory());
        folders.settingsFile = path::join(base, "settings.json");
        folders.data = path::join(base, "data");
        folders.cache = path::join(base, "cache");
        return folders;
    }
    const auto baseFolder = [&](const char* name, std::string_view below) {
        return absoluteValue(name, path::join(shellHome, below));
    };
    folders.settingsFile = path::join(baseFolder("XDG_CONFIG_HOME", ".config"), "kestrix/settings.json");
    folders.data = path::join(baseFolder("XDG_DATA_HOME", ".local/share"), "kestrix");
    folders.cache = path::join(baseFolder("XDG_CACHE_HOME", ".cache"), "kestrix");
    return folders;
}

std::vector<std::string> sharedDataFolders() {
    const std::string home = absoluteValue("HOME", "/");
    std::vector<std::string> folders{absoluteValue("XDG_DATA_HOME", path::join(home, ".local/share"))};
    const std::string value = environmentValue("XDG_DATA_DIRS");
    std::string_view rest = value.empty() ? std::string_view("/usr/local/share:/usr/share") : value;
    while (!rest.empty()) {
        const std::string_view folder = rest.substr(0, rest.find(':'));
        if (folder.starts_with('/')) folders.emplace_back(path::withoutTrailingSlash(folder));
        rest.remove_prefix(std::min(rest.size(), folder.size() + 1));
    }
    return folders;
}

}  // namespace kestrix
