#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-image.h>
#include <poppler-page-renderer.h>
#include <poppler-page.h>

#include <algorithm>
#include <memory>
#include <string_view>

#include "base/text.h"
#include "import/helper/formats/document.h"
#include "import/helper/formats/formats.h"
#include "import/helper/formats/text_recogniser.h"
#include "import/helper/formats/text_writer.h"

namespace kestrix {
namespace {

// No book has more; a small file can claim, and even have, a million, and each costs memory until the end.
constexpr int kMostPages = 50'000;
// Small print is read at this many dots an inch, and a page of A4 takes 1.4 s and 4 MB.
constexpr double kDotsPerInch = 200;
// A drawing of more dots is made coarser, so that a poster needs no more memory than a page.
constexpr double kMostDots = 16e6;

// poppler::ustring::to_utf8 wants files of the C library, which a process that is shut in cannot open.
std::string utf8From(const poppler::ustring& utf16) {
    std::string text;
    text.reserve(utf16.size());
    for (std::size_t at = 0; at < utf16.size(); ++at) {
        char32_t codePoint = utf16[at];
        const bool isPair =
            (codePoint & 0xFC00U) == 0xD800 && at + 1 < utf16.size() && (utf16[at + 1] & 0xFC00U) == 0xDC00;
        if (isPair) codePoint = 0x10000 + ((codePoint & 0x3FFU) << 10U) + (utf16[++at] & 0x3FFU);
        const bool isHalf = (codePoint & 0xFFFFF800U) == 0xD800;
        text::append(text, isHalf ? U'\uFFFD' : codePoint);
    }
    return text;
}

bool isSmallLetter(std::string_view character) {
    return text::uppered(character) != character;
}

// The hyphen at the end of a line that parts a word only because the line ends: a soft one, or one between
// small letters. Empty if there is none.
std::string_view breakingHyphen(std::string_view line, std::string_view next) {
    for (const std::string_view hyphen : {"\u00AD", "-", "\u2010"}) {
        if (!line.ends_with(hyphen)) continue;
        const std::size_t at = line.size() - hyphen.size();
        const std::size_t before = text::charactersBefore(line, at, 1);
        const bool isBetween = isSmallLetter(line.substr(before, at - before)) &&
                               isSmallLetter(next.substr(0, text::charactersBehind(next, 0, 1)));
        return isBetween || hyphen == "\u00AD" ? hyphen : std::string_view();
    }
    return {};
}

// Words that the ends of lines have broken are whole again.
std::string withWholeWords(std::string_view page) {
    std::string whole;
    for (std::size_t at = 0; at < page.size();) {
        const std::size_t end = std::min(page.find('\n', at), page.size());
        const std::string_view line = page.substr(at, end - at);
        at = std::min(end + 1, page.size());
        const std::string_view hyphen = breakingHyphen(line, page.substr(at));
        whole += line.substr(0, line.size() - hyphen.size());
        if (hyphen.empty()) whole += '\n';
    }
    return whole;
}

std::string drawnText(const ImportJob& job, const poppler::page& page) {
    const poppler::rectf size = page.page_rect();
    const double dots = size.width() / 72 * kDotsPerInch * (size.height() / 72 * kDotsPerInch);
    if (!(dots > 0)) return {};
    const double resolution = dots > kMostDots ? kDotsPerInch * kMostDots / dots : kDotsPerInch;
    poppler::page_renderer renderer;
    renderer.set_image_format(poppler::image::format_gray8);
    renderer.set_render_hint(poppler::page_renderer::text_antialiasing);
    renderer.set_render_hint(poppler::page_renderer::antialiasing);
    const poppler::image image = renderer.render_page(&page, resolution, resolution);
    if (!image.is_valid()) return {};
    return TextRecogniser::shared().read({image.const_data(), image.width(), image.height(),
                                          image.bytes_per_row(), static_cast<int>(resolution)},
                                         job.shouldCancel);
}

class PagesReader {
  public:
    PagesReader(const ImportJob& job, const poppler::document& document) : job_(job), document_(document) {}

    ImportTextResult read() {
        const int count = std::clamp(document_.pages(), 0, kMostPages);
        ImportTextResult result;
        result.text.emplace();
        if (job_.useOCR) result.ocrText.emplace();
        for (int index = 0; index < count && length_ < job_.maxLength; ++index) {
            tellProgress(job_, static_cast<int>(100LL * index / count));
            readPage(index, result);
        }
        return result;
    }

  private:
    // A page that is missing or damaged is an empty one, so that the others keep their numbers.
    void readPage(int index, ImportTextResult& result) {
        const std::unique_ptr<poppler::page> page(document_.create_page(index));
        result.text->push_back({page ? statedText(*page) : ""});
        if (result.ocrText) result.ocrText->push_back({page ? drawnText(job_, *page) : ""});
        length_ +=
            result.text->back().text.size() + (result.ocrText ? result.ocrText->back().text.size() : 0);
        if (length_ > TextWriter::kMostText) failDocument(ImportFailure::tooLarge, "holds too much text");
    }

    std::string statedText(const poppler::page& page) const {
        TextWriter writer(job_.maxLength - length_);
        // The order of the page's own drawing keeps columns apart.
        writer.lines(withWholeWords(utf8From(page.text(poppler::rectf(), poppler::page::raw_order_layout))));
        return writer.take();
    }

    const ImportJob& job_;
    const poppler::document& document_;
    std::size_t length_ = 0;
};

void saysNothing(const std::string&, void*) {}

// The library loads its tables of characters and fonts with the first document that is open and drops them
// with the last, which took an eighth of the time of a short document. So one of no pages stays open.
void keepTables() {
    static constexpr std::string_view kNoPages =
        "%PDF-1.4\n1 0 obj\n<</Type/Catalog/Pages 2 0 R>>\nendobj\n2 0 obj\n<</Type/Pages/Count 0/Kids[]>>\n"
        "endobj\ntrailer\n<</Size 3/Root 1 0 R>>\n%%EOF\n";
    static const std::unique_ptr<poppler::document> kKept(
        poppler::document::load_from_raw_data(kNoPages.data(), static_cast<int>(kNoPages.size())));
}

}  // namespace

ImportTextResult importPDF(const ImportJob& job) {
    return withDocument(job, kLargestDocument, [&](const std::string& bytes) {
        poppler::set_debug_error_function(saysNothing, nullptr);
        keepTables();
        const std::unique_ptr<poppler::document> document(
            poppler::document::load_from_raw_data(bytes.data(), static_cast<int>(bytes.size())));
        if (!document) failDocument(ImportFailure::damaged, "is damaged: no PDF can be made out in it");
        // The pages of a locked document must not be touched.
        if (document->is_locked()) failDocument(ImportFailure::damaged, "is locked with a password");
        return PagesReader(job, *document).read();
    });
}

}  // namespace kestrix
