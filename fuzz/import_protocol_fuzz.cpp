// Either end of the link to the import helper reads what the other one sent: nothing breaks, and what decodes
// is encoded as it came.
#include <cstdlib>

#include "import/import_protocol.h"
#include "import/word_list.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    using namespace kestrix;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (const auto request = decodedRequest(bytes); request && encoded(*request) != bytes) std::abort();
    if (const auto reply = decodedReply(bytes); reply && encoded(*reply) != bytes) std::abort();
    if (const auto words = WordList::fromBytes(std::string(bytes))) {
        std::size_t length = 0;
        words->forEach([&length](std::string_view word, std::uint32_t) { length += 8 + word.size(); });
        if (length != size || words->counts().size() > size) std::abort();
    }
    return 0;
}
