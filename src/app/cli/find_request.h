// The options of find, resolved: what the user typed becomes what is done.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/cli/arguments.h"
#include "app/cli/result_order.h"
#include "app/cli/result_printer.h"
#include "files/search_location.h"

namespace kestrix::cli {

struct FindRequest {
    std::string line;
    std::vector<std::string> places;  // absolute, links resolved; they exist
    std::optional<SearchLocationURLSet> preset;
    bool soundex = false;
    bool insideSystem = false;
    bool walk = true;
    bool metadata = true;
    std::optional<Column> sort;
    bool reverse = false;
    std::optional<std::int64_t> limit;
    bool countOnly = false;
    Form form = Form::path;
    bool nulEnds = false;
    bool stats = false;
    bool strict = false;
    bool entersHistory = true;
};

// Throws UsageError for what cannot be done, or not yet.
FindRequest resolveFind(const Arguments& arguments);

// The places and the preset together.
SearchLocation locationOf(const FindRequest& request, const DiskInfoManager& disks, const std::string& home);

}  // namespace kestrix::cli
