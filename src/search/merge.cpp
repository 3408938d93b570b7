// A worker judges a slice in two steps. First it works out the keys of all items and of the folders that they
// expand to, and enters them under the set's lock, taken once. Then it judges those that were new. All
// commands that read files run in the second step, without a lock.

#include "search/merge.h"

#include <algorithm>
#include <deque>
#include <string>
#include <utility>

#include "base/crc64.h"
#include "shell/logger.h"

namespace kestrix {

namespace {

// A slice that has kept its worker longer than this reads files. What it found is delivered, and the rest is
// shared among all workers.
constexpr auto kPatience = std::chrono::milliseconds(20);

struct Candidate {
    SearchResult* item;
    std::size_t group;  // an item and the folders it was expanded to
};

constexpr std::size_t kItself = static_cast<std::size_t>(-1);

// A path on its way into the set.
struct Entry {
    std::int64_t key;
    SearchResult* item;
    std::size_t group;
    std::size_t folder;  // place among the folders that the slice expands to; kItself for the item
};

}  // namespace

// The new ones of a slice, and what keeps them alive.
struct Merge::Work {
    MergeSlice slice;
    std::deque<SearchResult> expansions;
    std::vector<Candidate> candidates;
};

Merge::Merge(MergeQueue& queue, MergeSetup setup)
    : queue_(queue), setup_(std::move(setup)), canBeSlow_(!setup_.query->commandsFoundInQuery().empty()) {}

void Merge::run() {
    for (auto slices = queue_.takeAll(); !slices.empty(); slices = queue_.takeAll()) {
        for (MergeSlice& slice : slices) {
            workers_.add([this, slice = std::move(slice)]() mutable { judgeSlice(std::move(slice)); });
        }
    }
    if (setup_.feedback.shouldStop()) workers_.cancelAllOperations();
    workers_.waitUntilAllOperationsAreFinished();
}

void Merge::judgeSlice(MergeSlice slice) {
    if (setup_.feedback.shouldStop()) return;
    const std::size_t count = slice.count;
    const auto work = pickNew(std::move(slice));
    queue_.judged(count);
    judge(work, 0, work->candidates.size());
}

// Every item is expanded, one that is known already too: its folders may be new.
std::shared_ptr<Merge::Work> Merge::pickNew(MergeSlice slice) {
    PathJudge paths(*setup_.query);
    std::vector<Entry> entries;
    entries.reserve(slice.count);
    std::vector<std::string> folders;
    std::size_t group = 0;
    for (const MergePiece& piece : slice.pieces) {
        for (std::size_t at = piece.first; at < piece.last; ++at, ++group) {
            SearchResult* const item = &(*piece.batch)[at];
            entries.push_back({paths.key(item->path), item, group, kItself});
            for (const std::string& folder : paths.expansionsOf(item->path)) {
                entries.push_back({crc64(folder), item, group, folders.size()});
                folders.push_back(folder);
            }
        }
    }
    alreadyFiltered_.modify([&entries](KeySet& keys) {
        for (Entry& entry : entries) {
            if (!keys.insert(entry.key)) entry.item = nullptr;
        }
    });
    auto work = std::make_shared<Work>();
    work->slice = std::move(slice);
    work->candidates.reserve(entries.size());
    for (const Entry& entry : entries) {
        if (!entry.item) continue;
        SearchResult* candidate = entry.item;
        if (entry.folder != kItself) {
            candidate = &work->expansions.emplace_back(QueryContainer::folderOnTheWay(
                *entry.item, std::move(folders[entry.folder]), setup_.attributes));
        }
        work->candidates.push_back({candidate, entry.group});
    }
    return work;
}

void Merge::judge(const std::shared_ptr<Work>& work, std::size_t first, std::size_t last) {
    const auto& candidates = work->candidates;
    PathJudge paths(*setup_.query);
    std::vector<SearchResult*> kept;
    kept.reserve(last - first);
    const SteadyTime started = canBeSlow_ ? setup_.clock.steadyNow() : SteadyTime();
    for (std::size_t at = first; at < last && !setup_.feedback.shouldStop(); ++at) {
        if (passes(*candidates[at].item, paths)) kept.push_back(candidates[at].item);
        const bool groupEnds = at + 1 < last && candidates[at + 1].group != candidates[at].group;
        if (canBeSlow_ && groupEnds && setup_.clock.steadyNow() - started > kPatience) {
            shareOut(work, at + 1, last);
            break;
        }
    }
    if (kept.empty()) return;
    std::vector<SearchResult> survivors;
    survivors.reserve(kept.size());
    for (SearchResult* const item : kept)
        survivors.push_back(std::move(*item));
    setup_.deliver(std::move(survivors));
}

void Merge::shareOut(const std::shared_ptr<Work>& work, std::size_t first, std::size_t last) {
    const auto& candidates = work->candidates;
    const std::size_t share = (last - first + kWidth - 1) / kWidth;
    while (first < last) {
        std::size_t end = std::min(last, first + share);
        while (end < last && candidates[end].group == candidates[end - 1].group)
            ++end;
        workers_.add([this, work, first, end] { judge(work, first, end); });
        first = end;
    }
}

bool Merge::passes(SearchResult& item, PathJudge& paths) const {
    if (!item.ignoreSearchLocation && !paths.isInQueryLocation(item.path)) {
        if (Logger::shouldLog) LogFunc("Exclude pathIsInQueryLocation: " + item.path);
        return false;
    }
    if (!setup_.query->searchResultPassesFiltering(item, &setup_.feedback)) return false;
    // From here on the item may be another than before: commands change what they judge.
    if (setup_.searchInsideSystemAndApps || item.ignoreSearchLocation) return true;
    return !paths.isLeftOut(item.path);
}

}  // namespace kestrix
