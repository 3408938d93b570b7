// Words of a line as JSON, the same wherever an explanation shows them.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "language/sentence_component.h"

namespace kestrix {

// One object for each word: text, original, start, end, afterColon, quoted, wildcard.
nlohmann::ordered_json wordsAsJson(const SentenceComponents& words);

}  // namespace kestrix
