#include "stores/saved_searches.h"

#include "base/uuid.h"
#include "tests/stores/stores_fixture.h"

namespace kestrix {
namespace {

class SavedSearchesTest : public StoresTest {
  protected:
    static SavedSearchItem item(const std::string& name, const std::string& query) {
        return {
            .id = "ignored", .displayName = name, .queryString = query, .location = "home", .dirty = true};
    }
    // Names and queries as a menu shows them.
    std::string menu() const {
        std::string text;
        for (const auto& each : saved.menuItems())
            text += each.displayName + "=" + each.queryString + ";";
        return text;
    }

    SavedSearches saved{preferences, notifications};
    NotificationCenter::Observation observation =
        SavedSearches::didChange(notifications, [this] { ++announcements; });
};

TEST_F(SavedSearchesTest, ItemIsStoredWithAllItsFields) {
    SavedSearchItem drafts = item("drafts", "report : is pdf");
    drafts.searchHiddenLocations = true;
    saved.saveAs(drafts);
    const auto found = saved.named("drafts");
    ASSERT_TRUE(found && Uuid::parse(found->id));
    EXPECT_EQ(stored("savedSearches"), Json::array({{{"id", found->id},
                                                     {"userName", "drafts"},
                                                     {"queryString", "report : is pdf"},
                                                     {"searchHidden", true},
                                                     {"location", "home"}}}));
    EXPECT_FALSE(found->dirty);
    EXPECT_EQ(announced(), 1);
}

TEST_F(SavedSearchesTest, NamesAreUniqueAndSortedAsPeopleRead) {
    for (const char* name : {"b", "A", "file10", "file2"})
        saved.saveAs(item(name, "x"));
    announced();
    EXPECT_EQ(menu(), "A=x;b=x;file2=x;file10=x;");
    try {
        saved.saveAs(item("b", "y"));
        FAIL();
    } catch (const Error& error) {
        EXPECT_STREQ(error.what(), "A search with the name b already exists. Try another name.");
    }
    EXPECT_THROW(saved.rename("b", "A"), Error);
    EXPECT_THROW(saved.saveAs(item(" ", "y")), Error);
    EXPECT_THROW(saved.saveAs(item("c", "\xff")), Error);
    EXPECT_EQ(announced(), 0);
    EXPECT_EQ(saved.makeUniqueName("free"), "free");
    EXPECT_EQ(saved.makeUniqueName("b"), "b-1");
    saved.saveAs(item("b-1", "x"));
    EXPECT_EQ(saved.makeUniqueName("b"), "b-2");
}

TEST_F(SavedSearchesTest, ItemsAreChangedRenamedAndRemovedByName) {
    saved.saveAs(item("a", "x"));
    SavedSearches other(otherPreferences, notifications);
    other.saveAs(item("b", "y"));
    EXPECT_TRUE(saved.changeQuery("b", "z"));
    EXPECT_TRUE(saved.rename("a", "c"));
    EXPECT_TRUE(saved.rename("c", "c"));
    EXPECT_EQ(menu(), "b=z;c=x;");
    EXPECT_TRUE(saved.remove("b"));
    announced();
    EXPECT_FALSE(saved.remove("b") || saved.changeQuery("b", "z") || saved.rename("b", "d"));
    EXPECT_EQ(announced(), 0);
    EXPECT_EQ(menu(), "c=x;");
}

TEST_F(SavedSearchesTest, EntryWithoutIdGetsANewOneUntilItIsWritten) {
    preferences.set(
        "savedSearches",
        withSpoiltEntries(
            {{"userName", "a"}, {"queryString", "x"}, {"searchHidden", false}, {"location", "home"}}));
    EXPECT_EQ(menu(), "a=x;");
    EXPECT_NE(saved.named("a")->id, saved.named("a")->id);
    saved.changeQuery("a", "y");
    EXPECT_EQ(saved.named("a")->id, saved.named("a")->id);
    EXPECT_EQ(stored("savedSearches").size(), 1u);
    preferences.set("savedSearches", "damaged");
    EXPECT_EQ(menu(), "");
}

}  // namespace
}  // namespace kestrix
