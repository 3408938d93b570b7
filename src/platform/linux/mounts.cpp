#include "platform/mounts.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <thread>
#include <unordered_set>

#include "base/error.h"
#include "platform/directory.h"
#include "platform/linux/system_call.h"
#include "platform/stored_file.h"

namespace kestrix {

namespace {

constexpr const char* kMountInfo = "/proc/self/mountinfo";
constexpr const char* kLabels = "/dev/disk/by-label";

// ramfs and tmpfs hold files, so they are not among these.
// clang-format off
constexpr std::string_view kPseudo[] = {
    "anon_inodefs", "apparmorfs", "autofs", "bdev", "binder", "binfmt_misc", "bpf", "cgroup", "cgroup2",
    "configfs", "cpuset", "debugfs", "devfs", "devpts", "devtmpfs", "dlmfs", "efivarfs", "functionfs",
    "fuse.gvfsd-fuse", "fuse.lxcfs", "fuse.portal", "fusectl", "hugetlbfs", "mqueue", "nfsd", "nsfs",
    "openpromfs", "pipefs", "proc", "pstore", "resctrl", "rpc_pipefs", "securityfs", "selinuxfs", "smackfs",
    "sockfs", "sysfs", "tracefs", "usbdevfs", "usbfs", "xenfs",
};
// clang-format on
static_assert(std::ranges::is_sorted(kPseudo));

// Servers, and the folders that a host shares with its virtual machines: both answer slowly and are someone
// else's. Cluster file systems on a shared disk (ocfs2, gfs2) are as local as any disk.
// clang-format off
constexpr std::string_view kNetwork[] = {
    "9p", "afpfs", "afs", "beegfs", "ceph", "cifs", "coda", "davfs", "fuse.afpfs", "fuse.ceph",
    "fuse.curlftpfs", "fuse.davfs2", "fuse.gcsfuse", "fuse.glusterfs", "fuse.juicefs", "fuse.lizardfs",
    "fuse.moosefs", "fuse.onedriver", "fuse.orangefs", "fuse.rclone", "fuse.s3fs", "fuse.seaweedfs",
    "fuse.smbnetfs", "fuse.sshfs", "fuse.vmhgfs-fuse", "glusterfs", "gpfs", "lustre", "ncpfs", "nfs", "nfs4",
    "orangefs", "prl_fs", "pvfs2", "smb3", "smbfs", "sshfs", "vboxsf",
};
// clang-format on
static_assert(std::ranges::is_sorted(kNetwork));

// The text up to the next `separator`, which is taken off `rest` together with it.
std::string_view takeField(std::string_view& rest, char separator) {
    const std::string_view field = rest.substr(0, rest.find(separator));
    rest.remove_prefix(std::min(rest.size(), field.size() + 1));
    return field;
}

std::optional<unsigned> parseNumber(std::string_view digits, int base) {
    unsigned number = 0;
    const char* begin = std::to_address(digits.begin());
    const char* end = std::to_address(digits.end());
    const auto [stop, failure] = std::from_chars(begin, end, number, base);
    if (failure != std::errc() || stop != end) return std::nullopt;
    return number;
}

// Replaces each `lead` that is followed by `digits` digits of the base with the byte they mean. Anything else
// stays as it is.
std::string unescaped(std::string_view text, std::string_view lead, std::size_t digits, int base) {
    std::string result;
    while (!text.empty()) {
        if (text.starts_with(lead) && text.size() >= lead.size() + digits) {
            const auto byte = parseNumber(text.substr(lead.size(), digits), base);
            if (byte && *byte <= 0xff) {
                result += static_cast<char>(*byte);
                text.remove_prefix(lead.size() + digits);
                continue;
            }
        }
        result += text.front();
        text.remove_prefix(1);
    }
    return result;
}

std::string unescapedField(std::string_view field) {
    return unescaped(field, "\\", 3, 8);
}

// "36 35 98:0 /folder /mnt/disk rw,noatime master:1 - ext3 /dev/sda1 rw": between the options and the "-"
// stand any number of optional fields; the device may be empty.
std::optional<Mount> parseLine(std::string_view line) {
    takeField(line, ' ');  // the mount's number and its parent's
    takeField(line, ' ');
    std::string_view device = takeField(line, ' ');
    const auto major = parseNumber(takeField(device, ':'), 10);
    const auto minor = parseNumber(device, 10);
    Mount mount;
    mount.root = unescapedField(takeField(line, ' '));
    mount.mountPoint = unescapedField(takeField(line, ' '));
    takeField(line, ' ');  // options
    while (!line.empty() && takeField(line, ' ') != "-") {
    }
    mount.fileSystem = unescapedField(takeField(line, ' '));
    if (!major || !minor || !mount.mountPoint.starts_with('/') || mount.fileSystem.empty())
        return std::nullopt;
    mount.device = unescapedField(takeField(line, ' '));
    mount.deviceId = makedev(*major, *minor);
    return mount;
}

// Shared by the watching thread and the handle, so that the handle may go away on that thread too.
struct Watch {
    Descriptor mountInfo;
    Descriptor ended;
    std::function<void()> changed;
};

// The kernel remembers per open file which state of the table it has announced; poll alone takes the news, so
// nothing is read.
void announceChanges(const Watch& watch) {
    pollfd waits[] = {{watch.mountInfo.get(), POLLPRI, 0}, {watch.ended.get(), POLLIN, 0}};
    while (retrying([&] { return ::poll(waits, 2, -1); }) > 0) {
        if (waits[1].revents != 0) return;
        if ((waits[0].revents & (POLLPRI | POLLERR)) != 0) watch.changed();
    }
}

class WatchHandle {
  public:
    explicit WatchHandle(std::shared_ptr<Watch> watch)
        : watch_(std::move(watch)), thread_([shared = watch_] { announceChanges(*shared); }) {}
    WatchHandle(const WatchHandle&) = delete;
    WatchHandle& operator=(const WatchHandle&) = delete;

