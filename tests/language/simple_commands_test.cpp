#include "language/commands/simple_commands.h"

#include <sys/xattr.h>

#include <thread>

#include "base/error.h"
#include "language/commands/word_commands.h"
#include "language/label_tag_manager.h"
#include "platform/tags.h"
#include "tests/language/command_sentences.h"

namespace kestrix {
namespace {

class SimpleCommandsTest : public CommandWorld {
  protected:
    bool passes(std::string_view line, std::string path) {
        SearchResult result;
        result.path = std::move(path);
        return query(line).searchResultPassesFiltering(result, nullptr);
    }
};

TEST_F(SimpleCommandsTest, EveryTextParsesAgainToTheSameCommand) {
    favourites = {{"docs", "/home/x/My Docs"}, {"odd:name", "/y"}};
    for (const auto* line : {":.M4V",
                             ":not .txt",
                             ":..hidden",
                             ":...more",
                             ":\".a b\"",
                             ":not \".c:d\"",
                             ":is image",
                             ":is \"two words\"",
                             ":is file",
                             ":is folder",
                             ":tag Red",
                             ":without tag \"to do\"",
                             ":tag \"\\\"q\\\"\"",
                             ":case sensitive",
                             ":whole words",
                             ":show all files",
                             ":max depth 3",
                             ":max depth -1",
                             ":max name length 20",
                             ":min name length 0",
                             ":max path length 255",
                             ":min path length 9",
                             ":inside Animals",
                             ":inside \"My Cats\"",
                             ":inside \"animals\"",
                             ":inside a\\\"b",
                             ":inside \"c\\",
                             ":excluding folder \"x y\"",
                             ":excluding folder \"--x\"",
                             ":remembered docs",
                             ":remembered only docs",
                             ":remembered \"odd:name\""}) {
        const auto first = command(line);
        ASSERT_TRUE(first) << line;
        const auto again = command(std::string(":").append(first->commandToString()));
        ASSERT_TRUE(again) << line;
        EXPECT_EQ(again->className(), first->className()) << line;
        EXPECT_EQ(again->explainedFields(), first->explainedFields()) << line;
        EXPECT_EQ(again->commandToString(), first->commandToString()) << line;
        EXPECT_EQ(first->copy()->explainedFields(), first->explainedFields()) << line;
        EXPECT_EQ(first->copy()->commandToString(), first->commandToString()) << line;
    }
}

TEST_F(SimpleCommandsTest, FieldsAreExplainedUnderTheirOwnNames) {
    using Json = nlohmann::json;
    favourites = {{"docs", "/d"}};
    EXPECT_EQ(command(":not .TXT")->explainedFields(),
              (Json{{"wantedFileNameExtension", "txt"}, {"not", true}}));
    EXPECT_EQ(command(":is Image")->explainedFields(), (Json{{"wantedUTI", "image"}}));
    EXPECT_EQ(command(":is folder")->explainedFields(), (Json{{"type", "folder"}}));
    EXPECT_EQ(command(":without tag A")->explainedFields(), (Json{{"labelName", "a"}, {"notTag", true}}));
    EXPECT_EQ(command(":max depth 4")->explainedFields(), (Json{{"maxDepth", 4}}));
    EXPECT_EQ(command(":min path length 4")->explainedFields(), (Json{{"count", 4}, {"choice", "min"}}));
    EXPECT_EQ(command(":inside \"A b\"")->explainedFields(),
              (Json{{"insidePath", "a b"}, {"completePathComponent", true}}));
    EXPECT_EQ(command(":remembered only docs")->explainedFields(),
              (Json{{"directory", "/d"}, {"shallow", true}}));
}

TEST_F(SimpleCommandsTest, AValueOfAnotherKindMakesNoCommandAndNeverEndsTheProgram) {
    const SentenceComponent word = SentenceComponent::parseWords("word").front();
    for (const CommandArguments& args : {CommandArguments{}, CommandArguments{1.5}, CommandArguments{'x'}}) {
        EXPECT_FALSE(ExtensionCommandFactory().create("extension", args, {}));
        EXPECT_FALSE(LabelCommandFactory().create("label", args, {}));
        EXPECT_FALSE(NameLengthCommandFactory().create("nameMaxLength", args, {}));
        EXPECT_FALSE(PathLengthCommandFactory().create("pathMinLength", args, {}));
        EXPECT_FALSE(UTICommandFactory(assistant).create("uti", args, {}));
        EXPECT_FALSE(InsideCommandFactory().create("inside", args, {}));
        EXPECT_FALSE(ExcludeFolderFactory().create("excludingFolder", args, {}));
        EXPECT_FALSE(KnownDirectoriesFactory(nullptr).create("remembered", args, {}));
        const auto depth = MaxDepthFactory().create("maxDepth", args, {});
        EXPECT_EQ(dynamic_cast<MaxDepth&>(*depth).maxDepth(), 0);
    }
    EXPECT_FALSE(FileOrFolderCommandFactory().create("isfile", {}, {}));
    EXPECT_FALSE(WholeWordsFactory().create("WholeWords", {}, {}));
    EXPECT_FALSE(InsideCommandFactory().create("Inside", {word}, {}));
}

TEST_F(SimpleCommandsTest, ExtensionIsAlsoAWordButOnlyWhenWanted) {
    EXPECT_EQ(query("film : .M4V").searchWords(), (std::vector<std::string>{"film", "m4v"}));
    EXPECT_TRUE(query(": not .txt").searchWords().empty());
    EXPECT_EQ(applied(":.m4v", "/a/FILM.M4V"), CommandApplyResult::accept);
    EXPECT_EQ(applied(":.m4v", "/a/film.mov"), CommandApplyResult::exclude);
    EXPECT_EQ(applied(":.m4v", "/a.m4v/film"), CommandApplyResult::skip);
    EXPECT_EQ(applied(":not .txt", "/a/x.TXT"), CommandApplyResult::exclude);
    EXPECT_EQ(applied(":not .txt", "/a/x.text"), CommandApplyResult::accept);
    EXPECT_EQ(applied(":not .txt", "/a/.txt"), CommandApplyResult::skip);
    EXPECT_EQ(applied(":.\u00c9", "/a/x.\u00e9"), CommandApplyResult::accept);
    EXPECT_FALSE(passes(": .m4v", "/a/film"));
    EXPECT_TRUE(passes(": not .txt", "/a/film"));
    EXPECT_TRUE(passes(": show all files", "/a/.hidden"));
}

TEST_F(SimpleCommandsTest, TypesAreWhatPeopleCallThem) {
    for (const auto* path : {"/a/x.png", "/a/X.JPG", "/a/x.svg", "/a/x.cr2", "/a/x.heic"})
        EXPECT_TRUE(accepts(":is image", path)) << path;
    for (const auto* path : {"/a/image", "/a/x.txt", "/a/.png", "/image/x.nosuch", "/a/x.json"})
        EXPECT_FALSE(accepts(":is image", path)) << path;
    EXPECT_TRUE(accepts(":is movie", "/a/x.mkv"));
    EXPECT_TRUE(accepts(":is music", "/a/x.flac"));
    EXPECT_FALSE(accepts(":is video", "/a/x.ogg"));
    EXPECT_TRUE(accepts(":is app", "/a/Tool.app", true));
    EXPECT_FALSE(accepts(":is app", "/a/x.appimage"));
    EXPECT_TRUE(UTICommand("image", assistant).isTemplateEqualTo(UTICommand("image", assistant)));
    EXPECT_FALSE(UTICommand("image", assistant).isTemplateEqualTo(UTICommand("text", assistant)));
}

TEST_F(SimpleCommandsTest, ContentDecidesWhatTheExtensionLeavesOpen) {
    std::string packets(200, 'x');
    packets[0] = packets[188] = 'G';
    const std::string film = folder.file("film.ts", packets);
    const std::string code = folder.file("code.ts", "export {}");
    EXPECT_TRUE(accepts(":is video", film) && accepts(":is typescript", code));
    EXPECT_FALSE(accepts(":is video", code) || accepts(":is typescript", film));
    EXPECT_FALSE(accepts(":is image", film) || accepts(":is image", code));
}

TEST_F(SimpleCommandsTest, OneTypeCommandJudgesForManyThreads) {
    const auto images = command(":is image");
    const QueryContainer empty = query("");
    std::atomic<int> accepted = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (const auto* path : {"/x.png", "/x.txt", "/x.gif", "/x.png", "/x.html"}) {
                SearchResult result;
                result.path = path;
                accepted += images->commandImpApply(result, nullptr, empty) == CommandApplyResult::accept;
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(accepted, 12);
}

TEST_F(SimpleCommandsTest, FilesAndFoldersNeedNoLookAtTheDiskAndApplicationsAreNeither) {
    EXPECT_TRUE(accepts(":is folder", "/gone/x.d", true));
    EXPECT_FALSE(accepts(":is folder", "/gone/x"));
    EXPECT_TRUE(accepts(":is file", "/gone/x.app"));
    EXPECT_FALSE(accepts(":is file", "/gone/x", true));
    EXPECT_FALSE(accepts(":is folder", "/gone/x.app", true));
    EXPECT_FALSE(accepts(":is file", "/gone/x.app", true));
    const auto typed = [&](const char* word, bool isDirectory) {
        UTICommand uti(word, assistant);
        SearchResult result;
        result.path = "/gone/x";
        result.isDirectory = isDirectory;
        return uti.commandImpApply(result, nullptr, query("")) == CommandApplyResult::accept;
    };
    EXPECT_TRUE(typed("folder", true) && typed("file", false));
    EXPECT_FALSE(typed("folder", false) || typed("file", true));
}

TEST_F(SimpleCommandsTest, TagsAreFoundByAnyPartOfTheirNames) {
    const std::string tagged = folder.file("tagged");
    const std::string noted = folder.file("noted");
    const std::string plain = folder.file("plain");
    if (::setxattr(noted.c_str(), "user.comment", "x", 1, 0) != 0)
        GTEST_SKIP() << "no extended attributes here";
    writeTags(tagged, {"Tired", "To Do"});
    EXPECT_TRUE(accepts(":tag red", tagged));
    EXPECT_TRUE(accepts(":tag \"red to\"", tagged));
    EXPECT_FALSE(accepts(":tag blue", tagged));
    EXPECT_FALSE(accepts(":without tag RED", tagged));
    EXPECT_TRUE(accepts(":without tag blue", tagged));
    EXPECT_FALSE(accepts(":tag red", plain));
    EXPECT_TRUE(accepts(":without tag red", plain));
    // Attributes without a tag among them.
    EXPECT_FALSE(accepts(":tag red", noted));
    EXPECT_FALSE(accepts(":without tag red", noted));
    EXPECT_FALSE(accepts(":tag red", folder.path("gone")));
}

TEST_F(SimpleCommandsTest, TagsThatWereMetAreKnownInLaterRuns) {
    LabelTagManager tags(preferences);
    const std::string file = folder.file("file");
    const std::string other = folder.file("other");
    try {
        writeTags(other, {"tag 10", "tag 2"});
    } catch (const Error&) {
        GTEST_SKIP() << "no extended attributes here";
    }
    tags.setLabels(file, {"Red"});
    EXPECT_EQ(tags.labels(other), (std::vector<std::string>{"tag 10", "tag 2"}));
    tags.save();
    preferences.modify("KnownTags", [](nlohmann::json& value) { value.push_back("from elsewhere"); });
    tags.save();
    EXPECT_EQ(LabelTagManager(preferences).tagsForDisplay(),
              (std::vector<std::string>{"from elsewhere", "Red", "tag 2", "tag 10"}));
    EXPECT_THROW(tags.setLabels(file, {"a,b"}), Error);
    EXPECT_EQ(tags.labels(file), std::vector<std::string>{"Red"});
}

TEST_F(SimpleCommandsTest, DepthCountsTheFoldersAboveAFile) {
    EXPECT_TRUE(accepts(":max depth 1", "/a/b.txt"));
    EXPECT_FALSE(accepts(":max depth 1", "/a/b/c.txt"));
    EXPECT_TRUE(accepts(":max depth 2", "/a/b/c.txt"));
    EXPECT_TRUE(accepts(":max depth 0", "/a/b/c/d/e"));
    EXPECT_TRUE(accepts(":max depth -2", "/a/b/c/d/e"));
    EXPECT_FALSE(query(": max depth 1").isWordBasedSearch());
    EXPECT_TRUE(MaxDepth(2).letsEnterChildrenOf("/a"));
    EXPECT_FALSE(MaxDepth(2).letsEnterChildrenOf("/a/b"));
    EXPECT_FALSE(MaxDepth(2).letsEnterChildrenOf("//a//b/"));
    EXPECT_TRUE(MaxDepth(1).letsEnterChildrenOf("/"));
    EXPECT_TRUE(MaxDepth(0).letsEnterChildrenOf("/a/b/c/d"));
}

TEST_F(SimpleCommandsTest, LengthsAreStrictAndCountCharacters) {
    EXPECT_FALSE(accepts(":max name length 5", "/long/12345"));
    EXPECT_TRUE(accepts(":max name length 6", "/long/12345"));
    EXPECT_FALSE(accepts(":min name length 5", "/long/12345"));
    EXPECT_TRUE(accepts(":min name length 4", "/long/12345"));
    EXPECT_TRUE(accepts(":max name length 3", "/a/e\u0301\U0001F1E6\U0001F1F9"));
    EXPECT_TRUE(accepts(":max path length 5", "/a/b"));
    EXPECT_FALSE(accepts(":max path length 4", "/a/b"));
    EXPECT_TRUE(accepts(":min path length 3", "/a/b"));
}

}  // namespace
}  // namespace kestrix
