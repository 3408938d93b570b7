// Whether LMDB may trust a file. The library follows page numbers and offsets without testing them, so that
// one flipped bit can end the program; this looks at all of them first.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kestrix {

struct PageFault {
    int code = 0;      // LMDB's return code for it: no LMDB file, another version, damaged
    std::string text;  // one line: "page 17: ..."
};

// The first fault in the file whose bytes are given; nothing if LMDB may read it and write to it. Visits each
// page that is in use once and follows the list of free pages; the values of records are not looked at. A
// file of zero length has no fault. A second thread helps with a file of at least `helperFrom` pages: a
// smaller one is looked through before it would have begun. Threads: any.
std::optional<PageFault> faultOfPages(std::string_view file, std::uint64_t helperFrom = 512);

}  // namespace kestrix
