// Any bytes as rich text: clean UTF-8 comes out, no longer than was asked for, and a shorter limit gives its
// beginning.
#include <cstdlib>

#include "base/error.h"
#include "base/text.h"
#include "import/helper/formats/rich_text.h"

namespace {

std::string textOf(std::string_view bytes, std::size_t maxLength) {
    kestrix::TextWriter writer(maxLength);
    kestrix::writeRichText(writer, bytes);
    return writer.take();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string bytes = "{\\rtf1" + std::string(reinterpret_cast<const char*>(data), size);
    const std::string text = textOf(bytes, static_cast<std::size_t>(-1));
    if (!kestrix::text::isValidUtf8(text)) std::abort();
    const std::string start = textOf(bytes, size / 2);
    if (start.size() > size / 2 || !text.starts_with(start)) std::abort();
    return 0;
}
