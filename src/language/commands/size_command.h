// Keeps files by their size, and reads sizes as people write them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "language/command.h"
#include "language/language_parse.h"

namespace kestrix {

enum class SizeCommandType { smallerThan, greaterThan, equalTo, exactlyEqualTo };

// Decimal: each is a thousand of the one before.
enum class SizeUnits {
    bytes,
    kilobytes,
    megabytes,
    gigabytes,
    terabytes,
    petabytes,
    exabyte,
    zettabyte,
    yottabyte
};

// The unit of a word such as "mb" or "megabytes", in lower case.
std::optional<SizeUnits> sizeUnitsOf(std::string_view lowered);

struct FileSizeArgs {
    double value = 0;
    SizeUnits units = SizeUnits::bytes;

    bool operator==(const FileSizeArgs&) const = default;
    // Whole bytes, cut off behind the point; nothing for a number that 64 bits cannot hold.
    std::optional<std::int64_t> byteCount() const;
};

// The number at the front of the words, in digits or spelled out over one or more words, rounded to single
// precision, and how many words it takes. Nothing if the first word alone is no number.
std::optional<std::pair<float, std::size_t>> makeNumberFromStrings(std::span<const SentenceComponent> words);

// "10mb" taken apart into "10" and "mb": digits and points, and all the rest, each in their order.
std::pair<std::string, std::string> splitNumberAndWord(std::string_view word);

// The variable "~file size": "10mb", "10 mb", "ten megabytes", "one hundred kb". Its value is a FileSizeArgs.
// Nothing for a number without a unit.
std::optional<VariableParserResult> readFileSize(std::span<const SentenceComponent> words);

// `equalTo` accepts a band above the size, a quarter of the unit wide and open at both ends: "size 10 mb"
// finds what a listing shows as 10.1 MB. `smallerThan` zero accepts nothing.
class SizeCommand : public Command {
  public:
    static constexpr double unitCompareRange = 0.25;

    // The size, and for `equalTo` the end of its band, must fit 64 bits: see sizeFits.
    SizeCommand(SizeCommandType command, const FileSizeArgs& size);
    static bool sizeFits(SizeCommandType command, const FileSizeArgs& size);

    SizeCommandType command() const { return command_; }
    SizeUnits units() const { return size_.units; }
    double value() const { return size_.value; }

    std::string_view className() const override { return "SizeCommand"; }
    std::string commandToString() const override;
    std::string commandExample() const override;
    nlohmann::json explainedFields() const override;  // command, units, value
    CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*,
                                       const QueryContainer&) override;
    // Two size clauses meet in what they have in common; a contradiction leaves the earlier range.
    void commandImpQuerySearchArguments(QuerySearchArguments&) const override;
    bool isTemplateEqualTo(const Command& other) const override;
    std::shared_ptr<Command> copy() const override { return std::make_shared<SizeCommand>(*this); }

  private:
    SizeCommandType command_;
    FileSizeArgs size_;
    std::int64_t bytes_;
    std::int64_t bandEnd_;  // of `equalTo`
};

// Makes no command of a size that does not fit.
class SizeCommandFactory : public CommandFactory {
  public:
    std::vector<std::string> commandNames() const override;
    std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments& args,
                                    const CommandFlags& flags) const override;
};

}  // namespace kestrix
