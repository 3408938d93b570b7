#include "index/lmdb/simple_lmdb.h"

#include <gtest/gtest.h>
#include <lmdb.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "index/lmdb/page_check.h"
#include "platform/mapped_file.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

class SimpleLMDBTest : public testing::Test {
  protected:
    void put(SimpleLMDB& db, const std::string& key, const std::string& value) {
        const std::vector<ValueGroupKey> one{{value, key.substr(0, 1), key.substr(1)}};
        db.put(one);
    }
    static std::vector<std::string> keysWith(const SimpleLMDB& db, std::string_view prefix, int batchSize,
                                             const std::function<bool()>& between) {
        std::vector<std::string> keys;
        const auto take = [&](std::string_view key, std::string_view) {
            keys.emplace_back(key);
            return true;
        };
        db.scan(prefix, batchSize, take, between);
        return keys;
    }
    LMDBError::Case refusal(const std::string& path, const SimpleLMDB::Options& options = {}) {
        try {
            SimpleLMDB other;
            other.open(path, options);
        } catch (const LMDBError& error) {
            said = error.what();
            return error.kind();
        }
        said = "opened";
        return LMDBError::Case::other;
    }

    TemporaryFolder folder;
    const std::string file = folder.path("a.kxcache");
    std::string said;
};

TEST_F(SimpleLMDBTest, keepsWhatWasPutAndItsCompactedCopyHoldsTheSame) {
    SimpleLMDB db;
    db.open(file);
    put(db, "F1", "one");
    put(db, "C0", std::string(9000, 'c'));
    put(db, "F2", "two");
    db.deleteValue("F", "2");
    db.deleteValue("F", "3");
    db.copyCompacted(folder.path("b.kxcache"));
    for (const std::string& path : {file, folder.path("b.kxcache")}) {
        db.open(path);
        EXPECT_EQ(db.get("F", "1"), "one");
        EXPECT_EQ(db.get("", "F2"), std::nullopt);
        EXPECT_EQ(db.get("C", "0").value_or("").size(), 9000U);
        EXPECT_EQ(db.stats().entries, 2);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2);
}

TEST(LMDBError, hasACaseForEachCodeOfTheLibraryButTheLast) {
    using Case = LMDBError::Case;
    for (int code = -30799; code <= -30780; ++code)
        EXPECT_EQ(LMDBError::caseOf(code),
                  static_cast<Case>(static_cast<int>(Case::keyExists) + 30799 + code));
    for (const int code : {-30800, -30779, 2})
        EXPECT_EQ(LMDBError::caseOf(code), Case::other) << code;
    EXPECT_EQ(LMDBError::caseOf(13), Case::accessViolation);
    EXPECT_STREQ(LMDBError(28, "/x").what(), "no space left on the disk of /x");
}

