// Any bytes as a web page: clean UTF-8 comes out, no longer than was asked for, and a shorter limit gives its
// beginning.
#include <cstdlib>

#include "base/text.h"
#include "base/text_charset.h"
#include "import/helper/formats/html_text.h"

namespace {

std::string textOf(std::string_view page, std::size_t maxLength) {
    kestrix::TextWriter writer(maxLength);
    kestrix::writeHtml(writer, page);
    return writer.take();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const std::string page =
        kestrix::text::isValidUtf8(bytes) ? std::string(bytes) : kestrix::text::decodedFromMacRoman(bytes);
    const std::string text = textOf(page, static_cast<std::size_t>(-1));
    if (!kestrix::text::isValidUtf8(text)) std::abort();
    const std::string start = textOf(page, size / 2);
    if (start.size() > size / 2 || !text.starts_with(start)) std::abort();
    return 0;
}
