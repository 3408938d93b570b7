// The order of result lists.
//
//   column               first key                              then
//   image                none: nodes keep their order
//   name                 sortScore                              name
//   size ... rank        number, text or kind of the column     name, always ascending
//
// Names and kinds order as people do (text::collationKey), "inside" and "path" by their bytes. Only the name
// column turns its second key around when it is reversed. Nodes that are equal in both keys keep their order,
// unless the order says otherwise.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "results/ui_node.h"
#include "shell/preferences.h"

namespace kestrix {

enum class Column { image, name, size, modDate, created, kind, inside, path, rank };

// What pulls nodes to the top of the name column.
struct SortRules {
    bool foldersToTop = false;
    // Names that begin with this, in lower case, go to the top; none: no name does.
    std::optional<std::string> queryStart{};

    bool operator==(const SortRules&) const = default;

    // By the settings "moveFoldersToTop" and "moveItemsStartingWithQueryToTop". Without a query nothing is
    // pulled anywhere.
    static SortRules of(const QueryContainer* query, const Preferences& preferences);
};

struct NodeOrder {
    Column column = Column::name;
    bool reversed = false;
    SortRules rules{};
    // Nodes that are equal in both keys stand in the order of their paths, not of their arrival: for lists
    // that are to come out the same way each time.
    bool tiesByPath = false;

    bool operator==(const NodeOrder&) const = default;
};

// What UINode::sortNodes would make of `sorted` followed by `batch`, where `sorted` stands in the order
// already. Costs little more than sorting the batch.
UINodes mergeNodes(const UINodes& sorted, UINodes batch, const NodeOrder& order);

}  // namespace kestrix
