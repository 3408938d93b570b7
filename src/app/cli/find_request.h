// The options of find, resolved: what the user typed becomes what is done.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/cli/arguments.h"
#include "app/cli/result_printer.h"
#include "files/search_location.h"
#include "index/content_index_manager.h"
#include "results/node_sorting.h"

namespace kestrix::cli {

// Where results go instead of standard output.
struct ExportTarget {
    std::string path;
    ResultLinesFormat format = ResultLinesFormat::text;
};

struct FindRequest {
    std::string line;
    std::vector<std::string> places;         // absolute, links resolved; they exist, but for the missing ones
    std::vector<std::string> missingPlaces;  // only catalogs may know them
    std::optional<SearchLocationURLSet> preset;
    bool soundex = false;
    bool insideSystem = false;
    bool walk = true;
    bool metadata = true;
    bool catalogs = true;
    bool catalogsNamedOutright = false;
    std::optional<Column> sort;
    bool reverse = false;
    std::optional<std::int64_t> limit;
    bool countOnly = false;
    Form form = Form::path;
    bool nulEnds = false;
    bool summary = false;
    std::optional<ExportTarget> exportTo;
    bool stats = false;
    bool strict = false;
    bool entersHistory = true;
};

// A folder that was typed behind --in, absolute, with links resolved. Throws UsageError if there is none.
std::string resolvedFolder(std::string_view typed);

// Throws UsageError for what cannot be done, or not yet.
FindRequest resolveFind(const Arguments& arguments);

// Throws UsageError for a place that does not exist and that no catalog knows either.
void demandKnownPlaces(const FindRequest& request, const ContentIndexManager& catalogs);
// Whether the results need sizes or dates for this.
bool needsAttributes(const FindRequest& request);

// The places and the preset together.
SearchLocation locationOf(const FindRequest& request, const DiskInfoManager& disks, const std::string& home);

}  // namespace kestrix::cli
