#include "index/lmdb/lmdb_file.h"

#include <cerrno>
#include <filesystem>
#include <map>
#include <utility>

#include "base/clock.h"
#include "index/lmdb/page_check.h"
#include "platform/directory.h"
#include "platform/mapped_file.h"

namespace kestrix {

namespace {

constexpr const char* kDatabaseName = "SimpleLMDB";
constexpr MDB_dbi kMaxDBs = 32;
constexpr mdb_mode_t kMode = 0755;
constexpr mdb_mode_t kReadOnlyMode = 0555;

// Far behind any file's end, so that no other program's lock on the bytes themselves meets them.
constexpr std::uint64_t kCommitByte = 0x4000'0000'0000'0000;
constexpr std::uint64_t kBuilderByte = kCommitByte + 1;

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

std::unique_ptr<FileRangesLock> locksOf(const std::string& file, FileRangesLock::Access access) {
    try {
        return std::make_unique<FileRangesLock>(file, access);
    } catch (const Error& error) {
        throw LMDBError(error.code(), file);
    }
}

}  // namespace

LMDBFile::LMDBFile(std::string path, std::size_t mapSize, bool readOnly)
    : path_(std::move(path)), mapSize_(mapSize), readOnly_(readOnly) {
    try {
        openLocks();
        open();
    } catch (...) {
        close();
        throw;
    }
}

LMDBFile::~LMDBFile() {
    close();
}

void LMDBFile::openLocks() {
    if (readOnly_) {
        locks_ = locksOf(path_, FileRangesLock::Access::existing);
        return;
    }
    try {
        locks_ = locksOf(path_, FileRangesLock::Access::createIfMissing);
    } catch (const LMDBError& refused) {
        if (!meansReadOnly(refused.code())) throw;
        readOnly_ = true;
        try {
            locks_ = locksOf(path_, FileRangesLock::Access::existing);
        } catch (const LMDBError&) {
            throw refused;
        }
    }
}

void LMDBFile::open() {
    using Mode = FileRangesLock::Mode;
    const bool isNew = locks_->fileSize() == 0;
    if (readOnly_ && isNew) throw LMDBError(ENOENT, path_);
    {
        const HeldByte held(*locks_, isNew ? Mode::exclusive : Mode::shared);
        checked_ = checkPages();
        openEnvironment(isNew ? Access::writing : Access::reading);
        if (findDatabase()) return;
    }
    const HeldByte held(*locks_, readOnly_ ? Mode::shared : Mode::exclusive);
    if (readOnly_ || holdsSomethingElse()) throw LMDBError(MDB_INVALID, path_);
    becomeWritable();
    makeDatabase();
}

// A search opens a catalog to read what it describes, and again to scan it. What this process has found sound
// and nobody has touched since is not looked at a second time: that costs as much as a quarter of a scan.
FileAttributes LMDBFile::checkPages() const {
    static Locked<std::map<std::string, FileAttributes>> sound;
    FileAttributes now;
    const bool isKnown = readAttributes(path_, true, now) == 0;
    if (isKnown && sound.read([&](const auto& files) {
            const auto known = files.find(path_);
            return known != files.end() && isSameState(known->second, now);
        })) {
        return now;
    }
    const MappedFile mapped(path_);
    if (const auto fault = faultOfPages(mapped.bytes())) throw LMDBError(fault->code, path_, fault->text);
    if (isKnown && isSettled(now)) sound.modify([&](auto& files) { files.insert_or_assign(path_, now); });
    return now;
}

void LMDBFile::openEnvironment(Access access) {
    access_ = access;
    check(mdb_env_create(&environment_));
    check(mdb_env_set_maxdbs(environment_, kMaxDBs));
    check(mdb_env_set_mapsize(environment_, mapSize_));
    const unsigned flags = MDB_NOLOCK | MDB_NOSUBDIR | (access == Access::reading ? MDB_RDONLY : 0U);
    check(mdb_env_open(environment_, path_.c_str(), flags, readOnly_ ? kReadOnlyMode : kMode));
    MDB_stat stat;
    check(mdb_env_stat(environment_, &stat));
    pageSize_ = stat.ms_psize;
}

// A file is opened for reading until the first write comes. For writing the library sets megabytes aside and
// clears them, which takes as long as a good part of a search. Everyone else is kept out meanwhile.
void LMDBFile::becomeWritable() {
    if (access_ == Access::writing) return;
    FileAttributes now;
    if (readAttributes(path_, true, now) != 0 || now.device != checked_.device || now.inode != checked_.inode)
        throw LMDBError(ESTALE, path_, "another file has taken its place");
    endReaders();
    MDB_env* const forReading = std::exchange(environment_, nullptr);
    try {
        openEnvironment(Access::writing);
        findDatabase();
    } catch (...) {
        if (environment_) mdb_env_close(environment_);
        environment_ = forReading;
        access_ = Access::reading;
        throw;
    }
    mdb_env_close(forReading);
}

// False if there is no database of this name in the file.
bool LMDBFile::findDatabase() {
    LMDBTransaction look(*this, MDB_RDONLY);
    const int result = mdb_dbi_open(look.get(), kDatabaseName, 0, &database_);
    if (result == MDB_NOTFOUND) return false;
    check(result);
    look.commit();  // an aborted transaction would close the handle again
    return true;
}

// Another program's LMDB file, which must not get a catalog's database.
bool LMDBFile::holdsSomethingElse() const {
    MDB_stat stat;
    check(mdb_env_stat(environment_, &stat));
    return stat.ms_entries > 0;
}

void LMDBFile::makeDatabase() {
    LMDBTransaction make(*this, 0);
    check(mdb_dbi_open(make.get(), kDatabaseName, MDB_CREATE, &database_));
    make.commit();
}

void LMDBFile::endReaders() {
    readers_.modify([](std::vector<MDB_txn*>& idle) {
        for (MDB_txn* const reader : idle)
            mdb_txn_abort(reader);
        idle.clear();
    });
}

void LMDBFile::close() {
    endReaders();
    if (environment_) mdb_env_close(environment_);
    locks_.reset();
}

void LMDBFile::lockForReading() const {
    locks_->lock(kCommitByte, FileRangesLock::Mode::shared);
}

void LMDBFile::lockForCommit() {
    if (readOnly_) throw LMDBError(EACCES, path_);
    locks_->lock(kCommitByte, FileRangesLock::Mode::exclusive);
    try {
        becomeWritable();
    } catch (...) {
        unlock();
        throw;
    }
}

void LMDBFile::unlock() const {
    locks_->unlock(kCommitByte);
}

bool LMDBFile::tryLockForBuilding() const {
    if (readOnly_) throw LMDBError(EACCES, path_);
    return locks_->tryLock(kBuilderByte);
}

void LMDBFile::unlockFromBuilding() const {
    locks_->unlock(kBuilderByte);
}

std::unique_ptr<FileRangesLock> LMDBFile::lockedForBuilding(const std::string& path) {
    auto locks = std::make_unique<FileRangesLock>(path, FileRangesLock::Access::createIfMissing);
    return locks->tryLock(kBuilderByte) ? std::move(locks) : nullptr;
}

MDB_txn* LMDBFile::takeReader() {
    MDB_txn* reader = readers_.modify([](std::vector<MDB_txn*>& idle) -> MDB_txn* {
        if (idle.empty()) return nullptr;
        MDB_txn* const last = idle.back();
        idle.pop_back();
        return last;
    });
    const int result =
        reader ? mdb_txn_renew(reader) : mdb_txn_begin(environment_, nullptr, MDB_RDONLY, &reader);
    if (result == MDB_SUCCESS) return reader;
    if (reader) mdb_txn_abort(reader);
    throw LMDBError(result, path_);
}

void LMDBFile::giveBack(MDB_txn* reader) {
    mdb_txn_reset(reader);
    readers_.modify([reader](std::vector<MDB_txn*>& idle) { idle.push_back(reader); });
}

int LMDBFile::trueCauseOf(int returnCode, const std::string& file) {
    constexpr std::uintmax_t kAsGoodAsNone = std::uintmax_t{64} * 1024;
    if (returnCode != EIO) return returnCode;
    std::error_code unknown;
    const auto space = std::filesystem::space(std::filesystem::path(file).parent_path(), unknown);
    return !unknown && space.available < kAsGoodAsNone ? ENOSPC : returnCode;
}

LMDBTransaction::LMDBTransaction(const LMDBFile& file, unsigned flags) : file_(file) {
    file_.check(mdb_txn_begin(file_.environment(), nullptr, flags, &handle_));
}

LMDBTransaction::~LMDBTransaction() {
    if (handle_) mdb_txn_abort(handle_);
}

void LMDBTransaction::commit() {
    const int result = mdb_txn_commit(std::exchange(handle_, nullptr));
    if (result != MDB_SUCCESS) throw LMDBError(LMDBFile::trueCauseOf(result, file_.path()), file_.path());
}

}  // namespace kestrix
