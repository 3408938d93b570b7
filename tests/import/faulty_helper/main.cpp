// The import helper with importers that do what the document's first word says. The walls, the link and the
// limits are those of the real one.
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <thread>

#include "import/helper/document_bytes.h"
#include "import/helper/import_text.h"
#include "import/import_failure.h"

namespace kestrix {
namespace {

std::vector<char*> eaten;

void eatMemory() {
    constexpr std::size_t kPiece = std::size_t{1} << 20;
    while (true) {
        eaten.push_back(new char[kPiece]);
        for (std::size_t at = 0; at < kPiece; at += 512)
            eaten.back()[at] = 1;
    }
}

// The ways out that are open.
std::string waysOut() {
    std::string open;
    const auto tried = [&open](const char* name, bool worked) {
        if (worked) open += std::string(name) + ' ';
    };
    tried("read", ::open("/etc/passwd", O_RDONLY) >= 0);
    tried("list", ::open("/", O_RDONLY | O_DIRECTORY) >= 0);
    tried("write", ::open("/tmp/kestrix-way-out", O_WRONLY | O_CREAT, 0600) >= 0);
    tried("network", ::socket(AF_INET, SOCK_STREAM, 0) >= 0);
    tried("local", ::socket(AF_UNIX, SOCK_STREAM, 0) >= 0);
    tried("fork", ::fork() >= 0);
    tried("execute", ::execl("/bin/true", "true", nullptr) == 0);
    tried("kill", ::kill(::getppid(), 0) == 0);
    try {
        std::thread([] {}).join();
        tried("thread", true);
    } catch (const std::system_error&) {
        tried("thread", false);
    }
    return open;
}

ImportTextResult spin(const ImportJob& job, bool asks) {
    while (!asks || !job.shouldCancel())
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    throw importError(ImportFailure::cancelled, job.name + " is no longer wanted");
}

ImportTextResult obey(const ImportJob& job) {
    std::istringstream order(readDocument(job, std::size_t{1} << 30));
    std::string verb;
    std::size_t number = 0;
    order >> verb >> number;
    ImportTextResult result;
    auto& text = result.text.emplace(1).front().text;
    if (verb == "crash") std::raise(SIGSEGV);
    if (verb == "exit") ::_exit(3);
    if (verb == "memory") eatMemory();
    if (verb == "deaf") return spin(job, false);
    if (verb == "slow") return spin(job, true);
    if (verb == "damaged") throw importError(ImportFailure::damaged, job.name + " is\ndamaged");
    if (verb == "progress") {
        for (const int percent : {10, 60})
            job.progress(percent);
    }
    if (verb == "large") text.assign(number, 'x');
    if (verb == "pid") text = std::to_string(::getpid());
    if (verb == "out") text = waysOut();
    if (verb == "job") text = job.typeIdentifier + (job.useOCR ? " ocr" : "");
    if (verb == "nothing") result.text.reset();
    if (verb == "words") text = "One two, TWO";
    return result;
}

Importers faultyImporters() {
    Importers importers;
    importers.fill(obey);
    return importers;
}

}  // namespace
}  // namespace kestrix

int main(int argumentCount, char** arguments) {
    const auto importers = kestrix::faultyImporters();
    return kestrix::runImportHelper(argumentCount, arguments, importers, std::chrono::milliseconds(0));
}
