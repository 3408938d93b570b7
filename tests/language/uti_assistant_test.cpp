#include "language/uti_assistant.h"

#include <gtest/gtest.h>

#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

class UTIAssistantTest : public testing::Test {
  protected:
    TemporaryFolder data_;
    FileTypes types_{std::vector<std::string>{data_.path()}};
    UTIAssistant assistant_{types_};
};

TEST_F(UTIAssistantTest, KindsBeginWithACapitalAndAreReadOnce) {
    data_.file("mime/globs2", "50:a/b:*.ab\n50:a/none:*.none\n");
    const std::string xml = data_.file("mime/a/b.xml", "<comment>raw thing</comment>");
    EXPECT_EQ(assistant_.kindStringForExtension("ab"), "Raw thing");
    std::filesystem::remove(xml);
    EXPECT_EQ(assistant_.kindStringForExtension("ab"), "Raw thing");
    for (const auto* extension : {"", "none", "nosuch", "nosuch"})
        EXPECT_EQ(assistant_.kindStringForExtension(extension), std::nullopt) << extension;
}

TEST_F(UTIAssistantTest, AFileIsCalledAsABrowserWouldCallIt) {
    EXPECT_EQ(assistant_.finderKindStringForFile("/a/b.png", false), "PNG image");
    EXPECT_EQ(assistant_.finderKindStringForFile("/a/b.png", true), "Folder");
    EXPECT_EQ(assistant_.finderKindStringForFile("/a/b.app", true), "Application");
    EXPECT_EQ(assistant_.finderKindStringForFile("/a/README", false), std::nullopt);
    EXPECT_EQ(assistant_.finderKindStringForFile("/a/b.ts", false), "TypeScript source code");
    std::string packets(200, 'x');
    packets[0] = packets[188] = 'G';
    EXPECT_EQ(assistant_.finderKindStringForFile(data_.file("film.ts", packets), false),
              "MPEG-2 transport stream");
}

TEST_F(UTIAssistantTest, AWordIsSoughtInAllThatIsKnownOfAType) {
    const struct {
        const char* extension;
        const char* word;
        bool found;
    } rows[] = {
        {"pdf", "pdf", true},          // its substitute is its identifier
        {"mp3", "music", true},        // a substitute
        {"mp3", "sound", true},        //
        {"mp4", "video", true},        //
        {"docx", "word", true},        // the description
        {"html", "htm", true},         // an extension
        {"png", "image/png", true},    // the MIME name
        {"jpg", "jpeg", true},         // a well-known name
        {"cpp", "source-code", true},  // a parent
        {"mkv", "matroska", true},     //
        {"png", "public", false},      // what every identifier begins with
        {"mov", "com.apple", false},   //
        {"app", "app", true},          // for this word the extension alone counts
        {"ear", "app", false},         // though its MIME name begins so
        {"APP", "app", false},         //
        {"png", "", false},            //
        {"pdf", "image", false},       // though the database once called it image/pdf
        {"nosuch", "nosuch", false},   //
        {"", "image", false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(assistant_.utiInformationIncludesWord(row.extension, row.word), row.found)
            << row.extension << " " << row.word;
}

}  // namespace
}  // namespace kestrix
