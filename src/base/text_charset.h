// Text in the encodings of old.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kestrix::text {

// The bytes, read in the encoding of that name ("windows-1252", "ISO-8859-2", "macintosh", "utf-16le"; any
// alias that ICU knows, in any case), as UTF-8. A byte that means nothing there becomes U+FFFD. Nothing if no
// such encoding is known. Threads: any.
std::optional<std::string> decodedFrom(std::string_view bytes, const std::string& charset);

// Mac OS Roman, which gives every byte a meaning: without ICU and as fast as memory allows.
std::string decodedFromMacRoman(std::string_view bytes);

}  // namespace kestrix::text
