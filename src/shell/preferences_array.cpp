#include <algorithm>
#include <nlohmann/json.hpp>

#include "shell/preferences.h"

namespace kestrix {

PreferencesArray::PreferencesArray(Preferences& preferences, std::optional<std::string> defaultsKey,
                                   std::size_t maxElements)
    : preferences_(preferences), defaultsKey_(std::move(defaultsKey)), maxElements_(maxElements) {}

void PreferencesArray::load() {
    if (defaultsKey_) contents_ = preferences_.strings(*defaultsKey_);
}

void PreferencesArray::save() {
    if (defaultsKey_) preferences_.set(*defaultsKey_, contents_);
}

void PreferencesArray::add(const std::string& element) {
    std::erase(contents_, element);
    contents_.push_back(element);
    const std::size_t excess = contents_.size() - std::min(contents_.size(), maxElements_);
    contents_.erase(contents_.begin(), contents_.begin() + static_cast<std::ptrdiff_t>(excess));
}

void PreferencesArray::addAndSave(const std::string& element) {
    if (!defaultsKey_) return add(element);
    preferences_.modify(*defaultsKey_, [&](nlohmann::json& stored) {
        contents_.clear();
        if (stored.is_array()) {
            for (const auto& each : stored) {
                if (each.is_string()) contents_.push_back(each.get<std::string>());
            }
        }
        add(element);
        stored = contents_;
    });
}

}  // namespace kestrix
