// The chapters of an epub package.
#pragma once

#include <vector>

#include "import/helper/formats/zip_package.h"
#include "import/helper/importer.h"

namespace kestrix {

// The book's title and authors and then its chapters in reading order, a page each. Throws what the package
// throws, and Error (damaged) for a book whose chapters are encrypted.
std::vector<Page> readBook(const ImportJob& job, ZipPackage& package);

}  // namespace kestrix
