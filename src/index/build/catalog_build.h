// One build of one catalog, from the lock that keeps others from building to the mirror of what came of it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "index/build/build_progress.h"
#include "index/build/group_writer.h"
#include "index/build/tree_update.h"
#include "index/build/tree_walk.h"
#include "index/build/word_indexer.h"
#include "index/content_index.h"

namespace kestrix {

// Runs once. What ContentIndex::build promises holds here; that one runs with the options as they stand.
//
//     TreeWalk ──listed folders──▶ TreeUpdate ──items──▶ GroupWriter ──groups──▶ SimpleLMDB
//     (two workers)                compares with the snapshot of SimpleLMDB
class CatalogBuild {
  public:
    struct Options {
        std::optional<GroupWriter::Bounds> group{};  // none: as suits the mode
    };
    CatalogBuild(ContentIndex& index, Options options);

    ContentIndex::BuildOutcome run(const std::vector<std::string>& items, bool alwaysMirror,
                                   ContentIndexMode indexMode);

  private:
    class Running;
    class BuilderLock;

    void prepare();
    void walk(const std::vector<std::string>& items);
    void takeBatch(TreeWalk& walk, std::unique_ptr<ListedFolder>& folder);
    void startAt(const ListedFolder& folder);
    TreeUpdate::Place placeOf(const std::string& path);
    FSItemID makeParent(FSItemID parent, const std::string& name, FSItemID replaced);
    void lookAgain();
    void checkStillThere(const std::string& start, const FileAttributes& before) const;
    void prepareWords();
    void flush();
    void finish();
    void mirror(bool alwaysMirror);
    void keepWish();
    void fail(const Error& error);

    ContentIndex& index_;
    const Options options_;
    ContentIndexMode mode_ = ContentIndexMode::off;
    // The file knows files whose words nobody has read. Until all are read it is dirty: a build that is
    // stopped leaves nothing that would tell which ones.
    bool lacksWords_ = false;
    double lookedAt_ =
        DocumentInfo::kDistantPast;  // at the files: the build before, then this one at its end
    ContentIndex::BuildOutcome outcome_;
    std::unique_ptr<BuildProgress> progress_;
    std::unique_ptr<GroupWriter> writer_;
    std::unique_ptr<TreeUpdate> update_;
    std::optional<FailedFiles> failed_;
    std::unique_ptr<WordIndexer> words_;
    std::vector<std::pair<std::string, FileAttributes>> startsSeen_;
};

}  // namespace kestrix
