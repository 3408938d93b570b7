#include "language/query_explanation.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/language/language_fixture.h"

namespace kestrix {
namespace {

using Json = nlohmann::ordered_json;

class QueryExplanationTest : public LanguageWorld {
  protected:
    Json explained(std::string_view line) { return Json::parse(explanationAsJson(query(line))); }
    static Texts keysOf(const Json& object) {
        Texts keys;
        for (const auto& [key, value] : object.items())
            keys.push_back(key);
        return keys;
    }
};

TEST_F(QueryExplanationTest, WholeLineIsToldInTheAgreedOrder) {
    const auto json = explained("Cat OR dog : modified in 2016 bluh inside");
    EXPECT_EQ(keysOf(json), (Texts{"words", "searchWords", "searchWordParts", "orStringGroups", "includesOR",
                                   "isORCommandSearch", "isWordBasedSearch", "highlight", "soundex",
                                   "commands", "unused", "invalid", "arguments"}));
    EXPECT_EQ(json["words"][0].dump(),
              R"({"text":"cat","original":"Cat","start":0,"end":3,"afterColon":false,)"
              R"("quoted":false,"wildcard":"none"})");
    EXPECT_EQ(json["orStringGroups"].dump(), R"([["cat"],["dog"]])");
    EXPECT_EQ(json["includesOR"], true);
    EXPECT_EQ(json["isORCommandSearch"], false);
    EXPECT_EQ(json["soundex"].dump(), R"(["C300","D200"])");
    EXPECT_EQ(json["commands"][0]["class"], "Clause");
    EXPECT_EQ(json["commands"][0]["consumed"].size(), 3u);
    EXPECT_EQ(json["unused"].size(), 1u);
    EXPECT_EQ(json["invalid"].size(), 2u);
    EXPECT_EQ(json["arguments"].dump(), R"({"word":"cat","modificationDate":[100,200],"creationDate":null,)"
                                        R"("fileSize":null,"checkPathForResults":true})");
}

TEST_F(QueryExplanationTest, WordCommandsShowTheirFields) {
    const auto json = explained("rep* *al -Draft");
    EXPECT_EQ(json["commands"][0].dump(), R"({"class":"NotIncludingWords","text":"-draft","consumed":[],)"
                                          R"("rawWords":["-draft"],"words":["draft"]})");
    const auto& wildcards = json["commands"][1];
    EXPECT_EQ(wildcards["class"], "WildcardWords");
    EXPECT_EQ(wildcards["words"][0]["wildcard"], "prefix");
    EXPECT_EQ(wildcards["words"][1]["wildcard"], "suffix");
    EXPECT_EQ(wildcards["prefixes"].dump(), R"(["rep"])");
    EXPECT_EQ(wildcards["suffixes"].dump(), R"(["al"])");
}

TEST_F(QueryExplanationTest, EmptyAndDamagedLinesAreToldAsWell) {
    EXPECT_EQ(explained("")["arguments"]["word"], nullptr);
    EXPECT_EQ(explained("a\xff")["searchWords"][0], "a\uFFFD");
}

}  // namespace
}  // namespace kestrix
