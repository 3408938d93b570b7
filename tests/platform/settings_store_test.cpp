#include "platform/settings_store.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>
#include <thread>

#include "base/error.h"
#include "platform/stored_file.h"
#include "tests/platform/child_process.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

using nlohmann::json;

class SettingsStoreTest : public testing::Test {
  protected:
    SettingsStore open() {
        return SettingsStore(file_, [this](const std::string& keptAs) { damaged_.push_back(keptAs); });
    }
    std::string text() const { return readWholeFile(file_).value_or("none"); }

    TemporaryFolder folder_;
    std::string file_ = folder_.path("config/settings.json");
    std::vector<std::string> damaged_;
};

TEST_F(SettingsStoreTest, ValuesOfEveryTypeSurviveTheFile) {
    const json nested = {{"list", {1, "two", false}}, {"deep", {{"x", 2.5}}}};
    SettingsStore store = open();
    EXPECT_TRUE(store.keys().empty());
    store.set("z", nested);
    store.set("real", 290.0);
    store.set("flag", true);
    store.set("number", 17);

    SettingsStore other = open();
    EXPECT_EQ(other.get("z"), nested);
    EXPECT_TRUE(other.get("real")->is_number_float());
    EXPECT_EQ(other.get("absent"), std::nullopt);
    EXPECT_EQ(other.keys(), (std::vector<std::string>{"flag", "number", "real", "z"}));
    EXPECT_TRUE(other.unset("z"));
    EXPECT_FALSE(other.unset("z"));
    EXPECT_EQ(text(), "{\n  \"flag\": true,\n  \"number\": 17,\n  \"real\": 290.0\n}\n");
}

TEST_F(SettingsStoreTest, AStoreSeesAnothersKeysWhenItWritesOrReloads) {
    SettingsStore first = open();
    SettingsStore second = open();
    EXPECT_EQ(first.get("a"), std::nullopt);
    second.set("a", 1);
    EXPECT_EQ(first.get("a"), std::nullopt) << "reads come from memory";
    first.set("b", 2);
    EXPECT_EQ(first.get("a"), 1);
    EXPECT_EQ(second.get("b"), std::nullopt);
    second.reload();
    EXPECT_EQ(second.get("b"), 2);
}

