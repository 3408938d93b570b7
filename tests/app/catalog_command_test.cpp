// The catalog command as a user meets it: what it prints, refuses and mends.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>

#include "tests/app/child_process.h"
#include "tests/app/program.h"

namespace kestrix {
namespace {

class CatalogCommand : public ::testing::Test {
  protected:
    CatalogCommand() {
        program_.folder().file("tree/report.txt", "hello");
        program_.folder().file("tree/deep/report 2.txt");
    }

    std::string tree() const { return program_.folder().path("tree"); }
    Outcome run(std::vector<std::string> arguments) const { return program_.run(arguments); }
    Outcome find(std::vector<std::string> options = {}) const {
        options.insert(options.begin(),
                       {"find", "report", "--in", tree(), "--source", "catalog", "--no-history"});
        return run(std::move(options));
    }
    nlohmann::json factsOf(const std::string& name) const {
        return nlohmann::json::parse(run({"catalog", "info", name, "--json"}).output);
    }

    // One line that begins "kestrix: " and says all of these.
    static void expectRefusal(const Outcome& outcome, const std::vector<std::string>& parts) {
        EXPECT_EQ(outcome.code, 2);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors.rfind("kestrix: ", 0), 0u) << outcome.errors;
        EXPECT_EQ(std::ranges::count(outcome.errors, '\n'), 1) << outcome.errors;
        for (const std::string& part : parts)
            EXPECT_NE(outcome.errors.find(part), std::string::npos) << part << " in " << outcome.errors;
    }

