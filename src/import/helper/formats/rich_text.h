// The text of an RTF document.
#pragma once

#include <string_view>

#include "import/helper/formats/text_writer.h"

namespace kestrix {

// Writes what a reader of the document sees: body, headers and footers, notes, text in shapes and comments;
// not the tables of fonts and styles, pictures, or the codes of fields. Bytes are read in the code page of
// their font, characters given as \uN replace the ones for older programs behind them. Anything but a
// document's first bytes may be damaged: what is unknown is passed over, and the end closes all groups.
// Throws Error (damaged) if it does not begin as one.
void writeRichText(TextWriter& writer, std::string_view bytes);

}  // namespace kestrix
