#include <array>
#include <random>

#include "platform/sandbox.h"
#include "tests/import/formats_fixture.h"

namespace kestrix {
namespace {

constexpr const char* kBody = "The yearly total of the café\na < b & c\nnaïveté ends here";

TEST_F(FormatsTest, EveryFormatGivesTitleAndLines) {
    for (const char* name : {"docx", "odt", "rtf", "pdf", "epub"}) {
        EXPECT_EQ(textOfSample(std::string("plain.") + name), std::string("Größe\n") + kBody) << name;
    }
    EXPECT_EQ(textOfSample("plain.html"), std::string("Größe\nGröße\n") + kBody);
    for (const char* name : {"plain.pptx", "plain.odp"}) {
        EXPECT_EQ(textOfSample(name), std::string("Größe 1\n") + kBody) << name;
    }
    EXPECT_EQ(textOfSample("plain.xlsx"),
              "Größe\nThe yearly total of the café\ta < b & c\tnaïveté ends here\t1000.5");
    EXPECT_EQ(textOfSample("plain.ods"), "Größe\nThe yearly total of the café\ta < b & c\tnaïveté ends here");
    for (const char* name : {"plain.eml", "plain.emlx"}) {
        EXPECT_EQ(textOfSample(name),
                  std::string("Größe\nAndré Sender <sender@example.org>\nreceiver@example.org\n"
                              "Wed, 01 Jan 2020 10:00:00 +0000\n") +
                      kBody + "\ncafé bill.pdf")
            << name;
    }
}

TEST_F(FormatsTest, OfficeDocumentsGiveWhatIsSeenAndNothingElse) {
    EXPECT_EQ(textOfSample("rich.docx"),
              "split word\ttabbed\nsofthyphen\naround\nbox\nin the\theader\nin a note\npie\nslice");
    EXPECT_EQ(textOfSample("rich.xlsx"),
              "Budget\ntwo runs\t12.5\t4.35\n2020-01-31\t2020-01-31 "
              "13:30\t43861\t7\t06:00:01\tx\ninline\none two _x_ _\nlast\nremark");
    EXPECT_EQ(textOfSample("crooked.epub"), "found");
    EXPECT_EQ(textOfSample("changed.odt"), "one two\nthree\tfour\ninside\nbelow");
}

TEST_F(FormatsTest, LockedDamagedAndExplosiveDocumentsAreRefusedByName) {
    EXPECT_EQ(failureOf("locked.pdf"), "damaged: locked.pdf is locked with a password");
    EXPECT_EQ(failureOf("locked.docx"), "damaged: locked.docx is locked with a password");
    EXPECT_EQ(failureOf("locked.odt"), "damaged: locked.odt is locked with a password");
    EXPECT_EQ(failureOf("locked.epub"), "damaged: locked.epub is protected against copying");
    EXPECT_EQ(failureOf("wrapped.docx"),
              "damaged: wrapped.docx is locked with a password, or older than its name says");
    EXPECT_EQ(failureOf("other.zip"), "damaged: other.zip holds no document of a known kind");
    EXPECT_EQ(failureOf("torn.docx"), "damaged: torn.docx is damaged: mismatched tag");
    EXPECT_EQ(failureOf("bomb_by_entities.docx"),
              "damaged: bomb_by_entities.docx declares entities of its own");
    EXPECT_EQ(failureOf("bomb_by_size.docx"),
              "tooLarge: bomb_by_size.docx unpacks to more than is ever read of a document");
    EXPECT_EQ(failureOf("bomb_by_lie.docx"),
              "damaged: bomb_by_lie.docx is damaged: word/document.xml has another size than it should");
    EXPECT_EQ(failureOf("bomb_by_depth.docx"), "damaged: bomb_by_depth.docx is nested too deeply");
    EXPECT_EQ(failureOf("bomb_by_tag.docx"), "damaged: bomb_by_tag.docx is damaged: a tag in it has no end");
}

// As on a kernel without Landlock.
TEST_F(FormatsTest, DocumentsAreReadWhereNoFileCanBeOpened) {
    for (const char* name : {"plain.docx", "plain.pdf", "plain.html", "plain.eml", "plain.rtf"}) {
        const OpenFile file(samplePath(name));
        job_.descriptor = file.descriptor();
        const auto read = [&] {
            keepConverter("UTF-16");
            const bool isShutIn = Walls::sealCalls(ShutIn::computing, false);
            const std::string text = importerOf(name)(job_).allText(false).value_or("");
            std::_Exit(isShutIn && text.find("yearly total") != std::string::npos ? 0 : 1);
        };
        EXPECT_EXIT(read(), testing::ExitedWithCode(0), "") << name;
    }
}

TEST_F(FormatsTest, WordsBrokenByTheEndsOfPdfLinesAreWhole) {
    EXPECT_EQ(textOfSample("broken_lines.pdf"), "A\nan international well-\nKnown 2-\nnd été-");
}

TEST_F(FormatsTest, PdfPagesStayApartTellTheirProgressAndCanBeStopped) {
    std::vector<int> told;
    job_.progress = [&told](int percent) { told.push_back(percent); };
    const ImportTextResult result = importSample("two_pages.pdf");
    ASSERT_EQ(result.text->size(), 2U);
    EXPECT_EQ(result.text->at(1).text, "a < b & c\nnaïveté ends here");
    EXPECT_FALSE(result.ocrText);
    EXPECT_EQ(told, (std::vector<int>{0, 50}));

    job_.shouldCancel = [&told] { return told.size() == 3; };
    try {
        importSample("two_pages.pdf");
        FAIL() << "was not stopped";
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), static_cast<int>(ImportFailure::cancelled));
    }
    EXPECT_EQ(told.size(), 3U);
}

