#include "search/content_search.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <future>
#include <nlohmann/json.hpp>

#include "language/commands/simple_factories.h"
#include "language/vocabulary.h"
#include "search/search_data_source.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

// Writes down what it hears.
class Listener : public NullSearchDataSourceDelegate {
  public:
    bool shouldStop() const override { return stopped; }
    bool wantsFindings() const override { return findings; }
    using NullSearchDataSourceDelegate::searchDataSourceProgress;
    void searchDataSourceProgress(std::int64_t files) override {
        heard.push_back("files " + std::to_string(files));
    }
    void searchingInsideFile(const std::string& name, bool inProgress, int percentage) override {
        heard.push_back(name + (inProgress ? " " : " done ") + std::to_string(percentage));
    }

    std::atomic<bool> stopped = false;
    bool findings = true;
    std::vector<std::string> heard;
};

// Plain text is read as it is; a ".pdf" holds what the faulty helper is to do with it.
class ContentSearchTest : public ::testing::Test {
  protected:
    std::shared_ptr<const QueryContainer> query(const std::string& line) {
        return std::make_shared<const QueryContainer>(line, std::nullopt, false,
                                                      QueryEnvironment{preferences_, language_});
    }
    static SearchResult record(const std::string& path, bool isDirectory = false) {
        return {SearchResultSupplier::fileSystem, DiskKey(), path, isDirectory, 0, 0, 0, 0, false, false};
    }
    std::optional<SearchResult> found(const std::string& line, SearchResult item) {
        if (!query(line)->searchResultPassesFiltering(item, &listener_)) return std::nullopt;
        return item;
    }
    bool finds(const std::string& line, const std::string& path) {
        return found(line, record(path)).has_value();
    }

    TemporaryFolder folder_;
    SettingsStore store_{folder_.path("settings.json")};
    Preferences preferences_{store_};
    FileTypes types_;
    ImportTextTools tools_{types_};
    ImportTextToolsXPC import_{tools_, KESTRIX_FAULTY_HELPER};
    LanguageParse language_{makeVocabulary(
        shippedSentences(),
        {std::make_shared<ContentSearchFactory>(import_), std::make_shared<CaseSensitiveFactory>(),
         std::make_shared<ExtensionCommandFactory>()},
        VariableLookups())};
    Listener listener_;
};

TEST_F(ContentSearchTest, AHitHasItsPlacesItsLinesAndItsRank) {
    const std::string path = folder_.file("a.txt", "The Yearly total and the yéarly TOTAL.");
    const auto hit = found(": content \"yearly total\"", record(path));
    ASSERT_TRUE(hit);
    EXPECT_EQ(hit->contentSearchResultsRank, 2);
    EXPECT_TRUE(hit->tryCollectSummaryLines);
    EXPECT_EQ(hit->content->contentSearchResults.at("yearly total"),
              (std::vector<TextRange>{{4, 12}, {25, 13}}));
    EXPECT_EQ(hit->content->summaryLines[0], "…Yearly total and the yéarly TOTAL.…");
    EXPECT_EQ(listener_.heard, (std::vector<std::string>{"files 1", "a.txt 0", "a.txt done 100"}));
    listener_.findings = false;
    const auto bare = found(": content \"yearly total\"", record(path));
    EXPECT_EQ(bare->contentSearchResultsRank, 2);
    EXPECT_FALSE(bare->content);
}

