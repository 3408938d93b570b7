#include "stores/hierarchical_database.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <thread>

#include "platform/stored_file.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

namespace fs = std::filesystem;

class HierarchicalDatabaseTest : public ::testing::Test {
  protected:
    HierarchicalDatabaseTest() { store_.openStore(file_); }

    std::size_t count(const std::string& table) { return store_.query("select * from " + table).size(); }
    SQLiteRow onlyField() {
        const auto rows = store_.query("select * from fields");
        return rows.size() == 1 ? rows.front() : SQLiteRow();
    }

    TemporaryFolder folder_;
    ManualClock clock_{WallTime(std::chrono::milliseconds(1'700'000'000'900))};
    std::string file_ = folder_.path("data/store.sqlite");
    HierarchicalDatabase store_{clock_};
};

TEST_F(HierarchicalDatabaseTest, EveryTypeLiesInItsColumn) {
    const std::string name = "it's a \"name\"; \\ %";
    store_.write(std::string("O'Hara \xc3\xa4"), name, name, {name});
    EXPECT_EQ(store_.read<std::string>(name, name, {name}), "O'Hara \xc3\xa4");
    EXPECT_EQ(store_.read<double>(name, name, {name}), std::nullopt);
    EXPECT_EQ(store_.read<std::string>(name, name), std::nullopt) << "another family";

    store_.execute("delete from fields");
    store_.write(std::int64_t{-5}, "f", "k");
    store_.write(0.1, "f", "k");
    store_.write(DBRect{-1.5, 0, 100, 1e20}, "f", "k");
    store_.write(DBJSON{"{\"a\":1}"}, "f", "k");
    clock_.advance(Seconds(10));
    store_.write(DBValue(), "f", "k");
    SQLiteRow field = onlyField();
    for (const char* id : {"fieldID", "parentRecordID", "fieldNameID"})
        field.erase(id);
    EXPECT_EQ(field, (SQLiteRow{{"lastModified", std::int64_t{1'700'000'010}},
                                {"valueInt", std::int64_t{-5}},
                                {"valueDouble", 0.1},
                                {"NSStringFromRect", "{{-1.5, 0}, {100, 1e+20}}"},
                                {"JSON", "{\"a\":1}"}}));
    EXPECT_EQ(store_.read<std::int64_t>("f", "k"), -5);
    EXPECT_EQ(store_.read<DBRect>("f", "k"), (DBRect{-1.5, 0, 100, 1e20}));
    EXPECT_EQ(store_.read<DBJSON>("f", "k"), DBJSON{"{\"a\":1}"});
    EXPECT_EQ(store_.read<std::string>("f", "k"), std::nullopt);

    store_.write(std::int64_t{7}, "f", "k", {"another family"});
    EXPECT_EQ(store_.read<std::int64_t>("f", "k"), -5);
    EXPECT_EQ(count("fields"), 2u);
}

TEST_F(HierarchicalDatabaseTest, FailedWriteLeavesNothingBehind) {
    store_.execute("create trigger t before insert on fields begin select raise(abort, 'no'); end");
    EXPECT_THROW(store_.write(1.0, "f", "k"), Error);
    EXPECT_EQ(count("families") + count("records") + count("fieldNames"), 0u);
    store_.execute("drop trigger t");
    store_.transaction([&] { store_.write(1.0, "f", "k"); });
    EXPECT_EQ(store_.read<double>("f", "k"), 1.0);
}

TEST_F(HierarchicalDatabaseTest, PurgeTakesOldFieldsAndEmptyRecordsOfOneFamily) {
    for (const char* family : {"mine", "other"})
        for (const char* key : {"old", "both"})
            store_.write(1.0, "old", key, {family});
    clock_.advance(Seconds(7 * 86'400));
    store_.write(2.0, "new", "both", {"mine"});
    store_.purge(7, {"mine"});
    EXPECT_EQ(count("fields"), 5u) << "seven days are not more than seven";
    clock_.advance(Seconds(1));
    store_.purge(7, {"mine"});
    EXPECT_EQ(store_.read<double>("old", "both", {"mine"}), std::nullopt);
    EXPECT_EQ(store_.read<double>("new", "both", {"mine"}), 2.0);
    EXPECT_EQ(count("fields"), 3u);
    EXPECT_EQ(count("records"), 3u);
    EXPECT_EQ(count("sqlite_stat1") > 0, true) << "analysed";
    store_.purge(7, {"no such family"});
}

TEST_F(HierarchicalDatabaseTest, DamagedFileIsSetAsideWithItsJournalAndNamed) {
    store_.write(std::string(20'000, 'x'), "f", "k");
    store_.close();
    const std::string sound = readWholeFile(file_).value();
    std::string flipped = sound;
    for (std::size_t at = 8192; at < flipped.size(); at += 7)
        flipped[at] = static_cast<char>(flipped[at] ^ 0x5a);
    int number = 0;
    for (const std::string& damaged : {std::string(5000, 'j'), flipped, sound.substr(0, sound.size() / 2)}) {
        folder_.file("data/store.sqlite", damaged);
        folder_.file("data/store.sqlite-journal", "old");
        std::string keptAs;
        store_.openStore(file_, [&](const std::string& path) { keptAs = path; });
        EXPECT_EQ(keptAs, file_ + ".damaged-" + std::to_string(++number));
        EXPECT_EQ(fs::file_size(keptAs), damaged.size());
        EXPECT_FALSE(fs::exists(file_ + "-journal"));
        store_.write(1.0, "f", "k");
        EXPECT_EQ(store_.read<double>("f", "k"), 1.0);
        store_.close();
    }
}

TEST_F(HierarchicalDatabaseTest, OfTwoThatMeetTheDamageAtOnceOneAloneSetsItAside) {
    store_.close();
    for (int round = 1; round <= 20; ++round) {
        folder_.file("data/store.sqlite", std::string(5000, 'j'));
        std::atomic<int> setAside = 0;
        const auto openIt = [&] {
            HierarchicalDatabase own;
            own.openStore(file_, [&](const std::string&) { ++setAside; });
        };
        std::thread beside(openIt);
        openIt();
        beside.join();
        ASSERT_EQ(setAside, 1) << round;
    }
}

TEST_F(HierarchicalDatabaseTest, LockedFileIsAClearErrorAndNoDamage) {
    SQLite other;
    other.open(file_, SQLite::kReadWrite);
    other.execute("begin exclusive transaction");
    store_.execute("pragma busy_timeout = 0");
    EXPECT_THROW(store_.write(1.0, "f", "k"), Error);
    HierarchicalDatabase second(clock_);
    try {
        second.openStore(file_, [](const std::string& keptAs) { FAIL() << keptAs; });
        FAIL();
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), SQLite::kBusy);
        EXPECT_EQ(std::string(error.what()),
                  "another program holds on to the store " + file_ + "; try again later");
    }
    other.execute("commit");
    store_.write(1.0, "f", "k");
    second.openStore(file_);
    EXPECT_EQ(second.read<double>("f", "k"), 1.0);
}

// A reader lets a writer begin, but not end.
TEST_F(HierarchicalDatabaseTest, AWriteThatAReaderHeldUpTakesNoLaterOneWithIt) {
    store_.execute("pragma busy_timeout = 0");
    SQLite reader;
    reader.open(file_, SQLite::kReadWrite);
    reader.startTransaction();
    reader.query("select * from families");
    EXPECT_THROW(store_.write(1.0, "lost", "k"), Error);
    reader.endTransaction();
    store_.write(2.0, "f", "k");
    store_.close();
    store_.openStore(file_);
    EXPECT_EQ(store_.read<double>("lost", "k"), std::nullopt);
    EXPECT_EQ(store_.read<double>("f", "k"), 2.0);
}

TEST_F(HierarchicalDatabaseTest, WhatWasWrittenSurvivesAKilledWriter) {
    int told[2];
    ASSERT_EQ(::pipe(told), 0);
    store_.close();
    const pid_t writer = ::fork();
    if (writer == 0) {
        HierarchicalDatabase own(clock_);
        own.openStore(file_);
        for (std::int64_t number = 0;; ++number) {
            own.write(number, "number", "key" + std::to_string(number));
            if (::write(told[1], "", 1) != 1) ::_exit(1);
        }
    }
    char ignored[200];
    std::int64_t written = 0;
    while (written < 200)
        written += ::read(told[0], ignored, sizeof ignored);
    ::kill(writer, SIGKILL);
    ::waitpid(writer, nullptr, 0);
    store_.openStore(file_, [](const std::string& keptAs) { FAIL() << keptAs; });
    for (std::int64_t number = 0; number < written; ++number)
        ASSERT_EQ(store_.read<std::int64_t>("number", "key" + std::to_string(number)), number);
    ::close(told[0]);
    ::close(told[1]);
}

TEST(RectText, OnlyTheOneFormIsRead) {
    EXPECT_EQ(rectOfText("{{1,2},{3,4}}"), (DBRect{1, 2, 3, 4}));
    EXPECT_EQ(rectOfText(" { { 1 , -2.5 } , { 3e2 , 4 } } "), (DBRect{1, -2.5, 300, 4}));
    EXPECT_EQ(rectOfText(textOfRect({HUGE_VAL, -HUGE_VAL, 0.1, 1e-300})),
              (DBRect{HUGE_VAL, -HUGE_VAL, 0.1, 1e-300}));
    const std::string whole = "{{1, 2}, {3, 4}}";
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_EQ(rectOfText(whole.substr(0, length)), std::nullopt) << length;
    for (const char* text : {"{{1, 2}, {3, 4}}x", "{1, 2, 3, 4}", "{{1, 2}, {3, }}", "{{a, 2}, {3, 4}}"})
        EXPECT_EQ(rectOfText(text), std::nullopt) << text;
}

}  // namespace
}  // namespace kestrix
