#include "index/lmdb/page_check.h"

#include <fmt/format.h>
#include <lmdb.h>

#include <algorithm>
#include <array>
#include <bit>
#include <utility>
#include <vector>

#include "base/operation_queue.h"
#include "index/lmdb/page_layout.h"

namespace kestrix {

namespace {

using namespace lmdb;

// Pages behind the file's end that the free list may name: they were given out and back again within one
// transaction and never written. More than this is damage, and would make the bitmap needlessly large.
constexpr std::uint64_t kMostUnwrittenPages = std::uint64_t{1} << 20;

enum class TreeKind { freeList, main, named };

[[noreturn]] void refuse(int code, std::uint64_t page, std::string_view why) {
    throw PageFault{code, fmt::format("page {}: {}", page, why)};
}

[[noreturn]] void damaged(std::uint64_t page, std::string_view why) {
    refuse(MDB_CORRUPTED, page, why);
}

// The nodes of one branch or leaf page, after LMDB's own accesses to them were shown to stay inside it.
class NodePage {
  public:
    NodePage(const char* bytes, std::size_t pageSize, std::uint64_t number)
        : bytes_(bytes), size_(pageSize), number_(number), header_(valueAt<Header>(bytes)) {}

    const Header& header() const { return header_; }
    std::uint64_t number() const { return number_; }
    bool isLeaf() const { return header_.flags == kLeaf; }
    std::size_t count() const { return (header_.lower - kHeaderSize) / 2; }

    const char* nodeAt(std::size_t index) const {
        return bytes_ + valueAt<std::uint16_t>(bytes_ + kHeaderSize + 2 * index);
    }
    static std::string_view keyOf(const char* node) {
        return {node + kNodeSize, valueAt<Node>(node).keySize};
    }
    static const char* valueOf(const char* node) { return node + kNodeSize + valueAt<Node>(node).keySize; }

    // Nodes lie packed from `upper` to the end of the page, and each offset names another one of them: LMDB
    // moves them about in the belief that it is so.
    void checkPacking() {
        if (header_.lower < kHeaderSize || header_.lower % 2 != 0 || header_.upper % 2 != 0 ||
            header_.lower > header_.upper || header_.upper > size_) {
            damaged(number_, "its bounds are wrong");
        }
        if (liesInKeyOrder()) return;
        std::fill_n(starts_.begin(), size_ / 128, 0);
        std::size_t nodes = 0;
        for (std::size_t at = header_.upper; at < size_; at += sizeOfNode(at), ++nodes)
            starts_[at / 128] |= std::uint64_t{1} << (at / 2 % 64);
        if (nodes != count()) damaged(number_, "it has room for other records than it names");
        for (std::size_t i = 0; i < nodes; ++i) {
            const std::size_t at = valueAt<std::uint16_t>(bytes_ + kHeaderSize + 2 * i);
            const std::uint64_t bit = std::uint64_t{1} << (at / 2 % 64);
            if (at >= size_ || at % 2 != 0 || !(starts_[at / 128] & bit)) {
                damaged(number_, "a record is not where it should be");
            }
            starts_[at / 128] ^= bit;
        }
    }

  private:
    // A page that was filled in the order of its keys, as nearly all are, has the first node last and the
    // others before it one by one: then all of it is seen in one pass.
    bool liesInKeyOrder() const {
        std::size_t end = size_;
        for (std::size_t i = 0; i < count(); ++i) {
            const std::size_t at = valueAt<std::uint16_t>(bytes_ + kHeaderSize + 2 * i);
            if (at >= end || at < header_.upper || at + sizeOfNode(at) != end) return false;
            end = at;
        }
        return end == header_.upper;
    }

    std::size_t sizeOfNode(std::size_t at) const {
        const std::size_t room = size_ - at;
        if (room < kNodeSize) damaged(number_, "a record leaves the page");
        const auto node = valueAt<Node>(bytes_ + at);
        std::size_t size = kNodeSize + node.keySize;
        if (isLeaf()) size += node.flags & kBigData ? sizeof(std::uint64_t) : node.valueSize();
        if (size > room) damaged(number_, "a record leaves the page");
        if (isLeaf() && size > (size_ - kHeaderSize) / 2 - 2) damaged(number_, "a record is too large");
        return size + size % 2;
    }

