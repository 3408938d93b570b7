// Any bytes as a mail message, alone and in the envelope: clean UTF-8 comes out, of at most the length asked
// for.
#include <cstdlib>

#include "base/error.h"
#include "base/text.h"
#include "import/helper/formats/mail.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    for (const std::string_view message : {bytes, kestrix::messageInEnvelope(bytes)}) {
        kestrix::TextWriter writer(size / 2);
        try {
            kestrix::writeMail(writer, message);
        } catch (const kestrix::Error&) {
            continue;
        }
        const std::string text = writer.take();
        if (text.size() > size / 2 || !kestrix::text::isValidUtf8(text)) std::abort();
    }
    return 0;
}
