// What sources may narrow their work by.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace kestrix {

// Half-open. Dates in seconds since 1970, sizes in bytes.
struct NumberRange {
    static constexpr std::int64_t kNoUpperEnd = std::numeric_limits<std::int64_t>::max();

    std::int64_t lowerBound = 0;
    std::int64_t upperBound = kNoUpperEnd;

    bool contains(std::int64_t value) const { return lowerBound <= value && value < upperBound; }
    bool operator==(const NumberRange&) const = default;
};

// Only a pre-filter: the command that set a range remains the judge.
struct QuerySearchArguments {
    bool checkPathForResults = true;  // false: a command has taken over the question of where to look
    std::optional<std::string> word;
    std::optional<NumberRange> modificationDate;
    std::optional<NumberRange> creationDate;
    std::optional<NumberRange> fileSize;
};

}  // namespace kestrix
