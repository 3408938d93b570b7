// What the content command of a query finds in one file, for rows that are shown before their file was read.
#pragma once

#include <memory>

#include "results/ui_node.h"

namespace kestrix {

// Reads the file of the record with a fresh copy of the query's content command, whatever source the record
// has come from: the SummaryCollector of the program. nullptr if the query has no such command, the file
// cannot be read or does not hold the words. Any thread; blocks while the file is read, for half a second
// once it is stopped.
std::shared_ptr<const ContentFindings> collectSummary(const SearchResult& record, const QueryContainer& query,
                                                      const IsStopped& isStopped);

}  // namespace kestrix
