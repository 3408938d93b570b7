// The import helper's work: requests in, text out.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>

#include "import/helper/importer.h"
#include "import/import_protocol.h"
#include "platform/message_socket.h"

namespace kestrix {

// One importer for each format; nullptr where the helper has none.
using Importers = std::array<Importer, static_cast<std::size_t>(kLastDocumentFormat) + 1>;

// Answers one request after another. A second thread reads what the application says, so that a cancel is
// seen while a document is parsed and the helper ends at once when the application is gone, however deep in a
// document it is.
class ImportText {
  public:
    // The percentage of a document is told this often at most.
    static constexpr std::chrono::milliseconds kProgressUpdatesDelay = std::chrono::seconds(3);

    ImportText(const MessageSocket& socket, const Importers& importers,
               std::chrono::milliseconds progressDelay)
        : socket_(socket), importers_(importers), progressDelay_(progressDelay) {}

    // Reads the socket until the application hangs up, which ends the process. On the second thread.
    void listen();
    // Works until `quit` comes. `start` is answered by what `shutIn` returns: nothing, or why there are no
    // walls.
    void work(const std::optional<std::string>& failure);

  private:
    struct Request {
        ImportRequest asked;
        Descriptor document;
    };

    Request next();
    void answer(const Request& request);
    ImportTextResult import(const Request& request);
    void reply(ImportReply reply) const;
    void tellProgress(std::uint32_t number, int percent);

    const MessageSocket& socket_;
    const Importers& importers_;
    const std::chrono::milliseconds progressDelay_;
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<Request> waiting_;
    std::atomic<std::uint32_t> cancelled_ = 0;  // the number of a request; none has 0
    std::chrono::steady_clock::time_point lastProgressUpdate_;
};

// The whole program: walls, then work. `importers` outlives it. Returns the exit status.
int runImportHelper(int argumentCount, char** arguments, const Importers& importers,
                    std::chrono::milliseconds progressDelay = ImportText::kProgressUpdatesDelay);

}  // namespace kestrix
