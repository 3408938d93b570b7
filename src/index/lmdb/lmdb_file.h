// One LMDB file while it is open: the check of its pages, its map, its transactions, and the locks that LMDB
// is told not to take. For SimpleLMDB alone; no other header shows the library's types.
#pragma once

#include <lmdb.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/lock.h"
#include "index/lmdb/lmdb_error.h"
#include "platform/directory.h"
#include "platform/file_ranges_lock.h"

namespace kestrix {

inline MDB_val valOf(std::string_view bytes) {
    return {bytes.size(), const_cast<char*>(bytes.data())};
}

inline std::string_view viewOf(const MDB_val& val) {
    return {static_cast<const char*>(val.mv_data), val.mv_size};
}

// Threads: readers may come together, everything else alone; SimpleLMDB sees to that. Failures: LMDBError, or
// Error in the POSIX domain for the file's own locks.
class LMDBFile {
  public:
    // As SimpleLMDB::open tells.
    LMDBFile(std::string path, std::size_t mapSize, bool readOnly);
    ~LMDBFile();
    LMDBFile(const LMDBFile&) = delete;
    LMDBFile& operator=(const LMDBFile&) = delete;

    const std::string& path() const { return path_; }
    bool isReadOnly() const { return readOnly_; }
    MDB_env* environment() const { return environment_; }
    MDB_dbi database() const { return database_; }
    std::size_t pageSize() const { return pageSize_; }

    void check(int returnCode) const {
        if (returnCode != MDB_SUCCESS) throw LMDBError(returnCode, path_);
    }

    // What other processes see: a commit waits for the readers, and readers for a commit.
    void lockForReading() const;
    void lockForCommit();  // throws for a file that may only be read
    void unlock() const;

    bool tryLockForBuilding() const;
    void unlockFromBuilding() const;
    // The same for a file that is not open; nullptr if someone builds in it.
    static std::unique_ptr<FileRangesLock> lockedForBuilding(const std::string& path);

    // A read transaction; to be given back. Renewing one is cheaper than beginning another.
    MDB_txn* takeReader();
    void giveBack(MDB_txn* reader);

    // LMDB calls a write that was cut short an I/O error, also where the disk is just full.
    static int trueCauseOf(int returnCode, const std::string& file);

  private:
    enum class Access { reading, writing };

    void openLocks();
    void open();
    FileAttributes checkPages() const;
    void openEnvironment(Access access);
    void becomeWritable();
    bool findDatabase();
    bool holdsSomethingElse() const;
    void makeDatabase();
    void endReaders();
    void close();

    const std::string path_;
    const std::size_t mapSize_;
    bool readOnly_;
    std::unique_ptr<FileRangesLock> locks_;
    FileAttributes checked_;
    MDB_env* environment_ = nullptr;
    Access access_ = Access::reading;  // of the environment
    MDB_dbi database_ = 0;
    std::size_t pageSize_ = 0;
    Locked<std::vector<MDB_txn*>> readers_;  // reset, ready to be renewed
};

// A write transaction; aborted unless it was committed. Under the lock for a commit.
class LMDBTransaction {
  public:
    LMDBTransaction(const LMDBFile& file, unsigned flags);
    ~LMDBTransaction();
    LMDBTransaction(const LMDBTransaction&) = delete;
    LMDBTransaction& operator=(const LMDBTransaction&) = delete;

    MDB_txn* get() const { return handle_; }
    void commit();

  private:
    const LMDBFile& file_;
    MDB_txn* handle_ = nullptr;
};

}  // namespace kestrix
