#include "index/verify.h"

#include <gtest/gtest.h>

#include "index/lmdb/simple_lmdb.h"
#include "index/records.h"
#include "index/word_container.h"
#include "platform/stored_file.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

// A folder 1 with the file 2 in it, a file 4 beside it; the file 3 is dead.
class VerifyTest : public testing::Test {
  protected:
    VerifyTest() {
        set(std::string(kDocumentInfoKey), toJson(DocumentInfo()));
        set(std::string(kLastAutoIDKey), std::string("\4\0\0\0", 4));
        set(itemKey(1), item(1, 0, FSItemType::directory, "folder"));
        set(itemKey(2), item(2, 1, FSItemType::file, "inside"));
        set(itemKey(4), item(4, 0, FSItemType::file, "beside"));
        set(childrenKey(0), packChildList({1, 4}));
        set(childrenKey(1), packChildList({2}));
        set("Wkestrel", WordContainer("kestrel", 2, 5).dataToStore());
        set(std::string(kDeadKey), packDeadList({3}));
    }

    static std::string item(FSItemID id, FSItemID parent, FSItemType type, const std::string& name) {
        FSItem item;
        item.fsid = id;
        item.parentID = parent;
        item.type = type;
        item.name = name;
        return item.asData();
    }
    void set(const std::string& key, std::optional<std::string_view> value) {
        SimpleLMDB db;
        db.open(file);
        const SimpleLMDB::Write one{key, value};
        db.write(std::span(&one, 1));
    }
    using Lines = std::vector<std::string>;
    Lines dump() const {
        Lines lines;
        dumpCatalog(file, [&](std::string_view line) {
            lines.emplace_back(line);
            return true;
        });
        return lines;
    }

    TemporaryFolder folder;
    const std::string file = folder.path("a.kxcache");
};

TEST_F(VerifyTest, aSoundCatalogHasNoFaults) {
    EXPECT_EQ(faultsOfCatalog(file), Lines());
}

TEST_F(VerifyTest, namesEachFault) {
    const struct {
        std::string key;
        std::optional<std::string> value;
        Lines faults;
    } cases[] = {
        {"DdocumentInfo", std::nullopt, {"DdocumentInfo: missing"}},
        {"Fprivate.lastAutoID", std::nullopt, {"Fprivate.lastAutoID: missing"}},
        {"Fprivate.lastAutoID",
         std::string("\1\0\0\0", 4),
         {"F4: beyond the last identifier given, 1", "Kdead: 3 is beyond the last identifier given, 1",
          "Wkestrel: document 2 is beyond the last identifier given, 1"}},
        {"F4", "junk", {"F4: the record is damaged", "C0: names 4, which is not in it"}},
        {"F4", item(4, 0, FSItemType::file, "a") + "x", {"F4: the record has a wrong length"}},
        {"F4", item(4, 0, FSItemType::file, "a/b"), {"F4: a slash in the name"}},
        {"F4", item(3, 0, FSItemType::file, "a"), {"F4: the record is that of item 3"}},
        {"F04", "", {"F04: no identifier"}},
        {"F1", item(1, 0, FSItemType::file, "folder"), {"F2: its parent, 1, is no folder in the catalog"}},
        {"F1",
         item(1, 1, FSItemType::directory, "ring"),
         {"C0: names 1, which is not in it", "F1: the list of its folder, C1, does not name it",
          "F1: its parent, 1, came after it"}},
        {"C0", packChildList({1}), {"F4: the list of its folder, C0, does not name it"}},
        {"C0", packChildList({1, 1, 4}), {"C0: the list does not ascend", "C0: names 1, which is not in it"}},
        {"C0", packChildList({1, 4}) + "\7", {"C0: the list is damaged"}},
        {"C1", std::nullopt, {"F2: the list of its folder, C1, does not name it"}},
        {"Wkestrel", "junk", {"Wkestrel: the record is damaged"}},
        {"Wkestrel", std::string("\1\0\0\0\2\0\0\0\0", 9), {"Wkestrel: lists of unequal length"}},
        {"Kdead", packDeadList({3, 4}), {"Kdead: item 4 is not dead"}},
        {"Xtra", "", {"Xtra: no such key in a catalog"}},
        {"W\xff", "", {"57ff: the key is not UTF-8"}},
    };
    const std::string sound = readWholeFile(file).value();
    for (const auto& one : cases) {
        replaceFile(file, sound);
        set(one.key, one.value);
        EXPECT_EQ(faultsOfCatalog(file), one.faults) << one.key;
    }
    EXPECT_EQ(faultsOfCatalog(folder.path("none")).size(), 1U);
    set("X", "");
    set("Y", "");
    EXPECT_EQ(faultsOfCatalog(file, 1).size(), 1U);
}

TEST_F(VerifyTest, dumpsALineForEachRecord) {
    set("F5", "junk");
    EXPECT_EQ(
        dump(),
        (Lines{
            R"({"family":"C","key":"C0","id":0,"ids":[1,4]})",
            R"({"family":"C","key":"C1","id":1,"ids":[2]})",
            R"({"family":"D","key":"DdocumentInfo","isDirty":false,"lastIndexMode":0,"lastUpdated":-63114076800.0})",
            R"({"family":"F","key":"F1","fsid":1,"parentID":0,"type":"directory","name":"folder","creationDate":0,)"
            R"("modificationDate":0,"version":1,"size":0})",
            R"({"family":"F","key":"F2","fsid":2,"parentID":1,"type":"file","name":"inside","creationDate":0,)"
            R"("modificationDate":0,"version":1,"size":0})",
            R"({"family":"F","key":"F4","fsid":4,"parentID":0,"type":"file","name":"beside","creationDate":0,)"
            R"("modificationDate":0,"version":1,"size":0})",
            R"({"family":"F","key":"F5","damaged":true,"hex":"6a756e6b"})",
            R"({"family":"F","key":"Fprivate.lastAutoID","lastAutoID":4})",
            R"({"family":"K","key":"Kdead","ids":[3]})",
            R"({"family":"W","key":"Wkestrel","word":"kestrel","documentIDs":{"2":5}})"}));
}

}  // namespace
}  // namespace kestrix
