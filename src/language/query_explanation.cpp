#include "language/query_explanation.h"

#include <nlohmann/json.hpp>

#include "language/word_json.h"

namespace kestrix {
namespace {

using Json = nlohmann::ordered_json;

std::string_view nameOf(SentenceComponent::Wildcard wildcard) {
    switch (wildcard) {
        case SentenceComponent::Wildcard::prefix:
            return "prefix";
        case SentenceComponent::Wildcard::suffix:
            return "suffix";
        case SentenceComponent::Wildcard::none:
            break;
    }
    return "none";
}

Json asJson(const SentenceComponent& word) {
    Json object;
    object["text"] = word.textLowered;
    object["original"] = word.textOriginalCase;
    object["start"] = word.position.lowerBound;
    object["end"] = word.position.upperBound;
    object["afterColon"] = word.isAfterAColon;
    object["quoted"] = word.wasInQuotes;
    object["wildcard"] = nameOf(word.wildcard);
    return object;
}

Json asJson(const Command& command) {
    Json object;
    object["class"] = command.className();
    object["text"] = command.commandToString();
    object["consumed"] = wordsAsJson(command.commandConsumedParts);
    const nlohmann::json fields = command.explainedFields();
    for (const auto& [key, value] : fields.items())
        object.emplace(key, Json(value));
    return object;
}

Json asJson(const std::optional<NumberRange>& range) {
    if (!range) return nullptr;
    return Json::array({range->lowerBound, range->upperBound});
}

Json asJson(const QuerySearchArguments& arguments) {
    Json object;
    object["word"] = arguments.word ? Json(*arguments.word) : Json(nullptr);
    object["modificationDate"] = asJson(arguments.modificationDate);
    object["creationDate"] = asJson(arguments.creationDate);
    object["fileSize"] = asJson(arguments.fileSize);
    object["checkPathForResults"] = arguments.checkPathForResults;
    return object;
}

}  // namespace

Json wordsAsJson(const SentenceComponents& words) {
    Json list = Json::array();
    for (const auto& word : words)
        list.push_back(asJson(word));
    return list;
}

std::string explanationAsJson(const QueryContainer& query) {
    Json commands = Json::array();
    for (const auto& command : query.commandsFoundInQuery())
        commands.push_back(asJson(*command));

    Json object;
    object["words"] = wordsAsJson(query.allWords());
    object["searchWords"] = query.searchWords();
    object["searchWordParts"] = wordsAsJson(query.searchWordParts());
    object["orStringGroups"] = query.orStringGroups();
    object["includesOR"] = query.includesORStatement();
    object["isORCommandSearch"] = query.isORCommandSearch();
    object["isWordBasedSearch"] = query.isWordBasedSearch();
    object["highlight"] = query.searchWordsHighlightStrings();
    object["soundex"] = query.searchWordStringsSoundexValues();
    object["commands"] = std::move(commands);
    object["unused"] = wordsAsJson(query.unusedCommandAreaWords());
    object["invalid"] = wordsAsJson(query.invalidCommandAreaWords());
    object["arguments"] = asJson(query.querySearchArguments());
    return object.dump(2, ' ', false, Json::error_handler_t::replace);
}

}  // namespace kestrix
