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

    // In the order in which they were handed over.
    std::vector<SearchResult> results(const std::string& line) {
        const ContentIndex::Session session(*index);
        std::vector<SearchResult> all;
        searchForFSItemNames(
            *index, *query(line, {target}), false,
            {[] { return false; },
             [&all](std::vector<SearchResult> batch) { std::ranges::move(batch, std::back_inserter(all)); },
             [this](std::int64_t count) { examined += count; }});
        return all;
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
    write(*index, {inner, file, unknown, item(12, 77, "hit of a lost folder"), directory(20, 21, "ring"),
                   directory(21, 20, "ring"), item(22, 20, "hit in a ring")});
    auto all = results("hit");
    std::ranges::sort(all, {}, &SearchResult::path);
    ASSERT_EQ(all.size(), 5u);
    EXPECT_EQ(all[0].size, 0u);
    EXPECT_EQ(all[1].path, target + "/hit of a lost folder");
    EXPECT_EQ(all[2].path, target + "/hits");
    EXPECT_TRUE(all[2].isDirectory);
    EXPECT_EQ(all[2].size, 0u);
    EXPECT_EQ(all[2].modDate, kSecondsFrom1970To2001 + 5);
    EXPECT_EQ(all[3].path, target + "/hits/hit.txt");
    EXPECT_EQ(all[3].size, 17u);
    EXPECT_EQ(all[3].modDate, kSecondsFrom1970To2001 + 1);
    EXPECT_EQ(all[3].creationDate, kSecondsFrom1970To2001 - 2);
    EXPECT_EQ(all[3].lastAccessDate, 0);
    EXPECT_TRUE(all[3].diskKey.isNone());
    EXPECT_EQ(all[3].searchResultSuppliedBy, SearchResultSupplier::CompactContentIndex);
    EXPECT_TRUE(all[3].strikeThroughDisplayNameIfMissing);
    EXPECT_EQ(all[4].path, target + "/ring/hit in a ring");
    std::filesystem::remove(target);
    EXPECT_FALSE(results("hit").at(0).strikeThroughDisplayNameIfMissing);
}

// Large enough for two threads.
TEST_F(CatalogSearchTest, ALargeCatalogIsLookedThroughInTheOrderOfItsKeys) {
    std::vector<FSItem> items = {directory(1, 0, "d")};
    Paths expected;
    for (FSItemID id = 2; id <= 30'000; ++id) {
        items.push_back(item(id, id % 2, (id % 7 == 0 ? "hit" : "other") + std::to_string(id)));
        if (id % 7 == 0) expected.push_back(std::to_string(id));
    }
    write(*index, items);
    std::ranges::sort(expected);
    Paths handedOver;
    for (const SearchResult& result : results("hit"))
        handedOver.push_back(result.path.substr(result.path.rfind("hit") + 3));
    EXPECT_EQ(handedOver, expected);
    EXPECT_EQ(examined, 30'000);
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
