// What an importer of the helper program is: a function from an open document to its text.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "import/import_text_result.h"

namespace kestrix {

// One document to read. Everything in it outlives the call.
struct ImportJob {
    int descriptor;    // open for reading, a regular file, at no particular offset; stays the caller's
    std::string name;  // of the file, for its extension and for messages
    std::string typeIdentifier;  // "application/pdf"; may be empty
    std::size_t maxLength;       // bytes of text beyond which there is no need to go on
    bool useOCR;
    std::function<void(int percent)> progress;  // call freely: it is throttled
    std::function<bool()> shouldCancel;         // cheap; ask once a page or member
};

// Throws Error (kImportDomain) with one line that says why the document cannot be read. May run out of memory
// (std::bad_alloc) or be killed: that costs this document alone. Runs on the helper's main thread, which
// holds the only heap; no file can be opened, no thread or program started.
using Importer = ImportTextResult (*)(const ImportJob&);

}  // namespace kestrix
