#include "files/ignore_items.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

#include "base/path.h"

namespace kestrix {

namespace {

constexpr const char* kFolders = "ignoreFolders";
constexpr const char* kExtensions = "ignoreExtensions";
constexpr const char* kFirstLoad = "firstIgnoreItemsLoad";

using Items = std::vector<IgnoreItem>;

// A folder of a disk is meant wherever the disk is mounted: lists that come from systems with one place for
// all disks name that place first.
std::string folderText(std::string_view folder) {
    constexpr std::string_view kPlaceOfDisks = "/Volumes/";
    if (folder.starts_with(kPlaceOfDisks)) folder.remove_prefix(kPlaceOfDisks.size());
    return std::string(folder);
}

std::string extensionText(std::string_view extension) {
    if (extension.starts_with('.')) extension.remove_prefix(1);
    return std::string(extension);
}

bool holds(const Items& items, std::string_view text) {
    return std::ranges::find(items, text, &IgnoreItem::text) != items.end();
}

std::vector<std::string> textsOf(const Items& items) {
    std::vector<std::string> texts;
    for (const IgnoreItem& item : items)
        texts.push_back(item.text);
    return texts;
}

bool contains(const std::vector<std::string>& texts, const std::string& text) {
    return std::ranges::find(texts, text) != texts.end();
}

// What is stored now, without what was taken out here and with what was added here since `loaded`: an edit
// that another process made meanwhile stays.
void merge(nlohmann::json& stored, const std::vector<std::string>& loaded,
           const std::vector<std::string>& now) {
    std::vector<std::string> merged;
    if (stored.is_array()) {
        for (const auto& element : stored) {
            if (!element.is_string()) continue;
            std::string text = folderText(element.get<std::string>());
            if (!contains(loaded, text) || contains(now, text)) merged.push_back(std::move(text));
        }
    }
    for (const std::string& text : now) {
        if (!contains(merged, text) && !contains(loaded, text)) merged.push_back(text);
    }
    stored = std::move(merged);
}

// Runs for every file that a search judges, so the path is not taken to pieces.
bool hasComponent(std::string_view path, std::string_view name) {
    if (name.empty() || name.find('/') != std::string_view::npos) return false;
    for (std::size_t at = path.find(name); at != std::string_view::npos; at = path.find(name, at + 1)) {
        const std::size_t end = at + name.size();
        if ((at == 0 || path[at - 1] == '/') && (end == path.size() || path[end] == '/')) return true;
    }
    return false;
}

bool occursIn(std::string_view path, std::string_view text) {
    return text.find('/') != std::string_view::npos ? path.find(text) != std::string_view::npos
                                                    : hasComponent(path, text);
}

bool removeFrom(Items& items, const Uuid& id) {
    return std::erase_if(items, [&id](const IgnoreItem& item) { return item.id == id; }) > 0;
}

}  // namespace

IgnoreItems::IgnoreItems(Preferences& preferences) : preferences_(preferences) {
    for (const std::string& folder : preferences.strings(kFolders)) {
        pathComponents_.push_back({.type = IgnoreItemType::pathComponent, .text = folderText(folder)});
    }
    for (const std::string& extension : preferences.strings(kExtensions)) {
        pathExtensions_.push_back({.type = IgnoreItemType::pathExtension, .text = extension});
    }
    loadedFolders_ = textsOf(pathComponents_);
    loadedExtensions_ = textsOf(pathExtensions_);
}

void IgnoreItems::startup(Preferences& preferences) {
    if (!preferences.boolean(kFirstLoad)) preferences.set(kFirstLoad, true);
}

void IgnoreItems::save() {
    const auto saveList = [this](const char* key, std::vector<std::string>& loaded, const Items& items) {
        const std::vector<std::string> now = textsOf(items);
        preferences_.modify(key, [&](nlohmann::json& stored) { merge(stored, loaded, now); });
        loaded = now;
    };
    saveList(kFolders, loadedFolders_, pathComponents_);
    saveList(kExtensions, loadedExtensions_, pathExtensions_);
}

bool IgnoreItems::containsPath(std::string_view path) const {
    return holds(pathComponents_, path);
}

bool IgnoreItems::containsExtension(std::string_view extension) const {
    return holds(pathExtensions_, extension);
}

bool IgnoreItems::includesFolder(std::string_view path) const {
    return std::ranges::any_of(pathComponents_, [path](const IgnoreItem& item) {
        return occursIn(path, item.text) || hasComponent(path, path::lastComponent(item.text));
    });
}

std::vector<IgnoreItem> IgnoreItems::itemsForDisplay() const {
    std::vector<IgnoreItem> rows;
    rows.reserve(pathComponents_.size() + pathExtensions_.size() + 2);
    rows.push_back({.type = IgnoreItemType::displayGroup, .text = "Folders"});
    rows.insert(rows.end(), pathComponents_.begin(), pathComponents_.end());
    rows.push_back({.type = IgnoreItemType::displayGroup, .text = "Extensions"});
    rows.insert(rows.end(), pathExtensions_.begin(), pathExtensions_.end());
    return rows;
}

// Row 0 is the heading of the folders, and one more heading stands before the extensions.
void IgnoreItems::changeDisplayItemValue(std::size_t index, const std::string& newValue, bool saveNow) {
    const std::size_t extensionsHeading = 1 + pathComponents_.size();
    if (index == 0 || index == extensionsHeading) return;
    if (index < extensionsHeading) {
        pathComponents_[index - 1].text = folderText(newValue);
    } else if (index - extensionsHeading <= pathExtensions_.size()) {
        pathExtensions_[index - extensionsHeading - 1].text = extensionText(newValue);
    } else {
        return;
    }
    if (saveNow) save();
}

bool IgnoreItems::remove(const Uuid& id) {
    return removeFrom(pathComponents_, id) || removeFrom(pathExtensions_, id);
}

void IgnoreItems::add(std::string_view fileExtension) {
    std::string text = extensionText(fileExtension);
    if (text.empty() || holds(pathExtensions_, text)) return;
    pathExtensions_.push_back({.type = IgnoreItemType::pathExtension, .text = std::move(text)});
    save();
}

void IgnoreItems::addFolder(std::string_view folder) {
    std::string text = folderText(path::withoutTrailingSlash(folder));
    if (text.empty() || holds(pathComponents_, text)) return;
    pathComponents_.push_back({.type = IgnoreItemType::pathComponent, .text = std::move(text)});
    save();
}

}  // namespace kestrix
