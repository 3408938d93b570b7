// One catalog file: an LMDB environment in one plain file with the one database "SimpleLMDB".
//
// LMDB is opened without its own locking, because its lock file would have to lie beside every catalog, also
// on network disks. Under that flag a read transaction that outlives three commits sees pages of other
// generations, and two writers destroy the file. So this type locks for it: a gate among the threads of the
// process, and advisory locks on the file itself among processes (open file description locks, fcntl(2)):
//
//     reader    shared, for one batch or one lookup
//     writer    exclusive, around each commit
//     builder   exclusive on a byte of its own for as long as a build lasts; a second builder is refused
//
// The file is checked before LMDB maps it (page_check.h): LMDB itself trusts its pages and would crash on
// damage.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "index/lmdb/lmdb_error.h"
#include "platform/file_ranges_lock.h"

namespace kestrix {

// One pending write; the key in the file is `group` followed directly by `key`.
struct ValueGroupKey {
    std::string value;
    std::string group;
    std::string key;
};

struct LMDBStats {
    std::uint32_t pageSize = 0;  // bytes
    std::uint32_t depth = 0;
    std::int64_t branchPageCount = 0;
    std::int64_t leafPageCount = 0;
    std::int64_t overflowPageCount = 0;
    std::int64_t entries = 0;
};

// Threads: every operation may be called from any thread. Failures: LMDBError, or Error in the POSIX domain
// for the file's own locks.
class SimpleLMDB {
  public:
    struct Options {
        // Twice the largest unsigned 32-bit value: the limit of a catalog file. Tests pass less.
        std::size_t mapSize = 8'589'934'590;
        bool readOnly = false;  // a file that may only be read; nothing is created
    };

    SimpleLMDB();
    ~SimpleLMDB();
    SimpleLMDB(const SimpleLMDB&) = delete;
    SimpleLMDB& operator=(const SimpleLMDB&) = delete;

    // "LMDB " and six characters; tells instances apart in logs.
    const std::string& id() const { return id_; }

    // Opens the file, making it (and its database) if it is not there; a file of zero length counts as not
    // there. A file that may not be written is opened for reading. What is no LMDB file of this version, or
    // has damaged pages, throws with one line that says so. Closes what was open before. A file whose place
    // another one takes while it is open is read on, but no longer written.
    void open(const std::string& file, const Options& options);
    void open(const std::string& file) { open(file, Options()); }
    void close();
    bool isOpen() const;
    bool isReadOnly() const;

    LMDBStats stats() const;

    // Copies of one value; nothing if the key is missing.
    std::optional<std::string> get(std::string_view group, std::string_view key) const;

    // A look at the file that lasts as long as one call: views into LMDB's map, good until `use` returns.
    class Snapshot {
      public:
        virtual ~Snapshot() = default;
        virtual std::optional<std::string_view> get(std::string_view key) const = 0;
    };
    // Calls `use` under the reader's lock. Keep it short: it holds up the writer.
    void read(const std::function<void(const Snapshot&)>& use) const;

    // The keys from `first` up to `end`, which is not one of them; an empty `end` stands for no end.
    struct KeyRange {
        std::string first;
        std::string end;

        static KeyRange withPrefix(std::string_view prefix);
    };
    // Scans the keys of a range in key order, `batchSize` entries per read transaction and lock. `take` gets
    // views (key with its group letter, value) and is called with the lock held: it only looks and keeps;
    // false ends the scan. `betweenBatches` is called without the lock after each batch, also after the last;
    // false ends the scan. A concurrent writer is seen between batches, and no key comes twice. Several
    // threads may scan at once.
    static constexpr int kBatchSize = 2500;
    using Take = std::function<bool(std::string_view key, std::string_view value)>;
    void scan(const KeyRange& range, int batchSize, const Take& take,
              const std::function<bool()>& betweenBatches) const;
    // The keys that begin with `prefix`.
    void scan(std::string_view prefix, int batchSize, const Take& take,
              const std::function<bool()>& betweenBatches) const;

    // Copies, handed over without the lock. Keys that are not UTF-8 are left out.
    void keyValuesWith(
        std::string_view prefix, int batchSize,
        const std::function<void(const std::string& key, const std::string& value)>& handler) const;

    // All in one transaction, synced to the disk on return; nothing of it on failure. Sorts nothing: pass
    // ascending keys for speed.
    struct Write {
        std::string_view key;
        std::optional<std::string_view> value;  // none deletes the key; a missing one is no failure
    };
    void write(std::span<const Write> writes);
    void put(std::span<const ValueGroupKey> values);
    void deleteValue(std::string_view group, std::string_view key);
    // Deletes all keys and writes these, in one transaction too. The file keeps its size, for what comes
    // next.
    void startAnew(std::span<const Write> writes);

    // Takes the builder's lock. False if another process, or another object of this one, builds in this file.
    // It is given back by endBuilding, by close and by the end of the process.
    bool beginBuilding();
    void endBuilding();

    // The same for a file that is not opened, for as long as what is returned lives; nullptr if someone
    // builds in it.
    static std::unique_ptr<FileRangesLock> keepBuildersOut(const std::string& file);

    // Writes a compacted copy, of one commit, to a file of its own in place of what lies there. Not synced.
    void copyCompacted(const std::string& newFile) const;

  private:
    struct State;
    class Reading;
    class Writing;
    std::string id_;
    std::unique_ptr<State> state_;
};

}  // namespace kestrix
