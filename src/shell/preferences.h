// All settings of the application by name, with registered defaults behind the stored values.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "base/lock.h"
#include "base/notification_center.h"
#include "platform/settings_store.h"

namespace kestrix {

// A registered default applies whenever the store has no value of its own for the key, and is never written
// to it. Threads: any. Failures: readers never throw (a value of the wrong type counts as its default);
// writers throw Error.
class Preferences {
  public:
    // Posted through the notification center after each change made here.
    static constexpr const char* DidChangeNotification = "Preferences.DidChangeNotification";

    // `notifications` may be nullptr: nothing is announced then. Registers the defaults; reads and writes
    // nothing.
    explicit Preferences(SettingsStore& store, NotificationCenter* notifications = nullptr);
    ~Preferences();

    // Once at launch, before other code reads: notes a new build ("isNewVersion" of `buildNumber`, stored
    // under "lastBuildNumber") and writes the two settings that other processes read from the store,
    // "showInMenuBar" and "bringToFrontHotKey", where they have no value. Throws Error when these cannot be
    // written.
    void startup(const std::string& buildNumber);
    bool isNewVersion() const { return isNewVersion_; }

    bool boolean(const std::string& key) const;
    std::int64_t integer(const std::string& key) const;
    double real(const std::string& key) const;
    std::string string(const std::string& key) const;
    // Elements that are not strings are left out.
    std::vector<std::string> strings(const std::string& key) const;
    // The stored value, else the registered default, else nothing.
    std::optional<nlohmann::json> value(const std::string& key) const;
    bool hasStoredValue(const std::string& key) const;
    std::optional<nlohmann::json> registeredDefault(const std::string& key) const;

    void set(const std::string& key, nlohmann::json value);
    bool unset(const std::string& key);
    // See SettingsStore::modify; the value handed over is the stored one, never a default.
    void modify(const std::string& key, const std::function<void(nlohmann::json& value)>& change);

    // Registers a default of another part of the program, or replaces one.
    void registerDefault(const std::string& key, nlohmann::json value);

    // Every key with a stored value or a default, sorted.
    std::vector<std::string> keys() const;

    // 0 icons, 1 list, 2 automatic; any stored value that is none of these counts as automatic.
    int resultsViewStyle() const;

    // Registers a handler for DidChangeNotification, on the main queue.
    [[nodiscard]] NotificationCenter::Observation preferencesDidChangeNotification(
        NotificationCenter::Handler handler);

  private:
    void noteBuild(const std::string& buildNumber);
    void setIfMissing(const std::string& key, bool value);
    void announce();

    SettingsStore& store_;
    NotificationCenter* notifications_;
    struct Defaults;
    std::unique_ptr<Defaults> defaults_;
    bool isNewVersion_ = false;
};

// A list of strings kept in one setting; what exceeds the maximum falls out at the old end. One thread at a
// time.
class PreferencesArray {
  public:
    // No key: the list is not kept.
    PreferencesArray(Preferences& preferences, std::optional<std::string> defaultsKey,
                     std::size_t maxElements);

    void load();
    void save();
    // Adds at the end; an equal element moves there. Drops the oldest above the maximum. Does not save.
    void add(const std::string& element);
    // Adds to the list as it is stored now, with what other processes have added meanwhile, and saves it.
    // What was added before and not saved is forgotten.
    void addAndSave(const std::string& element);

    const std::vector<std::string>& contents() const { return contents_; }

  private:
    Preferences& preferences_;
    std::optional<std::string> defaultsKey_;
    std::size_t maxElements_;
    std::vector<std::string> contents_;
};

}  // namespace kestrix
