// A folder tree, catalogs of it, and the whole of a catalog as one value to compare.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "index/build/catalog_build.h"
#include "index/content_index.h"
#include "index/verify.h"
#include "shell/activity.h"
#include "tests/index/index_fixture.h"

namespace kestrix {

// Calls the test each time a build asks for the time: at its beginning, before the first folder, and then
// between any two looks at folders.
class TickingClock : public ManualClock {
  public:
    SteadyTime steadyNow() const override {
        if (const auto call = onTick) call();
        return ManualClock::steadyNow();
    }
    // Calls `call` once, at the tick of this number.
    void atTick(int number, std::function<void()> call) {
        onTick = [left = std::make_shared<int>(number), call = std::move(call)] {
            if (--*left == 0) call();
        };
    }
    std::function<void()> onTick{};
};

class CatalogTest : public IndexTest {
  protected:
    std::shared_ptr<ContentIndex> makeIndex(std::optional<std::string> remote = {}) {
        return std::make_shared<ContentIndex>(ContentIndex::Places{file, target, std::move(remote)},
                                              environment);
    }
    static ContentIndex::BuildOutcome buildInGroups(ContentIndex& index, std::size_t mostItems,
                                                    ContentIndexMode mode = ContentIndexMode::off) {
        return CatalogBuild(index, {.group = GroupWriter::Bounds{.mostItems = mostItems}})
            .run({*index.targetURL()}, false, mode);
    }

    // Some folders deep and wide, with files between them.
    void makeTree(int folders = 12, int files = 2) const {
        for (int i = 0; i < folders; ++i) {
            const std::string number = std::to_string(i);
            const std::string place = "tree/d" + std::to_string(i % 5) + "/e" + std::to_string(i % 3);
            for (int k = 0; k < files; ++k)
                folder.file(place + (k % 2 ? "/deep/g" : "/f") + number + "." + std::to_string(k),
                            std::string(i, 'x'));
            folder.file("tree/top" + number);
        }
        folder.folder("tree/empty");
    }

    struct Entry {
        bool isFile = false;
        std::int64_t size = 0;
        std::int32_t modified = 0;
        bool operator==(const Entry&) const = default;
    };
    using Contents = std::map<std::string, Entry>;  // by path below the target

    // Every item of the catalog; paths that two items share count as a failure.
    static Contents contentsOf(ContentIndex& index) {
        Contents contents;
        for (const auto& [id, path] : pathsOf(index)) {
            const FSItem item(*decodeFSItem(*index.db().get("", itemKey(id))));
            const bool isNew =
                contents.emplace(path, Entry{item.type == FSItemType::file, item.size, item.modificationDate})
                    .second;
            EXPECT_TRUE(isNew) << path;
        }
        return contents;
    }
    // Identifiers with their paths below the target. The catalog must be open.
    static std::map<FSItemID, std::string> pathsOf(ContentIndex& index) {
        std::vector<FSItemID> ids;
        const auto take = [&](std::string_view, std::string_view record) {
            if (const auto item = decodeFSItem(record)) ids.push_back(item->fsid);
            return true;
        };
        index.db().scan("F", SimpleLMDB::kBatchSize, take, [] { return true; });
        std::map<FSItemID, std::string> paths;
        for (const FSItemID id : ids)
            paths[id] = index.pathFor(id)->substr(index.targetURL()->size() + 1);
        return paths;
    }

    // The simple twin: what lies on the disk, without links and the like.
    Contents onDisk() const {
        namespace fs = std::filesystem;
        Contents contents;
        for (const auto& entry : fs::recursive_directory_iterator(target)) {
            if (entry.is_symlink() || (!entry.is_regular_file() && !entry.is_directory())) continue;
            FileAttributes attributes;
            EXPECT_EQ(readAttributes(entry.path(), false, attributes), 0);
            contents[fs::relative(entry.path(), target)] = {
                entry.is_regular_file(),
                entry.is_regular_file() ? static_cast<std::int64_t>(entry.file_size()) : 0,
                dateToInt32(attributes.modified)};
        }
        return contents;
    }

    std::vector<std::string> faults() const { return faultsOfCatalog(file); }
    void expectSame(ContentIndex& index, const Contents& expected) const {
        const ContentIndex::Session session(index);
        EXPECT_EQ(contentsOf(index), expected);
        EXPECT_EQ(faults(), std::vector<std::string>());
    }

    const std::string target = folder.folder("tree");
    const std::string file = folder.path("tree.kxcache");
    TickingClock clock;
    ActivityController activities{queue, notifications, queueClock};
    ContentIndexEnvironment environment{preferences, disks, clock, &activities};
};

using Faults = std::vector<std::string>;

}  // namespace kestrix
