// The text of a zip package of XML.
#pragma once

#include <string_view>

#include "import/helper/importer.h"

namespace kestrix {

// As importPackage, for the bytes of a package; of the job neither descriptor nor name is used. What is
// thrown does not begin with a name.
ImportTextResult readPackage(const ImportJob& job, std::string_view bytes);

}  // namespace kestrix
