// What "kestrix catalog" does, one function an action.
#pragma once

#include <string>
#include <string_view>

#include "app/cli/commands.h"
#include "index/content_index_manager.h"

namespace kestrix::cli {

// The catalog of the list that has this name. Throws UsageError if there is none.
ContentIndexManager::Entry listedCatalogNamed(std::string_view name, ContentIndexManager& catalogs);
// The same; or, for a path with the extension kxcache, that file, whether it is in the list or not.
ContentIndexManager::Entry catalogNamed(std::string_view name, ContentIndexManager& catalogs);
// Its file can be read. Throws Error that says what to do otherwise.
ContentIndexManager::Entry usableCatalogNamed(std::string_view name, ContentIndexManager& catalogs);

// What the user can do about a catalog whose file cannot be used.
std::string adviceOn(std::string_view catalogName);

// As the functions of commands.h.
int listCatalogs(const Arguments& arguments, CommandContext& context);
int describeCatalog(const Arguments& arguments, CommandContext& context);
int addCatalog(const Arguments& arguments, CommandContext& context);
int updateCatalogs(const Arguments& arguments, CommandContext& context);
int removeCatalog(const Arguments& arguments, CommandContext& context);
int dumpCatalogRecords(const Arguments& arguments, CommandContext& context);
int verifyCatalog(const Arguments& arguments, CommandContext& context);
int listFailedDocuments(const Arguments& arguments, CommandContext& context);

}  // namespace kestrix::cli
