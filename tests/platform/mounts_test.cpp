#include "platform/mounts.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>

#include "platform/directory.h"
#include "tests/platform/child_process.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

using namespace std::chrono_literals;

TEST(MountInfo, ALineIsReadWithAndWithoutOptionalFields) {
    const auto mounts = parseMountInfo(
        "36 35 98:0 /shared /mnt/disk rw,noatime - ext3 /dev/root rw,errors=continue\n"
        "41 35 0:52 / /mnt/net rw shared:7 master:1 propagate_from:2 - nfs4 server:/share rw\n"
        "43 35 0:54 / /mnt/empty-device rw - tmpfs  rw");
    EXPECT_EQ(mounts, (std::vector<Mount>{{"/mnt/disk", "/shared", "ext3", "/dev/root", makedev(98, 0)},
                                          {"/mnt/net", "/", "nfs4", "server:/share", makedev(0, 52)},
                                          {"/mnt/empty-device", "/", "tmpfs", "", makedev(0, 54)}}));
}

TEST(MountInfo, OctalEscapesAreResolvedAndOtherBackslashesStay) {
    const auto mounts = parseMountInfo(
        "1 1 8:1 / /a\\040b\\011c\\012d\\134040 rw - fuse.ntfs\\0553g my\\040disk rw\n"
        "1 1 8:1 / /odd\\9\\04\\777\\ rw - ext4 \\ rw\n");
    ASSERT_EQ(mounts.size(), 2u);
    EXPECT_EQ(mounts[0].mountPoint, "/a b\tc\nd\\040");
    EXPECT_EQ(mounts[0].fileSystem, "fuse.ntfs-3g");
    EXPECT_EQ(mounts[0].device, "my disk");
    EXPECT_EQ(mounts[1].mountPoint, "/odd\\9\\04\\777\\");
    EXPECT_EQ(mounts[1].device, "\\");
}

TEST(MountInfo, TheLastMountOverAPointCoversTheOthers) {
    const auto mounts = parseMountInfo(
        "1 0 8:1 / /mnt rw - ext4 /dev/old rw\n"
        "2 0 8:2 / /home rw - ext4 /dev/home rw\n"
        "3 1 8:3 / /mnt rw - xfs /dev/new rw\n");
    EXPECT_EQ(mounts, (std::vector<Mount>{{"/home", "/", "ext4", "/dev/home", makedev(8, 2)},
                                          {"/mnt", "/", "xfs", "/dev/new", makedev(8, 3)}}));
}

TEST(MountInfo, LinesThatBreakTheFormatAreLeftOutAndEveryCutIsSurvived) {
    const std::string line = "36 35 98:0 / /mnt/disk rw,noatime master:1 - ext3 /dev/root rw";
    const std::size_t complete = line.find("ext3") + 1;  // one byte of the file system's name
    for (std::size_t length = 0; length <= line.size(); ++length) {
        EXPECT_EQ(parseMountInfo(line.substr(0, length)).size(), length >= complete ? 1u : 0u) << length;
    }
    EXPECT_TRUE(parseMountInfo("1 1 8 / /a rw - ext4 d rw\n1 1 8:x / /a rw - ext4 d rw\n").empty());
    EXPECT_TRUE(parseMountInfo("1 1 8:1 / relative rw - ext4 d rw\n\n-\n - - -\n").empty());
    EXPECT_TRUE(parseMountInfo("1 1 8:1 / /a rw -  d rw\n").empty());
    EXPECT_TRUE(parseMountInfo("1 1 99999999999:1 / /a rw - ext4 d rw\n").empty());
}

TEST(FileSystems, KernelInterfacesServersAndDisksAreToldApart) {
    for (const char* name : {"proc", "sysfs", "cgroup2", "autofs", "fuse.gvfsd-fuse", "fusectl", "xenfs"}) {
        EXPECT_TRUE(isPseudoFileSystem(name) && !isNetworkFileSystem(name)) << name;
    }
    for (const char* name : {"9p", "nfs", "nfs4", "cifs", "fuse.sshfs", "glusterfs", "vboxsf"}) {
        EXPECT_TRUE(isNetworkFileSystem(name) && !isPseudoFileSystem(name)) << name;
    }
    for (const char* name : {"ext4", "btrfs", "tmpfs", "ramfs", "overlay", "fuseblk", "ocfs2", "", "PROC"}) {
        EXPECT_FALSE(isNetworkFileSystem(name) || isPseudoFileSystem(name)) << name;
    }
}

