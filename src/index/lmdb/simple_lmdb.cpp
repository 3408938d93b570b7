#include "index/lmdb/simple_lmdb.h"

#include <lmdb.h>

#include <cerrno>
#include <filesystem>
#include <map>
#include <mutex>
#include <utility>

#include "base/clock.h"
#include "base/lock.h"
#include "base/text.h"
#include "base/uuid.h"
#include "index/lmdb/page_check.h"
#include "platform/directory.h"
#include "platform/file_ranges_lock.h"
#include "platform/mapped_file.h"
#include "platform/stored_file.h"

namespace kestrix {

namespace {

constexpr const char* kDatabaseName = "SimpleLMDB";
constexpr MDB_dbi kMaxDBs = 32;
constexpr mdb_mode_t kMode = 0755;
constexpr mdb_mode_t kReadOnlyMode = 0555;

// Far behind any file's end, so that no other program's lock on the bytes themselves meets them.
constexpr std::uint64_t kCommitByte = 0x4000'0000'0000'0000;
constexpr std::uint64_t kBuilderByte = kCommitByte + 1;

MDB_val valOf(std::string_view bytes) {
    return {bytes.size(), const_cast<char*>(bytes.data())};
}

std::string_view viewOf(const MDB_val& val) {
    return {static_cast<const char*>(val.mv_data), val.mv_size};
}

std::string joined(std::string_view group, std::string_view key) {
    std::string whole;
    whole.reserve(group.size() + key.size());
    whole.append(group).append(key);
    return whole;
}

// Holds one byte of the file for as long as it lives.
class HeldByte {
  public:
    HeldByte(const FileRangesLock& locks, FileRangesLock::Mode mode) : locks_(locks) {
        locks_.lock(kCommitByte, mode);
    }
    ~HeldByte() { locks_.unlock(kCommitByte); }
    HeldByte(const HeldByte&) = delete;
    HeldByte& operator=(const HeldByte&) = delete;

  private:
    const FileRangesLock& locks_;
};

struct CursorCloser {
    void operator()(MDB_cursor* cursor) const { mdb_cursor_close(cursor); }
};
using CursorPointer = std::unique_ptr<MDB_cursor, CursorCloser>;

// LMDB calls a write that was cut short an I/O error, also where the disk is just full.
int trueCauseOf(int returnCode, const std::string& file) {
    constexpr std::uintmax_t kAsGoodAsNone = std::uintmax_t{64} * 1024;
    if (returnCode != EIO) return returnCode;
    std::error_code unknown;
    const auto space = std::filesystem::space(std::filesystem::path(file).parent_path(), unknown);
    return !unknown && space.available < kAsGoodAsNone ? ENOSPC : returnCode;
}

bool isSameState(const FileAttributes& before, const FileAttributes& now) {
    return before.device == now.device && before.inode == now.inode && before.size == now.size &&
           before.modified == now.modified;
}

// Two seconds of doubt: coarse times can hide a change that was made just now.
bool isSettled(const FileAttributes& attributes) {
    return attributes.modified.seconds + 2 < secondsSince1970(Clock::system().now());
}

bool meansReadOnly(int number) {
    return number == EACCES || number == EROFS || number == EPERM;
}

}  // namespace

// Everything but `mutex` is guarded by it, and LMDB is called only with it held.
struct SimpleLMDB::State {
    std::mutex mutex;
    std::string file;
    bool readOnly = false;
    bool building = false;
    std::unique_ptr<FileRangesLock> locks;
    MDB_env* environment = nullptr;
    MDB_dbi database = 0;
    MDB_txn* reader = nullptr;  // reset between uses: renewing is cheaper than beginning

    ~State() { close(); }

    bool isOpen() const { return environment != nullptr; }

    void check(int returnCode) const {
        if (returnCode != MDB_SUCCESS) throw LMDBError(returnCode, file);
    }

    const FileRangesLock& openLocks() const {
        if (!isOpen()) throw LMDBError(EINVAL, file, "it is not open");
        return *locks;
    }
    const FileRangesLock& locksForWriting() const {
        const FileRangesLock& held = openLocks();
        if (readOnly) throw LMDBError(EACCES, file);
        return held;
    }

    void close() {
        if (reader) mdb_txn_abort(reader);
        if (environment) mdb_env_close(environment);
        reader = nullptr;
        environment = nullptr;
        locks.reset();
        building = false;
    }

