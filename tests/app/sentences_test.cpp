// The command area, end to end: on a prepared tree every line finds exactly the right files.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/app/program.h"

namespace kestrix {
namespace {

using Names = std::vector<std::string>;

class Sentences : public testing::Test {
  protected:
    // Paths below the tree, sorted.
    Names find(const std::string& line) {
        const Outcome outcome = program_.run({"find", "--in", tree(), line});
        errors_ = outcome.errors;
        Names names;
        for (std::size_t at = 0; at < outcome.output.size();) {
            const std::size_t end = outcome.output.find('\n', at);
            names.push_back(outcome.output.substr(at + tree().size() + 1, end - at - tree().size() - 1));
            at = end + 1;
        }
        std::sort(names.begin(), names.end());
        EXPECT_EQ(outcome.code, names.empty() ? 1 : 0) << line;
        return names;
    }
    std::string tree() const { return program_.folder().folder("tree"); }
    // Of that size, changed in July of that year; 0: now.
    std::string file(const std::string& name, off_t size = 0, int year = 0) {
        const std::string path = program_.folder().file("tree/" + name, "");
        EXPECT_EQ(::truncate(path.c_str(), size), 0);
        if (year == 0) return path;
        std::tm date{};
        date.tm_year = year - 1900;
        date.tm_mon = 6;
        date.tm_mday = 9;
        const timespec moment{std::mktime(&date), 0};
        const timespec times[] = {moment, moment};
        EXPECT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
        return path;
    }
    std::string output(const std::vector<std::string>& arguments) {
        const Outcome outcome = program_.run(arguments);
        errors_ = outcome.errors;
        return outcome.output;
    }

    static bool isInstalled(const std::string& shell) {
        return std::system(("command -v " + shell + " >/dev/null").c_str()) == 0;
    }
    // What a script prints in that shell, in the tree, behind the completions of the program.
    std::string printedIn(const std::string& shell, const std::string& script) {
        const std::string binary = KESTRIX_BINARY;
        const std::string folders = binary.substr(0, binary.rfind('/')) + ":" + std::getenv("PATH");
        const std::string completions = shell == "zsh" ? "compdef() { : }\n" + output({"completions", shell})
                                                       : output({"completions", shell});
        const std::string all = program_.folder().file("try." + shell, completions + script);
        const std::string reply = program_.folder().path("reply");
        const std::string command = "cd '" + tree() + "' && KESTRIX_HOME='" + program_.home() + "' PATH='" +
                                    folders + "' " + shell + " '" + all + "' > '" + reply + "'";
        EXPECT_EQ(std::system(command.c_str()), 0) << shell;
        std::ifstream printed(reply);
        return std::string(std::istreambuf_iterator<char>(printed), {});
    }