    ~WatchHandle() {
        ::eventfd_write(watch_->ended.get(), 1);
        if (thread_.get_id() == std::this_thread::get_id()) {
            thread_.detach();
        } else {
            thread_.join();
        }
    }

  private:
    std::shared_ptr<Watch> watch_;
    std::thread thread_;
};

class SystemMountTable final : public MountTable {
  public:
    std::vector<Mount> mounts() const override {
        try {
            return parseMountInfo(readWholeFile(kMountInfo).value_or(""));
        } catch (const Error&) {
            return {};
        }
    }

    std::shared_ptr<void> watch(std::function<void()> changed) override {
        auto watch = std::make_shared<Watch>();
        watch->mountInfo = Descriptor(retrying([] { return ::open(kMountInfo, O_RDONLY | O_CLOEXEC); }));
        watch->ended = Descriptor(::eventfd(0, EFD_CLOEXEC));
        watch->changed = std::move(changed);
        // Without /proc there is nothing to tell; the handle is then an empty promise.
        if (!watch->mountInfo.isOpen() || !watch->ended.isOpen()) return watch;
        return std::make_shared<WatchHandle>(std::move(watch));
    }
};

// The number of the block device behind a path.
std::optional<dev_t> blockDevice(const std::string& path) {
    struct stat status;
    const int result = retrying([&] { return ::stat(path.c_str(), &status); });
    if (result != 0 || !S_ISBLK(status.st_mode)) return std::nullopt;
    return status.st_rdev;
}

// udev links each labelled device under its label, in which it writes awkward bytes as \x20. The devices are
// compared by number: mountinfo may name a disk by another of its links.
std::string labelOf(const std::string& device) {
    OpenDirectory labels;
    const auto wanted = blockDevice(device);
    if (!wanted || labels.open(kLabels) != 0) return {};
    DirectoryReader reader;
    reader.start(labels);
    for (DirectoryEntry entry; reader.next(entry);) {
        if (blockDevice(std::string(kLabels) + "/" + std::string(entry.name)) == wanted) {
            return unescaped(entry.name, "\\x", 2, 16);
        }
    }
    return {};
}

}  // namespace

bool isPseudoFileSystem(std::string_view fileSystem) {
    return std::ranges::binary_search(kPseudo, fileSystem);
}

bool isNetworkFileSystem(std::string_view fileSystem) {
    return std::ranges::binary_search(kNetwork, fileSystem);
}

std::vector<Mount> parseMountInfo(std::string_view text) {
    std::vector<Mount> all;
    while (!text.empty()) {
        if (auto mount = parseLine(takeField(text, '\n'))) all.push_back(std::move(*mount));
    }
    std::unordered_set<std::string> covered;
    std::vector<Mount> visible;
    for (auto mount = all.rbegin(); mount != all.rend(); ++mount) {
        if (covered.insert(mount->mountPoint).second) visible.push_back(std::move(*mount));
    }
    std::ranges::reverse(visible);
    return visible;
}

MountTable& MountTable::system() {
    static SystemMountTable table;
    return table;
}

VolumeFacts volumeFacts(const Mount& mount) {
    VolumeFacts facts;
    if (mount.device.starts_with('/')) facts.label = labelOf(mount.device);
    struct statvfs status;
    const int result = retrying([&] { return ::statvfs(mount.mountPoint.c_str(), &status); });
    if (result == 0) facts.capacity = static_cast<std::uint64_t>(status.f_blocks) * status.f_frsize;
    return facts;
}

}  // namespace kestrix
