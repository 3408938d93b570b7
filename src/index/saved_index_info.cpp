#include "index/saved_index_info.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <utility>

#include "base/base64.h"
#include "index/json_fields.h"

namespace kestrix {

namespace {

using enum CachingUpdatesTag;

constexpr std::int64_t kDay = 86'400;
constexpr std::pair<CachingUpdatesTag, std::int64_t> kSeconds[] = {
    {day, kDay},      {twoDays, 2 * kDay},    {threeDays, 3 * kDay},
    {week, 7 * kDay}, {fortnight, 14 * kDay}, {month, 31 * kDay},
};
constexpr std::array kWithoutSeconds = {defaultTiming, appRestart, never};

std::optional<std::string> bookmark(const JsonFields& fields, const char* key) {
    const auto text = fields.optional<std::string>(key);
    if (!text) return std::nullopt;
    auto bytes = bytesOfBase64(*text);
    if (!bytes) fields.refuse(key);
    return bytes;
}

}  // namespace

std::optional<CachingUpdatesTag> cachingUpdatesTagOf(std::int64_t rawValue) {
    for (const auto& [tag, seconds] : kSeconds)
        if (rawValue == static_cast<int>(tag)) return tag;
    for (const CachingUpdatesTag tag : kWithoutSeconds)
        if (rawValue == static_cast<int>(tag)) return tag;
    return std::nullopt;
}

std::optional<std::int64_t> secondsOf(CachingUpdatesTag tag) {
    const auto* found = std::find_if(std::begin(kSeconds), std::end(kSeconds),
                                     [tag](const auto& entry) { return entry.first == tag; });
    if (found == std::end(kSeconds)) return std::nullopt;
    return found->second;
}

nlohmann::json toJson(const SavedIndexInfo& info) {
    nlohmann::json json{{"displayName", info.displayName},
                        {"localDBFilePath", info.localDBFilePath},
                        {"updatesEvery", info.updatesEvery},
                        {"indexMode", static_cast<int>(info.indexMode)}};
    if (info.targetURL) json["targetURL"] = fileUrlOf(*info.targetURL, true);
    if (info.targetBookmark) json["targetBookmark"] = base64(*info.targetBookmark);
    if (info.remoteDBBookmark) json["remoteDBBookmark"] = base64(*info.remoteDBBookmark);
    if (info.uuidString) json["uuidString"] = *info.uuidString;
    return json;
}

SavedIndexInfo savedIndexInfoFromJson(const nlohmann::json& json) {
    const JsonFields fields(json, "the description of a catalog in the settings");
    SavedIndexInfo info;
    info.displayName = fields.required<std::string>("displayName");
    info.localDBFilePath = fields.required<std::string>("localDBFilePath");
    info.updatesEvery = fields.required<std::int64_t>("updatesEvery");
    info.indexMode = fields.indexMode("indexMode");
    info.targetURL = fields.optionalPath("targetURL");
    info.targetBookmark = bookmark(fields, "targetBookmark");
    info.remoteDBBookmark = bookmark(fields, "remoteDBBookmark");
    info.uuidString = fields.optional<std::string>("uuidString");
    return info;
}

}  // namespace kestrix
