// The judgement held against a real search, for every path of a prepared tree.
#include "search/why.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>

#include "base/text.h"
#include "language/commands/date_command_factory.h"
#include "language/commands/folder_commands.h"
#include "language/commands/simple_factories.h"
#include "language/commands/size_command.h"
#include "language/vocabulary.h"
#include "search/file_system_search.h"
#include "search/known_directories_search.h"
#include "tests/search/search_fixture.h"

namespace kestrix {
namespace {

namespace fs = std::filesystem;

// One a line.
constexpr std::string_view kLines =
    "report\nreport -draft\ncat OR dog\ncat OR : is folder\ncat OR dog : is folder\n"
    "report OR : not .txt\n: is folder\n: is file\nreport : not .txt\nreport : inside docs\n"
    "report : excluding folder docs\nreport : max depth 3\n: max depth 3 is file\n"
    "Report : case sensitive\nreport : whole words\nrep*\n*report\nkestrix\n"
    "report : in remembered docs\n: in remembered docs\ndocs : in remembered docs\n"
    ": case sensitive\ntmp\nreports OR : is folder\nreport : bigger than 1kb\n: bigger than 1kb\n"
    "report OR : bigger than 1kb\nreport : modified today\nreport : modified before 2020\n"
    "kxt : bigger than 1kb\n";

class WhyTest : public SearchTest {
  protected:
    WhyTest() {
        VariableLookups lookups;
        lookups.favouriteFolders = [this] {
            return std::map<std::string, std::string>{{"docs", tree.path("docs")}};
        };
        language = LanguageParse(makeVocabulary(
            shippedSentences(),
            {std::make_shared<ExtensionCommandFactory>(), std::make_shared<FileOrFolderCommandFactory>(),
             std::make_shared<InsideCommandFactory>(), std::make_shared<ExcludeFolderFactory>(),
             std::make_shared<MaxDepthFactory>(), std::make_shared<SizeCommandFactory>(),
             std::make_shared<DateCommandCreator>(Clock::system()), std::make_shared<CaseSensitiveFactory>(),
             std::make_shared<WholeWordsFactory>(),
             std::make_shared<KnownDirectoriesFactory>(lookups.favouriteFolders)},
            lookups));
        for (const char* name :
             {"report.txt", "Report draft.txt", "docs/report one.pdf", "docs/deep/er/report two.txt",
              "docs/.secret/report.txt", ".report", "App.app/report", "docs/report.app/inner report.txt",
              "node_modules/report.js", "a/node_modules/x/report.js", "cat.txt", "dog report.tmp",
              "cat dog.txt", "Backups.backupdb/report.txt", "mnt/report.txt", "net/report.txt",
              "reports/plain.txt", "reports/report in it.txt", "docs/cat"}) {
            tree.file(name);
        }
        tree.file("docs/big report.bin", std::string(5000, 'x'));
        fs::last_write_time(tree.path("report.txt"),
                            fs::file_time_type::clock::now() - std::chrono::years(2));
        fs::create_symlink(tree.path("docs"), tree.path("report link"));
        ::mkfifo(tree.path("report pipe").c_str(), 0600);
        mounts.table.push_back({tree.path("mnt"), "/", "ext4", "/dev/sdb1", 2});
        mounts.table.push_back({tree.path("net"), "/", "nfs", "server:/x", 3});
    }

    std::shared_ptr<const QueryContainer> ask(const std::string& line, bool soundex = false) {
        return std::make_shared<const QueryContainer>(line, SearchLocation(starts), soundex,
                                                      QueryEnvironment{preferences, language});
    }

    // What a search of the walk finds, with the merge.
    std::set<std::string> found(std::shared_ptr<const QueryContainer> what) {
        SearchTiming timing;
        timing.grace = Seconds(0);
        const auto receiverOfThis = std::make_shared<Receiver>(loop);
        manager = SearchManager::create(
            receiverOfThis, options,
            {loop,
             *clock,
             timing,
             {[] { return SearchDataSources{std::make_shared<KnownDirectoriesSearch>()}; },
              [&] {
                  return SearchDataSources{std::make_shared<FileSystemSearch>(WalkEnvironment{disks})};
              }}});
        manager->searchFor(std::move(what));
        finish();
        const auto paths = receiverOfThis->paths();
        return {paths.begin(), paths.end()};
    }

    Judgement judge(const std::string& relative, const std::string& line) {
        return explainJudgement(tree.path(relative), ask(line), {options.searchInsideSystemAndApps, disks});
    }
    // The deciding steps that failed, with their details.
    std::vector<std::string> obstacles(const std::string& relative, const std::string& line) {
        std::vector<std::string> told;
        for (const JudgementStep& step : judge(relative, line).steps) {
            if (step.decides && !step.passed)
                told.push_back(step.tested + (step.detail.empty() ? "" : ": " + step.detail));
        }
        return told;
    }

