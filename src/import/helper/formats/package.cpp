#include "import/helper/formats/package.h"

#include <array>
#include <span>

#include "import/helper/formats/book.h"
#include "import/helper/formats/document.h"
#include "import/helper/formats/formats.h"
#include "import/helper/formats/markup_reader.h"
#include "import/helper/formats/spreadsheet.h"
#include "import/helper/formats/zip_package.h"

namespace kestrix {
namespace {

using std::string_view;

// Word processing of the one family (docx). A drawing is there twice for old programs: the second is skipped.
// The codes of fields (instrText) and deleted text (delText) hold no `t`.
constexpr std::array<MarkupRule, 7> kWordRules = {{{"t", kHoldsText},
                                                   {"p", kEndsLine},
                                                   {"tab", kEndsCell},
                                                   {"br", kEndsLine},
                                                   {"cr", kEndsLine},
                                                   {"noBreakHyphen", kIsHyphen},
                                                   {"Fallback", kIsSkipped}}};
constexpr std::array<string_view, 6> kWordMembers = {"word/document.xml", "word/header*.xml",
                                                     "word/footer*.xml",  "word/footnotes.xml",
                                                     "word/endnotes.xml", "word/comments.xml"};

// Slides (pptx), their notes, their comments (`text`) and the diagrams on them.
constexpr std::array<MarkupRule, 5> kSlideRules = {{{"t", kHoldsText},
                                                    {"p", kEndsLine},
                                                    {"br", kEndsLine},
                                                    {"text", kHoldsText | kEndsLine},
                                                    {"Fallback", kIsSkipped}}};
constexpr std::array<string_view, 4> kSlideMembers = {"ppt/slides/slide*.xml",
                                                      "ppt/notesSlides/notesSlide*.xml",
                                                      "ppt/diagrams/data*.xml", "ppt/comments/comment*.xml"};

// What hangs on the cells of a sheet (xlsx): comments and drawings. The cells are another matter.
constexpr std::array<MarkupRule, 4> kSheetRules = {
    {{"t", kHoldsText}, {"p", kEndsLine}, {"comment", kEndsLine}, {"Fallback", kIsSkipped}}};
constexpr std::array<string_view, 2> kSheetMembers = {"xl/comments*.xml", "xl/drawings/drawing*.xml"};

// The other family (odt, odp and their templates). Deleted text stands among the tracked changes.
constexpr std::array<MarkupRule, 6> kOpenRules = {{{"p", kHoldsText | kEndsLine},
                                                   {"h", kHoldsText | kEndsLine},
                                                   {"s", kEndsWord},
                                                   {"tab", kEndsCell},
                                                   {"line-break", kEndsLine},
                                                   {"tracked-changes", kIsSkipped}}};
constexpr std::array<string_view, 2> kOpenMembers = {"content.xml", "styles.xml"};

// Its sheets (ods): a row is a line, whatever stands in a cell.
constexpr std::array<MarkupRule, 7> kOpenSheetRules = {{{"p", kHoldsText | kEndsWord},
                                                        {"h", kHoldsText | kEndsWord},
                                                        {"s", kEndsWord},
                                                        {"table-cell", kEndsCell},
                                                        {"table-row", kEndsLine},
                                                        {"table", kEndsLine},
                                                        {"tracked-changes", kIsSkipped}}};

constexpr string_view kOpenSheetType = "application/vnd.oasis.opendocument.spreadsheet";

struct PackageKind {
    const char* marker;  // the member by which it is known
    string_view type;    // what its member "mimetype" begins with; empty if that does not matter
    void (*before)(TextWriter&, ZipPackage&);  // writes what no table can tell; may be null
    std::span<const string_view> members;
    std::span<const MarkupRule> rules;
};
constexpr std::array<PackageKind, 5> kKinds = {
    {{"word/document.xml", {}, nullptr, kWordMembers, kWordRules},
     {"xl/workbook.xml", {}, writeSpreadsheet, kSheetMembers, kSheetRules},
     {"ppt/presentation.xml", {}, nullptr, kSlideMembers, kSlideRules},
     {"content.xml", kOpenSheetType, nullptr, kOpenMembers, kOpenSheetRules},
     {"content.xml", {}, nullptr, kOpenMembers, kOpenRules}}};

constexpr const char* kBookMarker = "META-INF/container.xml";

const PackageKind& kindOf(ZipPackage& package) {
    const std::string type = package.has("mimetype") ? package.whole("mimetype", 256) : "";
    for (const PackageKind& kind : kKinds) {
        if (package.has(kind.marker) && type.starts_with(kind.type)) return kind;
    }
    failDocument(ImportFailure::damaged, "holds no document of a known kind");
}

// Finds the mark that the second family leaves beside encrypted members.
class EncryptionMark : public XmlHandler {
  public:
    void startElement(string_view name, const std::vector<Attribute>&) override {
        isThere = isThere || name == "encryption-data";
    }
    void endElement(string_view) override {}
    void characters(string_view) override {}
    bool isSatisfied() const override { return isThere; }

    bool isThere = false;
};

void demandUnlocked(ZipPackage& package) {
    constexpr const char* kManifest = "META-INF/manifest.xml";
    if (!package.has(kManifest)) return;
    EncryptionMark mark;
    package.readXml(kManifest, mark);
    if (mark.isThere) failDocument(ImportFailure::damaged, "is locked with a password");
}

std::string officeText(const ImportJob& job, ZipPackage& package) {
    const PackageKind& kind = kindOf(package);
    demandUnlocked(package);
    TextWriter writer(job.maxLength);
    if (kind.before != nullptr) kind.before(writer, package);
    for (const string_view pattern : kind.members) {
        for (const std::string& member : package.membersLike(pattern)) {
            if (writer.isFull()) return writer.take();
            MarkupReader reader(kind.rules, writer);
            package.readXml(member, reader);
            writer.lineBreak();
        }
    }
    return writer.take();
}

}  // namespace

ImportTextResult readPackage(const ImportJob& job, string_view bytes) {
    ZipPackage package(bytes, [&job](int percent) { tellProgress(job, percent); });
    if (!package.has(kBookMarker)) return onePage(officeText(job, package));
    ImportTextResult result;
    result.text = readBook(job, package);
    return result;
}

ImportTextResult importPackage(const ImportJob& job) {
    return withDocument(job, kLargestDocument,
                        [&job](const std::string& bytes) { return readPackage(job, bytes); });
}

}  // namespace kestrix
