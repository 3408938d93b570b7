// Commands that change files, and searches kept under a name.
#include <gtest/gtest.h>

#include <filesystem>

#include "app/cli/chosen_files.h"
#include "tests/app/program.h"

namespace kestrix {
namespace {

namespace fs = std::filesystem;

class ActionsTest : public ::testing::Test {
  protected:
    Program program_;
    const TemporaryFolder& folder_ = program_.folder();
};

TEST_F(ActionsTest, RenameReadsANameALineAndStopsAtTheFirstFailure) {
    const std::string one = folder_.file("one"), two = folder_.file("two"), three = folder_.file("three");
    program_.setInput("1\n\nx/y\n");
    const Outcome renamed = program_.run({"rename", one, two, three});
    EXPECT_EQ(renamed.code, 2);
    EXPECT_EQ(renamed.output, folder_.path("1\n"));
    EXPECT_EQ(renamed.errors, "kestrix: cannot rename " + three +
                                  ": the new name \"x/y\" holds a slash; files are not moved\n");
    program_.setInput("drei\n");
    const Outcome short_ = program_.run({"rename", three, two});
    EXPECT_EQ(short_.code, 2) << "the names ran out";
    EXPECT_EQ(short_.errors, "kestrix: 1 file(s) keep their names, the first is \"" + two + "\"\n");
    EXPECT_TRUE(fs::exists(folder_.path("drei")));
    EXPECT_EQ(program_.run({"rename", folder_.path("missing")}).code, 2);
}

TEST_F(ActionsTest, NamesDoNothingToATerminal) {
    const std::string file = folder_.file("\x1b[31m/file");
    program_.setInput("new\n");
    const Outcome shown = program_.runOnTerminal({"rename", file});
    EXPECT_EQ(shown.output, folder_.path("\uFFFD[31m/new\r\n"));
    ::testing::internal::CaptureStderr();
    cli::ask({"delete “a\nb”?", "Delete? "});
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "delete “a\\nb”?\nDelete? ");
}

TEST_F(ActionsTest, WhatCannotBeReachedIsNotCalledMissing) {
    const std::string locked = folder_.folder("locked"), file = folder_.file("locked/file");
    fs::permissions(locked, fs::perms::none);
    program_.runAsNobody();
    using Line = std::vector<std::string>;
    for (const Line& line : {Line{"rename", file}, Line{"delete", file, "--yes"}}) {
        const Outcome refused = program_.run(line);
        EXPECT_EQ(refused.code, 2);
        EXPECT_EQ(refused.errors,
                  "kestrix: cannot " + line.front() + " \"" + file + "\": Permission denied\n");
    }
    fs::permissions(locked, fs::perms::owner_all);
}

TEST_F(ActionsTest, DeleteNeedsAYesAndTellsWhatIsLeft) {
    const std::string file = folder_.file("tree/file"), tree = folder_.path("tree");
    const Outcome unasked = program_.run({"delete", tree});
    EXPECT_EQ(unasked.code, 2);
    EXPECT_NE(unasked.errors.find("--yes"), std::string::npos);
    EXPECT_TRUE(fs::exists(file));
    const Outcome proc = program_.run({"delete", "--yes", "/proc", "missing", "/dev", tree, file, tree});
    EXPECT_EQ(proc.code, 2);
    EXPECT_NE(proc.errors.find("kestrix: cannot delete \"missing\""), std::string::npos) << proc.errors;
    EXPECT_NE(proc.errors.find("2 of 3 item(s) are left, the first is \"/proc\""), std::string::npos)
        << proc.errors;
    EXPECT_FALSE(fs::exists(tree));
    for (const char* path : {"/", ".", "..", "/usr/..", "", "missing"})
        EXPECT_EQ(program_.run({"delete", "--yes", path}).code, 2) << path;
    fs::create_symlink("/usr/lib", folder_.path("link"));
    EXPECT_EQ(program_.run({"delete", "--yes", folder_.path("link")}).code, 0);
    EXPECT_TRUE(fs::exists("/usr/lib"));
}

TEST_F(ActionsTest, SavedSearchFindsWhatItsLineFinds) {
    const std::string place = folder_.folder("place"), report = folder_.file("place/report.txt");
    const std::string hidden = folder_.file("place/.hidden/report");
    EXPECT_EQ(program_.run({"saved"}).code, 1);
    EXPECT_EQ(program_.run({"saved", "add", "my reports", "report", ": is file", "--in", place}).code, 0);
    const Outcome twice = program_.run({"saved", "add", "my reports", "x"});
    EXPECT_EQ(twice.code, 2);
    EXPECT_EQ(twice.errors, "kestrix: A search with the name my reports already exists. Try another name.\n");
    EXPECT_EQ(program_.run({"saved", "add", "nothing", " "}).code, 2);
    EXPECT_EQ(program_.run({"saved"}).output, "my reports\treport : is file\t" + place + "\n");
    EXPECT_EQ(program_.run({"saved", "run", "my reports"}).output, report + "\n");
    EXPECT_EQ(program_.run({"saved", "run", "my reports", "--system", "--count"}).output, "2\n");
    EXPECT_EQ(program_.run({"saved", "change", "my reports", "nothing"}).code, 0);
    EXPECT_EQ(program_.run({"saved", "run", "my reports"}).code, 1);
    EXPECT_EQ(program_.run({"saved", "remove", "my reports"}).code, 0);
    EXPECT_EQ(program_.run({"saved", "run", "my reports"}).code, 1);
}

}  // namespace
}  // namespace kestrix