    void expectAgreement(const std::string& line, bool soundex = false) {
        const auto query = ask(line, soundex);
        EXPECT_TRUE(query->invalidCommandAreaWords().empty()) << line << " is not read as it is meant";
        const auto results = found(query);
        std::vector<std::string> all = {"/", tree.path(), tree.path("not there"),
                                        std::string(fs::path(tree.path()).parent_path())};
        for (const auto& entry : fs::recursive_directory_iterator(tree.path()))
            all.push_back(entry.path().string());
        for (const std::string& path : all) {
            const Judgement judgement =
                explainJudgement(path, query, {options.searchInsideSystemAndApps, disks});
            std::string steps;
            for (const JudgementStep& step : judgement.steps)
                steps += "\n  " + step.tested + (step.passed ? " yes " : " no ") + step.detail;
            EXPECT_EQ(judgement.isFound(), results.contains(path)) << line << " | " << path << steps;
        }
        for (const std::string& path : results)
            EXPECT_NE(std::find(all.begin(), all.end(), path), all.end()) << path;
    }

    void expectAgreementOnAllLines() {
        for (const std::string_view line : text::splitAt(kLines, '\n'))
            expectAgreement(std::string(line));
    }

    TemporaryFolder tree;
    FakeMounts mounts;
    DiskInfoManager disks{mounts, loop};
    std::vector<std::string> starts = {tree.path()};
};

TEST_F(WhyTest, TheVerdictIsThatOfASearch) {
    expectAgreementOnAllLines();
    expectAgreement("ripport", true);
    options.searchInsideSystemAndApps = true;
    expectAgreementOnAllLines();
}

TEST_F(WhyTest, TheVerdictIsThatOfASearchWithIgnoreLists) {
    preferences.set("ignoreFolders", nlohmann::json{"node_modules", "docs/deep"});
    preferences.set("ignoreExtensions", nlohmann::json{"tmp", "app"});
    expectAgreementOnAllLines();
}

TEST_F(WhyTest, TheVerdictIsThatOfASearchFromPlacesThatAWalkWouldShutOutAndWithinOneAnother) {
    starts = {tree.path("docs/.secret"), tree.path("App.app"), tree.path("net"), tree.path("reports")};
    expectAgreementOnAllLines();
    starts = {tree.path(), tree.path("mnt"), tree.path("docs/.secret"), tree.path("docs")};
    expectAgreementOnAllLines();
}

using Texts = std::vector<std::string>;

TEST_F(WhyTest, EachObstacleIsNamedWithWhatStoodInTheWay) {
    EXPECT_EQ(obstacles("report.txt", "report cat"), Texts{"the name holds the words: missing: \"cat\""});
    EXPECT_EQ(obstacles("cat dog.txt", "cat report OR bird"),
              Texts{"the name holds the words: missing: \"report\", or \"bird\""});
    EXPECT_EQ(obstacles("docs/.secret/report.txt", "report"),
              (Texts{"no hidden folder on the way: " + tree.path("docs/.secret"),
                     "neither hidden nor inside a package"}));
    EXPECT_EQ(obstacles("App.app/report", "report"), (Texts{"no package on the way: " + tree.path("App.app"),
                                                            "neither hidden nor inside a package"}));
    EXPECT_EQ(obstacles("net/report.txt", "report"),
              Texts{"no disk on the way that is left out or searched on its own: " + tree.path("net")});
    EXPECT_EQ(obstacles("docs/deep/er/report two.txt", "report : is folder"), Texts{"\"is folder\""});
    EXPECT_EQ(obstacles("report pipe", "report"),
              Texts{"it is there, a file or a folder: a link, a socket or a device: no search lists those"});
    EXPECT_EQ(obstacles("gone", "report"),
              Texts{"it is there, a file or a folder: there is nothing of that name"});
    EXPECT_EQ(obstacles("report link/report one.pdf", "report"),
              Texts{"every folder on the way can be read: " + tree.path("report link") +
                    ": a link, which no search follows"});
}

TEST_F(WhyTest, TheIgnoreListSaysWhichOfItsLinesItWas) {
    preferences.set("ignoreFolders", nlohmann::json{"elsewhere", "node_modules"});
    preferences.set("ignoreExtensions", nlohmann::json{"js"});
    EXPECT_EQ(obstacles("a/node_modules/x/report.js", "report"),
              (Texts{"in no ignored folder: node_modules", "no ignored extension: .js"}));
}

TEST_F(WhyTest, WhereWordsOrCommandsSufficeNeitherDecidesAlone) {
    EXPECT_TRUE(judge("docs", "cat OR : is folder").isFound());
    EXPECT_TRUE(judge("cat.txt", "cat OR : is folder").isFound());
    EXPECT_EQ(obstacles("report.txt", "cat OR : is folder"), Texts{"the words or all of the commands"});
}

TEST_F(WhyTest, ALineThatSearchesNothingSaysSo) {
    EXPECT_EQ(obstacles("cat.txt", " "),
              Texts{"the line looks for something: it holds neither words nor commands"});
    EXPECT_EQ(obstacles("cat.txt", ": case sensitive"),
              Texts{"the disks are searched: the line only narrows a search down; add a word"});
}

}  // namespace
}  // namespace kestrix
