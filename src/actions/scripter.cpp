#include "actions/scripter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <set>

#include "base/path.h"
#include "base/text.h"
#include "platform/directory.h"
#include "platform/stored_file.h"
#include "shell/logger.h"

namespace kestrix {

namespace {

// It comes with the application and is called by another program, not by the user.
constexpr std::string_view kHelper = "Add Open Folders in Finder to Kestrix.scpt";
constexpr std::string_view kRemoteMark = ".remote.";
constexpr const char* kInterpreter = "/bin/sh";

std::string nameWithoutExtension(std::string_view script) {
    std::string_view name = path::lastComponent(script);
    const std::string_view extension = path::extension(name);
    if (!extension.empty()) name.remove_suffix(extension.size() + 1);
    return std::string(name);
}

bool exists(const std::string& path) {
    FileAttributes attributes;
    return readAttributes(path, true, attributes) == 0;
}

[[noreturn]] void throwCannotRun(const std::string& text) {
    throw Error(Scripter::kDomain, Scripter::kCannotRun, text);
}

std::string firstLineOf(const std::string& text) {
    return text::displayable(text.substr(0, text.find('\n')));
}

// What a script writes is meant for the log as it stands; its complaints follow.
void logOutput(const std::string& script, const ChildOutcome& outcome) {
    if (!Logger::shouldLog) return;
    LogFunc(nameWithoutExtension(script) + ":" + text::displayable(outcome.output) +
            text::displayable(outcome.errors));
}

void throwIfItFailed(const std::string& script, const ChildOutcome& outcome) {
    if (outcome.exitStatus == 0 || outcome.stopped) return;
    const std::string reason = firstLineOf(outcome.errors);
    throw Error(Scripter::kDomain, outcome.exitStatus,
                fmt::format("the script \"{}\" ended with status {}{}{}", nameWithoutExtension(script),
                            outcome.exitStatus, reason.empty() ? "" : ": ", reason));
}

}  // namespace

Scripter::Scripter(std::string scriptsFolder, GuruMeditation* failures)
    : scriptsFolder_(std::move(scriptsFolder)), failures_(failures) {}

Scripter::~Scripter() {
    stop();
}

ScriptKind Scripter::kindOf(std::string_view script) {
    const std::string_view extension = path::extension(script);
    if (extension == "shell" || extension == "swift") return ScriptKind::shell;
    if (extension == "app" || extension == "scpt") return ScriptKind::appleScript;
    return ScriptKind::none;
}

const std::string& Scripter::openScriptsFolder() const {
    makeFolder(scriptsFolder_);
    return scriptsFolder_;
}

// Links are followed: a script kept elsewhere, under version control for example, is linked in here.
Scripter::Paths Scripter::contentsOfScriptsFolder() const {
    Paths contents;
    OpenDirectory directory;
    if (directory.open(scriptsFolder_) != 0) return contents;
    DirectoryReader reader;
    reader.start(directory);
    for (DirectoryEntry entry; reader.next(entry);) {
        if (entry.name.starts_with('.') || entry.name == kHelper) continue;
        contents.push_back(path::join(scriptsFolder_, entry.name));
    }
    std::erase_if(contents, [](const std::string& path) { return !exists(path); });
    std::sort(contents.begin(), contents.end());
    return contents;
}

std::vector<std::pair<std::string, std::string>> Scripter::scripts() const {
    std::vector<std::pair<std::string, std::string>> named;
    std::set<std::string> taken;
    for (std::string& script : contentsOfScriptsFolder()) {
        if (kindOf(script) == ScriptKind::none) continue;
        std::string name = nameWithoutExtension(script);
        if (!taken.insert(name).second) name = path::lastComponent(script);
        named.emplace_back(std::move(name), std::move(script));
    }
    return named;
}

std::optional<ChildOutcome> Scripter::run(const std::string& script, const Paths& onFiles,
                                          const Paths& args) {
    return run(script, onFiles, args, stopsSoFar());
}

std::optional<ChildOutcome> Scripter::run(const std::string& script, const Paths& onFiles, const Paths& args,
                                          std::size_t stopsAtStart) {
    const ScriptKind kind = kindOf(script);
    if (kind == ScriptKind::none || !exists(script)) return std::nullopt;
    if (kind == ScriptKind::appleScript) {
        throwCannotRun(
            fmt::format("\"{}\" is an AppleScript, which nothing here can run; write it as a "
                        "shell script with the extension \"shell\"",
                        path::lastComponent(script)));
    }
    Paths arguments = onFiles;
    arguments.insert(arguments.end(), args.begin(), args.end());
    ChildOutcome outcome = runShellScript(script, std::move(arguments), stopsAtStart);
    logOutput(script, outcome);
    return outcome;
}

ChildOutcome Scripter::runShellScript(const std::string& script, Paths arguments, std::size_t stopsAtStart) {
    if (!isExecutable(script)) {
        throwCannotRun("Add executable permissions to the script.\nchmod +x '" + script + "'");
    }
    try {
        try {
            ChildProgram program(script, arguments);
            return waitFor(program, stopsAtStart);
        } catch (const Error& failure) {
            // Shells read a text that names no interpreter themselves; people write such scripts.
            if (failure.code() != ENOEXEC || path::extension(script) != "shell") throw;
            arguments.insert(arguments.begin(), script);
            ChildProgram program(kInterpreter, arguments);
            return waitFor(program, stopsAtStart);
        }
    } catch (const Error& failure) {
        throwCannotRun(failure.what());
    }
}

ChildOutcome Scripter::waitFor(ChildProgram& program, std::size_t stopsAtStart) {
    runs_.modify([&](Runs& runs) {
        runs.programs.push_back(&program);
        if (runs.stops != stopsAtStart) program.stop();
    });
    ChildOutcome outcome = program.wait();
    runs_.modify([&](Runs& runs) { std::erase(runs.programs, &program); });
    return outcome;
}

void Scripter::runScript(std::string script, Paths onFiles, Paths args, Completion completion) {
    queue_.add([this, script = std::move(script), onFiles = std::move(onFiles), args = std::move(args),
                completion = std::move(completion), stops = stopsSoFar()] {
        if (stops != stopsSoFar()) return;
        try {
            if (const auto outcome = run(script, onFiles, args, stops)) throwIfItFailed(script, *outcome);
            if (completion) completion(nullptr);
        } catch (const Error& failure) {
            report(failure);
            if (completion) completion(&failure);
        }
    });
}

void Scripter::runShortcut(const std::string& shortcutName, const Completion& completion) {
    const Error failure(kDomain, kCannotRun,
                        "\"" + shortcutName + "\" is a shortcut, which nothing here can run");
    report(failure);
    if (completion) completion(&failure);
}

void Scripter::report(const Error& failure) {
    ++failuresSoFar_;
    LogFunc(failure.what());
    if (failures_) failures_->showErrorAlert(failure);
}

// The name comes from outside, so it is looked for in the listing and never becomes part of a path.
bool Scripter::performRemoteScript(std::string_view name) {
    if (name.find(kRemoteMark) == std::string_view::npos || kindOf(name) == ScriptKind::none) return false;
    for (const std::string& script : contentsOfScriptsFolder()) {
        if (path::lastComponent(script) != name) continue;
        runScript(script, {}, {});
        return true;
    }
    return false;
}

std::size_t Scripter::stopsSoFar() const {
    return runs_.read([](const Runs& runs) { return runs.stops; });
}

void Scripter::stop() {
    queue_.cancelAllOperations();
    runs_.modify([](Runs& runs) {
        ++runs.stops;
        for (ChildProgram* program : runs.programs)
            program->stop();
    });
}

void Scripter::waitUntilAllHaveEnded() {
    queue_.waitUntilAllOperationsAreFinished();
}

}  // namespace kestrix
