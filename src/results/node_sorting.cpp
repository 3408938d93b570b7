#include "results/node_sorting.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "base/path.h"
#include "base/text.h"

namespace kestrix {
namespace {

constexpr int kFolderScore = -1000;
constexpr int kBeginsWithQueryScore = -500;

// A batch above this part of the list is not worth placing node by node.
constexpr std::size_t kLargeBatchPart = 8;

// Eight bytes from `offset` on as a number that orders as they do: most comparisons end here, without a look
// at the text itself, which lies somewhere else in memory. Texts that differ only behind them, or by zeros,
// give the same number.
std::uint64_t eightBytes(std::string_view text, std::size_t offset = 0) {
    std::uint64_t bytes = 0;
    if (text.size() > offset) {
        std::memcpy(&bytes, text.data() + offset, std::min(text.size() - offset, sizeof bytes));
    }
    if constexpr (std::endian::native == std::endian::little) bytes = __builtin_bswap64(bytes);
    return bytes;
}

// Signed numbers as unsigned ones that order alike.
std::uint64_t ordered(std::int64_t number) {
    return static_cast<std::uint64_t>(number) ^ (std::uint64_t{1} << 63);
}

// A plain copy of what is compared of one node, made for one sort: what the checks of rows in view change
// meanwhile cannot upset it. The texts belong to the node or to its kind.
struct UINodeSortable {
    std::uint64_t number = 0;  // of the column, or the beginning of its text
    std::string_view text{};   // of the column
    // Names that are alike for a dozen letters are the rule in a folder of pictures.
    std::uint64_t nameBeginning[2];
    std::string_view name;  // sort key
    const UINodePtr* target;

    UINodeSortable(const UINodePtr& node, const NodeOrder& order) : name(node->nameSortKey()), target(&node) {
        takeColumn(*node, order);
        nameBeginning[0] = eightBytes(name);
        nameBeginning[1] = eightBytes(name, 8);
    }

  private:
    void takeColumn(const UINode& of, const NodeOrder& order) {
        switch (order.column) {
            case Column::image:
                return;
            case Column::name:
                number = ordered(UINode::sortScore(of.path(), order.rules, of.isDirectory()));
                return;
            case Column::size:
                number = of.totalSize();
                return;
            case Column::modDate:
                number = ordered(of.modificationDate());
                return;
            case Column::created:
                number = ordered(of.creationDate());
                return;
            case Column::rank:
                number = ordered(of.contentSearchResultsRank());
                return;
            case Column::kind:
                return takeText(of.displayedKind().sortKey);
            case Column::inside:
                return takeText(path::lastComponent(path::parent(of.path())));
            case Column::path:
                return takeText(of.path());
        }
    }

    void takeText(std::string_view value) {
        text = value;
        number = eightBytes(value);
    }
};

// Negative, zero or positive. Nodes of one kind share its text.
int compareColumn(const UINodeSortable& a, const UINodeSortable& b) {
    if (a.number != b.number) return a.number < b.number ? -1 : 1;
    if (a.text.data() == b.text.data()) return 0;
    return a.text.compare(b.text);
}

int compareNames(const UINodeSortable& a, const UINodeSortable& b) {
    for (const int i : {0, 1}) {
        if (a.nameBeginning[i] != b.nameBeginning[i]) return a.nameBeginning[i] < b.nameBeginning[i] ? -1 : 1;
    }
    return a.name.compare(b.name);
}

// Strictly before, so that equal ones are neither.
class Before {
  public:
    explicit Before(const NodeOrder& order)
        : columnReversed_(order.reversed),
          namesReversed_(order.reversed && order.column == Column::name),
          tiesByPath_(order.tiesByPath) {}

    bool operator()(const UINodeSortable& a, const UINodeSortable& b) const {
        if (const int column = compareColumn(a, b); column != 0)
            return columnReversed_ ? column > 0 : column < 0;
        const int names = compareNames(a, b);
        if (names == 0 && tiesByPath_) return (*a.target)->path() < (*b.target)->path();
        return namesReversed_ ? names > 0 : names < 0;
    }

  private:
    bool columnReversed_;
    bool namesReversed_;
    bool tiesByPath_;
};

std::string_view withoutExtension(std::string_view name) {
    const std::string_view extension = path::extension(name);
    if (!extension.empty()) name.remove_suffix(extension.size() + 1);
    return name;
}

}  // namespace

SortRules SortRules::of(const QueryContainer* query, const Preferences& preferences) {
    SortRules rules;
    if (!query) return rules;
    rules.foldersToTop = preferences.boolean("moveFoldersToTop");
    if (preferences.boolean("moveItemsStartingWithQueryToTop")) {
        rules.queryStart.emplace();
        for (const SentenceComponent& word : query->allWords())
            *rules.queryStart += word.textLowered;
    }
    return rules;
}

int UINode::sortScore(std::string_view path, const SortRules& rules, bool isFolder) {
    int score = 0;
    if (rules.foldersToTop && isFolder) score += kFolderScore;
    if (rules.queryStart) {
        const std::string name = text::lowered(withoutExtension(path::lastComponent(path)));
        if (name.starts_with(*rules.queryStart)) score += kBeginsWithQueryScore;
    }
    return score;
}

UINodes UINode::sortNodes(UINodes nodes, const NodeOrder& order) {
    if (order.column == Column::image || nodes.size() < 2) return nodes;
    std::vector<UINodeSortable> keys;
    keys.reserve(nodes.size());
    for (const UINodePtr& node : nodes)
        keys.emplace_back(node, order);
    std::stable_sort(keys.begin(), keys.end(), Before(order));
    UINodes sorted;
    sorted.reserve(nodes.size());
    for (const UINodeSortable& key : keys)
        sorted.push_back(std::move(nodes[static_cast<std::size_t>(key.target - nodes.data())]));
    return sorted;
}

// Each node of the batch goes behind all that are not after it, found by halving what is left of the list: of
// a hundred thousand nodes only a few thousand are looked at.
UINodes mergeNodes(const UINodes& sorted, UINodes batch, const NodeOrder& order) {
    UINodes merged;
    merged.reserve(sorted.size() + batch.size());
    if (order.column == Column::image || batch.size() > sorted.size() / kLargeBatchPart) {
        merged = sorted;
        std::move(batch.begin(), batch.end(), std::back_inserter(merged));
        return UINode::sortNodes(std::move(merged), order);
    }
    const Before before(order);
    auto rest = sorted.begin();
    for (UINodePtr& node : UINode::sortNodes(std::move(batch), order)) {
        const UINodeSortable key(node, order);
        const auto place =
            std::upper_bound(rest, sorted.end(), key, [&](const auto& added, const UINodePtr& there) {
                return before(added, UINodeSortable(there, order));
            });
        merged.insert(merged.end(), rest, place);
        merged.push_back(std::move(node));
        rest = place;
    }
    merged.insert(merged.end(), rest, sorted.end());
    return merged;
}

}  // namespace kestrix
