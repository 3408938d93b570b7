#include "app/cli/find_request.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "app/cli/display_text.h"
#include "base/path.h"
#include "platform/directory.h"
#include "platform/system_info.h"

namespace kestrix::cli {
namespace {

[[noreturn]] void complainOfMissing(std::string_view place) {
    throw UsageError("--in: there is no " + inQuotes(place) + "; name a folder that exists");
}

// What of it is still there may lie behind links.
std::string resolvedAsFarAsItExists(std::string_view typed) {
    std::string whole = path::normalized(typed, workingDirectory());
    std::string_view there = whole;
    while (!there.empty()) {
        if (const std::string resolved = resolvedPath(std::string(there)); !resolved.empty())
            return path::join(resolved, std::string_view(whole).substr(there == "/" ? 1 : there.size() + 1));
        there = path::parent(there);
    }
    return whole;
}

// Nothing if there is no such folder.
std::optional<std::string> folderIfThere(std::string_view typed) {
    std::string place = resolvedPath(std::string(typed));
    if (place.empty()) return std::nullopt;
    FileAttributes attributes;
    if (readAttributes(place, true, attributes) == 0 && attributes.type != EntryType::directory) {
        throw UsageError("--in: " + inQuotes(typed) + " is not a folder; name the folder it lies in");
    }
    return place;
}

void resolvePlaces(const Arguments& arguments, FindRequest& request) {
    for (const std::string_view typed : arguments.values("in")) {
        auto place = folderIfThere(typed);
        if (!place) {
            if (!request.catalogsNamedOutright || typed.empty()) complainOfMissing(typed);
            place = resolvedAsFarAsItExists(typed);
            request.missingPlaces.push_back(*place);
        }
        request.places.push_back(*std::move(place));
    }
    if (const auto preset = arguments.value("where")) request.preset = searchLocationURLSetNamed(*preset);
    if (request.places.empty() && !request.preset) request.preset = SearchLocationURLSet::home;
}

void resolveSources(const Arguments& arguments, FindRequest& request) {
    const auto sources = arguments.values("source");
    if (sources.empty()) return;
    const auto named = [&](std::string_view name) {
        return std::find(sources.begin(), sources.end(), name) != sources.end();
    };
    request.walk = named("walk");
    request.metadata = named("metadata");
    request.catalogs = named("catalog");
    request.catalogsNamedOutright = request.catalogs;
}

void resolveForm(const Arguments& arguments, FindRequest& request) {
    if (const auto form = arguments.value("format")) request.form = formNamed(*form);
    request.nulEnds = arguments.has("null");
    if (request.nulEnds && request.form != Form::path) {
        throw UsageError("-0 ends paths; it goes with --format path only");
    }
    request.summary = arguments.has("summary");
    const bool hasRoom = request.form == Form::path || request.form == Form::longForm;
    if (request.summary && (!hasRoom || request.nulEnds)) {
        throw UsageError("--summary puts lines under paths; it goes with --format path or long, without -0");
    }
}

Column columnNamed(std::string_view name) {
    using Named = std::pair<std::string_view, Column>;
    constexpr std::array kColumns = {Named{"name", Column::name},        Named{"size", Column::size},
                                     Named{"modified", Column::modDate}, Named{"created", Column::created},
                                     Named{"kind", Column::kind},        Named{"inside", Column::inside},
                                     Named{"path", Column::path},        Named{"rank", Column::rank}};
    return std::ranges::find(kColumns, name, &Named::first)->second;
}

void resolveOrder(const Arguments& arguments, FindRequest& request) {
    request.reverse = arguments.has("reverse");
    if (const auto column = arguments.value("sort")) {
        request.sort = columnNamed(*column);
    } else if (request.reverse) {
        throw UsageError("--reverse goes with --sort COLUMN");
    }
}

}  // namespace

std::string resolvedFolder(std::string_view typed) {
    auto place = folderIfThere(typed);
    if (!place) complainOfMissing(typed);
    return *std::move(place);
}

FindRequest resolveFind(const Arguments& arguments) {
    if (arguments.words.empty())
        throw UsageError("find needs a line to look for, such as: kestrix find report");
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

void demandKnownPlaces(const FindRequest& request, const ContentIndexManager& catalogs) {
    for (const std::string& place : request.missingPlaces) {
        if (!catalogs.holdsTarget(place)) complainOfMissing(place);
    }
}

bool needsAttributes(const FindRequest& request) {
    if (request.countOnly) return false;
    const auto sort = request.sort.value_or(Column::name);
    return request.exportTo || needsAttributes(request.form) || sort == Column::size ||
           sort == Column::modDate || sort == Column::created;
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
