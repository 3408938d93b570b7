// A map that keeps the order in which its keys were first inserted.
#pragma once

#include <list>
#include <unordered_map>
#include <utility>

namespace kestrix {

// Setting an existing key replaces its value in place. Iteration gives std::pair<const Key, Value> in
// insertion order; references stay valid until their entry is erased. Not for several threads at once.
template <typename Key, typename Value, typename Hash = std::hash<Key>>
class OrderedDictionary {
  public:
    using Entries = std::list<std::pair<const Key, Value>>;

    void set(const Key& key, Value value) {
        auto found = places_.find(key);
        if (found != places_.end()) {
            found->second->second = std::move(value);
            return;
        }
        entries_.emplace_back(key, std::move(value));
        places_.emplace(key, std::prev(entries_.end()));
    }

    // The value under the key, or nullptr.
    Value* find(const Key& key) {
        auto found = places_.find(key);
        return found == places_.end() ? nullptr : &found->second->second;
    }

    // Whether there was such a key.
    bool erase(const Key& key) {
        auto found = places_.find(key);
        if (found == places_.end()) return false;
        entries_.erase(found->second);
        places_.erase(found);
        return true;
    }

    std::size_t size() const { return entries_.size(); }
    bool empty() const { return entries_.empty(); }
    auto begin() const { return entries_.begin(); }
    auto end() const { return entries_.end(); }

  private:
    Entries entries_;
    std::unordered_map<Key, typename Entries::iterator, Hash> places_;
};

}  // namespace kestrix