    void openFile(bool onlyReading);
    void checkPages() const;
    void openEnvironment(std::size_t mapSize);
    void openDatabase();
    bool findDatabase();
    bool holdsSomethingElse() const;
};

namespace {

// A write transaction under the writer's lock; aborted unless it was committed.
class Transaction {
  public:
    Transaction(MDB_env* environment, unsigned flags, const std::string& file) : file_(file) {
        const int result = mdb_txn_begin(environment, nullptr, flags, &handle_);
        if (result != MDB_SUCCESS) throw LMDBError(result, file_);
    }
    ~Transaction() {
        if (handle_) mdb_txn_abort(handle_);
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    MDB_txn* get() const { return handle_; }
    void commit() {
        const int result = mdb_txn_commit(std::exchange(handle_, nullptr));
        if (result != MDB_SUCCESS) throw LMDBError(trueCauseOf(result, file_), file_);
    }

  private:
    const std::string& file_;
    MDB_txn* handle_ = nullptr;
};

std::unique_ptr<FileRangesLock> openLocks(const std::string& file, FileRangesLock::Access access) {
    try {
        return std::make_unique<FileRangesLock>(file, access);
    } catch (const Error& error) {
        throw LMDBError(error.code(), file);
    }
}

}  // namespace

void SimpleLMDB::State::openFile(bool onlyReading) {
    readOnly = onlyReading;
    if (readOnly) {
        locks = kestrix::openLocks(file, FileRangesLock::Access::existing);
        return;
    }
    try {
        locks = kestrix::openLocks(file, FileRangesLock::Access::createIfMissing);
    } catch (const LMDBError& refused) {
        if (!meansReadOnly(refused.code())) throw;
        readOnly = true;
        try {
            locks = kestrix::openLocks(file, FileRangesLock::Access::existing);
        } catch (const LMDBError&) {
            throw refused;
        }
    }
}

// A search opens a catalog to read what it describes, and again to scan it. What this process has found sound
// and nobody has touched since is not looked at a second time: that costs as much as a quarter of a scan.
void SimpleLMDB::State::checkPages() const {
    static Locked<std::map<std::string, FileAttributes>> sound;
    FileAttributes now;
    const bool isKnown = readAttributes(file, true, now) == 0;
    if (isKnown && sound.read([&](const auto& files) {
            const auto known = files.find(file);
            return known != files.end() && isSameState(known->second, now);
        })) {
        return;
    }
    const MappedFile mapped(file);
    if (const auto fault = faultOfPages(mapped.bytes())) throw LMDBError(fault->code, file, fault->text);
    if (isKnown && isSettled(now)) sound.modify([&](auto& files) { files.insert_or_assign(file, now); });
}

void SimpleLMDB::State::openEnvironment(std::size_t mapSize) {
    check(mdb_env_create(&environment));
    check(mdb_env_set_maxdbs(environment, kMaxDBs));
    check(mdb_env_set_mapsize(environment, mapSize));
    const unsigned flags = MDB_NOLOCK | MDB_NOSUBDIR | (readOnly ? MDB_RDONLY : 0U);
    check(mdb_env_open(environment, file.c_str(), flags, readOnly ? kReadOnlyMode : kMode));
}

// False if there is no database of this name in the file.
bool SimpleLMDB::State::findDatabase() {
    Transaction look(environment, MDB_RDONLY, file);
    const int result = mdb_dbi_open(look.get(), kDatabaseName, 0, &database);
    if (result == MDB_NOTFOUND) return false;
    check(result);
    look.commit();  // an aborted transaction would close the handle again
    return true;
}

// Another program's LMDB file, which must not get a catalog's database.
bool SimpleLMDB::State::holdsSomethingElse() const {
    MDB_stat stat;
    check(mdb_env_stat(environment, &stat));
    return stat.ms_entries > 0;
}

void SimpleLMDB::State::openDatabase() {
    Transaction make(environment, 0, file);
    check(mdb_dbi_open(make.get(), kDatabaseName, MDB_CREATE, &database));
    make.commit();
}

namespace {

class Snapshot final : public SimpleLMDB::Snapshot {
  public:
    Snapshot(MDB_txn* transaction, MDB_dbi database, const std::string& file)
        : transaction_(transaction), database_(database), file_(file) {}

