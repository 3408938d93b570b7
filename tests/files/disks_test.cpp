#include "files/disks.h"

#include <gtest/gtest.h>

#include <optional>

#include "files/search_location.h"
#include "tests/files/fake_mount_table.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

using Paths = std::vector<std::string>;

// The folders of a test lie in /tmp, which is the system's; by this spelling of them they do not.
std::string outsideTheSystem(const std::string& path) {
    return "/.." + path;
}

// Mounts that exist nowhere: such a disk has neither label nor capacity.
class Disks : public testing::Test {
  protected:
    Disks() {
        table_.mount("/", "ext4", "/dev/kx-sda1");
        table_.mount("/proc", "proc", "proc");
        table_.mount("/run", "tmpfs", "tmpfs");
        table_.mount("/dev/shm", "tmpfs", "tmpfs");
        table_.mount("/boot/efi", "vfat", "/dev/kx-sda9");
        table_.mount("/kx/portal", "fuse.portal", "portal");
        table_.mount("/kx/zeta", "xfs", "/dev/kx-sdb1");
        table_.mount("/kx/mac", "hfsplus", "/dev/kx-sdc1");
        table_.mount("/kx/beta", "btrfs", "/dev/kx-sdd1");
        table_.mount("/kx/beta/inner", "ext4", "/dev/kx-sde1");
        table_.mount("/kx/a server", "nfs4", "server:/share");
    }

    Paths volumeURLs() const {
        Paths urls;
        for (const DiskInfo& disk : disks_.volumes()) {
            urls.push_back(disk.url);
        }
        return urls;
    }
    Paths preset(SearchLocationURLSet set) const {
        return SearchLocation(set, disks_, "/home/u").locationURLs();
    }

    FakeMountTable table_;
    RunLoop queue_;
    DiskInfoManager disks_{table_, queue_};
};

TEST_F(Disks, AreDescribedByFormatAndPlace) {
    EXPECT_TRUE(disks_.info("/kx/mac/")->isMacFS);
    EXPECT_FALSE(disks_.info("/kx/zeta")->isMacFS);
    EXPECT_FALSE(disks_.info("/kx/a server")->isLocal);
    EXPECT_TRUE(disks_.info("/")->isSystemDisk);
    EXPECT_FALSE(disks_.info("/kx/zeta")->isSystemDisk);
    EXPECT_FALSE(disks_.info("/run"));
    EXPECT_FALSE(disks_.info("/kx"));
    EXPECT_TRUE(disks_.isDiskURL("/") && disks_.isDiskURL("/kx/zeta/"));
    EXPECT_FALSE(disks_.isDiskURL("/kx/zeta/x") || disks_.isDiskURL("/boot/efi"));
}

TEST_F(Disks, HoldThePathsBelowTheirLongestMountPoint) {
    EXPECT_EQ(disks_.mountOf("/kx/beta/inner/x")->device, "/dev/kx-sde1");
    EXPECT_EQ(disks_.mountOf("/kx/beta/innermost")->device, "/dev/kx-sdd1");
    EXPECT_EQ(disks_.mountOf("/proc/1")->device, "proc");
    EXPECT_EQ(disks_.diskPathFromFullPath("/proc/1"), "/");
    EXPECT_EQ(disks_.diskPathFromFullPath("/kx/zeta"), "/kx/zeta");
    FakeMountTable nothing;
    EXPECT_EQ(DiskInfoManager(nothing, queue_).diskPathFromFullPath("/a"), "/");
}

TEST_F(Disks, HaveAKeyOfNameCapacityAndFormat) {
    EXPECT_EQ(disks_.keyForDisk("/kx/zeta/some/file").text(), "zeta 0 xfs");
    EXPECT_EQ(disks_.keyForDisk("/kx/a server").text(), "a server 0 nfs4");
    EXPECT_EQ(disks_.keyForDisk("/proc/1"), DiskKey(""));
    const TemporaryFolder folder;
    table_.mount(folder.path(), "ext4", "none");
    const std::string name(folder.path().substr(folder.path().rfind('/') + 1));
    const std::string key(DiskInfoManager(table_, queue_).keyForDisk(folder.path("x")).text());
    EXPECT_TRUE(key.starts_with(name + " ") && key.ends_with(" ext4")) << key;
    EXPECT_EQ(key.find(" 0 "), std::string::npos) << key;
}

