#include "actions/deletor.h"

#include <fmt/format.h>

#include <algorithm>
#include <any>
#include <cerrno>

#include "base/delay_timer.h"
#include "base/path.h"
#include "platform/tree_removal.h"

namespace kestrix {

namespace {

// As often as a person reads numbers that change.
constexpr Seconds kTellsEvery{0.2};

DeletorView::Warning warningAbout(const std::vector<std::string>& paths) {
    DeletorView::Warning warning;
    const std::string_view first = path::lastComponent(paths.front());
    warning.message = fmt::format("Are you sure you want to delete “{}”", first);
    if (paths.size() > 1) warning.message += fmt::format(" and {} other item(s)", paths.size() - 1);
    warning.message += '?';
    warning.informativeText = "This item will be deleted immediately. You can’t undo this action.";
    warning.deleteButton = "Delete Immediately";
    warning.cancelButton = "Cancel";
    return warning;
}

}  // namespace

DeletorWorker::DeletorWorker(std::vector<std::string> itemsToDelete, DeletorEnvironment environment)
    : itemsToDelete_(std::move(itemsToDelete)), environment_(environment) {}

void DeletorWorker::deleteItems() {
    ActivityItem::Options options;
    options.image = ActivityItem::Image::trash;
    options.autoShowWindow = true;
    options.style = ActivityItem::ProgressStyle::determinate;
    options.cancelTarget = weak_from_this();
    const std::size_t count = itemsToDelete_.size();
    const auto activity =
        environment_.activities.begin(fmt::format("Deleting {} Item(s)", count), "", std::move(options));

    mounts_ = environment_.mounts.mounts();
    std::vector<std::string> gone;
    for (std::size_t index = 0; index < count && !userCancel_; ++index) {
        const std::string& path = itemsToDelete_[index];
        activity->change([&](ActivityItem::Texts& texts) {
            texts.rightText = fmt::format("{} of {}", index + 1, count);
            texts.totalUnitCount = static_cast<std::int64_t>(count);
            texts.completedUnitCount = static_cast<std::int64_t>(index);
            texts.currentItemTarget = path;
        });
        environment_.activities.save(activity);
        if (deleteItem(path, activity)) gone.push_back(path);
    }
    environment_.notifications.post(Deletor::DidChange, std::move(gone));
    environment_.activities.remove(activity->id());
}

bool DeletorWorker::deleteItem(const std::string& path, const std::shared_ptr<ActivityItem>& activity) {
    if (holdsMount(path)) {
        environment_.failures.showErrorAlert(
            Error(kPosixDomain, EBUSY,
                  "cannot delete " + path + ": a disk is mounted there or below; unmount it first"));
        return false;
    }
    std::int64_t files = 0;
    DelayTimer due(kTellsEvery, environment_.clock);
    RemovalWatch watch;
    watch.shouldStop = [this] { return userCancel_.load(); };
    watch.failed = [this](const Error& failure) { environment_.failures.showErrorAlert(failure); };
    watch.removed = [&] {
        ++files;
        if (!due.hasElapsed()) return;
        activity->change(
            [&](ActivityItem::Texts& texts) { texts.shortStatus = fmt::format("{} files", files); });
        environment_.activities.save(activity);
    };
    return removeTree(path, watch) == RemovalOutcome::removed;
}

// Asked before anything goes, so that a folder is not emptied around a disk that somebody forgot in it. A
// disk that is mounted later than this is met on the way, and stays.
bool DeletorWorker::holdsMount(const std::string& path) const {
    return std::any_of(mounts_.begin(), mounts_.end(),
                       [&](const Mount& mount) { return path::isOrIsBelow(mount.mountPoint, path); });
}

Deletor::~Deletor() {
    cancel();
}

bool Deletor::deleteUI(std::vector<std::string> paths, DeletorView& view) {
    if (paths.empty() || !view.confirm(warningAbout(paths))) return false;
    view.showActivityWindow();
    const auto worker = std::make_shared<DeletorWorker>(std::move(paths), environment_);
    std::erase_if(workers_, [](const auto& each) { return each.expired(); });
    workers_.push_back(worker);
    queue_.add([worker] { worker->deleteItems(); });
    return true;
}

void Deletor::cancel() {
    for (const auto& each : workers_) {
        if (const auto worker = each.lock()) worker->cancel();
    }
}

NotificationCenter::Observation Deletor::itemsDeleted(NotificationCenter& notifications, Handler handler) {
    return notifications.observeObject(DidChange, [handler = std::move(handler)](const std::any& object) {
        if (const auto* paths = std::any_cast<std::vector<std::string>>(&object)) handler(*paths);
    });
}

}  // namespace kestrix
