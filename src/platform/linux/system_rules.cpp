#include "platform/system_rules.h"

#include <unistd.h>

#include <algorithm>
#include <array>

namespace kestrix {

namespace {

// The home of root stands last, so that root's own table is this one without its end.
// clang-format off
constexpr std::string_view kSystemFolders[] = {
    "/bin", "/boot", "/dev", "/etc", "/lib", "/lib32", "/lib64", "/libx32", "/lost+found", "/proc", "/run",
    "/sbin", "/snap", "/sys", "/tmp", "/usr", "/var", "/root",
};
// clang-format on
constexpr std::string_view kHomeOfRoot = std::end(kSystemFolders)[-1];

// Programs and documents that are folders underneath, wherever they come from: copied disks and shared
// folders bring them to Linux too. In lower case, sorted.
// clang-format off
constexpr std::string_view kPackageExtensions[] = {
    "action", "aplibrary", "app", "appex", "band", "bundle", "component", "docset", "download", "dsym",
    "fcpbundle", "fcpproject", "framework", "graffle", "imovielibrary", "imovieproject", "kext", "key",
    "keynote", "logicx", "mdimporter", "migratedphotolibrary", "mpkg", "musiclibrary", "numbers", "oo3",
    "pages", "photolibrary", "photoslibrary", "pkg", "playground", "playgroundbook", "plugin", "prefpane",
    "qlgenerator", "rtfd", "saver", "scptd", "screenflow", "sparsebundle", "swiftpm", "tvlibrary", "wdgt",
    "workflow", "xcarchive", "xcdatamodel", "xcdatamodeld", "xcodeproj", "xcplayground", "xcresult", "xctest",
    "xcworkspace", "xpc",
};
// clang-format on
static_assert(std::ranges::is_sorted(kPackageExtensions));

constexpr std::size_t kLongestExtension =
    std::ranges::max(kPackageExtensions, {}, &std::string_view::size).size();

char loweredByte(char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 32) : byte;
}

}  // namespace

std::span<const std::string_view> systemFolders() {
    static const bool isRoot = ::geteuid() == 0;  // asked for each slice of results
    return std::span(kSystemFolders).first(std::size(kSystemFolders) - (isRoot ? 1 : 0));
}

// Asked for each folder of a walk and for results: the byte behind the folder's length, which rules nearly
// every folder out, is looked at first, and the system call for the user is left to the few paths that hang
// on it.
bool isInSystemFolder(std::string_view path) {
    for (const std::string_view folder : kSystemFolders) {
        const bool endsThere =
            path.size() > folder.size() ? path[folder.size()] == '/' : path.size() == folder.size();
        if (endsThere && path.starts_with(folder)) return folder != kHomeOfRoot || ::geteuid() != 0;
    }
    return false;
}

bool isPackageExtension(std::string_view extension) {
    std::array<char, kLongestExtension> lowered;
    if (extension.size() > lowered.size()) return false;
    std::ranges::transform(extension, lowered.begin(), loweredByte);
    return std::ranges::binary_search(kPackageExtensions, std::string_view(lowered.data(), extension.size()));
}

}  // namespace kestrix
