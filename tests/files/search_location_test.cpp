#include "files/search_location.h"

#include <gtest/gtest.h>

#include "tests/files/fake_mount_table.h"

namespace kestrix {
namespace {

class Catalog : public CacheVC_IndexInterface {
  public:
    explicit Catalog(std::optional<std::string> target) : target_(std::move(target)) {}
    std::string displayName() const override { return "Archive"; }
    std::optional<std::string> targetURL() const override { return target_; }

  private:
    std::optional<std::string> target_;
};

std::shared_ptr<const CacheVC_IndexInterface> catalogOf(std::optional<std::string> target) {
    return std::make_shared<Catalog>(std::move(target));
}

SearchLocation at(std::vector<std::string> urls) {
    return SearchLocation(urls);
}

TEST(SearchTarget, HoldsWhatBeginsWithItsPath) {
    const SearchTarget target = SearchTarget::url("/a/b/");
    EXPECT_EQ(target.locationURL(), "/a/b");
    EXPECT_TRUE(target.pathIsInLocation("/a/b/c"));
    EXPECT_TRUE(target.pathIsInLocation("/a/bc"));
    EXPECT_FALSE(target.pathIsInLocation("/a"));
    EXPECT_TRUE(SearchTarget::url("/").pathIsInLocation("/a"));
}

TEST(SearchTarget, OfACatalogHoldsItsFolderOrEverythingIfThatIsNotKnown) {
    const SearchTarget known = SearchTarget::offline(catalogOf("/mnt/old/"));
    EXPECT_TRUE(known.pathIsInLocation("/mnt/old/x"));
    EXPECT_FALSE(known.pathIsInLocation("/mnt/new"));
    EXPECT_EQ(known.locationURL(), std::nullopt);
    EXPECT_EQ(known.locationName(), "Archive");
    EXPECT_TRUE(SearchTarget::offline(catalogOf(std::nullopt)).pathIsInLocation("/anything"));
}

TEST(SearchLocation, IsNamedAsAskedElseAfterItsPresetOrFirstTarget) {
    EXPECT_EQ(at({"/home/u/Music", "/b"}).locationName(), "Music");
    EXPECT_EQ(SearchLocation(std::vector<std::string>{"/a"}, "Mine").locationName(), "Mine");
    EXPECT_EQ(at({}).locationName(), "");
    EXPECT_EQ(SearchLocation({SearchTarget::offline(catalogOf("/x"))}).locationName(), "Archive");
    FakeMountTable table;
    RunLoop queue;
    const DiskInfoManager disks(table, queue);
    const SearchLocation home(SearchLocationURLSet::home, disks, "/home/u/");
    EXPECT_EQ(home.locationName(), "home");
    EXPECT_EQ(home.locationSet(), SearchLocationURLSet::home);
    EXPECT_TRUE(home.pathIsInLocation("/home/u/x"));
    EXPECT_FALSE(home.pathIsInLocation("/home/v"));
    EXPECT_EQ(table.reads(), 0);
}

TEST(SearchLocation, PresetNamesReadBackAsTheirSets) {
    for (const char* name : {"all", "macdisks", "local", "network", "backups", "home"}) {
        ASSERT_TRUE(searchLocationURLSetNamed(name)) << name;
        EXPECT_EQ(locationNameOf(*searchLocationURLSetNamed(name)), name);
    }
    EXPECT_FALSE(searchLocationURLSetNamed("Home"));
}

TEST(SearchLocation, KeepsFoldersAndCatalogsApart) {
    const auto catalog = catalogOf("/mnt/old");
    const SearchLocation both(
        {SearchTarget::offline(catalog), SearchTarget::url("/a"), SearchTarget::url("/")});
    EXPECT_EQ(both.locationURLs(), (std::vector<std::string>{"/a", "/"}));
    EXPECT_EQ(both.offlineTargets(), std::vector{catalog});
    EXPECT_TRUE(both.arePhysicalLocations() && both.includesCaches());
    EXPECT_TRUE(both.singleMatchFor("/a/"));
    EXPECT_FALSE(both.singleMatchFor("/"));
    EXPECT_FALSE(SearchLocation({SearchTarget::offline(catalog)}).arePhysicalLocations());
    EXPECT_FALSE(at({"/a"}).includesCaches());
    EXPECT_EQ(both, SearchLocation(both.allTargets()));
    EXPECT_NE(at({"/a"}), at({"/b"}));
}

TEST(SearchLocation, TheStartOfAPathIsTheLongestTargetThatHoldsIt) {
    const SearchLocation location({SearchTarget::url("/home"), SearchTarget::url("/home/u/.config"),
                                   SearchTarget::url("/home/u"),
                                   SearchTarget::offline(catalogOf("/mnt/.old"))});
    EXPECT_EQ(location.startOf("/home/u/.config/x"), "/home/u/.config");
    EXPECT_EQ(location.startOf("/home/u/.configs"), "/home/u");
    EXPECT_EQ(location.startOf("/home"), "/home");
    EXPECT_EQ(location.startOf("/homes"), "");
    EXPECT_EQ(location.startOf("/mnt/.old/x"), "/mnt/.old");
    EXPECT_EQ(at({"/"}).startOf("/usr"), "/");
}

}  // namespace
}  // namespace kestrix
