#include "index/verify.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

#include "base/bytes.h"
#include "base/number_buffer.h"
#include "base/text.h"
#include "index/lmdb/simple_lmdb.h"
#include "index/word_container.h"

namespace kestrix {

namespace {

constexpr std::size_t kItemHeaderSize = 19;
constexpr std::size_t kItemTailSize = 9;

// An item and the parent that it names, or a child and the list that names it.
struct Link {
    FSItemID child;
    FSItemID parent;

    auto operator<=>(const Link&) const = default;
};

bool ascends(const std::vector<FSItemID>& ids) {
    return std::adjacent_find(ids.begin(), ids.end(), std::greater_equal<>()) == ids.end();
}

class CatalogCheck {
  public:
    CatalogCheck(std::vector<std::string>& faults, std::size_t most) : faults_(faults), most_(most) {}

    void record(std::string_view key, std::string_view value) {
        if (!text::isValidUtf8(key)) return fault("{}: the key is not UTF-8", hexString(key));
        if (key == kDocumentInfoKey) return documentInfo(value);
        if (key == kLastAutoIDKey) return counter(value);
        if (key == kDeadKey) return deadList(value);
        if (key.starts_with('F')) return item(key, value);
        if (key.starts_with('C')) return childList(key, value);
        if (key.starts_with('W') && key.size() > 1) return word(key, value);
        fault("{}: no such key in a catalog", key);
    }

    // What only shows when every record was seen.
    void end() {
        if (!hasInfo_) fault("{}: missing", kDocumentInfoKey);
        std::sort(items_.begin(), items_.end());
        std::sort(listed_.begin(), listed_.end());
        std::sort(folders_.begin(), folders_.end());
        checkCounter();
        checkChildren();
        for (const Link& one : items_)
            checkParent(one);
        for (const FSItemID dead : dead_)
            if (hasItem(dead)) fault("{}: item {} is not dead", kDeadKey, dead);
    }

  private:
    template <typename... Values>
    void fault(fmt::format_string<const Values&...> form, const Values&... values) {
        if (faults_.size() < most_) faults_.push_back(fmt::format(form, values...));
    }

    void documentInfo(std::string_view value) {
        hasInfo_ = true;
        try {
            documentInfoFromJson(value);
        } catch (const Error& error) {
            fault("{}: {}", kDocumentInfoKey, error.what());
        }
    }

    void counter(std::string_view value) {
        std::size_t at = 0;
        lastID_ = safeValueAndIncrement<std::uint32_t>(value, at);
        if (value.size() != sizeof(std::uint32_t)) fault("{}: not 4 bytes", kLastAutoIDKey);
    }

    void item(std::string_view key, std::string_view value) {
        const auto id = idInKey(key);
        const auto item = decodeFSItem(value);
        if (!id || *id == kNoParent || *id > kLastUsableID) return fault("{}: no identifier", key);
        if (!item) return fault("{}: the record is damaged", key);
        const std::size_t tail = value.size() - kItemHeaderSize - item->name.size();
        if (tail != 0 && tail != kItemTailSize) fault("{}: the record has a wrong length", key);
        if (item->fsid != *id) fault("{}: the record is that of item {}", key, item->fsid);
        if (item->name.find('/') != std::string_view::npos) fault("{}: a slash in the name", key);
        items_.push_back({*id, item->parentID});
        if (item->type == FSItemType::directory) folders_.push_back(*id);
    }

    void childList(std::string_view key, std::string_view value) {
        const auto parent = idInKey(key);
        if (!parent) return fault("{}: no identifier", key);
        const std::vector<FSItemID> children = unpackChildList(value);
        if (packChildList(children) != value) fault("{}: the list is damaged", key);
        if (!ascends(children)) fault("{}: the list does not ascend", key);
        for (const FSItemID child : children)
            listed_.push_back({child, *parent});
    }

