#include "import/helper/import_text.h"

#include <new>
#include <utility>

#include "base/error.h"
#include "import/import_failure.h"
#include "import/import_text_tools.h"
#include "platform/sandbox.h"

namespace kestrix {
namespace {

ImportReply failure(std::uint32_t number, ImportFailure code, std::string words) {
    return {.kind = ImportReply::Kind::failure,
            .number = number,
            .value = static_cast<std::int32_t>(code),
            .body = std::move(words)};
}

// Errors of the operating system are the document's here: nothing else is read.
ImportReply failure(std::uint32_t number, const Error& error) {
    const bool isOurs = error.domain() == std::string_view(kImportDomain);
    return failure(number, isOurs ? static_cast<ImportFailure>(error.code()) : ImportFailure::damaged,
                   error.what());
}

ImportReply answerOf(const ImportRequest& asked, const ImportTextResult& result) {
    ImportReply reply{.kind = ImportReply::Kind::words, .number = asked.number};
    if (asked.kind == ImportRequest::Kind::wordsInFile) {
        reply.body = ImportTextTools::countWords(result, asked.useOCR).takeBytes();
        return reply;
    }
    auto text = result.allText(asked.useOCR);
    reply.kind = text ? ImportReply::Kind::text : ImportReply::Kind::noText;
    if (text) reply.body = std::move(*text);
    return reply;
}

}  // namespace

void ImportText::listen() {
    while (auto message = socket_.receive()) {
        auto request = decodedRequest(message->bytes);
        if (!request) break;
        if (request->kind == ImportRequest::Kind::cancel) {
            cancelled_ = request->number;
            continue;
        }
        const std::lock_guard hold(mutex_);
        waiting_.push_back({std::move(*request), std::move(message->descriptor)});
        arrived_.notify_one();
    }
    leaveProcess(0);
}

ImportText::Request ImportText::next() {
    std::unique_lock hold(mutex_);
    arrived_.wait(hold, [this] { return !waiting_.empty(); });
    Request request = std::move(waiting_.front());
    waiting_.pop_front();
    return request;
}

void ImportText::work(const std::optional<std::string>& failed) {
    while (true) {
        const Request request = next();
        if (request.asked.kind == ImportRequest::Kind::quit) return;
        if (request.asked.kind != ImportRequest::Kind::start) {
            answer(request);
        } else if (failed) {
            reply(failure(request.asked.number, ImportFailure::noHelper, *failed));
        } else {
            reply({.kind = ImportReply::Kind::started, .number = request.asked.number});
        }
    }
}

void ImportText::answer(const Request& request) {
    const std::uint32_t number = request.asked.number;
    try {
        reply(answerOf(request.asked, import(request)));
    } catch (const Error& error) {
        reply(failure(number, error));
    } catch (const std::bad_alloc&) {
        reply(failure(number, ImportFailure::outOfMemory, request.asked.name + " takes too much memory"));
    } catch (const std::exception& error) {
        reply(
            failure(number, ImportFailure::damaged, request.asked.name + " cannot be read: " + error.what()));
    }
    giveMemoryBack();
}

ImportTextResult ImportText::import(const Request& request) {
    const ImportRequest& asked = request.asked;
    const Importer importer = importers_[static_cast<std::size_t>(asked.format)];
    if (importer == nullptr || !request.document.isOpen())
        throw importError(ImportFailure::badReply,
                          asked.name + " is of no kind that the import helper reads");
    lastProgressUpdate_ = std::chrono::steady_clock::now();
    return importer({.descriptor = request.document.get(),
                     .name = asked.name,
                     .typeIdentifier = asked.typeIdentifier,
                     .maxLength = static_cast<std::size_t>(asked.maxLength),
                     .useOCR = asked.useOCR,
                     .progress = [this, &asked](int percent) { tellProgress(asked.number, percent); },
                     .shouldCancel = [this, &asked] { return cancelled_ == asked.number; }});
}

void ImportText::tellProgress(std::uint32_t number, int percent) {
    const auto now = std::chrono::steady_clock::now();
    if (percent == 0) lastProgressUpdate_ = now;
    if (now - lastProgressUpdate_ < progressDelay_) return;
    lastProgressUpdate_ = now;
    reply({.kind = ImportReply::Kind::progress, .number = number, .value = percent});
}

void ImportText::reply(ImportReply reply) const {
    reply.bodySize = reply.body.size();
    reply.bodyIsInline = reply.bodySize <= kLongestInlineBody;
    if (reply.bodyIsInline) {
        socket_.send(encoded(reply));
        return;
    }
    const bool fits = reply.bodySize <= kLongestBody;
    const Descriptor memory = fits ? sealedMemory(reply.body) : Descriptor();
    if (!memory.isOpen()) {
        this->reply(failure(reply.number, ImportFailure::tooLarge, "it has too much text"));
        return;
    }
    reply.body.clear();
    socket_.send(encoded(reply), memory.get());
}

}  // namespace kestrix