    const char* bytes_;
    std::size_t size_;
    std::uint64_t number_;
    Header header_;
    std::array<std::uint64_t, kLargestPage / 128> starts_;  // a bit for every other byte
};

// What is known of the file as a whole.
struct Layout {
    std::string_view file;
    std::size_t pageSize = kSmallestPage;
    std::uint64_t filePages = 0;
    std::uint64_t current = 0;  // the meta page that counts
    Meta meta{};
};

Meta readMeta(std::string_view file, std::uint64_t number, std::size_t at) {
    if (at > file.size() || file.size() - at < kSmallestPage) {
        refuse(number == 0 ? MDB_INVALID : MDB_CORRUPTED, number, "the file is too short");
    }
    const auto header = valueAt<Header>(file.data() + at);
    const auto meta = valueAt<Meta>(file.data() + at + kHeaderSize);
    if (header.flags != kMeta || meta.magic != kMagic) refuse(MDB_INVALID, number, "not LMDB's");
    if (meta.version != kDataVersion) {
        refuse(MDB_VERSION_MISMATCH, number, fmt::format("data version {}", meta.version));
    }
    const std::size_t size = meta.freeList.pageSize;
    if (!std::has_single_bit(size) || size < kSmallestPage || size > kLargestPage) {
        damaged(number, "unknown page size");
    }
    if (meta.transaction > INT64_MAX) damaged(number, "its transaction number is wrong");
    return meta;
}

Layout layoutOf(std::string_view file) {
    Layout layout{.file = file};
    const Meta first = readMeta(file, 0, 0);
    layout.pageSize = first.freeList.pageSize;
    layout.filePages = file.size() / layout.pageSize;
    const Meta second = readMeta(file, 1, layout.pageSize);
    if (second.freeList.pageSize != layout.pageSize) damaged(1, "the two first pages disagree");
    layout.current = first.transaction < second.transaction ? 1 : 0;
    layout.meta = layout.current == 1 ? second : first;
    const std::uint64_t lastPage = layout.meta.lastPage;
    if (lastPage < kMetaPages - 1 || lastPage > layout.meta.mapSize / layout.pageSize ||
        lastPage > layout.filePages + kMostUnwrittenPages) {
        damaged(layout.current, "the file ends before its pages do");
    }
    if ((layout.meta.freeList.flags & ~kNoSubDir) != kIntegerKeys) damaged(layout.current, "unknown flags");
    return layout;
}

class Checker {
  public:
    Checker(const Layout& layout, std::uint64_t helperFrom)
        : layout_(layout), helperFrom_(helperFrom), taken_(layout.meta.lastPage / 64 + 1, 0) {}

    // The trees that the main one names come last: each has an order of keys of its own.
    void check() {
        checkTree(layout_.meta.freeList, TreeKind::freeList);
        checkTree(layout_.meta.main, TreeKind::main);
        for (const Tree& named : named_)
            checkTree(named, TreeKind::named);
    }

  private:
    // Notes that a page is in use, or free; none may be named twice.
    void take(std::uint64_t page, std::uint64_t namedBy) {
        if (page < kMetaPages || page > layout_.meta.lastPage) {
            damaged(namedBy, fmt::format("it names the page {}, which is not there", page));
        }
        const std::uint64_t bit = std::uint64_t{1} << (page % 64);
        if (taken_[page / 64] & bit) damaged(namedBy, fmt::format("the page {} is used twice", page));
        taken_[page / 64] |= bit;
    }

    const char* bytesOf(std::uint64_t page, std::uint64_t namedBy) const {
        if (page >= layout_.filePages)
            damaged(namedBy, fmt::format("the page {} lies behind the file's end", page));
        return layout_.file.data() + page * layout_.pageSize;
    }

