#include "results/node_sorting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <random>

#include "base/path.h"
#include "base/text.h"
#include "tests/results/results_fixture.h"

namespace kestrix {
namespace {

constexpr std::array kAllColumns = {Column::image,   Column::name,    Column::size,
                                    Column::modDate, Column::created, Column::kind,
                                    Column::inside,  Column::path,    Column::rank};

// Few values, so that ties are many.
UINodes manyNodes(const NodeWorld& world, std::size_t count) {
    std::mt19937 random(1);
    const std::vector<std::string> names = {"file 9", "file 10", "File 10", "Überblick", "zoo", "\xff\xfe"};
    const std::vector<std::string> endings = {"", ".txt", ".PDF", ".jpg", ".nobody", ".app"};
    UINodes nodes;
    for (std::size_t i = 0; i < count; ++i) {
        SearchResult record =
            recordAt("/home/" + std::to_string(random() % 12) + "/" + names[random() % 6] +
                         (random() % 2 ? std::to_string(random() % 100) : "") + endings[random() % 6],
                     random() % 4 ? random() % 30 : ~random() * std::uint64_t{1} << 33,
                     static_cast<std::int64_t>(random() % 40) - 20, random() % 5 == 0);
        record.creationDate = static_cast<std::int64_t>(random() % 3);
        record.contentSearchResultsRank = static_cast<std::int64_t>(random() % 9);
        nodes.push_back(world.node(std::move(record)));
    }
    return nodes;
}

int sign(auto a, auto b) {
    return a < b ? -1 : a > b ? 1 : 0;
}

int compareInColumn(const UINode& a, const UINode& b, const NodeOrder& order) {
    const auto compare = [&](auto&& valueOf) { return sign(valueOf(a), valueOf(b)); };
    switch (order.column) {
        case Column::name:
            return compare(
                [&](auto& node) { return UINode::sortScore(node.path(), order.rules, node.isDirectory()); });
        case Column::size:
            return compare([](auto& node) { return node.totalSize(); });
        case Column::modDate:
            return compare([](auto& node) { return node.modificationDate(); });
        case Column::created:
            return compare([](auto& node) { return node.creationDate(); });
        case Column::rank:
            return compare([](auto& node) { return node.contentSearchResultsRank(); });
        case Column::kind:
            return text::naturalCompare(a.displayKind(), b.displayKind());
        case Column::inside:
            return compare([](auto& node) { return path::lastComponent(path::parent(node.path())); });
        default:
            return compare([](auto& node) { return node.path(); });
    }
}

// As the order is told, without keys or merging.
UINodes slowlySorted(UINodes nodes, const NodeOrder& order) {
    if (order.column == Column::image) return nodes;
    std::stable_sort(nodes.begin(), nodes.end(), [&](const UINodePtr& a, const UINodePtr& b) {
        const int column = compareInColumn(*a, *b, order);
        if (column != 0) return order.reversed ? column > 0 : column < 0;
        const int names =
            text::naturalCompare(path::lastComponent(a->path()), path::lastComponent(b->path()));
        return order.reversed && order.column == Column::name ? names > 0 : names < 0;
    });
    return nodes;
}

TEST(NodeSorting, SortingAndMergingEveryColumnBothWaysAgreeWithASlowTwin) {
    const NodeWorld world;
    const UINodes nodes = manyNodes(world, 10'000);
    for (const Column column : kAllColumns) {
        for (const bool reversed : {false, true}) {
            const NodeOrder order{column, reversed, {true, "file"}};
            const UINodes expected = slowlySorted(nodes, order);
            EXPECT_TRUE(UINode::sortNodes(nodes, order) == expected) << static_cast<int>(column) << reversed;
            UINodes merged;
            auto rest = nodes.begin();
            for (const int count : {5000, 3, 1, 0, 600, 4000, 396}) {
                merged = mergeNodes(merged, UINodes(rest, rest + count), order);
                rest += count;
            }
            EXPECT_TRUE(merged == expected) << static_cast<int>(column) << reversed;
        }
    }
}

TEST(NodeSorting, TiesCanBeMadeToDependOnNoArrival) {
    const NodeWorld world;
    const UINodes nodes = world.nodes({"/c/a", "/b/A", "/a/a", "/b/a"});
    const auto sorted = [&](bool reversed) {
        return pathsOf(UINode::sortNodes(nodes, {Column::size, reversed, {}, true}));
    };
    EXPECT_EQ(sorted(false), (std::vector<std::string>{"/b/A", "/a/a", "/b/a", "/c/a"}));
    EXPECT_EQ(sorted(true), sorted(false));
}

TEST(NodeSorting, FoldersAndNamesThatBeginWithTheQueryComeFirstIfTheSettingsSaySo) {
    QueryWorld queries;
    Preferences& preferences = queries.preferences;
    const QueryContainer query = queries.query("Rep ORT");
    EXPECT_EQ(SortRules::of(&query, preferences), SortRules{});
    preferences.set("moveFoldersToTop", true);
    preferences.set("moveItemsStartingWithQueryToTop", true);
    EXPECT_EQ(SortRules::of(nullptr, preferences), SortRules{});

    const SortRules rules = SortRules::of(&query, preferences);
    EXPECT_EQ(UINode::sortScore("/a/Report.pdf", rules, false), -500);
    EXPECT_EQ(UINode::sortScore("/a/report of the year", rules, true), -1500);
    EXPECT_EQ(UINode::sortScore("/report/rep.ort", rules, false), 0) << "the extension is no part of it";

    const NodeWorld world;
    UINodes nodes = world.nodes({"/a", "/z.d", "/REPORTER", "/b"});
    nodes.push_back(world.node(recordAt("/y", 0, 0, true)));
    EXPECT_EQ(pathsOf(UINode::sortNodes(nodes, {Column::name, false, rules})),
              (std::vector<std::string>{"/y", "/REPORTER", "/a", "/b", "/z.d"}));
    EXPECT_EQ(pathsOf(UINode::sortNodes(nodes, {Column::name, true, rules})),
              (std::vector<std::string>{"/z.d", "/b", "/a", "/REPORTER", "/y"}));
}

}  // namespace
}  // namespace kestrix