    std::optional<std::string_view> get(std::string_view key) const override {
        MDB_val wanted = valOf(key);
        MDB_val found;
        const int result = mdb_get(transaction_, database_, &wanted, &found);
        if (result == MDB_NOTFOUND) return std::nullopt;
        if (result != MDB_SUCCESS) throw LMDBError(result, file_);
        return viewOf(found);
    }

    CursorPointer cursor() const {
        MDB_cursor* made = nullptr;
        const int result = mdb_cursor_open(transaction_, database_, &made);
        if (result != MDB_SUCCESS) throw LMDBError(result, file_);
        return CursorPointer(made);
    }

    MDB_txn* transaction() const { return transaction_; }

  private:
    MDB_txn* transaction_;
    MDB_dbi database_;
    const std::string& file_;
};

}  // namespace

// One read transaction, never longer than the reader's lock.
class SimpleLMDB::Reading {
  public:
    explicit Reading(State& state)
        : alone_(state.mutex), held_(state.openLocks(), FileRangesLock::Mode::shared), state_(state) {
        if (state_.reader) {
            state_.check(mdb_txn_renew(state_.reader));
        } else {
            state_.check(mdb_txn_begin(state_.environment, nullptr, MDB_RDONLY, &state_.reader));
        }
    }
    ~Reading() { mdb_txn_reset(state_.reader); }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

    kestrix::Snapshot snapshot() const { return {state_.reader, state_.database, state_.file}; }