    void checkTree(const Tree& tree, TreeKind kind) {
        kind_ = kind;
        depth_ = tree.depth;
        hasLastKey_ = false;
        if (kind != TreeKind::freeList && tree.flags != 0)
            damaged(layout_.current, "a tree has unknown flags");
        if (tree.root == kNoRoot) {
            if (depth_ != 0) damaged(layout_.current, "an empty tree has a depth");
            return;
        }
        if (depth_ < 1 || depth_ > kDeepestTree) damaged(layout_.current, "the depth of a tree is wrong");
        descend(tree.root, layout_.current, 1);
    }

    void descend(std::uint64_t number, std::uint64_t namedBy, std::size_t level) {
        take(number, namedBy);
        NodePage page(bytesOf(number, namedBy), layout_.pageSize, number);
        if (page.header().number != number) damaged(number, "it holds another page's number");
        if (page.header().flags != (level == depth_ ? kLeaf : kBranch)) damaged(number, "wrong kind of page");
        page.checkPacking();
        if (page.isLeaf()) {
            checkLeaf(page);
        } else {
            checkBranch(page, level);
        }
    }

    void checkBranch(const NodePage& page, std::size_t level) {
        const std::size_t count = page.count();
        if (count < (kind_ == TreeKind::freeList ? 1U : 2U)) damaged(page.number(), "too few children");
        if (level == 1 && kind_ == TreeKind::named && layout_.filePages >= helperFrom_) {
            checkHalves(page, level);
        } else {
            checkChildren(page, level, 0, count);
        }
    }

    void checkChildren(const NodePage& page, std::size_t level, std::size_t first, std::size_t last) {
        for (std::size_t i = first; i < last; ++i) {
            if (i + 1 < last) prefetchPage(valueAt<Node>(page.nodeAt(i + 1)).child());
            const char* node = page.nodeAt(i);
            const std::string_view key = NodePage::keyOf(node);
            if (key.size() > kLongestKey) damaged(page.number(), "a key is too long");
            // The records on the left are smaller; a record on the right may equal it.
            if (i > 0) {
                checkOrder(key, page.number(), false);
                mayEqual_ = true;
            }
            descend(valueAt<Node>(node).child(), page.number(), level + 1);
        }
    }

    // Two threads, each with the pages below half of the children. What one of them alone cannot see comes at
    // the end: that the keys ascend from one half to the other, and that no page lies below both.
    void checkHalves(const NodePage& page, std::size_t level) {
        const std::size_t middle = page.count() / 2;
        Checker right(layout_, helperFrom_);
        right.kind_ = kind_;
        right.depth_ = depth_;
        std::optional<PageFault> rightFault;
        {
            OperationQueue helper(1, "page check");
            helper.add([&] {
                try {
                    right.checkChildren(page, level, middle, page.count());
                } catch (const PageFault& fault) {
                    rightFault = fault;
                }
            });
            checkChildren(page, level, 0, middle);
            helper.waitUntilAllOperationsAreFinished();
        }
        checkOrder(NodePage::keyOf(page.nodeAt(middle)), page.number(), false);
        if (rightFault) throw PageFault(*rightFault);
        for (std::size_t i = 0; i < taken_.size(); ++i) {
            const std::uint64_t twice = taken_[i] & right.taken_[i];
            if (twice != 0) {
                damaged(i * 64 + static_cast<std::uint64_t>(std::countr_zero(twice)), "it is used twice");
            }
        }
    }

    // The next page is on its way while this one is looked at.
    void prefetchPage(std::uint64_t page) const {
        if (page < layout_.filePages)
            prefetch(layout_.file.data() + page * layout_.pageSize, layout_.pageSize);
    }

    void checkLeaf(const NodePage& page) {
        if (page.count() == 0) damaged(page.number(), "it is empty");
        for (std::size_t i = 0; i < page.count(); ++i) {
            const char* node = page.nodeAt(i);
            const std::string_view key = NodePage::keyOf(node);
            if (key.empty() || key.size() > kLongestKey) damaged(page.number(), "a key has a wrong length");
            checkOrder(key, page.number(), std::exchange(mayEqual_, false));
            checkValue(page.number(), valueAt<Node>(node), NodePage::valueOf(node));
        }
    }

