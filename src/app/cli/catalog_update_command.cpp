// What makes, fills and takes away catalogs.
#include <fmt/format.h>

#include <exception>

#include "app/cli/build_watch.h"
#include "app/cli/catalog_actions.h"
#include "app/cli/display_text.h"
#include "base/error.h"
#include "base/path.h"
#include "platform/directory.h"
#include "platform/file_ranges_lock.h"
#include "platform/stored_file.h"
#include "platform/system_info.h"

namespace kestrix::cli {

namespace {

using Entry = ContentIndexManager::Entry;

// Nothing if neither option was given.
std::optional<ContentIndexMode> chosenMode(const Arguments& arguments) {
    if (arguments.has("ocr")) return ContentIndexMode::ocrAndTextDocuments;
    if (arguments.has("words")) return ContentIndexMode::textDocuments;
    return std::nullopt;
}

std::string existing(std::string_view typed) {
    std::string place = typed.empty() ? "" : resolvedPath(std::string(typed));
    if (place.empty()) throw UsageError("there is no " + inQuotes(typed) + "; name a folder that exists");
    return place;
}

EntryType typeOf(const std::string& path) {
    FileAttributes attributes;
    return readAttributes(path, true, attributes) == 0 ? attributes.type : EntryType::unknown;
}

std::optional<std::string> nameOf(const Arguments& arguments) {
    const auto name = arguments.value("name");
    if (!name) return std::nullopt;
    if (name->empty()) throw UsageError("--name: an empty name names nothing");
    demandUtf8(*name, "the name of a catalog");
    return std::string(*name);
}

// A mirror is a file; in a folder it takes the catalog's own file name.
std::optional<std::string> mirrorOf(const Arguments& arguments, const std::string& target,
                                    const ContentIndexManager& catalogs) {
    const auto typed = arguments.value("mirror");
    if (!typed) return std::nullopt;
    std::string file = path::normalized(*typed, workingDirectory());
    if (typeOf(file) == EntryType::directory)
        return path::join(file, path::lastComponent(catalogs.newLocalIndex(target, true)));
    if (typeOf(std::string(path::parent(file))) != EntryType::directory)
        throw UsageError("--mirror: the folder of " + inQuotes(*typed) + " does not exist");
    return file;
}

// The last line of a build, and its exit code.
int report(const ContentIndex& index, const BuildWatch::Outcome& outcome, CommandContext& context) {
    const std::string name = inQuotes(index.displayName());
    if (outcome.build.fault) return kExitFailure;
    if (outcome.build.canceled) {
        complain(
            fmt::format("stopped after {} files; the catalog {} keeps what it has, and "
                        "kestrix catalog update {} goes on",
                        outcome.build.files, name, name));
        return kExitFailure;
    }
    context.output.append(fmt::format("{}: {} files, {} new or changed, {:.1f} MB, {:.1f} s\n", name,
                                      outcome.build.files, outcome.build.written,
                                      static_cast<double>(index.cacheSizeOnDisk()) / 1e6, outcome.seconds));
    context.output.flush();
    if (const auto closed = outcome.build.unreadableFolders; closed > 0) {
        complain(fmt::format("{} {} could not be read; the catalog {} lacks what is new there", closed,
                             closed == 1 ? "folder" : "folders", name));
    }
    if (const auto failed = outcome.build.failedDocuments; failed > 0) {
        complain(fmt::format("{} {} could not be read; kestrix catalog failed {} lists them", failed,
                             failed == 1 ? "document" : "documents", name));
    }
    return kExitFound;
}

int exitCodeOf(const BuildWatch& watch, int code) {
    const auto signal = watch.interruptedBy();
    return signal ? 128 + *signal : code;
}

// A refusal of one is no reason to leave the others out.
int updateOne(const Entry& entry, const Arguments& arguments, BuildWatch& watch, CommandContext& context) {
    std::shared_ptr<ContentIndex> index = entry.index;
    const bool setsAside = arguments.has("set-aside");
    const std::string name = inQuotes(entry.info.displayName);
    if (setsAside || (!index && typeOf(entry.info.localDBFilePath) == EntryType::unknown)) {
        if (!entry.info.targetURL)
            throw UsageError("the catalog " + name +
                             " does not tell its folder; remove it and add the folder");
        const auto anew = context.application.catalogs().startAnew(entry);
        if (anew.keptAs) complain("the old file of " + name + " is kept as " + inQuotes(*anew.keptAs));
        index = anew.index;
    }
    if (!index)
        throw UsageError("the catalog " + name + " was not updated: " + entry.reason + "; " +
                         adviceOn(entry.info.displayName));
    if (!index->isTargetMounted()) {
        throw UsageError("the catalog " + name +
                         " was not updated: " + inQuotes(index->targetURL().value_or("")) +
                         " or the disk that it was made of is not there");
    }
    // A new file knows no mode yet.
    const auto before = entry.index ? entry.index->documentInfo().lastIndexMode : entry.info.indexMode;
    return report(*index, watch.run(index, chosenMode(arguments).value_or(before)), context);
}

// Two that add at the same time would see the same file name free. So one after the other: looks at what the
// one before has entered, and has a file of its own before the next one looks.
std::shared_ptr<ContentIndex> enter(const std::string& place, const Arguments& arguments,
                                    Application& application) {
    const std::string& folder = application.folders().data;
    makeFolder(folder);
    const FileRangesLock list(path::join(folder, "catalogs.lock"), FileRangesLock::Access::createIfMissing);
    list.lock(0, FileRangesLock::Mode::exclusive);
    application.settingsStore().reload();
    ContentIndexManager& catalogs = application.catalogs();
    catalogs.reload();
    return catalogs.add(place, nameOf(arguments), mirrorOf(arguments, place, catalogs));
}

std::vector<Entry> entriesToUpdate(const Arguments& arguments, ContentIndexManager& catalogs) {
    if (arguments.words.empty()) {
        for (const char* option : {"set-aside", "words", "ocr"}) {
            if (arguments.has(option))
                throw UsageError(std::string("--") + option + " needs the name of one catalog");
        }
        return catalogs.entries();
    }
    return {listedCatalogNamed(arguments.words.front(), catalogs)};
}

// A catalog that somebody else has built stays as it is.
int takeIn(const std::string& file, const Arguments& arguments, CommandContext& context) {
    if (path::extension(file) != ContentIndexManager::kExtension)
        throw UsageError(inQuotes(file) + " is no folder; a catalog describes a folder or a disk");
    for (const char* option : {"name", "mirror", "words", "ocr"}) {
        if (arguments.has(option))
            throw UsageError(std::string("--") + option +
                             " goes with a folder; a catalog file keeps its own");
    }
    context.application.catalogs().addExistingIndex(file);
    return kExitFound;
}

}  // namespace

int addCatalog(const Arguments& arguments, CommandContext& context) {
    const std::string place = existing(arguments.words.front());
    if (typeOf(place) != EntryType::directory) return takeIn(place, arguments, context);
    BuildWatch watch(context);
    const auto index = enter(place, arguments, context.application);
    // A mirror may bring words along.
    const auto before = index->documentInfo().lastIndexMode;
    return exitCodeOf(watch,
                      report(*index, watch.run(index, chosenMode(arguments).value_or(before)), context));
}

int updateCatalogs(const Arguments& arguments, CommandContext& context) {
    BuildWatch watch(context);
    const auto entries = entriesToUpdate(arguments, context.application.catalogs());
    int code = entries.empty() ? kExitNothing : kExitFound;
    for (const Entry& entry : entries) {
        if (watch.interruptedBy()) break;
        try {
            code = std::max(code, updateOne(entry, arguments, watch, context));
        } catch (const std::exception& refusal) {
            complain(refusal.what());
            code = kExitFailure;
        }
    }
    return exitCodeOf(watch, code);
}

int removeCatalog(const Arguments& arguments, CommandContext& context) {
    ContentIndexManager& catalogs = context.application.catalogs();
    catalogs.remove(listedCatalogNamed(arguments.words.front(), catalogs));
    return kExitFound;
}

}  // namespace kestrix::cli
