// Each kind of document through the real helper, from behind its walls: a parser that wants to load or open
// something late fails here and nowhere else.
#include <gtest/gtest.h>

#include "import/import_text_tools_xpc.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

// One page, without the table of offsets, which readers make anew.
std::string pdfSaying(const std::string& words) {
    const std::string content = "BT /F1 24 Tf 72 700 Td (" + words + ") Tj ET";
    return "%PDF-1.4\n1 0 obj\n<< /Type /Catalog /Pages 2 0 R >>\nendobj\n"
           "2 0 obj\n<< /Type /Pages /Kids [4 0 R] /Count 1 >>\nendobj\n"
           "3 0 obj\n<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>\nendobj\n"
           "4 0 obj\n<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Resources << /Font << /F1 3 0 R "
           ">> >> "
           "/Contents 5 0 R >>\nendobj\n"
           "5 0 obj\n<< /Length " +
           std::to_string(content.size()) + " >>\nstream\n" + content +
           "\nendstream\nendobj\ntrailer\n<< /Size 6 /Root 1 0 R >>\n%%EOF\n";
}

class RealHelperTest : public testing::Test {
  protected:
    WordCounts wordsOf(std::string_view name, std::string_view content, bool useOCR = false) {
        const ImportedWords imported = link_.wordsFromFile(folder_.file(name, content), useOCR);
        EXPECT_FALSE(imported.error) << imported.error->what();
        return imported.words.value_or(WordCounts{});
    }

    TemporaryFolder folder_;
    FileTypes types_;
    ImportTextTools tools_{types_};
    ImportTextToolsXPC link_{tools_, KESTRIX_HELPER};
};

TEST_F(RealHelperTest, DocumentsAreReadBehindTheWalls) {
    const WordCounts expected{{"yearly", 1}, {"total", 1}};
    EXPECT_EQ(wordsOf("a.html", "<p>Yearly <b>total</b>"), expected);
    EXPECT_EQ(wordsOf("a.rtf", R"({\rtf1\ansi yearly total\par})"), expected);
    EXPECT_EQ(wordsOf("a.doc", R"({\rtf1\ansi yearly total\par})"), expected);
    EXPECT_EQ(wordsOf("a.pdf", pdfSaying("yearly total")), expected);
    EXPECT_EQ(wordsOf("latin.html",
                      "<meta charset=iso-8859-2><p>\xE8"
                      "aj"),
              (WordCounts{{"\u010Daj", 1}}));
}

TEST_F(RealHelperTest, APageIsReadByEyeBehindTheWalls) {
    EXPECT_EQ(wordsOf("a.pdf", pdfSaying("yearly total"), true), (WordCounts{{"yearly", 2}, {"total", 2}}));
}

}  // namespace
}  // namespace kestrix
