#include "language/commands/size_command.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>

#include "base/text_numbers.h"
#include "files/search_result.h"

namespace kestrix {
namespace {

struct Unit {
    const char* name;
    const char* shortText;
    std::array<std::string_view, 4> words;
};

constexpr std::array<Unit, 9> kUnits = {{
    {"bytes", "bytes", {"bytes", "b"}},
    {"kilobytes", "kb", {"k", "kb", "kilobytes", "kilobyte"}},
    {"megabytes", "mb", {"m", "mb", "megabytes", "megabyte"}},
    {"gigabytes", "gb", {"g", "gb", "gigabytes", "gigabyte"}},
    {"terabytes", "tb", {"t", "tb", "terabytes", "terabyte"}},
    {"petabytes", "pb", {"p", "pb", "petabytes", "petabyte"}},
    {"exabyte", "eb", {"e", "eb", "exabytes", "exabyte"}},
    {"zettabyte", "zb", {"z", "zb", "zettabytes", "zettabyte"}},
    {"yottabyte", "yb", {"y", "yb", "yottabytes", "yottabyte"}},
}};

struct Type {
    const char* name;
    const char* commandName;
    const char* phrase;
};

constexpr std::array<Type, 4> kTypes = {{
    {"smallerThan", "filesSmallerThan", "smaller than"},
    {"greaterThan", "filesBiggerThan", "larger than"},
    {"equalTo", "filesEqualTo", "size"},
    {"exactlyEqualTo", "filesExactlyEqualTo", "=="},
}};

const Unit& unitOf(SizeUnits units) {
    return kUnits.at(static_cast<std::size_t>(units));
}
const Type& typeOf(SizeCommandType command) {
    return kTypes.at(static_cast<std::size_t>(command));
}

// Never with an exponent, which no line could hold.
std::string plainNumber(double value) {
    std::array<char, 400> buffer{};
    const auto written =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed);
    return {buffer.data(), written.ptr};
}

std::optional<double> plainDouble(const std::string& text) {
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, value, std::chars_format::fixed);
    if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
    return value;
}

VariableParserResult sizeResult(double value, SizeUnits units, std::size_t words) {
    return {std::any(FileSizeArgs{value, units}), words};
}

// The words cannot be read as a number from the front: "10mb", or "~10 mb" and the like, where something
// clings to the number.
std::optional<VariableParserResult> readClingingSize(std::span<const SentenceComponent> words) {
    const auto [numberText, wordText] = splitNumberAndWord(words.front().textLowered);
    const auto value = plainDouble(numberText);
    if (!value) return std::nullopt;
    if (const auto units = sizeUnitsOf(wordText)) return sizeResult(*value, *units, 1);
    const auto units = words.size() > 1 ? sizeUnitsOf(words[1].textLowered) : std::nullopt;
    return units ? std::optional(sizeResult(*value, *units, 2)) : std::nullopt;
}

std::optional<std::int64_t> bandEndOf(const FileSizeArgs& size) {
    const auto from = size.byteCount();
    const auto width = FileSizeArgs{SizeCommand::unitCompareRange, size.units}.byteCount();
    if (!from || !width || *from > NumberRange::kNoUpperEnd - *width) return std::nullopt;
    return *from + *width;
}

}  // namespace

std::optional<SizeUnits> sizeUnitsOf(std::string_view lowered) {
    if (lowered.empty()) return std::nullopt;
    for (std::size_t i = 0; i < kUnits.size(); ++i) {
        const auto& words = kUnits[i].words;
        if (std::find(words.begin(), words.end(), lowered) != words.end()) return static_cast<SizeUnits>(i);
    }
    return std::nullopt;
}

std::optional<std::int64_t> FileSizeArgs::byteCount() const {
    constexpr double kTooMuch = 9223372036854775808.0;  // two to the 63rd
    const double count = value * std::pow(1000.0, static_cast<int>(units));
    if (!(count >= -kTooMuch && count < kTooMuch)) return std::nullopt;
    return static_cast<std::int64_t>(count);
}

std::optional<std::pair<float, std::size_t>> makeNumberFromStrings(std::span<const SentenceComponent> words) {
    std::optional<std::pair<float, std::size_t>> read;
    std::string phrase;
    for (std::size_t count = 0; count < words.size(); ++count) {
        if (count > 0) phrase += ' ';
        phrase += words[count].textLowered;
        const auto value = text::spelledNumber(phrase);
        if (!value || !std::isfinite(static_cast<float>(*value))) break;
        read = {static_cast<float>(*value), count + 1};
    }
    return read;
}

