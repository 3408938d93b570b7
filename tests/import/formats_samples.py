#!/usr/bin/env python3
"""Writes one small document of every kind, and damaged ones, into the folder given: formats_samples.py FOLDER."""
import os
import struct
import sys
import zlib

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../bench/compare_tools"))
import document_formats as formats  # noqa: E402

TITLE = "Größe"
PARAGRAPHS = ["The yearly total of the café", "a < b & c", "naïveté ends here"]
WORD_SPACE = 'xmlns:w="word" xmlns:mc="compat"'

# Letters that are made of upright and level bars alone, so that no font is needed to draw them: x, y, width, height.
LETTERS = {"T": [(0, 6, 5, 1), (2, 0, 1, 6)], "H": [(0, 0, 1, 7), (4, 0, 1, 7), (1, 3, 3, 1)],
           "E": [(0, 0, 1, 7), (1, 6, 4, 1), (1, 3, 3, 1), (1, 0, 4, 1)],
           "F": [(0, 0, 1, 7), (1, 6, 4, 1), (1, 3, 3, 1)], "I": [(2, 0, 1, 7)], "L": [(0, 0, 1, 7), (1, 0, 4, 1)]}


def bars(text, scale, left, bottom):
    for index, letter in enumerate(text):
        for x, y, width, height in LETTERS.get(letter, []):
            yield (left + (index * 7 + x) * scale, bottom + y * scale, width * scale, height * scale)


def png(text):
    """A grey picture of the text, black on white."""
    scale, margin = 6, 60
    width, height = len(text) * 7 * scale + 2 * margin, 7 * scale + 2 * margin
    rows = [bytearray(b"\xff" * width) for _ in range(height)]
    for x, y, w, h in bars(text, scale, margin, margin):
        for row in range(y, y + h):
            rows[height - 1 - row][x:x + w] = b"\0" * w

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    pixels = b"".join(b"\0" + bytes(row) for row in rows)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 0, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(pixels)) + chunk(b"IEND", b""))


def scanned_pdf(text):
    """A page without any text on which the text is drawn."""
    content = b"".join(b"%d %d %d %d re f\n" % bar for bar in bars(text, 3, 50, 700))
    return formats.pdf_file([b"<</Type/Catalog/Pages 2 0 R>>", b"<</Type/Pages/Count 1/Kids[3 0 R]>>",
                             b"<</Type/Page/Parent 2 0 R/MediaBox[0 0 400 842]/Contents 4 0 R>>",
                             formats.pdf_stream(content)])


def locked_pdf():
    trailer = b"/Encrypt<</Filter/Standard/V 1/R 2/P -4/O<%s>/U<%s>>>/ID[<00><00>]" % (b"41" * 32, b"42" * 32)
    return formats.pdf(TITLE, PARAGRAPHS).replace(b"/Root 1 0 R", b"/Root 1 0 R" + trailer)


def word(body, **more):
    members = [("[Content_Types].xml", formats.CONTENT_TYPES),
               ("word/document.xml", f"<w:document {WORD_SPACE}>{body}</w:document>")]
    return formats.package(members + [(f"word/{name}.xml", content) for name, content in more.items()])


def locked(package):
    """Says of every member, in front of it and in the list at the end, that it is encrypted."""
    for mark, offset in ((b"PK\x03\x04", 6), (b"PK\x01\x02", 8)):
        at = package.find(mark)
        while at >= 0:
            package = package[:at + offset] + b"\x01" + package[at + offset + 1:]
            at = package.find(mark, at + 4)
    return package


def stating_size(package, size):
    """Changes the size that the members state for themselves unpacked."""
    for mark, offset in ((b"PK\x03\x04", 22), (b"PK\x01\x02", 24)):
        at = package.find(mark)
        while at >= 0:
            package = package[:at + offset] + struct.pack("<I", size) + package[at + offset + 4:]
            at = package.find(mark, at + 4)
    return package


RICH_WORD = word(
    '<w:p><w:pPr><w:tabs><w:tab/></w:tabs></w:pPr><w:r><w:t xml:space="preserve">split </w:t></w:r><w:r><w:t>wo</w:t>'
    "</w:r><w:r><w:t>rd</w:t><w:tab/><w:t>tabbed</w:t><w:br/><w:t>soft\u00adhyphen</w:t></w:r>"
    "<w:r><w:instrText>fieldcode</w:instrText></w:r><w:r><w:delText>deleted</w:delText></w:r></w:p>"
    "<w:p><w:t>a</w:t><mc:AlternateContent><mc:Choice><w:txbxContent><w:p><w:t>box</w:t></w:p></w:txbxContent></mc:Choice>"
    "<mc:Fallback><w:txbxContent><w:p><w:t>again</w:t></w:p></w:txbxContent></mc:Fallback></mc:AlternateContent>"
    "<w:t>round</w:t><w:moveFrom><w:t>elsewhere</w:t></w:moveFrom></w:p>",
    header1=f"<w:hdr {WORD_SPACE}><w:p><w:t>in the</w:t><w:ptab/><w:t>header</w:t></w:p></w:hdr>",
    footnotes2=f"<w:notes {WORD_SPACE}><w:p><w:t>in a note</w:t></w:p></w:notes>",
    **{"charts/chart1": "<chart><p><t>pie</t></p><cat><v>slice</v></cat><numCache><v>7</v></numCache></chart>"})
