// Two locks, always taken in this order: the lock on the file, which writers hold from reading to replacing,
// and the one on the memory, which is held for reading the file the first time and for copying values.
// Foreign code (a change, the news of damage) runs under the file lock or under none.
#include "platform/settings_store.h"

#include <algorithm>
#include <mutex>
#include <nlohmann/json.hpp>

#include "base/error.h"
#include "base/lock.h"
#include "platform/stored_file.h"

namespace kestrix {

using nlohmann::json;

namespace {

constexpr const char* kSettingsDomain = "Settings";

// The JSON library writes, copies and compares by recursion: what nests deeper than anyone's settings could
// overrun the stack there. (Its parser and destructor do not recurse.)
constexpr int kDeepest = 200;

bool isDeeperThan(const json& value, int levels) {
    if (!value.is_structured()) return false;
    if (levels == 0) return true;
    return std::ranges::any_of(value, [levels](const json& part) { return isDeeperThan(part, levels - 1); });
}

// The settings in these bytes; nothing if they are damaged. No bytes at all are what a file is that was just
// made: no settings.
std::optional<json> parseSettings(const std::string& bytes) {
    if (bytes.empty()) return json::object();
    json parsed = json::parse(bytes, nullptr, false);
    if (!parsed.is_object() || isDeeperThan(parsed, kDeepest)) return std::nullopt;
    return parsed;
}

std::optional<json> readSettings(const std::string& file) {
    const auto bytes = readWholeFile(file);
    return bytes ? parseSettings(*bytes) : json::object();
}

std::optional<json> readSettingsIfPossible(const std::string& file) {
    try {
        return readSettings(file);
    } catch (const Error&) {
        return json::object();
    }
}

// Bytes that are no UTF-8 become U+FFFD, a number that is not finite becomes null.
std::string textOf(const json& value) {
    return value.dump(2, ' ', false, json::error_handler_t::replace);
}

void refuseIfTooDeep(const std::string& key, const json& value) {
    if (!isDeeperThan(value, kDeepest - 1)) return;
    throw Error(kSettingsDomain, 1, "cannot store the setting " + key + ": it nests too deeply");
}

json valueIn(const json& settings, const std::string& key) {
    const auto place = settings.find(key);
    return place == settings.end() ? json() : *place;
}

}  // namespace

struct SettingsStore::State {
    std::string file;
    Damaged onDamage;
    Lock lock;
    bool isLoaded = false;  // both under the lock
    json settings = json::object();

    void load();
    void setDamagedFileAside();
    bool tryModify(const std::string& key, const std::function<void(json&)>& change);
    void remember(json now);

    template <typename Use>
    auto read(Use use) {
        load();
        std::lock_guard hold(lock);
        return use(static_cast<const json&>(settings));
    }
};

void SettingsStore::State::load() {
    {
        std::lock_guard hold(lock);
        if (isLoaded) return;
        if (auto found = readSettingsIfPossible(file)) {
            settings = std::move(*found);
            isLoaded = true;
            return;
        }
    }
    try {
        setDamagedFileAside();
    } catch (const Error&) {  // NOLINT(bugprone-empty-catch)
        // Reading goes on without it; the next write fails with the reason.
    }
    std::lock_guard hold(lock);
    if (isLoaded) return;
    settings = readSettingsIfPossible(file).value_or(json::object());
    isLoaded = true;
}

// Looks again under the file lock: another process may have set it aside and written a sound one meanwhile.
void SettingsStore::State::setDamagedFileAside() {
    std::string keptAs;
    {
        const FileLock fileLock(file);
        if (readSettings(file)) return;
        keptAs = setAside(file);
    }
    if (onDamage) onDamage(keptAs);
}

// False if the file is damaged.
bool SettingsStore::State::tryModify(const std::string& key, const std::function<void(json&)>& change) {
    const FileLock fileLock(file);
    auto now = readSettings(file);
    if (!now) return false;
    const json before = valueIn(*now, key);
    json after = before;
    change(after);
    refuseIfTooDeep(key, after);
    // Compared as written: to the library 1 and 1.0 are equal.
    if (textOf(after) != textOf(before)) {
        if (after.is_null()) {
            now->erase(key);
        } else {
            (*now)[key] = std::move(after);
        }
        const std::string text = textOf(*now) + "\n";
        replaceFile(file, text);
        now = parseSettings(text);  // what is remembered is what the file holds
    }
    remember(now ? std::move(*now) : json::object());
    return true;
}

void SettingsStore::State::remember(json now) {
    std::lock_guard hold(lock);
    settings = std::move(now);
    isLoaded = true;
}

SettingsStore::SettingsStore(std::string file, Damaged onDamage) : state_(std::make_unique<State>()) {
    state_->file = std::move(file);
    state_->onDamage = std::move(onDamage);
}

SettingsStore::~SettingsStore() = default;

std::optional<json> SettingsStore::get(const std::string& key) const {
    json value = state_->read([&](const json& settings) { return valueIn(settings, key); });
    if (value.is_null()) return std::nullopt;
    return value;
}

void SettingsStore::set(const std::string& key, json value) {
    refuseIfTooDeep(key, value);
    modify(key, [&](json& stored) { stored = value; });
}

bool SettingsStore::unset(const std::string& key) {
    bool wasThere = false;
    modify(key, [&](json& stored) {
        wasThere = !stored.is_null();
        stored = nullptr;
    });
    return wasThere;
}

void SettingsStore::modify(const std::string& key, const std::function<void(json& value)>& change) {
    while (!state_->tryModify(key, change))
        state_->setDamagedFileAside();
}

std::vector<std::string> SettingsStore::keys() const {
    return state_->read([](const json& settings) {
        std::vector<std::string> keys;
        for (const auto& [key, value] : settings.items()) {
            if (!value.is_null()) keys.push_back(key);
        }
        return keys;
    });
}

void SettingsStore::reload() {
    std::lock_guard hold(state_->lock);
    state_->isLoaded = false;
}

const std::string& SettingsStore::file() const {
    return state_->file;
}

}  // namespace kestrix
