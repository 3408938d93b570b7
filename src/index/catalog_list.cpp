#include "index/catalog_list.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>

#include "base/error.h"
#include "base/path.h"
#include "index/content_index.h"

namespace kestrix {

namespace {

using Json = nlohmann::json;

constexpr const char* kKey = "SavedIndexInfo";
constexpr const char* kLegacyKey = "FSCompactIndexesManagerMetaData";

std::optional<SavedIndexInfo> recordOf(const Json& json) {
    try {
        return savedIndexInfoFromJson(json);
    } catch (const Error&) {
        return std::nullopt;
    }
}

std::optional<std::string> textOf(const Json& record, const char* key) {
    const auto found = record.find(key);
    if (found == record.end() || !found->is_string()) return std::nullopt;
    return found->get<std::string>();
}

std::optional<std::string> folderOf(const Json& record, const char* key) {
    auto text = textOf(record, key);
    if (!text || text->empty()) return std::nullopt;
    if (text->front() == '/') return text;
    return pathOfFileUrl(*text);
}

// The folder was stored as a path on its disk where the disk alone was not meant.
std::optional<SavedIndexInfo> legacyRecordOf(const Json& record, const std::string& folder,
                                             const DiskInfoManager& disks) {
    const auto file = record.is_object() ? textOf(record, "cacheFileName") : std::nullopt;
    if (!file || file->empty()) return std::nullopt;
    SavedIndexInfo info;
    info.localDBFilePath = file->front() == '/' ? *file : path::join(folder, *file);
    info.targetURL = folderOf(record, "rootDirectory");
    if (!info.targetURL) info.targetURL = folderOf(record, "diskURL");
    info.displayName = info.targetURL ? suggestedCatalogName(*info.targetURL, disks)
                                      : std::string(path::lastComponent(*file));
    if (const auto tag = record.find("updatesEvery"); tag != record.end() && tag->is_number_integer())
        info.updatesEvery = tag->get<std::int64_t>();
    if (const auto words = record.find("contentIndex"); words != record.end() && *words == true)
        info.indexMode = ContentIndexMode::textDocuments;
    info.uuidString = textOf(record, "id");
    return info;
}

std::vector<SavedIndexInfo> loadLegacy(const Preferences& preferences, const std::string& folder,
                                       const DiskInfoManager& disks) {
    std::vector<SavedIndexInfo> infos;
    for (const Json& record : preferences.value(kLegacyKey).value_or(Json::array())) {
        if (auto info = legacyRecordOf(record, folder, disks)) infos.push_back(*std::move(info));
    }
    return infos;
}

}  // namespace

std::string identityOf(const SavedIndexInfo& info) {
    return info.uuidString && !info.uuidString->empty() ? *info.uuidString : info.localDBFilePath;
}

std::vector<SavedIndexInfo> loadCatalogList(const Preferences& preferences, const std::string& folder,
                                            const DiskInfoManager& disks) {
    const auto stored = preferences.value(kKey);
    if (!stored) return loadLegacy(preferences, folder, disks);
    std::vector<SavedIndexInfo> infos;
    if (!stored->is_array()) return infos;
    for (const Json& record : *stored) {
        if (auto info = recordOf(record)) infos.push_back(*std::move(info));
    }
    return infos;
}

void saveCatalogList(Preferences& preferences, const std::vector<SavedIndexInfo>& ours,
                     std::set<std::string>& seen) {
    preferences.modify(kKey, [&](Json& value) {
        Json merged = Json::array();
        std::set<std::string> stored;
        for (const Json& record : value.is_array() ? value : Json::array()) {
            const auto info = recordOf(record);
            const std::string identity = info ? identityOf(*info) : std::string();
            const auto mine = std::ranges::find(ours, identity, identityOf);
            if (info && mine == ours.end() && seen.contains(identity)) continue;
            merged.push_back(mine == ours.end() ? record : toJson(*mine));
            stored.insert(identity);
        }
        for (const SavedIndexInfo& info : ours) {
            const bool isNew = !stored.contains(identityOf(info)) && !seen.contains(identityOf(info));
            if (isNew) merged.push_back(toJson(info));
        }
        value = std::move(merged);
    });
    for (const SavedIndexInfo& info : ours)
        seen.insert(identityOf(info));
}

}  // namespace kestrix
