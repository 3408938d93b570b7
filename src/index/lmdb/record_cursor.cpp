#include "index/lmdb/record_cursor.h"

#include <cstdint>

#include "index/lmdb/page_layout.h"

namespace kestrix {

using namespace lmdb;

RecordCursor::RecordCursor(const LMDBFile& file, MDB_txn* transaction) : file_(file) {
    file_.check(mdb_cursor_open(transaction, file_.database(), &cursor_));
}

RecordCursor::~RecordCursor() {
    mdb_cursor_close(cursor_);
}

bool RecordCursor::seek(std::string_view firstKeyNotBefore) {
    return firstKeyNotBefore.empty() ? move(MDB_FIRST, {}) : move(MDB_SET_RANGE, firstKeyNotBefore);
}

const char* RecordCursor::nodeAt(std::size_t index) const {
    return page_ + valueAt<std::uint16_t>(page_ + kHeaderSize + 2 * index);
}

// A value that lies in pages of its own is left to the library.
bool RecordCursor::isNextInPage() const {
    return node_ + 1 < nodes_ && valueAt<Node>(nodeAt(node_ + 1)).flags == 0;
}

bool RecordCursor::stepInPage() {
    const char* const node = nodeAt(++node_);
    const auto head = valueAt<Node>(node);
    key_ = {node + kNodeSize, head.keySize};
    value_ = {node + kNodeSize + head.keySize, head.valueSize()};
    cursorIsBehind_ = true;
    return true;
}

bool RecordCursor::stepByCursor() {
    if (cursorIsBehind_ && !move(MDB_SET, key_)) return false;
    return move(MDB_NEXT, {});
}

bool RecordCursor::move(MDB_cursor_op how, std::string_view key) {
    MDB_val found = valOf(key);
    MDB_val value;
    const int result = mdb_cursor_get(cursor_, &found, &value, how);
    if (result == MDB_NOTFOUND) return false;
    file_.check(result);
    key_ = viewOf(found);
    value_ = viewOf(value);
    cursorIsBehind_ = false;
    if (how != MDB_SET) enterPage();
    return true;
}

// Pages begin at multiples of their size in the map, which itself begins at a multiple of the processor's:
// only there can a record tell which page it lies in.
void RecordCursor::enterPage() {
    nodes_ = 0;
    if (file_.pageSize() != kSmallestPage) return;
    const char* const node = key_.data() - kNodeSize;
    page_ = node - reinterpret_cast<std::uintptr_t>(node) % kSmallestPage;
    prefetch(page_, kSmallestPage);
    nodes_ = (valueAt<Header>(page_).lower - kHeaderSize) / 2;
    for (node_ = 0; node_ < nodes_ && nodeAt(node_) != node;)
        ++node_;
}

}  // namespace kestrix
