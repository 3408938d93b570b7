// Deleting chosen files for good, after a warning, as a job in the list of activities.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/notification_center.h"
#include "base/operation_queue.h"
#include "platform/mounts.h"
#include "shell/activity.h"
#include "shell/guru_meditation.h"

namespace kestrix {

// What a deletion tells; all of it outlives every one.
struct DeletorEnvironment {
    NotificationCenter& notifications;
    ActivityController& activities;
    GuruMeditation& failures;
    MountTable& mounts = MountTable::system();
    Clock& clock = Clock::system();
};

// One deletion. Cancelling keeps what is not reached yet; the item in work, if it is a folder, may be left in
// part.
class DeletorWorker : public ActivityItemCancelProtocol, public std::enable_shared_from_this<DeletorWorker> {
  public:
    // Absolute paths.
    DeletorWorker(std::vector<std::string> itemsToDelete, DeletorEnvironment environment);

    // Deletes the items in order, on this thread, and tells how far it has come through an activity. Folders
    // go whole; links are deleted and not followed. Each file that cannot be deleted is shown as a failure,
    // and the rest goes on. "/", mount points and folders in which something is mounted are refused as they
    // are. At the end the items that went are announced, also when there are none. Once; held by a
    // shared_ptr.
    void deleteItems();

    // Any thread.
    void cancel() { userCancel_ = true; }
    void cancel(ActivityItem&) override { cancel(); }

  private:
    bool deleteItem(const std::string& path, const std::shared_ptr<ActivityItem>& activity);
    bool holdsMount(const std::string& path) const;

    const std::vector<std::string> itemsToDelete_;
    DeletorEnvironment environment_;
    std::vector<Mount> mounts_;  // of the beginning
    std::atomic<bool> userCancel_ = false;
};

// How a front end asks and shows; called on the thread that calls deleteUI.
class DeletorView {
  public:
    // A critical alert.
    struct Warning {
        std::string message;
        std::string informativeText;
        std::string deleteButton;
        std::string cancelButton;
    };

    virtual ~DeletorView() = default;
    // Whether the user wants it.
    virtual bool confirm(const Warning& warning) = 0;
    virtual void showActivityWindow() {}
};

// Threads: the main queue's. Lives no longer than its environment; its end cancels what runs and waits.
class Deletor {
  public:
    static constexpr const char* DidChange = "Deletor.DidChange";
    // The items that went, whole.
    using Handler = std::function<void(const std::vector<std::string>& paths)>;

    explicit Deletor(DeletorEnvironment environment) : environment_(environment) {}
    ~Deletor();
    Deletor(const Deletor&) = delete;
    Deletor& operator=(const Deletor&) = delete;

    // Warns, then deletes on a thread of its own. Whether it does: not if the user declines or `paths` is
    // empty.
    bool deleteUI(std::vector<std::string> paths, DeletorView& view);

    // Cancels every deletion that runs.
    void cancel();

    // `handler` is called on the main queue at the end of each deletion, for as long as what is returned
    // lives.
    [[nodiscard]] static NotificationCenter::Observation itemsDeleted(NotificationCenter& notifications,
                                                                      Handler handler);

  private:
    DeletorEnvironment environment_;
    std::vector<std::weak_ptr<DeletorWorker>> workers_;
    OperationQueue queue_{OperationQueue::kUnlimited, "Deletor"};
};

}  // namespace kestrix
