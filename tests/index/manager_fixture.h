// The list of catalogs, and catalogs that a test writes record by record.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "index/content_index_manager.h"
#include "language/language_parse.h"
#include "language/query_container.h"
#include "tests/index/index_fixture.h"

namespace kestrix {

class ManagedCatalogTest : public IndexTest {
  protected:
    // A second one stands for another process.
    std::unique_ptr<ContentIndexManager> makeManager(Preferences& settings) {
        return std::make_unique<ContentIndexManager>(ContentIndexManager::Environment{
            settings, disks, clock, loop, notifications, nullptr, nullptr, folder.path("catalogs")});
    }

    static void write(ContentIndex& index, const std::vector<FSItem>& items) {
        const ContentIndex::Session session(index);
        std::map<FSItemID, std::vector<FSItemID>> children;
        std::vector<ValueGroupKey> values;
        for (const FSItem& item : items) {
            values.push_back({item.asData(), "", itemKey(item.fsid)});
            children[item.parentID].push_back(item.fsid);
        }
        for (const auto& [parent, ids] : children)
            values.push_back({packChildList(ids), "", childrenKey(parent)});
        index.db().put(values);
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

    ManualClock& clock = queueClock;
    RunLoop& loop = queue;
    std::unique_ptr<ContentIndexManager> manager = makeManager(preferences);
};

}  // namespace kestrix
