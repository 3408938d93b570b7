#include "import/helper/document_bytes.h"

#include <fmt/format.h>

#include <algorithm>

#include "import/import_failure.h"
#include "platform/open_file.h"

namespace kestrix {

std::string readDocument(const ImportJob& job, std::size_t cap) {
    const auto fail = [&job] {
        throw importError(ImportFailure::damaged, job.name + " cannot be read from its disk");
    };
    const auto stated = sizeOfOpen(job.descriptor);
    if (!stated) fail();
    const std::size_t size = *stated;
    if (size > cap) {
        throw importError(ImportFailure::tooLarge,
                          fmt::format("{} is too large: it has more than {} bytes", job.name, cap));
    }
    std::string bytes(size, '\0');
    std::size_t filled = 0;
    while (filled < size) {
        const auto got = readOpenAt(job.descriptor, filled, &bytes[filled], size - filled);
        if (got < 0) fail();
        if (got == 0) break;  // it has become shorter
        filled += static_cast<std::size_t>(got);
    }
    bytes.resize(filled);
    return bytes;
}

}  // namespace kestrix