TEST_F(ContentSearchTest, TheSentenceSaysHow) {
    const std::string path = folder_.file("a.txt", "Red cats. blue");
    EXPECT_TRUE(finds(": content \"red, green\"", path));
    EXPECT_FALSE(finds(": content \"red, green\" all words", path));
    EXPECT_TRUE(finds(": content \"red, blue\" all words", path));
    EXPECT_FALSE(finds(": content cat whole words", path));
    EXPECT_FALSE(finds(": content red without blue", path));
    EXPECT_FALSE(finds(": content red case sensitive", path));
    EXPECT_TRUE(finds(": content Red case sensitive", path));
    EXPECT_FALSE(finds(": content red", folder_.file("a.unheardof", "red")));
    EXPECT_TRUE(finds(": content red all files", folder_.file("a.unheardof", "red")));
    EXPECT_TRUE(finds(": content CAFE", folder_.file("roman.txt", "un caf\x8E noir")));
    EXPECT_FALSE(finds(": content cafes", folder_.path("roman.txt")));
}

// What cannot match is not opened: nothing is announced.
TEST_F(ContentSearchTest, FoldersOtherTypesAndOtherNamesAreNotOpened) {
    EXPECT_FALSE(found(": content red", record(folder_.folder("red.txt"), true)));
    EXPECT_FALSE(finds(": content red", folder_.file("red.jpg", "red")));
    EXPECT_FALSE(finds("blue : content red", folder_.file("red.txt", "red")));
    EXPECT_FALSE(finds(": content red .md", folder_.file("md.txt", "red")));
    EXPECT_TRUE(listener_.heard.empty());
}

TEST_F(ContentSearchTest, WhatAnIndexHasFoundIsTakenUnread) {
    for (const auto supplier :
         {SearchResultSupplier::CompactContentIndex, SearchResultSupplier::spotlightContent}) {
        SearchResult item = record("/not/there.txt");
        item.searchResultSuppliedBy = supplier;
        const auto hit = found(": content red", item);
        ASSERT_TRUE(hit);
        EXPECT_TRUE(hit->tryCollectSummaryLines);
        EXPECT_FALSE(hit->content);
    }
    EXPECT_TRUE(listener_.heard.empty());
}

TEST_F(ContentSearchTest, AFileThatCannotBeReadDoesNotMatch) {
    const std::string pipe = folder_.path("pipe.txt");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_FALSE(finds(": content red", pipe));
    EXPECT_FALSE(finds(": content red", folder_.path("gone.txt")));
    EXPECT_FALSE(finds(": content red", folder_.file("a.pdf", "crash")));
    EXPECT_TRUE(finds(": content x", folder_.file("b.pdf", "large 10")));
}

TEST_F(ContentSearchTest, AStopCancelsTheDocumentThatIsRead) {
    const std::string path = folder_.file("slow.pdf", "slow");
    const auto line = query(": content red");
    SearchResult item = record(path);
    auto judged =
        std::async(std::launch::async, [&] { return line->searchResultPassesFiltering(item, &listener_); });
    listener_.stopped = true;
    // Once is enough, whenever it comes.
    line->commandsFoundInQuery().front()->commandStop();
    ASSERT_EQ(judged.wait_for(std::chrono::seconds(5)), std::future_status::ready);
    EXPECT_FALSE(judged.get());
}

TEST_F(ContentSearchTest, IsWrittenSoThatItCanBeTypedAgain) {
    const auto command = [this](const std::string& line) {
        return query(line)->commandOfType<ContentSearch>();
    };
    const auto full =
        command(": content \"say \\\"Hi\\\", Bob\" without Draft whole words all words all files use OCR");
    ASSERT_TRUE(full);
    EXPECT_EQ(full->commandToString(),
              R"(content "say \"Hi\", Bob" without "draft" whole words all words all files use OCR)");
    EXPECT_EQ(command(": " + full->commandToString())->explainedFields(), full->explainedFields());
    EXPECT_EQ(command(": content red")->commandExample(), "content \"**red**\"");
    EXPECT_EQ(full->wordsToSearchFor(), (std::vector<std::string>{"say \"Hi", "Bob"}));
    EXPECT_FALSE(full->isTemplateEqualTo(*command(": content red")));
    EXPECT_TRUE(full->isTemplateEqualTo(*command(": content red without blue")));
}

}  // namespace
}  // namespace kestrix
