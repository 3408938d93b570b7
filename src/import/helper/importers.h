// The table of the helper's importers.
#pragma once

#include "import/helper/import_text.h"

namespace kestrix {

const Importers& allImporters();

}  // namespace kestrix
