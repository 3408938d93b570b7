#include "index/lmdb/simple_lmdb.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "base/text.h"
#include "base/uuid.h"
#include "index/lmdb/lmdb_file.h"
#include "index/lmdb/readers_gate.h"
#include "index/lmdb/record_cursor.h"
#include "platform/stored_file.h"

namespace kestrix {

namespace {

std::string joined(std::string_view group, std::string_view key) {
    std::string whole;
    whole.reserve(group.size() + key.size());
    whole.append(group).append(key);
    return whole;
}

struct CursorCloser {
    void operator()(MDB_cursor* cursor) const { mdb_cursor_close(cursor); }
};
using CursorPointer = std::unique_ptr<MDB_cursor, CursorCloser>;

CursorPointer cursorOf(const LMDBFile& file, MDB_txn* transaction) {
    MDB_cursor* made = nullptr;
    file.check(mdb_cursor_open(transaction, file.database(), &made));
    return CursorPointer(made);
}

}  // namespace

// Whoever is in the gate may use the rest; whoever is in it alone may change it.
struct SimpleLMDB::State {
    std::string path;
    mutable ReadersGate gate;
    std::unique_ptr<LMDBFile> file;
    bool building = false;

    LMDBFile& openFile() const {
        if (!file) throw LMDBError(EINVAL, path, "it is not open");
        return *file;
    }
    void close() {
        file.reset();
        building = false;
    }
};

// One read transaction, never longer than the reader's lock.
class SimpleLMDB::Reading final : public SimpleLMDB::Snapshot {
  public:
    explicit Reading(const State& state) : state_(state) {
        state_.gate.enter([this] { state_.openFile().lockForReading(); });
        try {
            transaction_ = state_.file->takeReader();
        } catch (...) {
            leave();
            throw;
        }
    }
    ~Reading() override {
        childLists_.cursor.reset();
        others_.cursor.reset();
        state_.file->giveBack(transaction_);
        leave();
    }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

    // Who asks for one item mostly asks for its neighbours too: a cursor that stands there has the next one
    // at hand, and looks in its own page before it looks in the tree. Lists of children have a cursor of
    // their own, as they are asked for in between.
    std::optional<std::string_view> get(std::string_view key) const override {
        Place& place = key.starts_with('C') ? childLists_ : others_;
        if (!place.cursor) place.cursor = cursorOf(file(), transaction_);
        MDB_val found;
        if (isNext(key, place.key)) {
            MDB_val next;
            place.key = key;
            const int result = mdb_cursor_get(place.cursor.get(), &next, &found, MDB_NEXT);
            if (result == MDB_SUCCESS && viewOf(next) == key) return viewOf(found);
        }
        place.key = key;
        MDB_val wanted = valOf(key);
        const int result = mdb_cursor_get(place.cursor.get(), &wanted, &found, MDB_SET);
        if (result == MDB_NOTFOUND) return std::nullopt;
        file().check(result);
        return viewOf(found);
    }

    LMDBFile& file() const { return *state_.file; }
    MDB_txn* transaction() const { return transaction_; }

  private:
    struct Place {
        CursorPointer cursor;
        std::string key;  // asked for last; the cursor stands there if it is in the file
    };

    // "F124" comes behind "F123", nine times out of ten.
    static bool isNext(std::string_view key, std::string_view last) {
        return !last.empty() && key.size() == last.size() && key.back() == last.back() + 1 &&
               key.starts_with(last.substr(0, last.size() - 1));
    }

    void leave() const {
        state_.gate.leave([this] { state_.file->unlock(); });
    }

    const State& state_;
    MDB_txn* transaction_ = nullptr;
    mutable Place childLists_;
    mutable Place others_;
};

// The writer's turn and lock.
class SimpleLMDB::Writing {
  public:
    explicit Writing(const State& state) : alone_(state.gate), file_(state.openFile()) {
        file_.lockForCommit();
    }
    ~Writing() { file_.unlock(); }
    Writing(const Writing&) = delete;
    Writing& operator=(const Writing&) = delete;

