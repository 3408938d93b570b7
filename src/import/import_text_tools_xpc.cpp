// One lock holds who is calling, whose turn the helper is and when it was last used; the helper itself
// belongs to the caller whose turn it is, and to the thread that lets it go when it has been idle.
#include "import/import_text_tools_xpc.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <list>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

#include "base/path.h"
#include "base/text.h"
#include "import/failed_documents.h"
#include "import/helper_link.h"
#include "import/helper_program.h"
#include "import/import_failure.h"
#include "import/legacy_word.h"
#include "platform/system_info.h"
#include "shell/logger.h"

namespace kestrix {
namespace {

// One call from its beginning to its end.
struct Call {
    std::string path;
    std::atomic<bool> cancelled = false;
    ChildProgram* converter = nullptr;  // under the lock of all calls

    bool isCancelled() const { return cancelled; }
};

Error cancelledError(const std::string& path) {
    return importError(ImportFailure::cancelled, fmt::format("cannot read {}: it was cancelled", path));
}

std::string cut(std::string text, std::size_t maxLength) {
    if (text.size() <= maxLength) return text;
    std::size_t end = maxLength;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80) {
        --end;
    }
    text.resize(end);
    return text;
}

// What is common to all imports that the helper makes.
struct Import {
    ImportRequest request;
    const ImportProgress& progress;
};

}  // namespace

struct ImportTextToolsXPC::State {
    State(std::string program, Clock& time, ImportLimits bounds)
        : helper(std::move(program)), clock(time), limits(bounds), link(helper, wakeUp, limits) {}
    ~State();

    class ActiveCall;
    class Turn;

    ImportReply askHelper(Call& call, const OpenFile& document, const Import& import);
    std::string readLegacyWord(Call& call, const OpenFile& document);
    ImportReply read(Call& call, const OpenFile& document, Import import);
    ImportReply readUnlessKnown(Call& call, const Import& import);
    SteadyTime idleUntil() const;
    void letIdleHelperGo();
    void noteUse(std::unique_lock<std::mutex>& held);

    const std::string helper;
    Clock& clock;
    const ImportLimits limits;
    const WakeUp wakeUp;
    FailedDocuments failed;

    std::mutex mutex;
    std::condition_variable changed;
    std::list<Call*> calls;
    bool busy = false;  // it is somebody's turn
    bool ending = false;
    SteadyTime lastUsed{};
    std::thread idleWatch;  // since the first helper

    HelperLink link;  // of whose turn it is; under the lock while it is nobody's
};

// Makes a call known to sendCancelFor.
class ImportTextToolsXPC::State::ActiveCall {
  public:
    ActiveCall(State& state, const std::string& path) : state_(state) {
        call_.path = path;
        const std::lock_guard hold(state_.mutex);
        place_ = state_.calls.insert(state_.calls.end(), &call_);
    }
    ~ActiveCall() {
        const std::lock_guard hold(state_.mutex);
        state_.calls.erase(place_);
    }
    ActiveCall(const ActiveCall&) = delete;
    ActiveCall& operator=(const ActiveCall&) = delete;

    Call& call() { return call_; }

  private:
    State& state_;
    Call call_;
    std::list<Call*>::iterator place_;
};

