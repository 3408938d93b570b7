// What a result looks like, in every form.
#include <gtest/gtest.h>
#include <time.h>

#include <cstdlib>

#include "app/cli/display_text.h"
#include "app/cli/result_order.h"
#include "app/cli/result_printer.h"

namespace kestrix::cli {
namespace {

SearchResult resultOf(std::string path, std::uint64_t size = 0, std::int64_t modified = 0,
                      bool folder = false) {
    SearchResult result;
    result.path = std::move(path);
    result.size = size;
    result.modDate = modified;
    result.isDirectory = folder;
    return result;
}

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
        ResultPrinter printer(output, std::move(style));
        printer.printHeader();
        for (const SearchResult& result : results)
            printer.print(result);
        output.finish();
        return text;
    }
};

const std::string kHostile = "/a/one\ntwo\x1b[31m\xff.txt";

TEST_F(Printing, PipesGetTheTrueBytes) {
    EXPECT_EQ(printed({}, {resultOf(kHostile)}), kHostile + "\n");
    EXPECT_EQ(printed({.nulEnds = true, .terminal = true}, {resultOf(kHostile)}),
              kHostile + std::string(1, '\0'));
}

TEST_F(Printing, ATerminalGetsNothingThatItWouldObey) {
    EXPECT_EQ(printed({.terminal = true}, {resultOf(kHostile)}), "/a/one\\ntwo\uFFFD[31m\uFFFD.txt\n");
    EXPECT_EQ(printed({.terminal = true}, {resultOf("/gpj.\u202Eexe")}), "/gpj.\uFFFDexe\n");
}

TEST_F(Printing, FoundWordsAreMarkedInTheNameAlone) {
    const PrintStyle style{.terminal = true, .markedWords = {"port", "rep"}};
    EXPECT_EQ(printed(style, {resultOf("/report/My Report.txt")}),
              "/report/My \x1b[1;31mReport\x1b[0m.txt\n");
}

TEST_F(Printing, LongLinesKeepTheirColumns) {
    EXPECT_EQ(
        printed({.form = Form::longForm}, {resultOf("/a", 7, 1456704000), resultOf("/b c", 123456789012, 0)}),
        "           7  2016-02-29 00:00  /a\n"
        "123456789012                 -  /b c\n");
}

TEST_F(Printing, CsvQuotesCommasAndTextDoesNot) {
    const auto results = {resultOf("/a/x, y.pdf", 5), resultOf("/a/b", 0, 0, true)};
    EXPECT_EQ(printed({.form = Form::csv}, results),
              "name, path, size, mod date, creation date, kind, parent name\n"
              "\"x, y.pdf\", \"/a/x, y.pdf\", 5, , , PDF file, a\n"
              "b, /a/b, 0, , , Folder, a\n");
    EXPECT_EQ(printed({.form = Form::text}, results),
              "name\tpath\tsize\tmod date\tcreation date\tkind\tparent name\n"
              "x, y.pdf\t/a/x, y.pdf\t5\t\t\tPDF file\ta\n"
              "b\t/a/b\t0\t\t\tFolder\ta\n");
}

TEST_F(Printing, DatesOfCsvHoldNoComma) {
    const std::string text = printed({.form = Form::text}, {resultOf("/a/b", 0, 1456704000)});
    EXPECT_NE(text.find("16"), text.npos);
    EXPECT_EQ(text.find(','), text.npos);
}

TEST_F(Printing, WhatIsLongerThanTheBufferStaysInOrder) {
    const std::string big(200'000, 'x');
    EXPECT_EQ(printed({}, {resultOf("/a"), resultOf(big), resultOf("/b")}), "/a\n" + big + "\n/b\n");
}

TEST_F(Printing, NothingIsWrittenAfterTheReaderHasGone) {
    int calls = 0;
    OutputWriter output([&](std::string_view, int*) {
        ++calls;
        return WriteOutcome::readerGone;
    });
    for (int i = 0; i < 3; ++i) {
        output.append("x");
        output.flush();
    }
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(output.isOpen());
}

TEST(Sorting, NamesSortAsPeopleReadAndEqualKeysByPath) {
    std::vector<SearchResult> results = {resultOf("/b/file10", 3), resultOf("/b/file2", 3),
                                         resultOf("/a/File2", 3), resultOf("/c/a", 1)};
    const auto paths = [&] {
        std::vector<std::string> all;
        for (const SearchResult& result : results)
            all.push_back(result.path);
        return all;
    };
    sortResults(results, Column::name, false);
    EXPECT_EQ(paths().front(), "/c/a");
    EXPECT_EQ(paths().back(), "/b/file10");
    sortResults(results, Column::size, false);
    EXPECT_EQ(paths(), (std::vector<std::string>{"/c/a", "/a/File2", "/b/file10", "/b/file2"}));
    sortResults(results, Column::size, true);
    EXPECT_EQ(paths(), (std::vector<std::string>{"/b/file2", "/b/file10", "/a/File2", "/c/a"}));
}

}  // namespace
}  // namespace kestrix::cli
