// Text operations on paths: no file system is asked. A path is bytes, separated by "/".
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kestrix::path {

// The text after the last "/", trailing slashes ignored: "/a/b/" gives "b", "/" gives "/", "" gives "".
std::string_view lastComponent(std::string_view path);

// The extension of the last component: the text after its last ".", without the dot. Empty where there is
// none, where the only dot leads the name (".profile") or ends it.
std::string_view extension(std::string_view path);

// The path without its last component and the slash before it: "/a/b" gives "/a", "/a" gives "/", "a" gives
// "". Nothing is above "/": it gives "", so that climbing ends.
std::string_view parent(std::string_view path);

// The pieces between slashes, empty ones omitted.
std::vector<std::string_view> components(std::string_view path);

// `directory` + "/" + `name`, without a doubled slash.
std::string join(std::string_view directory, std::string_view name);

// Without trailing slashes; "/" stays.
std::string_view withoutTrailingSlash(std::string_view path);

// Whether `path` is `prefix` or lies below it, by whole components: /usr2 is not below /usr. "/" holds every
// absolute path.
bool isOrIsBelow(std::string_view path, std::string_view prefix);

// `path` made absolute against `workingDirectory`, with ".", ".." and doubled slashes taken out by text
// alone.
std::string normalized(std::string_view path, std::string_view workingDirectory);

}  // namespace kestrix::path
