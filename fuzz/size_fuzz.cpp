// Any words in place of a size or a number: what is read is finite, and what fits becomes a command whose
// text means the same again.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "base/text_numbers.h"
#include "language/commands/size_command.h"

namespace {

using namespace kestrix;

std::optional<FileSizeArgs> sizeOf(const std::string& text) {
    const auto words = SentenceComponent::parseWords(text);
    const auto read = readFileSize(words);
    if (!read) return std::nullopt;
    if (read->numberOfConsumedWords < 1 || read->numberOfConsumedWords > words.size()) std::abort();
    return std::any_cast<FileSizeArgs>(*read->value);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const auto number = text::spelledNumber(text);
    if (number && !std::isfinite(*number)) std::abort();
    text::wholeNumber(text);

    const auto read = sizeOf(text);
    if (!read) return 0;
    if (!std::isfinite(read->value)) std::abort();
    for (const std::string name :
         {"filesBiggerThan", "filesSmallerThan", "filesEqualTo", "filesExactlyEqualTo"}) {
        const auto command = SizeCommandFactory().create(name, {std::any(*read)}, {});
        if (!command) continue;
        QuerySearchArguments arguments;
        command->commandImpQuerySearchArguments(arguments);
        const auto phrase = command->commandExample().size() - std::string("**").size();
        if (sizeOf(command->commandToString().substr(phrase)) != read) std::abort();
    }
    return 0;
}
