// Brings the items of a catalog in line with the folders that a walk lists.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "index/build/group_writer.h"
#include "index/build/stored_folder.h"
#include "index/build/tree_walk.h"

namespace kestrix {

// Takes the folders of one walk in its order. A file whose date changed is taken out and added under a new
// identifier, and so is what was a file and is a folder now, or the other way round (then with all that the
// catalog knows below the former folder). What is gone from the disk stays. One thread.
//
// Stored dates are whole seconds, so a file that changes in the second in which it was looked at keeps its
// date. Who looks once more at the end sees what changed so in the course of the build; what changes later is
// dated at or behind that look, on disk, where dates are finer: such files the next build doubts.
class TreeUpdate {
  public:
    struct Rules {
        bool notesDead = false;      // removed files are noted for the word index
        bool wantsNewFiles = false;  // fileToRead are gathered, of all files with wantsAllFiles
        bool wantsAllFiles = false;
        double lookedAt = DocumentInfo::kDistantPast;   // when the build before looked last, since 2001
        std::unordered_set<std::string> wantedAgain{};  // paths of files that are gathered, new or not
    };
    struct FileToRead {
        FSItemID id = kNoParent;
        std::string path{};
        std::uint64_t size = 0;  // bytes
    };
    // Where the next folder of the walk stands in the catalog.
    struct Place {
        FSItemID parent = kNoParent;
        bool isTarget = false;        // the target has no item of its own
        FSItemID stored = kNoParent;  // the item of its name; kNoParent: none
        FSItemType storedType = FSItemType::directory;
        std::int32_t storedModified = 0;
    };

    // Ends early in the middle of a folder when `stop` turns true.
    TreeUpdate(GroupWriter& writer, Rules rules, const std::atomic<bool>& stop);

    // The next folder is a start, or the walk has ended; a start's place must be told before it is taken.
    bool expectsStart() const { return places_.empty(); }
    void setStart(const Place& place) { places_.push_back(place); }

    // Compares one folder with the snapshot, which shows the catalog as it was before this walk or at a
    // commit of it.
    void take(const ListedFolder& folder, const SimpleLMDB::Snapshot& snapshot);

    // Looks again at the files that were young when they were listed. All must be in the file.
    void lookAgain();

    // Takes an item out, and all below it if it is a folder.
    void remove(FSItemView item, const SimpleLMDB::Snapshot& snapshot);

    std::int64_t files() const { return files_; }
    std::int64_t unreadableFolders() const { return unreadable_; }
    std::vector<FileToRead> takeFilesToRead() { return std::exchange(filesToRead_, {}); }

  private:
    struct YoungFile {
        FSItemView item;  // without name
        Timestamp modified;
    };

    FSItemID enter(const Place& place, const ListedFolder& folder, const SimpleLMDB::Snapshot& snapshot);
    bool isUnchanged(const ListedFile& file, const FSItemView& stored, WallTime listedAt) const;
    FSItemView newItem(const ListedFile& file, FSItemID parent);
    void takeFile(const ListedFile& file, FSItemID parent, const ListedFolder& folder,
                  const SimpleLMDB::Snapshot& snapshot);
    void placeFolders(const ListedFolder& folder, FSItemID parent);

    GroupWriter& writer_;
    const Rules rules_;
    const std::atomic<bool>& stop_;
    StoredFolder stored_;
    std::vector<Place> places_;  // of the folders to come, the next one last
    std::vector<FileToRead> filesToRead_;
    std::map<std::string, YoungFile> young_;  // by path, as starts may lie in each other
    std::int64_t files_ = 0;
    std::int64_t unreadable_ = 0;
};

}  // namespace kestrix