TEST_F(FormatsTest, TextEndsAtTheLengthThatIsAskedFor) {
    job_.maxLength = 5;  // in the middle of the ß of "Größe"
    for (const char* name :
         {"plain.docx", "plain.rtf", "plain.html", "plain.pdf", "plain.eml", "plain.epub"}) {
        EXPECT_EQ(textOfSample(name), "Grö") << name;
    }
    job_.maxLength = 3;
    EXPECT_EQ(textOfSample("plain.docx"), "Gr");
}

TEST_F(FormatsTest, PicturesAndScannedPagesAreReadByEye) {
    const ImportTextResult picture = importSample("scan.png", true);
    EXPECT_FALSE(picture.text);
    EXPECT_EQ(picture.ocrText->at(0).text, "LITTLE FILE");
    EXPECT_FALSE(importSample("scan.png", false).ocrText);
    const ImportTextResult scan = importSample("scan.pdf", true);
    ASSERT_EQ(scan.text->size(), scan.ocrText->size());
    EXPECT_EQ(scan.text->at(0).text, "");
    EXPECT_EQ(scan.ocrText->at(0).text, "THE FILE");
}

// Of each sample every cut (on a step) and some hundred changed bytes: an importer may read what is left or
// refuse it, and nothing else.
class DamagedFormatsTest : public FormatsTest {
  protected:
    // Whether it was read.
    bool survives(const std::string& name, std::string_view bytes) {
        try {
            textOf(name, bytes);
            return true;
        } catch (const Error& error) {
            EXPECT_EQ(error.domain(), kImportDomain) << error.what();
            EXPECT_NE(std::string(error.what()).find(name), std::string::npos) << error.what();
            return false;
        }
    }
};

TEST_F(DamagedFormatsTest, AnyCutIsReadOrRefused) {
    for (const char* extension :
         {"html", "pdf", "docx", "xlsx", "pptx", "odt", "ods", "odp", "epub", "rtf", "eml", "emlx"}) {
        const std::string name = std::string("plain.") + extension;
        const std::string whole = sample(name);
        const bool isPackage = importerOf(name) == importPackage;
        for (std::size_t cut = 0; cut < whole.size(); cut += 1 + whole.size() / 150) {
            const bool isRead = survives(name, std::string_view(whole).substr(0, cut));
            EXPECT_FALSE(isPackage && isRead) << name << " cut at " << cut;
        }
        EXPECT_TRUE(survives(name, whole));
    }
}

TEST_F(DamagedFormatsTest, ACutLeavesTheTextInFrontOfIt) {
    for (const char* name : {"plain.html", "plain.rtf", "plain.eml"}) {
        const std::string whole = sample(name);
        const std::string text = textOf(name, whole.substr(0, whole.find("ends here")));
        EXPECT_NE(text.find("yearly total of the café\na < b & c"), std::string::npos)
            << name << ": " << text;
    }
    const std::string pdf = sample("plain.pdf");
    // Without its table of places, but with the line that names its root.
    const std::size_t table = pdf.rfind("xref\n0");
    EXPECT_NE(
        textOf("torn.pdf", pdf.substr(0, table) + pdf.substr(pdf.rfind("trailer"), 30)).find("yearly total"),
        std::string::npos);
}

TEST_F(DamagedFormatsTest, ChangedBytesAreReadOrRefused) {
    std::mt19937 random(7);
    for (const char* extension : {"html", "pdf", "docx", "ods", "epub", "rtf", "eml"}) {
        const std::string name = std::string("plain.") + extension;
        const std::string whole = sample(name);
        for (int round = 0; round < 150; ++round) {
            std::string changed = whole;
            for (int i = 0; i < 4; ++i) {
                changed[random() % changed.size()] = static_cast<char>(random());
            }
            survives(name, changed);
        }
    }
    const std::string picture = sample("scan.png");
    job_.useOCR = true;
    for (std::size_t cut = 0; cut < picture.size(); cut += 1 + picture.size() / 20) {
        try {
            importFile(folder_.file("cut.png", std::string_view(picture).substr(0, cut)), true);
        } catch (const Error& error) {
            EXPECT_EQ(error.domain(), kImportDomain) << error.what();
        }
    }
}

}  // namespace
}  // namespace kestrix
