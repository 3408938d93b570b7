#include "language/commands/folder_commands.h"

#include "tests/language/command_sentences.h"

namespace kestrix {
namespace {

using FolderCommandsTest = CommandWorld;

TEST_F(FolderCommandsTest, InsideHoldsAnywhereInTheFoldersPath) {
    EXPECT_TRUE(accepts(":inside animals", "/Users/x/Animals/cat.jpg"));
    EXPECT_TRUE(accepts(":inside animals", "/Users/x/myanimals2/cat.jpg"));
    EXPECT_TRUE(accepts(":inside x/anim", "/Users/x/animals/cat.jpg"));
    EXPECT_FALSE(accepts(":inside animals", "/Users/x/animals"));
    EXPECT_FALSE(accepts(":inside animals", "/Users/x/animals.txt", true));
    EXPECT_TRUE(accepts(":inside caf\u00e9", "/x/CAFE\u0301 2/menu"));
    EXPECT_TRUE(accepts(":inside cafe\u0301", "/x/CAF\u00c9/menu"));
}

TEST_F(FolderCommandsTest, InsideInQuotesIsOneWholeComponentTheFilesNameAmongThem) {
    EXPECT_TRUE(accepts(":inside \"Animals\"", "/Users/x/Animals/cat.jpg"));
    EXPECT_FALSE(accepts(":inside \"animals\"", "/Users/x/myanimals2/cat.jpg"));
    EXPECT_TRUE(accepts(":inside \"animals\"", "/Users/x/animals"));
    EXPECT_TRUE(accepts(":inside \"my cats\"", "/x/My Cats/a"));
    EXPECT_TRUE(accepts(":inside \"cat\"", "/cats/tomcat/CAT"));
    EXPECT_FALSE(accepts(":inside \"cat\"", "/cats/tomcat/a cat"));
    EXPECT_FALSE(accepts(":inside \"x/y\"", "/x/y/z"));
    EXPECT_TRUE(accepts(":inside \"caf\u00e9\"", "/x/CAFE\u0301/menu"));
}

TEST_F(FolderCommandsTest, ExcludedFoldersMayBeNamedWithADashASlashOrQuotes) {
    for (const auto* line : {":excluding folder Animals", ":excluding folder -animals",
                             ":excluding folder animals/", ":excluding folder \"animals\""}) {
        EXPECT_FALSE(accepts(line, "/x/Animals/cat.jpg")) << line;
        EXPECT_FALSE(accepts(line, "/x/myanimals/cat.jpg")) << line;
        EXPECT_TRUE(accepts(line, "/x/animals")) << line;
        EXPECT_TRUE(accepts(line, "/x/animal s/cat.jpg")) << line;
    }
    EXPECT_TRUE(accepts(":excluding folder --a", "/x/a/b"));
    EXPECT_FALSE(accepts(":excluding folder --a", "/x-a/b"));
    EXPECT_FALSE(accepts(":excluding folder /", "/b"));
    EXPECT_EQ(command(":excluding folder Animals")->commandToString(), "excluding folder \"animals\"");
}

TEST_F(FolderCommandsTest, AFavouriteReplacesTheStandardSourcesAndTheLocation) {
    favourites = {{"docs", folder.path()}};
    const QueryContainer docs(": remembered docs", SearchLocation(std::vector<std::string>{"/elsewhere"}),
                              false, environment);
    EXPECT_FALSE(docs.isWordBasedSearch());
    EXPECT_TRUE(docs.pathIsInQueryLocation(folder.path("x")));
    EXPECT_TRUE(docs.suppliedDataSources().empty());
    favourites.clear();
    EXPECT_FALSE(query(": remembered docs").commandOfType<KnownDirectoriesCommand>());
}

}  // namespace
}  // namespace kestrix