RICH_SHEET = formats.package([
    ("xl/workbook.xml", '<workbook><sheets><sheet name="Budget"/></sheets></workbook>'),
    ("xl/sharedStrings.xml", "<sst><si><r><t>two </t></r><r><t>runs</t></r><rPh><t>spoken</t></rPh></si>"
                             "<si><t>last</t></si></sst>"),
    ("xl/worksheets/sheet10.xml", '<s><row><c t="s"><v>1</v></c></row></s>'),
    ("xl/worksheets/sheet2.xml", '<s><row><c t="s"><v>0</v></c><c/><c><f>A1*2</f><v>12.5</v></c><c t="b"><v>1</v></c>'
                                 '<c><v>4.3499999999999996</v></c></row>'
                                 '<row><c s="1"><v>43861</v></c><c s="2"><v>43861.5625</v></c><c s="0"><v>43861</v></c>'
                                 '<c s="3"><v>7</v></c><c s="2"><v>0.25001157</v></c><c s="2" t="str"><v>x</v></c></row>'
                                 '<row><c t="inlineStr"><is><t>inline</t></is></c><c t="s"><v>99</v></c></row>'
                                 '<row><c t="inlineStr"><is><t>one_x000D_\ntwo _x_ _x005F_</t></is></c></row></s>'),
    ("xl/styles.xml", "<s><numFmts><numFmt numFmtId='170' formatCode='dd\\. \"of\" mmm'/><numFmt numFmtId='171' "
                      "formatCode='[Red]0.0 \"days\"'/></numFmts><cellStyleXfs><xf numFmtId='14'/></cellStyleXfs><cellXfs>"
                      "<xf numFmtId='0'/><xf numFmtId='14'/><xf numFmtId='170'/><xf numFmtId='171'/></cellXfs></s>"),
    ("xl/comments1.xml", "<comments><comment><text><r><t>remark</t></r></text></comment></comments>")])
BOMB = "".join(f'<!ENTITY {chr(98 + i)} "{("&" + chr(97 + i) + ";") * 10}">' for i in range(9))
ENCRYPTED_CHAPTER = ("META-INF/encryption.xml", '<e><EncryptedData><CipherReference URI="OEBPS/text/chapter%201.xhtml"/>'
                                                "</EncryptedData></e>")
CROOKED_BOOK = formats.package([("META-INF/container.xml", '<c><rootfile full-path="a/b/book.opf"/></c>'),
                               ("a/b/book.opf", '<p><item id="x" href="../../../a/./c/../one%201.xhtml#top"/>'
                                                '<itemref idref="x"/></p>'),
                               ("a/one 1.xhtml", "<p>found</p>")])
MESSAGE = formats.eml(TITLE, PARAGRAPHS)

SAMPLES = {f"plain.{name}": make(TITLE, PARAGRAPHS) for name, make in formats.FORMATS.items()}
SAMPLES |= {
    "plain.emlx": b"%d      \n" % len(MESSAGE) + MESSAGE + b"<?xml version='1.0'?><plist>flags</plist>",
    "latin.html": "<meta charset=iso-8859-2><p>The yearly total of the café \u010daj: naïve ends here".encode("iso-8859-2", "xmlcharrefreplace"),
    "rich.doc": formats.rtf(TITLE, PARAGRAPHS),
    "broken_lines.pdf": formats.pdf("A", ["an inter-", "national well-", "Known 2-", "nd \u00e9-", "t\u00e9-"]),
    "two_pages.pdf": formats.pdf(TITLE, PARAGRAPHS, lines_a_page=2),
    "locked.pdf": locked_pdf(),
    "scan.pdf": scanned_pdf("THE FILE"),
    "scan.png": png("LITTLE FILE"),
    "rich.docx": RICH_WORD,
    "rich.xlsx": RICH_SHEET,
    "changed.odt": formats.open_package("text", "<office:text><text:tracked-changes><text:p>deleted</text:p>"
                                        "</text:tracked-changes><text:p>one<text:s/>two<text:line-break/>three"
                                        "<text:tab/>four</text:p><text:p>in<text:note><text:note-citation>1</text:note-citation>"
                                        "<text:note-body><text:p>below</text:p></text:note-body></text:note>side</text:p>"
                                        "</office:text>"),
    "crooked.epub": CROOKED_BOOK,
    "locked.docx": locked(formats.docx(TITLE, PARAGRAPHS)),
    "wrapped.docx": b"\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1" + bytes(2000),
    "locked.odt": formats.package([("content.xml", b"\x93\x41"), ("META-INF/manifest.xml",
                                  "<m><file-entry><encryption-data/></file-entry></m>")],
                                  first="application/vnd.oasis.opendocument.text"),
    "locked.epub": formats.epub(TITLE, PARAGRAPHS, extra=[ENCRYPTED_CHAPTER]),
    "bomb_by_entities.docx": formats.package([("word/document.xml", f'<!DOCTYPE w [<!ENTITY a "lol">{BOMB}]><w><t>&j;</t></w>')]),
    "bomb_by_size.docx": stating_size(word("<w:p/>"), 0x40000000),
    "bomb_by_lie.docx": stating_size(word("<w:p><w:t>more</w:t></w:p>" * 50_000), 100),
    "bomb_by_depth.docx": word("<w:x>" * 20_000),
    "bomb_by_tag.docx": word(f'<w:x y="{"z" * 6_000_000}"/>'),
    "torn.docx": word("<w:p><w:t>half"),
    "other.zip": formats.package([("readme.txt", "hello")]),
}

for file_name, content in SAMPLES.items():
    with open(os.path.join(sys.argv[1], file_name), "wb") as file:
        file.write(content)
