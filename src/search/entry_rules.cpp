#include "search/entry_rules.h"

#include <optional>
#include <utility>

#include "base/path.h"
#include "files/fs_utilities.h"

namespace kestrix {

namespace {

// A range that ends "now" was worked out when the line was read, and moves on while the search runs: the end
// of a range of dates rules a file out only from this many seconds on.
constexpr std::int64_t kRangeAge = 86'400;

bool isOutside(const std::optional<NumberRange>& range, std::int64_t date) {
    if (!range) return false;
    return date < range->lowerBound || (date >= range->upperBound && date - range->upperBound >= kRangeAge);
}

}  // namespace

EntryRules::EntryRules(const QueryContainer& query, std::string start, bool invisibleItems)
    : query_(query),
      start_(std::move(start)),
      invisibleItems_(invisibleItems),
      takesEverything_(query.isORCommandSearch()),
      maxDepth_(query.commandOfType<MaxDepth>()) {}

bool EntryRules::isRuledOut(std::uint64_t size, std::int64_t modified, std::int64_t created) const {
    if (takesEverything_) return false;
    const QuerySearchArguments& wanted = query_.querySearchArguments();
    return (wanted.fileSize && !wanted.fileSize->contains(static_cast<std::int64_t>(size))) ||
           isOutside(wanted.modificationDate, modified) || isOutside(wanted.creationDate, created);
}

bool EntryRules::entersChildrenOf(std::string_view folder) const {
    return !maxDepth_ || maxDepth_->letsEnterChildrenOf(folder);
}

bool EntryRules::enters(std::string_view folder, std::string_view name) const {
    if (name == "Backups.backupdb") return false;
    if (invisibleItems_) return true;
    return !FSUtilities::isClosedFolderName(name) &&
           !FSUtilities::isInsideOSDirectory(path::join(folder, name), start_);
}

}  // namespace kestrix
