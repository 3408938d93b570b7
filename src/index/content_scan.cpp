// From the documents that the words of a catalog name to results.
#include <algorithm>
#include <utility>

#include "index/catalog_folders.h"
#include "index/catalog_results.h"
#include "index/content_index_search.h"
#include "index/word_search.h"
#include "language/commands/word_commands.h"
#include "search/content_search.h"
#include "shell/logger.h"

namespace kestrix {

namespace {

// Results made under one reader's lock, and handed over together.
constexpr std::size_t kHitsPerLook = 512;

// Each with its own words, all of which a document must answer.
std::vector<ContentQuestion> questionsOf(const QueryContainer& query) {
    std::vector<ContentQuestion> questions;
    for (const auto& command : query.commandsFoundInQuery()) {
        const auto* content = dynamic_cast<const ContentSearch*>(command.get());
        if (!content) continue;
        questions.push_back({.forWords = content->wordsToSearchFor(),
                             .excludingWords = content->wordsToExclude(),
                             .wholeWords = content->wholeWords(),
                             .allWords = content->allWords()});
    }
    // What the catalog answers no command looks at again: with several, each shall, for its own findings.
    const bool doubted = questions.size() > 1 || query.commandOfType<CaseSensitive>();
    for (ContentQuestion& question : questions)
        question.doubted = doubted;
    return questions;
}

// Of one, those that stand in the other too.
std::vector<ContentHit> inBoth(const std::vector<ContentHit>& hits, const std::vector<ContentHit>& others) {
    std::vector<ContentHit> both;
    for (const ContentHit& hit : hits) {
        const auto other = std::ranges::lower_bound(others, hit.document, {}, &ContentHit::document);
        if (other == others.end() || other->document != hit.document) continue;
        both.push_back(hit);
        both.back().isLikely = hit.isLikely && other->isLikely;
    }
    return both;
}

ContentAnswer answerTo(const QueryContainer& query, const SimpleLMDB& db,
                       const std::function<bool()>& shouldStop) {
    ContentAnswer answer{.hits = {}, .isOpen = true};
    for (const ContentQuestion& question : questionsOf(query)) {
        ContentAnswer one = searchContent(db, question, shouldStop);
        if (one.isOpen) continue;
        if (!answer.isOpen) one.hits = inBoth(answer.hits, one.hits);
        answer = std::move(one);
    }
    return answer;
}

class HitResults {
  public:
    HitResults(ContentIndex& index, const QueryContainer& query, bool invisibleItems)
        : folders_(query, index.targetURL().value_or("/"), invisibleItems),
          entries_(query, "", invisibleItems),
          isMounted_(index.isTargetMounted()) {}

    bool isInReach() const { return folders_.isInReach(); }

    // What is not certain goes without its source, so that the content command reads it; where it cannot be
    // read, the catalog's word has to do. A removed document has no item any more.
    void add(const ContentHit& hit, const SimpleLMDB::Snapshot& snapshot,
             std::vector<SearchResult>& results) {
        if (!hit.isCertain && !isMounted_ && !hit.isLikely) return;
        const auto record = snapshot.get(itemKey(hit.document));
        const auto item = record ? decodeFSItem(*record) : std::nullopt;
        if (!item || item->type != FSItemType::file || !entries_.takesName(item->name)) return;
        if (entries_.isRuledOut(sizeOf(*item), modDateOf(*item), creationDateOf(*item))) {
            return;
        }
        const CatalogFolders::Folder& folder = folders_.folder(item->parentID, snapshot);
        if (!folder.listed) return;
        SearchResult result = fsItemToSearchResult(*item, folder.path, isMounted_);
        result.contentSearchResultsRank = hit.rank;
        result.tryCollectSummaryLines = true;
        result.checkToSeeIfItExists = isMounted_;
        if (!hit.isCertain && isMounted_) result.searchResultSuppliedBy = SearchResultSupplier::none;
        results.push_back(std::move(result));
    }

  private:
    CatalogFolders folders_;
    const EntryRules entries_;
    const bool isMounted_;
};

}  // namespace

bool searchForContent(ContentIndex& index, const QueryContainer& query, bool invisibleItems,
                      const NameScanCalls& calls) {
    if (Logger::shouldLog) LogFunc("Scanning the words of " + index.localDBFile());
    HitResults made(index, query, invisibleItems);
    if (!made.isInReach()) return true;
    const ContentAnswer answer = answerTo(query, index.db(), calls.shouldStop);
    for (std::size_t next = 0; next < answer.hits.size() && !calls.shouldStop();) {
        const std::size_t end = std::min(answer.hits.size(), next + kHitsPerLook);
        std::vector<SearchResult> results;
        index.db().read([&](const SimpleLMDB::Snapshot& snapshot) {
            for (; next < end; ++next)
                made.add(answer.hits[next], snapshot, results);
        });
        if (!results.empty()) calls.results(std::move(results));
    }
    return !answer.isOpen;
}

}  // namespace kestrix
