// The program `kestrix find`, end to end.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "platform/stored_file.h"
#include "tests/app/program.h"

namespace kestrix {
namespace {

std::size_t countOf(const std::string& text, char c) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), c));
}

class Find : public testing::Test {
  protected:
    // find, with everything that matters below one folder.
    Outcome find(std::vector<std::string> arguments, Reader reader = Reader::readsAll) {
        arguments.insert(arguments.begin(), {"find", "--in", tree()});
        return program_.run(arguments, reader);
    }
    std::string tree() const { return program_.folder().folder("tree"); }
    std::string file(const std::string& name, const std::string& content = "") {
        return program_.folder().file("tree/" + name, content);
    }
    // More than a pipe holds.
    void fillWithManyFiles(int count) {
        for (int i = 0; i < count; ++i)
            file("many " + std::to_string(i) + std::string(150, 'x'));
    }

    Program program_;
};

TEST_F(Find, PrintsThePathsOfWhatItFinds) {
    const std::string wanted = file("sub/Report 2016.txt");
    file("report 2016 draft.txt");
    file("other.txt");
    for (const auto& line : {std::vector<std::string>{"report 2016 -draft"}, {"report", "2016", "-draft"}}) {
        const Outcome outcome = find(line);
        EXPECT_EQ(outcome.output, wanted + "\n");
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.code, 0);
    }
    const Outcome told = find({"report 2016 -draft", "--stats"});
    EXPECT_EQ(told.output, wanted + "\n");
    for (const char* line :
         {"results             1\n", "folders unreadable  0\n", "first result after", "peak memory"})
        EXPECT_NE(told.errors.find(line), std::string::npos) << line;
}

TEST_F(Find, NothingFoundIsOneAndAnEmptyLineSaysSo) {
    file("x");
    const Outcome absent = find({"absent"});
    EXPECT_EQ(absent.output + absent.errors, "");
    EXPECT_EQ(absent.code, 1);
    EXPECT_EQ(find({"absent", "--count"}).output, "0\n");
    EXPECT_EQ(find({"absent", "--format", "csv"}).output,
              "name, path, size, mod date, creation date, kind, parent name\n");
    for (const char* form : {"path", "csv"}) {
        const Outcome outcome = find({"", "--format", form});
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors,
                  "kestrix: nothing to look for: the line is empty; give at least one word\n");
        EXPECT_EQ(outcome.code, 1);
    }
    EXPECT_EQ(find({"--", "-x"}).errors,
              "kestrix: nothing to look for: the line only leaves names out; add a word to find\n");
}

TEST_F(Find, WrongUsageIsTwoAndOneLine) {
    const std::string plain = file("plain.txt");
    const std::vector<std::vector<std::string>> wrong = {
        {"find"},
        {},
        {"frobnicate"},
        {"find", "x", "--in", tree() + "/missing"},
        {"find", "x", "--in", plain},
        {"find", "x", "--where", "moon"},
        {"find", "x", "--format", "xml"},
        {"find", "x", "--summary", "--format", "csv"},
        {"export", "x"},
        {"export", "x", "--to", tree() + "/x.pdf"},
        {"export", "x", "--to", tree() + "/missing/x.csv"},
        {"find", "x", "--unknown"},
        {"media", "serve"},
        {"find", "x", "-0", "--format", "json"},
        {"find", "x", "--reverse"},
        {"settings", "frob"},
    };
    for (const auto& arguments : wrong) {
        const Outcome outcome = program_.run(arguments);
        EXPECT_EQ(outcome.code, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors.rfind("kestrix: ", 0), 0u) << outcome.errors;
        EXPECT_EQ(countOf(outcome.errors, '\n'), 1u) << outcome.errors;
    }
}

