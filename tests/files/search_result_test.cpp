#include "files/search_result.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <nlohmann/json.hpp>
#include <thread>

#include "base/error.h"
#include "files/search_results_bucket.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

using nlohmann::json;

SearchResult sample(const std::string& path, DiskKey key) {
    SearchResult result(SearchResultSupplier::CompactContentIndex, key, path, false,
                        std::numeric_limits<std::uint64_t>::max(), -7, 12, 99, true, false);
    result.ignoreSearchLocation = true;
    result.contentSearchResultsRank = -3;
    return result;
}

// What the record must look like, made by the library that reads it.
json expectedJson(const SearchResult& result) {
    return {{"diskKey", result.diskKey.text()},
            {"path", result.path},
            {"isDirectory", result.isDirectory},
            {"size", result.size},
            {"creationDate", result.creationDate},
            {"modDate", result.modDate},
            {"lastAccessDate", result.lastAccessDate},
            {"checkToSeeIfItExists", result.checkToSeeIfItExists},
            {"uuid", result.uuid.text()},
            {"searchResultSuppliedBy", static_cast<int>(result.searchResultSuppliedBy)},
            {"ignoreSearchLocation", result.ignoreSearchLocation},
            {"contentSearchResultsRank", result.contentSearchResultsRank},
            {"strikeThroughDisplayNameIfMissing", result.strikeThroughDisplayNameIfMissing}};
}

TEST(SearchResultJson, HoldsEachFieldUnderItsKeyOnOneLine) {
    std::string awkward = "/a \"quoted\" \\ back/caf\xc3\xa9 \xf0\x9f\x98\x80";
    for (char control = 1; control < 0x20; ++control) {
        awkward += control;
    }
    const SearchResult result = sample(awkward, DiskKey("data \"1\" ext4"));
    const std::string text = toJson(result);
    EXPECT_EQ(json::parse(text), expectedJson(result));
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_FALSE(json::parse(toJson(sample("/a", DiskKey()))).contains("diskKey"));
    EXPECT_EQ(json::parse(toJson(sample("/a", DiskKey(""))))["diskKey"], "");
    EXPECT_EQ(json::parse(toJson(sample("/a/\xff\"\xc3", DiskKey())))["path"],
              "/a/\xef\xbf\xbd\"\xef\xbf\xbd");
}

TEST(SearchResultJson, ComesBackAsItWasButForContentFindings) {
    SearchResult result = sample("/a/b", DiskKey("data 5 xfs"));
    result.tryCollectSummaryLines = true;
    result.content = std::make_shared<ContentFindings>();
    const SearchResult back = searchResultFromJson(toJson(result));
    EXPECT_EQ(toJson(back), toJson(result));
    EXPECT_EQ(back.diskKey, result.diskKey);
    EXPECT_EQ(back.content, nullptr);
    EXPECT_FALSE(back.tryCollectSummaryLines);
}

TEST(SearchResultJson, RefusesARecordThatLacksAnyKeyButThatOfTheDisk) {
    const json whole = expectedJson(sample("/a", DiskKey("k")));
    for (const auto& [key, value] : whole.items()) {
        json lacking = whole;
        lacking.erase(key);
        if (key == "diskKey") {
            EXPECT_TRUE(searchResultFromJson(lacking.dump()).diskKey.isNone());
        } else {
            EXPECT_THROW(searchResultFromJson(lacking.dump()), Error) << key;
        }
    }
}

TEST(SearchResultJson, RefusesValuesOfAnotherTypeOrOutOfRange) {
    const json whole = expectedJson(sample("/a", DiskKey("k")));
    const auto with = [&whole](const char* key, const json& value) {
        json changed = whole;
        changed[key] = value;
        return changed.dump();
    };
    for (const auto& [key, value] : whole.items()) {
        EXPECT_THROW(searchResultFromJson(with(key.c_str(), json::array())), Error) << key;
        EXPECT_THROW(searchResultFromJson(with(key.c_str(), 1.5)), Error) << key;
    }
    EXPECT_THROW(searchResultFromJson(with("size", -1)), Error);
    EXPECT_THROW(searchResultFromJson(with("modDate", 9223372036854775808u)), Error);
    EXPECT_THROW(searchResultFromJson(with("searchResultSuppliedBy", 12)), Error);
    EXPECT_THROW(searchResultFromJson(with("searchResultSuppliedBy", 4294967297)), Error);
    EXPECT_THROW(searchResultFromJson(with("uuid", "not-a-uuid")), Error);
    for (const char* text : {"", "[]", "7", "{", "{}x", "\xff"}) {
        EXPECT_THROW(searchResultFromJson(text), Error) << text;
    }
}

