#include "shell/activity.h"

#include <cassert>

namespace kestrix {

namespace {

constexpr Seconds kTick{1.0};
constexpr Seconds kShowsItselfAfter{2.0};

}  // namespace

ActivityItem::ActivityItem(std::string leftText, std::string rightText, Options options, WallTime createdAt)
    : createdAt_(createdAt), options_(std::move(options)) {
    Texts texts;
    texts.leftText = std::move(leftText);
    texts.rightText = std::move(rightText);
    texts_.set(std::move(texts));
}

void ActivityItem::cancel() {
    hasCanceled_ = true;
    if (const auto target = options_.cancelTarget.lock()) {
        target->cancel(*this);
    } else if (options_.cancelFunc) {
        options_.cancelFunc(*this);
    }
}

// Blocks on the main queue hold it weakly: what was posted before the controller ended does nothing after it.
struct ActivityController::State : std::enable_shared_from_this<State> {
    State(MainQueue& queue, NotificationCenter& center, Clock& time)
        : mainQueue(queue), notifications(center), clock(time) {}

    void store(std::shared_ptr<ActivityItem> item);
    void take(const Uuid& id);
    void tellOfChange();
    void updateTimer();
    void stopTimer();
    void startTimer();
    void tick();
    void showForLongItems();
    std::vector<std::shared_ptr<ActivityItem>> list() const;

    // Runs `step` on the main queue if this still lives then.
    template <typename Step>
    void onMainQueue(Step step) {
        mainQueue.post([weak = weak_from_this(), step = std::move(step)] {
            if (const auto state = weak.lock()) step(*state);
        });
    }

    MainQueue& mainQueue;
    NotificationCenter& notifications;
    Clock& clock;
    OrderedDictionary<Uuid, std::shared_ptr<ActivityItem>> items;
    std::optional<MainQueue::Ticket> updateTimerTicket;
    bool updateNeeded = false;
    bool windowClosed = false;
    WallTime didChange{};
    ActivityView* view = nullptr;
};

void ActivityController::State::store(std::shared_ptr<ActivityItem> item) {
    const Uuid id = item->id();
    items.set(id, std::move(item));
    tellOfChange();
    updateTimer();
}

void ActivityController::State::take(const Uuid& id) {
    bool openedTheWindow = false;
    if (const auto* found = items.find(id)) {
        openedTheWindow = (*found)->didAutoShowController_;
        items.erase(id);
    }
    tellOfChange();
    updateTimer();
    if (openedTheWindow && items.empty() && view != nullptr) view->closeActivities();
}

void ActivityController::State::tellOfChange() {
    if (view != nullptr) view->activitiesChanged();
    notifications.post(StatusChangedNotification);
}

void ActivityController::State::updateTimer() {
    updateNeeded = true;
    if (items.empty()) {
        didChange = clock.now();
        stopTimer();
    } else if (!updateTimerTicket) {
        startTimer();
    }
}

void ActivityController::State::stopTimer() {
    if (updateTimerTicket) mainQueue.cancel(*updateTimerTicket);
    updateTimerTicket.reset();
}

void ActivityController::State::startTimer() {
    updateTimerTicket = mainQueue.postAfter(kTick, [weak = weak_from_this()] {
        if (const auto state = weak.lock()) state->tick();
    });
}

void ActivityController::State::tick() {
    startTimer();
    showForLongItems();
    if (!updateNeeded) return;
    updateNeeded = false;
    didChange = clock.now();
    if (view != nullptr) view->activitiesChanged();
}

void ActivityController::State::showForLongItems() {
    const WallTime now = clock.now();
    for (const auto& item : list()) {
        if (view == nullptr || windowClosed) return;
        if (!item->options().autoShowWindow || item->createdAt() + kShowsItselfAfter >= now) continue;
        if (view->showActivities()) item->didAutoShowController_ = true;
    }
}

std::vector<std::shared_ptr<ActivityItem>> ActivityController::State::list() const {
    std::vector<std::shared_ptr<ActivityItem>> list;
    for (const auto& [id, item] : items)
        list.push_back(item);
    return list;
}

ActivityController::ActivityController(MainQueue& mainQueue, NotificationCenter& notifications, Clock& clock)
    : state_(std::make_shared<State>(mainQueue, notifications, clock)) {}

ActivityController::~ActivityController() {
    state_->stopTimer();
}

std::shared_ptr<ActivityItem> ActivityController::begin(std::string leftText, std::string rightText,
                                                        ActivityItem::Options options) {
    auto item = std::make_shared<ActivityItem>(std::move(leftText), std::move(rightText), std::move(options),
                                               state_->clock.now());
    save(item);
    return item;
}

void ActivityController::save(std::shared_ptr<ActivityItem> item) {
    assert(item != nullptr);
    state_->onMainQueue([item = std::move(item)](State& state) { state.store(item); });
}

void ActivityController::remove(const Uuid& id) {
    state_->onMainQueue([id](State& state) { state.take(id); });
}

bool ActivityController::isActivityForID(const Uuid& id) const {
    return state_->items.find(id) != nullptr;
}

std::vector<std::shared_ptr<ActivityItem>> ActivityController::items() const {
    return state_->list();
}

WallTime ActivityController::didChangeAt() const {
    return state_->didChange;
}

void ActivityController::setView(ActivityView* view) {
    state_->view = view;
}

void ActivityController::windowClosedManually() {
    state_->windowClosed = true;
}

}  // namespace kestrix
