// What long jobs tell the user while they run, in one list.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/clock.h"
#include "base/lock.h"
#include "base/main_queue.h"
#include "base/notification_center.h"
#include "base/ordered_dictionary.h"
#include "base/uuid.h"

namespace kestrix {

class ActivityItem;

// Implemented by jobs that can be stopped from the list. Called on the thread of whoever cancels.
class ActivityItemCancelProtocol {
  public:
    virtual ~ActivityItemCancelProtocol() = default;
    virtual void cancel(ActivityItem& item) = 0;
};

// One job. Its job changes the texts and counts from any thread and publishes them with
// ActivityController::save. Identity is the id.
class ActivityItem {
  public:
    enum class Image { cache, search, document, trash, clipboard };
    enum class ProgressStyle { none, indeterminate, determinate };

    // What a job says of itself; read and written as one value.
    struct Texts {
        std::string leftText;
        std::string rightText;
        std::optional<std::string> shortStatus;
        std::optional<std::string> verb;
        std::optional<std::int64_t> totalUnitCount;
        std::optional<std::int64_t> completedUnitCount;
        std::optional<int> currentItemPercentage;
        std::optional<std::string> currentItemTarget;  // a path
    };

    struct Options {
        std::optional<Uuid> parent;
        Image image = Image::search;
        bool autoShowWindow = false;
        ProgressStyle style = ProgressStyle::indeterminate;
        std::weak_ptr<ActivityItemCancelProtocol> cancelTarget;
        std::function<void(ActivityItem&)> cancelFunc;
    };

    ActivityItem(std::string leftText, std::string rightText, Options options, WallTime createdAt);

    const Uuid& id() const { return id_; }
    WallTime createdAt() const { return createdAt_; }
    const Options& options() const { return options_; }

    Texts texts() const { return texts_.get(); }
    template <typename Change>
    void change(Change&& change) {
        texts_.modify(std::forward<Change>(change));
    }

    // Notes the wish, then asks the target or the function to stop the job. Any thread.
    void cancel();
    bool hasCanceled() const { return hasCanceled_; }

  private:
    friend class ActivityController;

    const Uuid id_ = Uuid::make();
    const WallTime createdAt_;
    const Options options_;
    Locked<Texts> texts_;
    std::atomic<bool> hasCanceled_ = false;
    bool didAutoShowController_ = false;  // main queue
};

// The window that shows the list. Called on the main queue; all optional.
class ActivityView {
  public:
    virtual ~ActivityView() = default;
    virtual void activitiesChanged() = 0;
    // True if the window was not open before and is now.
    virtual bool showActivities() { return false; }
    virtual void closeActivities() {}
};

// The list of running jobs in order of creation. It is touched on the main queue only; save and remove hop
// there and return at once, whichever thread calls them. Made and ended on the thread that serves the queue.
class ActivityController {
  public:
    static constexpr const char* StatusChangedNotification = "ActivityItem.StatusChangedNotification";

    ActivityController(MainQueue& mainQueue, NotificationCenter& notifications,
                       Clock& clock = Clock::system());
    ~ActivityController();

    // Makes an item and saves it.
    std::shared_ptr<ActivityItem> begin(std::string leftText, std::string rightText,
                                        ActivityItem::Options options);
    void save(std::shared_ptr<ActivityItem> item);
    void remove(const Uuid& id);

    // Main queue only, from here on.
    bool isActivityForID(const Uuid& id) const;
    std::vector<std::shared_ptr<ActivityItem>> items() const;
    // When the list last changed in a way worth drawing.
    WallTime didChangeAt() const;
    // The view is told of changes, and opened for items that ask for it after two seconds. nullptr takes it
    // away.
    void setView(ActivityView* view);
    // The user closed the window: from now on no item opens it.
    void windowClosedManually();

  private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace kestrix
