// Text and words of any file, whoever reads it.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/clock.h"
#include "base/error.h"
#include "import/import_limits.h"
#include "import/import_text_tools.h"

namespace kestrix {

struct ImportedText {
    std::optional<std::string> text;  // nothing without an importer, or after an error
    std::optional<Error> error;
};

struct ImportedWords {
    std::optional<Error> error;
    std::optional<WordCounts> words;  // empty without an importer; nothing after an error
};

// What is put on the clipboard for "copy contents".
struct CopyContentsImportsResult {
    std::optional<Error> error;
    std::optional<std::string> text;
    std::optional<std::string> image;  // the bytes of an image file, unless its text was asked for
};

// The application's one way to the text of files. Plain text is read here and now, by as many callers at once
// as there are. All other documents are parsed by helper programs that have no access to files, network or
// other programs and are limited in time and memory, one document at a time each; a document that one dies
// over costs that document alone, and the next one gets a fresh helper. There is one for each processor, up
// to four, started when a document finds all others busy; all are let go about a minute after the last
// document.
//
// A document over which a helper died, hung or ran out of memory is remembered until its file changes:
// asking for it again gives the same error at once.
//
// A legacy Word document (.doc) is read by `catdoc`, which runs behind the same walls.
//
// Threads: any; the calls block theirs, so never the main one. Progress is told on the caller's thread, at
// most every three seconds. Made by app/, and must outlive every caller. Destruction ends the helpers.
class ImportTextToolsXPC {
  public:
    // `helper` is the path of the helper program; the clock serves the idle time and the deadlines.
    ImportTextToolsXPC(const ImportTextTools& tools, std::string helper, Clock& clock = Clock::system(),
                       ImportLimits limits = {});
    ~ImportTextToolsXPC();
    ImportTextToolsXPC(const ImportTextToolsXPC&) = delete;
    ImportTextToolsXPC& operator=(const ImportTextToolsXPC&) = delete;

    // The helper program: the environment variable KESTRIX_IMPORT_HELPER, else beside this program.
    static std::string usualHelper();

    const ImportTextTools& tools() const { return tools_; }

    // Starts a helper unless one runs, without waiting for it. Optional: it takes that wait from the first
    // document, and costs some milliseconds of processor time where no document comes.
    void startup();

    // The whole text of a file (see ImportTextResult::allText), in valid UTF-8, at most its first `maxLength`
    // bytes. `searchAllFileTypes`: files without importer are read as raw text. `isCancelledBefore` is asked
    // once, when sendCancelFor can reach the call: whoever first notes that it gives up and then sends the
    // cancel misses no call. Does not throw.
    ImportedText textFromFile(const std::string& path, bool searchAllFileTypes, bool useOCR,
                              std::size_t maxLength = kNoLengthLimit, const ImportProgress& progress = {},
                              const std::function<bool()>& isCancelledBefore = {});
    // Hands over its words on this thread, in parts; nothing without an importer. What was handed over before
    // an error may be incomplete. Returns the error. `take` throws nothing.
    std::optional<Error> takeWordsFromFile(const std::string& path, bool useOCR, const TakeWords& take,
                                           const ImportProgress& progress = {});
    // The same, counted. Does not throw.
    ImportedWords wordsFromFile(const std::string& path, bool useOCR, const ImportProgress& progress = {});
    // Its text, or the image itself if it is one and `useOCR` is off. Does not throw.
    CopyContentsImportsResult copyContentsToClipboardImporter(const std::string& path, bool useOCR,
                                                              const ImportProgress& progress = {});

    // Ends every call for this path that runs or waits, within half a second; each returns an error with the
    // code ImportFailure::cancelled. Calls that come later are not touched. Does not block.
    void sendCancelFor(const std::string& path);

  private:
    struct State;
    const ImportTextTools& tools_;
    std::unique_ptr<State> state_;
};

}  // namespace kestrix
