// What the tests of catalogs share: an application's services over a folder of their own, and catalogs that a
// test writes record by record.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "index/content_index_manager.h"
#include "language/language_parse.h"
#include "language/query_container.h"
#include "shell/preferences.h"
#include "tests/files/fake_mount_table.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {

class ManagedCatalogTest : public ::testing::Test {
  protected:
    ManagedCatalogTest() { mounts.mount("/", "ext4", "/dev/sda1"); }

    // A second one stands for another process.
    std::unique_ptr<ContentIndexManager> makeManager(Preferences& settings) {
        return std::make_unique<ContentIndexManager>(ContentIndexManager::Environment{
            settings, disks, clock, loop, notifications, nullptr, nullptr, folder.path("catalogs")});
    }

    static void write(ContentIndex& index, const std::vector<FSItem>& items) {
        const ContentIndex::Session session(index);
        std::map<FSItemID, std::vector<FSItemID>> children;
        for (const FSItem& item : items) {
            const std::string key = itemKey(item.fsid), record = item.asData();
            const SimpleLMDB::Write write{key, record};
            index.db().write({&write, 1});
            children[item.parentID].push_back(item.fsid);
        }
        for (const auto& [parent, ids] : children) {
            const std::string key = childrenKey(parent), list = packChildList(ids);
            const SimpleLMDB::Write write{key, list};
            index.db().write({&write, 1});
        }
    }

    static FSItem item(FSItemID id, FSItemID parent, std::string name, FSItemType type = FSItemType::file) {
        FSItem made;
        made.fsid = id;
        made.parentID = parent;
        made.name = std::move(name);
        made.type = type;
        return made;
    }
    static FSItem directory(FSItemID id, FSItemID parent, std::string name) {
        return item(id, parent, std::move(name), FSItemType::directory);
    }

    TemporaryFolder folder;
    SettingsStore store{folder.path("settings.json")};
    Preferences preferences{store};
    ManualClock clock;
    RunLoop loop{clock};
    NotificationCenter notifications{loop};
    FakeMountTable mounts;
    DiskInfoManager disks{mounts, loop};
    std::unique_ptr<ContentIndexManager> manager = makeManager(preferences);
};

}  // namespace kestrix
