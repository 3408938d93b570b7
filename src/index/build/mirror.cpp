#include "index/build/mirror.h"

#include <fmt/format.h>

#include <cerrno>
#include <system_error>
#include <tuple>

#include "base/path.h"
#include "index/content_index.h"
#include "platform/stored_file.h"
#include "shell/activity.h"
#include "shell/guru_meditation.h"
#include "shell/logger.h"

namespace kestrix {

namespace {

constexpr const char* kUnfinished = ".mirroring";

auto comparable(const std::optional<Timestamp>& date) {
    return date ? std::tuple(true, date->seconds, date->nanoseconds) : std::tuple(false, std::int64_t{0}, 0U);
}

Seconds distance(const Timestamp& date, WallTime now) {
    const Seconds since1970(static_cast<double>(date.seconds) + date.nanoseconds * 1e-9);
    return Seconds(std::abs((since1970 - Seconds(now.time_since_epoch())).count()));
}

// A file system that keeps coarser dates than the other's would make one copy look older for ever. Where the
// source may not be changed that remains, and costs a copy now and then.
void equalDates(const std::string& from, const Timestamp& date, const std::string& to) {
    const auto kept = changeDateOf(to);
    if (!kept || *kept == date) return;
    try {
        setModificationDate(from, *kept);
    } catch (const Error& error) {
        LogFunc(error.what());
    }
}

// An error of any kind counts as a copy that cannot be reached.
std::optional<Timestamp> reachableDateOf(const std::string& remote) {
    FileAttributes attributes;
    if (readAttributes(remote, true, attributes) != 0) return std::nullopt;
    return attributes.modified;
}

// In the list of activities for as long as it lives.
class MirrorActivity {
  public:
    explicit MirrorActivity(ActivityController* activities) : activities_(activities) {
        if (!activities_) return;
        ActivityItem::Options options;
        options.image = ActivityItem::Image::cache;
        item_ = activities_->begin("Mirroring Cache File. Please Wait...", "", std::move(options));
    }
    ~MirrorActivity() {
        if (item_) activities_->remove(item_->id());
    }
    MirrorActivity(const MirrorActivity&) = delete;
    MirrorActivity& operator=(const MirrorActivity&) = delete;

  private:
    ActivityController* activities_;
    std::shared_ptr<ActivityItem> item_;
};

}  // namespace

MirrorStep mirrorStep(const std::optional<Timestamp>& localDate, const std::optional<Timestamp>& remoteDate,
                      WallTime now, bool alwaysSync) {
    if (!alwaysSync && localDate && remoteDate && distance(*remoteDate, now) < kMirrorSettles)
        return MirrorStep::busy;
    if (comparable(localDate) < comparable(remoteDate)) return MirrorStep::remoteToLocal;
    if (comparable(remoteDate) < comparable(localDate)) return MirrorStep::localToRemote;
    return MirrorStep::none;
}

std::optional<Timestamp> changeDateOf(const std::string& file) {
    FileAttributes attributes;
    const int error = readAttributes(file, true, attributes);
    if (error == 0) return attributes.modified;
    if (error == ENOENT || error == ENOTDIR) return std::nullopt;
    throw Error(kPosixDomain, error,
                fmt::format("cannot read {}: {}", file, std::generic_category().message(error)));
}

void copyCatalog(const std::string& from, const std::string& to, std::size_t mapSize) {
    std::unique_ptr<FileRangesLock> buildersOut;
    if (changeDateOf(to)) {
        buildersOut = SimpleLMDB::keepBuildersOut(to);
        if (!buildersOut) throw Error("Catalog", EBUSY, to + " is being updated by another process");
    }
    const auto date = changeDateOf(from);
    SimpleLMDB source;
    source.open(from, {.mapSize = mapSize, .readOnly = true});
    const std::string copy = to + kUnfinished;
    try {
        source.copyCompacted(copy);
        setModificationDate(copy, *date);
        putInPlace(copy, to);
    } catch (const Error&) {
        removeFile(copy);
        throw;
    }
    equalDates(from, *date, to);
}

bool ContentIndex::mirrorIfNeeded(bool alwaysSync) {
    const auto remote = remoteDBFile();
    if (!remote) return false;
    try {
        const auto step = mirrorStep(changeDateOf(localDBFile_), reachableDateOf(*remote),
                                     environment_.clock.now(), alwaysSync);
        if (step == MirrorStep::remoteToLocal) return copyMirror(*remote, localDBFile_);
        // A disk that is away is no failure of a mirror that nobody asked for.
        const bool isAway = !changeDateOf(std::string(path::parent(*remote)));
        if (step == MirrorStep::localToRemote && (alwaysSync || !isAway)) {
            // A search may ask for this while someone builds: half a build must not replace the good copy.
            if (SimpleLMDB::keepBuildersOut(localDBFile_)) return copyMirror(localDBFile_, *remote);
            LogFunc("DB file is being built: " + localDBFile_);
            return false;
        }
        LogFunc(step == MirrorStep::busy ? "DB file appears busy: " + *remote : "Mirror: no sync required.");
    } catch (const Error& error) {
        LogFunc(std::string("Mirror Error: ") + error.what());
        tell(error);
    }
    return false;
}

void ContentIndex::takeMirror(const std::string& remote) {
    try {
        if (changeDateOf(remote)) copyMirror(remote, localDBFile_);
    } catch (const Error& error) {
        tell(error);
    }
}

// Whoever has the local file open goes on reading the old one, and would build in it: so it is not exchanged
// while it is open here, nor opened meanwhile.
bool ContentIndex::copyMirror(const std::string& from, const std::string& to) {
    {
        std::unique_lock hold(openLock_, std::defer_lock);
        if (to == localDBFile_) hold.lock();
        if (hold.owns_lock() && openCount_ > 0) {
            LogFunc("DB file is in use: " + to);
            return false;
        }
        const MirrorActivity activity(environment_.activities);
        LogFunc(to == localDBFile_ ? "Mirror: Remote " + from + " to Local " + to
                                   : "Mirror: Local " + from + " to remote " + to);
        copyCatalog(from, to, environment_.mapSize);
    }
    loadDocumentInfo();
    if (environment_.catalogsChanged) environment_.catalogsChanged();
    return true;
}

void ContentIndex::tell(const Error& error) const {
    if (environment_.failures) environment_.failures->showErrorAlert(error);
}

}  // namespace kestrix
