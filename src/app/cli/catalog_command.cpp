// "kestrix catalog": which action it is, how a catalog is named, and what only reads.
#include <array>

#include "app/cli/catalog_actions.h"
#include "app/cli/display_text.h"
#include "base/error.h"
#include "base/path.h"
#include "index/failed_files.h"
#include "index/verify.h"
#include "platform/directory.h"
#include "platform/system_info.h"

namespace kestrix::cli {

namespace {

struct Action {
    std::string_view name;
    int (*run)(const Arguments& arguments, CommandContext& context);
};

constexpr std::array kActions = {
    Action{"list", listCatalogs},    Action{"info", describeCatalog},
    Action{"add", addCatalog},       Action{"update", updateCatalogs},
    Action{"remove", removeCatalog}, Action{"dump", dumpCatalogRecords},
    Action{"verify", verifyCatalog}, Action{"failed", listFailedDocuments},
};

bool isCatalogFile(std::string_view name) {
    return path::extension(name) == ContentIndexManager::kExtension;
}

}  // namespace

std::string adviceOn(std::string_view catalogName) {
    const std::string name = inQuotes(catalogName);
    return "kestrix catalog update " + name + " --set-aside builds it anew, kestrix catalog remove " + name +
           " forgets it";
}

ContentIndexManager::Entry listedCatalogNamed(std::string_view name, ContentIndexManager& catalogs) {
    if (auto entry = catalogs.named(name)) return *std::move(entry);
    throw UsageError("there is no catalog " + inQuotes(name) + "; kestrix catalog list lists them");
}

ContentIndexManager::Entry catalogNamed(std::string_view name, ContentIndexManager& catalogs) {
    if (isCatalogFile(name) && !catalogs.named(name)) {
        const std::string file = path::normalized(name, workingDirectory());
        FileAttributes attributes;
        if (readAttributes(file, true, attributes) == 0) return catalogs.ofFile(file);
        throw UsageError("there is no file " + inQuotes(name));
    }
    return listedCatalogNamed(name, catalogs);
}

ContentIndexManager::Entry usableCatalogNamed(std::string_view name, ContentIndexManager& catalogs) {
    auto entry = catalogNamed(name, catalogs);
    if (entry.index) return entry;
    throw UsageError("the catalog " + inQuotes(name) + " cannot be used: " + entry.reason +
                     (entry.isListed ? "; " + adviceOn(entry.info.displayName) : ""));
}

// The file is looked at as it is, also where it cannot be opened as a catalog.
int verifyCatalog(const Arguments& arguments, CommandContext& context) {
    const auto entry = catalogNamed(arguments.words.front(), context.application.catalogs());
    FileAttributes attributes;
    if (readAttributes(entry.info.localDBFilePath, true, attributes) != 0 || attributes.size == 0)
        throw UsageError("the catalog " + inQuotes(arguments.words.front()) + ": " + entry.reason);
    const auto faults = faultsOfCatalog(entry.info.localDBFilePath);
    if (faults.empty()) return kExitFound;
    std::string text;
    for (const std::string& fault : faults) {
        appendSafely(text, fault);
        text += '\n';
    }
    context.output.append(text);
    context.output.flush();
    complain("the catalog " + inQuotes(arguments.words.front()) + " is damaged" +
             (entry.isListed ? "; " + adviceOn(entry.info.displayName) : ""));
    return kExitFailure;
}

int dumpCatalogRecords(const Arguments& arguments, CommandContext& context) {
    const auto entry = usableCatalogNamed(arguments.words.front(), context.application.catalogs());
    dumpCatalog(entry.info.localDBFilePath, [&context](std::string_view line) {
        context.output.append(line);
        context.output.append('\n');
        return context.output.isOpen();
    });
    return kExitFound;
}

int listFailedDocuments(const Arguments& arguments, CommandContext& context) {
    const auto entry = catalogNamed(arguments.words.front(), context.application.catalogs());
    const FailedFiles failed(FailedFiles::fileOf(entry.info.localDBFilePath));
    for (const auto& [path, document] : failed.entries()) {
        std::string line;
        appendSafely(line, path);
        line += '\t';
        appendSafely(line, document.reason);
        context.output.append(line + "\n");
    }
    return failed.entries().empty() ? kExitNothing : kExitFound;
}

int runCatalog(const Arguments& arguments, CommandContext& context) {
    for (const Action& action : kActions) {
        if (action.name == arguments.action->name) return action.run(arguments, context);
    }
    throw UsageError("catalog " + std::string(arguments.action->name) + " is not there yet in this version");
}

}  // namespace kestrix::cli
