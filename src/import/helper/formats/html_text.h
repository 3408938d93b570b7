// The text of a web page.
#pragma once

#include <functional>
#include <string_view>

#include "import/helper/formats/text_writer.h"

namespace kestrix {

// Writes what a reader of the page would see, the title first; scripts, styles and templates are nothing to
// see. Elements that begin a line in a browser begin one here; cells of a table are parted by tabs. Any bytes
// are a page: damage costs no more than the text it destroyed. Stops when the writer is full. `onPiece`
// (may be empty) is told how many percent of the page are behind it, and may throw.
void writeHtml(TextWriter& writer, std::string_view utf8,
               const std::function<void(int percent)>& onPiece = {});

}  // namespace kestrix
