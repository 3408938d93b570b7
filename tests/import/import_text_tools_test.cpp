#include "import/import_text_tools.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "base/error.h"
#include "base/text.h"
#include "import/legacy_word.h"
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
    EXPECT_EQ(ImportTextTools::wordsFromText(" \n--- ... \u2014 a\x02"
                                             "b\u00AD"
                                             "c\u0378"
                                             "d"),
              (Words{"a", "b", "c", "d"}));
    // Of 32 characters at most, however many code points those have.
    std::string longest;
    for (int i = 0; i < 32; ++i)
        longest += "e\u0301\u0323";
    EXPECT_EQ(ImportTextTools::wordsFromText(longest + " " + longest + "e (" + longest + ")"),
              (Words{longest, longest}));
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

TEST(ImportTextResult, WordsOfTextAndOfRecognisedTextBothCountAndPagesStandOnLinesOfTheirOwn) {
    ImportTextResult result;
    EXPECT_EQ(result.allText(true), std::nullopt);
    result.text = {{"one two"}, {"two\n"}};
    result.ocrText = {{"two"}, {"three"}};
    EXPECT_EQ(ImportTextTools::countWords(result, false).counts(), (WordCounts{{"one", 1}, {"two", 2}}));
    EXPECT_EQ(ImportTextTools::countWords(result, true).counts(),
              (WordCounts{{"one", 1}, {"two", 3}, {"three", 1}}));
    EXPECT_EQ(result.allText(false), "one two\ntwo\n");
    EXPECT_EQ(result.allText(true), "one two\ntwo\ntwo\nthree");
}

using Table = std::map<DocumentFormat, std::string_view>;

void expectFormats(const FileTypes& types, const Table& expected, bool all = false, bool useOCR = false) {
    const ImportTextTools tools(types);
    for (const auto& [format, names] : expected) {
        for (const std::string_view name : text::splitAt(names, ' '))
            EXPECT_EQ(tools.formatOf("/nowhere/" + std::string(name), all, useOCR), format) << name;
    }
}

TEST(ImportTable, TheNearestTypeWithAnImporterDecides) {
    const FileTypes types;
    expectFormats(types, {{DocumentFormat::rawText, "a.txt a.PY a.csv a.xml a.json a.h a.tsx a.svg a.md"},
                          {DocumentFormat::html, "a.html a.xhtml"},
                          {DocumentFormat::richText, "a.rtf"},
                          {DocumentFormat::mail, "a.eml a.mhtml"},
                          {DocumentFormat::appleMail, "a.emlx"},
                          {DocumentFormat::pdf, "a.pdf"},
                          {DocumentFormat::package,
                           "a.docx a.docm a.dotx a.xlsx a.pptx a.ppsx a.odt a.ods a.odp "
                           "a.odg a.ott a.epub"},
                          {DocumentFormat::legacyWord, "a.doc"},
                          {DocumentFormat::none, "a.zip a.mp3 README a.webarchive a.png a.jpg"}});
    expectFormats(types, {{DocumentFormat::image, "a.png a.jpg a.tif a.gif"}}, false, true);
    expectFormats(types, {{DocumentFormat::rawText, "a.png README"}, {DocumentFormat::pdf, "a.pdf"}}, true);
    // Without the database of types the usual documents are known.
    expectFormats(FileTypes(std::vector<std::string>()), {{DocumentFormat::rawText, "a.txt"},
                                                          {DocumentFormat::pdf, "a.pdf"},
                                                          {DocumentFormat::package, "a.docx"},
                                                          {DocumentFormat::html, "a.html"}});
}

TEST(LegacyWord, AnOldNameTellsNothing) {
    const TemporaryFolder folder;
    const std::map<std::string, DocumentFormat> beginnings = {
        {"\xD0\xCF\x11\xE0", DocumentFormat::legacyWord}, {"", DocumentFormat::legacyWord},
        {"PK\x03\x04", DocumentFormat::package},          {"{\\rtf1", DocumentFormat::richText},
        {"\xEF\xBB\xBF<HTML>", DocumentFormat::html},     {"\n<!doctype html>", DocumentFormat::html},
        {"MIME-Version: 1.0", DocumentFormat::mail}};
    for (const auto& [bytes, format] : beginnings)
        EXPECT_EQ(formatOfLegacyWord(OpenFile(folder.file("a.doc", bytes))), format) << bytes;
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
    reader.read(folder.file("d.txt", "\uFEFFcaf\u00E9"));
    EXPECT_EQ(reader.text(), "caf\u00E9");
    reader.read(folder.file("c.txt"));
    EXPECT_EQ(reader.takeText(), "");
}

TEST(PlainText, AtALimitOnlyWholeCharactersAreKept) {
    const TemporaryFolder folder;
    const std::string path = folder.file("a.txt", "a\u00E9\U0001F600z");
    const std::size_t expected[] = {0, 1, 1, 3, 3, 3, 3, 7};
    PlainText reader;
    for (std::size_t length = 0; length < std::size(expected); ++length) {
        reader.read(path, length);
        EXPECT_EQ(reader.text().size(), expected[length]) << length;
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