    void word(std::string_view key, std::string_view value) {
        const auto lists = listsOfWordContainer(value);
        if (!lists) return fault("{}: the record is damaged", key);
        if (lists->documents.size() != lists->counts.size()) fault("{}: lists of unequal length", key);
        if (!ascends(lists->documents)) fault("{}: the documents do not ascend", key);
        if (lists->documents.empty()) return;
        const FSItemID largest = *std::max_element(lists->documents.begin(), lists->documents.end());
        if (largest > largestInWords_) {
            largestInWords_ = largest;
            wordOfLargest_ = key;
        }
    }

    void deadList(std::string_view value) {
        dead_ = unpackDeadList(value);
        if (storePacked(dead_) != value) fault("{}: the list is damaged", kDeadKey);
        std::sort(dead_.begin(), dead_.end());
        if (!ascends(dead_)) fault("{}: an identifier stands twice", kDeadKey);
    }

    void checkCounter() {
        if (items_.empty() && dead_.empty() && largestInWords_ == 0) return;
        if (!lastID_) return fault("{}: missing", kLastAutoIDKey);
        if (!items_.empty() && items_.back().child > *lastID_) {
            fault("F{}: beyond the last identifier given, {}", items_.back().child, *lastID_);
        }
        if (!dead_.empty() && dead_.back() > *lastID_) {
            fault("{}: {} is beyond the last identifier given, {}", kDeadKey, dead_.back(), *lastID_);
        }
        if (largestInWords_ > *lastID_) {
            fault("{}: document {} is beyond the last identifier given, {}", wordOfLargest_, largestInWords_,
                  *lastID_);
        }
    }

    // Both in order of the child: what stands on one side alone is a fault.
    void checkChildren() {
        auto item = items_.begin();
        auto child = listed_.begin();
        while (item != items_.end() || child != listed_.end()) {
            if (child == listed_.end() || (item != items_.end() && *item < *child)) {
                fault("F{}: the list of its folder, C{}, does not name it", item->child, item->parent);
                ++item;
            } else if (item == items_.end() || *child < *item) {
                fault("C{}: names {}, which is not in it", child->parent, child->child);
                ++child;
            } else {
                ++item;
                ++child;
            }
        }
    }

    // A folder is older than what lies in it, so no chain of parents can close to a ring.
    void checkParent(const Link& one) {
        if (one.parent == kNoParent) return;
        if (!std::binary_search(folders_.begin(), folders_.end(), one.parent)) {
            fault("F{}: its parent, {}, is no folder in the catalog", one.child, one.parent);
        } else if (one.parent >= one.child) {
            fault("F{}: its parent, {}, came after it", one.child, one.parent);
        }
    }

    bool hasItem(FSItemID id) const {
        const auto found = std::lower_bound(items_.begin(), items_.end(), Link{id, 0});
        return found != items_.end() && found->child == id;
    }

    std::vector<std::string>& faults_;
    std::size_t most_;
    bool hasInfo_ = false;
    std::optional<FSItemID> lastID_;
    std::vector<Link> items_;
    std::vector<Link> listed_;
    std::vector<FSItemID> folders_;
    std::vector<FSItemID> dead_;
    FSItemID largestInWords_ = 0;
    std::string wordOfLargest_;
};

}  // namespace

std::vector<std::string> faultsOfCatalog(const std::string& file, std::size_t most) {
    std::vector<std::string> faults;
    try {
        SimpleLMDB db;
        db.open(file, {.readOnly = true});
        CatalogCheck check(faults, most);
        const auto take = [&](std::string_view key, std::string_view value) {
            check.record(key, value);
            return true;
        };
        // One batch, as a build going on meanwhile must not come between a folder and its children.
        db.scan("", std::numeric_limits<int>::max(), take, [] { return true; });
        check.end();
    } catch (const Error& error) {
        if (faults.size() < most) faults.emplace_back(error.what());
    }
    return faults;
}

}  // namespace kestrix