TEST_F(Find, NamesGoOutAsTheirTrueBytes) {
    const std::string hostile = file("hit\nwith \x1b and \xff");
    EXPECT_EQ(find({"hit"}).output, hostile + "\n");
    EXPECT_EQ(find({"hit", "-0"}).output, hostile + std::string(1, '\0'));
    const Outcome json = find({"hit", "--format", "json"});
    EXPECT_EQ(countOf(json.output, '\n'), 1u);
    const auto record = nlohmann::json::parse(json.output);
    EXPECT_EQ(record["path"], tree() + "/hit\nwith \x1b and \uFFFD");
}

TEST_F(Find, SortsAndLimits) {
    for (const int size : {3, 1, 2})
        file("hit" + std::to_string(size), std::string(size, 'x'));
    const auto names = [&](const std::vector<std::string>& options) {
        std::vector<std::string> arguments = {"hit"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return find(arguments).output;
    };
    const std::string one = tree() + "/hit1\n", two = tree() + "/hit2\n", three = tree() + "/hit3\n";
    EXPECT_EQ(names({"--sort", "size"}), one + two + three);
    EXPECT_EQ(names({"--sort", "size", "--reverse", "--limit", "2"}), three + two);
    EXPECT_EQ(countOf(names({"--sort", "rank", "--limit", "2"}), '\n'), 2u);
    EXPECT_EQ(countOf(names({"--limit", "2"}), '\n'), 2u);
    EXPECT_EQ(names({"--count"}), "3\n");
    EXPECT_EQ(names({"--count", "--limit", "2"}), "2\n");
    EXPECT_EQ(names({"--source", "metadata", "--count"}), "0\n");
    const std::string folder = program_.folder().folder("tree/my hit") + "\n";
    EXPECT_EQ(names({"--sort", "name"}), one + two + three + folder);
    program_.run({"settings", "set", "moveFoldersToTop", "true"});
    EXPECT_EQ(names({"--sort", "name"}), folder + one + two + three);
}

TEST_F(Find, AnExportIsWhatTheTablesOfFindPrint) {
    file("hit, one.txt", "12345");
    file("hit two");
    const std::string list = program_.folder().path("list");
    for (const auto& [form, name] : {std::pair{"csv", list + ".csv"}, {"text", list + ".txt"}}) {
        const Outcome outcome =
            program_.run({"export", "hit", "--in", tree(), "--sort", "name", "--to", name});
        EXPECT_EQ(outcome.output + outcome.errors, "");
        EXPECT_EQ(outcome.code, 0);
        EXPECT_EQ(readWholeFile(name), find({"hit", "--sort", "name", "--format", form}).output);
    }
    EXPECT_EQ(program_.run({"export", "absent", "--in", tree(), "--to", list, "--format", "csv"}).code, 1);
    EXPECT_EQ(readWholeFile(list), "name, path, size, mod date, creation date, kind, parent name\n");
}

TEST_F(Find, SummaryLinesStandUnderWhatAWalkAndACatalogFind) {
    const std::string one = file("a.txt", "A list. The yearly total: 7\n"),
                      two = file("b.txt", "total, total");
    EXPECT_EQ(program_.run({"catalog", "add", tree(), "--words"}).code, 0);
    for (const char* source : {"walk", "catalog"}) {
        const std::vector<std::string> sorted = {": content total", "--summary", "--sort", "name",
                                                 "--source",        source};
        EXPECT_EQ(find(sorted).output,
                  one + "\n  …list. The yearly total: 7…\n" + two + "\n  …total…\n  …total…\n");
        EXPECT_EQ(find({": content yearly", "--summary", "--source", source}).output,
                  one + "\n  …list. The yearly total: 7…\n");
    }
}

TEST_F(Find, AFolderBehindALinkIsSearchedAndAHiddenOneWhenAskedFor) {
    file("deep/hit.txt");
    std::filesystem::create_symlink(tree() + "/deep", program_.folder().path("link"));
    const Outcome outcome = program_.run({"find", "hit", "--in", program_.folder().path("link")});
    EXPECT_EQ(outcome.output, tree() + "/deep/hit.txt\n");
    const std::string hidden = file(".secret/catch.txt");
    EXPECT_EQ(find({"catch"}).code, 1);
    EXPECT_EQ(find({"catch", "--system"}).output, hidden + "\n");
}

TEST_F(Find, ATerminalIsShownSafeNamesWithTheFoundWordsMarked) {
    file("a hit\x1b[2J.txt");
    const std::vector<std::string> line = {"find", "HIT", "--in", tree()};
    EXPECT_EQ(program_.runOnTerminal(line).output, tree() + "/a \x1b[1;31mhit\x1b[0m\uFFFD[2J.txt\r\n");
    program_.setVariable("NO_COLOR", "1");
    EXPECT_EQ(program_.runOnTerminal(line).output, tree() + "/a hit\uFFFD[2J.txt\r\n");
}

TEST_F(Find, UnreadableFoldersMatterOnlyToTheStrict) {
    program_.runAsNobody();
    file("hit.txt");
    std::filesystem::permissions(program_.folder().folder("tree/locked"), std::filesystem::perms::none);
    EXPECT_EQ(find({"hit", "--no-history"}).code, 0);
    const Outcome strict = find({"hit", "--no-history", "--strict"});
    std::filesystem::permissions(tree() + "/locked", std::filesystem::perms::owner_all);
    EXPECT_EQ(strict.code, 2);
    EXPECT_EQ(strict.errors, "kestrix: 1 folder could not be read\n");
}

TEST_F(Find, AFullDiskOrAClosedOutputIsAFailure) {
    file("hit.txt");
    const Outcome full = program_.runInto("/dev/full", {"find", "hit", "--in", tree()});
    EXPECT_EQ(full.code, 2);
    EXPECT_EQ(full.errors, "kestrix: cannot write to standard output: No space left on device\n");
    const Outcome closed = program_.runInto("", {"find", "hit", "--in", tree()});
    EXPECT_EQ(closed.code, 2);
    EXPECT_EQ(closed.errors, "kestrix: cannot write to standard output: Bad file descriptor\n");
}

TEST_F(Find, AReaderThatLeavesIsANormalEndAndAnInterruptNeverHangs) {
    fillWithManyFiles(6000);
    const Outcome left = find({"many"}, Reader::closesAfterFirst);
    EXPECT_EQ(left.code, 0);
    EXPECT_EQ(left.errors, "");
    const Outcome interrupted = find({"many"}, Reader::interruptsAndReads);
    EXPECT_EQ(interrupted.code, 130);
    EXPECT_EQ(interrupted.output.back(), '\n');
    EXPECT_EQ(find({"many"}, Reader::interruptsAndStalls).code, 130) << "stuck in a full pipe";
}

TEST_F(Find, TheLineEntersTheHistoryUnlessToldOtherwise) {
    const std::string hit = file("hit.txt");
    find({"hit"});
    find({"absent"});
    find({"other", "--no-history"});
    const auto items = nlohmann::json::parse(program_.run({"history", "list", "--json"}).output);
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(items[0]["line"], "hit");
    EXPECT_EQ(items[1]["line"], "absent");

    program_.setHome(hit + "/no-folder");
    const Outcome outcome = find({"hit"});
    EXPECT_EQ(outcome.output, hit + "\n");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.errors.rfind("kestrix: the line is not in the history: ", 0), 0u) << outcome.errors;
    EXPECT_EQ(countOf(outcome.errors, '\n'), 1u);
}

TEST_F(Find, ALineOfAMegabyteIsAnswered) {
    // One argument may hold 128 KiB; the line is joined from several.
    std::vector<std::string> words(9, std::string(120'000, 'a'));
    EXPECT_EQ(find(words).code, 1);
    std::string combining;
    for (int i = 0; i < 50'000; ++i)
        combining += "\u0301";
    EXPECT_EQ(find({combining}).code, 1);
}

}  // namespace
}  // namespace kestrix
