// What all importers share: a document in memory, and how they say that it cannot be read.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "base/error.h"
#include "import/helper/document_bytes.h"
#include "import/helper/importer.h"
#include "import/import_failure.h"

namespace kestrix {

// `what` completes a sentence that begins with the document's name: "is locked with a password".
[[noreturn]] inline void failDocument(ImportFailure failure, const std::string& what) {
    throw Error(kImportDomain, static_cast<int>(failure), what);
}

inline void failIfCancelled(const ImportJob& job) {
    if (job.shouldCancel && job.shouldCancel()) failDocument(ImportFailure::cancelled, "is no longer wanted");
}

// To be called between the pieces of a long document.
inline void tellProgress(const ImportJob& job, int percent) {
    failIfCancelled(job);
    if (job.progress) job.progress(percent);
}

// Calls `read` with the document's bytes and puts its name in front of what that says when it fails. Throws
// Error (tooLarge) for more than `cap` bytes.
template <typename Read>
ImportTextResult withDocument(const ImportJob& job, std::size_t cap, Read read) {
    const std::string bytes = readDocument(job, cap);
    try {
        return read(bytes);
    } catch (const Error& error) {
        throw Error(error.domain(), error.code(), job.name + " " + error.what());
    }
}

// The cap of most: a document is held in memory, beside what is made of it.
inline constexpr std::size_t kLargestDocument = std::size_t{200} << 20;

inline ImportTextResult onePage(std::string text) {
    ImportTextResult result;
    result.text = std::vector<Page>{{std::move(text)}};
    return result;
}

}  // namespace kestrix
