"""Writes documents of eleven formats by hand, the same bytes for the same text on every machine.

Every function takes a title and a list of paragraphs and returns the bytes of one document. Paragraphs may hold any
character of Latin-1; all formats but PDF take any character at all.
"""
import base64
import io
import quopri
import zipfile
import zlib
from xml.sax.saxutils import escape, quoteattr


def package(members, first=None):
    """A zip package of (name, text or bytes); `first` is stored in front, uncompressed, as the mimetype of some."""
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w", zipfile.ZIP_DEFLATED) as archive:
        if first:
            archive.writestr(zipfile.ZipInfo("mimetype", (2020, 1, 1, 0, 0, 0)), first)
        for name, content in members:
            info = zipfile.ZipInfo(name, (2020, 1, 1, 0, 0, 0))
            info.compress_type = zipfile.ZIP_DEFLATED
            archive.writestr(info, content)
    return buffer.getvalue()


def xml(root):
    return '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n' + root


def html(title, paragraphs):
    body = "\n".join(f"<p>{escape(p)}</p>" for p in paragraphs)
    return (f'<!DOCTYPE html>\n<html><head><meta charset="utf-8"><title>{escape(title)}</title>'
            f"<style>p {{ margin: 1em }}</style><script>var hidden = '<p>scriptword</p>';</script></head>\n"
            f"<body><h1>{escape(title)}</h1>\n{body}\n</body></html>\n").encode()


def pdf_lines(paragraphs, width=90):
    for paragraph in paragraphs:
        line = ""
        for word in paragraph.split(" "):
            if line and len(line) + len(word) >= width:
                yield line
                line = ""
            line += (" " if line else "") + word
        yield line


def pdf_string(text):
    raw = text.encode("cp1252", "replace")
    return b"(" + raw.replace(b"\\", b"\\\\").replace(b"(", b"\\(").replace(b")", b"\\)") + b")"


def pdf_file(objects, trailer=b""):
    """A PDF of numbered objects, the first being the catalog."""
    data = b"%PDF-1.4\n%\xe2\xe3\xcf\xd3\n"
    places = []
    for number, content in enumerate(objects, 1):
        places.append(len(data))
        data += b"%d 0 obj\n" % number + content + b"\nendobj\n"
    table = b"".join(b"%010d 00000 n \n" % place for place in places)
    return (data + b"xref\n0 %d\n0000000000 65535 f \n" % (len(objects) + 1) + table +
            b"trailer\n<</Size %d/Root 1 0 R%s>>\nstartxref\n%d\n%%%%EOF\n" % (len(objects) + 1, trailer, len(data)))


def pdf_stream(content, entries=b""):
    return b"<<%s/Length %d>>\nstream\n" % (entries, len(content)) + content + b"\nendstream"


def pdf(title, paragraphs, lines_a_page=50):
    lines = [title] + list(pdf_lines(paragraphs))
    pages = [lines[at:at + lines_a_page] for at in range(0, len(lines), lines_a_page)]
    kids = b" ".join(b"%d 0 R" % (4 + 2 * index) for index in range(len(pages)))
    objects = [b"<</Type/Catalog/Pages 2 0 R>>", b"<</Type/Pages/Count %d/Kids[%s]>>" % (len(pages), kids),
               b"<</Type/Font/Subtype/Type1/BaseFont/Helvetica/Encoding/WinAnsiEncoding>>"]
    for page in pages:
        content = b"BT /F1 11 Tf 14 TL 50 780 Td\n" + b"\n".join(pdf_string(l) + b" '" for l in page) + b"\nET"
        objects.append(b"<</Type/Page/Parent 2 0 R/MediaBox[0 0 595 842]/Resources<</Font<</F1 3 0 R>>>>"
                       b"/Contents %d 0 R>>" % (len(objects) + 2))
        objects.append(pdf_stream(zlib.compress(content), b"/Filter/FlateDecode"))
    return pdf_file(objects)


OFFICE = "http://schemas.openxmlformats.org/officeDocument/2006/relationships"
CONTENT_TYPES = xml('<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">'
                    '<Default Extension="xml" ContentType="application/xml"/></Types>')


def docx(title, paragraphs, extra=()):
    runs = "".join(f'<w:p><w:pPr><w:tabs><w:tab w:val="left"/></w:tabs></w:pPr><w:r><w:t xml:space="preserve">'
                   f"{escape(p)}</w:t></w:r></w:p>" for p in [title] + paragraphs)
    space = 'xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main"'
    return package([("[Content_Types].xml", CONTENT_TYPES),
                    ("word/document.xml", xml(f"<w:document {space}><w:body>{runs}</w:body></w:document>")), *extra])


