#include "results/content_summary.h"

#include "search/content_search.h"
#include "search/search_data_source.h"

namespace kestrix {
namespace {

class StoppableReading : public NullSearchDataSourceDelegate {
  public:
    explicit StoppableReading(const IsStopped& isStopped) : isStopped_(isStopped) {}
    bool shouldStop() const override { return isStopped_ && isStopped_(); }

  private:
    const IsStopped& isStopped_;
};

}  // namespace

// The command takes a catalog's word for what a catalog found, and would not read the file.
std::shared_ptr<const ContentFindings> collectSummary(const SearchResult& record, const QueryContainer& query,
                                                      const IsStopped& isStopped) {
    const auto command = query.commandOfType<ContentSearch>();
    if (!command) return nullptr;
    SearchResult read = record;
    read.searchResultSuppliedBy = SearchResultSupplier::none;
    read.content.reset();
    StoppableReading reading(isStopped);
    command->copy()->commandImpApply(read, &reading, query);
    return read.content;
}

}  // namespace kestrix