    Program program_;
    std::string errors_;
};

TEST_F(Sentences, SizesTypesAndTagsFindExactlyTheirFiles) {
    file("big.bin", 10'000'001);
    file("even.bin", 10'000'000);
    file("film.m4v", 12'000'000);
    file("short.m4v", 12);
    const std::string red = file("one.jpg");
    file("two.jpg");
    const std::string other = file("sub/three.txt");
    program_.run({"tag", "set", red, "Red", "holiday"});
    program_.run({"tag", "set", other, "red"});
    EXPECT_EQ(find(": bigger than 10mb"), (Names{"big.bin", "film.m4v"}));
    EXPECT_EQ(find(".m4v : bigger than 10mb"), Names{"film.m4v"});
    EXPECT_EQ(find(": is folder"), Names{"sub"});
    EXPECT_EQ(find(".jpg : tag red"), Names{"one.jpg"});
    EXPECT_EQ(find(": tag red"), (Names{"one.jpg", "sub/three.txt"}));
    EXPECT_EQ(find(": is image"), (Names{"one.jpg", "two.jpg"}));
    EXPECT_EQ(find(": .jpg bigger than 1 kb"), Names());
}

TEST_F(Sentences, PlacesAndDatesFindExactlyTheirFiles) {
    file("animals/cat.jpg");
    file("animals/cat.txt");
    file("other/cat.jpg");
    file("recipies/chili.txt", 10, 2015);
    file("chili.txt", 10, 2016);
    file("reports 2015.txt", 10, 2015);
    file("reports.txt", 10, 2016);
    file("reports of 2016.txt");
    file("song.mp3", 10);
    file("old song.mp3", 10, 2016);
    EXPECT_EQ(find("cat : is image inside animals"), Names{"animals/cat.jpg"});
    EXPECT_EQ(find("chili : inside recipies"), Names{"recipies/chili.txt"});
    EXPECT_EQ(find("reports : modified in 2016"), Names{"reports.txt"});
    EXPECT_EQ(find(": modified in 2016 is audio"), Names{"old song.mp3"});
    EXPECT_EQ(find(": today is audio"), Names{"song.mp3"});
    EXPECT_EQ(find("cat : excluding folder animals"), Names{"other/cat.jpg"});
    program_.run({"favourites", "add", tree() + "/animals"});
    EXPECT_EQ(find(": remembered animals"), (Names{"animals/cat.jpg", "animals/cat.txt"}));
    EXPECT_EQ(find("cat : remembered animals is image"), Names{"animals/cat.jpg"});
    EXPECT_EQ(find("chili : remembered animals"), Names());
    EXPECT_EQ(find("chili OR : is image"),
              (Names{"animals/cat.jpg", "chili.txt", "other/cat.jpg", "recipies/chili.txt"}));
    EXPECT_EQ(find("chili OR cat : is image"), (Names{"animals/cat.jpg", "other/cat.jpg"}))
        << "an OR in front joins words only";
    EXPECT_EQ(errors_, "");
}

TEST_F(Sentences, WhatIsNotUnderstoodIsToldWithTheNearestSentence) {
    file("hit.txt", 5);
    EXPECT_EQ(find("hit : biger than 10mb"), Names{"hit.txt"});
    EXPECT_EQ(
        errors_,
        "kestrix: not understood as a command: \"biger than 10mb\"; did you mean \"bigger than 10mb\"?\n");
    EXPECT_EQ(find(": bluh"), Names());
    EXPECT_EQ(errors_,
              "kestrix: not understood as a command: \"bluh\"; kestrix explain shows how the line is read\n");
    EXPECT_EQ(find("hit : bigger than 99999999 yb"), Names{"hit.txt"}) << "no number holds that";
    EXPECT_EQ(errors_,
              "kestrix: without meaning as a command: \"bigger than 99999999 yb\"; kestrix explain shows how "
              "the line is read\n");
}

TEST_F(Sentences, APatternThatTakesTooLongIsNamedOnce) {
    file(std::string(200, 'a'));
    file(std::string(201, 'a'));
    file("ab");
    EXPECT_EQ(find(": regex \"^(a+)+b$\""), Names{"ab"});
    EXPECT_EQ(errors_,
              "kestrix: the pattern \"^(a+)+b$\" takes too long on some names; these count as not matched\n");
}

TEST_F(Sentences, ExplainAndTheDescriptionTellTheLanguage) {
    program_.setVariable("TZ", "Europe/Berlin");
    const std::string line = "report -draft : bigger than 1.5mb modified in 2016 biger";
    EXPECT_EQ(output({"explain", line}),
              "Line: \"" + line +
                  "\"\n"
                  "The name holds all of: \"report\"\n"
                  "Command: \"bigger than 1.5mb\", read as \"larger than 1.5 mb\"\n"
                  "    more than 1,500,000 bytes (1.5 MB)\n"
                  "Command: \"modified in 2016\", read as \"modified 2016-01-01 2017-01-01\"\n"
                  "    modified from 2016-01-01 00:00:00 on, and before 2017-01-01 00:00:00\n"
                  "The name holds none of: \"draft\"\n"
                  "Not known as a command: \"biger\"; did you mean \"bigger than SIZE\"?\n");
    const auto json = nlohmann::json::parse(output({"explain", "--json", line}));
    const auto range = nlohmann::json::array({1451602800, 1483225200});
    EXPECT_EQ(json["arguments"]["modificationDate"], range);
    EXPECT_EQ(json["commands"][1]["range"], range);
    EXPECT_EQ(json["arguments"]["fileSize"], nlohmann::json::array({1500000, 9223372036854775807}));
    EXPECT_EQ(json["unused"][0]["text"], "biger");
    const std::string coloured = program_.runOnTerminal({"explain", "x : is folder bluh"}).output;
    EXPECT_NE(coloured.find("\x1b[1;32mis\x1b[0m"), std::string::npos) << coloured;
    EXPECT_NE(coloured.find("\x1b[1;31mbluh\x1b[0m\""), std::string::npos) << coloured;
    program_.setVariable("NO_COLOR", "1");
    EXPECT_EQ(program_.runOnTerminal({"explain", line}).output.find('\x1b'), std::string::npos);

    EXPECT_EQ(output({"explain", "x : by sarah"}),
              "Line: \"x : by sarah\"\nThe name holds all of: \"x\"\nNot there yet in this version: "
              "\"by sarah\"\n");

    std::ifstream file(KESTRIX_DOCS "/query-language.md", std::ios::binary);
    const std::string shipped(std::istreambuf_iterator<char>(file), {});
    EXPECT_EQ(output({"help", "--language"}), shipped)
        << "write it anew: kestrix help --language > docs/query-language.md";
}

TEST_F(Sentences, AFileOfSentencesTakesThePlaceOfTheShippedOnes) {
    file("hit.txt", 20'000'000);
    const std::string sentences =
        program_.folder().file("own", "// mine\nat least \"~file size\" filesBiggerThan\n");
    program_.setVariable("KESTRIX_SENTENCES", sentences);
    EXPECT_EQ(find(": at least 10mb"), Names{"hit.txt"});
    program_.folder().file("own", "// mine\n\nis ~nonsense isFile\n");
    for (const char* line : {": is file", "hit"}) {
        const Outcome outcome = program_.run({"find", line});
        EXPECT_EQ(outcome.code, 2);
        EXPECT_EQ(outcome.errors, "kestrix: " + sentences + ", line 3: \"~nonsense\" is no variable\n");
    }
    EXPECT_EQ(program_.run({"settings", "list"}).code, 0);
    EXPECT_EQ(program_.run({"--version"}).code, 0);
}

TEST_F(Sentences, CompleteOffersWhatFollows) {
    EXPECT_EQ(output({"complete", "report : bigger "}), "than\n");
    EXPECT_EQ(output({"complete", "report : mod"}), "modified\n");
    EXPECT_EQ(nlohmann::json::parse(output({"complete", "--json", "report : mod"})),
              nlohmann::json::parse(R"([{"word": "modified", "line": "report : modified"}])"));
    EXPECT_EQ(program_.run({"complete", "report"}).code, 1);
    const std::string tagged = file("tagged.txt");
    program_.run({"tag", "add", tagged, "to print"});
    EXPECT_EQ(output({"complete", ": tag t"}), "\"to print\"\n");
}

TEST_F(Sentences, BashAsksForTheWordsOfALine) {
    const auto replies = [&](const std::string& words, int place) {
        return printedIn("bash", "COMP_WORDS=(kestrix " + words + ")\nCOMP_CWORD=" + std::to_string(place) +
                                     "\n_kestrix\nprintf '%s\\n' \"${COMPREPLY[@]}\"\n");
    };
    file("annual report.txt");
    EXPECT_EQ(replies("find report : mod", 4), "modified\n");
    EXPECT_EQ(replies("explain --in /tmp : bigger ''", 6), "than\n");
    EXPECT_EQ(replies("export --sort = name : bigger th", 7), "than\n");
    EXPECT_EQ(replies("find \"'report : bigger th\"", 2), "report : bigger than\n");
    EXPECT_EQ(replies("find --so", 2), "--soundex\n--source\n--sort\n");
    EXPECT_EQ(replies("export --format ''", 3), "csv\ntext\n");
    EXPECT_EQ(replies("delete ann", 2), "annual report.txt\n");
}

TEST_F(Sentences, ZshAsksForTheWordsOfALine) {
    if (!isInstalled("zsh")) GTEST_SKIP() << "there is no zsh here";
    const auto replies = [&](const std::string& words, const std::string& half) {
        return printedIn("zsh", "compadd() { print -rl -- \"${@[3,-1]}\" }\nwords=(find " + words + " '" +
                                    half + "')\nCURRENT=$#words\nPREFIX='" + half + "'\n_kestrix_line\n");
    };
    EXPECT_EQ(replies("report :", "mod"), "modified\n");
    EXPECT_EQ(replies(": bigger --sort name --reverse", "th"), "than\n");
    EXPECT_EQ(replies("", "report : bigger th"), "report : bigger than\n");
}

TEST_F(Sentences, FishAsksForTheWordsOfALine) {
    if (!isInstalled("fish")) GTEST_SKIP() << "there is no fish here";
    const auto replies = [&](const std::string& line) {
        return printedIn("fish", "complete -C \"kestrix " + line + "\"\n");
    };
    file("annual report.txt");
    EXPECT_EQ(replies("find report : mod"), "modified\n");
    EXPECT_EQ(replies("explain : bigger --sort name --reverse th"), "than\n");
    EXPECT_EQ(replies("find 'report : bigger th"), "report : bigger than\n");
    EXPECT_EQ(replies("delete ann"), "annual report.txt\n");
    EXPECT_EQ(replies("help expo"), "export\twrite what a line finds to a file\n");
    EXPECT_EQ(replies("service "), "");
}

TEST_F(Sentences, TagsAreSetListedAddedAndRemoved) {
    const std::string path = file("picture.jpg");
    EXPECT_EQ(program_.run({"tag", "list", path}).code, 1);
    EXPECT_EQ(program_.run({"tag", "set", path, "red", "to print", "red"}).code, 0);
    EXPECT_EQ(output({"tag", "list", path}), "red\nto print\n");
    program_.run({"tag", "add", path, "\xF0\x9F\x8C\xB6 \"hot\"", "red"});
    program_.run({"tag", "remove", path, "to print"});
    EXPECT_EQ(nlohmann::json::parse(output({"tag", "list", "--json", path})),
              nlohmann::json::array({"red", "\xF0\x9F\x8C\xB6 \"hot\""}));
    EXPECT_EQ(program_.run({"tag", "remove", path, "absent"}).code, 1);
    const Outcome comma = program_.run({"tag", "add", path, "a,b"});
    EXPECT_EQ(comma.code, 2);
    EXPECT_EQ(comma.errors.rfind("kestrix: ", 0), 0u);
    EXPECT_EQ(program_.run({"tag", "list", path + "x"}).code, 2);
    const std::string elsewhere = program_.folder().file("elsewhere/folder/picture.jpg");
    std::filesystem::create_symlink(program_.folder().path("elsewhere/folder"), tree() + "/link");
    program_.run({"tag", "set", tree() + "/link/../folder/picture.jpg", "red"});
    EXPECT_EQ(output({"tag", "list", elsewhere}), "red\n") << "beside the target of the link";
    EXPECT_EQ(program_.run({"tag", "set", path}).code, 0);
    EXPECT_EQ(program_.run({"tag", "list", path}).code, 1);
}

TEST_F(Sentences, WhyTellsWhatDroppedAPath) {
    const std::string path = file("report.txt", 5);
    const auto why = [&](const std::string& line) {
        return program_.run({"why", "--in", tree(), path, line});
    };
    EXPECT_EQ(why("report : smaller than 1kb").code, 0);
    const Outcome dropped = why("report : bigger than 1kb");
    EXPECT_EQ(dropped.code, 1);
    EXPECT_NE(dropped.output.find("larger than 1 kb"), std::string::npos) << dropped.output;
    EXPECT_EQ(find("report : smaller than 1kb"), Names{"report.txt"});
}

TEST_F(Sentences, AScriptIsRunByItsName) {
    const std::string made = program_.folder().path("made");
    std::string folder = output({"script", "folder"});
    folder.pop_back();
    std::ofstream(folder + "/note it.shell") << "#!/bin/sh\nprintf '%s|' \"$@\" > '" << made << "'\n";
    std::filesystem::permissions(folder + "/note it.shell", std::filesystem::perms::owner_all);
    EXPECT_EQ(program_.run({"find", ": run note it using Two \"more words\""}).code, 0);
    std::ifstream file(made);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "Two|more words|");
    std::ofstream(folder + "/broken.shell") << "#!/bin/sh\nexit 3\n";
    std::filesystem::permissions(folder + "/broken.shell", std::filesystem::perms::owner_all);
    const Outcome broken = program_.run({"find", ": run broken"});
    EXPECT_EQ(broken.code, 2);
    EXPECT_EQ(broken.errors.rfind("kestrix: ", 0), 0u) << broken.errors;
    EXPECT_EQ(output({"complete", ": run no"}), "\"note it\"\n");
    EXPECT_EQ(program_.run({"script", "run", "absent"}).code, 2);
    program_.folder().file("elsewhere/beside");
    std::filesystem::create_symlink(program_.folder().folder("elsewhere/folder"), tree() + "/link");
    EXPECT_EQ(program_.run({"script", "run", "note it", tree() + "/link/../beside"}).code, 0);
}

}  // namespace
}  // namespace kestrix