TEST(SearchResultJson, IgnoresKeysItDoesNotKnowAndKeepsReservedSuppliers) {
    json record = expectedJson(sample("/a", DiskKey("k")));
    record["colour"] = {1, 2};
    record["searchResultSuppliedBy"] = 9;
    EXPECT_EQ(searchResultFromJson(record.dump()).searchResultSuppliedBy, SearchResultSupplier::sidebar);
}

TEST(DiskKey, MayBeMadeBySeveralThreadsAtOnce) {
    std::vector<DiskKey> keys(4);
    {
        std::vector<std::jthread> threads;
        for (DiskKey& key : keys) {
            threads.emplace_back([&key] {
                for (int number = 0; number < 500; ++number) {
                    key = DiskKey("many " + std::to_string(number));
                }
            });
        }
    }
    for (const DiskKey& key : keys) {
        EXPECT_EQ(key, DiskKey("many 499"));
    }
    EXPECT_NE(keys[0], DiskKey("many 498"));
    EXPECT_NE(DiskKey(""), DiskKey());
}

TEST(SearchResult, OfAFileReadsSizeAndDatesButNotTheAccess) {
    const TemporaryFolder folder;
    const std::string path = folder.file("a.txt", "12345");
    using namespace std::chrono;
    const auto modified = file_clock::from_sys(sys_seconds(1'000'000'000s) + 900ms);
    std::filesystem::last_write_time(path, time_point_cast<file_clock::duration>(modified));
    SearchResult file = SearchResult::ofFile(SearchResultSupplier::fileSystem, path, true);
    EXPECT_EQ(file.size, 5u);
    EXPECT_EQ(file.modDate, 1'000'000'000);
    EXPECT_EQ(file.lastAccessDate, 0);
    EXPECT_EQ(file.diskKey, DiskKey(""));
    EXPECT_TRUE(file.strikeThroughDisplayNameIfMissing);
    EXPECT_TRUE(file.checkToSeeIfItExists);

    folder.file("a.txt", "123456789");
    EXPECT_TRUE(file.readAttributesFromDisk());
    EXPECT_EQ(file.size, 9u);
    EXPECT_GT(file.modDate, 1'000'000'000);
    std::filesystem::remove(path);
    EXPECT_FALSE(file.readAttributesFromDisk());
    EXPECT_EQ(file.size, 9u);
}

TEST(SearchResult, OfAFolderHasNoSizeAndAMissingFileIsARecordAllTheSame) {
    const TemporaryFolder folder;
    SearchResult directory =
        SearchResult::ofDirectory(SearchResultSupplier::KnownDirectoriesSearch, folder.path(), false);
    EXPECT_TRUE(directory.isDirectory);
    EXPECT_FALSE(directory.strikeThroughDisplayNameIfMissing);
    EXPECT_GT(directory.modDate, 0);
    EXPECT_TRUE(directory.readAttributesFromDisk());
    EXPECT_EQ(directory.size, 0u);

    const SearchResult missing =
        SearchResult::ofFile(SearchResultSupplier::fileSystem, folder.path("gone"), false);
    EXPECT_EQ(missing.path, folder.path("gone"));
    EXPECT_EQ(missing.size, 0u);
    EXPECT_EQ(missing.modDate, 0);
    EXPECT_EQ(missing.creationDate, 0);
}

TEST(SearchResultsBucket, IsDueAtOnceAndThenOnlyAfterMoreThanItsInterval) {
    ManualClock clock;
    SearchResultsBucket bucket(clock);
    EXPECT_TRUE(bucket.isTimeToEmpty());
    EXPECT_TRUE(bucket.empty().empty());
    clock.advance(Seconds(0.5));
    EXPECT_FALSE(bucket.isTimeToEmpty());
    clock.advance(Seconds(0.001));
    EXPECT_TRUE(bucket.isTimeToEmpty());
}

TEST(SearchResultsBucket, HandsOverEverythingOnceInOrder) {
    SearchResultsBucket bucket;
    bucket.add(sample("/1", DiskKey()));
    bucket.add(std::vector{sample("/2", DiskKey()), sample("/3", DiskKey())});
    EXPECT_EQ(bucket.count(), 3u);
    std::string paths;
    for (const SearchResult& result : bucket.empty()) {
        paths += result.path;
    }
    EXPECT_EQ(paths, "/1/2/3");
    EXPECT_EQ(bucket.count(), 0u);
}

}  // namespace
}  // namespace kestrix