// Blocks until the helper is free; throws Error if the call is cancelled first.
class ImportTextToolsXPC::State::Turn {
  public:
    Turn(State& state, const Call& call) : state_(state) {
        std::unique_lock hold(state_.mutex);
        state_.changed.wait(hold, [&] { return !state_.busy || call.isCancelled(); });
        if (call.isCancelled()) throw cancelledError(call.path);
        state_.busy = true;
    }
    ~Turn() {
        std::unique_lock hold(state_.mutex);
        state_.busy = false;
        state_.noteUse(hold);
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

  private:
    State& state_;
};

ImportTextToolsXPC::State::~State() {
    {
        const std::lock_guard hold(mutex);
        ending = true;
    }
    changed.notify_all();
    if (idleWatch.joinable()) idleWatch.join();
}

void ImportTextToolsXPC::State::noteUse(std::unique_lock<std::mutex>& held) {
    lastUsed = clock.steadyNow();
    if (link.isRunning() && !idleWatch.joinable()) idleWatch = std::thread([this] { letIdleHelperGo(); });
    held.unlock();
    changed.notify_all();
}

SteadyTime ImportTextToolsXPC::State::idleUntil() const {
    return busy || !link.isRunning() ? SteadyTime::max() : later(lastUsed, limits.idle);
}

void ImportTextToolsXPC::State::letIdleHelperGo() {
    std::unique_lock hold(mutex);
    while (!ending) {
        const SteadyTime until = idleUntil();
        clock.waitUntil(hold, changed, until, [&] { return ending || idleUntil() != until; });
        if (ending || clock.steadyNow() < idleUntil()) continue;
        busy = true;
        hold.unlock();
        link.quit();
        hold.lock();
        busy = false;
        changed.notify_all();
    }
}

ImportReply ImportTextToolsXPC::State::askHelper(Call& call, const OpenFile& document, const Import& import) {
    const Turn turn(*this, call);
    return link.call({import.request, document, import.progress, [&call] { return call.isCancelled(); }});
}

std::string ImportTextToolsXPC::State::readLegacyWord(Call& call, const OpenFile& document) {
    const Turn turn(*this, call);
    return legacyWordText(helper, document, [&](ChildProgram* program) {
        const std::lock_guard hold(mutex);
        call.converter = program;
        if (program != nullptr && call.isCancelled()) program->stop();
    });
}

ImportReply ImportTextToolsXPC::State::read(Call& call, const OpenFile& document, Import import) {
    if (import.request.format == DocumentFormat::legacyWord)
        import.request.format = formatOfLegacyWord(document);
    if (import.request.format != DocumentFormat::legacyWord) return askHelper(call, document, import);
    ImportReply reply{.kind = ImportReply::Kind::text, .body = readLegacyWord(call, document)};
    if (import.request.kind == ImportRequest::Kind::wordsInFile) {
        WordCounts words;
        ImportTextTools::countWords(reply.body, words);
        reply = {.kind = ImportReply::Kind::words, .body = encodedWords(words)};
    }
    return reply;
}

ImportReply ImportTextToolsXPC::State::readUnlessKnown(Call& call, const Import& import) {
    const OpenFile document(call.path);
    if (!document.isRegular()) {
        throw importError(ImportFailure::notRegular,
                          fmt::format("cannot read {}: it is no regular file", call.path));
    }
    const FailedDocuments::Reading reading{import.request.format, import.request.useOCR};
    if (const auto known = failed.find(document.attributes(), reading)) throw Error(*known);
    try {
        return read(call, document, import);
    } catch (const Error& error) {
        if (FailedDocuments::isCostly(error)) {
            LogFunc(error.what());
            failed.remember(document.attributes(), reading, error);
        }
        throw;
    }
}

namespace {

ImportRequest requestFor(ImportRequest::Kind kind, const ImportTextTools& tools, const std::string& path,
                         DocumentFormat format, bool useOCR, std::size_t maxLength) {
    return {.kind = kind,
            .format = format,
            .useOCR = useOCR,
            .maxLength = maxLength,
            .name = text::displayable(path::lastComponent(path)),
            .typeIdentifier = tools.typeIdentifierOf(path)};
}

// Runs `import`, and hands every failure to `fail` as an Error.
template <typename Import, typename Fail>
void reportingErrors(const std::string& path, Import import, Fail fail) {
    try {
        import();
    } catch (const Error& error) {
        fail(error);
    } catch (const std::bad_alloc&) {
        fail(importError(ImportFailure::tooLarge,
                         fmt::format("cannot read {}: there is no memory for its text", path)));
    }
}

}  // namespace

ImportTextToolsXPC::ImportTextToolsXPC(const ImportTextTools& tools, std::string helper, Clock& clock,
                                       ImportLimits limits)
    : tools_(tools), state_(std::make_unique<State>(std::move(helper), clock, limits)) {}

ImportTextToolsXPC::~ImportTextToolsXPC() = default;

std::string ImportTextToolsXPC::usualHelper() {
    const char* named =
        std::getenv("KESTRIX_IMPORT_HELPER");  // NOLINT(concurrency-mt-unsafe): nobody sets it
    if (named != nullptr && *named != '\0') return named;
    return path::join(path::parent(programPath()), kHelperName);
}

std::unique_ptr<ImportTextToolsXPC> ImportTextToolsXPC::another() const {
    return std::make_unique<ImportTextToolsXPC>(tools_, state_->helper, state_->clock, state_->limits);
}

void ImportTextToolsXPC::startup() {
    std::unique_lock hold(state_->mutex);
    if (state_->busy || state_->link.isRunning()) return;
    try {
        state_->link.start();
    } catch (const Error&) {
        return;  // the first document that needs it fails with the reason
    }
    state_->noteUse(hold);
}

ImportedText ImportTextToolsXPC::textFromFile(const std::string& path, bool searchAllFileTypes, bool useOCR,
                                              std::size_t maxLength, const ImportProgress& progress,
                                              const std::function<bool()>& isCancelledBefore) {
    ImportedText result;
    const auto import = [&] {
        const DocumentFormat format = tools_.formatOf(path, searchAllFileTypes, useOCR);
        if (format == DocumentFormat::none) return;
        State::ActiveCall active(*state_, path);
        Call& call = active.call();
        if (isCancelledBefore && isCancelledBefore()) throw cancelledError(path);
        if (format == DocumentFormat::rawText) {
            PlainText reader;
            reader.read(path, maxLength, [&call] { return call.isCancelled(); });
            result.text = reader.takeText();
            return;
        }
        const Import wanted{
            requestFor(ImportRequest::Kind::importText, tools_, path, format, useOCR, maxLength), progress};
        ImportReply reply = state_->readUnlessKnown(call, wanted);
        if (reply.kind != ImportReply::Kind::text) return;
        if (!text::isValidUtf8(reply.body)) reply.body = text::displayable(reply.body);
        result.text = cut(std::move(reply.body), maxLength);
    };
    reportingErrors(path, import, [&result](const Error& error) { result.error = error; });
    return result;
}

ImportedWords ImportTextToolsXPC::wordsFromFile(const std::string& path, bool useOCR,
                                                const ImportProgress& progress) {
    ImportedWords result;
    const auto import = [&] {
        const DocumentFormat format = tools_.formatOf(path, false, useOCR);
        State::ActiveCall active(*state_, path);
        Call& call = active.call();
        if (format == DocumentFormat::none || format == DocumentFormat::rawText) {
            result.words = tools_.wordsInFile(path, useOCR, [&call] { return call.isCancelled(); });
            return;
        }
        const Import wanted{
            requestFor(ImportRequest::Kind::wordsInFile, tools_, path, format, useOCR, kNoLengthLimit),
            progress};
        result.words = decodedWords(state_->readUnlessKnown(call, wanted).body);
        if (!result.words) {
            throw importError(ImportFailure::badReply,
                              fmt::format("cannot read {}: the import helper gave no proper answer", path));
        }
    };
    reportingErrors(path, import, [&result](const Error& error) { result.error = error; });
    return result;
}

CopyContentsImportsResult ImportTextToolsXPC::copyContentsToClipboardImporter(
    const std::string& path, bool useOCR, const ImportProgress& progress) {
    CopyContentsImportsResult result;
    if (!useOCR && tools_.formatOf(path, false, true) == DocumentFormat::image) {
        const auto import = [&] {
            State::ActiveCall active(*state_, path);
            PlainText reader;
            reader.read(path, kNoLengthLimit, [&active] { return active.call().isCancelled(); });
            result.image = reader.bytes();
        };
        reportingErrors(path, import, [&result](const Error& error) { result.error = error; });
        return result;
    }
    ImportedText imported = textFromFile(path, false, useOCR, kNoLengthLimit, progress);
    result.text = std::move(imported.text);
    result.error = std::move(imported.error);
    return result;
}

void ImportTextToolsXPC::sendCancelFor(const std::string& path) {
    {
        const std::lock_guard hold(state_->mutex);
        for (Call* call : state_->calls) {
            if (call->path != path) continue;
            call->cancelled = true;
            if (call->converter != nullptr) call->converter->stop();
        }
    }
    state_->wakeUp.wake();
    state_->changed.notify_all();
}

}  // namespace kestrix