def cell_name(row, column):
    return f"{chr(65 + column)}{row + 1}"


def xlsx(title, paragraphs, columns=4):
    """Paragraphs are cells, from left to right, with a number behind each row."""
    shared = sorted(set(paragraphs))
    numbers = {text: number for number, text in enumerate(shared)}
    rows = []
    for row, at in enumerate(range(0, len(paragraphs), columns)):
        cells = "".join(f'<c r="{cell_name(row, column)}" t="s"><v>{numbers[text]}</v></c>'
                        for column, text in enumerate(paragraphs[at:at + columns]))
        rows.append(f'<row r="{row + 1}">{cells}<c r="{cell_name(row, columns)}"><v>{row * 7 + 1000.5}</v></c></row>')
    space = 'xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"'
    texts = "".join(f"<si><t>{escape(text)}</t></si>" for text in shared)
    return package([
        ("[Content_Types].xml", CONTENT_TYPES),
        ("xl/workbook.xml", xml(f'<workbook {space} xmlns:r="{OFFICE}"><sheets><sheet name={quoteattr(title)} '
                                f'sheetId="1" r:id="rId1"/></sheets></workbook>')),
        ("xl/worksheets/sheet1.xml", xml(f"<worksheet {space}><sheetData>{''.join(rows)}</sheetData></worksheet>")),
        ("xl/sharedStrings.xml", xml(f"<sst {space}>{texts}</sst>"))])


def pptx(title, paragraphs, a_slide=5):
    space = ('xmlns:a="http://schemas.openxmlformats.org/drawingml/2006/main" '
             'xmlns:p="http://schemas.openxmlformats.org/presentationml/2006/main"')
    members = [("[Content_Types].xml", CONTENT_TYPES), ("ppt/presentation.xml", xml(f"<p:presentation {space}/>"))]
    for number, at in enumerate(range(0, len(paragraphs), a_slide), 1):
        text = "".join(f"<a:p><a:r><a:t>{escape(p)}</a:t></a:r></a:p>"
                       for p in [f"{title} {number}"] + paragraphs[at:at + a_slide])
        members.append((f"ppt/slides/slide{number}.xml",
                        xml(f"<p:sld {space}><p:cSld><p:spTree><p:sp><p:txBody>{text}</p:txBody></p:sp></p:spTree>"
                            f"</p:cSld></p:sld>")))
    return package(members)


OPEN = " ".join(f'xmlns:{name}="urn:oasis:names:tc:opendocument:xmlns:{name}:1.0"'
                for name in ("office", "text", "table", "manifest"))
OPEN += ' xmlns:draw="urn:oasis:names:tc:opendocument:xmlns:drawing:1.0"'


def open_package(kind, body, extra=()):
    mime = f"application/vnd.oasis.opendocument.{kind}"
    manifest = f'<manifest:manifest {OPEN}><manifest:file-entry manifest:full-path="content.xml"/></manifest:manifest>'
    content = f"<office:document-content {OPEN}><office:body>{body}</office:body></office:document-content>"
    # It says nothing, but some programs read no document without it.
    meta = f"<office:document-meta {OPEN}><office:meta/></office:document-meta>"
    return package([("content.xml", xml(content)), ("meta.xml", xml(meta)), ("META-INF/manifest.xml", xml(manifest)),
                    *extra], first=mime)


def open_paragraphs(paragraphs):
    return "".join(f"<text:p>{escape(p)}</text:p>" for p in paragraphs)


def odt(title, paragraphs, extra=()):
    return open_package("text", f"<office:text><text:h>{escape(title)}</text:h>{open_paragraphs(paragraphs)}"
                                f"</office:text>", extra)


def ods(title, paragraphs, columns=4):
    rows = ""
    for at in range(0, len(paragraphs), columns):
        cells = "".join(f"<table:table-cell>{open_paragraphs([p])}</table:table-cell>"
                        for p in paragraphs[at:at + columns])
        rows += f"<table:table-row>{cells}</table:table-row>"
    return open_package("spreadsheet", f"<office:spreadsheet><table:table table:name={quoteattr(title)}>{rows}"
                                       f"</table:table></office:spreadsheet>")


