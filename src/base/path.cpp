#include "base/path.h"

#include <algorithm>

namespace kestrix::path {

std::string_view withoutTrailingSlash(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') {
        path.remove_suffix(1);
    }
    return path;
}

// Most of what comes here is a bare name, and the search from the front is the faster one.
std::string_view lastComponent(std::string_view path) {
    if (path.find('/') == std::string_view::npos) return path;
    path = withoutTrailingSlash(path);
    if (path == "/") return path;
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

std::string_view extension(std::string_view path) {
    const std::string_view name = lastComponent(path);
    const std::size_t dot = name.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? std::string_view() : name.substr(dot + 1);
}

std::string_view parent(std::string_view path) {
    path = withoutTrailingSlash(path);
    if (path == "/") return {};
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view()
                                           : withoutTrailingSlash(path.substr(0, slash + 1));
}

std::vector<std::string_view> components(std::string_view path) {
    std::vector<std::string_view> pieces;
    for (std::size_t start = 0; start < path.size();) {
        const std::size_t slash = std::min(path.find('/', start), path.size());
        if (slash > start) pieces.push_back(path.substr(start, slash - start));
        start = slash + 1;
    }
    return pieces;
}

std::string join(std::string_view directory, std::string_view name) {
    if (directory.empty()) return std::string(name);
    directory = withoutTrailingSlash(directory);
    while (!name.empty() && name.front() == '/') {
        name.remove_prefix(1);
    }
    std::string joined;
    joined.reserve(directory.size() + 1 + name.size());
    joined += directory;
    if (!name.empty() && joined.back() != '/') joined += '/';
    joined += name;
    return joined;
}

bool isOrIsBelow(std::string_view path, std::string_view prefix) {
    prefix = withoutTrailingSlash(prefix);
    if (prefix.empty()) return path.empty();
    if (!path.starts_with(prefix)) return false;
    return path.size() == prefix.size() || prefix == "/" || path[prefix.size()] == '/';
}

std::string normalized(std::string_view path, std::string_view workingDirectory) {
    std::string result;
    const auto walk = [&result](std::string_view text) {
        for (const std::string_view piece : components(text)) {
            if (piece == ".") continue;
            if (piece == "..") {
                result.resize(std::min(result.rfind('/'), result.size()));
                continue;
            }
            result += '/';
            result += piece;
        }
    };
    if (!path.starts_with('/')) walk(workingDirectory);
    walk(path);
    return result.empty() ? "/" : result;
}

}  // namespace kestrix::path
