// What of a folder tree a search wants, by rules that need no look at anything but the entry itself. Shared
// by the sources that go through whole trees, on the disks and in catalogs, so that they find the same.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "language/commands/simple_commands.h"
#include "language/query_container.h"

namespace kestrix {

// Immutable; any thread. The query outlives it.
class EntryRules {
  public:
    // `start`: the place that the user named; what lies below it is judged as if it were an ordinary place.
    // `invisibleItems`: enter hidden folders, system folders and packages.
    EntryRules(const QueryContainer& query, std::string start, bool invisibleItems);

    const std::string& start() const { return start_; }

    // Whether an entry of this bare name may be a result.
    bool takesName(std::string_view name) const {
        return takesEverything_ || query_.fsItemNameStringIncludesWordsFromQuery(name);
    }

    // Whether the commands of the line are sure to turn an entry down for its size (bytes) or dates (seconds
    // since 1970). They are the judges; this only spares them work.
    bool isRuledOut(std::uint64_t size, std::int64_t modified, std::int64_t created) const;

    // Whether folders that lie directly in `folder` lie high enough to be looked into.
    bool entersChildrenOf(std::string_view folder) const;
    // Whether one of them is, by its name and place.
    bool enters(std::string_view folder, std::string_view name) const;

  private:
    const QueryContainer& query_;
    const std::string start_;
    const bool invisibleItems_;
    const bool takesEverything_;  // what does not hold the words may still satisfy the commands
    const std::shared_ptr<const MaxDepth> maxDepth_;  // or nullptr
};

}  // namespace kestrix
