#include "index/lmdb/simple_lmdb.h"

#include <gtest/gtest.h>
#include <lmdb.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <map>

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
    std::vector<std::string> keysWith(
        const SimpleLMDB& db, std::string_view prefix, int batchSize,
        const std::function<bool()>& between = [] { return true; }) {
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
    // Runs it in a process of its own and returns whether it said true there.
    static bool inOtherProcess(const std::function<bool()>& run) {
        const pid_t child = ::fork();
        if (child == 0) ::_exit(run() ? 0 : 1);
        int status = -1;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
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
    EXPECT_EQ(db.id().substr(0, 5) + std::to_string(db.id().size()), "LMDB 11");
}

TEST(LMDBError, hasACaseForEachCodeOfTheLibraryButTheLast) {
    const std::map<int, LMDBError::Case> cases{{-30800, LMDBError::Case::other},
                                               {MDB_KEYEXIST, LMDBError::Case::keyExists},
                                               {MDB_MAP_FULL, LMDBError::Case::mapFull},
                                               {MDB_BAD_VALSIZE, LMDBError::Case::badValueSize},
                                               {MDB_BAD_DBI, LMDBError::Case::badDBI},
                                               {-30779, LMDBError::Case::other},
                                               {1, LMDBError::Case::operationNotPermitted},
                                               {28, LMDBError::Case::outOfDiskSpace},
                                               {13, LMDBError::Case::accessViolation},
                                               {2, LMDBError::Case::other}};
    for (const auto& [code, expected] : cases)
        EXPECT_EQ(LMDBError::caseOf(code), expected) << code;
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
    EXPECT_TRUE(inOtherProcess([&] {
        if (::geteuid() == 0 && ::setuid(65534) != 0) return false;
        SimpleLMDB db;
        db.open(file);
        if (!db.isReadOnly() || db.get("F", "1") != "one") return false;
        try {
            put(db, "F2", "two");
        } catch (const Error& error) {
            return error.what() == "no permission to use the catalog " + file;
        }
        return false;
    }));
}

TEST_F(SimpleLMDBTest, aFullMapLeavesTheLastCommit) {
    SimpleLMDB db;
    db.open(file, {.mapSize = 160 * 1024});
    int commits = 0;
    try {
        for (;; ++commits)
            put(db, "F" + std::to_string(commits), std::string(3000, 'x'));
    } catch (const LMDBError& error) {
        EXPECT_EQ(error.what(), "the catalog " + file + " is full");
        EXPECT_EQ(error.kind(), LMDBError::Case::mapFull);
    }
    EXPECT_GT(commits, 10);
    EXPECT_EQ(db.stats().entries, commits);
    db.open(file);  // with a larger map
    put(db, "F" + std::to_string(commits), "fits");
    EXPECT_EQ(db.stats().entries, commits + 1);
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
    EXPECT_EQ(keysWith(db, "W", 10), std::vector<std::string>());
    EXPECT_EQ(keysWith(db, "F", 3, [] { return false; }).size(), 3U);
}

TEST_F(SimpleLMDBTest, oneBuilderAtATimeAmongObjectsAndProcesses) {
    SimpleLMDB first;
    SimpleLMDB second;
    first.open(file);
    second.open(file);
    const auto startsElsewhere = [&] {
        return inOtherProcess([&] {
            SimpleLMDB other;
            other.open(file);
            return other.beginBuilding();
        });
    };
    EXPECT_TRUE(first.beginBuilding());
    EXPECT_FALSE(second.beginBuilding());
    EXPECT_FALSE(startsElsewhere());
    put(second, "F1", "others still write");
    first.endBuilding();
    EXPECT_TRUE(startsElsewhere());
    EXPECT_TRUE(second.beginBuilding());
}

// The child commits pairs of equal values until it is killed; the parent counts its commits.
TEST_F(SimpleLMDBTest, aKilledWriterLeavesAWholeFile) {
    for (int round = 0; round < 6; ++round) {
        int pipe[2];
        ASSERT_EQ(::pipe(pipe), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            SimpleLMDB db;
            db.open(file);
            for (int i = 0;; ++i) {
                const std::string value(static_cast<std::size_t>(i * 37 % 7000),
                                        static_cast<char>('a' + i % 26));
                const std::vector<ValueGroupKey> pair{{value, "C", std::to_string(i % 40)},
                                                      {value, "F", std::to_string(i % 40)}};
                db.put(pair);
                if (::write(pipe[1], "", 1) != 1) ::_exit(0);
            }
        }
        char byte = 0;
        for (int commits = 0; commits < 20 + round * 7; ++commits)
            ASSERT_EQ(::read(pipe[0], &byte, 1), 1);
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        ::close(pipe[0]);
        ::close(pipe[1]);
        SimpleLMDB db;
        db.open(file);
        for (int i = 0; i < 40; ++i)
            EXPECT_EQ(db.get("C", std::to_string(i)), db.get("F", std::to_string(i)));
    }
}

}  // namespace
}  // namespace kestrix
