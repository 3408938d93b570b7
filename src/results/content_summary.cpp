#include "results/content_summary.h"

#include "search/content_search.h"

namespace kestrix {

// The command takes a catalog's word for what a catalog found, and would not read the file.
std::shared_ptr<const ContentFindings> collectSummary(const SearchResult& record,
                                                      const QueryContainer& query) {
    const auto command = query.commandOfType<ContentSearch>();
    if (!command) return nullptr;
    SearchResult read = record;
    read.searchResultSuppliedBy = SearchResultSupplier::none;
    read.content.reset();
    command->copy()->commandImpApply(read, nullptr, query);
    return read.content;
}

}  // namespace kestrix
