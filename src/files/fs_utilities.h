// Judgements about paths that need no look at the disk: system folders, hidden places, packages.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kestrix {

// A place that the user named outright is searched whatever it is: the operations that take a `start` judge
// only what of the path lies below it, as if the start were an ordinary folder. An empty start means the
// whole path. Threads: any.
class FSUtilities {
  public:
    // In a folder of the system's own (platform/system_rules.h), or equal to "/". With a start that itself
    // lies in a system folder, nothing below it is.
    static bool isInsideOSDirectory(std::string_view path, std::string_view start = {});

    // Below or in a hidden component (leading dot), in a component with the extension "framework", or inside
    // a package. A package itself is a result, what lies inside it is not.
    static bool isInvisibleOrInsidePackage(std::string_view path, std::string_view start = {});

    // The same judgements for one child, for a walk that knows its parent is fine: whether a child folder is
    // to be left out of a walk that shows neither hidden things nor packages.
    static bool isInvisibleName(std::string_view name) { return !name.empty() && name.front() == '.'; }
    static bool isClosedFolderName(std::string_view name);

    static bool isHidden(std::string_view path);
    static bool hasPackageExtension(std::string_view path);
};

}  // namespace kestrix
