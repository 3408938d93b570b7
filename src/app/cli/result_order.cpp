#include "app/cli/result_order.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include "app/cli/result_printer.h"
#include "base/path.h"
#include "base/text.h"

namespace kestrix::cli {
namespace {

std::string textKey(const SearchResult& result, Column column) {
    switch (column) {
        case Column::name:
            return text::collationKey(path::lastComponent(result.path));
        case Column::kind:
            return text::collationKey(kindOf(result));
        case Column::inside:
            return text::collationKey(path::lastComponent(path::parent(result.path)));
        default:
            return text::collationKey(result.path);
    }
}

std::int64_t numberKey(const SearchResult& result, Column column) {
    switch (column) {
        case Column::modified:
            return result.modDate;
        case Column::created:
            return result.creationDate;
        default:
            return static_cast<std::int64_t>(result.size);
    }
}

// Keys are made once each and sorted with places, so that a comparison costs no collation and a swap moves
// no record.
template <typename KeyOf>
void sortBy(std::vector<SearchResult>& results, bool reverse, KeyOf keyOf) {
    using Key = decltype(keyOf(results.front()));
    std::vector<std::pair<Key, std::size_t>> order;
    order.reserve(results.size());
    for (std::size_t i = 0; i < results.size(); ++i)
        order.emplace_back(keyOf(results[i]), i);
    std::sort(order.begin(), order.end(), [&](const auto& a, const auto& b) {
        if (a.first != b.first) return a.first < b.first;
        return results[a.second].path < results[b.second].path;
    });
    if (reverse) std::reverse(order.begin(), order.end());
    std::vector<SearchResult> sorted;
    sorted.reserve(results.size());
    for (const auto& [key, place] : order)
        sorted.push_back(std::move(results[place]));
    results = std::move(sorted);
}

}  // namespace

Column columnNamed(std::string_view name) {
    if (name == "size") return Column::size;
    if (name == "modified") return Column::modified;
    if (name == "created") return Column::created;
    if (name == "kind") return Column::kind;
    if (name == "inside") return Column::inside;
    if (name == "path") return Column::path;
    return Column::name;
}

bool needsAttributes(Column column) {
    return column == Column::size || column == Column::modified || column == Column::created;
}

void sortResults(std::vector<SearchResult>& results, Column column, bool reverse) {
    if (results.empty()) return;
    if (needsAttributes(column)) {
        sortBy(results, reverse, [&](const SearchResult& result) { return numberKey(result, column); });
    } else {
        sortBy(results, reverse, [&](const SearchResult& result) { return textKey(result, column); });
    }
}

}  // namespace kestrix::cli
