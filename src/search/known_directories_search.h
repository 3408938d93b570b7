// Reads the favourite folder that a line names.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "search/search_data_source.h"

namespace kestrix {

// Runs in every search and does nothing unless the query holds a KnownDirectoriesCommand. It lists what lies
// directly in the folder, hidden names left out; a command that is not shallow does not make it go deeper
// either.
//
// The user named the folder, so it is read wherever it lies, also in a hidden or a system folder: its entries
// are judged here, as seen from it, and passed on as beyond the location.
class KnownDirectoriesSearch : public SearchDataSource {
  public:
    std::string debugDescription() const override { return "KnownDirectoriesSearch"; }
    SearchResultSupplier type() const override { return SearchResultSupplier::KnownDirectoriesSearch; }
    // The folder, so that no other source looks for files.
    std::vector<std::string> dataSourceLocations(const QueryContainer& query) const override;
    void search(std::shared_ptr<const QueryContainer> query, SearchDataSourceDelegate& handler) override;
    void searchShouldStop() override { stopped_ = true; }

  private:
    std::atomic<bool> stopped_ = false;
};

}  // namespace kestrix
