#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/bytes.h"
#include "index/lmdb/simple_lmdb.h"
#include "index/verify.h"
#include "index/word_container.h"

namespace kestrix {

namespace {

using Line = nlohmann::ordered_json;

bool addItem(Line& line, std::string_view value) {
    const auto item = decodeFSItem(value);
    if (!item) return false;
    line["fsid"] = item->fsid;
    line["parentID"] = item->parentID;
    line["type"] = item->type == FSItemType::file ? "file" : "directory";
    line["name"] = item->name;
    line["creationDate"] = item->creationDate;
    line["modificationDate"] = item->modificationDate;
    line["version"] = item->version;
    line["size"] = item->size;
    return true;
}

bool addCounter(Line& line, std::string_view value) {
    std::size_t at = 0;
    const auto last = safeValueAndIncrement<std::uint32_t>(value, at);
    if (!last || at != value.size()) return false;
    line["lastAutoID"] = *last;
    return true;
}

bool addChildList(Line& line, std::string_view key, std::string_view value) {
    const auto id = idInKey(key);
    const std::vector<FSItemID> ids = unpackChildList(value);
    if (!id || packChildList(ids) != value) return false;
    line["id"] = *id;
    line["ids"] = ids;
    return true;
}

bool addWord(Line& line, std::string_view key, std::string_view value) {
    if (!listsOfWordContainer(value)) return false;
    auto container = WordContainer::fromData(std::string(key.substr(1)), std::string(value));
    line["word"] = container.word();
    Line& documents = line["documentIDs"] = Line::object();
    for (const auto& [document, count] : container.documentIDs())
        documents[std::to_string(document)] = count;
    return true;
}

bool addDocumentInfo(Line& line, std::string_view value) {
    const auto info = Line::parse(value, nullptr, false);
    if (!info.is_object()) return false;
    line.update(info);
    return true;
}

// False if the record does not decode.
bool addFields(Line& line, std::string_view key, std::string_view value) {
    if (key == kDocumentInfoKey) return addDocumentInfo(line, value);
    if (key == kLastAutoIDKey) return addCounter(line, value);
    if (key.starts_with('F')) return addItem(line, value);
    if (key.starts_with('C')) return addChildList(line, key, value);
    if (key.starts_with('W')) return addWord(line, key, value);
    if (key != kDeadKey) return false;
    line["ids"] = unpackDeadList(value);
    return true;
}

std::string lineOf(std::string_view key, std::string_view value) {
    const Line names{{"family", key.substr(0, 1)}, {"key", key}};
    Line line = names;
    if (!addFields(line, key, value)) {
        line = names;
        line["damaged"] = true;
        line["hex"] = hexString(value);
    }
    return line.dump(-1, ' ', false, Line::error_handler_t::replace);
}

}  // namespace

void dumpCatalog(const std::string& file, const std::function<bool(std::string_view line)>& print) {
    SimpleLMDB db;
    db.open(file, {.readOnly = true});
    std::vector<std::pair<std::string, std::string>> batch;
    const auto keep = [&](std::string_view key, std::string_view value) {
        batch.emplace_back(key, value);
        return true;
    };
    const auto printBatch = [&] {
        const bool goesOn = std::all_of(batch.begin(), batch.end(), [&](const auto& record) {
            return print(lineOf(record.first, record.second));
        });
        batch.clear();
        return goesOn;
    };
    db.scan("", SimpleLMDB::kBatchSize, keep, printBatch);
}

}  // namespace kestrix
