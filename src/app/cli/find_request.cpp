#include "app/cli/find_request.h"

#include <algorithm>
#include <charconv>

#include "app/cli/display_text.h"
#include "platform/directory.h"
#include "platform/system_info.h"

namespace kestrix::cli {
namespace {

std::string resolvedFolder(std::string_view typed) {
    std::string place = resolvedPath(std::string(typed));
    if (place.empty())
        throw UsageError("--in: there is no " + inQuotes(typed) + "; name a folder that exists");
    FileAttributes attributes;
    if (readAttributes(place, true, attributes) == 0 && attributes.type != EntryType::directory) {
        throw UsageError("--in: " + inQuotes(typed) + " is not a folder; name the folder it lies in");
    }
    return place;
}

void resolvePlaces(const Arguments& arguments, FindRequest& request) {
    for (const std::string_view typed : arguments.values("in")) {
        request.places.push_back(resolvedFolder(typed));
    }
    if (const auto preset = arguments.value("where")) request.preset = searchLocationURLSetNamed(*preset);
    if (request.places.empty() && !request.preset) request.preset = SearchLocationURLSet::home;
}

// A search that names catalogs beside another source still gives what that source finds.
void resolveSources(const Arguments& arguments, FindRequest& request) {
    const auto sources = arguments.values("source");
    if (sources.empty()) return;
    const auto named = [&](std::string_view name) {
        return std::find(sources.begin(), sources.end(), name) != sources.end();
    };
    request.walk = named("walk");
    request.metadata = named("metadata");
    if (!named("catalog")) return;
    if (!request.walk && !request.metadata) {
        throw UsageError("--source catalog is not there yet; use --source walk");
    }
    complain("--source catalog is not there yet; only the other sources are asked");
}

void resolveForm(const Arguments& arguments, FindRequest& request) {
    if (const auto form = arguments.value("format")) request.form = formNamed(*form);
    request.nulEnds = arguments.has("null");
    if (request.nulEnds && request.form != Form::path) {
        throw UsageError("-0 ends paths; it goes with --format path only");
    }
}

void resolveOrder(const Arguments& arguments, FindRequest& request) {
    request.reverse = arguments.has("reverse");
    if (const auto column = arguments.value("sort")) {
        if (*column == "rank") throw UsageError("--sort rank is not there yet; sort by another column");
        request.sort = columnNamed(*column);
    } else if (request.reverse) {
        throw UsageError("--reverse goes with --sort COLUMN");
    }
}

}  // namespace

FindRequest resolveFind(const Arguments& arguments) {
    if (arguments.words.empty())
        throw UsageError("find needs a line to look for, such as: kestrix find report");
    if (arguments.has("summary")) throw UsageError("--summary is not there yet; leave it out");
    FindRequest request;
    request.line = arguments.line();
    resolveOrder(arguments, request);
    resolveForm(arguments, request);
    resolveSources(arguments, request);
    resolvePlaces(arguments, request);
    if (const auto limit = arguments.value("limit")) {
        std::int64_t number = 0;
        std::from_chars(limit->data(), limit->data() + limit->size(), number);
        request.limit = number;
    }
    request.soundex = arguments.has("soundex");
    request.insideSystem = arguments.has("system");
    request.countOnly = arguments.has("count");
    request.stats = arguments.has("stats");
    request.strict = arguments.has("strict");
    request.entersHistory = !arguments.has("no-history");
    return request;
}

SearchLocation locationOf(const FindRequest& request, const DiskInfoManager& disks, const std::string& home) {
    if (!request.preset) return SearchLocation(request.places);
    SearchLocation preset(*request.preset, disks, home);
    if (request.places.empty()) return preset;
    std::vector<std::string> places = preset.locationURLs();
    places.insert(places.end(), request.places.begin(), request.places.end());
    return SearchLocation(places);
}

}  // namespace kestrix::cli
