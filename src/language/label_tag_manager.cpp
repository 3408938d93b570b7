#include "language/label_tag_manager.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/text.h"
#include "platform/tags.h"

namespace kestrix {
namespace {

constexpr const char* kSetting = "KnownTags";

}  // namespace

std::vector<std::string> LabelTagManager::labels(const std::string& path) {
    std::vector<std::string> tags = readTags(path);
    remember(tags);
    return tags;
}

void LabelTagManager::setLabels(const std::string& path, const std::vector<std::string>& tags) {
    writeTags(path, tags);
    remember(readTags(path));
}

std::vector<std::string> LabelTagManager::tagsForDisplay() const {
    std::set<std::string> known = met_.get();
    for (std::string& tag : preferences_.strings(kSetting))
        known.insert(std::move(tag));
    std::vector<std::string> tags(known.begin(), known.end());
    std::ranges::sort(tags, [](const auto& a, const auto& b) { return text::naturalCompare(a, b) < 0; });
    return tags;
}

void LabelTagManager::save() {
    const std::set<std::string> met = met_.get();
    const std::vector<std::string> stored = preferences_.strings(kSetting);
    const auto isStored = [&stored](const std::string& tag) {
        return std::ranges::find(stored, tag) != stored.end();
    };
    if (std::ranges::all_of(met, isStored)) return;
    preferences_.modify(kSetting, [&met](nlohmann::json& value) {
        if (!value.is_array()) value = nlohmann::json::array();
        for (const std::string& tag : met)
            if (std::find(value.begin(), value.end(), nlohmann::json(tag)) == value.end())
                value.push_back(tag);
    });
}

void LabelTagManager::remember(const std::vector<std::string>& tags) {
    // The setting is JSON, which holds no bytes that are not text.
    met_.modify([&tags](std::set<std::string>& met) {
        for (const std::string& tag : tags)
            if (text::isValidUtf8(tag)) met.insert(tag);
    });
}

}  // namespace kestrix