std::pair<std::string, std::string> splitNumberAndWord(std::string_view word) {
    std::pair<std::string, std::string> parts;
    for (const char byte : word) {
        const bool isOfNumber = (byte >= '0' && byte <= '9') || byte == '.';
        (isOfNumber ? parts.first : parts.second) += byte;
    }
    return parts;
}

std::optional<VariableParserResult> readFileSize(std::span<const SentenceComponent> words) {
    if (words.empty()) return std::nullopt;
    const auto number = makeNumberFromStrings(words);
    if (!number) return readClingingSize(words);
    const auto [value, count] = *number;
    const auto units = count < words.size() ? sizeUnitsOf(words[count].textLowered) : std::nullopt;
    return units ? std::optional(sizeResult(value, *units, count + 1)) : std::nullopt;
}

bool SizeCommand::sizeFits(SizeCommandType command, const FileSizeArgs& size) {
    return command == SizeCommandType::equalTo ? bandEndOf(size).has_value() : size.byteCount().has_value();
}

SizeCommand::SizeCommand(SizeCommandType command, const FileSizeArgs& size)
    : command_(command),
      size_(size),
      bytes_(size.byteCount().value()),
      bandEnd_(command == SizeCommandType::equalTo ? bandEndOf(size).value() : bytes_) {}

// A number typed on its own is read in single precision, one that clings to its unit in double: the text
// takes the form that gives the same value again.
std::string SizeCommand::commandToString() const {
    const double value = size_.value;
    const bool isSingle = static_cast<double>(static_cast<float>(value)) == value;
    return std::string(typeOf(command_).phrase) + ' ' + plainNumber(value) + (isSingle ? " " : "") +
           unitOf(size_.units).shortText;
}

std::string SizeCommand::commandExample() const {
    return std::string(typeOf(command_).phrase) + " **";
}

nlohmann::json SizeCommand::explainedFields() const {
    return {{"command", typeOf(command_).name}, {"units", unitOf(size_.units).name}, {"value", size_.value}};
}

CommandApplyResult SizeCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                const QueryContainer&) {
    const std::uint64_t size = result.size;
    const auto bytes = static_cast<std::uint64_t>(bytes_);
    bool isIn = false;
    switch (command_) {
        case SizeCommandType::smallerThan:
            isIn = bytes_ > 0 && size < bytes;
            break;
        case SizeCommandType::greaterThan:
            isIn = bytes_ < 0 || size > bytes;
            break;
        case SizeCommandType::equalTo:
            isIn = size > bytes && size < static_cast<std::uint64_t>(bandEnd_);
            break;
        case SizeCommandType::exactlyEqualTo:
            isIn = size == bytes;
            break;
    }
    return isIn ? CommandApplyResult::accept : CommandApplyResult::exclude;
}

void SizeCommand::commandImpQuerySearchArguments(QuerySearchArguments& arguments) const {
    NumberRange range = arguments.fileSize.value_or(NumberRange{});
    switch (command_) {
        case SizeCommandType::greaterThan:
            if (bytes_ <= range.upperBound) range.lowerBound = bytes_;
            break;
        case SizeCommandType::smallerThan:
            if (bytes_ >= range.lowerBound) range.upperBound = bytes_;
            break;
        case SizeCommandType::equalTo:
            range = {bytes_, bandEnd_};
            break;
        case SizeCommandType::exactlyEqualTo:
            range = {bytes_, bytes_ + 1};
            break;
    }
    arguments.fileSize = range;
}

bool SizeCommand::isTemplateEqualTo(const Command& other) const {
    return dynamic_cast<const SizeCommand*>(&other) != nullptr;
}

std::vector<std::string> SizeCommandFactory::commandNames() const {
    return {"filesBiggerThan", "filesSmallerThan", "filesEqualTo", "filesExactlyEqualTo"};
}

std::shared_ptr<Command> SizeCommandFactory::create(const std::string& commandName,
                                                    const CommandArguments& args, const CommandFlags&) const {
    const auto type = std::find_if(kTypes.begin(), kTypes.end(), [&commandName](const Type& each) {
        return commandName == each.commandName;
    });
    const auto* const size = args.empty() ? nullptr : std::any_cast<FileSizeArgs>(&args.front());
    if (type == kTypes.end() || !size) return nullptr;
    const auto command = static_cast<SizeCommandType>(type - kTypes.begin());
    if (!SizeCommand::sizeFits(command, *size)) return nullptr;
    return std::make_shared<SizeCommand>(command, *size);
}

}  // namespace kestrix
