// Where a search looks.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "files/disks.h"

namespace kestrix {

enum class SearchLocationURLSet { allDisks, macDisks, localDisks, networkDisks, backups, home };

// "all", "macdisks", "local", "network", "backups", "home".
std::string_view locationNameOf(SearchLocationURLSet set);
std::optional<SearchLocationURLSet> searchLocationURLSetNamed(std::string_view name);

// What a location must know of a catalog; the catalogs themselves stand on a higher floor.
class CacheVC_IndexInterface {
  public:
    virtual ~CacheVC_IndexInterface() = default;
    virtual std::string displayName() const = 0;
    // The folder that the catalog describes, if it is known.
    virtual std::optional<std::string> targetURL() const = 0;
};

// A folder, or a catalog searched in place of a disk that need not be mounted.
class SearchTarget {
  public:
    static SearchTarget url(std::string path);  // absolute; a trailing slash is dropped
    static SearchTarget offline(std::shared_ptr<const CacheVC_IndexInterface> cache);

    bool operator==(const SearchTarget& other) const = default;

    std::string locationName() const;
    // The folder; nothing for a catalog.
    std::optional<std::string> locationURL() const;
    // The catalog; nullptr for a folder.
    std::shared_ptr<const CacheVC_IndexInterface> cache() const;
    // What is searched: the folder, or the one that the catalog described when this target was made; empty
    // where that is not known. Lives as long as this target.
    std::string_view folder() const;

    // By plain prefix: a target /a/b also holds /a/bc. A catalog without a target folder holds every path.
    bool pathIsInLocation(std::string_view path) const;

  private:
    // The folder is asked for once: the path tests run for every result.
    struct Offline {
        std::shared_ptr<const CacheVC_IndexInterface> cache;
        std::optional<std::string> folder;

        bool operator==(const Offline& other) const = default;
    };

    std::variant<std::string, Offline> target_;
};

// A list of targets, or one of the presets. A value; immutable after construction, so any thread may ask it.
class SearchLocation {
  public:
    SearchLocation(SearchLocationURLSet preset, const DiskInfoManager& disks, const std::string& home,
                   std::optional<std::string> locationName = std::nullopt);
    SearchLocation(const std::vector<std::string>& urls,
                   std::optional<std::string> locationName = std::nullopt);
    // Without a name: that of the first target.
    SearchLocation(std::vector<SearchTarget> targets, std::optional<std::string> locationName = std::nullopt);

    bool operator==(const SearchLocation& other) const = default;

    const std::optional<SearchLocationURLSet>& locationSet() const { return locationSet_; }
    const std::vector<SearchTarget>& allTargets() const { return allTargets_; }
    const std::string& locationName() const { return locationName_; }

    std::vector<std::string> locationURLs() const;
    // The folders to walk, in order.
    std::vector<std::string> disksForLocations() const { return locationURLs(); }
    // The catalogs named as targets.
    std::vector<std::shared_ptr<const CacheVC_IndexInterface>> offlineTargets() const;
    bool arePhysicalLocations() const;
    bool includesCaches() const;
    // Whether the first folder is this one.
    bool singleMatchFor(std::string_view location) const;

    bool pathIsInLocation(std::string_view path) const;

    // The longest target folder, catalogs' folders included, that is, or holds, the path, by whole
    // components; empty if none does. What lies below it is judged as if it were an ordinary place. The view
    // lives as long as this location.
    std::string_view startOf(std::string_view path) const;

  private:
    std::optional<SearchLocationURLSet> locationSet_;
    std::vector<SearchTarget> allTargets_;
    std::string locationName_;
};

}  // namespace kestrix
