#include "import/import_text_tools.h"

#include <gtest/gtest.h>

#include <random>

#include "base/error.h"
#include "base/text.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

using Words = std::vector<std::string>;

// One code point after the other, with nothing but the rules.
Words slowWords(std::string_view text) {
    const auto isSeparator = [](char32_t point) {
        return text::isWhiteSpaceOrNewline(point) || point < 0x20 || (point >= 0x7F && point < 0xA0) ||
               point == 0xAD || point == 0x200B || point == 0xFEFF || (point >= 0xE000 && point <= 0xF8FF);
    };
    const auto isTrimmed = [](char32_t point) { return text::isPunctuation(point) || text::isSymbol(point); };
    Words words;
    for (const std::string_view piece : text::split(text, isSeparator)) {
        const std::string lowered = text::lowered(piece);
        std::u32string points;
        for (std::size_t at = 0; at < lowered.size();)
            points += text::decode(lowered, at);
        while (!points.empty() && isTrimmed(points.front()))
            points.erase(0, 1);
        while (!points.empty() && isTrimmed(points.back()))
            points.pop_back();
        std::string word;
        for (const char32_t point : points)
            text::append(word, point);
        if (!word.empty() && text::characterCount(word) < 33) words.push_back(word);
    }
    return words;
}

TEST(WordsFromText, PiecesLosePunctuationAndCase) {
    EXPECT_EQ(ImportTextTools::wordsFromText(
                  "The (Quick), br\xC3\x96wn\u00A0fox... -- \t$5 e-mail \u201C\u00C9t\u00E9\u201D"),
              (Words{"the", "quick", "br\u00F6wn", "fox", "5", "e-mail", "\u00E9t\u00E9"}));
    EXPECT_EQ(ImportTextTools::wordsFromText(" \n--- ... \u2014 \x01\x7F"), Words{});
    EXPECT_EQ(ImportTextTools::wordsFromText("a\x02"
                                             "b\uFEFF"
                                             "c\u00AD"
                                             "d\uE000"
                                             "e\u0378"
                                             "f\u200Bg"),
              (Words{"a", "b", "c", "d", "e", "f", "g"}));
}

TEST(WordsFromText, LongerOnesThan32CharactersAreLeftOut) {
    const std::string longest(32, 'x');
    EXPECT_EQ(ImportTextTools::wordsFromText(longest + " " + longest + "y (" + longest + ")"),
              (Words{longest, longest}));
    std::string accented;
    for (int i = 0; i < 32; ++i)
        accented += "e\u0301\u0323";
    EXPECT_EQ(ImportTextTools::wordsFromText(accented + " " + accented + "e"), Words{accented});
}

TEST(WordsFromText, AgreesWithASlowTwin) {
    const std::vector<std::string> parts = {
        "a", "Bc", "\u00C4", "\u0416\u0444", "\u4E2D", "1",      "_",       "-",      "\u00AB", "\u20AC",
        ".", ",",  " ",      "\n",           "\u00A0", "\u3000", "\u200B",  "\uFEFF", "\uE123", "\x01",
        "(", ")",  "xyz",    "\u0301",       "q",      "\u2028", "\u0130x", "W"};
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        std::string text;
        for (unsigned n = random() % 120; n != 0; --n)
            text += parts[random() % parts.size()];
        ASSERT_EQ(ImportTextTools::wordsFromText(text), slowWords(text)) << text;
    }
}

TEST(CountWords, WordsOfTextAndOfRecognisedTextBothCount) {
    ImportTextResult result;
    result.text = {{"one two"}, {"two"}};
    result.ocrText = {{"two"}, {"three"}};
    EXPECT_EQ(ImportTextTools::countWords(result, false), (WordCounts{{"one", 1}, {"two", 2}}));
    EXPECT_EQ(ImportTextTools::countWords(result, true), (WordCounts{{"one", 1}, {"two", 3}, {"three", 1}}));
}

TEST(AllText, PagesStandOnLinesOfTheirOwn) {
    ImportTextResult result;
    EXPECT_EQ(result.allText(true), std::nullopt);
    result.text = {{"one"}, {"two\n"}};
    result.ocrText = {{"three"}};
    EXPECT_EQ(result.allText(false), "one\ntwo\n");
    EXPECT_EQ(result.allText(true), "one\ntwo\nthree");
}

class ImportTableTest : public testing::Test {
  protected:
    DocumentFormat formatOf(const std::string& name, bool all = false, bool useOCR = false) const {
        return tools_.formatOf("/nowhere/" + name, all, useOCR);
    }

    FileTypes types_;
    ImportTextTools tools_{types_};
};

