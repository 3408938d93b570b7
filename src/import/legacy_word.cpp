#include "import/legacy_word.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "base/text.h"
#include "import/helper_program.h"
#include "import/import_failure.h"
#include "import/import_limits.h"

namespace kestrix {
namespace {

constexpr std::array kPlaces = {"/usr/bin/catdoc", "/usr/local/bin/catdoc"};

// Paragraphs as lines of any length, in UTF-8. Documents from before Unicode do not tell their code page;
// catdoc would take them for Russian ones.
std::vector<std::string> converterArguments(const char* converter) {
    return {kRunConverter, converter, "-w", "-s", "cp1252", "-d", "utf-8"};
}

struct FormatOfBeginning {
    std::string_view bytes;  // in lower case
    DocumentFormat format;
};
constexpr std::array kBeginnings = {FormatOfBeginning{"{\\rtf", DocumentFormat::richText},
                                    FormatOfBeginning{"pk\x03\x04", DocumentFormat::package},
                                    FormatOfBeginning{"%pdf-", DocumentFormat::pdf},
                                    FormatOfBeginning{"<html", DocumentFormat::html},
                                    FormatOfBeginning{"<!doctype html", DocumentFormat::html},
                                    FormatOfBeginning{"mime-version:", DocumentFormat::mail}};

// An exit status above this is 128 and the number of the signal that ended the program.
constexpr int kLastOwnStatus = 127;

}  // namespace

DocumentFormat formatOfLegacyWord(const OpenFile& document) {
    std::array<char, 64> bytes;
    const std::string_view read(bytes.data(), document.readAt(0, bytes.data(), bytes.size()));
    const std::size_t start = std::min(read.find_first_not_of(" \t\r\n\xEF\xBB\xBF"), read.size());
    const std::string beginning = text::lowered(read.substr(start));
    const auto found = std::ranges::find_if(
        kBeginnings, [&](const FormatOfBeginning& known) { return beginning.starts_with(known.bytes); });
    return found == kBeginnings.end() ? DocumentFormat::legacyWord : found->format;
}

std::string legacyWordText(const std::string& helper, const OpenFile& document,
                           const OnConverter& onConverter) {
    const auto fail = [&document](ImportFailure failure, std::string_view why) {
        throw importError(failure, fmt::format("cannot read {}: {}", document.path(), why));
    };
    const auto* const converter = std::ranges::find_if(kPlaces, isExecutable);
    if (converter == kPlaces.end())
        fail(ImportFailure::noHelper, "install catdoc, which reads such documents");
    ChildProgram program(helper, converterArguments(*converter), kConverterOutput, document.descriptor());
    onConverter(&program);
    ChildOutcome outcome = program.wait();
    onConverter(nullptr);
    if (outcome.stopped) fail(ImportFailure::cancelled, "it was cancelled");
    if (outcome.exitStatus > kLastOwnStatus) {
        fail(ImportFailure::crashed,
             fmt::format("catdoc was ended over it by signal {}", outcome.exitStatus - kLastOwnStatus - 1));
    }
    if (outcome.exitStatus == kNoWalls || outcome.exitStatus == kNoConverter)
        fail(ImportFailure::noHelper, "catdoc cannot be run in safety here");
    if (outcome.outputWasCut) fail(ImportFailure::tooLarge, "it has too much text");
    if (outcome.exitStatus != 0 && outcome.output.empty())
        fail(ImportFailure::damaged, "it is damaged or no Word document");
    return text::displayable(outcome.output);
}

}  // namespace kestrix
