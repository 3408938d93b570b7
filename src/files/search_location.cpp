#include "files/search_location.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <iterator>
#include <utility>

#include "base/path.h"

namespace kestrix {

namespace {

struct NamedSet {
    SearchLocationURLSet set;
    std::string_view name;
};

constexpr std::array<NamedSet, 6> kSets = {{{SearchLocationURLSet::allDisks, "all"},
                                            {SearchLocationURLSet::macDisks, "macdisks"},
                                            {SearchLocationURLSet::localDisks, "local"},
                                            {SearchLocationURLSet::networkDisks, "network"},
                                            {SearchLocationURLSet::backups, "backups"},
                                            {SearchLocationURLSet::home, "home"}}};

using Disks = std::vector<DiskInfo>;

template <typename Wanted>
void appendThose(const Disks& disks, Wanted wanted, std::vector<std::string>& urls) {
    for (const DiskInfo& disk : disks) {
        if (wanted(disk)) urls.push_back(disk.url);
    }
}

void appendMacDisks(const Disks& disks, std::vector<std::string>& urls) {
    appendThose(
        disks, [](const DiskInfo& disk) { return disk.isLocal && !disk.isBackup && disk.isMacFS; }, urls);
}

void appendLocalDisks(const Disks& disks, std::vector<std::string>& urls) {
    appendMacDisks(disks, urls);
    appendThose(
        disks, [](const DiskInfo& disk) { return disk.isLocal && !disk.isBackup && !disk.isMacFS; }, urls);
}

void appendNetworkDisks(const Disks& disks, std::vector<std::string>& urls) {
    appendThose(
        disks, [](const DiskInfo& disk) { return !disk.isLocal; }, urls);
}

void appendBackups(const Disks& disks, std::vector<std::string>& urls) {
    appendThose(
        disks, [](const DiskInfo& disk) { return disk.isBackup; }, urls);
}

std::vector<std::string> urlsOf(SearchLocationURLSet preset, const DiskInfoManager& disks,
                                const std::string& home) {
    if (preset == SearchLocationURLSet::home) return {home};
    const Disks volumes = disks.volumes();
    std::vector<std::string> urls;
    switch (preset) {
        case SearchLocationURLSet::allDisks:
            appendLocalDisks(volumes, urls);
            appendNetworkDisks(volumes, urls);
            appendBackups(volumes, urls);
            break;
        case SearchLocationURLSet::macDisks:
            appendMacDisks(volumes, urls);
            break;
        case SearchLocationURLSet::localDisks:
            appendLocalDisks(volumes, urls);
            break;
        case SearchLocationURLSet::networkDisks:
            appendNetworkDisks(volumes, urls);
            break;
        case SearchLocationURLSet::backups:
            appendBackups(volumes, urls);
            break;
        case SearchLocationURLSet::home:
            break;
    }
    return urls;
}

std::vector<SearchTarget> targetsOf(const std::vector<std::string>& urls) {
    std::vector<SearchTarget> targets;
    targets.reserve(urls.size());
    std::ranges::transform(urls, std::back_inserter(targets), SearchTarget::url);
    return targets;
}

}  // namespace

std::string_view locationNameOf(SearchLocationURLSet set) {
    return std::ranges::find(kSets, set, &NamedSet::set)->name;
}

std::optional<SearchLocationURLSet> searchLocationURLSetNamed(std::string_view name) {
    const auto found = std::ranges::find(kSets, name, &NamedSet::name);
    return found == kSets.end() ? std::nullopt : std::optional(found->set);
}

SearchTarget SearchTarget::url(std::string path) {
    path.resize(path::withoutTrailingSlash(path).size());
    SearchTarget target;
    target.target_ = std::move(path);
    return target;
}

SearchTarget SearchTarget::offline(std::shared_ptr<const CacheVC_IndexInterface> cache) {
    assert(cache);
    auto folder = cache->targetURL();
    if (folder) folder->resize(path::withoutTrailingSlash(*folder).size());
    SearchTarget target;
    target.target_ = Offline{std::move(cache), std::move(folder)};
    return target;
}

std::string SearchTarget::locationName() const {
    if (const auto* offline = std::get_if<Offline>(&target_)) return offline->cache->displayName();
    return std::string(path::lastComponent(std::get<std::string>(target_)));
}

std::optional<std::string> SearchTarget::locationURL() const {
    const auto* folder = std::get_if<std::string>(&target_);
    return folder ? std::optional(*folder) : std::nullopt;
}

std::shared_ptr<const CacheVC_IndexInterface> SearchTarget::cache() const {
    const auto* offline = std::get_if<Offline>(&target_);
    return offline ? offline->cache : nullptr;
}

std::string_view SearchTarget::folder() const {
    if (const auto* folder = std::get_if<std::string>(&target_)) return *folder;
    const auto& described = std::get<Offline>(target_).folder;
    return described ? std::string_view(*described) : std::string_view();
}

bool SearchTarget::pathIsInLocation(std::string_view path) const {
    return path.starts_with(folder());
}

SearchLocation::SearchLocation(SearchLocationURLSet preset, const DiskInfoManager& disks,
                               const std::string& home, std::optional<std::string> locationName)
    : locationSet_(preset),
      allTargets_(targetsOf(urlsOf(preset, disks, home))),
      locationName_(locationName ? *std::move(locationName) : std::string(locationNameOf(preset))) {}

SearchLocation::SearchLocation(const std::vector<std::string>& urls, std::optional<std::string> locationName)
    : SearchLocation(targetsOf(urls), std::move(locationName)) {}

SearchLocation::SearchLocation(std::vector<SearchTarget> targets, std::optional<std::string> locationName)
    : allTargets_(std::move(targets)) {
    if (locationName) {
        locationName_ = *std::move(locationName);
    } else if (!allTargets_.empty()) {
        locationName_ = allTargets_.front().locationName();
    }
}

std::vector<std::string> SearchLocation::locationURLs() const {
    std::vector<std::string> urls;
    for (const SearchTarget& target : allTargets_) {
        if (auto url = target.locationURL()) urls.push_back(*std::move(url));
    }
    return urls;
}

std::vector<std::shared_ptr<const CacheVC_IndexInterface>> SearchLocation::offlineTargets() const {
    std::vector<std::shared_ptr<const CacheVC_IndexInterface>> caches;
    for (const SearchTarget& target : allTargets_) {
        if (auto cache = target.cache()) caches.push_back(std::move(cache));
    }
    return caches;
}

bool SearchLocation::arePhysicalLocations() const {
    return std::ranges::any_of(allTargets_, [](const SearchTarget& target) { return !target.cache(); });
}

bool SearchLocation::includesCaches() const {
    return std::ranges::any_of(allTargets_,
                               [](const SearchTarget& target) { return target.cache() != nullptr; });
}

bool SearchLocation::singleMatchFor(std::string_view location) const {
    const auto first = std::ranges::find_if(allTargets_, [](const auto& target) { return !target.cache(); });
    return first != allTargets_.end() && first->folder() == path::withoutTrailingSlash(location);
}

bool SearchLocation::pathIsInLocation(std::string_view path) const {
    return std::ranges::any_of(allTargets_,
                               [path](const SearchTarget& target) { return target.pathIsInLocation(path); });
}

std::string_view SearchLocation::startOf(std::string_view path) const {
    std::string_view longest;
    for (const SearchTarget& target : allTargets_) {
        const std::string_view folder = target.folder();
        if (folder.size() > longest.size() && path::isOrIsBelow(path, folder)) longest = folder;
    }
    return longest;
}

}  // namespace kestrix
