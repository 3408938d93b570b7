// The program `kestrix`.
//
//     main.cpp ─▶ command_line ─▶ arguments (against command_table) ─▶ one function of commands.h
//                                                                        │
//                  find: find_request ─▶ find_run ─▶ SearchSession ─▶ result_printer ─▶ output_writer
#include <cstdlib>
#include <string_view>
#include <vector>

#include "app/application.h"
#include "app/cli/command_line.h"
#include "platform/standard_streams.h"
#include "platform/system_info.h"

// A walk keeps some hundred folders open.
static constexpr std::size_t kDescriptors = 512;

// The process ends without tearing anything down: threads of a search that was stopped may still use the
// application, and giving back memory piece by piece only makes the end late.
int main(int count, char** texts) {
    using namespace kestrix;
    reserveStandardStreams();
    ignoreBrokenPipes();
    reserveDescriptors(kDescriptors);
    const std::vector<std::string_view> typed(texts + (count > 0 ? 1 : 0), texts + count);
    auto* application = new Application(cli::commandLineOptions());
    cli::OutputWriter output;
    std::_Exit(cli::runCommandLine(typed, *application, output));
}
