#include <cmath>
#include <nlohmann/json.hpp>

#include "base/error.h"
#include "index/json_fields.h"
#include "index/records.h"

namespace kestrix {

namespace {

constexpr const char* kWhat = "the description in a catalog";

// In either direction. Whole seconds of any date nearer than this can be counted on with.
constexpr double kFarthest = 1e11;

}  // namespace

// What is not UTF-8 is replaced: a path on Linux may hold any byte, and in a URL it is escaped anyway.
std::string toJson(const DocumentInfo& info) {
    nlohmann::json json{{"lastUpdated", info.lastUpdated},
                        {"lastIndexMode", static_cast<int>(info.lastIndexMode)},
                        {"isDirty", info.isDirty}};
    if (info.suggestedTarget) json["suggestedTarget"] = fileUrlOf(*info.suggestedTarget, true);
    if (info.numberOfFSItems) json["numberOfFSItems"] = *info.numberOfFSItems;
    if (info.diskKey) json["diskKey"] = *info.diskKey;
    return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

DocumentInfo documentInfoFromJson(std::string_view json) {
    const auto read = nlohmann::json::parse(json, nullptr, false);
    const JsonFields fields(read, kWhat);
    DocumentInfo info;
    info.suggestedTarget = fields.optionalPath("suggestedTarget");
    info.lastUpdated = fields.required<double>("lastUpdated");
    if (std::abs(info.lastUpdated) > kFarthest) info.lastUpdated = DocumentInfo::kDistantPast;
    info.numberOfFSItems = fields.optional<std::int64_t>("numberOfFSItems");
    info.lastIndexMode = fields.indexMode("lastIndexMode");
    info.isDirty = fields.required<bool>("isDirty");
    info.diskKey = fields.optional<std::string>("diskKey");
    return info;
}

}  // namespace kestrix
