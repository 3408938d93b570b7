// Which folders belong to the system, and which folders are shown as one thing. Data of this platform.
#pragma once

#include <span>
#include <string_view>

namespace kestrix {

// Absolute paths, without trailing slashes. "/root" is among them unless the user is root.
std::span<const std::string_view> systemFolders();

// Whether a path is a system folder or lies in one, by whole components. Any thread.
bool isInSystemFolder(std::string_view path);

// Whether a folder with this extension (without dot, any case) is a package: "app", "bundle", "photoslibrary"
// ...
bool isPackageExtension(std::string_view extension);

}  // namespace kestrix
