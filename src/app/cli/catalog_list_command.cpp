// What catalogs there are, and what is known of one.
#include <fmt/format.h>

#include <array>
#include <nlohmann/json.hpp>

#include "app/cli/catalog_actions.h"
#include "app/cli/display_text.h"
#include "base/calendar.h"
#include "platform/directory.h"
#include "shell/preferences.h"

namespace kestrix::cli {

namespace {

using Json = nlohmann::ordered_json;
using Entry = ContentIndexManager::Entry;

// Seconds since 1970; 0: never.
std::int64_t lastUpdateOf(const ContentIndex& index) {
    const double updated = index.documentInfo().lastUpdated;
    if (updated == DocumentInfo::kDistantPast) return 0;
    return static_cast<std::int64_t>(updated) + kSecondsFrom1970To2001;
}

std::string dateText(std::int64_t moment) {
    if (moment == 0) return "never";
    const LocalTime time = localTime(moment);
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}", time.year, time.month, time.day, time.hour,
                       time.minute);
}

std::string sizeText(std::uint64_t bytes) {
    return fmt::format("{:.1f} MB", static_cast<double>(bytes) / 1e6);
}

std::string_view modeText(ContentIndexMode mode) {
    constexpr std::array<std::string_view, 3> kTexts = {"names", "names and words",
                                                        "names, words and text in pictures"};
    return kTexts.at(static_cast<std::size_t>(mode));
}

std::string_view intervalText(CachingUpdatesTag tag) {
    switch (tag) {
        case CachingUpdatesTag::defaultTiming:
            break;
        case CachingUpdatesTag::appRestart:
            return "at each start of the service";
        case CachingUpdatesTag::day:
            return "every day";
        case CachingUpdatesTag::twoDays:
            return "every two days";
        case CachingUpdatesTag::threeDays:
            return "every three days";
        case CachingUpdatesTag::week:
            return "every week";
        case CachingUpdatesTag::fortnight:
            return "every fortnight";
        case CachingUpdatesTag::month:
            return "every month";
        case CachingUpdatesTag::never:
            return "never";
    }
    return "as the setting updateCachesEvery says";
}

std::string_view stateOf(const Entry& entry) {
    if (!entry.index) return "unusable";
    return entry.index->isTargetMounted() ? "mounted" : "offline";
}

Json jsonOf(const std::optional<std::string>& text) {
    return text ? Json(*text) : Json(nullptr);
}

Json shortFacts(const Entry& entry) {
    Json facts = {{"name", entry.info.displayName},
                  {"file", entry.info.localDBFilePath},
                  {"target", jsonOf(entry.info.targetURL)},
                  {"state", stateOf(entry)}};
    if (entry.index) {
        const DocumentInfo info = entry.index->documentInfo();
        facts["files"] = info.numberOfFSItems ? Json(*info.numberOfFSItems) : Json(nullptr);
        facts["size"] = entry.index->cacheSizeOnDisk();
        facts["lastUpdated"] = lastUpdateOf(*entry.index);
    } else {
        facts["reason"] = entry.reason;
    }
    return facts;
}

Json allFacts(const Entry& entry) {
    Json facts = shortFacts(entry);
    ContentIndex& index = *entry.index;
    const DocumentInfo info = index.documentInfo();
    facts["id"] = index.id().text();
    facts["mirror"] = jsonOf(index.remoteDBFile());
    facts["mode"] = static_cast<int>(info.lastIndexMode);
    facts["updatesEvery"] = static_cast<int>(index.updatesEvery());
    facts["diskKey"] = jsonOf(info.diskKey);
    facts["isDirty"] = info.isDirty;
    const ContentIndex::Session session(index);
    const LMDBStats stats = index.db().stats();
    facts["records"] = stats.entries;
    facts["depth"] = stats.depth;
    facts["pageSize"] = stats.pageSize;
    facts["pages"] = stats.branchPageCount + stats.leafPageCount + stats.overflowPageCount;
    return facts;
}

std::string lineOf(const Entry& entry) {
    std::string line;
    if (entry.index) {
        const auto files = entry.index->documentInfo().numberOfFSItems;
        line = fmt::format("{:>10} files  {:>10}  {:>16}  {:<8}  ", files ? std::to_string(*files) : "?",
                           sizeText(entry.index->cacheSizeOnDisk()), dateText(lastUpdateOf(*entry.index)),
                           stateOf(entry));
    } else {
        line = fmt::format("{:>16}  {:>10}  {:>16}  {:<8}  ", "", "", "", stateOf(entry));
    }
    appendSafely(line, entry.info.displayName);
    line += '\t';
    appendSafely(line, entry.index ? entry.info.targetURL.value_or("") : entry.reason);
    return line + "\n";
}

std::string factLine(std::string_view label, std::string_view value) {
    std::string line = fmt::format("{:<14}", label);
    appendSafely(line, value);
    return line + "\n";
}

std::string factsText(const Entry& entry) {
    const Json facts = allFacts(entry);
    const ContentIndex& index = *entry.index;
    const DocumentInfo info = index.documentInfo();
    std::string text = factLine("Name", entry.info.displayName);
    text += factLine("Folder", entry.info.targetURL.value_or("not known"));
    text += factLine("State", stateOf(entry));
    text += factLine("Updated", dateText(lastUpdateOf(index)));
    text += factLine("Files", info.numberOfFSItems ? std::to_string(*info.numberOfFSItems) : "not known");
    text += factLine("Holds", modeText(info.lastIndexMode));
    text += factLine("Refreshed", intervalText(index.updatesEvery()));
    text += factLine("Disk", info.diskKey.value_or("not known"));
    text += factLine("Catalog file", entry.info.localDBFilePath);
    text += factLine("Size", sizeText(index.cacheSizeOnDisk()));
    text += factLine("Records", std::to_string(facts["records"].get<std::int64_t>()));
    text += factLine("Mirror", index.remoteDBFile().value_or("none"));
    text += factLine("Identifier", index.id().text());
    return text;
}

std::string dumped(const Json& json) {
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace

int listCatalogs(const Arguments& arguments, CommandContext& context) {
    const auto entries = context.application.catalogs().entries();
    Json items = Json::array();
    std::string text;
    for (const Entry& entry : entries) {
        items.push_back(shortFacts(entry));
        text += lineOf(entry);
    }
    context.output.append(arguments.has("json") ? dumped(items) : text);
    return entries.empty() ? kExitNothing : kExitFound;
}

int describeCatalog(const Arguments& arguments, CommandContext& context) {
    const Entry entry = usableCatalogNamed(arguments.words.front(), context.application.catalogs());
    context.output.append(arguments.has("json") ? dumped(allFacts(entry)) : factsText(entry));
    return kExitFound;
}

}  // namespace kestrix::cli
