#include "platform/extended_attributes.h"

#include <sys/xattr.h>

#include <algorithm>
#include <string_view>

#include "platform/linux/system_call.h"

namespace kestrix {

namespace {

// The kernel's answer: all names, each with its null. The length may grow between asking for it and reading.
std::string rawList(const std::string& path) {
    for (;;) {
        const ssize_t length = retrying([&] { return ::listxattr(path.c_str(), nullptr, 0); });
        if (length <= 0) return {};
        std::string names(static_cast<std::size_t>(length), '\0');
        const ssize_t got = retrying([&] { return ::listxattr(path.c_str(), names.data(), names.size()); });
        if (got >= 0) {
            names.resize(static_cast<std::size_t>(got));
            return names;
        }
        if (errno != ERANGE) return {};
    }
}

}  // namespace

std::vector<std::string> listExtendedAttributes(const std::string& path) {
    const std::string raw = rawList(path);
    std::vector<std::string> names;
    for (std::string_view rest = raw; !rest.empty();) {
        const std::string_view name = rest.substr(0, rest.find('\0'));
        if (name.starts_with("user.")) names.emplace_back(name);
        rest.remove_prefix(std::min(rest.size(), name.size() + 1));
    }
    return names;
}

}  // namespace kestrix
