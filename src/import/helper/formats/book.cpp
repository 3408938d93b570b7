#include "import/helper/formats/book.h"

#include <algorithm>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "import/helper/formats/charset.h"
#include "import/helper/formats/document.h"
#include "import/helper/formats/html_text.h"
#include "import/helper/formats/xml_stream.h"

namespace kestrix {
namespace {

constexpr std::size_t kLargestChapter = std::size_t{32} << 20;

// Attribute values of one kind of element, in order.
class AttributeList : public XmlHandler {
  public:
    AttributeList(std::string_view element, std::string_view name) : element_(element), name_(name) {}
    void startElement(std::string_view name, const std::vector<Attribute>& attributes) override {
        if (name == element_) values.emplace_back(attribute(attributes, name_));
    }
    void endElement(std::string_view) override {}
    void characters(std::string_view) override {}

    std::vector<std::string> values;

  private:
    std::string_view element_;
    std::string_view name_;
};

// The book's own description: its title, its files, and which of them are read in which order.
class BookDescription : public XmlHandler {
  public:
    explicit BookDescription(TextWriter& title) : title_(title) {}

    void startElement(std::string_view name, const std::vector<Attribute>& attributes) override {
        if (name == "item") files_.emplace(attribute(attributes, "id"), attribute(attributes, "href"));
        if (name == "itemref") order_.emplace_back(attribute(attributes, "idref"));
        holding_ += holdsText(name) ? 1 : 0;
    }
    void endElement(std::string_view name) override {
        if (!holdsText(name)) return;
        --holding_;
        title_.lineBreak();
    }
    void characters(std::string_view text) override {
        if (holding_ > 0) title_.words(text);
    }

    // Links, valid as long as this; a hostile book names one long one a million times.
    std::vector<std::string_view> chapters() const {
        std::vector<std::string_view> chapters;
        for (const std::string& id : order_) {
            const auto file = files_.find(id);
            if (file != files_.end()) chapters.push_back(file->second);
        }
        return chapters;
    }

  private:
    static bool holdsText(std::string_view name) {
        return name == "title" || name == "creator" || name == "description" || name == "subject";
    }

    TextWriter& title_;
    std::unordered_map<std::string, std::string> files_;
    std::vector<std::string> order_;
    int holding_ = 0;
};

int hexValue(char digit) {
    const std::size_t value = std::string_view("0123456789abcdef0123456789ABCDEF").find(digit);
    return value == std::string_view::npos ? -1 : static_cast<int>(value % 16);
}

std::string withoutPercents(std::string_view link) {
    std::string name;
    for (std::size_t at = 0; at < link.size(); ++at) {
        const bool isCode = link[at] == '%' && link.size() - at > 2 && hexValue(link[at + 1]) >= 0 &&
                            hexValue(link[at + 2]) >= 0;
        name += isCode ? static_cast<char>(hexValue(link[at + 1]) * 16 + hexValue(link[at + 2])) : link[at];
        at += isCode ? 2 : 0;
    }
    return name;
}

// The member that `link` means inside of the member `from`.
std::string memberBehind(std::string_view from, std::string_view link) {
    const std::string path =
        std::string(from.substr(0, from.rfind('/') + 1)) + withoutPercents(link.substr(0, link.find('#')));
    std::string name;
    for (std::size_t at = 0; at < path.size();) {
        const std::size_t end = std::min(path.find('/', at), path.size() - 1) + 1;
        const std::string_view step = std::string_view(path).substr(at, end - at);
        if (step == "../") {
            name.erase(name.empty() ? 0 : name.rfind('/', name.size() - 2) + 1);
        } else if (step != "./") {
            name += step;
        }
        at = end;
    }
    return name;
}

void demandReadable(ZipPackage& package, const std::vector<std::string>& chapters) {
    constexpr const char* kList = "META-INF/encryption.xml";
    if (!package.has(kList)) return;
    AttributeList encrypted("CipherReference", "URI");
    package.readXml(kList, encrypted);
    std::unordered_set<std::string> locked;
    for (const std::string& link : encrypted.values)
        locked.insert(withoutPercents(link));
    // Fonts are often scrambled; chapters only against copying.
    if (std::ranges::any_of(chapters, [&](const std::string& chapter) { return locked.contains(chapter); }))
        failDocument(ImportFailure::damaged, "is protected against copying");
}

}  // namespace

std::vector<Page> readBook(const ImportJob& job, ZipPackage& package) {
    AttributeList descriptions("rootfile", "full-path");
    package.readXml("META-INF/container.xml", descriptions);
    if (descriptions.values.empty()) failDocument(ImportFailure::damaged, "is damaged: it names no contents");
    const std::string& place = descriptions.values.front();
    TextWriter writer(job.maxLength);
    BookDescription description(writer);
    package.readXml(place, description);

    std::vector<std::string> chapters;
    std::set<std::string> seen;
    for (const std::string_view link : description.chapters()) {
        std::string member = memberBehind(place, link);
        if (package.has(member) && seen.insert(member).second) chapters.push_back(std::move(member));
    }
    demandReadable(package, chapters);
    if (chapters.empty()) failDocument(ImportFailure::damaged, "is damaged: none of its chapters is there");

    std::vector<Page> pages;
    std::size_t length = 0;
    for (const std::string& chapter : chapters) {
        writeHtml(writer, decodedPage(package.whole(chapter, kLargestChapter)),
                  [&job](int) { failIfCancelled(job); });
        pages.push_back({writer.take()});
        length += pages.back().text.size();
        if (length >= job.maxLength) break;
        writer = TextWriter(job.maxLength - length);
    }
    return pages;
}

}  // namespace kestrix
