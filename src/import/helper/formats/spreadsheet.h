// The sheets of an xlsx package.
#pragma once

#include "import/helper/formats/text_writer.h"
#include "import/helper/formats/zip_package.h"

namespace kestrix {

// Writes the sheets' names, then every sheet: a line for each row, tabs between its filled cells. A number
// has the digits that a cell shows at most, a date is written by dateText; of a formula its last result
// counts. Throws what the package
// throws.
void writeSpreadsheet(TextWriter& writer, ZipPackage& package);

}  // namespace kestrix
