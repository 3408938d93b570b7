// One lock holds who is calling, whose turn each helper is and when one was last used; a helper itself
// belongs to the caller whose turn it is, and to the thread that lets all go when they have been idle.
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
#include <vector>

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

// As many documents are parsed at once as there are processors, and no more than these.
constexpr int kMostHelpers = 4;

// What is common to all imports that the helper makes.
struct Import {
    ImportRequest request;
    const ImportProgress& progress;
};

}  // namespace

struct ImportTextToolsXPC::State {
    State(std::string program, Clock& time, ImportLimits bounds)
        : helperProgram(std::move(program)), clock(time), limits(bounds) {
        const int most = std::clamp(processorCount(), 1, kMostHelpers);
        for (int i = 0; i < most; ++i)
            helpers.push_back(std::make_unique<Helper>(helperProgram, limits));
    }
    ~State();

    // One helper, in use or not.
    struct Helper {
        Helper(const std::string& program, const ImportLimits& limits) : link(program, wakeUp, limits) {}

        const WakeUp wakeUp;
        bool isBusy = false;  // it is somebody's turn
        HelperLink link;      // of whose turn it is; under the lock while it is nobody's
    };

    class ActiveCall;
    class Turn;

    Helper* freeHelper();
    bool isAnyBusy() const;
    bool isAnyRunning() const;
    ImportReply askHelper(Call& call, const OpenFile& document, const Import& import);
    std::string readLegacyWord(Call& call, const OpenFile& document);
    ImportReply read(Call& call, const OpenFile& document, Import import);
    ImportReply readUnlessKnown(Call& call, const Import& import);
    SteadyTime idleUntil() const;
    void letIdleHelpersGo();
    void noteUse(std::unique_lock<std::mutex>& held);

    const std::string helperProgram;
    Clock& clock;
    const ImportLimits limits;
    FailedDocuments failed;

    std::mutex mutex;
    std::condition_variable changed;
    std::list<Call*> calls;
    std::vector<std::unique_ptr<Helper>> helpers;  // the first ones run, others only where those are busy
    bool ending = false;
    SteadyTime lastUsed{};
    std::thread idleWatch;  // since the first helper
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

// Blocks until a helper is free; throws Error if the call is cancelled first.
class ImportTextToolsXPC::State::Turn {
  public:
    Turn(State& state, const Call& call) : state_(state) {
        std::unique_lock hold(state_.mutex);
        state_.changed.wait(hold, [&] {
            helper_ = state_.freeHelper();
            return helper_ != nullptr || call.isCancelled();
        });
        if (call.isCancelled()) throw cancelledError(call.path);
        helper_->isBusy = true;
    }
    ~Turn() {
        std::unique_lock hold(state_.mutex);
        helper_->isBusy = false;
        state_.noteUse(hold);
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    HelperLink& link() const { return helper_->link; }

  private:
    State& state_;
    Helper* helper_ = nullptr;
};

ImportTextToolsXPC::State::~State() {
    {
        const std::lock_guard hold(mutex);
        ending = true;
    }
    changed.notify_all();
    if (idleWatch.joinable()) idleWatch.join();
}

// One that runs if there is one: a single caller keeps to a single helper.
ImportTextToolsXPC::State::Helper* ImportTextToolsXPC::State::freeHelper() {
    Helper* free = nullptr;
    for (const auto& helper : helpers) {
        if (helper->isBusy) continue;
        if (helper->link.isRunning()) return helper.get();
        if (free == nullptr) free = helper.get();
    }
    return free;
}

bool ImportTextToolsXPC::State::isAnyBusy() const {
    return std::ranges::any_of(helpers, &Helper::isBusy);
}

// A helper that is busy is not looked at: it is another's.
bool ImportTextToolsXPC::State::isAnyRunning() const {
    return std::ranges::any_of(
        helpers, [](const auto& helper) { return !helper->isBusy && helper->link.isRunning(); });
}

void ImportTextToolsXPC::State::noteUse(std::unique_lock<std::mutex>& held) {
    lastUsed = clock.steadyNow();
    if (isAnyRunning() && !idleWatch.joinable()) idleWatch = std::thread([this] { letIdleHelpersGo(); });
    held.unlock();
    changed.notify_all();
}

SteadyTime ImportTextToolsXPC::State::idleUntil() const {
    return isAnyBusy() || !isAnyRunning() ? SteadyTime::max() : later(lastUsed, limits.idle);
}

void ImportTextToolsXPC::State::letIdleHelpersGo() {
    std::unique_lock hold(mutex);
    while (!ending) {
        const SteadyTime until = idleUntil();
        clock.waitUntil(hold, changed, until, [&] { return ending || idleUntil() != until; });
        if (ending || clock.steadyNow() < idleUntil()) continue;
        for (const auto& helper : helpers)
            helper->isBusy = true;
        hold.unlock();
        for (const auto& helper : helpers)
            helper->link.quit();
        hold.lock();
        for (const auto& helper : helpers)
            helper->isBusy = false;
        changed.notify_all();
    }
}

ImportReply ImportTextToolsXPC::State::askHelper(Call& call, const OpenFile& document, const Import& import) {
    const Turn turn(*this, call);
    return turn.link().call(
        {import.request, document, import.progress, [&call] { return call.isCancelled(); }});
}

std::string ImportTextToolsXPC::State::readLegacyWord(Call& call, const OpenFile& document) {
    const Turn turn(*this, call);
    return legacyWordText(helperProgram, document, [&](ChildProgram* program) {
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
        WordCounter counter;
        ImportTextTools::countWords(reply.body, counter);
        reply = {.kind = ImportReply::Kind::words, .body = counter.take().takeBytes()};
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

void ImportTextToolsXPC::startup() {
    std::unique_lock hold(state_->mutex);
    if (state_->isAnyBusy() || state_->isAnyRunning()) return;
    try {
        state_->helpers.front()->link.start();
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

std::optional<Error> ImportTextToolsXPC::takeWordsFromFile(const std::string& path, bool useOCR,
                                                           const TakeWords& take,
                                                           const ImportProgress& progress) {
    std::optional<Error> failure;
    const auto import = [&] {
        const DocumentFormat format = tools_.formatOf(path, false, useOCR);
        if (format == DocumentFormat::none) return;
        State::ActiveCall active(*state_, path);
        Call& call = active.call();
        if (format == DocumentFormat::rawText) {
            tools_.wordsInFile(path, useOCR, take, [&call] { return call.isCancelled(); });
            return;
        }
        const Import wanted{
            requestFor(ImportRequest::Kind::wordsInFile, tools_, path, format, useOCR, kNoLengthLimit),
            progress};
        auto words = WordList::fromBytes(state_->readUnlessKnown(call, wanted).body);
        if (!words) {
            throw importError(ImportFailure::badReply,
                              fmt::format("cannot read {}: the import helper gave no proper answer", path));
        }
        take(std::move(*words));
    };
    reportingErrors(path, import, [&failure](const Error& error) { failure = error; });
    return failure;
}

ImportedWords ImportTextToolsXPC::wordsFromFile(const std::string& path, bool useOCR,
                                                const ImportProgress& progress) {
    WordList all;
    ImportedWords result;
    result.error = takeWordsFromFile(
        path, useOCR, [&all](const WordList& part) { all.add(part); }, progress);
    if (!result.error) result.words = all.counts();
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
    for (const auto& helper : state_->helpers)
        helper->wakeUp.wake();
    state_->changed.notify_all();
}

}  // namespace kestrix
