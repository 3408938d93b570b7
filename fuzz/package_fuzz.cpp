// Any bytes as a package, and as the members of one: split at each 0x01, they become the members of a kind
// that the first byte chooses, so that the XML behind the checksums is reached. Clean UTF-8 comes out, or a
// refusal.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <vector>

#include "base/bytes.h"
#include "base/error.h"
#include "base/text.h"
#include "import/helper/formats/package.h"

namespace {

using kestrix::appendValue;
using std::string_view;

std::uint32_t checksum(string_view bytes) {
    std::uint32_t sum = 0xFFFFFFFF;
    for (const char byte : bytes) {
        sum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            sum = sum >> 1U ^ ((sum & 1U) != 0 ? 0xEDB88320U : 0U);
        }
    }
    return ~sum;
}

// What both headers of a member have in common: version, flags, method, time, checksum, sizes, name.
std::string description(string_view name, string_view content) {
    std::string bytes(10, '\0');
    bytes[0] = 20;
    appendValue(bytes, checksum(content));
    appendValue(bytes, static_cast<std::uint32_t>(content.size()));
    appendValue(bytes, static_cast<std::uint32_t>(content.size()));
    appendValue(bytes, static_cast<std::uint16_t>(name.size()));
    bytes.append(2, '\0');
    return bytes;
}

class Package {
  public:
    void add(string_view name, string_view content) {
        const std::string about = description(name, content);
        list_ += "PK\x01\x02" + std::string(2, '\x14') + about + std::string(10, '\0');
        appendValue(list_, static_cast<std::uint32_t>(members_.size()));
        list_ += name;
        members_.append("PK\x03\x04").append(about).append(name).append(content);
        ++count_;
    }
    std::string bytes() const {
        std::string bytes = members_ + list_ + "PK\x05\x06" + std::string(4, '\0');
        appendValue(bytes, count_);
        appendValue(bytes, count_);
        appendValue(bytes, static_cast<std::uint32_t>(list_.size()));
        appendValue(bytes, static_cast<std::uint32_t>(members_.size()));
        return bytes + std::string(2, '\0');
    }

  private:
    std::string members_;
    std::string list_;
    std::uint16_t count_ = 0;
};

using Names = std::array<const char*, 3>;
constexpr std::array<Names, 5> kKinds = {
    {{"word/document.xml", "word/header1.xml", "word/footnotes.xml"},
     {"xl/workbook.xml", "xl/sharedStrings.xml", "xl/worksheets/sheet1.xml"},
     {"ppt/presentation.xml", "ppt/slides/slide1.xml", "ppt/slides/slide2.xml"},
     {"content.xml", "styles.xml", "META-INF/manifest.xml"},
     {"META-INF/container.xml", "content.opf", "chapter.xhtml"}}};

void import(string_view bytes) {
    kestrix::ImportJob job{-1, "", "", 100'000, false, {}, {}};
    try {
        const auto text = kestrix::readPackage(job, bytes).allText(false);
        if (text && !kestrix::text::isValidUtf8(*text)) std::abort();
    } catch (const kestrix::Error&) {
        return;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const string_view bytes(reinterpret_cast<const char*>(data), size);
    import(bytes);
    if (size == 0) return 0;
    Package package;
    string_view rest = bytes.substr(1);
    for (const char* const name : kKinds[data[0] % kKinds.size()]) {
        const std::size_t end = std::min(rest.find('\x01'), rest.size());
        package.add(name, rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    import(package.bytes());
    return 0;
}
