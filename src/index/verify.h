// Whether a catalog keeps every promise of its format, and what is in it.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrix {

// Each fault as one line, at most `most`; empty for a sound file. Looks at the pages (lmdb/page_check.h),
// every record's bytes, that every item stands in exactly one child list and every child exists, that lists
// ascend and parents are folders older than their children, that no identifier lies beyond the counter, and
// DocumentInfo. Reads the whole file under the reader's lock; holds 16 bytes a record.
std::vector<std::string> faultsOfCatalog(const std::string& file, std::size_t most = 100);

// One JSON object per record, in key order: "family" (one letter), "key" and the record's fields under the
// names that the types here give them; a record that does not decode has "damaged": true and its bytes in
// "hex". Lists are "ids", a word's counts "documentIDs"; DocumentInfo stands as it is stored. What is not
// UTF-8 shows as U+FFFD. `print` gets each line without its end; false ends it. Throws LMDBError.
void dumpCatalog(const std::string& file, const std::function<bool(std::string_view line)>& print);

}  // namespace kestrix
