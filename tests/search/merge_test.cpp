// The merge against its slow twin: every item judged alone, one after another.
#include "search/merge.h"

#include <random>
#include <set>

#include "base/crc64.h"
#include "files/fs_utilities.h"
#include "search/path_judge.h"
#include "tests/search/search_fixture.h"

namespace kestrix {
namespace {

using Paths = std::vector<std::string>;

class MergeTwinTest : public SearchTest {
  protected:
    std::string randomPath() {
        static const Paths kStarts = {"/",      "/usr/share", "/home/kx", "/home/kx/cat", "/home/kx/catalog",
                                      "/mnt/d", "/usr2",      "relative", "/home//kx",    "/home/kx/.cat"};
        static const Paths kNames = {"cat",          "Cat.txt", ".cat",     "cat.app", "dog",  "a.framework",
                                     "b.framework2", "usr",     "lib",      "tmp",     "home", "x.bundle",
                                     "cat.",         "s p",     "K\u00e4t", "..",      "a.b.c"};
        std::string path = pick(kStarts);
        for (auto depth = random_() % 4; depth > 0; --depth)
            path.append(path.back() == '/' ? "" : "/").append(pick(kNames));
        if (random_() % 20 == 0) path += '/';
        return path;
    }

    std::optional<SearchLocation> randomLocation() {
        if (random_() % 5 == 0) return std::nullopt;
        Paths urls;
        for (auto count = random_() % 3 + 1; count > 0; --count) {
            std::string url = randomPath();
            while (url.size() > 1 && url.back() == '/')
                url.pop_back();
            urls.push_back(url);
        }
        if (random_() % 4 == 0) urls.push_back("/");
        return SearchLocation(urls);
    }

    // Runs of neighbours with strangers between them, and some paths again.
    std::vector<SearchResult> randomBatch() {
        std::vector<SearchResult> batch;
        while (batch.size() < 200) {
            const std::string base = randomPath();
            for (auto count = random_() % 6 + 1; count > 0; --count) {
                std::string name = randomPath();
                name = name.substr(name.find_last_of('/', name.size() - 2) + 1);
                SearchResult& item = batch.emplace_back(recordOf(base + "/" + name));
                item.ignoreSearchLocation = random_() % 10 == 0;
            }
        }
        return batch;
    }

    static bool isLeftOut(const QueryContainer& query, std::string_view path) {
        const auto start = query.whereLocation() ? query.whereLocation()->startOf(path) : std::string_view();
        return FSUtilities::isInsideOSDirectory(path, start) ||
               FSUtilities::isInvisibleOrInsidePackage(path, start);
    }

    Paths judgedAlone(const QueryContainer& query, const std::vector<SearchResult>& batch) {
        std::set<std::int64_t> alreadyFiltered;
        Paths survivors;
        for (const SearchResult& item : batch) {
            std::vector<SearchResult> list = {item};
            for (auto& folderOfItem : query.expandMatchingItemsForSearchResult(item))
                list.push_back(folderOfItem);
            for (SearchResult& candidate : list) {
                if (!alreadyFiltered.insert(crc64(candidate.path)).second) continue;
                if (!candidate.ignoreSearchLocation && !query.pathIsInQueryLocation(candidate.path)) continue;
                if (!query.searchResultPassesFiltering(candidate, nullptr)) continue;
                if (!candidate.ignoreSearchLocation && isLeftOut(query, candidate.path)) continue;
                survivors.push_back(candidate.path);
            }
        }
        return survivors;
    }

    std::string pick(const Paths& from) { return from[random_() % from.size()]; }

    std::minstd_rand random_{20261122};
};

TEST_F(MergeTwinTest, OneSliceKeepsTheSameItemsInTheSameOrderAsItsTwin) {
    static const Paths kLines = {"cat", "a", "c t", "cat OR dog", "-dog cat", "cat.app"};
    std::size_t kept = 0;
    for (int round = 0; round < 200; ++round) {
        const auto what = query(pick(kLines), randomLocation());
        const auto batch = randomBatch();
        receiver = std::make_shared<Receiver>(loop);
        search(what, {delivering({batch})});
        ASSERT_EQ(receiver->paths(), judgedAlone(*what, batch)) << what->baseString();
        kept += receiver->paths().size();
    }
    EXPECT_GT(kept, 200u);
}

TEST_F(MergeTwinTest, WhatIsRememberedOfAFolderNeverChangesAnAnswer) {
    for (int round = 0; round < 300; ++round) {
        const auto what = query("cat", randomLocation());
        PathJudge judge(*what);
        for (const SearchResult& item : randomBatch()) {
            ASSERT_EQ(judge.key(item.path), crc64(item.path)) << item.path;
            ASSERT_EQ(judge.isInQueryLocation(item.path), what->pathIsInQueryLocation(item.path))
                << item.path;
            ASSERT_EQ(judge.isLeftOut(item.path), isLeftOut(*what, item.path)) << item.path;
        }
    }
}

}  // namespace
}  // namespace kestrix
