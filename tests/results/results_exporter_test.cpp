#include "results/results_exporter.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <time.h>

#include <csignal>
#include <cstdlib>
#include <regex>
#include <sstream>

#include "tests/platform/child_process.h"
#include "tests/results/results_fixture.h"

namespace kestrix {
namespace {

using Format = ResultsExporter::Format;

class Exporter : public testing::Test {
  protected:
    Exporter() {
        ::setenv("TZ", "UTC", 1);
        ::setenv("LC_ALL", "en_GB.UTF-8", 1);
        ::tzset();
    }

    // What the file holds afterwards; the words of the error if there was one.
    std::string exported(Format format, const UINodes& nodes, const std::string& to) {
        RunLoop loop;
        std::optional<Error> failure;
        ResultsExporter exporter(loop);
        exporter.exportResults(format, nodes, to, [&](const std::optional<Error>& error) {
            failure = error;
            loop.quit();
        });
        loop.run();
        if (failure) return failure->what();
        return readWholeFile(to).value();
    }

    const NodeWorld world;
    const TemporaryFolder folder;
};

const std::string kCsvHeader = "name, path, size, mod date, creation date, kind, parent name\n";

TEST_F(Exporter, OnlyCsvQuotesCommasAndNothingElseIsAltered) {
    const UINodes nodes = {world.node(recordAt("/a, b/x, \"y\".pdf", 5, 1'456'753'500)),
                           world.node(recordAt("/a/t\tb\xff", 0, 0, true))};
    EXPECT_EQ(exported(Format::csv, nodes, folder.path("list.csv")),
              kCsvHeader +
                  "\"x, \"y\".pdf\", \"/a, b/x, \"y\".pdf\", 5, 29/02/2016  13:45, , PDF document, \"a, b\"\n"
                  "t\tb\uFFFD, /a/t\tb\uFFFD, 0, , , Folder, a\n");
    EXPECT_EQ(exported(Format::text, nodes, folder.path("list.txt")),
              "name\tpath\tsize\tmod date\tcreation date\tkind\tparent name\n"
              "x, \"y\".pdf\t/a, b/x, \"y\".pdf\t5\t29/02/2016  13:45\t\tPDF document\ta, b\n"
              "t\tb\uFFFD\t/a/t\tb\uFFFD\t0\t\t\tFolder\ta\n");
    EXPECT_EQ(exported(Format::csv, {}, folder.path("list.csv")), kCsvHeader);
}

TEST_F(Exporter, NamesWithCommasReadBack) {
    const UINodes nodes = world.nodes({"/in, out/a, 1", "/in, out/a, 2, b.txt", "/plain/c"});
    std::istringstream lines(exported(Format::csv, nodes, folder.path("list.csv")));
    std::string line;
    std::getline(lines, line);
    for (const UINodePtr& node : nodes) {
        std::getline(lines, line);
        std::vector<std::string> values;
        // Fields of a reader of this form: quoted, or without a comma.
        const std::regex field("\"([^\"]*)\"|([^,]*)");
        for (std::size_t at = 0; at <= line.size(); at += 2) {
            std::smatch match;
            const std::string rest = line.substr(at);
            std::regex_search(rest, match, field, std::regex_constants::match_continuous);
            values.push_back(match[1].matched ? match[1] : match[2]);
            at += static_cast<std::size_t>(match.length());
        }
        EXPECT_EQ(values, (std::vector<std::string>{node->displayName(), node->path(), "0", "", "",
                                                    node->displayKind(), node->displayInside()}));
    }
}

TEST_F(Exporter, ADiskThatFillsUpLeavesTheOldFileAndNothingBesideIt) {
    const std::string path = folder.file("lists/list.csv", "old");
    UINodes nodes(5000, world.node(recordAt("/" + std::string(200, 'x'))));
    EXPECT_TRUE(holdsInChild([&] {
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{500'000, 500'000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        return exported(Format::csv, nodes, path) == "cannot write " + path + ": File too large";
    }));
    EXPECT_EQ(readWholeFile(path), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path("lists")), {}), 1);
    EXPECT_EQ(exported(Format::csv, nodes, "/proc/list.csv"),
              "cannot write into /proc: No such file or directory");
}

TEST_F(Exporter, TheNameFollowsTheFormat) {
    RunLoop loop;
    ResultsExporter exporter(loop);
    EXPECT_EQ(exporter.updateFileNameExtension("Results.csv"), "Results.txt");
    exporter.setCurrentFormat(Format::csv);
    EXPECT_EQ(exporter.updateFileNameExtension("Results.txt"), "Results.csv");
    EXPECT_EQ(exporter.updateFileNameExtension("of 1.5.2016"), "of 1.5.2016.csv");
}

}  // namespace
}  // namespace kestrix
