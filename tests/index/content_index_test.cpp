// Look-ups in a catalog whose records the test wrote.
#include "index/content_index.h"

#include "tests/index/manager_fixture.h"

namespace kestrix {
namespace {

class ContentIndexTest : public ManagedCatalogTest {
  protected:
    const std::string target = folder.folder("target");
    std::shared_ptr<ContentIndex> index = manager->add(target, "Test", std::nullopt);
};

TEST_F(ContentIndexTest, PathsAndIdentifiersLeadToEachOther) {
    write(*index,
          {directory(1, 0, "a"), directory(2, 1, "b"), item(3, 2, "c.txt"), item(4, 0, "same"),
           item(7, 0, "same"), item(9, 8, "orphan"), directory(10, 11, "ring"), directory(11, 10, "ring")});
    EXPECT_EQ(index->pathFor(3), std::nullopt) << "the file is not open";
    const ContentIndex::Session session(*index);
    EXPECT_EQ(index->pathFor(3), target + "/a/b/c.txt");
    EXPECT_EQ(index->pathFor(9), target + "/orphan") << "a missing parent cuts the path short";
    EXPECT_TRUE(index->pathFor(10)) << "a circle ends";
    EXPECT_EQ(index->findID(target + "/a/b/c.txt"), 3u);
    EXPECT_EQ(index->findID(target), 0u);
    EXPECT_EQ(index->findID(target + "/a/x"), std::nullopt);
    EXPECT_EQ(index->findID(target + "x/a"), std::nullopt);
    EXPECT_EQ(index->findID(target + "/same"), 4u) << "of two with one name the first counts";
    EXPECT_EQ(index->loadChildIds(0), (std::vector<FSItemID>{1, 4, 7}));
}

// A record written behind the cache's back shows which folders are read again.
TEST_F(ContentIndexTest, SixtyFourFoldersAreRememberedUntilTheFileIsClosed) {
    const ContentIndex::Session session(*index);
    for (FSItemID id = 1; id <= 65; ++id)
        EXPECT_TRUE(index->loadFolderContents(id)->empty());
    index->db().put(std::vector<ValueGroupKey>{{item(500, 64, "new").asData(), "", itemKey(500)},
                                               {packChildList({500}), "", childrenKey(64)},
                                               {packChildList({500}), "", childrenKey(65)}});
    EXPECT_EQ(index->loadFolderContents(64)->size(), 0u);
    EXPECT_EQ(index->loadFolderContents(65)->size(), 1u);
    index->open();
    EXPECT_EQ(index->loadFolderContents(64)->size(), 1u);
    index->close();
}

TEST_F(ContentIndexTest, WhatItDescribesIsKeptInItsFile) {
    const auto again = manager->ofFile(index->localDBFile());
    ASSERT_TRUE(again.index);
    EXPECT_EQ(again.index->documentInfo().suggestedTarget, target);
    EXPECT_EQ(index->displayCacheInfoForLocationMenu(), "Not cached yet");
    EXPECT_GT(index->cacheSizeOnDisk(), 0u);
}

TEST_F(ContentIndexTest, AnotherDiskInItsPlaceDoesNotCountAsMounted) {
    EXPECT_TRUE(index->isTargetMounted());
    {
        const ContentIndex::Session session(*index);
        DocumentInfo info = index->documentInfo();
        info.diskKey = "other 17 vfat";
        const std::string json = toJson(info);
        const SimpleLMDB::Write write{kDocumentInfoKey, json};
        index->db().write({&write, 1});
    }
    index->loadDocumentInfo();
    EXPECT_FALSE(index->isTargetMounted());
}

TEST(SuggestedCatalogName, FitsAFileName) {
    RunLoop loop;
    FakeMountTable mounts;
    mounts.mount("/", "ext4", "/dev/nosuch1");
    mounts.mount("/media/usb", "vfat", "/dev/nosuch2");
    DiskInfoManager disks(mounts, loop);
    EXPECT_EQ(suggestedCatalogName("/home/ada/", disks), "ada");
    EXPECT_EQ(suggestedCatalogName("/media/usb/photos", disks), "photos on usb");
    EXPECT_EQ(suggestedCatalogName("/media/usb", disks), "usb");
    EXPECT_EQ(suggestedCatalogName("/", disks), "nosuch1");
    const std::string cut = suggestedCatalogName("/" + std::string(199, 'a') + "日", disks);
    EXPECT_EQ(cut, std::string(199, 'a'));
}

}  // namespace
}  // namespace kestrix