    const LMDBFile& file() const { return file_; }

  private:
    const ReadersGate::Alone alone_;
    LMDBFile& file_;
};

SimpleLMDB::SimpleLMDB() : state_(std::make_unique<State>()) {
    const std::string uuid = Uuid::make().text();
    id_ = "LMDB " + uuid.substr(uuid.size() - 6);
}

SimpleLMDB::~SimpleLMDB() = default;

void SimpleLMDB::open(const std::string& file, const Options& options) {
    const ReadersGate::Alone alone(state_->gate);
    state_->close();
    state_->path = file;
    state_->file = std::make_unique<LMDBFile>(file, options.mapSize, options.readOnly);
}

void SimpleLMDB::close() {
    const ReadersGate::Alone alone(state_->gate);
    state_->close();
}

bool SimpleLMDB::isOpen() const {
    const ReadersGate::Alone alone(state_->gate);
    return state_->file != nullptr;
}

bool SimpleLMDB::isReadOnly() const {
    const ReadersGate::Alone alone(state_->gate);
    return state_->file && state_->file->isReadOnly();
}

LMDBStats SimpleLMDB::stats() const {
    const Reading reading(*state_);
    MDB_stat stat;
    reading.file().check(mdb_stat(reading.transaction(), reading.file().database(), &stat));
    return {stat.ms_psize,
            stat.ms_depth,
            static_cast<std::int64_t>(stat.ms_branch_pages),
            static_cast<std::int64_t>(stat.ms_leaf_pages),
            static_cast<std::int64_t>(stat.ms_overflow_pages),
            static_cast<std::int64_t>(stat.ms_entries)};
}

std::optional<std::string> SimpleLMDB::get(std::string_view group, std::string_view key) const {
    const Reading reading(*state_);
    const auto found = reading.get(joined(group, key));
    if (!found) return std::nullopt;
    return std::string(*found);
}

void SimpleLMDB::read(const std::function<void(const Snapshot&)>& use) const {
    const Reading reading(*state_);
    use(reading);
}

namespace {

// Where a scan stands between its batches.
struct ScanPlace {
    const SimpleLMDB::KeyRange& range;
    std::string lastKey{};  // delivered already; empty before the first batch
    bool atEnd = false;
};

// As the library's own order, but without a call: the answer mostly lies in the first bytes.
bool isBefore(std::string_view key, std::string_view end) {
    const std::size_t length = std::min(key.size(), end.size());
    for (std::size_t i = 0; i < length; ++i) {
        if (key[i] != end[i]) return static_cast<unsigned char>(key[i]) < static_cast<unsigned char>(end[i]);
    }
    return key.size() < end.size();
}

bool isAtNext(RecordCursor& records, const ScanPlace& place) {
    if (!records.seek(place.lastKey.empty() ? place.range.first : place.lastKey)) return false;
    return records.key() != place.lastKey || records.next();
}

void takeBatch(RecordCursor& records, ScanPlace& place, int batchSize, const SimpleLMDB::Take& take) {
    const std::string_view end = place.range.end;
    bool isThere = isAtNext(records, place);
    for (int taken = 0; isThere && (end.empty() || isBefore(records.key(), end));) {
        if (!take(records.key(), records.value())) break;
        if (++taken == batchSize) {
            place.lastKey = records.key();
            return;
        }
        isThere = records.next();
    }
    place.atEnd = true;
}

}  // namespace

SimpleLMDB::KeyRange SimpleLMDB::KeyRange::withPrefix(std::string_view prefix) {
    KeyRange range{std::string(prefix), std::string(prefix)};
    while (!range.end.empty() && range.end.back() == '\xFF')
        range.end.pop_back();
    if (!range.end.empty()) ++range.end.back();
    return range;
}

void SimpleLMDB::scan(const KeyRange& range, int batchSize, const Take& take,
                      const std::function<bool()>& betweenBatches) const {
    ScanPlace place{range};
    if (batchSize < 1) return;
    while (!place.atEnd) {
        {
            const Reading reading(*state_);
            RecordCursor records(reading.file(), reading.transaction());
            takeBatch(records, place, batchSize, take);
        }
        if (!betweenBatches()) return;
    }
}

void SimpleLMDB::scan(std::string_view prefix, int batchSize, const Take& take,
                      const std::function<bool()>& betweenBatches) const {
    scan(KeyRange::withPrefix(prefix), batchSize, take, betweenBatches);
}

void SimpleLMDB::keyValuesWith(
    std::string_view prefix, int batchSize,
    const std::function<void(const std::string& key, const std::string& value)>& handler) const {
    std::vector<std::pair<std::string, std::string>> batch;
    const auto keep = [&](std::string_view key, std::string_view value) {
        if (text::isValidUtf8(key)) batch.emplace_back(key, value);
        return true;
    };
    const auto handOver = [&] {
        for (const auto& [key, value] : batch)
            handler(key, value);
        batch.clear();
        return true;
    };
    scan(prefix, batchSize, keep, handOver);
}

namespace {

void addTo(const LMDBTransaction& transaction, const LMDBFile& file,
           std::span<const SimpleLMDB::Write> writes) {
    // One cursor for all: with ascending keys it mostly stays in its page.
    const CursorPointer cursor = cursorOf(file, transaction.get());
    for (const SimpleLMDB::Write& one : writes) {
        MDB_val key = valOf(one.key);
        MDB_val value = valOf(one.value.value_or(std::string_view()));
        const int result = one.value ? mdb_cursor_put(cursor.get(), &key, &value, 0)
                                     : mdb_del(transaction.get(), file.database(), &key, nullptr);
        if (result != MDB_NOTFOUND) file.check(result);
    }
}

}  // namespace

void SimpleLMDB::write(std::span<const Write> writes) {
    const Writing writing(*state_);
    LMDBTransaction transaction(writing.file(), 0);
    addTo(transaction, writing.file(), writes);
    transaction.commit();
}

void SimpleLMDB::put(std::span<const ValueGroupKey> values) {
    std::vector<std::string> keys;
    std::vector<Write> writes;
    keys.reserve(values.size());
    writes.reserve(values.size());
    for (const ValueGroupKey& one : values) {
        keys.push_back(joined(one.group, one.key));
        writes.push_back({keys.back(), one.value});
    }
    write(writes);
}

void SimpleLMDB::deleteValue(std::string_view group, std::string_view key) {
    const std::string whole = joined(group, key);
    const Write gone{whole, std::nullopt};
    write(std::span(&gone, 1));
}

void SimpleLMDB::startAnew(std::span<const Write> writes) {
    const Writing writing(*state_);
    LMDBTransaction transaction(writing.file(), 0);
    writing.file().check(mdb_drop(transaction.get(), writing.file().database(), 0));
    addTo(transaction, writing.file(), writes);
    transaction.commit();
}

bool SimpleLMDB::beginBuilding() {
    const ReadersGate::Alone alone(state_->gate);
    const LMDBFile& file = state_->openFile();
    if (state_->building || !file.tryLockForBuilding()) return false;
    state_->building = true;
    return true;
}

void SimpleLMDB::endBuilding() {
    const ReadersGate::Alone alone(state_->gate);
    if (state_->building) state_->file->unlockFromBuilding();
    state_->building = false;
}

std::unique_ptr<FileRangesLock> SimpleLMDB::keepBuildersOut(const std::string& file) {
    return LMDBFile::lockedForBuilding(file);
}

void SimpleLMDB::copyCompacted(const std::string& newFile) const {
    const Reading reading(*state_);
    removeFile(newFile);
    const int result = mdb_env_copy2(reading.file().environment(), newFile.c_str(), MDB_CP_COMPACT);
    if (result == MDB_SUCCESS) return;
    removeFile(newFile);
    throw LMDBError(LMDBFile::trueCauseOf(result, newFile), newFile);
}

}  // namespace kestrix
