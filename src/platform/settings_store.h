// The per-user store of settings: one JSON object in one file.
#pragma once

#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

namespace kestrix {

// Reads from memory, filled at first use; writes go through the file: under a file lock it is read again,
// changed in the one key and replaced whole, so two processes never lose each other's keys. A file that is no
// JSON object is damaged: the first operation that meets it sets it aside under another name, tells
// `onDamage` (path of the copy), and goes on with an empty store. If it cannot be set aside, writing throws.
// An empty file is an empty store. JSON's null is no value: storing it removes the key.
// Threads: any. Failures: reading a file that cannot be opened counts as empty; writing throws Error.
class SettingsStore {
  public:
    using Damaged = std::function<void(const std::string& keptAs)>;

    explicit SettingsStore(std::string file, Damaged onDamage = nullptr);
    ~SettingsStore();

    // The value under a key, or nothing.
    std::optional<nlohmann::json> get(const std::string& key) const;
    void set(const std::string& key, nlohmann::json value);
    // Whether there was one.
    bool unset(const std::string& key);

    // Hands `change` the value of now (null if none) with the lock on the file held and stores what it leaves
    // there. Nothing is written when nothing changed. `change` may read this store but not write to it.
    void modify(const std::string& key, const std::function<void(nlohmann::json& value)>& change);

    // All keys with a value, sorted.
    std::vector<std::string> keys() const;

    // Forgets what is in memory; the next operation reads the file.
    void reload();

    const std::string& file() const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kestrix
