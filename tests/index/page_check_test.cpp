#include "index/lmdb/page_check.h"

#include <gtest/gtest.h>
#include <lmdb.h>

#include <map>
#include <random>

#include "index/lmdb/simple_lmdb.h"
#include "platform/stored_file.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

constexpr std::size_t kPage = 4096;
constexpr std::uint64_t kByTwo = 0;  // two threads look at the smallest file

class PageCheckTest : public testing::Test {
  protected:
    std::string bytes() const { return readWholeFile(file).value(); }

    // Some ten transactions of long and short values, deletions among them; `twin` holds what must be left.
    void writeAndForget(int rounds) {
        SimpleLMDB db;
        db.open(file);
        for (int round = 0; round < rounds; ++round) {
            std::map<std::string, std::optional<std::string>> changes;
            for (unsigned i = 0; i < 1U << random() % 10; ++i)
                changes[someKey()] = random() % 3 == 0 ? std::nullopt : std::optional(someValue());
            std::vector<SimpleLMDB::Write> writes;
            for (const auto& [key, value] : changes)
                writes.push_back({key, value});
            db.write(writes);
            for (const auto& [key, value] : changes) {
                if (value) {
                    twin[key] = *value;
                } else {
                    twin.erase(key);
                }
            }
            const auto fault = faultOfPages(bytes());
            ASSERT_FALSE(fault) << fault->text;
            ASSERT_FALSE(faultOfPages(bytes(), kByTwo));
        }
    }
    std::string someKey() {
        return "FCW"[random() % 3] + std::to_string(random() % 400) + std::string(random() % 40, 'k');
    }
    std::string someValue() { return std::string(random() % 20 == 0 ? random() % 9000 : random() % 50, 'v'); }

    std::map<std::string, std::string> contents() const {
        SimpleLMDB db;
        db.open(file);
        std::map<std::string, std::string> found;
        db.keyValuesWith("", 100, [&](const auto& key, const auto& value) { found[key] = value; });
        return found;
    }

    TemporaryFolder folder;
    const std::string file = folder.path("a.kxcache");
    std::map<std::string, std::string> twin;
    std::mt19937 random{7};
};

TEST_F(PageCheckTest, findsNothingInWhatLMDBWrote) {
    writeAndForget(150);
    EXPECT_EQ(contents(), twin);
    SimpleLMDB db;
    db.open(file);
    for (const auto& [key, value] : twin)
        db.deleteValue("", key);
    EXPECT_FALSE(faultOfPages(bytes()));
    EXPECT_EQ(db.stats().entries, 0);
}

TEST_F(PageCheckTest, namesWhoWroteAFileThatItDoesNotKnow) {
    writeAndForget(3);
    const std::string sound = bytes();
    const auto codeWith = [&](std::size_t at, char value) {
        std::string changed = sound;
        changed[at] = value;
        const auto fault = faultOfPages(changed);
        return fault ? fault->code : 0;
    };
    EXPECT_EQ(codeWith(16, 0), MDB_INVALID);             // magic
    EXPECT_EQ(codeWith(20, 2), MDB_VERSION_MISMATCH);    // data version
    EXPECT_EQ(codeWith(16 + 24 + 1, 5), MDB_CORRUPTED);  // page size
    EXPECT_EQ(codeWith(kPage + 16, 0), MDB_INVALID);     // of the second page
    EXPECT_EQ(codeWith(16 + 136, 77), 0);                // behind what LMDB reads
    EXPECT_FALSE(faultOfPages(""));
    EXPECT_EQ(faultOfPages(sound.substr(0, 4000))->code, MDB_INVALID);
    EXPECT_TRUE(faultOfPages(sound.substr(0, kPage)));
}

// Every byte of each page's head is changed in turn: what is not refused must do no harm to a reader and a
// writer. The fuzz target goes on where this stops.
TEST_F(PageCheckTest, whatIsNotRefusedCanBeReadAndWritten) {
    writeAndForget(12);
    const std::string sound = bytes();
    int refused = 0;
    int survived = 0;
    // Free pages at the end may be missing; LMDB does not read those.
    for (std::size_t kept = kPage; kept < sound.size(); kept += kPage)
        refused += faultOfPages(sound.substr(0, kept)) ? 1 : 0;
    EXPECT_GT(refused, static_cast<int>(sound.size() / kPage / 2));
    refused = 0;
    for (std::size_t page = 0; page < sound.size() / kPage; ++page) {
        for (std::size_t at = page < 2 ? 10 : 0; at < (page < 2 ? 160U : 40U); ++at) {
            std::string changed = sound;
            changed[page * kPage + at] ^= static_cast<char>(1 << random() % 8);
            const auto fault = faultOfPages(changed);
            ASSERT_EQ(faultOfPages(changed, kByTwo).has_value(), fault.has_value());
            if (fault) {
                ++refused;
                continue;
            }
            if (survived++ % 10 != 0) continue;  // most are values and free pages
            replaceFile(file, changed);
            try {
                contents();
                SimpleLMDB db;
                db.open(file);
                db.deleteValue("", twin.begin()->first);
            } catch (const LMDBError&) {
            }
        }
    }
    EXPECT_GT(refused, 100);
    EXPECT_GT(survived, 20);
}

}  // namespace
}  // namespace kestrix
