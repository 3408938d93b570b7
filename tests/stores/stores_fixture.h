// Two processes' worth of settings over one file, and a main queue and a clock moved by hand.
#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "base/error.h"
#include "base/main_queue.h"
#include "base/notification_center.h"
#include "shell/preferences.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {

class StoresTest : public ::testing::Test {
  protected:
    using Json = nlohmann::json;

    // How often `name` has been announced since this was called last.
    int announced() {
        queue.runPending();
        return std::exchange(announcements, 0);
    }
    NotificationCenter::Observation count(const char* name) {
        return notifications.observe(name, [this] { ++announcements; });
    }
    // What stands in the file, whatever memory holds.
    Json stored(const std::string& key) const {
        return SettingsStore(store.file()).get(key).value_or(nullptr);
    }
    // The good entry, and after it one for each way of spoiling it: a key left out, a value of another type.
    static Json withSpoiltEntries(const Json& good) {
        Json all = Json::array({good, "text", nullptr});
        for (const auto& [key, value] : good.items()) {
            Json lacking = good, wrong = good;
            lacking.erase(key);
            wrong[key] = Json::array();
            all.insert(all.end(), {lacking, wrong});
        }
        return all;
    }

    TemporaryFolder folder;
    ManualClock clock;
    RunLoop queue{clock};
    NotificationCenter notifications{queue};
    SettingsStore store{folder.path("settings.json")};
    Preferences preferences{store, &notifications};
    SettingsStore otherStore{folder.path("settings.json")};
    Preferences otherPreferences{otherStore};
    int announcements = 0;
};

}  // namespace kestrix
