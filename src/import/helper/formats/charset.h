// Which encoding a document's bytes are in.
#pragma once

#include <string>
#include <string_view>

namespace kestrix {

// The bytes as UTF-8, read in the encoding that a document calls by this name. As web browsers do, what calls
// itself ASCII or Latin-1 is read as windows-1252, which has no other meaning for what these leave open, and
// so with a few more. A name that nobody knows counts as none: valid UTF-8 stays, anything else is
// windows-1252.
std::string decodedByLabel(std::string_view bytes, std::string_view label);

// A web page as UTF-8. Decided by, in this order: a byte order mark; being valid UTF-8 with other characters
// than ASCII, which hardly happens by chance while wrong labels are common; the `label` from outside, if
// there is one, since mail programs recode a page and leave its own label as it was; that label, <meta
// charset> or the XML declaration, in the first 4 KiB.
std::string decodedPage(std::string_view bytes, std::string_view label = {});

}  // namespace kestrix
