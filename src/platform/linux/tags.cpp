#include "platform/tags.h"

#include <fmt/format.h>
#include <sys/xattr.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "base/error.h"
#include "base/text.h"
#include "platform/linux/system_call.h"

namespace kestrix {

namespace {

constexpr const char* kAttribute = "user.xdg.tags";

// Enough for most files in one call.
constexpr std::size_t kUsualLength = 256;

// The attribute's bytes, empty without one. It may grow between asking for its length and reading it.
std::string rawTags(const std::string& path) {
    std::array<char, kUsualLength> usual;
    const auto read = [&](char* bytes, std::size_t size) {
        return retrying([&] { return ::getxattr(path.c_str(), kAttribute, bytes, size); });
    };
    ssize_t got = read(usual.data(), usual.size());
    if (got >= 0) return {usual.data(), static_cast<std::size_t>(got)};
    while (got < 0 && errno == ERANGE) {
        const ssize_t length = read(nullptr, 0);
        if (length <= 0) return {};
        std::string bytes(static_cast<std::size_t>(length), '\0');
        got = read(bytes.data(), bytes.size());
        if (got >= 0) return bytes.substr(0, static_cast<std::size_t>(got));
    }
    return {};
}

std::string joined(const std::vector<std::string>& tags) {
    std::vector<std::string_view> kept;
    for (const std::string& tag : tags) {
        const std::string_view trimmed = text::trimmed(tag);
        if (trimmed.empty()) throw Error("Tags", 0, "a tag cannot be empty");
        if (trimmed.find(',') != std::string_view::npos)
            throw Error("Tags", 0,
                        fmt::format("the tag \"{}\" holds a comma, which separates tags", trimmed));
        if (std::ranges::find(kept, trimmed) == kept.end()) kept.push_back(trimmed);
    }
    return fmt::format("{}", fmt::join(kept, ","));
}

}  // namespace

std::vector<std::string> readTags(const std::string& path) {
    const std::string raw = rawTags(path);
    std::vector<std::string> tags;
    for (const std::string_view piece : text::splitAt(raw, ',')) {
        const std::string_view tag = text::trimmed(piece);
        if (!tag.empty()) tags.emplace_back(tag);
    }
    return tags;
}

void writeTags(const std::string& path, const std::vector<std::string>& tags) {
    const std::string value = joined(tags);
    if (value.empty()) {
        const int result = retrying([&] { return ::removexattr(path.c_str(), kAttribute); });
        if (result != 0 && errno != ENODATA) throwError("remove the tags of", path, errno);
        return;
    }
    const int result =
        retrying([&] { return ::setxattr(path.c_str(), kAttribute, value.data(), value.size(), 0); });
    if (result != 0) throwError("set the tags of", path, errno);
}

}  // namespace kestrix