  private:
    std::lock_guard<std::mutex> alone_;
    HeldByte held_;
    State& state_;
};

SimpleLMDB::SimpleLMDB() : state_(std::make_unique<State>()) {
    const std::string uuid = Uuid::make().text();
    id_ = "LMDB " + uuid.substr(uuid.size() - 6);
}

SimpleLMDB::~SimpleLMDB() = default;

void SimpleLMDB::open(const std::string& file, const Options& options) {
    std::lock_guard alone(state_->mutex);
    state_->close();
    state_->file = file;
    try {
        state_->openFile(options.readOnly);
        if (state_->readOnly && state_->locks->fileSize() == 0) throw LMDBError(ENOENT, file);
        const bool isNew = state_->locks->fileSize() == 0;
        {
            const HeldByte held(*state_->locks,
                                isNew ? FileRangesLock::Mode::exclusive : FileRangesLock::Mode::shared);
            state_->checkPages();
            state_->openEnvironment(options.mapSize);
            if (state_->findDatabase()) return;
        }
        const HeldByte held(*state_->locks, state_->readOnly ? FileRangesLock::Mode::shared
                                                             : FileRangesLock::Mode::exclusive);
        if (state_->readOnly || state_->holdsSomethingElse()) throw LMDBError(MDB_INVALID, file);
        state_->openDatabase();
    } catch (...) {
        state_->close();
        throw;
    }
}

void SimpleLMDB::close() {
    std::lock_guard alone(state_->mutex);
    state_->close();
}

bool SimpleLMDB::isOpen() const {
    std::lock_guard alone(state_->mutex);
    return state_->isOpen();
}

bool SimpleLMDB::isReadOnly() const {
    std::lock_guard alone(state_->mutex);
    return state_->readOnly;
}

LMDBStats SimpleLMDB::stats() const {
    const Reading reading(*state_);
    MDB_stat stat;
    state_->check(mdb_stat(reading.snapshot().transaction(), state_->database, &stat));
    return {stat.ms_psize,
            stat.ms_depth,
            static_cast<std::int64_t>(stat.ms_branch_pages),
            static_cast<std::int64_t>(stat.ms_leaf_pages),
            static_cast<std::int64_t>(stat.ms_overflow_pages),
            static_cast<std::int64_t>(stat.ms_entries)};
}

std::optional<std::string> SimpleLMDB::get(std::string_view group, std::string_view key) const {
    const Reading reading(*state_);
    const auto found = reading.snapshot().get(joined(group, key));
    if (!found) return std::nullopt;
    return std::string(*found);
}

void SimpleLMDB::read(const std::function<void(const Snapshot&)>& use) const {
    const Reading reading(*state_);
    use(reading.snapshot());
}

namespace {

// Where a scan stands between its batches.
struct ScanPlace {
    std::string_view prefix;
    std::string lastKey;  // delivered already; empty before the first batch
    bool atEnd = false;
};

int firstKeyOfBatch(MDB_cursor* cursor, const ScanPlace& place, MDB_val& key, MDB_val& value) {
    if (place.lastKey.empty() && place.prefix.empty()) return mdb_cursor_get(cursor, &key, &value, MDB_FIRST);
    key = valOf(place.lastKey.empty() ? place.prefix : place.lastKey);
    const int result = mdb_cursor_get(cursor, &key, &value, MDB_SET_RANGE);
    if (result != MDB_SUCCESS || place.lastKey.empty() || viewOf(key) != place.lastKey) return result;
    return mdb_cursor_get(cursor, &key, &value, MDB_NEXT);
}

void takeBatch(MDB_cursor* cursor, ScanPlace& place, int batchSize,
               const std::function<bool(std::string_view, std::string_view)>& take) {
    MDB_val key;
    MDB_val value;
    int result = firstKeyOfBatch(cursor, place, key, value);
    for (int taken = 0; result == MDB_SUCCESS && viewOf(key).starts_with(place.prefix);) {
        if (!take(viewOf(key), viewOf(value))) break;
        if (++taken == batchSize) {
            place.lastKey = viewOf(key);
            return;
        }
        result = mdb_cursor_get(cursor, &key, &value, MDB_NEXT);
    }
    place.atEnd = true;
}

}  // namespace

void SimpleLMDB::scan(std::string_view prefix, int batchSize,
                      const std::function<bool(std::string_view key, std::string_view value)>& take,
                      const std::function<bool()>& betweenBatches) const {
    ScanPlace place{.prefix = prefix, .lastKey = {}};
    if (batchSize < 1) return;
    while (!place.atEnd) {
        {
            const Reading reading(*state_);
            takeBatch(reading.snapshot().cursor().get(), place, batchSize, take);
        }
        if (!betweenBatches()) return;
    }
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

void SimpleLMDB::write(std::span<const Write> writes) {
    std::lock_guard alone(state_->mutex);
    const HeldByte held(state_->locksForWriting(), FileRangesLock::Mode::exclusive);
    Transaction transaction(state_->environment, 0, state_->file);
    {
        // One cursor for all: with ascending keys it mostly stays in its page.
        const CursorPointer cursor =
            kestrix::Snapshot(transaction.get(), state_->database, state_->file).cursor();
        for (const Write& one : writes) {
            MDB_val key = valOf(one.key);
            MDB_val value = valOf(one.value.value_or(std::string_view()));
            const int result = one.value ? mdb_cursor_put(cursor.get(), &key, &value, 0)
                                         : mdb_del(transaction.get(), state_->database, &key, nullptr);
            if (result != MDB_NOTFOUND) state_->check(result);
        }
    }
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

void SimpleLMDB::empty() {
    std::lock_guard alone(state_->mutex);
    const HeldByte held(state_->locksForWriting(), FileRangesLock::Mode::exclusive);
    Transaction transaction(state_->environment, 0, state_->file);
    state_->check(mdb_drop(transaction.get(), state_->database, 0));
    transaction.commit();
}

bool SimpleLMDB::beginBuilding() {
    std::lock_guard alone(state_->mutex);
    const FileRangesLock& locks = state_->locksForWriting();
    if (state_->building || !locks.tryLock(kBuilderByte)) return false;
    state_->building = true;
    return true;
}

void SimpleLMDB::endBuilding() {
    std::lock_guard alone(state_->mutex);
    if (state_->building) state_->locks->unlock(kBuilderByte);
    state_->building = false;
}

std::unique_ptr<FileRangesLock> SimpleLMDB::keepBuildersOut(const std::string& file) {
    auto locks = std::make_unique<FileRangesLock>(file, FileRangesLock::Access::createIfMissing);
    return locks->tryLock(kBuilderByte) ? std::move(locks) : nullptr;
}

void SimpleLMDB::copyCompacted(const std::string& newFile) const {
    std::lock_guard alone(state_->mutex);
    const HeldByte held(state_->openLocks(), FileRangesLock::Mode::shared);
    removeFile(newFile);
    const int result = mdb_env_copy2(state_->environment, newFile.c_str(), MDB_CP_COMPACT);
    if (result == MDB_SUCCESS) return;
    removeFile(newFile);
    throw LMDBError(trueCauseOf(result, newFile), newFile);
}

}  // namespace kestrix
