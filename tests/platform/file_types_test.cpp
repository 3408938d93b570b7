#include "platform/file_types.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

std::string nameOf(const FileTypes& types, std::string_view extension) {
    const auto type = types.forExtension(extension);
    return type ? types.describe(*type).identifier : "";
}

bool conforms(const FileTypes& types, std::string_view extension, std::string_view wanted) {
    const auto type = types.forExtension(extension);
    return type && types.conforms(*type, wanted);
}

// What must hold with the database installed and with none at all.
class UsualTypesTest : public testing::TestWithParam<bool> {
  protected:
    void SetUp() override {
        if (GetParam() && !std::filesystem::exists("/usr/share/mime/globs2"))
            GTEST_SKIP() << "the shared MIME database is not installed";
    }
    FileTypes types_{GetParam() ? std::vector<std::string>{"/usr/share"} : std::vector<std::string>{}};
};

INSTANTIATE_TEST_SUITE_P(WithAndWithoutDatabase, UsualTypesTest, testing::Bool());

TEST_P(UsualTypesTest, ExtensionsBelongToTheClassesThatPeopleMean) {
    const struct {
        std::vector<std::string_view> extensions;
        std::string_view wanted;
    } rows[] = {
        {{"jpg", "JPEG", "png", "gif", "heic", "webp", "tiff", "svg", "cr2", "psd", "ico", "avif"},
         "public.image"},
        {{"mp3", "m4a", "flac", "ogg", "opus", "wav", "aiff", "wma", "mid", "m4r", "mka", "m3u"},
         "public.audio"},
        {{"mp4", "m4v", "mov", "mkv", "avi", "webm", "wmv", "mpg", "3gp", "m2ts", "ogv", "mxf"},
         "public.video"},
        {{"mp4", "mkv"}, "public.movie"},
        {{"txt", "md", "html", "rtf", "svg", "csv", "json", "xml", "c", "py", "sh", "swift", "ts"},
         "public.text"},
        {{"c", "cpp", "h", "py", "js", "sh", "rs", "go", "java", "swift", "tsx", "rb"}, "public.source-code"},
        {{"zip", "gz", "tar", "tgz", "7z", "rar", "deb", "rpm", "jar", "apk", "iso"}, "public.archive"},
        {{"xlsx", "ods"}, "public.spreadsheet"},
        {{"pptx", "odp", "key"}, "public.presentation"},
        {{"ttf", "otf", "woff2"}, "public.font"},
        {{"pdf", "PDF"}, "com.adobe.pdf"},
        {{"pdf"}, "application/pdf"},
        {{"htm"}, "public.html"},
        {{"png"}, "public.png"},
        {{"app"}, "com.apple.application"},
    };
    for (const auto& row : rows) {
        for (const auto extension : row.extensions)
            EXPECT_TRUE(conforms(types_, extension, row.wanted)) << extension << " is no " << row.wanted;
    }
}

TEST_P(UsualTypesTest, WhatHoldsAFileSaysNothingAboutIt) {
    for (const auto extension : {"docx", "odt", "epub", "pages", "doc", "svgz", "ogg"})
        EXPECT_FALSE(conforms(types_, extension, "public.archive")) << extension;
    for (const auto extension : {"m4a", "m4r", "mka", "weba", "ogg", "wma", "txt", "ts"})
        EXPECT_FALSE(conforms(types_, extension, "public.video")) << extension;
    for (const auto extension : {"mjpeg", "mp4", "mp3", "pdf", "zip"})
        EXPECT_FALSE(conforms(types_, extension, "public.image")) << extension;
    for (const auto extension : {"json", "txt", "html", "pdf"})
        EXPECT_FALSE(conforms(types_, extension, "public.source-code")) << extension;
}

TEST_P(UsualTypesTest, UnknownNamesHaveNoType) {
    for (const auto* extension :
         {"", "nosuchextension", ".png", "a much too long extension for any database"})
        EXPECT_FALSE(types_.forExtension(extension)) << extension;
    EXPECT_FALSE(types_.named("public.nothing"));
    EXPECT_FALSE(conforms(types_, "png", "public.nothing"));
}

TEST_P(UsualTypesTest, ADescribedTypeTellsItsNamesInEitherNaming) {
    const FileType& html = types_.describe(*types_.named("public.html"));
    const auto holds = [](const std::vector<std::string>& list, std::string_view text) {
        return std::ranges::find(list, text) != list.end();
    };
    EXPECT_EQ(html.identifier, "text/html");
    EXPECT_EQ(html.description, "HTML document");
    EXPECT_TRUE(holds(html.otherNames, "public.html"));
    EXPECT_TRUE(holds(html.parents, "public.text"));
    EXPECT_TRUE(holds(html.parents, "public.plain-text"));
    EXPECT_TRUE(holds(html.extensions, "htm"));
    EXPECT_TRUE(holds(html.mimeTypes, "text/html"));
}

