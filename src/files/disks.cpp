// What is cached, and why in three parts: the mounts are one small file to read; which of them are disks may
// take a look at bind mounts; labels and capacities ask udev's links and the file systems, one disk at a
// time. A search in one folder gets by with the first.
#include "files/disks.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <mutex>
#include <tuple>
#include <utility>

#include "base/path.h"
#include "platform/directory.h"
#include "platform/system_rules.h"

namespace kestrix {

namespace {

using Mounts = std::shared_ptr<const std::vector<Mount>>;

constexpr auto kMacFileSystems = std::to_array<std::string_view>({"apfs", "hfs", "hfsplus"});

// The first lies on backup disks that a Mac has written. The second is the file by which backup scripts know
// that the disk now mounted is the one they may fill and prune: whoever sets one up puts it there by hand.
constexpr auto kBackupMarkers = std::to_array<std::string_view>({"backup_manifest.plist", "backup.marker"});

bool isBackupDisk(const std::string& mountPoint) {
    return std::ranges::any_of(kBackupMarkers, [&mountPoint](std::string_view marker) {
        FileAttributes attributes;
        return readAttributes(path::join(mountPoint, marker), true, attributes) == 0 &&
               attributes.type == EntryType::file;
    });
}

// Single files are mounted into containers, each from some place within a disk; the root of a file system is
// a folder by nature and need not be looked at.
bool isSingleFile(const Mount& mount) {
    FileAttributes attributes;
    return mount.root != "/" && readAttributes(mount.mountPoint, true, attributes) == 0 &&
           attributes.type != EntryType::directory;
}

// The markers are not asked of a network disk: a server that has gone would hold up a search of local disks.
DiskInfo describe(const Mount& mount) {
    DiskInfo info;
    info.url = mount.mountPoint;
    info.isMacFS = std::ranges::find(kMacFileSystems, mount.fileSystem) != kMacFileSystems.end();
    info.isLocal = !isNetworkFileSystem(mount.fileSystem);
    info.isBackup = info.isLocal && isBackupDisk(mount.mountPoint);
    info.isSystemDisk = mount.mountPoint == "/";
    info.mount = mount;
    return info;
}

// The longest mount point that is, or holds, the path; nullptr if there is none.
const Mount* holding(const std::vector<Mount>& mounts, std::string_view path) {
    const Mount* longest = nullptr;
    for (const Mount& mount : mounts) {
        const bool isLonger = !longest || mount.mountPoint.size() > longest->mountPoint.size();
        if (isLonger && path::isOrIsBelow(path, mount.mountPoint)) longest = &mount;
    }
    return longest;
}

const Mount* mountedAt(const std::vector<Mount>& mounts, std::string_view mountPoint) {
    const auto found = std::ranges::find(mounts, path::withoutTrailingSlash(mountPoint), &Mount::mountPoint);
    return found == mounts.end() ? nullptr : &*found;
}

}  // namespace

bool isBrowsable(const Mount& mount) {
    return !isPseudoFileSystem(mount.fileSystem) && !isInSystemFolder(mount.mountPoint) &&
           !isSingleFile(mount);
}

class DiskInfoManager::State : public std::enable_shared_from_this<State> {
  public:
    State(MountTable& table, MainQueue& mainQueue) : table_(table), mainQueue_(mainQueue) {}

    Mounts mounts() {
        return kept(&Cache::mounts, [this] { return table_.mounts(); });
    }

    Mounts disks() {
        return kept(&Cache::disks, [this] {
            std::vector<Mount> disks;
            std::ranges::copy_if(*mounts(), std::back_inserter(disks), isBrowsable);
            return disks;
        });
    }

    // Asked with no lock held, since a file system may take its time; two threads may ask for the same.
    VolumeFacts facts(const Mount& mount) {
        const FactsKey key(mount.mountPoint, mount.deviceId, mount.device);
        const auto known = cache_.read([&key](const Cache& cache) {
            const auto found = cache.facts.find(key);
            return found == cache.facts.end() ? std::nullopt : std::optional(found->second);
        });
        if (known) return *known;
        VolumeFacts found = volumeFacts(mount);
        cache_.modify([&](Cache& cache) { cache.facts.insert_or_assign(key, found); });
        return found;
    }

    // What was read before the watch began may have changed unseen.
    void notifyOfChanges(std::function<void()> call) {
        calls_.modify([&call](auto& calls) { calls.push_back(std::move(call)); });
        std::call_once(watchStarted_, [this] {
            watch_ = table_.watch([weak = weak_from_this()] {
                if (const auto state = weak.lock()) state->tableChanged();
            });
            forget();
        });
    }

