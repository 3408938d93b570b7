// The list of catalogs as the settings keep it.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "files/disks.h"
#include "index/saved_index_info.h"
#include "shell/preferences.h"

namespace kestrix {

// What tells one catalog of the list from all others: its identifier, or where it has none its file.
std::string identityOf(const SavedIndexInfo& info);

// The setting "SavedIndexInfo"; records that cannot be read are left out. Where there is no such setting, the
// catalogs that "FSCompactIndexesManagerMetaData" names: an older store, whose files lie in `folder` and are
// none of ours.
std::vector<SavedIndexInfo> loadCatalogList(const Preferences& preferences, const std::string& folder,
                                            const DiskInfoManager& disks);

// Brings the setting in line with `ours`. `seen` holds the identity of every record that this process has
// read from the setting or written to it: one that is not in `ours` any more was removed here, and one of
// `ours` that is not in the setting any more was removed elsewhere. Other records are kept as they are.
// Throws Error.
void saveCatalogList(Preferences& preferences, const std::vector<SavedIndexInfo>& ours,
                     std::set<std::string>& seen);

}  // namespace kestrix
