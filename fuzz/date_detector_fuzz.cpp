// Any text in place of a date: at most one moment, and the text that a date command writes for it means it
// again.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "language/commands/date_command.h"
#include "language/date_detector.h"
#include "language/sentence_component.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace kestrix;
    static const bool kIsAbroad = setenv("TZ", "America/New_York", 1) == 0;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const auto dates = DateDetector::simpleDatesInString(text, DateOrder::dayFirst);
    if (dates.size() > 1 || !kIsAbroad) std::abort();
    for (const std::int64_t moment : dates) {
        const auto words = SentenceComponent::parseWords(DateCommandWhen::day(moment).toString());
        if (words.size() != 1) std::abort();
        if (DateDetector::simpleDatesInString(words.front().textLowered) != dates) std::abort();
    }
    return 0;
}
