// The merge's judgements about paths, made fast for paths that come folder by folder.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "language/query_container.h"

namespace kestrix {

// Neighbouring results mostly lie in the same folder. What was worked out for the folder of the last path is
// kept for the next one, so of most paths only the name is looked at. Every answer equals the one for the
// path judged alone, but expansionsOf, which leaves out what it told for the path before. Threads: one at a
// time; each stretch of work makes its own. Lives no longer than the query.
class PathJudge {
  public:
    explicit PathJudge(const QueryContainer& query);

    // The path's CRC-64.
    std::int64_t key(std::string_view path);

    // The folders on the way to the path whose names hold search words, none if the path before lay in the
    // same folder. Valid until the next call.
    const std::vector<std::string>& expansionsOf(std::string_view path);

    bool isInQueryLocation(std::string_view path);

    // In a system folder, hidden, or inside a package, as seen from the place that the user named.
    bool isLeftOut(std::string_view path);

  private:
    std::optional<std::string_view> nameInFolder(std::string_view path);
    void rememberFolder(std::string_view folder);
    bool holdsSpecialChild() const;
    bool isLeftOutAlone(std::string_view path) const;

    const QueryContainer& query_;
    const bool everywhere_;                                  // every path is in the location
    const std::span<const std::string_view> systemFolders_;  // telling them costs a system call

    // The folder of the last path, with its slash, and what is known of it so far.
    std::string folder_;
    bool plain_ = false;  // absolute and without empty components
    std::optional<std::uint64_t> folderCrc_;
    bool expanded_ = false;
    std::optional<bool> inLocation_;
    enum class Children { allLeftOut, byName, eachAlone };
    std::optional<Children> children_;

    std::vector<std::string> expansions_;
};

}  // namespace kestrix
