// The readers whose input is text: web pages, rich text, mail.

#include <ctime>

#include "tests/import/formats_fixture.h"

namespace kestrix {
namespace {

class TextFormatsTest : public ImporterTest {
  protected:
    std::string html(std::string_view page) { return textOf("page.html", page); }
    std::string rtf(std::string_view body) {
        return textOf("note.rtf", "{\\rtf1\\ansi " + std::string(body) + "}");
    }
    std::string mail(std::string_view message) { return textOf("post.eml", message); }
};

std::string times(int count, std::string_view text) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

TEST_F(TextFormatsTest, APageReadsAsItIsSeen) {
    EXPECT_EQ(html("<p>one <b>t</b>wo<br>three</p>x<script>if (a<b) '<p>no</p>'</script><style>no</style>y"
                   "<noscript>no</noscript><template>no</template><div>zw&shy;ei&nbsp;&amp;&eacute;</div>"),
              "one two\nthree\nxy\nzwei &é");
    EXPECT_EQ(html("<table><tr><th>a<td>b<tr><td>c<td>d</table>"), "a\tb\nc\td");
    EXPECT_EQ(html("<pre>a  b\n  c</pre>  d   e"), "a  b\n  c\nd e");
    EXPECT_EQ(html("<title/><script src='x'/><p>kept"), "kept");
    EXPECT_EQ(html("<a title='x>y'>t</a><!-- <p>no --> u < v"), "t u < v");
    EXPECT_EQ(
        html("<a b= \"x > y\">a text that is long enough</a><a b=c\"d>, another of its kind <i b=\"\">e"),
        "a text that is long enough, another of its kind e");
    EXPECT_EQ(html("a<button>b</button><button>c</button>d<input>e <ruby>f<rp>(<rt>no<rp>)</ruby>g<wbr>h"),
              "a b c d e fgh");
    EXPECT_EQ(html("<svg><g><text>a</text><text><tspan>b</tspan>c</text></g></svg>"), "a bc");
    // Longer texts pass the parser by, and go where it puts them.
    EXPECT_EQ(html("<table>this stands  in front of it<tr><td>a\n long  cell &eacute;t&eacute;s of some words"
                   "<td>b</table><pre>\nlong  lines\n  of a&amplisting that goes on</pre>"),
              "this stands in front of it\na long cell étés of some words\tb\n"
              "long  lines\n  of a&listing that goes on");
    EXPECT_EQ(html("a text that is long enough &#xF8FE;7&#xF8FF;"),
              "a text that is long enough \uF8FE7\uF8FF");
    EXPECT_EQ(html("a text that is long enough \uF8FE0\uF8FF"), "a text that is long enough \uF8FE0\uF8FF");
}

TEST_F(TextFormatsTest, APageIsReadInItsEncoding) {
    EXPECT_EQ(html("<meta charset=iso-8859-2><p>\xB3\xF3"), "łó");
    EXPECT_EQ(html("<?xml version='1.0' encoding='koi8-r'?><p>\xC4\xC1"), "да");
    EXPECT_EQ(html("<meta http-equiv=x content='text/html; charset=ISO-8859-1'><p>\x80"), "€");
    EXPECT_EQ(html("<meta charset=latin1><p>caf\xC3\xA9"), "café");
    EXPECT_EQ(html("<meta charset=gb2312><p>\xE9\x46"), "镕");
    EXPECT_EQ(html("<meta charset=euc-kr><p>\x8C\x63"), "똠");
    EXPECT_EQ(html("<meta charset=iso-8859-9><p>\x80\xDD"), "€İ");
    EXPECT_EQ(html("<meta charset=iso-2022-jp><p>\x1B$B$\"\x1B(B"), "あ");
    EXPECT_EQ(html(std::string_view("\xFF\xFE<\0p\0>\0\xE9\0", 10)), "é");
    EXPECT_EQ(html("\xEF\xBB\xBF<meta charset=latin1>é"), "é");
    EXPECT_EQ(html("caf\xE9"), "café");
    EXPECT_EQ(html("<meta charset=nonsense>caf\xE9"), "café");
}

// Nesting costs the parser the square of its depth: without the cut these take minutes. Of the processor's
// time, which other programs do not use up.
TEST_F(TextFormatsTest, DeepAndLongPagesKeepTheirTextAndTakeNoTime) {
    const std::clock_t start = std::clock();
    EXPECT_EQ(html(times(300'000, "<div>") + "needle"), "needle");
    EXPECT_EQ(html(times(300'000, "<b a=1>") + "needle"), "needle");
    EXPECT_EQ(html(times(300, "<i>") + "a<div>b</div>c"), "a\nb\nc");
    std::string attributes;
    for (int i = 0; i < 200'000; ++i)
        attributes += " a" + std::to_string(i);
    EXPECT_EQ(html("<p" + attributes + ">needle"), "needle");
    EXPECT_EQ(html("<ul>" + times(1'000'000, "<li>x")), times(999'999, "x\n") + "x");
    EXPECT_LT(std::clock() - start, 20 * CLOCKS_PER_SEC);
    const std::string row = "<tr><td>cell &eacute;</td><td>other</td></tr>";
    EXPECT_EQ(html("<table>" + times(20'000, row) + "</table>"),
              times(19'999, "cell é\tother\n") + "cell é\tother");
    EXPECT_EQ(html("<div>" + times(50'000, "<p>word ten</p>")), times(49'999, "word ten\n") + "word ten");
}

TEST_F(TextFormatsTest, RichTextReadsAsItIsSeen) {
    EXPECT_EQ(rtf("{\\fonttbl{\\f0 Font;}}{\\*\\unknown no}{\\info{\\title no}}a{\\b b}c\\par d\\tab "
                  "e\\line\\{f\\}"),
              "abc\nd\te\n{f}");
    EXPECT_EQ(
        rtf("{\\field{\\*\\fldinst HYPERLINK no}{\\fldrslt link}} \\emdash\\~\\ldblquote q\\rdblquote x\\-y"),
        "link — “q”xy");
    EXPECT_EQ(rtf("{\\pict 00ff}{\\*\\shpinst{\\sp{\\sn no}}{\\shptxt in shape}}\\par{\\bin3 }}}z"),
              "in shape\nz");
    EXPECT_EQ(rtf(R"({\header top}in{\super\chftn}{\*\footnote below}side{\deleted not} )"
                  R"({\deleted0 the}{\shp{\*\shpinst{\shptxt box}}{\shprslt box}} line)"),
              "top\ninside the line\nbelow\nbox");
}

TEST_F(TextFormatsTest, RichTextIsReadInItsCodePages) {
    EXPECT_EQ(rtf("caf\\'e9 \\u8364?\\uc2\\u233\\'c3\\'a9.\\uc0\\u101."), "café €é.e.");
    EXPECT_EQ(rtf("\\u-10179?\\u-8704?\\u-10179?x"), "😀x");
    EXPECT_EQ(
        rtf("{\\fonttbl{\\f1\\fcharset204 C;}{\\f2\\fcharset128 J;}}\\f1\\'e4\\'e0 {\\f2\\'82\\'a0}\\'e4"),
        "да あд");
    EXPECT_EQ(rtf("\\ansicpg1250 \\'b3\\mac\\'8e"), "łé");
    EXPECT_EQ(rtf(times(100'000, "{") + "deep" + times(100'000, "}")), "deep");
    EXPECT_THROW(textOf("no.rtf", "plain"), Error);
}

TEST_F(TextFormatsTest, MailHeadersAreDecoded) {
    EXPECT_EQ(mail("Subject: =?utf-8?B?w6k=?= =?utf-8?Q?_=C3?=\n =?utf-8?Q?=A9?= and "
                   "=?latin1?q?=E9?=!\nFrom: caf\xE9\n\n"),
              "é é and é!\ncafé");
    EXPECT_EQ(mail("Subject: a =?x?= =?utf-8?Z?no?= b\n\n"), "a =?x?= =?utf-8?Z?no?= b");
    EXPECT_THROW(mail("no mail at all"), Error);
}

TEST_F(TextFormatsTest, MailBodiesAreDecoded) {
    const std::string fields = "Subject: s\nContent-Type: text/plain; charset=\"iso-8859-1\"\n";
    EXPECT_EQ(
        mail(fields + "Content-Transfer-Encoding: quoted-printable\n\nsoft=\n=20break =E9 =ZZ\nline  \n"),
        "s\nsoft break é =ZZ\nline");
    EXPECT_EQ(mail(fields + "Content-Transfer-Encoding: BASE64\n\nY2Fm\n6Q==\n"), "s\ncafé");
    EXPECT_EQ(mail("Subject: s\nContent-Type: text/html\n\n<p>a<p>b"), "s\na\nb");
    EXPECT_EQ(mail("Subject: s\nContent-Type: text/html; charset=iso-8859-2\n\n<meta charset=utf-8><p>\xB3"),
              "s\nł");
    EXPECT_EQ(mail("Subject: s\nContent-Type: text/plain; format=flowed; delsp=yes\n\ntwo  \nwor \n \nds"),
              "s\ntwo words");
    EXPECT_EQ(mail("\xEF\xBB\xBF\n\nFrom me Mon Jan  1 00:00:00 2020\nSubject: s\n\nbody"), "s\nbody");
    EXPECT_EQ(mail("Subject: s\nContent-Type: text/plain; format=Flowed\n\nyearly \ntotal\n> a \n> b \n>> "
                   "c\n-- \nme"),
              "s\nyearly total\n> a b \n>> c\n-- \nme");
}

TEST_F(TextFormatsTest, OfSeveralVersionsTheRichestThatHasTextIsTaken) {
    const std::string start = "Subject: s\nContent-Type: multipart/alternative; boundary=\"b;1\"\n\n";
    const std::string plain = "--b;1\n\nplain\n";
    EXPECT_EQ(mail(start + plain + "--b;1\nContent-Type: text/html\n\n<p>rich\n--b;1--\nafter"), "s\nrich");
    EXPECT_EQ(mail(start + plain + "--b;1\nContent-Type: text/html\n\n<p> \n--b;1--"), "s\nplain");
    EXPECT_EQ(mail(start + plain + "--b;1\nContent-Type: image/png; name=p.png\n\nx\n--b;1--"),
              "s\np.png\nplain");
    EXPECT_EQ(mail(start + plain + "--b;1\nContent-Type: text/calendar\n\nBEGIN\n--b;1--"),
              "s\nBEGIN\nplain");
    EXPECT_EQ(mail("Subject: s\nContent-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: "
                   "multipart/alternative; "
                   "boundary=b2\n\n--b2\n\nplain\n--b2\n\nlast\n--b2--\n--b\n\nnext\n--b-- \n"),
              "s\nlast\nnext");
    EXPECT_EQ(
        mail("Subject: s\nContent-Type: multipart/related; boundary=b\n\n--b\nContent-Type: text/html\n\n"
             "<p>page\n--b\nContent-Type: text/css\n\np { margin: 0 }\n--b--"),
        "s\npage");
}

TEST_F(TextFormatsTest, MessagesInsideAndAttachmentsAreNamed) {
    EXPECT_EQ(
        mail("Subject: outer\nContent-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: "
             "message/rfc822\n\n"
             "Subject: inner\n\ntext\n--b\nContent-Type: text/plain; name*0*=latin1''n%E9; name*1=.txt\n"
             "Content-Disposition: attachment\n\nunread\n--b\nContent-Type: image/png; "
             "name=\"=?utf-8?Q?p=C3=A9?=\"\n\n"),
        "outer\ninner\ntext\nné.txt\npé");
    EXPECT_EQ(textOf("a.emlx", "17  \nSubject: s\n\nbody\n<plist>"), "s\nbody");
    EXPECT_EQ(textOf("a.emlx", "no message\ncaf\x8E"), "no message\ncaf\u00E9");
    std::string nested = "Subject: s\n";
    for (int i = 0; i < 30'000; ++i) {
        nested += "Content-Type: multipart/mixed; boundary=b" + std::to_string(i) + "\n\n--b" +
                  std::to_string(i) + "\n";
    }
    EXPECT_EQ(mail(nested + "\ndeep"), "s");
}

}  // namespace
}  // namespace kestrix