TEST_F(ImportTableTest, TheNearestTypeWithAnImporterDecides) {
    const std::vector<std::pair<std::string, DocumentFormat>> expected = {
        {"a.txt", DocumentFormat::rawText},  {"a.PY", DocumentFormat::rawText},
        {"a.csv", DocumentFormat::rawText},  {"a.xml", DocumentFormat::rawText},
        {"a.json", DocumentFormat::rawText}, {"a.h", DocumentFormat::rawText},
        {"a.tsx", DocumentFormat::rawText},  {"a.svg", DocumentFormat::rawText},
        {"a.md", DocumentFormat::rawText},   {"a.html", DocumentFormat::html},
        {"a.xhtml", DocumentFormat::html},   {"a.rtf", DocumentFormat::richText},
        {"a.eml", DocumentFormat::mail},     {"a.emlx", DocumentFormat::appleMail},
        {"a.pdf", DocumentFormat::pdf},      {"a.docx", DocumentFormat::package},
        {"a.docm", DocumentFormat::package}, {"a.xlsx", DocumentFormat::package},
        {"a.pptx", DocumentFormat::package}, {"a.odt", DocumentFormat::package},
        {"a.ods", DocumentFormat::package},  {"a.odp", DocumentFormat::package},
        {"a.epub", DocumentFormat::package}, {"a.doc", DocumentFormat::legacyWord},
        {"a.zip", DocumentFormat::none},     {"a.mp3", DocumentFormat::none},
        {"README", DocumentFormat::none},    {"a.webarchive", DocumentFormat::none},
        {"a.png", DocumentFormat::none}};
    for (const auto& [name, format] : expected)
        EXPECT_EQ(formatOf(name), format) << name;
}

TEST_F(ImportTableTest, ImagesNeedRecognitionAndAllFilesAreText) {
    for (const char* name : {"a.png", "a.jpg", "a.tif", "a.gif"}) {
        EXPECT_EQ(formatOf(name, false, true), DocumentFormat::image) << name;
        EXPECT_FALSE(tools_.canImportTextFrom(name, false)) << name;
    }
    EXPECT_EQ(formatOf("a.png", true), DocumentFormat::rawText);
    EXPECT_EQ(formatOf("README", true), DocumentFormat::rawText);
    EXPECT_EQ(formatOf("a.pdf", true), DocumentFormat::pdf);
}

TEST_F(ImportTableTest, WithoutTheDatabaseTheUsualDocumentsAreKnown) {
    const FileTypes bare{std::vector<std::string>()};
    const ImportTextTools tools(bare);
    EXPECT_EQ(tools.formatOf("a.txt", false, false), DocumentFormat::rawText);
    EXPECT_EQ(tools.formatOf("a.pdf", false, false), DocumentFormat::pdf);
    EXPECT_EQ(tools.formatOf("a.docx", false, false), DocumentFormat::package);
    EXPECT_EQ(tools.formatOf("a.html", false, false), DocumentFormat::html);
}

TEST(PlainText, IsUtf8OrElseMacRoman) {
    const TemporaryFolder folder;
    PlainText reader;
    reader.read(folder.file("a.txt", "caf\u00E9"));
    EXPECT_EQ(reader.text(), "caf\u00E9");
    reader.read(folder.file("b.txt", "caf\x8E \xDB"));
    EXPECT_FALSE(reader.isUtf8());
    EXPECT_EQ(reader.bytes(), "caf\x8E \xDB");
    EXPECT_EQ(reader.text(), "caf\u00E9 \u20AC");
    EXPECT_EQ(reader.takeText(), "caf\u00E9 \u20AC");
    EXPECT_EQ(reader.text(), "");
    reader.read(folder.file("c.txt"));
    EXPECT_EQ(reader.takeText(), "");
}

TEST(PlainText, AtALimitOnlyWholeCharactersAreKept) {
    const TemporaryFolder folder;
    const std::string path = folder.file("a.txt", "a\u00E9\U0001F600z");
    const std::vector<std::string> expected = {"",        "a",       "a",       "a\u00E9",
                                               "a\u00E9", "a\u00E9", "a\u00E9", "a\u00E9\U0001F600"};
    PlainText reader;
    for (std::size_t length = 0; length < expected.size(); ++length) {
        reader.read(path, length);
        EXPECT_EQ(reader.text(), expected[length]) << length;
    }
}

TEST(PlainText, AGrowingFileEndsWhereItEndedAtFirst) {
    const TemporaryFolder folder;
    const std::string begun(std::size_t{3} << 20, 'x');
    const std::string path = folder.file("a.log", begun);
    std::ofstream log(path, std::ios::app);
    PlainText reader;
    reader.read(path, kNoLengthLimit, [&log] {
        log << "more" << std::flush;
        return false;
    });
    EXPECT_EQ(reader.text(), begun);
    EXPECT_THROW(reader.read(path, kNoLengthLimit, [] { return true; }), Error);
    reader.read("/proc/self/status");  // states no size
    EXPECT_NE(reader.text().find("Name:"), std::string_view::npos);
}

}  // namespace
}  // namespace kestrix
