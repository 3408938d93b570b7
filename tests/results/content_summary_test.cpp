#include "results/content_summary.h"

#include <gtest/gtest.h>

#include "language/vocabulary.h"
#include "search/content_search.h"
#include "tests/results/results_fixture.h"

namespace kestrix {
namespace {

// Plain text needs no helper program.
TEST(ContentSummary, AHitThatACatalogAnsweredForIsReadAfterAll) {
    const FileTypes types;
    const ImportTextTools tools(types);
    ImportTextToolsXPC import(tools, "/no/helper");
    const LanguageParse language(makeVocabulary(
        shippedSentences(), {std::make_shared<ContentSearchFactory>(import)}, VariableLookups()));
    QueryWorld world;
    const auto query = [&](const char* line) {
        return QueryContainer(line, std::nullopt, false, {world.preferences, language});
    };
    const QueryContainer total = query(": content \"yearly total\"");
    SearchResult record = recordAt(world.folder.file("a.txt", "A list. This is the Yearly Total: 7\n"));
    record.searchResultSuppliedBy = SearchResultSupplier::CompactContentIndex;

    const auto findings = collectSummary(record, total);
    ASSERT_TRUE(findings);
    ASSERT_EQ(findings->summaryLines.size(), 1u);
    EXPECT_NE(findings->summaryLines.front().find("This is the Yearly Total: 7"), std::string::npos);
    EXPECT_EQ(collectSummary(record, query("plain words")), nullptr);
    record.path = world.folder.path("gone");
    EXPECT_EQ(collectSummary(record, total), nullptr);
}

}  // namespace
}  // namespace kestrix
