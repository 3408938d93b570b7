// From the start of the program to its first request.
#include <string_view>
#include <thread>

#include "import/helper/import_text.h"
#include "import/helper_program.h"
#include "import/import_limits.h"
#include "platform/helper_process.h"
#include "platform/sandbox.h"

namespace kestrix {
namespace {

// Fonts and what is needed to use them, and what the recognition of text has learnt.
std::vector<std::string> readableForImporters() {
    return {"/usr/share/fonts",         "/usr/local/share/fonts", "/etc/fonts",
            "/usr/share/fontconfig",    "/var/cache/fontconfig",  "/usr/share/poppler",
            "/usr/share/tesseract-ocr", "/usr/share/tessdata"};
}

// Programs and libraries with their data.
std::vector<std::string> readableForConverters() {
    return {"/usr", "/lib", "/lib64", "/etc/ld.so.cache"};
}

int runConverter(const std::vector<std::string>& command) {
    limitThisProcess({kConverterMemory, kConverterOutput, kConverterProcessorTime});
    const bool filesAreClosed = Walls::closeFiles(readableForConverters(), ShutIn::oneProgram);
    // A program that cannot open its libraries does not start, so without the one wall there is none.
    if (!filesAreClosed || !Walls::sealCalls(ShutIn::oneProgram, filesAreClosed)) return kNoWalls;
    becomeProgram(command.front(), {command.begin() + 1, command.end()});
    return kNoConverter;
}

int serve(const Importers& importers, std::chrono::milliseconds progressDelay) {
    limitThisProcess({kHelperMemory, kHelperOutput, kHelperProcessorTime});
    const MessageSocket socket{Descriptor(kHelperSocket)};
    ImportText service(socket, importers, progressDelay);
    // The PDF library keeps text in UTF-16 and converts it by the C library.
    keepConverter("UTF-16");
    // The one wall holds for threads that are made behind it, the other allows no thread to be made.
    const bool filesAreClosed = Walls::closeFiles(readableForImporters(), ShutIn::computing);
    std::thread([&service] { service.listen(); }).detach();
    std::optional<std::string> failure;
    if (!Walls::sealCalls(ShutIn::computing, filesAreClosed))
        failure = "this system's kernel cannot shut it in (seccomp)";
    service.work(failure);
    leaveProcess(0);
}

}  // namespace

int runImportHelper(int argumentCount, char** arguments, const Importers& importers,
                    std::chrono::milliseconds progressDelay) {
    if (argumentCount > 2 && arguments[1] == std::string_view(kRunConverter))
        return runConverter({arguments + 2, arguments + argumentCount});
    return serve(importers, progressDelay);
}

}  // namespace kestrix
