// How reading a document can fail.
#pragma once

#include <string>

#include "base/error.h"

namespace kestrix {

// The domain of every Error that a document itself, or the helper program, is the cause of. A file that
// cannot be opened fails in kPosixDomain.
inline constexpr const char* kImportDomain = "import";

// The code of such an Error.
enum class ImportFailure : int {
    damaged = 1,  // the document's bytes are not what its type says, or it is locked with a password
    notRegular,   // a pipe, a device or a folder with a document's name
    cancelled,    // sendCancelFor, or the test that the caller gave
    tooLarge,     // more bytes or more text than is ever read
    crashed,      // the helper died over it
    tookTooLong,  // the helper made no progress
    outOfMemory,  // the helper needed more memory than it is given
    noHelper,     // the helper program is missing or does not start
    badReply,     // the helper said what no sound helper says
};

// With one line of words that names the document.
inline Error importError(ImportFailure failure, const std::string& words) {
    return Error(kImportDomain, static_cast<int>(failure), words);
}

}  // namespace kestrix
