// What a result looks like, in every form.
#include <gtest/gtest.h>
#include <time.h>

#include <cstdlib>

#include "app/cli/display_text.h"
#include "app/cli/result_printer.h"
#include "tests/results/results_fixture.h"

namespace kestrix::cli {
namespace {

class Printing : public testing::Test {
  protected:
    Printing() {
        ::setenv("TZ", "UTC", 1);
        ::tzset();
    }

    std::string printed(PrintStyle style, const std::vector<SearchResult>& results) {
        std::string text;
        OutputWriter output([&](std::string_view bytes, int*) {
            text += bytes;
            return WriteOutcome::written;
        });
        const bool asNodes = style.summary;
        ResultPrinter printer(output, std::move(style), world.kinds);
        printer.printHeader();
        for (const SearchResult& result : results)
            asNodes ? printer.print(*world.node(result)) : printer.print(result);
        output.finish();
        return text;
    }

    const NodeWorld world;
};

const std::string kHostile = "/a/one\ntwo\x1b[31m\xff.txt";

TEST_F(Printing, PipesGetTheTrueBytesAndATerminalNothingThatItWouldObey) {
    EXPECT_EQ(printed({}, {recordAt(kHostile)}), kHostile + "\n");
    EXPECT_EQ(printed({.nulEnds = true, .terminal = true}, {recordAt(kHostile)}),
              kHostile + std::string(1, '\0'));
    EXPECT_EQ(printed({.terminal = true}, {recordAt(kHostile)}), "/a/one\\ntwo\uFFFD[31m\uFFFD.txt\n");
    EXPECT_EQ(printed({.terminal = true}, {recordAt("/gpj.\u202Eexe")}), "/gpj.\uFFFDexe\n");
    EXPECT_EQ(printed({.form = Form::text, .terminal = true}, {recordAt("/a/\x1b.pdf")}),
              "name\tpath\tsize\tmod date\tcreation date\tkind\tparent name\n"
              "\uFFFD.pdf\t/a/\uFFFD.pdf\t0\t\t\tPDF document\ta\n");
    const std::string big(200'000, 'x');
    EXPECT_EQ(printed({}, {recordAt("/a"), recordAt(big), recordAt("/b")}), "/a\n" + big + "\n/b\n")
        << "what is longer than the buffer stays in order";
}

TEST_F(Printing, FoundWordsAreMarkedInTheNameAlone) {
    const PrintStyle style{.terminal = true, .markedWords = {"port", "rep"}};
    EXPECT_EQ(printed(style, {recordAt("/report/My Report.txt")}),
              "/report/My \x1b[1;31mReport\x1b[0m.txt\n");
}

TEST_F(Printing, LongLinesKeepTheirColumns) {
    EXPECT_EQ(printed({.form = Form::longForm},
                      {recordAt("/a", 999, 1456704000), recordAt("/b c", 123'456'789'012, 0)}),
              "999 bytes  2016-02-29 00:00  /a\n"
              "123.46 GB                 -  /b c\n");
}

TEST_F(Printing, WhatACatalogFoundAndIsNotThereIsMarked) {
    const TemporaryFolder folder;
    SearchResult there = recordAt(folder.file("there")), missing = recordAt("/gone"),
                 offline = recordAt("/off");
    for (SearchResult* result : {&there, &missing, &offline})
        result->searchResultSuppliedBy = SearchResultSupplier::CompactContentIndex;
    missing.strikeThroughDisplayNameIfMissing = true;
    EXPECT_EQ(printed({.form = Form::longForm}, {there, missing, offline}),
              "  0 bytes                 -  " + there.path + "\n" +
                  "  0 bytes                 -  [missing] /gone\n"
                  "  0 bytes                 -  [offline] /off\n");
    const std::string json = printed({.form = Form::json}, {there, missing, offline});
    EXPECT_EQ(json.find(R"("presence")"), json.find(R"("presence":"missing"})"));
    EXPECT_NE(json.find(R"("presence":"offline"})"), json.npos);
    EXPECT_EQ(printed({}, {offline}), "/off\n");
}

TEST_F(Printing, SummaryLinesStandUnderTheirPathMarkedOnATerminal) {
    SearchResult hit = recordAt("/hit");
    hit.content = std::make_shared<const ContentFindings>(
        ContentFindings{{"the yearly total", "Total\x1b: 7"}, {{"Total", {}}}});
    EXPECT_EQ(printed({.summary = true}, {hit, recordAt("/plain")}),
              "/hit\n  the yearly total\n  Total\x1b: 7\n/plain\n");
    EXPECT_EQ(printed({.terminal = true, .summary = true, .marksContent = true}, {hit}),
              "/hit\n  the yearly \x1b[1;31mtotal\x1b[0m\n  \x1b[1;31mTotal\x1b[0m\uFFFD: 7\n");
}

}  // namespace
}  // namespace kestrix::cli
