// The words of one build: read ahead, gathered, and written together with the items of their files.
//
//     TreeUpdate ──files──▶ DocumentReader ──words, in order──▶ WordCache ──containers──▶ one transaction
//     with
//                           (workers)                                                     GroupWriter's items
//
// A file's record goes out with its words or after them, so that a build which is killed takes up every file
// whose words it lost.
#pragma once

#include <atomic>
#include <cstdint>
#include <unordered_set>
#include <vector>

#include "index/build/document_reader.h"
#include "index/build/group_writer.h"
#include "index/build/word_cache.h"
#include "index/failed_files.h"

namespace kestrix {

// One thread: the build's. Failures: LMDBError; Error if the list of failed files cannot be written. A
// document that fails is none of them: it is put on that list.
class WordIndexer {
  public:
    // What is referred to outlives this. `useOCR`: also the text in pictures.
    WordIndexer(ImportTextToolsXPC& import, SimpleLMDB& db, GroupWriter& writer, FailedFiles& failed,
                bool useOCR, const std::atomic<bool>& stop);

    // Reads files whose items are in the group already, or in the file.
    void read(std::vector<TreeUpdate::FileToRead> files);

    // As many words are gathered as shall be before the group is written.
    bool isFull() const { return cache_.isFull(); }
    // Waits for what is being read, and writes the group with its words. New files that were not read,
    // because the build was stopped or their disk was taken away, are left out: an item without its words
    // would never get them.
    void flush();

    std::int64_t newFailures() const { return newFailures_; }

  private:
    void takeOne();
    void note(const TreeUpdate::FileToRead& file, const Error& error);
    void drain(bool withItems);

    SimpleLMDB& db_;
    GroupWriter& writer_;
    FailedFiles& failed_;
    const bool useOCR_;
    WordCache cache_;
    std::unordered_set<FSItemID> unread_;
    std::int64_t newFailures_ = 0;
    DocumentReader reader_;
};

}  // namespace kestrix