def odp(title, paragraphs, a_slide=5):
    slides = ""
    for number, at in enumerate(range(0, len(paragraphs), a_slide), 1):
        text = open_paragraphs([f"{title} {number}"] + paragraphs[at:at + a_slide])
        slides += f"<draw:page><draw:frame><draw:text-box>{text}</draw:text-box></draw:frame></draw:page>"
    return open_package("presentation", f"<office:presentation>{slides}</office:presentation>")


def epub(title, paragraphs, a_chapter=20, extra=()):
    members = [("META-INF/container.xml",
                xml('<container xmlns="urn:oasis:names:tc:opendocument:xmlns:container"><rootfiles>'
                    '<rootfile full-path="OEBPS/content.opf"/></rootfiles></container>'))]
    items, order = "", ""
    for number, at in enumerate(range(0, len(paragraphs), a_chapter), 1):
        text = "".join(f"<p>{escape(p)}</p>" for p in paragraphs[at:at + a_chapter])
        members.append((f"OEBPS/text/chapter {number}.xhtml",
                        xml('<html xmlns="http://www.w3.org/1999/xhtml"><head><title/><script src="none.js"/></head>'
                            f"<body>{text}</body></html>")))
        # Read backwards in the list of files, so that only the order of reading puts them right.
        items = f'<item id="c{number}" href="text/chapter%20{number}.xhtml"/>' + items
        order += f'<itemref idref="c{number}"/>'
    members.append(("OEBPS/content.opf",
                    xml('<package xmlns="http://www.idpf.org/2007/opf" xmlns:dc="http://purl.org/dc/elements/1.1/">'
                        f"<metadata><dc:title>{escape(title)}</dc:title></metadata><manifest>{items}</manifest>"
                        f"<spine>{order}</spine></package>")))
    return package([*members, *extra], first="application/epub+zip")


def rtf_text(text):
    out = ""
    for character in text:
        code = ord(character)
        if character in "\\{}":
            out += "\\" + character
        elif code < 128:
            out += character
        elif code < 256:
            out += f"\\'{code:02x}"
        else:
            units = character.encode("utf-16-le")
            for at in range(0, len(units), 2):
                out += f"\\u{int.from_bytes(units[at:at + 2], 'little', signed=True)}?"
    return out


def rtf(title, paragraphs):
    body = "\\par\n".join(rtf_text(p) for p in [title] + paragraphs)
    return ("{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0\\fswiss\\fcharset0 Arial;}{\\f1\\fcharset204 Other;}}\n"
            "{\\stylesheet{\\s0 styleword;}}{\\*\\generator generatorword;}\n\\pard\\plain " + body +
            "\\par}").encode("ascii")


def eml(title, paragraphs):
    """Quoted-printable text, the same as HTML, and the name of something attached."""
    plain = "\n".join(paragraphs)
    page = "".join(f"<p>{escape(p)}</p>" for p in paragraphs)
    subject = base64.b64encode(title.encode()).decode()
    return (f"From: =?iso-8859-1?Q?Andr=E9?= Sender <sender@example.org>\r\nTo: receiver@example.org\r\n"
            f"Subject: =?UTF-8?B?{subject}?=\r\nDate: Wed, 01 Jan 2020 10:00:00 +0000\r\nMIME-Version: 1.0\r\n"
            f'Content-Type: multipart/mixed; boundary="outer"\r\n\r\nfor old programs\r\n--outer\r\n'
            f'Content-Type: multipart/alternative; boundary="inner"\r\n\r\n--inner\r\n'
            f"Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n"
            f"{quopri.encodestring(plain.encode()).decode()}\r\n--inner\r\nContent-Type: text/html; charset=utf-8\r\n"
            f"Content-Transfer-Encoding: base64\r\n\r\n{base64.encodebytes(page.encode()).decode()}\r\n--inner--\r\n"
            f"--outer\r\nContent-Type: application/pdf\r\nContent-Transfer-Encoding: base64\r\n"
            f"Content-Disposition: attachment; filename*=utf-8''caf%C3%A9%20bill.pdf\r\n\r\nAAAA\r\n--outer--\r\n"
            ).encode()


def txt(title, paragraphs):
    return "\n".join([title] + paragraphs + [""]).encode()


PLAIN = {"txt": txt}
FORMATS = {function.__name__: function for function in (html, pdf, docx, xlsx, pptx, odt, ods, odp, epub, rtf, eml)}
