// What the list of catalogs keeps of each, in the setting "SavedIndexInfo": a JSON array of such objects.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "index/records.h"

namespace kestrix {

// How often a catalog is refreshed. The numbers are stored.
enum class CachingUpdatesTag : int {
    defaultTiming = 0,  // as the setting "updateCachesEvery" says
    appRestart = 100,
    day = 200,
    twoDays = 300,
    threeDays = 400,
    week = 500,
    fortnight = 600,
    month = 700,
    never = 800,
};

// Nothing for a number that is none of them.
std::optional<CachingUpdatesTag> cachingUpdatesTagOf(std::int64_t rawValue);
// Nothing for defaultTiming, appRestart and never.
std::optional<std::int64_t> secondsOf(CachingUpdatesTag tag);

struct SavedIndexInfo {
    std::string displayName;
    std::string localDBFilePath;
    std::int64_t updatesEvery = 0;  // raw value, kept as it is when it is unknown
    ContentIndexMode indexMode = ContentIndexMode::off;
    std::optional<std::string> targetURL;         // a path; a file URL in the settings
    std::optional<std::string> targetBookmark;    // opaque bytes, base64 in the settings: here the path
    std::optional<std::string> remoteDBBookmark;  // the same, of the mirror
    std::optional<std::string> uuidString;

    bool operator==(const SavedIndexInfo&) const = default;
};

nlohmann::json toJson(const SavedIndexInfo& info);
// Throws Error if a key that must be there is missing or ill-typed.
SavedIndexInfo savedIndexInfoFromJson(const nlohmann::json& json);

}  // namespace kestrix
