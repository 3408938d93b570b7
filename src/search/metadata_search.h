// The standard source over the platform's metadata index.
#pragma once

#include "search/search_data_source.h"

namespace kestrix {

// Without a provider of such an index, as on a plain Linux, it finds nothing and ends at once.
class SpotlightFileSearch : public SearchDataSource {
  public:
    std::string debugDescription() const override { return "SpotlightFileSearch"; }
    SearchResultSupplier type() const override { return SearchResultSupplier::spotlight; }
    void search(std::shared_ptr<const QueryContainer>, SearchDataSourceDelegate&) override {}
    void searchShouldStop() override {}
};

}  // namespace kestrix