    // Ascending through all of the tree: else a scan that looks up where it stopped could run in circles.
    void checkOrder(std::string_view key, std::uint64_t page, bool mayEqual) {
        if (kind_ == TreeKind::freeList && key.size() != sizeof(std::uint64_t)) {
            damaged(page, "a key of the free list has a wrong length");
        }
        if (hasLastKey_) {
            const int order = compare(lastKey_, key);
            if (order > 0 || (order == 0 && !mayEqual)) damaged(page, "its keys do not ascend");
        }
        lastKey_ = key;
        hasLastKey_ = true;
    }

    int compare(std::string_view left, std::string_view right) const {
        if (kind_ != TreeKind::freeList) return left.compare(right);
        const auto a = valueAt<std::uint64_t>(left.data());
        const auto b = valueAt<std::uint64_t>(right.data());
        return a < b ? -1 : a > b;
    }

    void checkValue(std::uint64_t page, const Node& node, const char* place) {
        const char* value = place;
        switch (node.flags) {
            case 0:
                break;
            case kBigData:
                value = overflowValue(page, valueAt<std::uint64_t>(place), node.valueSize());
                break;
            case kSubTree:
                if (kind_ != TreeKind::main || node.valueSize() != sizeof(Tree)) {
                    damaged(page, "a tree is named where none can be");
                }
                named_.push_back(valueAt<Tree>(place));
                break;
            default:
                damaged(page, "a record has unknown flags");
        }
        if (kind_ == TreeKind::freeList) checkFreePages(page, {value, node.valueSize()});
    }

    const char* overflowValue(std::uint64_t page, std::uint64_t first, std::size_t size) {
        const char* bytes = bytesOf(first, page);
        const auto header = valueAt<Header>(bytes);
        const std::uint64_t pages = header.overflowPages();
        if (header.number != first || header.flags != kOverflow || pages == 0) {
            damaged(first, "wrong kind of page");
        }
        if (pages > layout_.filePages - first || size > pages * layout_.pageSize - kHeaderSize) {
            damaged(first, "a long value leaves the file");
        }
        for (std::uint64_t i = 0; i < pages; ++i)
            take(first + i, page);
        return bytes + kHeaderSize;
    }

    void checkFreePages(std::uint64_t page, std::string_view list) {
        const auto freedBy = valueAt<std::uint64_t>(lastKey_.data());
        if (freedBy == 0 || freedBy > layout_.meta.transaction)
            damaged(page, "pages freed by no transaction");
        if (list.size() < sizeof(std::uint64_t) || list.size() % sizeof(std::uint64_t) != 0) {
            damaged(page, "a list of free pages has a wrong length");
        }
        const auto count = valueAt<std::uint64_t>(list.data());
        if (count >= list.size() / sizeof(std::uint64_t)) damaged(page, "a list of free pages is cut off");
        std::uint64_t last = kNoRoot;
        for (std::uint64_t i = 1; i <= count; ++i) {
            const auto free = valueAt<std::uint64_t>(list.data() + i * sizeof(std::uint64_t));
            if (free >= last) damaged(page, "a list of free pages does not descend");
            take(free, page);
            last = free;
        }
    }

    const Layout& layout_;
    const std::uint64_t helperFrom_;
    std::vector<std::uint64_t> taken_;
    std::vector<Tree> named_;

    // Of the tree that is being walked.
    TreeKind kind_ = TreeKind::main;
    std::size_t depth_ = 0;
    std::string_view lastKey_;
    bool hasLastKey_ = false;
    bool mayEqual_ = false;
};

}  // namespace

std::optional<PageFault> faultOfPages(std::string_view file, std::uint64_t helperFrom) {
    if (file.empty()) return std::nullopt;
    try {
        const Layout layout = layoutOf(file);
        Checker(layout, helperFrom).check();
        return std::nullopt;
    } catch (const PageFault& fault) {
        return fault;
    }
}

}  // namespace kestrix
