#include "shell/guru_meditation.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "platform/system_info.h"
#include "shell/logger.h"
#include "shell/source_place.h"

namespace kestrix {

void GMTrace::add(std::string crumb) {
    lines_.modify([&](auto& lines) { lines.push_back(std::move(crumb)); });
}

void GMTrace::clear() {
    lines_.set({});
}

Error errorWithCode(int code, std::source_location where) {
    const std::string domain =
        fmt::format("{}.{}.{}", sourceFileName(where), sourceFunctionName(where), where.line());
    return Error(domain, code,
                 fmt::format("The operation could not be completed ({}, code {})", domain, code));
}

GuruMeditation::GuruMeditation(MainQueue& mainQueue, GMTrace& trace, ShowAlert show, std::string version)
    : mainQueue_(mainQueue), trace_(trace), show_(std::move(show)), version_(std::move(version)) {}

// The crumbs are read when the details are asked for, and what the user copies also stands in the log.
void GuruMeditation::showErrorAlert(const Error& error, std::source_location where) {
    mainQueue_.post([error, where, show = show_, version = version_, &trace = trace_] {
        show(error, [&] {
            std::string details = errorToDetailedString(error, trace.lines(), version, where);
            if (Logger* logger = Logger::shared) logger->log(details);
            return details;
        });
    });
}

std::string GuruMeditation::errorToDetailedString(const Error& error, const std::vector<std::string>& crumbs,
                                                  const std::string& version, std::source_location where) {
    const std::vector<std::string> lines = {
        fmt::format("{} v{} error details:", processName(), version.empty() ? "Unknown version" : version),
        fmt::format("File: {}  Line: {}", sourceFileStem(where), where.line()),
        fmt::format("Trace: {}", fmt::join(crumbs, ",")),
        error.what(),
        fmt::format("OS: {}", operatingSystemVersion()),
        fmt::format("Mac Cores: {}  Arch: {}", processorCount(), processorArchitecture()),
        "---------------------------------------",
    };
    return fmt::format("{}", fmt::join(lines, "\n"));
}

}  // namespace kestrix
