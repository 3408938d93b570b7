#include "base/main_queue.h"

#include <limits>
#include <string_view>
#include <utility>

namespace kestrix {

// Due times are read under the lock, so that blocks which are posted one after the other also fall due so.
void RunLoop::post(Block block) {
    std::lock_guard hold(mutex_);
    blocks_.emplace(std::pair(clock_.steadyNow(), nextTicket_++), std::move(block));
    wakeup_.notify_all();
}

RunLoop::Ticket RunLoop::postAfter(Seconds delay, Block block) {
    std::lock_guard hold(mutex_);
    const Ticket ticket = nextTicket_++;
    blocks_.emplace(std::pair(later(clock_.steadyNow(), delay), ticket), std::move(block));
    wakeup_.notify_all();
    return ticket;
}

// The block goes only after the lock is free: what it holds may post or cancel while it ends.
void RunLoop::cancel(Ticket ticket) {
    Block dropped;
    std::lock_guard hold(mutex_);
    for (auto at = blocks_.begin(); at != blocks_.end(); ++at) {
        if (at->first.second != ticket) continue;
        dropped = std::move(at->second);
        blocks_.erase(at);
        return;
    }
}

// A quit that comes before run is not lost: it ends that run as soon as what is due has run.
void RunLoop::run() {
    std::unique_lock hold(mutex_);
    for (;;) {
        serveDue(hold, true);
        if (quit_) break;
        const SteadyTime next = earliest();
        clock_.waitUntil(hold, wakeup_, next, [&] { return quit_ || earliest() < next; });
    }
    quit_ = false;
}

void RunLoop::runPending() {
    std::unique_lock hold(mutex_);
    serveDue(hold, false);
}

// Notified under the lock: as soon as it is free, run may return and its owner may destroy the loop.
void RunLoop::quit() {
    std::lock_guard hold(mutex_);
    if (!quit_) firstAfterQuit_ = nextTicket_;
    quit_ = true;
    wakeup_.notify_all();
}

void RunLoop::serveDue(std::unique_lock<std::mutex>& hold, bool endsWithQuit) {
    Block block;
    while (takeDue(block, endsWithQuit && quit_ ? firstAfterQuit_ : std::numeric_limits<Ticket>::max())) {
        hold.unlock();
        block();
        block = nullptr;
        hold.lock();
    }
}

bool RunLoop::takeDue(Block& block, Ticket before) {
    const SteadyTime now = clock_.steadyNow();
    for (auto at = blocks_.begin(); at != blocks_.end() && at->first.first <= now; ++at) {
        if (at->first.second >= before) continue;
        block = std::move(at->second);
        blocks_.erase(at);
        return true;
    }
    return false;
}

SteadyTime RunLoop::earliest() const {
    return blocks_.empty() ? SteadyTime::max() : blocks_.begin()->first.first;
}

// A delayed block asks here whether it is still wanted before it runs. That alone decides; taking it back
// from the main queue as well only frees it early. So it does not matter that a block may run, or be
// cancelled by another thread, before its ticket is known here.
struct GCDAdditions::State {
    using Place = std::pair<std::string_view, std::uint_least32_t>;
    using Call = std::uint64_t;
    static constexpr MainQueue::Ticket kNoTicketYet = 0;

    std::mutex mutex;
    std::map<Call, MainQueue::Ticket> pending;
    std::map<Place, Call> latest;
    Call nextCall = 1;

    // Whether the call was pending until now.
    bool take(Call call) {
        std::lock_guard hold(mutex);
        return pending.erase(call) > 0;
    }
};

GCDAdditions::GCDAdditions(MainQueue& queue) : queue_(queue), state_(std::make_shared<State>()) {}

GCDAdditions::~GCDAdditions() {
    cancelAll();
}

void GCDAdditions::cancelPreviousThenPerform(Seconds afterDelay, MainQueue::Block block,
                                             std::source_location where) {
    const State::Place place(where.file_name(), where.line());
    State::Call call = 0;
    MainQueue::Ticket previous = State::kNoTicketYet;
    {
        std::lock_guard hold(state_->mutex);
        call = state_->nextCall++;
        const State::Call before = std::exchange(state_->latest[place], call);
        if (auto found = state_->pending.find(before); found != state_->pending.end()) {
            previous = found->second;
            state_->pending.erase(found);
        }
        state_->pending.emplace(call, State::kNoTicketYet);
    }
    if (previous != State::kNoTicketYet) queue_.cancel(previous);
    postCall(call, afterDelay, std::move(block));
}

void GCDAdditions::perform(Seconds afterDelay, MainQueue::Block block) {
    State::Call call = 0;
    {
        std::lock_guard hold(state_->mutex);
        call = state_->nextCall++;
        state_->pending.emplace(call, State::kNoTicketYet);
    }
    postCall(call, afterDelay, std::move(block));
}

void GCDAdditions::postCall(std::uint64_t call, Seconds afterDelay, MainQueue::Block block) {
    const MainQueue::Ticket ticket =
        queue_.postAfter(afterDelay, [state = state_, call, block = std::move(block)] {
            if (state->take(call)) block();
        });
    {
        std::lock_guard hold(state_->mutex);
        if (auto found = state_->pending.find(call); found != state_->pending.end()) {
            found->second = ticket;
            return;
        }
    }
    queue_.cancel(ticket);
}

void GCDAdditions::cancelAll() {
    std::map<State::Call, MainQueue::Ticket> dropped;
    {
        std::lock_guard hold(state_->mutex);
        dropped.swap(state_->pending);
    }
    for (const auto& [call, ticket] : dropped) {
        if (ticket != State::kNoTicketYet) queue_.cancel(ticket);
    }
}

}  // namespace kestrix
