// Keeping a catalog file in step with a second copy on another disk. The whole file of the newer one replaces
// the other; what was changed in both is not merged.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "base/clock.h"
#include "platform/directory.h"

namespace kestrix {

// Another machine may be writing a remote copy that was changed so short a time ago.
inline constexpr Seconds kMirrorSettles{120.0};

enum class MirrorStep { none, busy, localToRemote, remoteToLocal };

// What is to be done with files of these dates; nothing: the file is not there. `alwaysSync` passes over
// `busy`. A date may lie ahead of `now`, as another machine's clock told it.
MirrorStep mirrorStep(const std::optional<Timestamp>& localDate, const std::optional<Timestamp>& remoteDate,
                      WallTime now, bool alwaysSync);

// When the file was last changed; nothing if it is not there. Throws Error if it cannot be told.
std::optional<Timestamp> changeDateOf(const std::string& file);

// Puts a copy of the catalog `from` in place of `to`: one committed state of it, compacted, written beside
// `to`, synced and renamed, and what an interrupted copy left there is removed. Both have the same date
// afterwards. A damaged catalog is not copied. Throws Error, also if someone builds in `to`; then `to` is as
// it was. Any thread.
void copyCatalog(const std::string& from, const std::string& to, std::size_t mapSize);

}  // namespace kestrix