TEST(MountTable, AMountOfThisProcessIsListedWithTheDeviceOfItsFiles) {
    FileAttributes attributes;
    ASSERT_EQ(readAttributes("/proc", true, attributes), 0);
    for (const Mount& mount : MountTable::system().mounts()) {
        if (mount.mountPoint != "/proc") continue;
        EXPECT_EQ(mount.fileSystem, "proc");
        EXPECT_EQ(mount.deviceId, attributes.device);
        return;
    }
    FAIL() << "no /proc among the mounts";
}

TEST(MountTable, AWatcherHearsOfMountsAndUnmountsUntilItsHandleIsGone) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root may mount";
    TemporaryFolder folder;
    const std::string point = folder.folder("with blank");
    EXPECT_TRUE(holdsWithOwnMounts([&] {
        std::promise<void> mounted;
        std::promise<void> unmounted;
        std::atomic<int> calls = 0;
        auto handle = MountTable::system().watch([&] {
            const int call = ++calls;
            if (call == 1) mounted.set_value();
            if (call == 2) unmounted.set_value();
        });
        if (::mount("none", point.c_str(), "tmpfs", 0, nullptr) != 0) return false;
        if (mounted.get_future().wait_for(20s) != std::future_status::ready) return false;
        const auto mounts = MountTable::system().mounts();
        const bool isListed = std::ranges::any_of(mounts, [&](const Mount& mount) {
            return mount.mountPoint == point && mount.fileSystem == "tmpfs";
        });
        if (!isListed || ::umount(point.c_str()) != 0) return false;
        if (unmounted.get_future().wait_for(20s) != std::future_status::ready) return false;
        handle.reset();
        const int before = calls;
        return ::mount("none", point.c_str(), "tmpfs", 0, nullptr) == 0 && calls == before;
    }));
}

TEST(MountTable, AHandleMayBeDroppedByTheCallItself) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root may mount";
    TemporaryFolder folder;
    EXPECT_TRUE(holdsWithOwnMounts([&] {
        std::promise<void> dropped;
        std::promise<void> isHeld;
        std::shared_ptr<void> held = MountTable::system().watch([&] {
            isHeld.get_future().wait();
            held.reset();
            dropped.set_value();
        });
        isHeld.set_value();
        if (::mount("none", folder.path().c_str(), "tmpfs", 0, nullptr) != 0) return false;
        return dropped.get_future().wait_for(20s) == std::future_status::ready;
    }));
}

TEST(VolumeFacts, CapacityIsThatOfTheFileSystemAndALabelIsFoundByItsDevice) {
    const VolumeFacts plain = volumeFacts({"/", "/", "ext4", "no device", 0});
    struct statvfs status {};
    ASSERT_EQ(::statvfs("/", &status), 0);
    EXPECT_EQ(plain.capacity, status.f_blocks * status.f_frsize);
    EXPECT_EQ(plain.label, "");
    EXPECT_EQ(volumeFacts({"/no such point", "/", "ext4", "/dev/none", 0}).capacity, 0u);

    if (::geteuid() != 0) GTEST_SKIP() << "only root may lay a /dev of its own";
    EXPECT_TRUE(holdsWithOwnMounts([] {
        if (::mount("none", "/dev", "tmpfs", 0, nullptr) != 0) return false;
        std::filesystem::create_directories("/dev/disk/by-label");
        if (::mknod("/dev/sdy1", S_IFBLK | 0600, makedev(8, 385)) != 0) return false;
        if (::mknod("/dev/sdz1", S_IFBLK | 0600, makedev(8, 401)) != 0) return false;
        std::filesystem::create_symlink("../../sdy1", "/dev/disk/by-label/Other");
        std::filesystem::create_symlink("../../sdz1", "/dev/disk/by-label/My\\x20Disk\\x2f\\xzz");
        std::filesystem::create_symlink("sdz1", "/dev/alias");
        return volumeFacts({"/dev", "/", "ext4", "/dev/alias", 0}).label == "My Disk/\\xzz" &&
               volumeFacts({"/dev", "/", "ext4", "/dev/sdy1", 0}).label == "Other";
    }));
}

}  // namespace
}  // namespace kestrix
