#include "import/failed_documents.h"

#include <algorithm>
#include <string_view>

#include "import/import_failure.h"

namespace kestrix {

bool FailedDocuments::isCostly(const Error& error) {
    if (std::string_view(error.domain()) != kImportDomain) return false;
    const auto failure = static_cast<ImportFailure>(error.code());
    return failure == ImportFailure::crashed || failure == ImportFailure::tookTooLong ||
           failure == ImportFailure::outOfMemory || failure == ImportFailure::badReply;
}

bool FailedDocuments::Entry::isFor(const FileAttributes& other, Reading otherReading) const {
    return file.inode == other.inode && file.device == other.device && file.size == other.size &&
           file.modified == other.modified && reading == otherReading;
}

void FailedDocuments::remember(const FileAttributes& file, Reading reading, const Error& error) {
    entries_.modify([&](std::deque<Entry>& entries) {
        entries.push_back({file, reading, error});
        if (entries.size() > kMost) entries.pop_front();
    });
}

std::optional<Error> FailedDocuments::find(const FileAttributes& file, Reading reading) const {
    return entries_.read([&](const std::deque<Entry>& entries) -> std::optional<Error> {
        const auto found =
            std::ranges::find_if(entries, [&](const Entry& entry) { return entry.isFor(file, reading); });
        return found == entries.end() ? std::nullopt : std::optional(found->error);
    });
}

}  // namespace kestrix
