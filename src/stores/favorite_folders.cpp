#include "stores/favorite_folders.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/error.h"
#include "base/path.h"
#include "base/text.h"

namespace kestrix {

namespace {

using Json = nlohmann::json;
using Folders = std::map<std::string, std::string>;

constexpr const char* kFolders = "RememberedFolders";
constexpr const char* kDownloadsName = "RememberedFoldersDownloadsFolderName";
constexpr const char* kFirstLoad = "firstRememberedItemsLoad";
constexpr const char* kDomain = "FavoriteFolders";

Folders foldersFrom(const Json& stored) {
    Folders folders;
    if (!stored.is_object()) return folders;
    for (const auto& [key, path] : stored.items()) {
        if (path.is_string()) folders.emplace(key, path.get<std::string>());
    }
    return folders;
}

void demandStorable(const std::string& path) {
    if (path.empty()) throw Error(kDomain, 0, "A favourite needs a path");
    if (text::isValidUtf8(path)) return;
    throw Error(kDomain, 0, text::displayable(path) + ": a favourite's path must be valid UTF-8");
}

std::vector<std::string_view> wordsOf(std::string_view name) {
    return text::split(name, text::isWhiteSpaceOrNewline);
}

// Leading blanks of a name count for nothing: an empty key could never be typed.
std::string keyOf(const std::string& path) {
    const auto words = wordsOf(path::lastComponent(path));
    return words.empty() ? "" : text::lowered(words.front());
}

std::string freeKey(const Folders& folders, std::string key) {
    for (int counter = 1; folders.contains(key); ++counter) {
        key = key.substr(0, key.find('-')) + "-" + std::to_string(counter);
    }
    return key;
}

std::string addTo(Folders& folders, const std::string& path) {
    const std::string key = freeKey(folders, keyOf(path));
    folders.emplace(key, path);
    return key;
}

// A name that was typed must be a word that can be typed in a line.
std::string demandKey(const std::string& name) {
    const auto words = wordsOf(name);
    if (words.size() != 1 || !text::isValidUtf8(name)) {
        throw Error(kDomain, 0, "\"" + text::displayable(name) + "\": a favourite's name must be one word");
    }
    return text::lowered(words.front());
}

bool holdsPath(const Folders& folders, const std::string& path) {
    return std::any_of(folders.begin(), folders.end(), [&](const auto& pair) {
        return path::withoutTrailingSlash(pair.second) == path::withoutTrailingSlash(path);
    });
}

std::optional<std::string> downloadsIn(const Folders& folders, const std::string& name) {
    if (folders.contains(name)) return name;
    for (const auto& [key, path] : folders) {
        if (path::withoutTrailingSlash(path).ends_with(name)) return key;
    }
    return std::nullopt;
}

}  // namespace

FavoriteFolders::FavoriteFolders(Preferences& preferences, NotificationCenter& notifications,
                                 std::string home)
    : preferences_(preferences), notifications_(notifications), home_(std::move(home)) {}

// Of two processes that launch first together, one alone adds the desktop.
void FavoriteFolders::startup() {
    bool isFirst = false;
    if (!preferences_.boolean(kFirstLoad)) {
        preferences_.modify(kFirstLoad, [&](Json& loaded) {
            isFirst = loaded != true;
            loaded = true;
        });
    }
    if (isFirst) add(home_ + "/Desktop/");
    ensureDownloadsExists();
}

Folders FavoriteFolders::keyFolderPairs() const {
    const auto stored = preferences_.value(kFolders);
    return stored ? foldersFrom(*stored) : Folders();
}

std::vector<FavoriteFolders::Pair> FavoriteFolders::sortedPairs() const {
    const Folders folders = keyFolderPairs();
    return {folders.begin(), folders.end()};
}

std::string FavoriteFolders::add(const std::string& path) {
    demandStorable(path);
    std::string key;
    preferences_.modify(kFolders, [&](Json& stored) {
        Folders folders = foldersFrom(stored);
        key = addTo(folders, path);
        stored = folders;
    });
    announce();
    return key;
}

bool FavoriteFolders::remove(const std::string& key) {
    bool removed = false;
    preferences_.modify(kFolders, [&](Json& stored) {
        Folders folders = foldersFrom(stored);
        removed = folders.erase(key) > 0;
        if (removed) stored = folders;
    });
    if (removed) announce();
    return removed;
}

bool FavoriteFolders::deleteDisplayItem(std::size_t index) {
    const auto key = keyAt(index);
    return key && remove(*key);
}

bool FavoriteFolders::change(const std::string& key, const std::string& newName, const std::string& newPath) {
    demandStorable(newPath);
    const std::string newKey = demandKey(newName);
    bool changed = false;
    preferences_.modify(kFolders, [&](Json& stored) {
        Folders folders = foldersFrom(stored);
        if (folders.erase(key) == 0) return;
        if (!folders.emplace(newKey, newPath).second) {
            throw Error(kDomain, 0, "\"" + newKey + "\" is the name of another favourite");
        }
        stored = folders;
        changed = true;
    });
    if (changed) announce();
    return changed;
}

bool FavoriteFolders::changeDisplayItem(std::size_t index, const std::string& newName,
                                        const std::string& newPath) {
    const auto key = keyAt(index);
    return key && change(*key, newName, newPath);
}

std::optional<std::string> FavoriteFolders::downloadsName() const {
    return downloadsIn(keyFolderPairs(), downloadsSetting());
}

// Looked for twice: a usual launch ends with the first look and leaves the settings file alone, the second
// sees what another process has added meanwhile. The path itself is looked for too: where the user has given
// the downloads another name that no favourite bears, each launch would otherwise add the folder once more.
void FavoriteFolders::ensureDownloadsExists() {
    if (downloadsName()) return;
    const std::string path = home_ + "/Downloads/";
    demandStorable(path);
    const std::string name = downloadsSetting();
    bool added = false;
    preferences_.modify(kFolders, [&](Json& stored) {
        Folders folders = foldersFrom(stored);
        if (downloadsIn(folders, name) || holdsPath(folders, path)) return;
        addTo(folders, path);
        stored = folders;
        added = true;
    });
    if (added) announce();
}

// An empty name would be the end of every path.
std::string FavoriteFolders::downloadsSetting() const {
    const std::string name = preferences_.string(kDownloadsName);
    return name.empty() ? "Downloads" : name;
}

std::optional<std::string> FavoriteFolders::keyAt(std::size_t index) const {
    const auto pairs = sortedPairs();
    if (index >= pairs.size()) return std::nullopt;
    return pairs[index].first;
}

void FavoriteFolders::announce() {
    notifications_.post(DidChangeNotification);
}

}  // namespace kestrix
