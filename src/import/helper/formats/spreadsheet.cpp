#include "import/helper/formats/spreadsheet.h"

#include <fmt/format.h>

#include <charconv>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"
#include "import/helper/formats/cell_dates.h"
#include "import/helper/formats/document.h"
#include "import/helper/formats/xml_stream.h"

namespace kestrix {
namespace {

// Text that several cells share stands once in a table of its own.
class SharedTexts : public XmlHandler {
  public:
    static constexpr std::size_t kMostBytes = std::size_t{96} << 20;

    void startElement(std::string_view name, const std::vector<Attribute>&) override {
        if (name == "si") begin();
        holding_ += name == "t" ? 1 : 0;
        pronouncing_ += name == "rPh" ? 1 : 0;  // how the text is spoken, in another script
    }
    void endElement(std::string_view name) override {
        holding_ -= name == "t" ? 1 : 0;
        pronouncing_ -= name == "rPh" ? 1 : 0;
    }
    void characters(std::string_view text) override {
        if (holding_ == 0 || pronouncing_ != 0 || ends_.empty()) return;
        if (bytes_.size() + text.size() > kMostBytes) {
            failDocument(ImportFailure::tooLarge, "has too many texts in its cells");
        }
        bytes_ += text;
        ends_.back() = static_cast<std::uint32_t>(bytes_.size());
    }

    // The text of that number as a cell states it; empty if there is none.
    std::string_view at(std::string_view number) const {
        std::size_t index = 0;
        const auto parsed = std::from_chars(number.data(), number.data() + number.size(), index);
        if (parsed.ec != std::errc{} || index >= ends_.size()) return {};
        const std::size_t start = index == 0 ? 0 : ends_[index - 1];
        return std::string_view(bytes_).substr(start, ends_[index] - start);
    }

  private:
    void begin() {
        if (ends_.size() == kMostBytes / sizeof(std::uint32_t)) {
            failDocument(ImportFailure::tooLarge, "has too many texts in its cells");
        }
        ends_.push_back(static_cast<std::uint32_t>(bytes_.size()));
    }

    std::string bytes_;
    std::vector<std::uint32_t> ends_;
    int holding_ = 0;
    int pronouncing_ = 0;
};

std::optional<double> numberOf(std::string_view stored) {
    double number = 0;
    const auto parsed = std::from_chars(stored.data(), stored.data() + stored.size(), number);
    const bool isNumber = parsed.ec == std::errc{} && parsed.ptr == stored.data() + stored.size();
    return isNumber ? std::optional(number) : std::nullopt;
}

// The code of the escape in front, like _x000D_, by which cells hold what XML does not; nothing if it is
// none.
std::optional<char32_t> escapedAt(std::string_view text) {
    constexpr std::size_t kDigits = 4;
    unsigned code = 0;
    if (text.size() < kDigits + 3 || !text.starts_with("_x") || text[kDigits + 2] != '_') return std::nullopt;
    const char* const end = text.data() + 2 + kDigits;
    const auto parsed = std::from_chars(text.data() + 2, end, code, 16);
    if (parsed.ec != std::errc{} || parsed.ptr != end) return std::nullopt;
    return code;
}

void writeCell(TextWriter& writer, std::string_view text) {
    for (std::size_t at = text.find("_x"); at != std::string_view::npos; at = text.find("_x", at)) {
        const auto code = escapedAt(text.substr(at));
        if (!code) {
            ++at;
            continue;
        }
        writer.words(text.substr(0, at));
        std::string character;
        text::append(character, *code);
        writer.words(character);
        text.remove_prefix(at + std::string_view("_x000D_").size());
        at = 0;
    }
    writer.words(text);
}

// Its sheets' names, and from when its dates count.
class Workbook : public XmlHandler {
  public:
    explicit Workbook(TextWriter& writer) : writer_(writer) {}
    void startElement(std::string_view name, const std::vector<Attribute>& attributes) override {
        const std::string_view from1904 = attribute(attributes, "date1904");
        if (from1904 == "1" || from1904 == "true") dates = DateSystem::from1904;
        if (name != "sheet") return;
        writer_.words(attribute(attributes, "name"));
        writer_.lineBreak();
    }
    void endElement(std::string_view) override {}
    void characters(std::string_view) override {}

    DateSystem dates = DateSystem::from1900;

  private:
    TextWriter& writer_;
};

class Sheet : public XmlHandler {
  public:
    Sheet(TextWriter& writer, const SharedTexts& shared, const CellStyles& styles, DateSystem dates)
        : writer_(writer), shared_(shared), styles_(styles), dates_(dates) {}

    void startElement(std::string_view name, const std::vector<Attribute>& attributes) override {
        if (name == "c") {
            value_.clear();
            const std::string_view type = attribute(attributes, "t");
            isShared_ = type == "s";
            isTruth_ = type == "b";
            isNumber_ = type.empty() || type == "n";
            isDate_ = isNumber_ && styles_.isDate(attribute(attributes, "s"));
        }
        holding_ += holdsText(name) ? 1 : 0;
    }
    void endElement(std::string_view name) override {
        holding_ -= holdsText(name) ? 1 : 0;
        if (name == "c") {
            endCell();
        } else if (name == "row") {
            writer_.lineBreak();
        }
    }
    void characters(std::string_view text) override {
        // A cell holds 32,767 characters at most.
        if (holding_ > 0 && value_.size() < std::size_t{1} << 20) value_ += text;
    }
    bool isSatisfied() const override { return writer_.isFull(); }

  private:
    static bool holdsText(std::string_view name) { return name == "v" || name == "t"; }

    void endCell() {
        if (isTruth_ || value_.empty()) return;
        if (isNumber_) showNumber();
        writeCell(writer_, isShared_ ? shared_.at(value_) : std::string_view(value_));
        writer_.tab();
    }

    // It is stored with two digits more than a cell shows, which make 4.3499999999999996 of 4.35.
    void showNumber() {
        constexpr std::size_t kShownDigits = 15;
        if (!isDate_ && value_.size() <= kShownDigits) return;
        const auto number = numberOf(value_);
        if (!number) return;
        std::string shown = isDate_ ? dateText(*number, dates_) : "";
        if (shown.empty()) shown = fmt::format("{:.{}g}", *number, kShownDigits);
        value_ = std::move(shown);
    }

    TextWriter& writer_;
    const SharedTexts& shared_;
    const CellStyles& styles_;
    const DateSystem dates_;
    std::string value_;
    int holding_ = 0;
    bool isShared_ = false;
    bool isTruth_ = false;
    bool isNumber_ = false;
    bool isDate_ = false;
};

}  // namespace

void writeSpreadsheet(TextWriter& writer, ZipPackage& package) {
    Workbook workbook(writer);
    package.readXml("xl/workbook.xml", workbook);
    SharedTexts shared;
    if (package.has("xl/sharedStrings.xml")) package.readXml("xl/sharedStrings.xml", shared);
    CellStyles styles;
    if (package.has("xl/styles.xml")) package.readXml("xl/styles.xml", styles);
    for (const std::string& name : package.membersLike("xl/worksheets/*.xml")) {
        Sheet sheet(writer, shared, styles, workbook.dates);
        package.readXml(name, sheet);
        writer.lineBreak();
        if (writer.isFull()) return;
    }
}

}  // namespace kestrix
