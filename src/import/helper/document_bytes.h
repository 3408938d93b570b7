// Reading the open document that an ImportJob brings.
#pragma once

#include <cstddef>
#include <string>

#include "import/helper/importer.h"

namespace kestrix {

// The whole document, whatever its offset. Throws Error (tooLarge) if it has more than `cap` bytes,
// (damaged) if it cannot be read.
std::string readDocument(const ImportJob& job, std::size_t cap);

}  // namespace kestrix
