#include "index/records.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "base/base64.h"
#include "base/bytes.h"
#include "base/error.h"
#include "index/saved_index_info.h"
#include "index/word_container.h"

namespace kestrix {
namespace {

FSItem someItem() {
    FSItem item;
    item.fsid = 258;
    item.parentID = 3;
    item.name = "é.md";
    item.creationDate = 1;
    item.modificationDate = -2;
    item.size = 4096;
    return item;
}

TEST(FSItem, hasTheseBytes) {
    EXPECT_EQ(hexString(someItem().asData()),
              "02010000030000000101000000feffffff0500c3a92e6d64010010000000000000");
    FSItem folder = someItem();
    folder.type = FSItemType::directory;
    folder.name = "not UTF-8: \xff";
    EXPECT_EQ(nameInFSItem(folder.asData()), "Unknown");
    EXPECT_EQ(decodeFSItem(folder.asData())->type, FSItemType::directory);
}

TEST(FSItem, everyCutIsNoItemOrAnOldOne) {
    const std::string whole = someItem().asData();
    const std::size_t endOfName = 24;
    for (std::size_t kept = 0; kept < whole.size(); ++kept) {
        const std::string cut = whole.substr(0, kept);
        const auto item = decodeFSItem(cut);
        ASSERT_EQ(item.has_value(), kept >= endOfName) << kept;
        if (!item) continue;
        FSItem old = someItem();
        old.version = kept > endOfName ? 1 : 0;
        old.size = -1;
        EXPECT_EQ(FSItem(*item), old);
    }
    EXPECT_EQ(FSItem(*decodeFSItem(whole)), someItem());
}

TEST(FSItem, damagedBytesAreNoItem) {
    const std::pair<std::size_t, char> spoils[] = {{8, 2}, {17, 0}, {18, 1}, {19, '.'}};
    for (const auto& [at, byte] : spoils) {  // the type, no name, one beyond the end, not UTF-8
        std::string changed = someItem().asData();
        changed[at] = byte;
        EXPECT_FALSE(decodeFSItem(changed)) << at;
    }
    EXPECT_FALSE(decodeFSItem(std::string("\1\0\0\0", 4)));
}

TEST(FSItem, refusesWhatARecordCannotHold) {
    for (const auto& spoil : std::vector<std::function<void(FSItem&)>>{
             [](FSItem& item) { item.fsid = kLastUsableID + 1; },
             [](FSItem& item) { item.parentID = 0xFFFFFFFF; }, [](FSItem& item) { item.name.clear(); },
             [](FSItem& item) { item.name.assign(65'536, 'n'); }}) {
        FSItem item = someItem();
        spoil(item);
        EXPECT_THROW(item.asData(), Error);
    }
}

TEST(StoredDates, areSecondsSince2001RoundedDown) {
    const std::int64_t epoch = kSecondsFrom1970To2001;
    EXPECT_EQ(dateToInt32({epoch - 2, 500'000'000}), -2);
    EXPECT_EQ(dateToInt32({epoch + 5, 999'999'999}), 5);
    EXPECT_EQ(dateToInt32({epoch + INT32_MAX, 0}), INT32_MAX);
    EXPECT_EQ(dateToInt32({epoch + INT32_MAX + 1, 0}), 0);
    EXPECT_EQ(dateToInt32({epoch + INT32_MIN - 1LL, 0}), 0);
    EXPECT_EQ(dateToInt32({}), -epoch) << "a file's date may be 1970";
    EXPECT_EQ(creationDateToInt32({}), 0);
    EXPECT_FALSE(differsFromStored({epoch + 5, 999'999'999}, 5));
    EXPECT_FALSE(differsFromStored({epoch - 2, 0}, -2));
    EXPECT_TRUE(differsFromStored({epoch - 2, 500'000'000}, -2));
    EXPECT_TRUE(differsFromStored({epoch + INT32_MAX + 1LL, 0}, 0));
    EXPECT_FALSE(differsFromStored({}, -static_cast<std::int32_t>(epoch)));
    EXPECT_EQ(modDateOf({.modificationDate = -2}), epoch - 2);
    EXPECT_EQ(modDateOf({}), epoch);
    EXPECT_EQ(modDateOf({.type = FSItemType::directory}), 0);
    EXPECT_EQ(creationDateOf({}), 0);
}

TEST(ChildList, keepsAscendingIdentifiersAsDifferences) {
    EXPECT_EQ(hexString(packChildList({3, 7, 8})), "0103030401");
    EXPECT_EQ(hexString(packChildList({7})), "07");
    EXPECT_EQ(packChildList({}), "");
    for (const std::vector<FSItemID>& ids : std::vector<std::vector<FSItemID>>{
             {}, {70'000}, {1, 300, 300'000, kLastUsableID}, {9, 3, 0xFFFFFFFF}})
        EXPECT_EQ(unpackChildList(packChildList(ids)), ids);
    EXPECT_EQ(unpackChildList(std::string("\5\1\0", 3)), std::vector<FSItemID>());
    EXPECT_EQ(hexString(packDeadList({8, 3, 8})), "01020308");
}

TEST(CatalogKeys, holdTheIdentifierInPlainDigits) {
    EXPECT_EQ(itemKey(12) + childrenKey(0), "F12C0");
    EXPECT_EQ(idInKey("F4294967295"), 0xFFFFFFFFU);
    for (const char* key : {"", "F", "F012", "F-1", "F1x", "F4294967296", "Fprivate.lastAutoID"})
        EXPECT_EQ(idInKey(key), std::nullopt) << key;
}

TEST(WordContainer, countsOneMoreForADocumentThatComesLater) {
    WordContainer word("kestrel", 9, 3);
    word.add(4, 3);
    word.add(9, 2);
    word.add(70, 65'535);
    word.add(71, 65'534);
    word.add(9, 1'000'000);
    EXPECT_EQ(word.documentIDs(),
              (WordContainer::DocumentIDs{{4, 4}, {9, 65'535}, {70, 65'535}, {71, 65'535}}));
    word.remove(70);
    EXPECT_EQ(hexString(word.dataToStore()),
              "050000000103040"
              "53e"
              "06000000"
              "0400ffffffff");
}

TEST(WordContainer, pairsItsListsUpToTheShorterOne) {
    const std::string bytes("\5\0\0\0\1\3\4\5\1\4\0\0\0\4\0\6\0", 17);
    EXPECT_EQ(WordContainer::fromData("w", bytes).documentIDs(),
              (WordContainer::DocumentIDs{{4, 4}, {9, 6}}));
    for (std::size_t kept = 0; kept < bytes.size(); ++kept)
        EXPECT_TRUE(WordContainer::fromData("w", bytes.substr(0, kept)).documentIDs().empty());
}

TEST(DocumentInfo, comesBackFromItsJson) {
    DocumentInfo info;
    EXPECT_EQ(documentInfoFromJson(toJson(info)), info);
    info.suggestedTarget = "/home/ada/50% of \"é\"\xff #?";
    info.lastUpdated = 5e8 + 0.25;
    info.numberOfFSItems = 17;
    info.lastIndexMode = ContentIndexMode::ocrAndTextDocuments;
    info.isDirty = true;
    info.diskKey = "disk";
    EXPECT_EQ(documentInfoFromJson(toJson(info)), info);
    EXPECT_EQ(nlohmann::json::parse(toJson(info))["suggestedTarget"],
              "file:///home/ada/50%25%20of%20%22%C3%A9%22%FF%20%23%3F/");
    const std::string least = R"("lastUpdated": 1, "isDirty": false)";
    EXPECT_EQ(documentInfoFromJson("{" + least + R"(, "lastIndexMode": 1, "new": []})").lastUpdated, 1);
    EXPECT_EQ(
        documentInfoFromJson(R"({"lastUpdated": 1e300, "isDirty": false, "lastIndexMode": 1})").lastUpdated,
        DocumentInfo::kDistantPast);
    for (const std::string& text :
         {std::string("[]"), "{" + least + "}", "{" + least + R"(, "lastIndexMode": 3})",
          "{" + least + R"(, "lastIndexMode": 1.5})", "{" + least + R"(, "lastIndexMode": 0, "diskKey": 1})"})
        EXPECT_THROW(documentInfoFromJson(text), Error) << text;
}

TEST(FileUrls, nameOnlyFilesOfThisMachine) {
    EXPECT_EQ(pathOfFileUrl("file:///a%20b/c/"), "/a b/c");
    EXPECT_EQ(pathOfFileUrl("file://localhost/a"), "/a");
    EXPECT_EQ(pathOfFileUrl(fileUrlOf("/", true)), "/");
    for (const char* url : {"/a", "http://a/b", "file://other/a", "file:///a%2", "file:///a%zz",
                            "file:///a%00b", "file:///a?b", "file:///%+1"})
        EXPECT_EQ(pathOfFileUrl(url), std::nullopt) << url;
}

TEST(SavedIndexInfo, comesBackFromItsJson) {
    SavedIndexInfo info;
    info.displayName = "Pictures";
    info.localDBFilePath = "/x/Pictures.kxcache";
    info.updatesEvery = 12345;
    EXPECT_EQ(savedIndexInfoFromJson(toJson(info)), info);
    info.indexMode = ContentIndexMode::textDocuments;
    info.targetURL = "/pictures";
    info.targetBookmark = std::string("any\0\xff bytes", 11);
    info.remoteDBBookmark = "ab";
    info.uuidString = "id";
    nlohmann::json json = toJson(info);
    EXPECT_EQ(savedIndexInfoFromJson(json), info);
    EXPECT_EQ(json["remoteDBBookmark"], "YWI=");
    for (const char* spoilt : {"YWI", "YWJ=", "Y WI=", "=", "YWI=="})
        EXPECT_EQ(bytesOfBase64(spoilt), std::nullopt) << spoilt;
    json["targetBookmark"] = "?";
    EXPECT_THROW(savedIndexInfoFromJson(json), Error);
    EXPECT_EQ(cachingUpdatesTagOf(650), std::nullopt);
    EXPECT_EQ(secondsOf(cachingUpdatesTagOf(700).value()), 2'678'400);
    EXPECT_EQ(secondsOf(CachingUpdatesTag::never), std::nullopt);
}

}  // namespace
}  // namespace kestrix
