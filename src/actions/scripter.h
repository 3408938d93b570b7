// Runs the user's scripts over files.
#pragma once

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/lock.h"
#include "base/operation_queue.h"
#include "platform/child_process.h"
#include "shell/guru_meditation.h"

namespace kestrix {

// By extension. Shell scripts ("shell", "swift") are programs that name their own interpreter in the first
// line; a "shell" without that line is read by /bin/sh. Nothing here runs an AppleScript ("app", "scpt").
enum class ScriptKind { none, shell, appleScript };

// A script is a file in one folder, or any path. It is called with the paths of the files, then the further
// arguments. What it writes goes to the log under its name.
//
// Threads: any. Scripts of `runScript` run on a background queue, a few at a time. Destruction stops those
// that still run and drops those that have not begun.
class Scripter {
  public:
    using Paths = std::vector<std::string>;
    // Called on the background queue when the script has ended; nullptr: all went well. Not called for one
    // that was dropped before it began.
    using Completion = std::function<void(const Error* failure)>;

    // The code of a script that cannot be started.
    static constexpr int kCannotRun = 13;
    static constexpr const char* kDomain = "Script";

    // Failures of background runs are shown through `failures`, if there is one; it outlives this.
    explicit Scripter(std::string scriptsFolder, GuruMeditation* failures = nullptr);
    ~Scripter();
    Scripter(const Scripter&) = delete;
    Scripter& operator=(const Scripter&) = delete;

    static ScriptKind kindOf(std::string_view script);

    // Makes the folder if it is not there and returns it, for a front end to show. Throws Error.
    const std::string& openScriptsFolder() const;
    // The entries of the scripts folder by path, sorted by name, whatever their kind. Hidden names are left
    // out, and one helper that is no script of the user's. A folder that is not there is empty.
    Paths contentsOfScriptsFolder() const;
    // What of it is a script: the name a line calls it by, and its path. The name is the file's without
    // extension; of several such the first has it and the others keep their extension.
    std::vector<std::pair<std::string, std::string>> scripts() const;

    // Runs to the end on this thread, whatever its status then is. Nothing if the path is no script or there
    // is none. Throws Error with kCannotRun when it cannot be started.
    std::optional<ChildOutcome> run(const std::string& script, const Paths& onFiles, const Paths& args);

    // The same in the background. A failure is logged and shown, and a status other than 0 is one: its code
    // is the status.
    void runScript(std::string script, Paths onFiles, Paths args, Completion completion = {});
    // Fails in the same way: there is nothing here to run one.
    void runShortcut(const std::string& shortcutName, const Completion& completion = {});

    // Runs a script of the folder without files on the wish of somebody else: only one whose name holds
    // ".remote." was meant for that. Whether it was started.
    bool performRemoteScript(std::string_view name);

    // Stops what runs and drops what has not begun; those count as stopped, not as failed.
    void stop();
    // Blocks until no background run is left.
    void waitUntilAllHaveEnded();
    // Of background runs and shortcuts.
    std::size_t failuresSoFar() const { return failuresSoFar_; }

  private:
    // A stop ends every run that began, or was asked for, before it.
    struct Runs {
        std::vector<ChildProgram*> programs;
        std::size_t stops = 0;
    };
    std::size_t stopsSoFar() const;
    std::optional<ChildOutcome> run(const std::string& script, const Paths& onFiles, const Paths& args,
                                    std::size_t stopsAtStart);
    ChildOutcome runShellScript(const std::string& script, Paths arguments, std::size_t stopsAtStart);
    ChildOutcome waitFor(ChildProgram& program, std::size_t stopsAtStart);
    void report(const Error& failure);

    const std::string scriptsFolder_;
    GuruMeditation* const failures_;
    Locked<Runs> runs_;
    std::atomic<std::size_t> failuresSoFar_ = 0;
    OperationQueue queue_{2, "scripts"};
};

}  // namespace kestrix
