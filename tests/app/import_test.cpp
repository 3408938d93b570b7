#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include "tests/app/child_process.h"
#include "tests/app/program.h"

namespace kestrix {
namespace {

TEST(ImportCommand, PrintsTheTextOrCountsItsWordsAndNothingElse) {
    const Program program;
    const Outcome text = program.run({"import", program.folder().file("a.txt", "Yearly total\nTotal")});
    EXPECT_EQ(text.output, "Yearly total\nTotal");
    EXPECT_EQ(text.errors, "");
    EXPECT_EQ(text.code, 0);
    const Outcome page =
        program.run({"import", program.folder().file("a.html", "<p>one<script>no</script></p><p>two")});
    EXPECT_EQ(page.output, "one\ntwo");
    EXPECT_EQ(page.code, 0);
    const std::string unknown = program.folder().file("a.unknown", "b a b");
    EXPECT_EQ(program.run({"import", "--words", "--all", unknown}).output, "2\tb\n1\ta\n");
}

TEST(ImportCommand, SaysInOneLineWhyAFileCannotBeRead) {
    const Program program;
    const std::vector<std::pair<std::string, std::string>> cases = {
        {program.folder().path("missing.txt"), "cannot open"},
        {program.folder().file("a.zip", "PK"), "nothing reads files of this kind"},
        {program.folder().path("absent"), "there is no"},
        {program.folder().path(), "is no plain file"},
        {program.folder().file("a.docx", "no package"), "a.docx"},
        {program.folder().folder("folder.txt"), "no regular file"}};
    for (const auto& [path, words] : cases) {
        const Outcome outcome = program.run({"import", path});
        EXPECT_EQ(outcome.code, 1) << path;
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors.find("kestrix: "), 0U) << outcome.errors;
        EXPECT_EQ(outcome.errors.find('\n'), outcome.errors.size() - 1) << outcome.errors;
        EXPECT_NE(outcome.errors.find(words), std::string::npos) << outcome.errors;
    }
    EXPECT_EQ(program.run({"import"}).code, 2);
}

bool runs(int process) {
    std::string name;
    char state = 'Z';
    std::ifstream("/proc/" + std::to_string(process) + "/stat") >> process >> name >> state;
    return state != 'Z';
}

TEST(ImportCommand, TheHelperEndsWithTheProgramHoweverThatEnds) {
    Program program;
    program.setVariable("KESTRIX_IMPORT_HELPER", KESTRIX_FAULTY_HELPER);
    const pid_t importer = program.startSilently({"import", program.folder().file("a.pdf", "deaf")});
    const int helper = awaitChildOf(importer);
    ASSERT_NE(helper, 0);
    ::kill(importer, SIGKILL);
    ::waitpid(importer, nullptr, 0);
    for (int i = 0; i < 1000 && runs(helper); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_FALSE(runs(helper));
}

}  // namespace
}  // namespace kestrix
