#include "base/key_set.h"

namespace kestrix {
namespace {

constexpr std::size_t kFirstSlots = 64;

// The slot that holds the key, or the free one where it belongs. There is always a free slot.
std::size_t slotOf(const std::vector<std::int64_t>& slots, std::int64_t key) {
    const std::size_t mask = slots.size() - 1;
    std::size_t slot = static_cast<std::size_t>(key) & mask;
    while (slots[slot] != 0 && slots[slot] != key) {
        slot = (slot + 1) & mask;
    }
    return slot;
}

}  // namespace

bool KeySet::insert(std::int64_t key) {
    if (key == 0) {
        const bool isNew = !hasZero_;
        hasZero_ = true;
        return isNew;
    }
    if (slots_.empty()) slots_.resize(kFirstSlots);
    std::size_t slot = slotOf(slots_, key);
    if (slots_[slot] == key) return false;
    if ((size_ + 1) * 4 > slots_.size() * 3) {
        grow();
        slot = slotOf(slots_, key);
    }
    slots_[slot] = key;
    ++size_;
    return true;
}

void KeySet::grow() {
    std::vector<std::int64_t> larger(slots_.size() * 2);
    for (const std::int64_t key : slots_) {
        if (key != 0) larger[slotOf(larger, key)] = key;
    }
    slots_ = std::move(larger);
}

}  // namespace kestrix