    void endWatch() { watch_.reset(); }

  private:
    using FactsKey = std::tuple<std::string, std::uint64_t, std::string>;

    struct Cache {
        std::uint64_t generation = 0;  // counts the changes of the table
        Mounts mounts;
        Mounts disks;
        std::map<FactsKey, VolumeFacts> facts;
    };

    // The list in the cache, made first where it is missing. What was read while the table changed is handed
    // out, but not kept.
    template <typename Read>
    Mounts kept(Mounts Cache::*list, Read read) {
        const auto [known, generation] =
            cache_.read([list](const Cache& cache) { return std::pair(cache.*list, cache.generation); });
        if (known) return known;
        const auto made = std::make_shared<const std::vector<Mount>>(read());
        cache_.modify([&, before = generation](Cache& cache) {
            if (cache.generation == before) cache.*list = made;
        });
        return made;
    }

    void forget() {
        cache_.modify([](Cache& cache) { cache = Cache{cache.generation + 1, nullptr, nullptr, {}}; });
    }

    void tableChanged() {
        forget();
        mainQueue_.post([weak = weak_from_this()] {
            const auto state = weak.lock();
            if (!state) return;
            for (const auto& call : state->calls_.get()) {
                call();
            }
        });
    }

    MountTable& table_;
    MainQueue& mainQueue_;
    Locked<Cache> cache_;
    Locked<std::vector<std::function<void()>>> calls_;
    std::once_flag watchStarted_;
    std::shared_ptr<void> watch_;
};

DiskInfoManager::DiskInfoManager(MountTable& mounts, MainQueue& mainQueue)
    : state_(std::make_shared<State>(mounts, mainQueue)) {}

// The thread of the watch ends here and not with the last holder of the state, who might be that thread.
DiskInfoManager::~DiskInfoManager() {
    state_->endWatch();
}

std::vector<DiskInfo> DiskInfoManager::volumes() const {
    std::map<std::tuple<bool, std::string, std::string>, DiskInfo> sorted;
    for (const Mount& mount : *state_->disks()) {
        DiskInfo info = describe(mount);
        sorted.emplace(std::tuple(!info.isLocal, volumeName(mount), info.url), std::move(info));
    }
    std::vector<DiskInfo> volumes;
    volumes.reserve(sorted.size());
    for (auto& [key, info] : sorted) {
        volumes.push_back(std::move(info));
    }
    return volumes;
}

std::optional<DiskInfo> DiskInfoManager::info(std::string_view forDisk) const {
    const Mounts disks = state_->disks();
    const Mount* mount = mountedAt(*disks, forDisk);
    return mount ? std::optional(describe(*mount)) : std::nullopt;
}

std::vector<Mount> DiskInfoManager::mounts() const {
    return *state_->mounts();
}

std::optional<Mount> DiskInfoManager::mountOf(std::string_view path) const {
    const Mounts mounts = state_->mounts();
    const Mount* mount = holding(*mounts, path);
    return mount ? std::optional(*mount) : std::nullopt;
}

bool DiskInfoManager::isDiskURL(std::string_view path) const {
    return mountedAt(*state_->disks(), path) != nullptr;
}

std::string DiskInfoManager::diskPathFromFullPath(std::string_view path) const {
    const Mounts disks = state_->disks();
    const Mount* mount = holding(*disks, path);
    return mount ? mount->mountPoint : "/";
}

// A network disk has no label of this machine's, so its server is not asked. "/" has no last component.
std::string DiskInfoManager::volumeName(const Mount& mount) const {
    if (!isNetworkFileSystem(mount.fileSystem)) {
        if (VolumeFacts facts = state_->facts(mount); !facts.label.empty()) return std::move(facts.label);
    }
    return std::string(path::lastComponent(mount.mountPoint == "/" ? mount.device : mount.mountPoint));
}

DiskKey DiskInfoManager::keyForDisk(std::string_view path) const {
    const auto mount = mountOf(path);
    return mount ? keyForMount(*mount) : DiskKey("");
}

DiskKey DiskInfoManager::keyForMount(const Mount& mount) const {
    if (isPseudoFileSystem(mount.fileSystem)) return DiskKey("");
    const std::string name = volumeName(mount);
    if (name.empty()) return DiskKey("");
    return DiskKey(fmt::format("{} {} {}", name, state_->facts(mount).capacity, mount.fileSystem));
}

void DiskInfoManager::didChange(std::function<void()> call) {
    state_->notifyOfChanges(std::move(call));
}

}  // namespace kestrix