    Program program_;
};

TEST_F(CatalogCommand, ACatalogIsMadeListedSearchedAndRemoved) {
    EXPECT_EQ(run({"catalog", "list"}).code, 1);
    const Outcome added = run({"catalog", "add", tree(), "--name", "My tree"});
    EXPECT_EQ(added.code, 0) << added.errors;
    EXPECT_EQ(added.output.rfind("\"My tree\": 2 files, ", 0), 0u) << added.output;
    const auto facts = factsOf("My tree");
    EXPECT_EQ(facts["target"], tree());
    EXPECT_EQ(facts["files"], 2);
    EXPECT_EQ(facts["state"], "mounted");
    EXPECT_EQ(facts["records"], 7) << "three items, two lists, the counter and the description";
    const std::string file = facts["file"];
    EXPECT_EQ(factsOf(file)["id"], facts["id"]);
    EXPECT_EQ(nlohmann::json::parse(run({"catalog", "list", "--json"}).output).size(), 1u);
    std::filesystem::remove(tree() + "/report.txt");
    EXPECT_EQ(find().output, tree() + "/report.txt\n" + tree() + "/deep/report 2.txt\n");
    EXPECT_NE(find({"--stats"}).errors.find("catalog items seen  3\n"), std::string::npos);
    program_.folder().file("tree/new report");
    const Outcome updated = run({"catalog", "update"});
    EXPECT_EQ(updated.output.rfind("\"My tree\": 2 files, 1 new or changed, ", 0), 0u) << updated.output;
    EXPECT_EQ(run({"catalog", "verify", "My tree"}).code, 0);
    const std::string dump = run({"catalog", "dump", file}).output;
    EXPECT_EQ(std::ranges::count(dump, '\n'), 8) << dump;
    EXPECT_NE(dump.find("\"name\":\"report 2.txt\""), std::string::npos) << dump;
    EXPECT_EQ(run({"catalog", "remove", "My tree"}).code, 0);
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(find().code, 1);
}

// A document that is never done holds the build up, so that the signal comes in its midst.
TEST_F(CatalogCommand, CtrlCStopsABuildWithoutHarm) {
    program_.setVariable("KESTRIX_IMPORT_HELPER", KESTRIX_FAULTY_HELPER);
    const std::string endless = program_.folder().file("tree/deep/endless.pdf", "slow");
    const pid_t adding = program_.startSilently({"catalog", "add", tree(), "--words"});
    ASSERT_NE(awaitChildOf(adding), 0);
    ::kill(adding, SIGINT);
    int status = 0;
    ::waitpid(adding, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 128 + SIGINT) << status;
    EXPECT_EQ(run({"catalog", "verify", "tree"}).code, 0);
    EXPECT_EQ(factsOf("tree")["files"], nullptr) << "it was not finished";
    EXPECT_EQ(run({"catalog", "failed", "tree"}).code, 1) << "nothing is wrong with the document";
    program_.folder().file("tree/deep/endless.pdf", "words");
    const Outcome updated = run({"catalog", "update"});
    EXPECT_EQ(updated.output.rfind("\"tree\": 3 files, ", 0), 0u) << updated.output;
    const auto findTwo = [&] {
        return run({"find", ": content two", "--in", tree(), "--source", "catalog", "--no-history"}).output;
    };
    EXPECT_EQ(findTwo(), endless + "\n");
    std::filesystem::remove(endless);
    EXPECT_EQ(findTwo(), "") << "what has gone holds no words";
}

TEST_F(CatalogCommand, ACatalogOfNamesIsGivenWordsByAnUpdate) {
    run({"catalog", "add", tree()});
    expectRefusal(run({"catalog", "update", "--words"}), {"--words needs the name"});
    EXPECT_EQ(factsOf("tree")["mode"], 0);
    EXPECT_EQ(run({"catalog", "update", "tree", "--words"}).code, 0);
    EXPECT_EQ(run({"catalog", "update"}).code, 0);
    EXPECT_EQ(factsOf("tree")["mode"], 1) << "later updates keep what was chosen";
    std::filesystem::rename(tree(), program_.folder().path("away"));
    EXPECT_EQ(run({"find", ": content hello", "--in", tree(), "--source", "catalog"}).output,
              tree() + "/report.txt\n");
}

TEST_F(CatalogCommand, AMirrorBringsItsWordsAlong) {
    const std::string mirror = program_.folder().path("mirror.kxcache");
    run({"catalog", "add", tree(), "--words", "--mirror", mirror});
    run({"catalog", "remove", "tree"});
    run({"catalog", "add", tree(), "--mirror", mirror});
    EXPECT_EQ(factsOf("tree")["mode"], 1);
}

// Of folders that are called alike, whose files would be called alike as well.
TEST_F(CatalogCommand, ThoseAddedAtTheSameTimeGetFilesOfTheirOwn) {
    std::vector<pid_t> adding;
    for (int i = 0; i < 40; ++i) {
        const std::string folder = program_.folder().folder(std::to_string(i) + "/photos");
        adding.push_back(
            program_.startSilently({"catalog", "add", folder, "--name", "photos " + std::to_string(i)}));
    }
    for (const pid_t process : adding)
        ::waitpid(process, nullptr, 0);
    std::set<std::string> files;
    for (const auto& facts : nlohmann::json::parse(run({"catalog", "list", "--json"}).output))
        files.insert(facts["file"].get<std::string>());
    EXPECT_EQ(files.size(), adding.size());
}

TEST_F(CatalogCommand, WhatCannotBeDoneIsRefusedInOneLine) {
    EXPECT_EQ(find().errors, "kestrix: no catalog knows the place; kestrix catalog add makes one\n");
    run({"catalog", "add", tree()});
    expectRefusal(run({"catalog", "add", tree()}), {"\"tree\"", "catalog update", "--name"});
    expectRefusal(run({"catalog", "add", tree() + "/absent"}), {"there is no"});
    expectRefusal(run({"catalog", "add", tree() + "/report.txt"}), {"no folder"});
    expectRefusal(run({"catalog", "add", tree() + "/deep", "--mirror", "/no/such/folder/x"}), {"--mirror"});
    expectRefusal(run({"catalog", "add", tree() + "/deep", "--name", "b\xff"}), {"UTF-8"});
    expectRefusal(run({"catalog", "info", "absent"}), {"catalog list"});
    expectRefusal(run({"catalog", "dump", "/no/such.kxcache"}), {"no file"});
    std::filesystem::remove_all(tree());
    expectRefusal(run({"catalog", "update", "tree"}), {"is not there"});
    EXPECT_EQ(find().code, 0);
    expectRefusal(run({"find", "x", "--in", "/no/such", "--source", "catalog"}), {"there is no"});
}

TEST_F(CatalogCommand, ADamagedFileIsNamedAndBuiltAnewWhenAskedFor) {
    run({"catalog", "add", tree()});
    const std::string file = factsOf("tree")["file"];
    std::filesystem::resize_file(file, 5000);
    const Outcome searched = find();
    EXPECT_EQ(searched.code, 1);
    EXPECT_NE(searched.errors.find("kestrix catalog remove"), std::string::npos) << searched.errors;
    EXPECT_EQ(run({"find", "report", "--in", tree(), "--source", "catalog", "--strict"}).code, 2);
    const Outcome verified = run({"catalog", "verify", "tree"});
    EXPECT_EQ(verified.code, 2);
    EXPECT_NE(verified.output, "");
    expectRefusal(run({"catalog", "info", "tree"}), {"--set-aside"});
    expectRefusal(run({"catalog", "update", "tree"}), {"--set-aside"});
    EXPECT_EQ(run({"catalog", "update", "tree", "--set-aside"}).code, 0);
    EXPECT_EQ(std::filesystem::file_size(file + ".damaged-1"), 5000u);
    EXPECT_EQ(find().code, 0);
    std::filesystem::remove(file);
    EXPECT_EQ(run({"catalog", "update", "tree"}).code, 0) << "a missing file needs no leave";
    EXPECT_EQ(find().code, 0);
}

TEST_F(CatalogCommand, AMirrorGivesTheCatalogToAnotherHome) {
    const std::string mirror = program_.folder().path("mirror.kxcache");
    EXPECT_EQ(run({"catalog", "add", tree(), "--mirror", mirror}).code, 0);
    EXPECT_TRUE(std::filesystem::exists(mirror));
    program_.setHome(program_.folder().path("second home"));
    expectRefusal(run({"catalog", "add", mirror, "--words"}), {"--words goes with a folder"});
    EXPECT_EQ(run({"catalog", "add", mirror}).code, 0);
    EXPECT_EQ(find().code, 0);
    EXPECT_EQ(run({"catalog", "remove", "mirror"}).code, 0);
    EXPECT_TRUE(std::filesystem::exists(mirror)) << "a file that was taken in is its owner's";
}

TEST_F(CatalogCommand, OneServiceIsEnough) {
    const pid_t service = program_.startSilently({"service"});
    const std::string lock = program_.home() + "/data/service.lock";
    for (int tries = 0; tries < 1000 && !std::filesystem::exists(lock); ++tries)
        ::usleep(10'000);
    ::usleep(100'000);
    expectRefusal(run({"service"}), {"already"});
    ::kill(service, SIGTERM);
    int status = 0;
    ::waitpid(service, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

}  // namespace
}  // namespace kestrix
