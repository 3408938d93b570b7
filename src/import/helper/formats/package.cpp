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
// So is text that was moved away (the place it went to has it, too) and how a text is spoken (rt). The codes
// of fields (instrText) and deleted text (delText) hold no `t`. In the charts and diagrams, `v` names a bar
// or a slice. Some servers number the members.
constexpr std::array<MarkupRule, 13> kWordRules = {{{"t", kHoldsText},
                                                    {"p", kEndsLine},
                                                    {"tab", kEndsCell},
                                                    {"ptab", kEndsCell},
                                                    {"br", kEndsLine},
                                                    {"cr", kEndsLine},
                                                    {"noBreakHyphen", kIsHyphen},
                                                    {"txbxContent", kIsAside},
                                                    {"moveFrom", kIsSkipped},
                                                    {"rt", kIsSkipped},
                                                    {"v", kHoldsText | kEndsCell},
                                                    {"numCache", kIsSkipped},
                                                    {"Fallback", kIsSkipped}}};
constexpr std::array<string_view, 8> kWordMembers = {
    "word/document*.xml", "word/header*.xml",   "word/footer*.xml",        "word/footnotes*.xml",
    "word/endnotes*.xml", "word/comments*.xml", "word/diagrams/data*.xml", "word/charts/chart*.xml"};

// Slides (pptx), their notes, their comments (of old in `text`) and the diagrams and charts on them.
constexpr std::array<MarkupRule, 7> kSlideRules = {{{"t", kHoldsText},
                                                    {"p", kEndsLine},
                                                    {"br", kEndsLine},
                                                    {"text", kHoldsText | kEndsLine},
                                                    {"v", kHoldsText | kEndsCell},
                                                    {"numCache", kIsSkipped},
                                                    {"Fallback", kIsSkipped}}};
constexpr std::array<string_view, 5> kSlideMembers = {
    "ppt/slides/slide*.xml", "ppt/notesSlides/notesSlide*.xml", "ppt/diagrams/data*.xml",
    "ppt/charts/chart*.xml", "ppt/comments/*.xml"};

// What hangs on the cells of a sheet (xlsx): comments, drawings and charts. The cells are another matter.
constexpr std::array<MarkupRule, 4> kSheetRules = {
    {{"t", kHoldsText}, {"p", kEndsLine}, {"comment", kEndsLine}, {"Fallback", kIsSkipped}}};
constexpr std::array<string_view, 3> kSheetMembers = {"xl/comments*.xml", "xl/drawings/drawing*.xml",
                                                      "xl/charts/chart*.xml"};

// The other family (odt, odp and their templates). Deleted text stands among the tracked changes. Notes,
// comments and drawings stand inside of the paragraph that they belong to, with more than what is to be seen:
// the number of the note, the author of the comment.
constexpr std::array<MarkupRule, 14> kOpenRules = {{{"p", kHoldsText | kEndsLine},
                                                    {"h", kHoldsText | kEndsLine},
                                                    {"s", kEndsWord},
                                                    {"tab", kEndsCell},
                                                    {"line-break", kEndsLine},
                                                    {"note", kIsAside},
                                                    {"annotation", kIsAside},
                                                    {"frame", kIsAside},
                                                    {"custom-shape", kIsAside},
                                                    {"rect", kIsAside},
                                                    {"ellipse", kIsAside},
                                                    {"g", kIsAside},
                                                    {"ruby-text", kIsSkipped},
                                                    {"tracked-changes", kIsSkipped}}};
constexpr std::array<string_view, 2> kOpenMembers = {"content.xml", "styles.xml"};

// Its sheets (ods): a row is a line, whatever stands in a cell.
constexpr std::array<MarkupRule, 9> kOpenSheetRules = {{{"p", kHoldsText | kEndsWord},
                                                        {"h", kHoldsText | kEndsWord},
                                                        {"s", kEndsWord},
                                                        {"tab", kEndsWord},
                                                        {"line-break", kEndsWord},
                                                        {"table-cell", kEndsCell},
                                                        {"table-row", kEndsLine},
                                                        {"table", kIsNamed | kEndsLine},
                                                        {"tracked-changes", kIsSkipped}}};

constexpr string_view kOpenSheetType = "application/vnd.oasis.opendocument.spreadsheet";

struct PackageKind {
    string_view marker;  // the member by which it is known
    string_view type;    // what its member "mimetype" begins with; empty if that does not matter
    void (*before)(TextWriter&, ZipPackage&);  // writes what no table can tell; may be null
    std::span<const string_view> members;
    std::span<const MarkupRule> rules;
};
constexpr std::array<PackageKind, 5> kKinds = {
    {{kWordMembers.front(), {}, nullptr, kWordMembers, kWordRules},
     {"xl/workbook.xml", {}, writeSpreadsheet, kSheetMembers, kSheetRules},
     {"ppt/presentation.xml", {}, nullptr, kSlideMembers, kSlideRules},
     {"content.xml", kOpenSheetType, nullptr, kOpenMembers, kOpenSheetRules},
     {"content.xml", {}, nullptr, kOpenMembers, kOpenRules}}};

constexpr const char* kBookMarker = "META-INF/container.xml";

const PackageKind& kindOf(ZipPackage& package) {
    const std::string type = package.has("mimetype") ? package.whole("mimetype", 256) : "";
    for (const PackageKind& kind : kKinds) {
        if (type.starts_with(kind.type) && !package.membersLike(kind.marker).empty()) return kind;
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
