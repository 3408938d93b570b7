// What a search of one catalog hands over, and which catalogs a search asks.
#include "index/content_index_search.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tests/index/manager_fixture.h"

namespace kestrix {
namespace {

class NoListener : public NullSearchDataSourceDelegate {
  public:
    void searchResults(std::vector<SearchResult> batch, const SearchDataSource&) override {
        for (SearchResult& result : batch)
            results.push_back(std::move(result));
    }
    std::vector<SearchResult> results;
};

class CatalogSearchTest : public ManagedCatalogTest {
  protected:
    std::shared_ptr<const QueryContainer> query(const std::string& line, std::vector<std::string> places) {
        return std::make_shared<const QueryContainer>(line, SearchLocation(places), false,
                                                      QueryEnvironment{preferences, language});
    }

    std::vector<SearchResult> results(const std::string& line, std::vector<std::string> places,
                                      bool invisible = false) {
        const ContentIndex::Session session(*index);
        std::vector<SearchResult> all;
        searchForFSItemNames(
            *index, *query(line, std::move(places)), invisible,
            {[] { return false; },
             [&all](std::vector<SearchResult> batch) { std::ranges::move(batch, std::back_inserter(all)); },
             [this](std::int64_t items) { examined += items; }});
        return all;
    }

    // Without the target in front, sorted.
    std::vector<std::string> found(const std::string& line, std::vector<std::string> places,
                                   bool invisible = false) {
        std::vector<std::string> paths;
        for (const SearchResult& result : results(line, std::move(places), invisible))
            paths.push_back(result.path.substr(target.size() + 1));
        std::ranges::sort(paths);
        return paths;
    }

    const std::string target = folder.folder("target");
    std::shared_ptr<ContentIndex> index = manager->add(target, "Test", std::nullopt);
    LanguageParse language;
    std::int64_t examined = 0;
};

using Paths = std::vector<std::string>;

TEST_F(CatalogSearchTest, ARecordBecomesTheResultOfAnOfflineOrPresentFile) {
    FSItem file = item(2, 1, "hit.txt");
    file.size = 17;
    file.modificationDate = 1;
    file.creationDate = -2;
    FSItem unknown = item(3, 0, "hit");
    unknown.size = -1;
    FSItem inner = directory(1, 0, "hits");
    inner.modificationDate = 5;
    inner.size = 4096;
    write(*index, {inner, file, unknown});
    auto all = results("hit", {target});
    std::ranges::sort(all, {}, &SearchResult::path);
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[0].size, 0u);
    EXPECT_EQ(all[1].path, target + "/hits");
    EXPECT_TRUE(all[1].isDirectory);
    EXPECT_EQ(all[1].size, 0u);
    EXPECT_EQ(all[1].modDate, kSecondsFrom1970To2001 + 5);
    EXPECT_EQ(all[2].path, target + "/hits/hit.txt");
    EXPECT_EQ(all[2].size, 17u);
    EXPECT_EQ(all[2].modDate, kSecondsFrom1970To2001 + 1);
    EXPECT_EQ(all[2].creationDate, kSecondsFrom1970To2001 - 2);
    EXPECT_EQ(all[2].lastAccessDate, 0);
    EXPECT_TRUE(all[2].diskKey.isNone());
    EXPECT_EQ(all[2].searchResultSuppliedBy, SearchResultSupplier::CompactContentIndex);
    EXPECT_TRUE(all[2].strikeThroughDisplayNameIfMissing);
    std::filesystem::remove(target);
    EXPECT_FALSE(results("hit", {target}).at(0).strikeThroughDisplayNameIfMissing);
}

TEST_F(CatalogSearchTest, OnlyWhatAWalkOfThePlaceWouldListIsHandedOver) {
    write(*index, {directory(1, 0, "a"), directory(2, 0, ".hidden"), directory(3, 0, "tool.app"),
                   directory(4, 0, "ab"), item(5, 1, "hit 1"), item(6, 2, "hit 2"), item(7, 3, "hit 3"),
                   item(8, 4, "hit 4"), item(9, 1, ".hit 5"), directory(10, 2, "in"), item(11, 10, "hit 6"),
                   item(12, 77, "hit 7")});
    EXPECT_EQ(found("hit", {target}), (Paths{"a/.hit 5", "a/hit 1", "ab/hit 4", "hit 7"}));
    EXPECT_EQ(examined, 12);
    EXPECT_EQ(found("hit", {target}, true).size(), 7u);
    EXPECT_EQ(found("hit", {target + "/a"}), (Paths{"a/.hit 5", "a/hit 1"}));
    EXPECT_EQ(found("hit", {target + "/.hidden"}), (Paths{".hidden/hit 2", ".hidden/in/hit 6"}));
    EXPECT_EQ(found("hit", {target + "/.hidden/in", target + "/a"}),
              (Paths{".hidden/in/hit 6", "a/.hit 5", "a/hit 1"}));
    EXPECT_EQ(found("hit", {folder.path()}).size(), 4u);
    EXPECT_EQ(found("hit", {folder.path("elsewhere")}), Paths{});
}

TEST_F(CatalogSearchTest, EveryBatchOfALargeCatalogIsLookedThrough) {
    std::vector<FSItem> items = {directory(1, 0, "d")};
    for (FSItemID id = 2; id <= 8000; ++id)
        items.push_back(item(id, id % 2, (id % 1000 == 0 ? "hit" : "other") + std::to_string(id)));
    write(*index, items);
    EXPECT_EQ(found("hit", {target}).size(), 8u);
    EXPECT_EQ(examined, 8000);
}

TEST_F(CatalogSearchTest, CatalogsAreAskedWhenSwitchedOnOrNamedOutright) {
    write(*index, {item(1, 0, "hit")});
    manager->add(folder.folder("target/missing"), std::nullopt, std::nullopt);
    manager = makeManager(preferences);
    std::filesystem::remove(folder.path("catalogs/missing.kxcache"));
    Paths failed;
    const auto count = [&](bool namedOutright) {
        NoListener listener;
        ContentIndexSearch({*manager, preferences, namedOutright,
                            [&](const SavedIndexInfo& catalog, const std::string&) {
                                failed.push_back(catalog.displayName);
                            }})
            .search(query("hit", {target}), listener);
        return listener.results.size();
    };
    EXPECT_EQ(count(false), 0u);
    EXPECT_EQ(count(true), 1u);
    preferences.set("diskCatalogCaching", true);
    EXPECT_EQ(count(false), 1u);
    EXPECT_EQ(failed, (Paths{"missing", "missing"}));
}

}  // namespace
}  // namespace kestrix
