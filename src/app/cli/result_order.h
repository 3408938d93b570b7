// Puts results into the order of a column.
#pragma once

#include <string_view>
#include <vector>

#include "files/search_result.h"

namespace kestrix::cli {

enum class Column { name, size, modified, created, kind, inside, path };

// The column of that name; `name` must be one of the names above.
Column columnNamed(std::string_view name);
bool needsAttributes(Column column);

// Ascending, or descending with `reverse`. Equal ones stand in the order of their paths, so that the same
// results always come out the same way.
void sortResults(std::vector<SearchResult>& results, Column column, bool reverse);

}  // namespace kestrix::cli
