// Nodes for tests of result lists.
#pragma once

#include <string>
#include <vector>

#include "language/language_parse.h"
#include "results/node_sorting.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {

inline SearchResult recordAt(std::string path, std::uint64_t size = 0, std::int64_t modDate = 0,
                             bool isDirectory = false) {
    SearchResult record;
    record.path = std::move(path);
    record.size = size;
    record.modDate = modDate;
    record.isDirectory = isDirectory;
    return record;
}

// Kinds come from the tables that the program brings along, whatever the machine has installed.
class NodeWorld {
  public:
    UINodePtr node(SearchResult record) const {
        return std::make_shared<UINode>(std::move(record), environment);
    }
    UINodes nodes(const std::vector<std::string>& paths) const {
        UINodes made;
        for (const std::string& path : paths)
            made.push_back(node(recordAt(path)));
        return made;
    }

    FileTypes types{{}};
    UTIAssistant names{types};
    KindTexts kinds{names};
    ManualClock clock;
    UINodeEnvironment environment{kinds, clock};
};

// Queries without sentences, over settings of their own.
class QueryWorld {
  public:
    QueryContainer query(std::string_view line) {
        return QueryContainer(line, std::nullopt, false, {preferences, language});
    }

    TemporaryFolder folder;
    SettingsStore store{folder.path("settings.json")};
    Preferences preferences{store};
    LanguageParse language;
};

inline std::vector<std::string> pathsOf(const UINodes& nodes) {
    std::vector<std::string> paths;
    for (const UINodePtr& node : nodes)
        paths.push_back(node->path());
    return paths;
}

}  // namespace kestrix
