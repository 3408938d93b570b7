#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "actions/script_command.h"
#include "base/path.h"
#include "language/query_container.h"
#include "language/vocabulary.h"
#include "shell/logger.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

using Texts = std::vector<std::string>;

// A scripts folder whose scripts write what they were given into a file beside it.
class ScriptTest : public ::testing::Test {
  protected:
    ~ScriptTest() override {
        Logger::shouldLog = false;
        Logger::shared = nullptr;
    }

    std::string script(const std::string& name,
                       const std::string& text = "#!/bin/sh\nprintf '%s|' \"$@\"\n") {
        const std::string path = folder_.file("scripts/" + name, text);
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path;
    }
    std::string outputOf(const std::string& path, const Texts& files = {}, const Texts& args = {}) {
        const auto outcome = scripter_.run(path, files, args);
        return outcome ? outcome->output : "not run";
    }
    Error failureOf(const std::string& path) {
        try {
            scripter_.run(path, {}, {});
        } catch (const Error& failure) {
            return failure;
        }
        return Error("none", 0, "none");
    }
    Texts alertsOf(const std::function<void()>& action) {
        alerts_.clear();
        action();
        scripter_.waitUntilAllHaveEnded();
        loop_.runPending();
        return alerts_;
    }

    TemporaryFolder folder_;
    RunLoop loop_;
    GMTrace trace_;
    Texts alerts_;
    GuruMeditation failures_{
        loop_, trace_,
        [this](const Error& error, const std::function<std::string()>&) { alerts_.push_back(error.what()); },
        "1"};
    Scripter scripter_{folder_.path("scripts"), &failures_};
};

TEST_F(ScriptTest, TheFilesComeFirstThenTheArgumentsAndTheLogHoldsWhatTheScriptWrote) {
    Logger logger(folder_.path("cache"), loop_);
    Logger::shared = &logger;
    Logger::shouldLog = true;
    EXPECT_EQ(outputOf(script("a.shell"), {"/x/one two", "/x/$(id)", "\xff"}, {"and", "more"}),
              "/x/one two|/x/$(id)|\xff|and|more|");
    const std::string log = logger.logContents().value_or("");
    EXPECT_NE(log.find("a:/x/one two|/x/$(id)|\uFFFD|and|more|"), std::string::npos) << log;
    Logger::shouldLog = false;
    Logger::shared = nullptr;
}

TEST_F(ScriptTest, OnlyKnownExtensionsAreScriptsAndAMissingOneDoesNothing) {
    EXPECT_EQ(outputOf(script("a.sh")), "not run");
    EXPECT_EQ(outputOf(script("a.swift")), "|");
    EXPECT_EQ(outputOf(script("bare.shell", "printf '%s|' \"$@\"\n"), {"/x"}), "/x|");
    EXPECT_EQ(outputOf(folder_.path("scripts/none.shell")), "not run");
    EXPECT_EQ(outputOf(folder_.path("scripts/none.scpt")), "not run");
    EXPECT_EQ(alertsOf([&] { scripter_.runScript(folder_.path("none.shell"), {}, {}); }), Texts{});
}

TEST_F(ScriptTest, WhatCannotBeRunHereIsRefusedWithOneLine) {
    for (const char* name : {"a.scpt", "b.app"}) {
        const Error failure = failureOf(script(name));
        EXPECT_EQ(failure.code(), 13);
        EXPECT_NE(std::string(failure.what()).find(name), std::string::npos);
        EXPECT_EQ(std::string(failure.what()).find('\n'), std::string::npos);
    }
    const std::string plain = folder_.file("scripts/plain.shell", "#!/bin/sh\n");
    EXPECT_EQ(std::string(failureOf(plain).what()),
              "Add executable permissions to the script.\nchmod +x '" + plain + "'");
    EXPECT_EQ(failureOf(plain).code(), 13);
    EXPECT_EQ(failureOf(script("c.swift", "print(1)\n")).code(), 13) << "only /bin/sh may read a bare text";
    EXPECT_EQ(alertsOf([&] { scripter_.runShortcut("Tidy"); }).size(), 1u);
}

TEST_F(ScriptTest, AFailingScriptIsToldWithItsStatusAndFirstComplaint) {
    const std::string path = script("bad.shell", "#!/bin/sh\necho 'no disk' >&2; echo more >&2; exit 3\n");
    EXPECT_EQ(scripter_.run(path, {}, {})->exitStatus, 3);
    int code = 0;
    const auto alerts = alertsOf(
        [&] { scripter_.runScript(path, {}, {}, [&](const Error* failure) { code = failure->code(); }); });
    EXPECT_EQ(alerts, Texts{"the script \"bad\" ended with status 3: no disk"});
    EXPECT_EQ(code, 3);
    EXPECT_EQ(scripter_.failuresSoFar(), 1u);
}