TEST_F(Disks, TheRootTakesTheNameOfItsDeviceForWantOfALabel) {
    Mount root{
        .mountPoint = "/", .root = "/", .fileSystem = "nfs", .device = "server:/boot/box", .deviceId = 1};
    EXPECT_EQ(disks_.volumeName(root), "box");
    root.device.clear();
    EXPECT_EQ(disks_.keyForMount(root), DiskKey(""));
}

TEST_F(Disks, ASingleFileThatIsMountedIsNone) {
    const TemporaryFolder folder;
    const std::string file = outsideTheSystem(folder.file("hosts"));
    EXPECT_FALSE(isBrowsable({.mountPoint = file, .root = "/etc/hosts", .fileSystem = "ext4", .device = ""}));
    const std::string place = outsideTheSystem(folder.path());
    EXPECT_TRUE(isBrowsable({.mountPoint = place, .root = "/part", .fileSystem = "ext4", .device = ""}));
}

TEST_F(Disks, WithAMarkerAreBackupsIfTheyAreLocal) {
    const TemporaryFolder folder;
    const std::string names[] = {"backup_manifest.plist", "backup.marker", "other", "server"};
    for (const std::string& name : names) {
        folder.file(name + "/" + (name == "server" ? "backup.marker" : name));
        table_.mount(outsideTheSystem(folder.path(name)), name == "server" ? "nfs" : "apfs", "none");
    }
    EXPECT_EQ(preset(SearchLocationURLSet::backups),
              (Paths{outsideTheSystem(folder.path(names[1])), outsideTheSystem(folder.path(names[0]))}));
    EXPECT_EQ(preset(SearchLocationURLSet::macDisks),
              (Paths{"/kx/mac", outsideTheSystem(folder.path("other"))}));
    const Paths all = preset(SearchLocationURLSet::allDisks);
    EXPECT_EQ(all.size(), 10u);
    EXPECT_TRUE(all.back().ends_with("backup_manifest.plist"));
}

TEST_F(Disks, PresetsListThemInOrder) {
    EXPECT_EQ(preset(SearchLocationURLSet::macDisks), Paths{"/kx/mac"});
    EXPECT_EQ(preset(SearchLocationURLSet::localDisks),
              (Paths{"/kx/mac", "/kx/beta", "/kx/beta/inner", "/", "/kx/zeta"}));
    EXPECT_EQ(preset(SearchLocationURLSet::networkDisks), Paths{"/kx/a server"});
    EXPECT_EQ(preset(SearchLocationURLSet::backups), Paths{});
    EXPECT_EQ(preset(SearchLocationURLSet::allDisks).size(), 6u);
    EXPECT_EQ(volumeURLs(),
              (Paths{"/kx/beta", "/kx/beta/inner", "/", "/kx/mac", "/kx/zeta", "/kx/a server"}));
    EXPECT_EQ(disks_.mounts().size(), 11u);
    EXPECT_EQ(preset(SearchLocationURLSet::home), Paths{"/home/u"});
}

TEST_F(Disks, AreReadOnceAndOnceWatchedAfterEachChange) {
    volumeURLs();
    table_.mount("/kx/before", "ext4", "/dev/kx-sdf1");
    EXPECT_FALSE(disks_.isDiskURL("/kx/before"));
    EXPECT_EQ(table_.reads(), 1);
    EXPECT_FALSE(table_.isWatched());
    int told = 0;
    disks_.didChange([&told] { ++told; });
    disks_.didChange([&told] { told += 10; });
    EXPECT_TRUE(disks_.isDiskURL("/kx/before"));
    table_.mount("/kx/after", "ext4", "/dev/kx-sdg1");
    table_.announce();
    EXPECT_EQ(told, 0);
    queue_.runPending();
    EXPECT_EQ(told, 11);
    EXPECT_TRUE(disks_.isDiskURL("/kx/after"));
}

TEST_F(Disks, NobodyIsToldAfterTheManagerHasGone) {
    int told = 0;
    auto manager = std::make_optional<DiskInfoManager>(table_, queue_);
    manager->didChange([&told] { ++told; });
    table_.announce();
    manager.reset();
    EXPECT_FALSE(table_.isWatched());
    queue_.runPending();
    EXPECT_EQ(told, 0);
}

}  // namespace
}  // namespace kestrix