TEST_P(UsualTypesTest, TheFirstBytesTellFilmsFromTypeScript) {
    const TemporaryFolder folder;
    std::string packets(400, 'x');
    packets[0] = packets[188] = 'G';
    std::string camera(400, 'x');
    camera[4] = camera[196] = 'G';
    const std::string source = "Gee(): the first byte alone proves nothing";
    const auto typeOf = [&](const std::string& path) {
        return types_.describe(*types_.ofFile(path)).identifier;
    };
    EXPECT_EQ(typeOf(folder.file("film.ts", packets)), "video/mp2t");
    EXPECT_EQ(typeOf(folder.file("film 2.ts", camera)), "video/mp2t");
    EXPECT_EQ(typeOf(folder.file("code.ts", source + std::string(400, ' '))), "text/x-typescript");
    EXPECT_EQ(typeOf(folder.file("empty.ts")), "text/x-typescript");
    EXPECT_EQ(typeOf(folder.path("gone.TS")), "text/x-typescript");
    EXPECT_EQ(typeOf(folder.file("x.png", packets)), "image/png");
}

class MimeDatabaseTest : public testing::Test {
  protected:
    TemporaryFolder first_;
    TemporaryFolder second_;
};

TEST_F(MimeDatabaseTest, TheHeaviestThenTheFirstDatabaseThenTheShortestNameWins) {
    first_.file("mime/globs2",
                "50:a/light:*.one\n50:a/mine:*.two\n50:a/longer:*.three\n50:a/short:*.three\n");
    second_.file("mime/globs2", "# comment\n60:a/heavy:*.one\n50:a/other:*.two\n50:a/png:*.png\n");
    const FileTypes all(std::vector<std::string>{first_.path(), second_.path()});
    EXPECT_EQ(nameOf(all, "one"), "a/heavy");
    EXPECT_EQ(nameOf(all, "two"), "a/mine");
    EXPECT_EQ(nameOf(all, "three"), "a/short");
    EXPECT_EQ(nameOf(all, "png"), "a/png") << "the table of our own must yield";
    EXPECT_EQ(nameOf(all, "gif"), "image/gif") << "and serve where the database is silent";
}

TEST_F(MimeDatabaseTest, CaseCountsWhereTheDatabaseSaysSo) {
    first_.file("mime/globs2", "50:text/x-upper:*.C:cs\n50:text/x-lower:*.c:cs\n50:text/x-any:*.Mixed\n");
    const FileTypes all({first_.path()});
    EXPECT_EQ(nameOf(all, "C"), "text/x-upper");
    EXPECT_EQ(nameOf(all, "c"), "text/x-lower");
    EXPECT_EQ(nameOf(all, "mIXED"), "text/x-any");
}

TEST_F(MimeDatabaseTest, DamagedLinesAreLeftOutAndTheRestIsRead) {
    first_.file(
        "mime/globs2",
        "\n:::\n50\nheavy:a/b:*.x1\n50:a/b:x1\n50:a/b:*.\n50:a/b:*.x[12]\n\xff\xfe\n50:a/good:*.good");
    first_.file("mime/subclasses", "alone\na/good a/parent extra\na/good a/parent\na/parent a/good\n");
    first_.file("mime/aliases", "a/second a/good\na/loop a/loop\n");
    first_.folder("mime/generic-icons");
    const FileTypes all({first_.path(), "/nonexistent"});
    EXPECT_EQ(nameOf(all, "good"), "a/good");
    EXPECT_FALSE(all.forExtension("x1"));
    EXPECT_TRUE(conforms(all, "good", "a/parent")) << "even though the two name each other";
    EXPECT_EQ(all.named("a/second"), all.named("a/good"));
    EXPECT_TRUE(conforms(all, "png", "public.image"));
}

TEST_F(MimeDatabaseTest, DescriptionsAreThoseWithoutALanguage) {
    first_.file("mime/globs2", "50:a/b:*.ab\n50:a/none:*.none\n50:image/png:*.png\n");
    first_.file(
        "mime/a/b.xml",
        "<mime-type><comment xml:lang=\"de\">Nein</comment>\n<comment>Q&amp;A &lt;&amp;lt;&gt;</comment>");
    first_.file("mime/image/png.xml", "<comment></comment>");
    const FileTypes all({first_.path()});
    EXPECT_EQ(all.describe(*all.forExtension("ab")).description, "Q&A <&lt;>");
    EXPECT_EQ(all.describe(*all.forExtension("none")).description, "");
    EXPECT_EQ(all.describe(*all.forExtension("png")).description, "PNG image");
}

TEST_F(MimeDatabaseTest, RenamedTypesKeepTheirOldNames) {
    first_.file("mime/aliases", "image/png image/new-png\n");
    first_.file("mime/globs2", "50:image/new-png:*.png\n");
    const FileTypes all({first_.path()});
    EXPECT_EQ(nameOf(all, "png"), "image/new-png");
    for (const auto* name : {"image/png", "public.png", "public.image"})
        EXPECT_TRUE(conforms(all, "png", name)) << name;
}

TEST(FileTypes, ManyThreadsMayAskFirst) {
    const FileTypes types;
    std::vector<std::thread> threads;
    std::atomic<int> images = 0;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (const auto* extension : {"png", "jpg", "gif"}) {
                const auto type = types.forExtension(extension);
                if (type && !types.describe(*type).description.empty() &&
                    types.conforms(*type, "public.image"))
                    ++images;
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(images, 12);
}

}  // namespace
}  // namespace kestrix