TEST_F(ScriptTest, TheListLeavesOutHiddenFilesAndTheHelper) {
    EXPECT_EQ(scripter_.contentsOfScriptsFolder(), Texts{});
    for (const char* name : {"b.shell", "b.swift", "a.scpt", "notes.txt", ".hidden.shell",
                             "Add Open Folders in Finder to Kestrix.scpt"}) {
        script(name);
    }
    std::filesystem::create_symlink(folder_.file("elsewhere/c.shell"), folder_.path("scripts/c.shell"));
    std::filesystem::create_symlink(folder_.path("gone"), folder_.path("scripts/d.shell"));
    Texts names, calledBy;
    for (const std::string& path : scripter_.contentsOfScriptsFolder())
        names.emplace_back(path::lastComponent(path));
    for (const auto& [name, path] : scripter_.scripts())
        calledBy.push_back(name);
    EXPECT_EQ(names, (Texts{"a.scpt", "b.shell", "b.swift", "c.shell", "notes.txt"}));
    EXPECT_EQ(calledBy, (Texts{"a", "b", "b.swift", "c"}));
}

TEST_F(ScriptTest, OthersMayOnlyStartWhatIsMarkedForThem) {
    const std::string touch = "#!/bin/sh\necho $# > \"$0.ran\"\n";
    for (const char* name : {"backup.remote.sh", "backup.remote.shell", "backup.shell"})
        script(name, touch);
    folder_.file("outside.remote.shell", touch);
    EXPECT_FALSE(scripter_.performRemoteScript("backup.shell"));
    EXPECT_FALSE(scripter_.performRemoteScript("backup.remote.sh"));
    EXPECT_FALSE(scripter_.performRemoteScript("../outside.remote.shell"));
    EXPECT_FALSE(scripter_.performRemoteScript("none.remote.shell"));
    EXPECT_TRUE(scripter_.performRemoteScript("backup.remote.shell"));
    scripter_.waitUntilAllHaveEnded();
    EXPECT_TRUE(std::filesystem::exists(folder_.path("scripts/backup.remote.shell.ran")));
    EXPECT_FALSE(std::filesystem::exists(folder_.path("scripts/backup.shell.ran")));
}

TEST_F(ScriptTest, AStopEndsWhatRunsDropsTheRestAndIsNoFailure) {
    const std::string path = script("long.shell", "#!/bin/sh\nexec sleep 600\n");
    std::atomic<int> ended = 0;
    const auto alerts = alertsOf([&] {
        for (int i = 0; i < 5; ++i)
            scripter_.runScript(path, {}, {}, [&](const Error* failure) { ended += failure ? 100 : 1; });
        scripter_.stop();
    });
    EXPECT_EQ(alerts, Texts{});
    EXPECT_LE(ended, 2);
    EXPECT_EQ(outputOf(script("after.shell")), "|") << "a stop does not outlast itself";
}

class ScriptCommandTest : public ScriptTest {
  protected:
    QueryContainer query(const std::string& line) {
        VariableLookups lookups;
        lookups.scripts = [this] { return scripter_.scripts(); };
        language_ = std::make_unique<LanguageParse>(
            makeVocabulary(shippedSentences(), {std::make_shared<ScriptCommandFactory>(scripter_)}, lookups));
        return QueryContainer(line, std::nullopt, false, {preferences_, *language_});
    }

    SettingsStore store_{folder_.path("settings.json")};
    Preferences preferences_{store_};
    std::unique_ptr<LanguageParse> language_;
};

TEST_F(ScriptCommandTest, ASentenceNamesItsScriptAndKeepsTheFurtherWords) {
    const std::string path = script("tidy up.shell");
    const auto read = query(": run tidy up using Big \"two words\" *.txt");
    const auto command = read.commandOfType<ScriptCommand>();
    ASSERT_NE(command, nullptr);
    EXPECT_EQ(command->type(), TargetType(AppleScriptTarget{path}));
    EXPECT_FALSE(read.isWordBasedSearch());
    EXPECT_TRUE(read.invalidCommandAreaWords().empty());
    const auto fields = command->explainedFields();
    EXPECT_EQ(fields["type"]["appleScript"], path);
    EXPECT_EQ(fields["varArg"].size(), 3u);
    EXPECT_EQ(query(": run nothing").commandOfType<ScriptCommand>(), nullptr);
}

TEST_F(ScriptCommandTest, ItsTextParsesToTheSameCommand) {
    script("tidy up.shell");
    script("a\"b*.shell");
    for (const char* line :
         {": run tidy up", ": run \"a\\\"b*\" using x", ": run tidy up using a* *b \"c d\" \"*\""}) {
        const auto first = query(line).commandOfType<ScriptCommand>();
        ASSERT_NE(first, nullptr) << line;
        const auto again = query(": " + first->commandToString()).commandOfType<ScriptCommand>();
        ASSERT_NE(again, nullptr) << first->commandToString();
        EXPECT_EQ(again->commandToString(), first->commandToString());
        EXPECT_EQ(again->type(), first->type());
        ASSERT_EQ(again->varArg().size(), first->varArg().size());
        for (std::size_t i = 0; i < first->varArg().size(); ++i) {
            EXPECT_EQ(again->varArg()[i].textOriginalCase, first->varArg()[i].textOriginalCase);
            EXPECT_EQ(again->varArg()[i].wildcard, first->varArg()[i].wildcard);
        }
    }
}

}  // namespace
}  // namespace kestrix