TEST_F(SettingsStoreTest, ModifySeesTheFileOfNowAndWritesOnlyAChange) {
    SettingsStore store = open();
    store.modify("list", [](json& value) {
        EXPECT_TRUE(value.is_null());
        value = {1};
    });
    open().set("list", json{1, 2});
    store.modify("list", [&](json& value) {
        EXPECT_EQ(value, (json{1, 2}));
        EXPECT_EQ(store.get("list"), json{1}) << "a change may read the store";
    });
    EXPECT_EQ(store.get("list"), (json{1, 2}));

    struct stat before {};
    struct stat after {};
    ASSERT_EQ(::stat(file_.c_str(), &before), 0);
    store.set("list", json{1, 2});
    store.unset("absent");
    ASSERT_EQ(::stat(file_.c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino) << "the file was replaced for nothing";
    store.set("list", 1);
    store.set("list", 1.0);
    EXPECT_TRUE(open().get("list")->is_number_float()) << "the type is a change too";
}

TEST_F(SettingsStoreTest, AChangeThatThrowsChangesNothingAndFreesTheLock) {
    SettingsStore store = open();
    store.set("a", 1);
    const auto failing = [](json& value) {
        value = 2;
        throw std::runtime_error("no");
    };
    EXPECT_THROW(store.modify("a", failing), std::runtime_error);
    EXPECT_EQ(open().get("a"), 1);
    store.set("a", 3);
    EXPECT_EQ(open().get("a"), 3);
}

TEST_F(SettingsStoreTest, NullIsNoValueAndForeignNullsAreKept) {
    folder_.file("config/settings.json", "{\"foreign\": null, \"a\": 1}");
    SettingsStore store = open();
    EXPECT_EQ(store.get("foreign"), std::nullopt);
    EXPECT_EQ(store.keys(), std::vector<std::string>{"a"});
    store.set("a", nullptr);
    EXPECT_EQ(json::parse(text()), (json{{"foreign", nullptr}}));
}

TEST_F(SettingsStoreTest, ADamagedFileIsKeptByteForByteAndTold) {
    const std::vector<std::string> all = {
        "{\"a\": 1", "[1, 2]", "17",       "{\"a\": \"\xff\xfe\"}", "{\"a\": 1} x", "{\"a\": 1e999}",
        " ",         "nul\0l", "{a: 1}\n", std::string(64, '\0')};
    for (const std::string& bytes : all) {
        folder_.file("config/settings.json", bytes);
        damaged_.clear();
        SettingsStore store = open();
        EXPECT_EQ(store.get("a"), std::nullopt) << bytes;
        ASSERT_EQ(damaged_.size(), 1u) << bytes;
        EXPECT_EQ(readWholeFile(damaged_[0]), bytes);
        EXPECT_EQ(text(), "none");
        store.set("a", 2);
        EXPECT_EQ(open().get("a"), 2);
        EXPECT_EQ(damaged_.size(), 1u);
    }
}

TEST_F(SettingsStoreTest, AWriteThatMeetsDamageSetsItAsideToo) {
    SettingsStore store = open();
    store.set("a", 1);
    folder_.file("config/settings.json", "{\"b\"");
    store.set("c", 3);
    EXPECT_EQ(damaged_, std::vector<std::string>{file_ + ".damaged-1"});
    EXPECT_EQ(store.keys(), std::vector<std::string>{"c"});
    EXPECT_EQ(readWholeFile(damaged_[0]), "{\"b\"");
}

TEST_F(SettingsStoreTest, AnEmptyFileAndAByteOrderMarkAreNoDamageAndTheLastOfEqualKeysCounts) {
    folder_.file("config/settings.json");
    open().set("a", 1);
    EXPECT_EQ(open().get("a"), 1);
    folder_.file("config/settings.json", "\xef\xbb\xbf{\"a\": {\"x\": 1}, \"b\": 2, \"a\": [3]}");
    EXPECT_EQ(open().get("a"), json{3});
    EXPECT_TRUE(damaged_.empty());
}

TEST_F(SettingsStoreTest, NestingThatWouldOverrunTheStackIsDamageOrRefused) {
    constexpr int kLevels = 100'000;
    const std::string deep = std::string(kLevels, '[') + std::string(kLevels, ']');
    folder_.file("config/settings.json", "{\"deep\": " + deep + "}");
    SettingsStore store = open();
    EXPECT_TRUE(store.keys().empty());
    EXPECT_EQ(damaged_.size(), 1u);

    store.set("a", 1);
    json value = json::parse(deep);
    EXPECT_THROW(store.set("deep", std::move(value)), Error);
    EXPECT_THROW(store.modify("deep", [&](json& stored) { stored = json::parse(deep); }), Error);
    EXPECT_EQ(open().keys(), std::vector<std::string>{"a"});

    store.set("fits", json::parse(std::string(150, '[') + std::string(150, ']')));
    EXPECT_EQ(open().keys(), (std::vector<std::string>{"a", "fits"}));
    EXPECT_EQ(damaged_.size(), 1u);
}

TEST_F(SettingsStoreTest, BytesThatAreNoUtf8AreRememberedAsTheyWereWritten) {
    SettingsStore store = open();
    store.set("path", "/tmp/\xff");
    EXPECT_EQ(store.get("path"), "/tmp/\xef\xbf\xbd");
    EXPECT_EQ(open().get("path"), "/tmp/\xef\xbf\xbd");
    EXPECT_TRUE(damaged_.empty());
}

TEST_F(SettingsStoreTest, TwoStoresAndAnotherProcessLoseNothing) {
    constexpr int kKeys = 12;
    const auto fill = [this](const std::string& prefix) {
        SettingsStore store(file_);
        for (int number = 0; number < kKeys; ++number) {
            store.set(prefix + std::to_string(number), number);
            store.modify("count", [](json& value) { value = value.is_null() ? 1 : value.get<int>() + 1; });
        }
        return true;
    };
    ChildProcess third([&] { return fill("third"); });
    {
        const std::jthread first(fill, "first");
        const std::jthread second(fill, "second");
    }
    EXPECT_TRUE(third.holds());
    SettingsStore store = open();
    EXPECT_EQ(store.keys().size(), 3u * kKeys + 1);
    EXPECT_EQ(store.get("count"), 3 * kKeys);
}

TEST_F(SettingsStoreTest, ReadersNeverMeetAHalfWrittenFile) {
    SettingsStore shared = open();
    shared.set("text", std::string(100'000, 'a'));
    std::jthread writer([this](const std::stop_token& stop) {
        SettingsStore store(file_);
        for (char letter = 'b'; !stop.stop_requested(); letter = letter == 'z' ? 'b' : letter + 1) {
            store.set("text", std::string(100'000, letter));
        }
    });
    for (int round = 0; round < 100; ++round) {
        shared.reload();
        const auto text = shared.get("text")->get<std::string>();
        ASSERT_EQ(text, std::string(100'000, text[0]));
    }
    EXPECT_TRUE(damaged_.empty());
}

TEST_F(SettingsStoreTest, InAReadOnlyFolderReadingWorksAndWritingSaysWhyNot) {
    folder_.file("config/settings.json", "{\"a\": 1}");
    ASSERT_EQ(::chmod(folder_.path("config").c_str(), 0555), 0);
    const auto writingFails = [this](SettingsStore& store) {
        try {
            store.set("a", 2);
        } catch (const Error& error) {
            const std::string words = error.what();
            return error.code() == EACCES && words.find(file_) != std::string::npos &&
                   words.find("Permission denied") != std::string::npos;
        }
        return false;
    };
    EXPECT_TRUE(holdsForOrdinaryUser([&] {
        SettingsStore store = open();
        return store.get("a") == 1 && writingFails(store) && store.get("a") == 1;
    }));

    folder_.file("config/settings.json", "damaged");
    EXPECT_TRUE(holdsForOrdinaryUser([&] {
        SettingsStore store = open();
        return store.keys().empty() && damaged_.empty() && writingFails(store);
    }));
    EXPECT_EQ(text(), "damaged");
}

TEST_F(SettingsStoreTest, AFileThatCannotBeReadCountsAsEmptyAndIsNeverOverwritten) {
    folder_.file("config/settings.json", "{\"a\": 1}");
    ::chmod(folder_.path("config").c_str(), 0777);
    ::chmod(file_.c_str(), 0);
    EXPECT_TRUE(holdsForOrdinaryUser([&] {
        SettingsStore store = open();
        if (!store.keys().empty()) return false;
        try {
            store.set("b", 2);
        } catch (const Error& error) {
            return error.code() == EACCES && damaged_.empty();
        }
        return false;
    }));
    EXPECT_EQ(text(), "{\"a\": 1}");
}

}  // namespace
}  // namespace kestrix