TEST_F(SimpleLMDBTest, refusesWhatIsNoCatalog) {
    EXPECT_EQ(refusal(folder.file("junk", std::string(20'000, 'j'))), LMDBError::Case::invalid);
    EXPECT_EQ(said, folder.path("junk") + " is no catalog: page 0: not LMDB's");
    EXPECT_EQ(refusal(folder.file("short", "short")), LMDBError::Case::invalid);
    EXPECT_EQ(refusal(folder.path()), LMDBError::Case::other);
    EXPECT_EQ(said, "cannot use the catalog " + folder.path() + ": Is a directory");
    EXPECT_EQ(refusal(folder.path("none"), {.readOnly = true}), LMDBError::Case::other);
    EXPECT_FALSE(std::filesystem::exists(folder.path("none")));

    MDB_env* foreign = nullptr;
    MDB_txn* transaction = nullptr;
    MDB_val text{1, said.data()};
    mdb_env_create(&foreign);
    mdb_env_open(foreign, file.c_str(), MDB_NOSUBDIR | MDB_NOLOCK, 0644);
    mdb_txn_begin(foreign, nullptr, 0, &transaction);
    MDB_dbi unnamed = 0;
    mdb_dbi_open(transaction, nullptr, 0, &unnamed);
    mdb_put(transaction, unnamed, &text, &text, 0);
    mdb_txn_commit(transaction);
    mdb_env_close(foreign);
    EXPECT_EQ(refusal(file), LMDBError::Case::invalid);
}

TEST_F(SimpleLMDBTest, makesACatalogOfAnEmptyFileAndOpensForReadingWhatItMayNotWrite) {
    folder.file("a.kxcache");
    {
        SimpleLMDB db;
        db.open(file);
        put(db, "F1", "one");
    }
    std::filesystem::permissions(file, std::filesystem::perms(0444));
    const pid_t child = ::fork();  // as nobody, since root may write everything
    if (child == 0) {
        if (::geteuid() == 0 && ::setuid(65534) != 0) ::_exit(1);
        SimpleLMDB db;
        db.open(file);
        if (!db.isReadOnly() || db.get("F", "1") != "one") ::_exit(2);
        try {
            put(db, "F2", "two");
        } catch (const Error& error) {
            ::_exit(error.what() == "no permission to use the catalog " + file ? 0 : 3);
        }
        ::_exit(4);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(SimpleLMDBTest, aWriteLandsWholeOrNotAtAll) {
    SimpleLMDB db;
    db.open(file);
    const std::vector<ValueGroupKey> values{{"a", "F", "1"}, {"b", "W", std::string(600, 'w')}};
    try {
        db.put(values);
        FAIL();
    } catch (const LMDBError& error) {
        EXPECT_EQ(error.kind(), LMDBError::Case::badValueSize);
    }
    EXPECT_EQ(db.get("F", "1"), std::nullopt);
    EXPECT_EQ(db.get("W", std::string(600, 'w')), std::nullopt);
}

TEST_F(SimpleLMDBTest, aScanDeliversEachKeyOnceBesideAWriter) {
    SimpleLMDB db;
    SimpleLMDB writer;
    db.open(file);
    std::vector<ValueGroupKey> values{{"", "C", "0"}, {"", "G", "0"}};
    for (int i = 0; i < 9000; ++i)
        values.push_back({"v", "F", std::to_string(i)});
    db.put(values);
    writer.open(file);
    int batches = 0;
    const auto keys = keysWith(db, "F", SimpleLMDB::kBatchSize, [&] {
        put(writer, "F0" + std::to_string(batches), "passed already");
        put(writer, "F99999" + std::to_string(batches), "still to come");
        writer.deleteValue("F", std::to_string(9 - batches) + "0");
        return ++batches < 100;
    });
    EXPECT_EQ(batches, 4);
    EXPECT_TRUE(std::adjacent_find(keys.begin(), keys.end(), std::greater_equal<>()) == keys.end());
    EXPECT_EQ(keys.front() + keys.back(), "F0F999992");
    EXPECT_EQ(keysWith(db, "W", 10, [] { return true; }), std::vector<std::string>());
    EXPECT_EQ(keysWith(db, "F", 3, [] { return false; }).size(), 3U);
}

// Each reads on until the writers are done, so a writer that was kept out would not come to its end.
// Many pages, and values that lie in pages of their own.
TEST_F(SimpleLMDBTest, aScanDeliversEveryValueWhereverItLies) {
    SimpleLMDB db;
    db.open(file);
    std::vector<ValueGroupKey> values;
    std::vector<std::pair<std::string, std::string>> expected;
    values.reserve(3000);
    for (int i = 1000; i < 4000; ++i) {
        const std::string key = std::to_string(i);
        values.push_back({key + std::string(i % 50 == 7 ? 9000 : i % 61, 'v'), "F", key});
        expected.emplace_back("F" + key, values.back().value);
    }
    db.put(values);
    put(db, "G", "behind the range");
    for (const int batchSize : {1, 7, SimpleLMDB::kBatchSize}) {
        std::vector<std::pair<std::string, std::string>> found;
        const auto keep = [&](std::string_view key, std::string_view value) {
            found.emplace_back(key, value);
            return true;
        };
        db.scan("F", batchSize, keep, [] { return true; });
        EXPECT_EQ(found, expected) << batchSize;
    }
}

TEST_F(SimpleLMDBTest, aFileThatWasReplacedWhileItWasOpenIsReadButNotWritten) {
    SimpleLMDB db;
    db.open(file);
    put(db, "F1", "old");
    SimpleLMDB again;
    again.open(file);
    db.copyCompacted(folder.path("b.kxcache"));
    std::filesystem::rename(folder.path("b.kxcache"), file);
    EXPECT_THROW(put(again, "F1", "new"), LMDBError);
    EXPECT_EQ(again.get("F", "1"), "old");
    again.open(file);
    put(again, "F1", "new");
    EXPECT_EQ(again.get("F", "1"), "new");
}

TEST_F(SimpleLMDBTest, threadsThatReadAtOnceKeepNoWriterOut) {
    SimpleLMDB db;
    SimpleLMDB elsewhere;
    db.open(file);
    elsewhere.open(file);
    std::vector<ValueGroupKey> values;
    for (int i = 0; i < 5000; ++i)
        values.push_back({"v", "F", std::to_string(i)});
    db.put(values);
    std::atomic<bool> written = false;
    std::atomic<int> faults = 0;
    const auto readOn = [&](const std::string& first, const std::string& end) {
        while (!written) {
            std::string last;
            db.scan(
                SimpleLMDB::KeyRange{first, end}, 500,
                [&](std::string_view key, std::string_view) {
                    faults += key <= last || key < first || key >= end;
                    last = key;
                    return true;
                },
                [] { return true; });
            faults += db.get("F", "4999") != "v";
        }
    };
    std::thread low([&] { readOn("F", "F5"); });
    std::thread high([&] { readOn("F5", "G"); });
    for (int i = 0; i < 20; ++i)
        put(i % 2 == 0 ? db : elsewhere, "F7" + std::to_string(i), "w");
    written = true;
    low.join();
    high.join();
    EXPECT_EQ(faults, 0);
    EXPECT_EQ(db.stats().entries, 5000);
}

}  // namespace
}  // namespace kestrix
